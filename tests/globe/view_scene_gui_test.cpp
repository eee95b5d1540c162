// Controls, picker and manipulator in a window, under a real pointer.
#include "globe/check_box_control.h"
#include "globe/control_canvas.h"
#include "globe/control_containers.h"
#include "globe/earth_manipulator.h"
#include "globe/image_control.h"
#include "globe/label_control.h"
#include "globe/registry.h"
#include "globe/rtt_picker.h"
#include "tests/globe/view_fixture.h"

namespace {

using namespace globe;
using osgGA::GUIEventAdapter;
using SceneTest = ViewTest;

class Picks : public Picker::Callback {
public:
    void onHit(ObjectID id) override { hits.push_back(id); }
    void onMiss() override { ++misses; }
    bool accept(const GUIEventAdapter& event, const osgGA::GUIActionAdapter&) override {
        return event.getEventType() == GUIEventAdapter::PUSH;
    }
    std::size_t told() const { return hits.size() + static_cast<std::size_t>(misses); }
    std::vector<ObjectID> hits;
    int misses = 0;
};

// A square of the plane at depth `z` before the eye, which looks along -z.
osg::ref_ptr<osg::Geode> square(float x, float y, float half, float z, const osg::Vec4& color) {
    osg::ref_ptr<osg::Geometry> quad =
        osg::createTexturedQuadGeometry({x - half, y - half, z}, {2 * half, 0, 0}, {0, 2 * half, 0});
    osg::ref_ptr<osg::Vec4Array> colors = new osg::Vec4Array(1, &color);
    quad->setColorArray(colors, osg::Array::BIND_OVERALL);
    osg::ref_ptr<osg::Geode> geode = new osg::Geode;
    geode->addDrawable(quad);
    geode->getOrCreateStateSet()->setMode(GL_LIGHTING, osg::StateAttribute::OFF);
    return geode;
}

// The window shows 100 units of height at the depth 100.
void lookAtThePlanes(PumpedView& view) {
    view.viewer->getCamera()->setProjectionMatrixAsPerspective(2 * 26.565051177, 400.0 / 300.0, 1.0, 1e4);
    view.viewer->getCamera()->setViewMatrix(osg::Matrixd::identity());
    view.root->getOrCreateStateSet()->setMode(GL_DEPTH_TEST, osg::StateAttribute::ON);
}

TEST_F(SceneTest, PicksTheFrontmostOfWhatOverlaps) {
    lookAtThePlanes(*m_view);
    const auto back = square(-20, 0, 20, -100, {0, 1, 0, 1});
    const auto front = square(-10, 0, 10, -90, {0, 0, 1, 1});
    const auto blind = square(30, 0, 10, -80, {1, 1, 0, 1});
    ObjectIndex* const index = Registry::instance()->getObjectIndex();
    const ObjectID back_id = index->tagNode(back, back);
    const ObjectID front_id = index->tagNode(front, front);
    const osg::ref_ptr<RTTPicker> picker = new RTTPicker(64);
    const osg::ref_ptr<Picks> picks = new Picks;
    picker->setDefaultCallback(picks);
    // Added front first, so that the order of drawing says nothing.
    for (const auto& node : {front, back, blind}) {
        m_view->root->addChild(node);
        picker->addChild(node);
    }
    m_view->viewer->addEventHandler(picker);
    m_view->viewer->requestRedraw();
    ASSERT_TRUE(comesOnScreen(m_view->widget(), {0, 0, 1, 1}, {160, 150}));
    struct Case {
        int x;
        int y;
        ObjectID id;
    };
    // 3 pixels a unit at the depth 100.
    const Case cases[] = {
        {160, 150, front_id}, {90, 150, back_id}, {90, 20, 0}, {310, 150, 0}, {140, 190, back_id}};
    std::size_t told = 0;
    for (const Case& at : cases) {
        moveTo(at.x, at.y);
        m_hand.press(1);
        m_hand.release(1);
        ASSERT_TRUE(waitFor([&] { return picks->told() > told; }, kPatience_ms));
        ++told;
        if (at.id != 0) {
            ASSERT_FALSE(picks->hits.empty());
            EXPECT_EQ(picks->hits.back(), at.id) << at.x;
        }
        ASSERT_TRUE(waitFor([&] { return m_view->recorder->count(GUIEventAdapter::RELEASE) == int(told); },
                            kPatience_ms));
    }
    EXPECT_EQ(picks->misses, 2);
    EXPECT_EQ(picks->hits.size(), 3u);
    EXPECT_EQ(picker->rendered(), 5u);
    // The picture is as it was, and nothing asks for more.
    EXPECT_TRUE(isColor(onScreen(m_view->widget(), {160, 150}), {0, 0, 1, 1}));
    ASSERT_TRUE(m_view->comesToRest());
    m_view->viewer->getEventHandlers().remove(picker);
}

TEST_F(SceneTest, WithoutChildrenAPickMissesAtNoCost) {
    const osg::ref_ptr<RTTPicker> picker = new RTTPicker(256);
    const osg::ref_ptr<Picks> picks = new Picks;
    picker->setDefaultCallback(picks);
    m_view->viewer->addEventHandler(picker);
    moveTo(160, 150);
    m_hand.press(1);
    m_hand.release(1);
    ASSERT_TRUE(comes(GUIEventAdapter::RELEASE));
    EXPECT_EQ(picks->misses, 1);
    EXPECT_EQ(picker->rendered(), 0u);
    EXPECT_EQ(m_view->viewer->getNumSlaves(), 0u);
}

TEST_F(SceneTest, ACancelledPickMissesAndLeavesTheOthers) {
    lookAtThePlanes(*m_view);
    const auto target = square(0, 0, 20, -100, {0, 1, 0, 1});
    const ObjectID id = Registry::instance()->getObjectIndex()->tagNode(target, target);
    const osg::ref_ptr<RTTPicker> picker = new RTTPicker(64);
    const osg::ref_ptr<Picks> cancelled = new Picks;
    const osg::ref_ptr<Picks> kept = new Picks;
    picker->addChild(target);
    m_view->viewer->addEventHandler(picker);
    m_view->stop();
    for (const auto& callback : {cancelled, kept, cancelled}) {
        EXPECT_TRUE(picker->pick(m_view->viewer, 0.0, 0.0, callback));
    }
    picker->cancel(cancelled);
    EXPECT_EQ(cancelled->misses, 2);
    EXPECT_EQ(kept->told(), 0u);
    m_view->start();
    ASSERT_TRUE(waitFor([&] { return kept->told() > 0; }, kPatience_ms));
    ASSERT_TRUE(m_view->comesToRest());
    EXPECT_EQ(kept->hits, std::vector<ObjectID>{id});
    EXPECT_EQ(cancelled->told(), 2u);
    m_view->viewer->getEventHandlers().remove(picker);
}

// Hidden in the middle of a press, a button has not been chosen.
TEST_F(SceneTest, APressOnAControlThatIsLostIsNoClick) {
    ControlCanvas* const canvas = ControlCanvas::getOrCreate(m_view->viewer);
    auto* const box = canvas->addControl(new CheckBoxControl);
    box->setSize(60, 40);
    const auto press = [&] {
        moveTo(20, 15);
        m_hand.press(1);
        return waitFor(
                   [&] {
                       const auto* const state = m_view->window->getEventQueue()->getCurrentEventState();
                       return state->getButtonMask() != 0;
                   },
                   kPatience_ms) &&
               m_view->comesToRest();
    };
    ASSERT_TRUE(m_view->comesToRest());
    ASSERT_TRUE(press());
    m_host.hide();
    EXPECT_FALSE(box->getValue());
    m_hand.release(1);
    m_host.show();
    m_view->setColor({0, 1, 0, 1});
    ASSERT_TRUE(comesOnScreen(m_view->widget(), {0, 1, 0, 1}));
    EXPECT_FALSE(box->getValue());
    ASSERT_TRUE(press());
    m_hand.release(1);
    EXPECT_TRUE(waitFor([&] { return box->getValue(); }, kPatience_ms));
}

TEST_F(SceneTest, APickerThatGoesLeavesTheViewAsItWas) {
    {
        const osg::ref_ptr<RTTPicker> picker = new RTTPicker(32);
        const osg::ref_ptr<Picks> picks = new Picks;
        picker->addChild(square(0, 0, 1, -5, {1, 1, 1, 1}));
        EXPECT_TRUE(picker->pick(m_view->viewer, 0.0, 0.0, picks));
        EXPECT_EQ(m_view->viewer->getNumSlaves(), 1u);
    }
    EXPECT_EQ(m_view->viewer->getNumSlaves(), 0u);
    m_view->setColor({0, 1, 0, 1});
    EXPECT_TRUE(comesOnScreen(m_view->widget(), {0, 1, 0, 1}));
}

TEST_F(SceneTest, ControlsStandOverTheSceneAndTakeTheirClicks) {
    class Clicks : public ControlEventHandler {
    public:
        void onClick(Control*) override { ++count; }
        int count = 0;
    };
    ControlCanvas* const canvas = ControlCanvas::getOrCreate(m_view->viewer);
    const osg::ref_ptr<RTTPicker> picker = new RTTPicker(64);
    const osg::ref_ptr<Picks> picks = new Picks;
    picker->setDefaultCallback(picks);
    m_view->viewer->addEventHandler(picker);
    auto* const box = canvas->addControl(new HBox);
    auto* const button = box->addControl(new Frame);
    button->setSize(40, 30);
    button->setBackColor(0, 1, 0, 1);
    const osg::ref_ptr<Clicks> clicks = new Clicks;
    button->addEventHandler(clicks);
    auto* const corner = canvas->addControl(new Frame);
    corner->setSize(20, 20);
    corner->setBackColor(0, 0, 1, 1);
    corner->setHorizAlign(Control::ALIGN_RIGHT);
    corner->setVertAlign(Control::ALIGN_BOTTOM);
    ASSERT_TRUE(comesOnScreen(m_view->widget(), {0, 1, 0, 1}, {20, 15}));
    EXPECT_TRUE(isColor(onScreen(m_view->widget(), {395, 295}), {0, 0, 1, 1}));
    EXPECT_TRUE(isColor(onScreen(m_view->widget(), {379, 279}), {1, 0, 0, 1}));
    EXPECT_TRUE(isColor(onScreen(m_view->widget(), {381, 281}), {0, 0, 1, 1}));
    EXPECT_TRUE(isColor(onScreen(m_view->widget(), {41, 15}), {1, 0, 0, 1}));
    moveTo(20, 15);
    m_hand.press(1);
    m_hand.release(1);
    ASSERT_TRUE(waitFor([&] { return clicks->count == 1; }, kPatience_ms));
    EXPECT_EQ(m_view->recorder->count(GUIEventAdapter::PUSH), 0);
    EXPECT_EQ(m_view->recorder->count(GUIEventAdapter::RELEASE), 0);
    EXPECT_EQ(picks->told(), 0u);
    moveTo(200, 150);
    m_hand.press(1);
    m_hand.release(1);
    ASSERT_TRUE(comes(GUIEventAdapter::RELEASE));
    EXPECT_EQ(clicks->count, 1);
    EXPECT_EQ(picks->misses, 1);
    // They follow the widget.
    m_view->widget()->resize(300, 200);
    EXPECT_TRUE(comesOnScreen(m_view->widget(), {0, 0, 1, 1}, {295, 195}));
    ASSERT_TRUE(m_view->comesToRest());
    const unsigned layouts = canvas->layouts();
    m_view->setColor({1, 0, 1, 1});
    ASSERT_TRUE(comesOnScreen(m_view->widget(), {1, 0, 1, 1}));
    EXPECT_EQ(canvas->layouts(), layouts);
}

TEST_F(SceneTest, LabelsAreReadable) {
    ControlCanvas* const canvas = ControlCanvas::getOrCreate(m_view->viewer);
    m_view->setColor({0, 0, 0.5, 1});
    auto* const label = canvas->addControl(new LabelControl("Lon:112.440000 \u4e2d\u6587", 20));
    label->setHaloColor({0, 0, 0, 1});
    const auto whitePixels = [&] {
        const QPoint place = m_view->widget()->mapToGlobal({0, 0});
        const QImage image =
            QGuiApplication::primaryScreen()->grabWindow(0, place.x(), place.y(), 300, 40).toImage();
        int count = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                count += image.pixelColor(x, y).lightness() > 200 ? 1 : 0;
            }
        }
        return count;
    };
    EXPECT_TRUE(waitFor([&] { return whitePixels() > 150; }, kPatience_ms));
    label->setText("");
    EXPECT_TRUE(waitFor([&] { return whitePixels() == 0; }, kPatience_ms));
}

