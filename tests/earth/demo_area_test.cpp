// The fine layers of the demo area against the landscape that the simulated pod shows.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "simulator/pod/pod.h"
#include "simulator/world/flight.h"
#include "simulator/world/terrain.h"
#include "simulator/world/world.h"
#include "tests/earth/geo_file.h"

namespace earth {
namespace {

class DemoArea : public testing::Test {
protected:
    DemoArea() : m_flight(podsim::PodConfig().latitude_deg, podsim::PodConfig().longitude_deg) {}

    std::array<int, 3> colourAt(const GeoFile& file, double east_m, double north_m) const {
        double lat = 0, lon = 0;
        m_flight.toEarth(east_m, north_m, lat, lon);
        return file.colourAt(lon, lat);
    }
    int heightAt(const GeoFile& file, double east_m, double north_m) const {
        double lat = 0, lon = 0;
        m_flight.toEarth(east_m, north_m, lat, lon);
        return file.valueAt(lon, lat);
    }

    podsim::Flight m_flight;
};

int lumaOf(const std::array<int, 3>& c) { return (66 * c[0] + 129 * c[1] + 25 * c[2]) / 256 + 16; }

// What the pod's ground shows at a place, a mean over 1 m.
int groundLuma(double east_m, double north_m) {
    const auto& level = podsim::Terrain::instance().luma.levels[2];
    const int i = static_cast<int>(std::floor(east_m)) & 1023,
              j = static_cast<int>(std::floor(north_m)) & 1023;
    return level[static_cast<std::size_t>(j * 1024 + i)];
}

TEST_F(DemoArea, ShowsTheSameGroundInTheSamePlace) {
    const GeoFile image("demo_area.tif");
    ASSERT_TRUE(image.good());
    std::mt19937 random(7);
    std::uniform_real_distribution<double> metres(-508, 508);
    std::vector<std::pair<double, double>> places(1500);
    for (auto& [east, north] : places) {
        east = std::floor(metres(random)) + 0.5;
        north = std::floor(metres(random)) + 0.5;
    }
    const auto difference = [&](double shift_east, double shift_north) {
        double sum = 0;
        for (const auto& [east, north] : places) {
            sum += std::abs(lumaOf(colourAt(image, east, north)) -
                            groundLuma(east + shift_east, north + shift_north));
        }
        return sum / static_cast<double>(places.size());
    };
    const double here = difference(0, 0);
    EXPECT_LT(here, 9);
    for (const auto& [east, north] : {std::pair{2, 0}, {-2, 0}, {0, 2}, {0, -2}}) {
        EXPECT_GT(difference(east, north), here * 1.15) << east << " " << north;
    }
}

TEST_F(DemoArea, RiverAndRoadsLieWhereTheLandscapeHasThem) {
    const GeoFile image("demo_area.tif");
    ASSERT_TRUE(image.good());
    for (double north = -500; north < 500; north += 37) {
        if (std::fabs(north) < 40 || std::fabs(north - 330) < 40) {
            continue;  // bridge and ford
        }
        const auto water = colourAt(image, podsim::World::riverX(north), north);
        EXPECT_GT(water[2], water[0] + 10) << north;
        const double bank = podsim::World::riverX(north) + podsim::World::riverHalfWidth(north) + 2;
        const auto sand = colourAt(image, bank, north);
        EXPECT_GE(sand[0], sand[2]) << north;
    }
    for (double east = -500; east < 500; east += 41) {
        const auto road = colourAt(image, east, podsim::World::mainRoadY(east) + 2);
        EXPECT_NEAR(road[0], road[2], 16) << east;  // grey
    }
}

TEST_F(DemoArea, IsFlatAndPassesOverToTheWorld) {
    const GeoFile heights("demo_heights.tif"), world("world_relief.tif");
    ASSERT_TRUE(heights.good() && world.good());
    for (double east = -500; east <= 500; east += 100) {
        for (double north = -500; north <= 500; north += 100) {
            EXPECT_EQ(heightAt(heights, east, north), std::lround(podsim::kGroundAltitude));
        }
    }
    for (const auto& [east, north] : {std::pair{1018, 0}, {-1018, 300}, {700, 1018}, {-200, -1018}}) {
        EXPECT_NEAR(heightAt(heights, east, north), heightAt(world, east, north), 6) << east << " " << north;
    }
    // No step on the way.
    for (double east = 0; east < 1010; east += 8) {
        EXPECT_NEAR(heightAt(heights, east, 0), heightAt(heights, east + 8, 0), 2) << east;
    }
}

}  // namespace
}  // namespace earth
