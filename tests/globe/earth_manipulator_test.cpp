#include "globe/earth_manipulator.h"

#include <gtest/gtest.h>

#include <cmath>
#include <osgViewer/Viewer>

namespace globe {
namespace {

using osgGA::GUIEventAdapter;

constexpr int kWide = 1000;
constexpr int kHigh = 600;
constexpr double kBand_m = 400.0;

// The hooks of a program that wants a say.
class Guarded : public EarthManipulator {
public:
    void pan(double dx, double dy) override {
        ++pans;
        if (!blocked) {
            EarthManipulator::pan(dx, dy);
        }
    }
    void zoom(double dx, double dy, osg::View* view) override {
        ++zooms;
        if (getDistance() * (1.0 + dy) > kBand_m) {
            EarthManipulator::zoom(dx, dy, view);
        }
    }
    bool blocked = false;
    int pans = 0;
    int zooms = 0;
};

class Forgetful : public osgViewer::Viewer {
public:
    void forgetRequests() {
        _requestRedraw = false;
        _requestContinousUpdate = false;
    }
};

class ManipulatorTest : public testing::Test {
protected:
    ManipulatorTest() {
        m_map = MapNode::createEmpty();
        m_viewer.setSceneData(m_map);
        m_viewer.getCamera()->setViewport(0, 0, kWide, kHigh);
        m_viewer.getCamera()->setProjectionMatrixAsPerspective(30.0, double(kWide) / kHigh, 1.0, 10000.0);
        m_hand->setNode(m_map);
        m_viewer.setCameraManipulator(m_hand, true);
    }

    void send(GUIEventAdapter::EventType type, double x, double y, int button, int mask) {
        osg::ref_ptr<GUIEventAdapter> event = new GUIEventAdapter;
        event->setEventType(type);
        event->setInputRange(0.0f, 0.0f, kWide, kHigh);
        event->setMouseYOrientation(GUIEventAdapter::Y_INCREASING_DOWNWARDS);
        event->setX(static_cast<float>(x));
        event->setY(static_cast<float>(y));
        event->setButton(button);
        event->setButtonMask(mask);
        event->setTime(m_time);
        m_hand->handle(*event, m_viewer);
    }
    void drag(int button, osg::Vec2d from, osg::Vec2d to, int steps = 10) {
        send(GUIEventAdapter::PUSH, from.x(), from.y(), button, button);
        for (int i = 1; i <= steps; ++i) {
            const osg::Vec2d at = from + (to - from) * (double(i) / steps);
            send(GUIEventAdapter::DRAG, at.x(), at.y(), 0, button);
        }
        send(GUIEventAdapter::RELEASE, to.x(), to.y(), button, 0);
    }
    void wheel(double x, double y, GUIEventAdapter::ScrollingMotion motion) {
        osg::ref_ptr<GUIEventAdapter> event = new GUIEventAdapter;
        event->setEventType(GUIEventAdapter::SCROLL);
        event->setInputRange(0.0f, 0.0f, kWide, kHigh);
        event->setMouseYOrientation(GUIEventAdapter::Y_INCREASING_DOWNWARDS);
        event->setX(static_cast<float>(x));
        event->setY(static_cast<float>(y));
        event->setScrollingMotion(motion);
        m_hand->handle(*event, m_viewer);
    }
    void frameAt(double time) {
        m_time = time;
        send(GUIEventAdapter::FRAME, 0, 0, 0, 0);
    }
    // The pixel at which the view's matrices put a point of the world.
    osg::Vec2d pixelOf(const osg::Vec3d& world) {
        const osg::Vec3d at =
            world * m_hand->getInverseMatrix() * m_viewer.getCamera()->getProjectionMatrix();
        return {(at.x() + 1.0) * kWide / 2.0, (1.0 - at.y()) * kHigh / 2.0};
    }
    osg::Vec3d groundAt(double x, double y) {
        Lens lens;
        lens.setFromProjection(m_viewer.getCamera()->getProjectionMatrix());
        osg::Vec3d world;
        const EyeFrame frame = eyeFrameFrom(m_hand->getMatrix());
        const osg::Vec3d ray = rayThrough(frame, lens, {2.0 * x / kWide - 1.0, 1.0 - 2.0 * y / kHigh});
        EXPECT_TRUE(m_map->getTerrain()->intersect(frame.eye, frame.eye + ray * 6e7, world));
        return world;
    }
    bool wantsFrame() { return m_viewer.getRequestRedraw() || m_viewer.getRequestContinousUpdate(); }

