// The landscape, and drawing into planes.
#include "simulator/world/world.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <vector>

#include "simulator/world/font.h"
#include "simulator/world/raster.h"

namespace podsim {
namespace {

TEST(World, RepeatsWithoutASeam) {
    EXPECT_NEAR(World::mainRoadY(0), World::mainRoadY(kPeriod), 1e-6);
    EXPECT_NEAR(World::riverX(-3), World::riverX(kPeriod - 3), 1e-6);
    constexpr double kTick = 0.04;
    const World& world = World::instance();
    for (const Traffic& t : world.traffic()) {
        EXPECT_GE(t.id, 1);
        EXPECT_LE(t.id, 255);
        // No jump from one step to the next but by a whole period.
        TrafficState last = world.state(t, 0);
        for (double time = kTick; time < 200; time += 1) {
            last = world.state(t, time - kTick);
            const TrafficState now = world.state(t, time);
            const double dx = nearImage(now.position.x, last.position.x) - last.position.x;
            const double dy = nearImage(now.position.y, last.position.y) - last.position.y;
            EXPECT_NEAR(std::hypot(dx, dy) / kTick, t.speed_mps, 1.5) << t.id;
        }
    }
}

TEST(World, BoatsGoOnWaterAndVehiclesOnRoads) {
    const World& world = World::instance();
    for (const Traffic& t : world.traffic()) {
        for (double time = 0; time < 100; time += 7) {
            const Vec3 p = world.state(t, time).position;
            if (t.type == kBoat) {
                EXPECT_LT(std::fabs(nearImage(World::riverX(p.y), p.x) - p.x) + t.width_m / 2,
                          World::riverHalfWidth(p.y));
            } else if (t.route == Route::kMainRoad) {
                EXPECT_LT(std::fabs(World::mainRoadY(p.x) - p.y), World::kMainHalf);
            }
        }
    }
}

TEST(World, TheBridgeHidesABoatBelowIt) {
    const World& world = World::instance();
    const double x = (World::bridgeWest() + World::bridgeEast()) / 2, y = World::mainRoadY(x);
    EXPECT_TRUE(world.occluded({x, y + 40, 150}, {x, y, 1}, true));
    EXPECT_FALSE(world.occluded({x, y + 40, 150}, {x, y + 30, 1}, true));
    EXPECT_FALSE(world.occluded({x, y + 40, 150}, {x, y, 8}, false));
}

TEST(Raster, PolygonsCoverTheirArea) {
    std::vector<std::uint8_t> y(64 * 64), u(32 * 32, 128), v(32 * 32, 128);
    const Canvas canvas = {y.data(), u.data(), v.data(), 64, 32, 64, 64};
    const Point triangle[3] = {{10.5, 10.25}, {50.5, 10.25}, {10.5, 50.25}};
    fillConvex(canvas, triangle, 3, {200, 100, 150});
    double area = 0;
    for (const std::uint8_t value : y) {
        area += value / 200.0;
    }
    EXPECT_NEAR(area, 800, 16);
    EXPECT_EQ(u[8 * 32 + 8], 100);
    EXPECT_EQ(v[30 * 32 + 30], 128);
}

TEST(Raster, ClipsAtEveryEdge) {
    std::vector<std::uint8_t> y(66 * 66, 7);
    // A rim of one pixel around the canvas must stay.
    const Canvas canvas = {y.data() + 67, nullptr, nullptr, 66, 0, 64, 64};
    const Point huge[4] = {{-1e6, -1e6}, {1e6, -1e6}, {1e6, 1e6}, {-1e6, 1e6}};
    fillConvex(canvas, huge, 4, {99, 0, 0});
    fillRect(canvas, -10, -10, 200, 200, {99, 0, 0});
    drawText(canvas, -8, 60, "Edge WWWWWWWWWWWWWWW", 3, {99, 0, 0});
    drawLine(canvas, {-50, 30}, {500, 31}, 9, {99, 0, 0});
    for (int i = 0; i < 66; ++i) {
        EXPECT_EQ(y[static_cast<std::size_t>(i)], 7);
        EXPECT_EQ(y[static_cast<std::size_t>(65 * 66 + i)], 7);
        EXPECT_EQ(y[static_cast<std::size_t>(i * 66)], 7);
        EXPECT_EQ(y[static_cast<std::size_t>(i * 66 + 65)], 7);
    }
    EXPECT_EQ(y[67], 99);
}

TEST(Font, SignsDifferAndSmallLettersAreCapitals) {
    std::set<std::vector<std::uint8_t>> shapes;
    for (int c = ' '; c <= 0x7F; ++c) {
        if (c < 'a' || c > 'z') {
            shapes.insert(std::vector<std::uint8_t>(glyph(static_cast<unsigned char>(c)),
                                                    glyph(static_cast<unsigned char>(c)) + kGlyphHeight));
        }
    }
    EXPECT_EQ(shapes.size(), 70U);
    EXPECT_EQ(glyph('q'), glyph('Q'));
    EXPECT_EQ(glyph(0xC3), glyph(0x07));
    EXPECT_EQ(textWidth("AB", 2), 22);
}

}  // namespace
}  // namespace podsim
