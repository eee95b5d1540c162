#include "globe/tile_selection.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "globe/graticule_painter.h"

namespace globe {
namespace {

double gap(const Xyz& a, const Xyz& b) { return std::hypot(a.x - b.x, a.y - b.y, a.z - b.z); }

TEST(TileKeys, ParentsChildrenAndPlaces) {
    const TileKey key = tileAt(5, 112.44, 33.75);
    EXPECT_TRUE(key.extent().west <= 112.44 && 112.44 < key.extent().east);
    EXPECT_TRUE(key.extent().south <= 33.75 && 33.75 < key.extent().north);
    for (int i = 0; i < 4; ++i) {
        const TileKey child = key.child(i);
        EXPECT_EQ(child.parent(), key);
        EXPECT_EQ(child.quadrant(), i);
        EXPECT_EQ(child.extent().west,
                  i % 2 == 0 ? key.extent().west : key.extent().west + key.extent().width() / 2);
        EXPECT_EQ(child.extent().south,
                  i < 2 ? key.extent().south : key.extent().south + key.extent().height() / 2);
    }
    EXPECT_EQ(tileAt(3, 180.0, 90.0), (TileKey{3, 15, 7}));
    EXPECT_EQ(tileAt(3, -180.0, -90.0), (TileKey{3, 0, 0}));
    EXPECT_EQ(tileAt(0, 0.0, 0.0), (TileKey{0, 1, 0}));
}

TEST(TileBall, HoldsAllOfTheTile) {
    for (const TileKey& key :
         {TileKey{0, 0, 0}, TileKey{1, 3, 1}, TileKey{2, 0, 3}, TileKey{5, 17, 20}, TileKey{12, 3000, 10}}) {
        const Ball ball = tileBall(key, -500.0, 9000.0);
        const GeoExtent extent = key.extent();
        for (int i = 0; i <= 20; ++i) {
            for (int j = 0; j <= 20; ++j) {
                for (const double alt : {-500.0, 0.0, 9000.0}) {
                    const Xyz point = geodeticToGeocentric({extent.west + extent.width() * i / 20.0,
                                                            extent.south + extent.height() * j / 20.0, alt});
                    EXPECT_LE(gap(ball.center, point), ball.radius_m * 1.0001 + 0.01) << key.level;
                }
            }
        }
    }
}

TEST(TileView, NothingInSightIsCalledHidden) {
    for (const double height : {400.0, 50000.0, 1e6, 4.5e7}) {
        const Xyz eye = geodeticToGeocentric({20.0, 40.0, height});
        const TileView view(eye, 1343.0);
        int hidden = 0;
        for (std::uint32_t x = 0; x < 32; ++x) {
            for (std::uint32_t y = 0; y < 16; ++y) {
                const TileKey key{4, x, y};
                const GeoExtent extent = key.extent();
                bool in_sight = false;
                for (int i = 0; i <= 8; ++i) {
                    for (int j = 0; j <= 8; ++j) {
                        const Geodetic place{extent.west + extent.width() * i / 8.0,
                                             extent.south + extent.height() * j / 8.0, 0.0};
                        const Xyz point = geodeticToGeocentric(place);
                        const Xyz up = geodeticToGeocentric({place.lon, place.lat, 1.0});
                        in_sight = in_sight || (up.x - point.x) * (eye.x - point.x) +
                                                       (up.y - point.y) * (eye.y - point.y) +
                                                       (up.z - point.z) * (eye.z - point.z) >
                                                   0.0;
                    }
                }
                const bool is_hidden = view.isHidden(tileBall(key, 0.0, 0.0));
                EXPECT_FALSE(is_hidden && in_sight) << height << " " << x << " " << y;
                hidden += is_hidden ? 1 : 0;
            }
        }
        // Most of what is out of sight is left out.
        EXPECT_GT(hidden, 512 / 3) << height;
    }
}

TEST(TileView, TheHorizonIsWhereTheGroundTurnsAway) {
    // From 1000 km over the equator the horizon lies acos(R / (R + h)) away.
    const double horizon = toDegrees(std::acos(kEquatorRadius_m / (kEquatorRadius_m + 1e6)));
    const TileView view(geodeticToGeocentric({0.0, 0.0, 1e6}), 1343.0);
    const auto hidden = [&view](double lon, double radius_m) {
        return view.isHidden({geodeticToGeocentric({lon, 0.0, 0.0}), radius_m});
    };
    EXPECT_FALSE(hidden(horizon - 0.05, 1.0));
    EXPECT_TRUE(hidden(horizon + 0.2, 1.0));
    EXPECT_FALSE(hidden(horizon + 0.2, 40000.0));
    EXPECT_TRUE(hidden(180.0, 1000.0));
    // Three degrees behind it, what is higher than 8751 m looks over.
    EXPECT_FALSE(view.isHidden({geodeticToGeocentric({horizon + 3.0, 0.0, 8800.0}), 1.0}));
    EXPECT_TRUE(view.isHidden({geodeticToGeocentric({horizon + 3.0, 0.0, 8700.0}), 1.0}));
    EXPECT_FALSE(TileView(geodeticToGeocentric({0.0, 0.0, -100.0}), 1343.0)
                     .isHidden({geodeticToGeocentric({90.0, 0.0, 0.0}), 1.0}));
}

TEST(TileView, WhatIsNearIsNeededMore) {
    const TileKey key = tileAt(8, 20.0, 40.0);
    const Ball ball = tileBall(key, 0.0, 0.0);
    double last = 0.0;
    for (const double height : {1e7, 1e6, 1e5, 1e4}) {
        const TileNeed need = TileView(geodeticToGeocentric({20.0, 40.0, height}), 1343.0).needOf(key, ball);
        EXPECT_GT(need.texel_px, last);
        last = need.texel_px;
    }
    // A texel of level 8 is 306 m: from 100 km 4.1 pixels of 1343 a radian.
    EXPECT_NEAR(TileView(geodeticToGeocentric({20.0, 40.0, 1e5}), 1343.0).needOf(key, ball).texel_px, 4.1,
                0.1);
    const FinerData none;
    const FinerData pictures{true, false};
    const FinerData heights{false, true};
    EXPECT_TRUE(shouldRefine({2.0, 0.0}, pictures, 5));
    EXPECT_FALSE(shouldRefine({1.5, 0.0}, pictures, 5));
    EXPECT_FALSE(shouldRefine({2.0, 0.0}, none, 5));
    // Heights may be coarser on the screen than pictures, but not at will.
    EXPECT_FALSE(shouldRefine({2.0, 0.0}, heights, 5));
    EXPECT_TRUE(shouldRefine({3.0, 0.0}, heights, 5));
    // The roundness of the earth shows without any data.
    EXPECT_TRUE(shouldRefine({0.1, 1.0}, none, 5));
    EXPECT_FALSE(shouldRefine({9.0, 9.0}, pictures, TileKey::kMaxLevel));
}

TEST(Graticule, SpacingGoesFromTenDegreesDown) {
    EXPECT_EQ(graticuleSpacing(0), 10.0);
    double last = 10.0;
    for (int level = 0; level <= 20; ++level) {
        const double spacing = graticuleSpacing(level);
        EXPECT_LE(spacing, last);
        EXPECT_LE(spacing, tileSize(level) / 2.0);
        EXPECT_GE(spacing, std::min(10.0, tileSize(level) / 10.1));
        last = spacing;
    }
}

TEST(Graticule, LinesStandWhereTheDegreesAre) {
    constexpr int kSize = 256;
    const TileKey key = tileAt(2, 112.0, 33.0);  // 90 to 135 east, 0 to 45 north
    std::vector<std::uint8_t> rgba(kSize * kSize * 4, 0);
    paintGraticule(key, kSize, kSize, rgba.data());
    const auto brightness = [&](double lon, double lat) {
        const auto x = static_cast<std::size_t>(std::lround((lon - 90.0) / 45.0 * (kSize - 1)));
        const auto y = static_cast<std::size_t>(std::lround(lat / 45.0 * (kSize - 1)));
        return static_cast<int>(rgba[4 * (y * kSize + x)]);
    };
    EXPECT_GT(brightness(100.0, 22.5), 100);
    EXPECT_GT(brightness(113.0, 20.0), 100);
    EXPECT_EQ(brightness(113.0, 22.5), 0);
    // The equator is stronger than the others.
    EXPECT_GT(brightness(113.0, 0.0), brightness(113.0, 20.0));
}

}  // namespace
}  // namespace globe
