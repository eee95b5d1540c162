// What a map draws by the reports, the camera's band, scale bar and compass, and that it costs nothing at
// rest.
#include <QAbstractEventDispatcher>
#include <QWheelEvent>

#include "map_scene.h"

namespace {

constexpr Place kHere = {112.44, 33.75};

class MapMarks : public MapScene {
protected:
    // Small: what is drawn here is counted and not looked at.
    void SetUp() override {
        MapScene::SetUp();
        build({320, 240});
    }
    void enlarge() {
        window->resize(640, 480);
        map->setGeometry(0, 0, 640, 480);
    }
    static bool holds(osg::Group* group, osg::Node* node) { return group->containsNode(node); }
};

TEST_F(MapMarks, FourCitiesStandFromTheStart) {
    QStringList names;
    for (unsigned int i = 0; i < in().m_marker_group()->getNumChildren(); ++i) {
        const auto* place = dynamic_cast<globe::PlaceNode*>(in().m_marker_group()->getChild(i));
        ASSERT_NE(place, nullptr);
        names << QString::fromStdString(place->getText());
    }
    EXPECT_EQ(names, (QStringList{"Tokyo", "New Orleans", "Miami", "ShenZhen"}));
    EXPECT_TRUE(holds(in().m_earth_node()->asGroup(), in().m_marker_group()));
    EXPECT_TRUE(in().m_target_marks().empty());
    EXPECT_EQ(in().m_root()->getNumChildren(), 1U);
}

TEST_F(MapMarks, TheTargetsMarkMovesWithAChangeAlone) {
    map->set_target_location(112.44, 33.75, 5);
    EXPECT_TRUE(in().m_target_marks().empty());
    map->set_target_location(0, 0, 5);
    ASSERT_EQ(in().m_target_marks().size(), 1U);
    globe::PlaceNode* mark = in().m_target_marks()[0];
    EXPECT_EQ(mark->getText(), "Target");
    EXPECT_EQ(mark->getPosition().x(), 0);
    EXPECT_EQ(mark->getPosition().y(), 0);
    const osg::ref_ptr<globe::PlaceNode> first = mark;
    map->set_target_location(0, 0, 99);
    EXPECT_EQ(in().m_target_marks()[0], mark);
    map->set_target_location(1, 2, 0);
    ASSERT_EQ(in().m_target_marks().size(), 1U);
    EXPECT_NE(in().m_target_marks()[0], mark);
    EXPECT_FALSE(holds(in().m_marker_group(), mark));
    EXPECT_TRUE(holds(in().m_marker_group(), in().m_target_marks()[0]));
    EXPECT_EQ(in().m_marker_group()->getNumChildren(), 5U);
}

TEST_F(MapMarks, AnotherControlDoesNothing) {
    in().click("locate");
    EXPECT_TRUE(in().m_target_marks().empty());
}

TEST_F(MapMarks, TheTargetsImageFliesThere) {
    in().m_manipulator()->setViewpoint(globe::Viewpoint("", 112.44, 33.75, 0.0, 0.0, -90.0, 1e7), 0.0);
    map->set_target_location(100, 10, 0);
    in().click("locate_target");
    EXPECT_TRUE(in().m_manipulator()->isSettingViewpoint());
    EXPECT_EQ(in().m_target_marks().size(), 1U);
    endFlight();
    const globe::Viewpoint there = in().m_manipulator()->getViewpoint();
    EXPECT_NEAR(there.focalPoint()->x(), 100, 1e-9);
    EXPECT_NEAR(there.focalPoint()->y(), 10, 1e-9);
    EXPECT_NEAR(*there.range(), 2000, 1e-3);
    EXPECT_NEAR(*there.pitch(), -90, 1e-6);
}

TEST_F(MapMarks, TheFirstFixBuildsTheModelAndNoTrack) {
    map->update_aircraft(112, 33, 800, 90.0F);
    EXPECT_EQ(in().m_track().size(), 1U);
    EXPECT_EQ(in().m_track_node(), nullptr);
    ASSERT_NE(in().m_plane(), nullptr);
    EXPECT_TRUE(holds(in().m_marker_group(), in().m_plane()));
    EXPECT_TRUE(holds(in().m_root(), in().m_footprint_node()));
    EXPECT_TRUE(holds(in().m_root(), in().m_heading_node()));
    EXPECT_EQ(in().m_plane()->getPosition().x(), 112);
    EXPECT_EQ(in().m_plane()->getPosition().z(), 800);
    // 270 degrees about the vertical.
    const osg::Vec3d nose = in().m_plane()->getLocalRotation() * osg::Vec3d(0, 1, 0);
    EXPECT_NEAR(nose.x(), 1, 1e-6);
    EXPECT_NEAR(nose.y(), 0, 1e-6);
    EXPECT_NE(in().m_marker_group()->getStateSet()->getAttribute(osg::StateAttribute::MATERIAL), nullptr);
}

TEST_F(MapMarks, TheTrackGrowsByEachChange) {
    for (int i = 0; i < 5; ++i) {
        map->update_aircraft(112 + i * 0.001, 33, 800, 90.0F);
    }
    ASSERT_NE(in().m_track_node(), nullptr);
    EXPECT_TRUE(holds(in().m_root(), in().m_track_node()));
    EXPECT_EQ(in().m_track().size(), 5U);
    const auto& line = in().m_track_node()->getFeature()->getGeometry()->asVector();
    ASSERT_EQ(line.size(), 5U);
    EXPECT_EQ(line[4], osg::Vec3d(112.004, 33, 800));
    // Sky, track, footprint, heading line.
    EXPECT_EQ(in().m_root()->getNumChildren(), 4U);
}

TEST_F(MapMarks, TheSamePlaceTurnsTheFootprintAndNotTheModel) {
    map->update_aircraft(112, 33, 800, 90.0F);
    const osg::Quat before = in().m_plane()->getLocalRotation();
    const osg::ref_ptr<globe::FeatureNode> footprint = in().m_footprint_node();
    const osg::ref_ptr<globe::FeatureNode> heading = in().m_heading_node();
    map->update_aircraft(112, 33, 800, 180.0F);
    EXPECT_EQ(in().m_plane()->getLocalRotation(), before);
    EXPECT_EQ(in().m_track().size(), 1U);
    EXPECT_NE(in().m_footprint_node(), footprint.get());
    EXPECT_NE(in().m_heading_node(), heading.get());
    EXPECT_FALSE(holds(in().m_root(), footprint));
    const auto& line = in().m_heading_node()->getFeature()->getGeometry()->asVector();
    EXPECT_LT(line[1].y(), 33);
    EXPECT_NEAR(line[1].x(), 112, 1e-9);
}

TEST_F(MapMarks, AFixThatIsNoPlaceLeavesTheModel) {
    const double nan = std::nan("");
    map->update_aircraft(nan, 33, 800, 0.0F);
    EXPECT_EQ(in().m_plane(), nullptr);
    EXPECT_TRUE(in().m_track().empty());
    map->update_aircraft(112, 33, 800, std::nanf(""));
    ASSERT_NE(in().m_footprint_node(), nullptr);
    EXPECT_EQ(in().m_footprint_node()->getNumChildren(), 0U) << "an area whose corners are no places";
    const unsigned int before = in().frames();
    lookAt(kHere, 1e6);
    EXPECT_GT(in().frames(), before);
}

TEST_F(MapMarks, AFootprintAtTheDateLineLiesBeyondIt) {
    map->update_aircraft(179.999, 10, 500, 90.0F);
    const auto& corners = in().m_footprint_node()->getFeature()->getGeometry()->asVector();
    ASSERT_EQ(corners.size(), 4U);
    for (const osg::Vec3d& corner : corners) {
        EXPECT_LT(corner.x(), -179.99);
    }
}

TEST_F(MapMarks, PlaneCenterFollowsWithoutAFlight) {
    lookAt(kHere, 50000);
    map->update_aircraft(100, 20, 700, 0.0F);
    EXPECT_NEAR(in().m_manipulator()->getViewpoint().focalPoint()->x(), kHere.lon, 1e-9);
    in().m_plane_center()->setValue(true);
    map->update_aircraft(100.5, 20, 700, 0.0F);
    const globe::Viewpoint now = in().m_manipulator()->getViewpoint();
    EXPECT_FALSE(in().m_manipulator()->isSettingViewpoint());
    EXPECT_NEAR(now.focalPoint()->x(), 100.5, 1e-9);
    EXPECT_NEAR(now.focalPoint()->y(), 20, 1e-9);
    EXPECT_NEAR(now.focalPoint()->z(), 700, 1e-3);
    EXPECT_NEAR(*now.range(), 50000, 1e-3);
}

TEST_F(MapMarks, ZoomKeepsToItsBand) {
    lookAt(kHere, 401);
    in().m_manipulator()->zoom(0, 399.0 / 401 - 1, nullptr);
    EXPECT_NEAR(in().m_manipulator()->getDistance(), 401, 1e-6);
    in().m_manipulator()->zoom(0, 0.5, nullptr);
    EXPECT_NEAR(in().m_manipulator()->getDistance(), 601.5, 1e-6);
    lookAt(kHere, kSevenRadii);
    EXPECT_NEAR(in().m_manipulator()->getDistance(), kSevenRadii, 1e-3);
    in().m_manipulator()->zoom(0, 0.1, nullptr);
    EXPECT_NEAR(in().m_manipulator()->getDistance(), kSevenRadii, 1e-3);
}

TEST_F(MapMarks, TheFirstViewIsSevenRadiiAboveTheTarget) {
    endFlight();
    const globe::Viewpoint first = in().m_manipulator()->getViewpoint();
    EXPECT_NEAR(first.focalPoint()->x(), 112.44, 1e-9);
    EXPECT_NEAR(first.focalPoint()->y(), 33.75, 1e-9);
    EXPECT_NEAR(*first.range(), kSevenRadii, 1);
    EXPECT_NEAR(*first.pitch(), -90, 1e-6);
}

TEST_F(MapMarks, TheScaleFollowsTheWheelAndNotThePan) {
    enlarge();
    EXPECT_EQ(in().m_scale_bar()->label()->text(), "2000 km");
    lookAt(kHere, 1000);
    EXPECT_EQ(in().m_scale_bar()->label()->text(), "2000 km");
    // 128 pixels of 480 at 30 degrees over 1000 m: 142.9 m on a plane.
    EXPECT_NEAR(in().m_scale_bar()->update(), 1000 * std::tan(15 * 3.14159265 / 180) / 240, 0.005);
    EXPECT_EQ(in().m_scale_bar()->label()->text(), "100 m");
    lookAt({10, 10}, 10000);
    EXPECT_EQ(in().m_scale_bar()->label()->text(), "100 m");
    QTest::keyClick(in().surface(), Qt::Key_F2);
    EXPECT_TRUE(waitFor([&] { return in().m_scale_bar()->label()->text() == "1 km"; }, kDeadline_ms));
    // A drag leaves it alone, though the map has moved under it; a notch of the wheel measures anew.
    lookAt({10, 10}, 1000);
    const unsigned int before = in().frames();
    QTest::mousePress(in().surface(), Qt::MiddleButton, {}, {320, 240});
    QTest::mouseMove(in().surface(), {330, 240});
    QTest::mouseRelease(in().surface(), Qt::MiddleButton, {}, {330, 240});
    ASSERT_TRUE(waitFor([&] { return in().frames() > before; }, kDeadline_ms));
    EXPECT_EQ(in().m_scale_bar()->label()->text(), "1 km");
    QWheelEvent notch(QPointF(320, 240), QPointF(320, 240), {}, {0, 120}, Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(in().surface(), &notch);
    EXPECT_TRUE(waitFor([&] { return in().m_scale_bar()->label()->text() == "100 m"; }, kDeadline_ms))
        << in().m_scale_bar()->label()->text();
}

TEST_F(MapMarks, TheScaleLiesOnNoOtherControl) {
    for (const int width : {640, 300}) {
        map->setGeometry(0, 0, width, 240);
        lookAt(kHere, 1000);
        const globe::ControlRect& box = in().m_plane_center()->renderRect();
        const globe::ControlRect& scale = in().m_scale_bar()->label()->renderRect();
        EXPECT_GT(scale.width, 0.0F);
        EXPECT_EQ(scale.y > box.y + box.height, width == 300) << scale.y << " below " << box.y;
    }
}

TEST_F(MapMarks, OverTheSkyTheScaleIsGone) {
    in().m_manipulator()->setViewpoint(globe::Viewpoint("", 112.44, 33.75, 0.0, 0.0, 30.0, 1000.0), 0.0);
    in().m_manipulator()->getSettings()->setMinMaxPitch(-90, 90);
    in().m_viewer()->requestRedraw();
    settle();
    const osg::Matrixd up =
        osg::Matrixd::lookAt(osg::Vec3d(2e7, 0, 0), osg::Vec3d(4e7, 0, 0), osg::Vec3d(0, 0, 1));
    in().m_camera()->setViewMatrix(up);
    EXPECT_EQ(in().m_scale_bar()->update(), -1.0);
    EXPECT_EQ(in().m_scale_bar()->label()->text(), "");
    EXPECT_EQ(in().m_scale_bar()->bar()->width(), 0);
    in().m_scale_bar()->set_visible(false);
    EXPECT_EQ(in().m_scale_bar()->update(), -1.0);
}

TEST_F(MapMarks, AMapAtRestDrawsNothing) {
    lookAt(kHere, 1e6);
    // What was still being read has come at last: then nothing is drawn in thirty turns of the timer.
    unsigned int before = in().frames();
    int turns = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        turns = in().frames() == before ? turns + 1 : 0;
        before = in().frames();
    });
    timer.start(10);
    ASSERT_TRUE(waitFor([&] { return turns >= 30; }, kDeadline_ms));
    timer.stop();
    map->update_aircraft(112, 33, 800, 90.0F);
    EXPECT_TRUE(waitFor([&] { return in().frames() > before; }, kDeadline_ms));
}

