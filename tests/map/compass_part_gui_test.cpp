// The compass: its three controls, what it reads, and that it comes and goes with its view.
#include <gtest/gtest.h>

#include <QFile>
#include <QImage>
#include <osgGA/EventVisitor>
#include <osgViewer/Viewer>

#include "globe/earth_manipulator.h"
#include "map/Compass/compass.h"

// The one door to a compass' private fields.
struct CompassAccess {
    const Compass& c;
    globe::ImageControl* face() const { return c.compass_.get(); }
    globe::LabelControl* readout() const { return c.readout_.get(); }
    globe::LabelControl* pointer() const { return c.pointer_.get(); }
    osgGA::GUIEventHandler* handler() const { return c.frameHandler_.get(); }
};

namespace {

using globe::Control;

constexpr int kHigh = 64;

class HeardHeadings : public Compass::HeadingCallback {
public:
    void operator()(double heading_deg) override { headings.push_back(heading_deg); }
    std::vector<double> headings;
};

// A view with a camera whose heading is set exactly.
struct TurningView {
    TurningView() {
        viewer->setCameraManipulator(hand);
        viewer->getCamera()->setViewport(0, 0, 400, 300);
    }
    void turn(double heading_deg) const {
        hand->setViewpoint(globe::Viewpoint("", 10, 50, 0, heading_deg, -45, 1e4), 0.0);
    }
    osg::ref_ptr<osgViewer::Viewer> viewer = new osgViewer::Viewer;
    osg::ref_ptr<globe::EarthManipulator> hand = new globe::EarthManipulator;
};

class CompassTest : public ::testing::Test {
protected:
    void SetUp() override {
        QImage face(kHigh, kHigh, QImage::Format_RGBA8888);
        face.fill(Qt::white);
        ASSERT_TRUE(face.save(QStringLiteral("face.png")));
        compass = new Compass("face.png", canvas());
    }
    void TearDown() override {
        compass = nullptr;
        QFile::remove(QStringLiteral("face.png"));
    }
    globe::ControlCanvas* canvas() const { return globe::ControlCanvas::getOrCreate(view.viewer); }
    const osg::Group& controls() const { return *canvas()->getChild(0)->asGroup(); }
    CompassAccess in() const { return {*compass}; }
    // What the view's loop hands to its handlers; true if it went no further.
    bool send(osgGA::GUIEventAdapter::EventType type) const {
        const osg::ref_ptr<osgGA::GUIEventAdapter> event = new osgGA::GUIEventAdapter;
        event->setEventType(type);
        const osg::ref_ptr<osgGA::EventVisitor> visitor = new osgGA::EventVisitor;
        visitor->setActionAdapter(view.viewer);
        bool taken = false;
        for (const auto& handler : view.viewer->getEventHandlers()) {
            taken = handler->handle(event.get(), nullptr, visitor.get()) || taken;
        }
        return taken;
    }
    bool handlerOn(const osgViewer::Viewer& viewer, const osgGA::EventHandler* handler) const {
        for (const auto& each : viewer.getEventHandlers()) {
            if (each == handler) {
                return true;
            }
        }
        return false;
    }
    void frameAt(double heading_deg) const {
        view.turn(heading_deg);
        bool taken = in().handler()->handle(*frame, *view.viewer);
        EXPECT_FALSE(taken);
    }

