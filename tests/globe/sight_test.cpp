// What a line of sight meets first.
#include <gtest/gtest.h>

#include <osg/Geode>
#include <osg/MatrixTransform>
#include <osg/ShapeDrawable>
#include <osgViewer/Viewer>

#include "globe/circle_node.h"
#include "globe/map_node.h"
#include "globe/place_node.h"
#include "globe/polygon_symbol.h"
#include "globe/sight.h"

namespace globe {
namespace {

constexpr double kLon = 112.44;
constexpr double kLat = 33.75;
constexpr double kRange_m = 5000.0;

// Straight above a place, north up; a pixel sees 5.6 m of the ground.
class Sight : public testing::Test {
protected:
    void SetUp() override {
        osg::Camera& camera = *m_viewer.getCamera();
        camera.setViewport(0, 0, 640, 480);
        camera.setProjectionMatrixAsPerspective(30.0, 640.0 / 480.0, 1.0, 10000.0);
        osg::Matrixd frame;
        ASSERT_TRUE(place(0.0).createLocalToWorld(frame));
        camera.setViewMatrix(osg::Matrixd::inverse(osg::Matrixd::translate(0, 0, kRange_m) * frame));
    }
    static GeoPoint place(double altitude_m) {
        return {SpatialReference::get("wgs84"), kLon, kLat, altitude_m};
    }
    // Longitude, latitude, altitude of what is seen; y counts from below.
    bool seen(float x, float y, osg::Vec3d* place) {
        osg::Vec3d world;
        const bool hit = firstSeen(*m_map, &m_viewer, x, y, world);
        *place = Ellipsoid().geocentricToGeodetic(world);
        return hit;
    }
    // A cube of 100 m about a height.
    osg::ref_ptr<osg::MatrixTransform> cube(double altitude_m) const {
        osg::ref_ptr<osg::Geode> geode = new osg::Geode;
        geode->addDrawable(new osg::ShapeDrawable(new osg::Box({}, 100.0F)));
        osg::ref_ptr<osg::MatrixTransform> node = new osg::MatrixTransform;
        osg::Matrixd frame;
        place(altitude_m).createLocalToWorld(frame);
        node->setMatrix(frame);
        node->addChild(geode);
        return node;
    }

    osgViewer::Viewer m_viewer;
    osg::ref_ptr<MapNode> m_map = MapNode::createEmpty();
};

TEST_F(Sight, ABodyHidesTheGroundBehindIt) {
    osg::Vec3d at;
    ASSERT_TRUE(seen(320, 240, &at));
    EXPECT_NEAR(at.x(), kLon, 1e-7);
    EXPECT_NEAR(at.z(), 0.0, 0.02);
    m_map->addChild(cube(800.0));
    m_map->addChild(cube(300.0));
    ASSERT_TRUE(seen(320, 240, &at));
    EXPECT_NEAR(at.x(), kLon, 1e-7);
    EXPECT_NEAR(at.y(), kLat, 1e-7);
    EXPECT_NEAR(at.z(), 850.0, 0.02) << "the nearer one, by its upper side";
    ASSERT_TRUE(seen(360, 240, &at));
    EXPECT_NEAR(at.z(), 0.0, 0.02);
    EXPECT_GT(at.x(), kLon + 0.001);
}

TEST_F(Sight, ABodyUnderTheGroundIsNotSeen) {
    m_map->addChild(cube(-60.0));
    osg::Vec3d at;
    ASSERT_TRUE(seen(320, 240, &at));
    EXPECT_NEAR(at.z(), 0.0, 0.02);
}

TEST_F(Sight, ABodyIsSeenBeforeTheSky) {
    // 30,000 m up and away from the earth.
    osg::Matrixd frame;
    place(30000.0).createLocalToWorld(frame);
    m_viewer.getCamera()->setViewMatrix(
        osg::Matrixd::inverse(osg::Matrixd::rotate(osg::PI, osg::Vec3d(1, 0, 0)) * frame));
    osg::Vec3d at;
    EXPECT_FALSE(seen(320, 240, &at));
    m_map->addChild(cube(31000.0));
    ASSERT_TRUE(seen(320, 240, &at));
    EXPECT_NEAR(at.z(), 30950.0, 0.1);
}

TEST_F(Sight, MarksAndDrapedShapesHaveNoBody) {
    Style area;
    area.getOrCreate<PolygonSymbol>()->fill() = Fill(Color::Teal, 0.5F);
    const osg::ref_ptr<CircleNode> disc = new CircleNode;
    disc->set(place(0.0), 500.0, area, -180.0, 180.0, true);
    ASSERT_EQ(disc->getNumChildren(), 1U);
    m_map->addChild(disc);
    m_map->addChild(new PlaceNode(place(1000.0), "here"));
    osg::Vec3d at;
    for (const float x : {300.0F, 320.0F, 330.0F, 420.0F}) {
        ASSERT_TRUE(seen(x, 240, &at)) << x;
        EXPECT_NEAR(at.z(), 0.0, 0.02) << x;
    }
}

}  // namespace
}  // namespace globe
