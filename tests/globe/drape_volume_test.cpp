#include "globe/drape_volume.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <utility>

namespace globe {
namespace {

Xyz minus(const Xyz& a, const Xyz& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
double triple(const Xyz& a, const Xyz& b, const Xyz& c) {
    return a.x * (b.y * c.z - b.z * c.y) + a.y * (b.z * c.x - b.x * c.z) + a.z * (b.x * c.y - b.y * c.x);
}
double length(const Xyz& a) { return std::sqrt(a.x * a.x + a.y * a.y + a.z * a.z); }
double dot(const Xyz& a, const Xyz& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

// How often the surface goes around a point: the sum of the solid angles of its triangles over 4 pi.
int timesAround(const drape_volume& volume, const Geodetic& place) {
    const Xyz at = minus(geodeticToGeocentric(place), volume.origin);
    double sum = 0.0;
    for (std::size_t i = 0; i < volume.corners.size(); i += 3) {
        const Xyz a = minus(volume.vertices[volume.corners[i]], at);
        const Xyz b = minus(volume.vertices[volume.corners[i + 1]], at);
        const Xyz c = minus(volume.vertices[volume.corners[i + 2]], at);
        const double la = length(a);
        const double lb = length(b);
        const double lc = length(c);
        sum += 2.0 *
               std::atan2(triple(a, b, c), la * lb * lc + dot(a, b) * lc + dot(b, c) * la + dot(c, a) * lb);
    }
    return static_cast<int>(std::lround(sum / (4.0 * kPi)));
}

void expectClosed(const drape_volume& volume) {
    std::map<std::pair<std::uint32_t, std::uint32_t>, int> edges;
    for (std::size_t i = 0; i < volume.corners.size(); i += 3) {
        for (std::size_t k = 0; k < 3; ++k) {
            ++edges[{volume.corners[i + k], volume.corners[i + (k + 1) % 3]}];
        }
    }
    for (const auto& [edge, count] : edges) {
        const auto back = edges.find({edge.second, edge.first});
        ASSERT_TRUE(back != edges.end() && back->second == count);
    }
}

std::size_t insideOf(const std::vector<Geodetic>& ring, const std::vector<Geodetic>& places, int around,
                     double alt = 0.0) {
    const drape_volume volume = makeDrapeVolume(ring, GEOINTERP_GREAT_CIRCLE);
    expectClosed(volume);
    std::size_t hits = 0;
    for (Geodetic place : places) {
        place.alt = alt;
        hits += timesAround(volume, place) == around ? 1 : 0;
    }
    return hits;
}

const std::vector<Geodetic> kConcave = {
    {112.0, 33.0, 0}, {112.1, 33.0, 0}, {112.1, 33.1, 0}, {112.05, 33.02, 0}, {112.0, 33.1, 0}};

TEST(DrapeVolume, ConcaveRingHasItsInsideFromTheDeepestToTheHighestGround) {
    const std::vector<Geodetic> inside = {{112.05, 33.01, 0}, {112.01, 33.05, 0}, {112.09, 33.05, 0}};
    const std::vector<Geodetic> outside = {
        {112.05, 33.05, 0}, {112.05, 33.09, 0}, {111.99, 33.05, 0}, {112.05, 32.99, 0}};
    for (const double alt : {-900.0, 0.0, 8900.0}) {
        EXPECT_EQ(insideOf(kConcave, inside, 1, alt), inside.size()) << alt;
        EXPECT_EQ(insideOf(kConcave, outside, 0, alt), outside.size()) << alt;
    }
    for (const double alt : {-1100.0, 9500.0}) {
        EXPECT_EQ(insideOf(kConcave, inside, 0, alt), inside.size()) << alt;
    }
}

TEST(DrapeVolume, TheOtherSenseOnlyTurnsTheSign) {
    const std::vector<Geodetic> ring(kConcave.rbegin(), kConcave.rend());
    EXPECT_EQ(insideOf(ring, {{112.05, 33.01, 0}}, -1), 1u);
    EXPECT_EQ(insideOf(ring, {{112.05, 33.05, 0}}, 0), 1u);
}

TEST(DrapeVolume, AcrossTheDateLineItStaysSmall) {
    const std::vector<Geodetic> ring = {
        {179.99, 10.0, 0}, {-179.99, 10.0, 0}, {-179.99, 10.02, 0}, {179.99, 10.02, 0}};
    EXPECT_EQ(insideOf(ring, {{180.0, 10.01, 0}, {-179.995, 10.01, 0}, {179.995, 10.01, 0}}, 1), 3u);
    EXPECT_EQ(insideOf(ring, {{0.0, 10.01, 0}, {-179.98, 10.01, 0}, {179.98, 10.01, 0}}, 0), 3u);
    // Some points may count on beyond 180.
    const std::vector<Geodetic> counted_on = {
        {179.99, 10.0, 0}, {180.01, 10.0, 0}, {180.01, 10.02, 0}, {179.99, 10.02, 0}};
    EXPECT_EQ(insideOf(counted_on, {{180.0, 10.01, 0}, {-179.995, 10.01, 0}}, 1), 2u);
    for (const Xyz& vertex : makeDrapeVolume(ring, GEOINTERP_GREAT_CIRCLE).vertices) {
        EXPECT_LT(length(vertex), 10000.0);
    }
}

TEST(DrapeVolume, AroundThePolesItHasThePole) {
    for (const double side : {1.0, -1.0}) {
        std::vector<Geodetic> ring;
        for (int lon = -180; lon < 180; lon += 60) {
            ring.push_back({static_cast<double>(lon), side * 85.0, 0.0});
        }
        const int sign = side > 0.0 ? 1 : -1;
        EXPECT_EQ(
            insideOf(ring, {{0.0, side * 90.0, 0}, {77.0, side * 86.0, 0}, {-100.0, side * 88.0, 0}}, sign),
            3u);
        EXPECT_EQ(insideOf(ring, {{0.0, side * 84.0, 0}, {77.0, 0, 0}, {0.0, side * -90.0, 0}}, 0), 3u);
    }
}

TEST(DrapeVolume, ContinentsToo) {
    std::vector<Geodetic> ring;
    for (int bearing = 0; bearing < 360; bearing += 30) {
        const Geodetic corner = geodesicDestination({20.0, 10.0, 0.0}, -bearing, 7.0e6);
        ring.push_back(corner);
    }
    for (const double alt : {-900.0, 8900.0}) {
        EXPECT_EQ(insideOf(ring, {{20, 10, 0}, {60, 10, 0}, {-20, -20, 0}, {20, 60, 0}}, 1, alt), 4u);
        EXPECT_EQ(insideOf(ring, {{120, 10, 0}, {-60, 10, 0}, {-160, -10, 0}, {20, -70, 0}}, 0, alt), 4u);
    }
    // More than half of the globe, when that is asked for.
    std::vector<Geodetic> wide;
    const Geodetic middle = {20.0, 10.0, 0.0};
    for (int bearing = 0; bearing < 360; bearing += 10) {
        wide.push_back(geodesicDestination(middle, -bearing, 1.5e7));
    }
    const drape_volume volume = makeDrapeVolume(wide, GEOINTERP_GREAT_CIRCLE, &middle);
    EXPECT_EQ(timesAround(volume, {20.0, 10.0, 0.0}), 1);
    EXPECT_EQ(timesAround(volume, {120.0, 0.0, 0.0}), 1);
    EXPECT_EQ(timesAround(volume, {-160.0, -10.0, 0.0}), 0);
}

TEST(DrapeVolume, WhatCrossesItselfIsInsideOnBothSides) {
    const std::vector<Geodetic> bow = {{0.0, 0.0, 0}, {0.1, 0.1, 0}, {0.1, 0.0, 0}, {0.0, 0.1, 0}};
    EXPECT_EQ(insideOf(bow, {{0.01, 0.05, 0}}, 1) + insideOf(bow, {{0.01, 0.05, 0}}, -1), 1u);
    EXPECT_EQ(insideOf(bow, {{0.09, 0.05, 0}}, 1) + insideOf(bow, {{0.09, 0.05, 0}}, -1), 1u);
    EXPECT_EQ(insideOf(bow, {{0.05, 0.09, 0}, {0.05, 0.01, 0}}, 0), 2u);
}

TEST(DrapeVolume, NothingIsMadeOfNothing) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    const auto empty = [](const std::vector<Geodetic>& ring) {
        return makeDrapeVolume(ring, GEOINTERP_GREAT_CIRCLE).empty();
    };
    EXPECT_TRUE(empty({}));
    EXPECT_TRUE(empty({{1, 1, 0}}));
    EXPECT_TRUE(empty({{1, 1, 0}, {1, 2, 0}}));
    EXPECT_TRUE(empty({{1, 1, 0}, {1, 1, 0}, {1, 1, 0}, {1, 1, 0}}));
    EXPECT_TRUE(empty({{0, 1, 0}, {0, 2, 0}, {0, 3, 0}}));
    EXPECT_TRUE(empty({{0, 0, 0}, {120, 0, 0}, {-120, 0, 0}}));
    EXPECT_TRUE(empty({{nan, nan, nan}, {nan, 1, 0}, {1, inf, 0}, {1, 91, 0}}));
    EXPECT_TRUE(empty({{0, 90, 0}, {50, 90, 0}, {100, 90, 0}}));
}

TEST(DrapeVolume, BadAndRepeatedPointsAreLeftOut) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::vector<Geodetic> ring = {{0, 0, nan},   {0, 0, 0},   {0.1, 0, 0}, {nan, 5, 0},
                                        {0.1, 0.1, 0}, {0, 0.1, 0}, {0, 0, 0}};
    EXPECT_EQ(insideOf(ring, {{0.05, 0.05, 0}}, 1), 1u);
    for (const Xyz& vertex : makeDrapeVolume(ring, GEOINTERP_GREAT_CIRCLE).vertices) {
        EXPECT_TRUE(std::isfinite(vertex.x) && std::isfinite(vertex.y) && std::isfinite(vertex.z));
    }
}

TEST(DrapeVolume, SidesRunAsAsked) {
    const std::vector<Geodetic> ring = {{0, 50, 0}, {60, 50, 0}, {60, 51, 0}, {0, 51, 0}};
    const Geodetic on_the_parallel = {30.0, 50.5, 0.0};
    EXPECT_EQ(timesAround(makeDrapeVolume(ring, GEOINTERP_RHUMB_LINE), on_the_parallel), 1);
    EXPECT_EQ(timesAround(makeDrapeVolume(ring, GEOINTERP_GREAT_CIRCLE), on_the_parallel), 0);
    EXPECT_EQ(timesAround(makeDrapeVolume(ring, GEOINTERP_GREAT_CIRCLE), {30.0, 54.5, 0.0}), 1);
}

}  // namespace
}  // namespace globe