    TurningView view;
    osg::ref_ptr<Compass> compass;
    const osg::ref_ptr<osgGA::GUIEventAdapter> frame = [] {
        osg::ref_ptr<osgGA::GUIEventAdapter> event = new osgGA::GUIEventAdapter;
        event->setEventType(osgGA::GUIEventAdapter::FRAME);
        return event;
    }();
};

TEST_F(CompassTest, HasAFaceANumberAndAFixedMark) {
    EXPECT_EQ(compass->image_height(), kHigh);
    EXPECT_EQ(in().face()->getName(), "Compass Image");
    const globe::LabelControl& number = *in().readout();
    EXPECT_EQ(number.getName(), "Compass Readout");
    EXPECT_EQ(number.text(), "0.0");
    EXPECT_EQ(number.fontSize(), 7.0F);  // 0.12 of the height, and no part of a pixel
    EXPECT_EQ(number.foreColor(), osg::Vec4f(1, 1, 1, 1));
    EXPECT_EQ(number.haloColor(), osg::Vec4f(0, 0, 0, 1));
    EXPECT_FLOAT_EQ(number.padding().bottom, kHigh * 0.79F);
    EXPECT_FLOAT_EQ(number.padding().right, kHigh * 0.53F);
    const globe::LabelControl& mark = *in().pointer();
    EXPECT_EQ(mark.getName(), "Compass Pointer");
    EXPECT_EQ(mark.text(), "|");
    EXPECT_EQ(mark.fontSize(), 7.0F);
    EXPECT_EQ(mark.foreColor(), osg::Vec4f(1, 0, 0, 1));
    EXPECT_FLOAT_EQ(mark.padding().bottom, kHigh * 0.99F);
    EXPECT_FLOAT_EQ(mark.padding().right, kHigh * 0.685F);
    for (const Control* control :
         {static_cast<const Control*>(in().face()), static_cast<const Control*>(&number),
          static_cast<const Control*>(&mark)}) {
        EXPECT_FALSE(control->getAbsorbEvents());
        EXPECT_EQ(control->horizAlign(), Control::ALIGN_RIGHT);
        EXPECT_EQ(control->vertAlign(), Control::ALIGN_BOTTOM);
    }
}

TEST_F(CompassTest, TheFaceTurnsAgainstTheCamera) {
    compass->set_view(view.viewer);
    frameAt(77.0);
    EXPECT_NEAR(in().face()->getRotation(), -77.0, 1e-6);
    EXPECT_EQ(in().readout()->text(), "77.00");
    // Less than a hundredth leaves the face; the number follows all the same.
    const double before = in().face()->getRotation();
    frameAt(77.006);
    EXPECT_EQ(in().face()->getRotation(), before);
    EXPECT_EQ(in().readout()->text(), "77.01");
    frameAt(77.02);
    EXPECT_NEAR(in().face()->getRotation(), -77.02, 1e-6);
    frameAt(359.995);
    EXPECT_EQ(in().face()->getRotation(), 0.0);
    EXPECT_EQ(in().readout()->text(), "0.00");
    in().readout()->setVisible(false);
    frameAt(12.5);
    EXPECT_NEAR(in().face()->getRotation(), -12.5, 1e-6);
    EXPECT_EQ(in().readout()->text(), "0.00");
}

TEST_F(CompassTest, ComesAndGoesWithItsView) {
    EXPECT_EQ(controls().getNumChildren(), 0U);
    frameAt(77.0);
    EXPECT_EQ(in().readout()->text(), "0.0");  // of no view yet
    compass->set_view(view.viewer);
    ASSERT_EQ(controls().getNumChildren(), 3U);
    EXPECT_EQ(controls().getChild(0), in().face());
    EXPECT_EQ(controls().getChild(1), in().readout());
    EXPECT_EQ(controls().getChild(2), in().pointer());
    EXPECT_TRUE(handlerOn(*view.viewer, in().handler()));
    // Only a frame moves it.
    view.turn(30.0);
    EXPECT_FALSE(send(osgGA::GUIEventAdapter::MOVE));
    EXPECT_EQ(in().readout()->text(), "0.0");
    EXPECT_FALSE(send(osgGA::GUIEventAdapter::FRAME));
    EXPECT_EQ(in().readout()->text(), "30.00");
    compass->set_view(nullptr);
    EXPECT_EQ(controls().getNumChildren(), 0U);
    EXPECT_FALSE(handlerOn(*view.viewer, in().handler()));
    frameAt(77.0);
    EXPECT_EQ(in().readout()->text(), "30.00");
    compass->set_view(view.viewer);
    const osg::ref_ptr<osgGA::GUIEventHandler> handler = in().handler();
    compass = nullptr;
    EXPECT_FALSE(handlerOn(*view.viewer, handler));
}

TEST_F(CompassTest, TakesTheHeadingOfAnotherViewAndTellsOfIt) {
    const TurningView other;
    const osg::ref_ptr<HeardHeadings> first = new HeardHeadings;
    const osg::ref_ptr<HeardHeadings> second = new HeardHeadings;
    compass->set_heading_view(other.viewer);
    compass->set_callback(first);
    compass->set_view(view.viewer);
    other.turn(200.0);
    frameAt(10.0);
    ASSERT_EQ(first->headings.size(), 1U);
    EXPECT_NEAR(first->headings[0], 200.0, 1e-6);
    compass->clear_callback(second);
    frameAt(10.0);
    EXPECT_EQ(first->headings.size(), 2U);
    compass->clear_callback(first);
    frameAt(10.0);
    EXPECT_EQ(first->headings.size(), 2U);
}

TEST_F(CompassTest, WithoutACameraOrAFaceItDoesNothingBad) {
    compass->set_view(view.viewer);
    frameAt(77.0);
    view.viewer->setCameraManipulator(nullptr);
    EXPECT_FALSE(send(osgGA::GUIEventAdapter::FRAME));
    EXPECT_EQ(in().readout()->text(), "0.00");
    compass->set_view(nullptr);
    const osg::ref_ptr<Compass> empty = new Compass("no_such_face.png", canvas());
    empty->set_view(view.viewer);
    EXPECT_EQ(controls().getNumChildren(), 0U);
    EXPECT_EQ(empty->image_height(), 0);
    empty->set_view(nullptr);
}

}  // namespace