TEST_F(MapMarks, AHiddenMapHasNoTimer) {
    EXPECT_NE(in().m_timer_id(), 0);
    map->hide();
    EXPECT_EQ(in().m_timer_id(), 0);
    EXPECT_TRUE(QAbstractEventDispatcher::instance()->registeredTimers(map.get()).isEmpty());
    map->show();
    EXPECT_NE(in().m_timer_id(), 0);
    map->show();
    EXPECT_EQ(QAbstractEventDispatcher::instance()->registeredTimers(map.get()).size(), 1);
}

TEST_F(MapMarks, TheProjectionFollowsTheSizeAlone) {
    const auto ratio = [this] {
        double fov = 0;
        double aspect = 0;
        double near = 0;
        double far = 0;
        in().m_camera()->getProjectionMatrixAsPerspective(fov, aspect, near, far);
        EXPECT_NEAR(fov, 30, 1e-6);
        return aspect;
    };
    enlarge();
    lookAt(kHere, 1e6);
    EXPECT_NEAR(ratio(), 640.0 / 480.0, 1e-9);
    map->setGeometry(0, 0, 300, 480);
    settle();
    EXPECT_NEAR(ratio(), 300.0 / 480.0, 1e-9);
    map->hide();
    map->setGeometry(0, 0, 640, 200);
    map->show();
    settle();
    EXPECT_NEAR(ratio(), 640.0 / 200.0, 1e-9);
    EXPECT_EQ(in().surface()->size(), QSize(640, 200));
    map->setGeometry(0, 0, 640, 0);
    map->setGeometry(0, 0, 640, 480);
    settle();
    EXPECT_NEAR(ratio(), 640.0 / 480.0, 1e-9);
}

TEST_F(MapMarks, SurvivesBeingShownHiddenMovedAndResized) {
    QWidget other;
    other.setGeometry(300, 300, 400, 300);
    other.show();
    for (int i = 0; i < 100; ++i) {
        map->hide();
        map->setParent(i % 2 == 0 ? &other : window.get());
        map->setGeometry(0, 0, 200 + 4 * i, 300);
        map->show();
        QCoreApplication::processEvents();
    }
    lookAt(kHere, 1e6);
    const unsigned int before = in().frames();
    in().m_viewer()->requestRedraw();
    EXPECT_TRUE(waitFor([&] { return in().frames() > before; }, kDeadline_ms));
    map->setParent(nullptr);
    map.reset();
}

}  // namespace
