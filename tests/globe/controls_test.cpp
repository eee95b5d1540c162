#include <gtest/gtest.h>

#include <osg/Geode>
#include <osgViewer/Viewer>

#include "globe/check_box_control.h"
#include "globe/control_canvas.h"
#include "globe/control_containers.h"
#include "globe/image_control.h"
#include "globe/label_control.h"

namespace globe {
namespace {

using osgGA::GUIEventAdapter;

constexpr float kWide = 800.0f;
constexpr float kHigh = 600.0f;
constexpr int kLeft = GUIEventAdapter::LEFT_MOUSE_BUTTON;
constexpr int kRight = GUIEventAdapter::RIGHT_MOUSE_BUTTON;

// A control of a given size.
Frame* block(float width, float height) {
    auto* const frame = new Frame;
    frame->setSize(width, height);
    return frame;
}

osg::ref_ptr<osg::Image> picture(int width, int height) {
    osg::ref_ptr<osg::Image> image = new osg::Image;
    image->allocateImage(width, height, 1, GL_RGBA, GL_UNSIGNED_BYTE);
    return image;
}

void expectRect(const Control* control, float x, float y, float width, float height) {
    const ControlRect& rect = control->renderRect();
    EXPECT_FLOAT_EQ(rect.x, x);
    EXPECT_FLOAT_EQ(rect.y, y);
    EXPECT_FLOAT_EQ(rect.width, width);
    EXPECT_FLOAT_EQ(rect.height, height);
}

class Clicks : public ControlEventHandler {
public:
    void onClick(Control* control) override { names.push_back(control->getName()); }
    void onValueChanged(Control*, bool value) override { values.push_back(value); }
    std::vector<std::string> names;
    std::vector<bool> values;
};

class ControlsTest : public testing::Test {
protected:
    void lay() { m_canvas->layout(kWide, kHigh); }
    // True if it shall go no further.
    bool send(GUIEventAdapter::EventType type, float x, float y, int button, int mask) {
        osg::ref_ptr<GUIEventAdapter> event = new GUIEventAdapter;
        event->setEventType(type);
        event->setInputRange(0.0f, 0.0f, kWide, kHigh);
        event->setMouseYOrientation(GUIEventAdapter::Y_INCREASING_DOWNWARDS);
        event->setX(x);
        event->setY(y);
        event->setButton(button);
        event->setButtonMask(mask);
        return m_canvas->handle(*event);
    }
    osg::ref_ptr<ControlCanvas> m_canvas = new ControlCanvas;
};

TEST_F(ControlsTest, AlignsWithMargins) {
    Control* const right_bottom = m_canvas->addControl(block(40, 20));
    right_bottom->setHorizAlign(Control::ALIGN_RIGHT);
    right_bottom->setVertAlign(Control::ALIGN_BOTTOM);
    right_bottom->setMargin(Gutter(1, 2, 3, 4));
    Control* const centre_top = m_canvas->addControl(block(100, 30));
    centre_top->setHorizAlign(Control::ALIGN_CENTER);
    centre_top->setVertAlign(Control::ALIGN_TOP);
    Control* const free = m_canvas->addControl(block(10, 10));
    Control* const left_bottom = m_canvas->addControl(block(50, 10));
    left_bottom->setHorizAlign(Control::ALIGN_LEFT);
    left_bottom->setVertAlign(Control::ALIGN_BOTTOM);
    left_bottom->setMargin(Control::SIDE_BOTTOM, 10);
    lay();
    expectRect(right_bottom, 800 - 2 - 40, 600 - 3 - 20, 40, 20);
    expectRect(centre_top, 350, 0, 100, 30);
    expectRect(free, 0, 0, 10, 10);
    expectRect(left_bottom, 0, 580, 50, 10);
    free->setPosition(7, 9);
    lay();
    expectRect(free, 7, 9, 10, 10);
}

TEST_F(ControlsTest, PaddingBelongsToTheBox) {
    Control* const control = m_canvas->addControl(block(40, 20));
    control->setPadding(Gutter(1, 2, 3, 4));
    control->setHorizAlign(Control::ALIGN_RIGHT);
    lay();
    expectRect(control, 800 - 46, 0, 46, 24);
}

TEST_F(ControlsTest, ABoxPutsItsChildrenInARow) {
    auto* const box = m_canvas->addControl(new HBox);
    box->setHorizAlign(Control::ALIGN_CENTER);
    box->setPadding(2.0f);
    box->setChildSpacing(3.0f);
    box->setChildVertAlign(Control::ALIGN_CENTER);
    Control* const a = box->addControl(block(10, 40));
    Control* const hidden = box->addControl(block(500, 500));
    hidden->setVisible(false);
    Control* const b = box->addControl(block(20, 10));
    Control* const filled = box->addControl(block(5, 1));
    filled->setVertFill(true);
    lay();
    expectRect(box, 400 - 22.5f, 0, 45, 44);
    expectRect(a, 379.5f, 2, 10, 40);
    expectRect(b, 392.5f, 17, 20, 10);
    expectRect(filled, 415.5f, 2, 5, 40);
    hidden->setVisible(true);
    lay();
    EXPECT_FLOAT_EQ(box->renderRect().height, 504.0f);
}

TEST_F(ControlsTest, AColumnSharesWhatIsLeft) {
    auto* const box = m_canvas->addControl(new VBox(Control::ALIGN_RIGHT));
    box->setHeight(600.0f);
    Control* const top = box->addControl(block(30, 10));
    Control* const rest = box->addControl(block(10, 10));
    rest->setVertFill(true);
    lay();
    expectRect(top, 0, 0, 30, 10);
    expectRect(rest, 20, 15, 10, 585);
}

// The canvas is no container: who stands on it by himself keeps his size, though he would fill one.
TEST_F(ControlsTest, NothingFillsTheCanvas) {
    auto* const box = m_canvas->addControl(new HBox);
    box->setVertFill(true);
    box->setHorizFill(true);
    Control* const filled = box->addControl(block(20, 10));
    filled->setVertFill(true);
    Control* const tall = box->addControl(block(5, 30));
    lay();
    EXPECT_FLOAT_EQ(box->renderRect().height, 30.0f);
    EXPECT_FLOAT_EQ(filled->renderRect().height, 30.0f);
    EXPECT_FLOAT_EQ(tall->renderRect().height, 30.0f);
    EXPECT_LT(box->renderRect().width, 50.0f);
}

TEST_F(ControlsTest, AWidthOfNothingDrawsNothing) {
    Frame* const bar = m_canvas->addControl(new Frame);
    bar->setBackColor(1, 1, 1, 0.5f);
    bar->setBorderColor(0, 0, 0, 1);
    bar->setHeight(10);
    bar->setWidth(48.9f);
    lay();
    const auto* const drawn = dynamic_cast<const osg::Geode*>(bar->getChild(0));
    EXPECT_EQ(drawn->getNumDrawables(), 5u);
    bar->setWidth(0.0f);
    lay();
    EXPECT_EQ(drawn->getNumDrawables(), 0u);
    EXPECT_FLOAT_EQ(bar->renderRect().width, 0.0f);
}

TEST_F(ControlsTest, WhatHasNotChangedIsNotLaidOutAgain) {
    auto* const label = m_canvas->addControl(new LabelControl("a", 18));
    lay();
    lay();
    EXPECT_EQ(m_canvas->layouts(), 1u);
    label->setText("a");
    lay();
    EXPECT_EQ(m_canvas->layouts(), 1u);
    label->setText("b");
    lay();
    EXPECT_EQ(m_canvas->layouts(), 2u);
    m_canvas->layout(kWide + 1, kHigh);
    EXPECT_EQ(m_canvas->layouts(), 3u);
}

TEST_F(ControlsTest, LabelsAreAsLargeAsTheirText) {
    auto* const label = m_canvas->addControl(new LabelControl("", 18));
    lay();
    expectRect(label, 0, 0, 0, 0);
    label->setText("Lon:");
    lay();
    const ControlRect one = label->renderRect();
    EXPECT_GT(one.width, 20.0f);
    EXPECT_LT(one.width, 60.0f);
    EXPECT_GE(one.height, 18.0f);
    label->setText("Lon:Lon:");
    lay();
    EXPECT_NEAR(label->renderRect().width, 2.0f * one.width, 4.0f);
    EXPECT_EQ(label->renderRect().height, one.height);
    label->setText("Lon:\nLon:");
    lay();
    EXPECT_NEAR(label->renderRect().height, one.height + 18.0f * 1.2f, 1.0f);
    label->setFontSize(36);
    label->setText("Lon:");
    lay();
    EXPECT_NEAR(label->renderRect().width, 2.0f * one.width, 4.0f);
}

TEST_F(ControlsTest, ChineseIsWrittenWithAFontThatKnowsIt) {
    auto* const label = m_canvas->addControl(new LabelControl("\u4e2d\u6587", 20));
    lay();
    EXPECT_NEAR(label->renderRect().width, 40.0f, 4.0f);
}

TEST_F(ControlsTest, ALineThatIsTooLongGoesOnInTheNext) {
    const std::string line = "layer of the north: it is missing, and so is what lay under it";
    auto* const label = m_canvas->addControl(new LabelControl(line, 13));
    lay();
    const ControlRect one = label->renderRect();
    ASSERT_GT(one.width, 300.0f);
    label->setMaxWidth(200.0f);
    lay();
    EXPECT_LE(label->renderRect().width, 200.0f);
    EXPECT_GT(label->renderRect().width, 100.0f);
    EXPECT_GE(label->renderRect().height, one.height + 13.0f);
    // So are words without gaps.
    label->setText(
        "\u56fe\u5c42\u5730\u56fe\u6570\u636e\u65e0\u6cd5\u8bfb\u53d6\u5730\u7403\u6587\u4ef6"
        "\u7f3a\u5c11\u670d\u52a1\u5668\u6ca1\u6709\u54cd\u5e94");
    lay();
    EXPECT_LE(label->renderRect().width, 200.0f);
    label->setMaxWidth(0.0f);
    label->setText(line);
    lay();
    EXPECT_FLOAT_EQ(label->renderRect().width, one.width);
    EXPECT_FLOAT_EQ(label->renderRect().height, one.height);
}

TEST_F(ControlsTest, ATurnedImageKeepsItsRoomIfItShall) {
    auto* const image = m_canvas->addControl(new ImageControl(picture(30, 40)));
    lay();
    expectRect(image, 0, 0, 30, 40);
    image->setRotation(90.0);
    lay();
    EXPECT_NEAR(image->renderRect().width, 40.0f, 1e-3);
    image->setFixSizeForRotation(true);
    lay();
    expectRect(image, 0, 0, 50, 50);
    image->setRotation(33.0);
    lay();
    expectRect(image, 0, 0, 50, 50);
    EXPECT_EQ(image->getRotation(), 33.0);
}

// A quarter turn clockwise brings the upper left corner to the upper right.
TEST_F(ControlsTest, RotationIsClockwise) {
    auto* const image = m_canvas->addControl(new ImageControl(picture(40, 40)));
    image->setFixSizeForRotation(true);
    const auto upperLeftOfPicture = [&] {
        lay();
        const auto* const geode = dynamic_cast<const osg::Geode*>(image->getChild(0));
        const auto* const quad = geode->getDrawable(0)->asGeometry();
        const auto& corners = dynamic_cast<const osg::Vec3Array&>(*quad->getVertexArray());
        return osg::Vec2(corners[2].x() - image->renderRect().width / 2,
                         kHigh - corners[2].y() - image->renderRect().height / 2);
    };
    osg::Vec2 corner = upperLeftOfPicture();
    EXPECT_NEAR(corner.x(), -20.0f, 1.0f);
    EXPECT_NEAR(corner.y(), -20.0f, 1.0f);
    image->setRotation(90.0);
    corner = upperLeftOfPicture();
    EXPECT_NEAR(corner.x(), 20.0f, 1.0f);
    EXPECT_NEAR(corner.y(), -20.0f, 1.0f);
}

TEST_F(ControlsTest, MissingPicturesAreEmpty) {
    auto* const image = m_canvas->addControl(new ImageControl(nullptr));
    lay();
    expectRect(image, 0, 0, 0, 0);
    EXPECT_EQ(m_canvas->controlAt(0, 0), nullptr);
}

TEST_F(ControlsTest, FindsTheTopmostInnermost) {
    auto* const below = m_canvas->addControl(block(100, 100));
    auto* const box = m_canvas->addControl(new HBox);
    box->setAbsorbEvents(false);
    auto* const child = box->addControl(block(20, 20));
    auto* const passive = m_canvas->addControl(block(10, 10));
    passive->setAbsorbEvents(false);
    lay();
    EXPECT_EQ(m_canvas->controlAt(5, 5), child);
    EXPECT_EQ(m_canvas->controlAt(50, 50), below);
    EXPECT_EQ(m_canvas->controlAt(101, 5), nullptr);
    child->setVisible(false);
    lay();
    EXPECT_EQ(m_canvas->controlAt(5, 5), below);
}

TEST_F(ControlsTest, AClickOnAControlIsItsOwn) {
    const osg::ref_ptr<Clicks> clicks = new Clicks;
    auto* const button = m_canvas->addControl(block(30, 30));
    button->setName("locate_target");
    button->addEventHandler(clicks);
    lay();
    EXPECT_TRUE(send(GUIEventAdapter::PUSH, 10, 10, kLeft, kLeft));
    EXPECT_TRUE(clicks->names.empty());
    EXPECT_TRUE(send(GUIEventAdapter::DRAG, 12, 10, 0, kLeft));
    EXPECT_TRUE(send(GUIEventAdapter::RELEASE, 12, 10, kLeft, 0));
    EXPECT_EQ(clicks->names, std::vector<std::string>{"locate_target"});
    // Let go beside it, it is no click, and still the control's.
    EXPECT_TRUE(send(GUIEventAdapter::PUSH, 10, 10, kLeft, kLeft));
    EXPECT_TRUE(send(GUIEventAdapter::DRAG, 200, 200, 0, kLeft));
    EXPECT_TRUE(send(GUIEventAdapter::RELEASE, 200, 200, kLeft, 0));
    EXPECT_EQ(clicks->names.size(), 1u);
    // With the other button neither.
    EXPECT_TRUE(send(GUIEventAdapter::PUSH, 10, 10, kRight, kRight));
    EXPECT_TRUE(send(GUIEventAdapter::RELEASE, 10, 10, kRight, 0));
    EXPECT_EQ(clicks->names.size(), 1u);
}

TEST_F(ControlsTest, AForgottenPressIsNoClickAndStillNotTheGlobes) {
    const osg::ref_ptr<Clicks> clicks = new Clicks;
    auto* const box = m_canvas->addControl(new CheckBoxControl(false));
    box->addEventHandler(clicks);
    lay();
    EXPECT_TRUE(send(GUIEventAdapter::PUSH, 8, 8, kLeft, kLeft));
    m_canvas->forgetPress();
    EXPECT_TRUE(send(GUIEventAdapter::RELEASE, 8, 8, kLeft, 0));
    EXPECT_TRUE(clicks->names.empty());
    EXPECT_FALSE(box->getValue());
    send(GUIEventAdapter::PUSH, 8, 8, kLeft, kLeft);
    send(GUIEventAdapter::RELEASE, 8, 8, kLeft, 0);
    EXPECT_TRUE(box->getValue());
}

TEST_F(ControlsTest, APressOnTheGlobeKeepsItsReleaseWhereverItEnds) {
    auto* const button = m_canvas->addControl(block(30, 30));
    lay();
    EXPECT_FALSE(send(GUIEventAdapter::PUSH, 300, 300, kLeft, kLeft));
    EXPECT_FALSE(send(GUIEventAdapter::DRAG, 10, 10, 0, kLeft));
    // Another button on the control in the meantime takes nothing away.
    EXPECT_TRUE(send(GUIEventAdapter::PUSH, 10, 10, kRight, kLeft | kRight));
    EXPECT_FALSE(send(GUIEventAdapter::DRAG, 11, 10, 0, kLeft | kRight));
    EXPECT_FALSE(send(GUIEventAdapter::RELEASE, 10, 10, kLeft, kRight));
    EXPECT_TRUE(send(GUIEventAdapter::RELEASE, 10, 10, kRight, 0));
    button->setAbsorbEvents(false);
    EXPECT_FALSE(send(GUIEventAdapter::PUSH, 10, 10, kLeft, kLeft));
    EXPECT_FALSE(send(GUIEventAdapter::RELEASE, 10, 10, kLeft, 0));
    EXPECT_FALSE(send(GUIEventAdapter::MOVE, 10, 10, 0, 0));
    EXPECT_FALSE(send(GUIEventAdapter::SCROLL, 10, 10, 0, 0));
}

TEST_F(ControlsTest, ACheckBoxTurnsOver) {
    const osg::ref_ptr<Clicks> clicks = new Clicks;
    auto* const box = m_canvas->addControl(new CheckBoxControl(false));
    box->addEventHandler(clicks);
    lay();
    expectRect(box, 0, 0, 16, 16);
    send(GUIEventAdapter::PUSH, 8, 8, kLeft, kLeft);
    send(GUIEventAdapter::RELEASE, 8, 8, kLeft, 0);
    EXPECT_TRUE(box->getValue());
    box->setValue(true);
    box->setValue(false);
    EXPECT_EQ(clicks->values, (std::vector<bool>{true, false}));
}

TEST_F(ControlsTest, OneCanvasAViewAndItAsksForAFrame) {
    class Viewer : public osgViewer::Viewer {
    public:
        void forget() { _requestRedraw = false; }
    } viewer;
    viewer.getCamera()->setViewport(0, 0, 100, 100);
    ControlCanvas* const canvas = ControlCanvas::getOrCreate(&viewer);
    ASSERT_NE(canvas, nullptr);
    EXPECT_EQ(ControlCanvas::getOrCreate(&viewer), canvas);
    EXPECT_EQ(ControlCanvas::getOrCreate(nullptr), nullptr);
    auto* const label = canvas->addControl(new LabelControl("x"));
    viewer.forget();
    label->setText("x");
    EXPECT_FALSE(viewer.getRequestRedraw());
    label->setText("y");
    EXPECT_TRUE(viewer.getRequestRedraw());
}

}  // namespace
}  // namespace globe