    Forgetful m_viewer;
    osg::ref_ptr<MapNode> m_map;
    osg::ref_ptr<Guarded> m_hand = new Guarded;
    double m_time = 0.0;
};

constexpr int kLeft = GUIEventAdapter::LEFT_MOUSE_BUTTON;
constexpr int kMiddle = GUIEventAdapter::MIDDLE_MOUSE_BUTTON;
constexpr int kRight = GUIEventAdapter::RIGHT_MOUSE_BUTTON;

TEST_F(ManipulatorTest, ALeftDragHoldsTheGround) {
    for (const double range : {500.0, 20e3, 7.0 * kEquatorRadius_m}) {
        m_hand->setViewpoint(Viewpoint("", 100.0, 48.0, 0.0, 20.0, -70.0, range));
        const osg::Vec3d grabbed = groundAt(500, 330);
        drag(kLeft, {500, 330}, {560, 280});
        const osg::Vec2d seen = pixelOf(grabbed);
        EXPECT_NEAR(seen.x(), 560.0, 1.0) << range;
        EXPECT_NEAR(seen.y(), 280.0, 1.0) << range;
    }
    EXPECT_EQ(m_hand->pans, 30);
}

TEST_F(ManipulatorTest, ABlockedPanMovesNothing) {
    m_hand->setViewpoint(Viewpoint("", 100.0, 48.0, 0.0, 0.0, -90.0, 5000.0));
    const osg::Matrixd before = m_hand->getMatrix();
    m_hand->blocked = true;
    drag(kLeft, {500, 330}, {600, 200});
    EXPECT_EQ(m_hand->getMatrix(), before);
    EXPECT_GT(m_hand->pans, 0);
}

TEST_F(ManipulatorTest, AViewpointSetInADragIsPannedOnFromThere) {
    m_hand->setViewpoint(Viewpoint("", 100.0, 48.0, 0.0, 0.0, -90.0, 5000.0));
    send(GUIEventAdapter::PUSH, 500, 300, kLeft, kLeft);
    send(GUIEventAdapter::DRAG, 510, 300, 0, kLeft);
    m_hand->setViewpoint(Viewpoint("", 20.0, 10.0, 0.0, 0.0, -90.0, 5000.0));
    const osg::Vec3d there = groundAt(510, 300);
    send(GUIEventAdapter::DRAG, 530, 320, 0, kLeft);
    EXPECT_NEAR(pixelOf(there).x(), 530.0, 1.0);
    EXPECT_NEAR(pixelOf(there).y(), 320.0, 1.0);
}

TEST_F(ManipulatorTest, ClicksMoveNothing) {
    m_hand->setViewpoint(Viewpoint("", 100.0, 48.0, 0.0, 0.0, -60.0, 5000.0));
    const osg::Matrixd before = m_hand->getMatrix();
    for (const int button : {kLeft, kMiddle, kRight}) {
        drag(button, {400, 250}, {400, 250}, 1);
    }
    // A hand trembles.
    drag(kRight, {400, 250}, {402, 251}, 2);
    drag(kMiddle, {400, 250}, {402, 251}, 2);
    EXPECT_EQ(m_hand->getMatrix(), before);
    EXPECT_EQ(m_hand->zooms, 0);
}

TEST_F(ManipulatorTest, AMiddleDragTurnsAboutTheFocalPoint) {
    m_hand->setViewpoint(Viewpoint("", 100.0, 48.0, 0.0, 0.0, -60.0, 5000.0));
    drag(kMiddle, {500, 300}, {600, 270});
    const Viewpoint now = m_hand->getViewpoint();
    EXPECT_EQ(now.focalPoint()->x(), 100.0);
    EXPECT_EQ(now.focalPoint()->y(), 48.0);
    EXPECT_EQ(*now.range(), 5000.0);
    EXPECT_GT(*now.heading(), 5.0);
    EXPECT_LT(*now.heading(), 90.0);
    EXPECT_GT(*now.pitch(), -60.0);
    drag(kMiddle, {500, 300}, {500, -2000});
    EXPECT_LT(*m_hand->getViewpoint().pitch(), 0.0);
    drag(kMiddle, {500, 300}, {500, 3000});
    EXPECT_EQ(*m_hand->getViewpoint().pitch(), -90.0);
}

TEST_F(ManipulatorTest, WheelAndRightDragZoom) {
    m_hand->setViewpoint(Viewpoint("", 100.0, 48.0, 0.0, 0.0, -60.0, 5000.0));
    const osg::Vec3d held = groundAt(300, 400);
    wheel(300, 400, GUIEventAdapter::SCROLL_UP);
    EXPECT_NEAR(m_hand->getDistance(), 4500.0, 1e-6);
    EXPECT_NEAR(pixelOf(held).x(), 300.0, 1.0);
    EXPECT_NEAR(pixelOf(held).y(), 400.0, 1.0);
    wheel(300, 400, GUIEventAdapter::SCROLL_DOWN);
    EXPECT_NEAR(m_hand->getDistance(), 4950.0, 1e-6);
    drag(kRight, {500, 300}, {500, 360});
    EXPECT_LT(m_hand->getDistance(), 4500.0);
    drag(kRight, {500, 300}, {500, 100});
    EXPECT_GT(m_hand->getDistance(), 5000.0);
}

TEST_F(ManipulatorTest, AZoomHookDropsAStepWhole) {
    m_hand->setViewpoint(Viewpoint("", 100.0, 48.0, 0.0, 0.0, -90.0, 401.0));
    const osg::Matrixd before = m_hand->getMatrix();
    wheel(300, 400, GUIEventAdapter::SCROLL_UP);
    EXPECT_EQ(m_hand->getDistance(), 401.0);
    EXPECT_EQ(m_hand->getMatrix(), before);
    EXPECT_EQ(m_hand->zooms, 1);
    wheel(300, 400, GUIEventAdapter::SCROLL_DOWN);
    EXPECT_NEAR(m_hand->getDistance(), 441.1, 1e-6);
}

TEST_F(ManipulatorTest, AFlightEndsExactlyAndAsksForFramesOnlyWhileItLasts) {
    const Viewpoint target("cur_locate", 112.44, 33.75, 0.0, 0.0, -90.0, 7.0 * kEquatorRadius_m);
    m_hand->getSettings()->setArcViewpointTransitions(true);
    frameAt(10.0);
    m_viewer.forgetRequests();
    m_hand->setViewpoint(target, 5.0);
    EXPECT_TRUE(m_hand->isSettingViewpoint());
    EXPECT_TRUE(wantsFrame());
    frameAt(20.0);
    frameAt(22.5);
    EXPECT_TRUE(m_viewer.getRequestContinousUpdate());
    const Viewpoint half = m_hand->getViewpoint();
    EXPECT_NE(half.focalPoint()->x(), 112.44);
    frameAt(25.1);
    EXPECT_FALSE(m_hand->isSettingViewpoint());
    EXPECT_FALSE(m_viewer.getRequestContinousUpdate());
    m_viewer.forgetRequests();
    frameAt(25.2);
    EXPECT_FALSE(wantsFrame());
    const Viewpoint end = m_hand->getViewpoint();
    EXPECT_EQ(end.focalPoint()->x(), 112.44);
    EXPECT_EQ(end.focalPoint()->y(), 33.75);
    EXPECT_EQ(end.focalPoint()->z(), 0.0);
    EXPECT_EQ(*end.heading(), 0.0);
    EXPECT_EQ(*end.pitch(), -90.0);
    EXPECT_EQ(*end.range(), 7.0 * kEquatorRadius_m);
    EXPECT_EQ(m_hand->getDistance(), 7.0 * kEquatorRadius_m);
}

TEST_F(ManipulatorTest, TheHandEndsAFlight) {
    m_hand->setViewpoint(Viewpoint("", 0.0, 10.0, 0.0, 0.0, -90.0, 1e6));
    m_hand->setViewpoint(Viewpoint("", 50.0, 10.0, 0.0, 0.0, -90.0, 1e6), 5.0);
    frameAt(1.0);
    frameAt(3.0);
    // A press alone is no movement.
    drag(kRight, {500, 300}, {500, 300}, 1);
    EXPECT_TRUE(m_hand->isSettingViewpoint());
    wheel(500, 300, GUIEventAdapter::SCROLL_UP);
    EXPECT_FALSE(m_hand->isSettingViewpoint());
    EXPECT_FALSE(m_viewer.getRequestContinousUpdate());
}

TEST_F(ManipulatorTest, UnsetPartsOfAViewpointStay) {
    m_hand->setViewpoint(Viewpoint("", 100.0, 48.0, 0.0, 30.0, -60.0, 5000.0));
    Viewpoint only_place;
    only_place.setFocalPoint(GeoPoint(SpatialReference::get("wgs84"), 5.0, 6.0, 700.0));
    m_hand->setViewpoint(only_place);
    const Viewpoint now = m_hand->getViewpoint();
    EXPECT_EQ(now.focalPoint()->x(), 5.0);
    EXPECT_EQ(now.focalPoint()->z(), 700.0);
    EXPECT_EQ(*now.heading(), 30.0);
    EXPECT_EQ(*now.pitch(), -60.0);
    EXPECT_EQ(*now.range(), 5000.0);
    Viewpoint senseless("", NAN, 0.0, 0.0, 0.0, NAN, -5.0);
    m_hand->setViewpoint(senseless);
    EXPECT_EQ(m_hand->getViewpoint().focalPoint()->x(), 5.0);
}

TEST_F(ManipulatorTest, TellsItsAnglesAndKeepsItsNode) {
    m_hand->setViewpoint(Viewpoint("", 100.0, 48.0, 0.0, 30.0, -60.0, 5000.0));
    double heading = 0.0;
    double pitch = 0.0;
    m_hand->getCompositeEulerAngles(&heading, nullptr);
    EXPECT_NEAR(heading, toRadians(30.0), 1e-12);
    m_hand->getCompositeEulerAngles(nullptr, &pitch);
    EXPECT_NEAR(pitch, toRadians(-60.0), 1e-12);
    const osg::ref_ptr<osg::Group> other = new osg::Group;
    m_hand->setNode(other);
    EXPECT_EQ(m_hand->getMapNode(), m_map.get());
    m_hand->setNode(nullptr);
    EXPECT_EQ(m_hand->getMapNode(), nullptr);
}

TEST_F(ManipulatorTest, AMatrixGivesItsPoseBack) {
    m_hand->setViewpoint(Viewpoint("", -70.0, -80.0, 0.0, 200.0, -40.0, 30e3));
    const osg::Matrixd matrix = m_hand->getMatrix();
    m_hand->home(0.0);
    m_hand->setByInverseMatrix(osg::Matrixd::inverse(matrix));
    const Viewpoint now = m_hand->getViewpoint();
    EXPECT_NEAR(now.focalPoint()->x(), -70.0, 1e-6);
    EXPECT_NEAR(now.focalPoint()->y(), -80.0, 1e-6);
    EXPECT_NEAR(*now.heading(), 200.0, 1e-6);
    EXPECT_NEAR(*now.pitch(), -40.0, 1e-6);
    EXPECT_NEAR(*now.range(), 30e3, 0.1);
}

TEST_F(ManipulatorTest, KeysPanAndGoHome) {
    m_hand->setHomeViewpoint(Viewpoint("", 1.0, 2.0, 0.0, 0.0, -90.0, 1e6));
    m_hand->setViewpoint(Viewpoint("", 100.0, 48.0, 0.0, 0.0, -90.0, 5000.0));
    osg::ref_ptr<GUIEventAdapter> key = new GUIEventAdapter;
    key->setEventType(GUIEventAdapter::KEYDOWN);
    key->setKey(GUIEventAdapter::KEY_Up);
    m_hand->handle(*key, m_viewer);
    EXPECT_GT(m_hand->getViewpoint().focalPoint()->y(), 48.0);
    EXPECT_NEAR(m_hand->getViewpoint().focalPoint()->x(), 100.0, 1e-6);
    key->setKey(GUIEventAdapter::KEY_Space);
    m_hand->handle(*key, m_viewer);
    EXPECT_EQ(m_hand->getViewpoint().focalPoint()->x(), 1.0);
}

}  // namespace
}  // namespace globe