TEST_F(SceneTest, TheHandPansUnderTheCursor) {
    const osg::ref_ptr<EarthManipulator> hand = new EarthManipulator;
    const osg::ref_ptr<MapNode> map = MapNode::createEmpty();
    m_view->viewer->getCamera()->setProjectionMatrixAsPerspective(30.0, 400.0 / 300.0, 1.0, 10000.0);
    m_view->root->addChild(map);
    hand->setNode(map);
    m_view->viewer->setCameraManipulator(hand, true);
    hand->setViewpoint(Viewpoint("", 10.0, 50.0, 0.0, 0.0, -80.0, 20e3));
    moveTo(150, 100);
    ASSERT_TRUE(comes(GUIEventAdapter::MOVE));
    osg::Vec3d grabbed;
    Lens lens;
    lens.setFromProjection(m_view->viewer->getCamera()->getProjectionMatrix());
    const EyeFrame frame = eyeFrameFrom(hand->getMatrix());
    const osg::Vec3d ray = rayThrough(frame, lens, {2.0 * 150.5 / 400 - 1.0, 1.0 - 2.0 * 100.5 / 300});
    ASSERT_TRUE(map->getTerrain()->intersect(frame.eye, frame.eye + ray * 1e8, grabbed));
    m_hand.press(1);
    ASSERT_TRUE(comes(GUIEventAdapter::PUSH));
    for (int x = 160; x <= 260; x += 10) {
        moveTo(x, 100 + (x - 150) / 2);
    }
    m_hand.release(1);
    ASSERT_TRUE(comes(GUIEventAdapter::RELEASE));
    const osg::Vec3d seen =
        grabbed * hand->getInverseMatrix() * m_view->viewer->getCamera()->getProjectionMatrix();
    EXPECT_NEAR((seen.x() + 1.0) * 200.0, 260.5, 2.0);
    EXPECT_NEAR((1.0 - seen.y()) * 150.0, 155.5, 2.0);
}

TEST_F(SceneTest, FramesEndWithTheFlight) {
    const osg::ref_ptr<EarthManipulator> hand = new EarthManipulator;
    m_view->viewer->setCameraManipulator(hand, true);
    ASSERT_TRUE(m_view->comesToRest());
    hand->setViewpoint(Viewpoint("", 60.0, 10.0, 0.0, 0.0, -90.0, 1e6), 0.3);
    const int before = m_view->frames;
    ASSERT_TRUE(waitFor([&] { return !hand->isSettingViewpoint(); }, kPatience_ms));
    EXPECT_GT(m_view->frames, before + 1);
    EXPECT_EQ(hand->getViewpoint().focalPoint()->x(), 60.0);
    ASSERT_TRUE(m_view->comesToRest());
    EXPECT_EQ(m_view->viewer->getCamera()->getViewMatrix(), hand->getInverseMatrix());
}

}  // namespace
