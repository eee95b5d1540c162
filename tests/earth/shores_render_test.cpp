// Shores of the world on a drawn globe: they stand where trigonometry puts the places at which the image file
// itself passes from sea to land.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <osgDB/ReadFile>

#include "globe/initialize.h"
#include "globe/map_node.h"
#include "tests/earth/geo_file.h"
#include "tests/globe/offscreen.h"

namespace earth {
namespace {

using globe_test::Pose;
using globe_test::Spot;

constexpr double kPixelOfImage_deg = 1.0 / 30;

// Open sea on one side and land on the other, for hundreds of kilometres; the way from sea to land.
struct Shore {
    const char* name;
    double lon, lat;
    double to_east, to_north;
};
constexpr Shore kShores[] = {
    {"Perth", 115.72, -31.7, 1, 0}, {"Namib", 14.40, -23, 1, 0}, {"Lima", -77.15, -12.05, 1, 0},
    {"Agulhas", 20, -34.833, 0, 1}, {"Accra", -0.2, 5.54, 0, 1},
};

bool isSea(int r, int g, int b) { return b > r + 12 && b > g + 5; }

// Degrees from the known shore to where the file has it.
double shoreInFile(const GeoFile& image, const Shore& shore) {
    double way = -0.4;
    const auto seaAt = [&](double k) {
        const auto c = image.colourAt(shore.lon + k * shore.to_east, shore.lat + k * shore.to_north);
        return isSea(c[0], c[1], c[2]);
    };
    while (way < 0.4 && seaAt(way)) {
        way += 0.002;
    }
    return way;
}

class Shores : public ::testing::Test {
protected:
    void SetUp() override {
        globe::initialize();
        ASSERT_TRUE(m_screen.works());
        const osg::ref_ptr<osg::Node> node = osgDB::readRefNodeFile(EARTH_FOLDER "/XEarth.earth");
        m_map = globe::MapNode::findMapNode(node.get());
        ASSERT_TRUE(m_map.valid());
        m_map->getOrCreateStateSet()->setMode(GL_LIGHTING,
                                              osg::StateAttribute::OFF | osg::StateAttribute::OVERRIDE);
        m_screen.show(m_map);
    }
    void TearDown() override {
        // Its data sets are opened by the first frame.
        EXPECT_TRUE(m_map.valid() && m_map->problems().empty());
        m_screen.show(nullptr);
    }

    Spot spotOf(const Pose& pose, const Shore& shore, double way_deg) const {
        return m_screen.expected(pose, shore.lon + way_deg * shore.to_east,
                                 shore.lat + way_deg * shore.to_north, 0.0);
    }
    bool seaAt(const Spot& spot) const {
        const auto pixel = m_screen.at(static_cast<int>(spot.x), static_cast<int>(spot.y));
        return isSea(pixel.r, pixel.g, pixel.b);
    }
    void check(const Pose& view, const Shore& shore, double way_in_file) {
        Pose pose = view;
        pose.lon = shore.lon;
        pose.lat = shore.lat;
        m_screen.look(pose);
        ASSERT_TRUE(m_screen.settle(m_map));
        const Spot expected = spotOf(pose, shore, way_in_file);
        // What a degree there is on the screen.
        const Spot beside = spotOf(pose, shore, way_in_file + 0.5);
        const double per_deg = std::hypot(beside.x - expected.x, beside.y - expected.y) / 0.5;
        // A dozen pixels out at sea; then to the first that is none.
        double way = way_in_file - 12.0 / per_deg;
        ASSERT_TRUE(seaAt(spotOf(pose, shore, way))) << shore.name << " " << pose.range_m;
        while (way < way_in_file + 12.0 / per_deg && seaAt(spotOf(pose, shore, way))) {
            way += 0.1 / per_deg;
        }
        // The image's own pixels run into each other.
        EXPECT_NEAR(way * per_deg, way_in_file * per_deg, 2.0 + kPixelOfImage_deg * per_deg)
            << shore.name << " at " << pose.range_m << " m";
    }

    globe_test::Offscreen m_screen{480, 360};
    osg::ref_ptr<globe::MapNode> m_map;
};

TEST_F(Shores, StandWithinTwoPixelsAtEveryRangeAndTilt) {
    const GeoFile image("world.tif");
    ASSERT_TRUE(image.good());
    for (const Shore& shore : kShores) {
        const double way = shoreInFile(image, shore);
        ASSERT_LT(std::fabs(way), 0.2) << shore.name;
        for (const Pose& view :
             {Pose{0, 0, 0, -90, 7.0 * 6378137.0}, Pose{0, 0, 30, -70, 2e7}, Pose{0, 0, 200, -60, 5e6},
              Pose{0, 0, -60, -45, 2e6}, Pose{0, 0, 110, -50, 1e6}}) {
            check(view, shore, way);
        }
    }
}

}  // namespace
}  // namespace earth
