#include "map/geo_rules.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace sorvane {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kMetresPerDegree = 6378137.0 * 3.14159265358979323846 / 180.0;

TEST(DestinationPoint, GoesStraightAlongMeridianAndEquator) {
    const GeoPosition north = destinationPoint({10, 20, 77}, 0, 1000);
    EXPECT_NEAR(north.longitude_deg, 10, 1e-12);
    EXPECT_NEAR(north.latitude_deg, 20 + 1000 / kMetresPerDegree, 1e-12);
    EXPECT_EQ(north.altitude_m, 77);
    const GeoPosition east = destinationPoint({10, 0, -3}, 90, 2000);
    EXPECT_NEAR(east.longitude_deg, 10 + 2000 / kMetresPerDegree, 1e-12);
    EXPECT_NEAR(east.latitude_deg, 0, 1e-12);
    EXPECT_EQ(east.altitude_m, -3);
}

// A quarter of a great circle at 45 degrees of bearing from the equator ends at 45 degrees of latitude, a
// quarter turn away.
TEST(DestinationPoint, FollowsTheGreatCircle) {
    const GeoPosition p = destinationPoint({0, 0, 0}, 45, 90 * kMetresPerDegree);
    EXPECT_NEAR(p.latitude_deg, 45, 1e-9);
    EXPECT_NEAR(p.longitude_deg, 90, 1e-9);
    const GeoPosition over_pole = destinationPoint({30, 80, 0}, 0, 20 * kMetresPerDegree);
    EXPECT_NEAR(over_pole.latitude_deg, 80, 1e-9);
    EXPECT_NEAR(over_pole.longitude_deg, -150, 1e-9);
}

TEST(DestinationPoint, TurnsTheLongitudeOverTheDateLine) {
    EXPECT_NEAR(destinationPoint({179.9, 0, 0}, 90, 0.3 * kMetresPerDegree).longitude_deg, -179.8, 1e-9);
    EXPECT_NEAR(destinationPoint({-179.9, 0, 0}, 270, 0.3 * kMetresPerDegree).longitude_deg, 179.8, 1e-9);
    // Exactly on the line it stays as it is.
    EXPECT_EQ(destinationPoint({180, 0, 0}, 90, 0).longitude_deg, 180);
    EXPECT_EQ(destinationPoint({-180, 0, 0}, 90, 0).longitude_deg, -180);
}

TEST(Footprint, LiesAheadOfTheAircraft) {
    const Footprint f = footprintOf({112, 0, 500}, 0, 30, 200, 400);
    const double near_side = 200 * std::sin(15 * 3.14159265358979323846 / 180) / kMetresPerDegree;
    const double near_ahead = 200 * std::cos(15 * 3.14159265358979323846 / 180) / kMetresPerDegree;
    EXPECT_NEAR(f.corners[0].longitude_deg, 112 - near_side, 1e-9);
    EXPECT_NEAR(f.corners[0].latitude_deg, near_ahead, 1e-9);
    EXPECT_NEAR(f.corners[1].longitude_deg, 112 - 2 * near_side, 1e-9);
    EXPECT_NEAR(f.corners[1].latitude_deg, 2 * near_ahead, 1e-9);
    EXPECT_NEAR(f.corners[2].longitude_deg, 112 + 2 * near_side, 1e-9);
    EXPECT_NEAR(f.corners[2].latitude_deg, 2 * near_ahead, 1e-9);
    EXPECT_NEAR(f.corners[3].longitude_deg, 112 + near_side, 1e-9);
    EXPECT_NEAR(f.corners[3].latitude_deg, near_ahead, 1e-9);
    EXPECT_NEAR(f.middle.longitude_deg, 112, 1e-12);
    EXPECT_NEAR(f.middle.latitude_deg, 300 / kMetresPerDegree, 1e-9);
    for (const GeoPosition& corner : f.corners) {
        EXPECT_EQ(corner.altitude_m, 500);
    }
}

TEST(Footprint, BesideTheDateLineHasCornersOnTheOtherSide) {
    const Footprint f = footprintOf({179.999, 10, 0}, 90, 30, 200, 400);
    for (const GeoPosition& corner : f.corners) {
        EXPECT_LT(corner.longitude_deg, -179.99);
        EXPECT_LT(greatCircleKm(10, 179.999, corner.latitude_deg, corner.longitude_deg), 0.41);
    }
    EXPECT_LT(f.middle.longitude_deg, 0);
}

TEST(GreatCircle, MeasuresInKilometres) {
    EXPECT_EQ(greatCircleKm(12, 34, 12, 34), 0);
    EXPECT_NEAR(greatCircleKm(0, 0, 0, 90), 6378.137 * 3.14159265358979323846 / 2, 1e-6);
    EXPECT_NEAR(greatCircleKm(0, 179, 0, -179), 2 * kMetresPerDegree / 1000, 1e-6);
    EXPECT_NEAR(greatCircleKm(90, 0, -90, 77), 6378.137 * 3.14159265358979323846, 1e-3);
    EXPECT_NEAR(greatCircleKm(0, 0, 0, 180), 6378.137 * 3.14159265358979323846, 1e-3);
}

TEST(Position, NoNumberIsNoPlace) {
    EXPECT_FALSE(hasNan({1, 2, 3}));
    EXPECT_TRUE(hasNan({kNan, 2, 3}));
    EXPECT_TRUE(hasNan({1, kNan, 3}));
    EXPECT_TRUE(hasNan({1, 2, kNan}));
    EXPECT_TRUE(samePosition({1, 2, 3}, {1, 2, 3}));
    EXPECT_FALSE(samePosition({1, 2, 3}, {1.0000001, 2, 3}));
    EXPECT_FALSE(samePosition({1, 2, 3}, {1, 2.0000001, 3}));
    EXPECT_FALSE(samePosition({1, 2, 3}, {1, 2, 3.0000001}));
    EXPECT_FALSE(samePosition({kNan, 2, 3}, {kNan, 2, 3}));
}

}  // namespace
}  // namespace sorvane
