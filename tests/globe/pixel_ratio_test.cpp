// Controls on displays whose pixels are finer than the program's unit of length.
#include "globe/pixel_ratio.h"

#include <gtest/gtest.h>

#include <osg/Geode>
#include <osgViewer/GraphicsWindow>
#include <osgViewer/Viewer>

#include "globe/control_canvas.h"
#include "globe/control_containers.h"
#include "globe/label_control.h"

namespace globe {
namespace {

using osgGA::GUIEventAdapter;

class FineWindow : public osgViewer::GraphicsWindow, public PixelRatio {
public:
    double pixelRatio() const override { return ratio; }
    bool valid() const override { return false; }
    double ratio = 1.0;
};

class Clicks : public ControlEventHandler {
public:
    void onClick(Control*) override { ++count; }
    int count = 0;
};

// 1600 by 1200 pixels.
class FineDisplay : public testing::Test {
protected:
    void SetUp() override {
        m_viewer.getCamera()->setGraphicsContext(m_window);
        m_viewer.getCamera()->setViewport(0, 0, 1600, 1200);
        m_canvas = ControlCanvas::getOrCreate(&m_viewer);
        m_corner = m_canvas->addControl(new Frame);
        m_corner->setSize(40, 20);
        m_corner->setHorizAlign(Control::ALIGN_RIGHT);
        m_corner->setVertAlign(Control::ALIGN_BOTTOM);
    }
    // At a pixel, from the top left.
    void send(GUIEventAdapter::EventType type, float x = 0, float y = 0) {
        osg::ref_ptr<GUIEventAdapter> event = new GUIEventAdapter;
        event->setEventType(type);
        event->setInputRange(0.0f, 0.0f, 1600.0f, 1200.0f);
        event->setMouseYOrientation(GUIEventAdapter::Y_INCREASING_DOWNWARDS);
        event->setX(x);
        event->setY(y);
        event->setButton(GUIEventAdapter::LEFT_MOUSE_BUTTON);
        m_canvas->handle(*event);
    }
    void expectCorner(float x, float y) const {
        const ControlRect& rect = m_corner->renderRect();
        EXPECT_FLOAT_EQ(rect.x, x);
        EXPECT_FLOAT_EQ(rect.y, y);
        EXPECT_FLOAT_EQ(rect.width, 40);
        EXPECT_FLOAT_EQ(rect.height, 20);
    }

    osg::ref_ptr<FineWindow> m_window = new FineWindow;
    osgViewer::Viewer m_viewer;
    ControlCanvas* m_canvas = nullptr;
    Frame* m_corner = nullptr;
};

TEST_F(FineDisplay, TheCanvasCountsInUnits) {
    send(GUIEventAdapter::FRAME);
    expectCorner(1560, 1180);
    m_window->ratio = 2.0;
    send(GUIEventAdapter::FRAME);
    expectCorner(760, 580);
    double left = 0, right = 0, bottom = 0, top = 0, near = 0, far = 0;
    ASSERT_TRUE(m_canvas->getProjectionMatrixAsOrtho(left, right, bottom, top, near, far));
    EXPECT_EQ(right, 800.0);
    EXPECT_EQ(top, 600.0);
    const unsigned layouts = m_canvas->layouts();
    send(GUIEventAdapter::FRAME);
    EXPECT_EQ(m_canvas->layouts(), layouts);
}

TEST_F(FineDisplay, TheMouseCountsInPixels) {
    const osg::ref_ptr<Clicks> clicks = new Clicks;
    m_corner->addEventHandler(clicks);
    m_window->ratio = 2.0;
    send(GUIEventAdapter::FRAME);
    send(GUIEventAdapter::PUSH, 1525, 1165);
    send(GUIEventAdapter::RELEASE, 1525, 1165);
    EXPECT_EQ(clicks->count, 1);
    send(GUIEventAdapter::PUSH, 1515, 1165);
    send(GUIEventAdapter::RELEASE, 1515, 1165);
    EXPECT_EQ(clicks->count, 1);
}

TEST_F(FineDisplay, LettersAreAsFineAsTheDisplay) {
    auto* const box = m_canvas->addControl(new HBox);
    auto* const label = box->addControl(new LabelControl("Lon:112", 13));
    const auto points = [&] {
        const auto* const geode = dynamic_cast<const osg::Geode*>(label->getChild(0));
        return dynamic_cast<const osgText::Text*>(geode->getDrawable(0))->getFontHeight();
    };
    send(GUIEventAdapter::FRAME);
    const ControlRect plain = label->renderRect();
    EXPECT_EQ(points(), 13u);
    m_window->ratio = 2.0;
    send(GUIEventAdapter::FRAME);
    EXPECT_EQ(points(), 26u);
    EXPECT_NEAR(label->renderRect().width, plain.width, 2.0f);
    EXPECT_FLOAT_EQ(label->renderRect().height, plain.height);
}

// Half a pixel beside, edges and letters would blur.
TEST_F(FineDisplay, EdgesLieOnPixels) {
    m_window->ratio = 1.5;
    m_corner->setBackColor(1, 1, 1, 1);
    m_corner->setMargin(Gutter(0, 1.4f, 1.5f, 0));
    send(GUIEventAdapter::FRAME);
    const auto* const geode = dynamic_cast<const osg::Geode*>(m_corner->getChild(0));
    ASSERT_EQ(geode->getNumDrawables(), 1u);
    const auto& corners =
        dynamic_cast<const osg::Vec3Array&>(*geode->getDrawable(0)->asGeometry()->getVertexArray());
    for (const osg::Vec3& corner : corners) {
        EXPECT_NEAR(std::remainder(corner.x() * 1.5f, 1.0f), 0.0f, 1e-3f) << corner.x();
        EXPECT_NEAR(std::remainder(corner.y() * 1.5f, 1.0f), 0.0f, 1e-3f) << corner.y();
    }
}

}  // namespace
}  // namespace globe
