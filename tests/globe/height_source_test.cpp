#include "globe/height_source.h"

#include <gtest/gtest.h>

#include <cmath>

namespace globe {
namespace {

double gap(const Xyz& a, const Xyz& b) { return std::hypot(a.x - b.x, a.y - b.y, a.z - b.z); }

// A ridge along longitude 10, 3000 m high and 0.1 degree wide on either side.
class Ridge : public HeightSource {
public:
    double heightAt(double lon, double) const override {
        return std::max(0.0, 3000.0 * (1.0 - std::fabs(lon - 10.0) / 0.1));
    }
    double lowest_m() const override { return 0.0; }
    double highest_m() const override { return 3000.0; }
    double spacingAt(double, double) const override { return 0.01; }
};

TEST(IntersectGround, StraightDownAndAskewOnTheEllipsoid) {
    Xyz hit;
    const Xyz top = geodeticToGeocentric({112.44, 33.75, 2000.0});
    ASSERT_TRUE(intersectGround(FlatHeights(), top, {0, 0, 0}, &hit));
    EXPECT_NEAR(geocentricToGeodetic(hit).alt, 0.0, 0.01);
    const Xyz far_top = geodeticToGeocentric({112.44, 33.75, 4.5e7});
    const Xyz foot = geodeticToGeocentric({90.0, 60.0, 0.0});
    const Xyz beyond{far_top.x + 1e3 * (foot.x - far_top.x), far_top.y + 1e3 * (foot.y - far_top.y),
                     far_top.z + 1e3 * (foot.z - far_top.z)};
    ASSERT_TRUE(intersectGround(FlatHeights(), far_top, beyond, &hit));
    EXPECT_NEAR(gap(hit, foot), 0.0, 0.1);
}

TEST(IntersectGround, TheSkyAndTheFarSideAreNoGround) {
    Xyz hit;
    const Xyz eye = geodeticToGeocentric({0.0, 0.0, 2000.0});
    EXPECT_FALSE(intersectGround(FlatHeights(), eye, {eye.x + 1e9, eye.y, eye.z}, &hit));
    EXPECT_FALSE(intersectGround(FlatHeights(), eye, {eye.x, eye.y + 1e9, eye.z}, &hit));
    // From under the ground.
    const Xyz under = geodeticToGeocentric({0.0, 0.0, -1.0});
    EXPECT_FALSE(intersectGround(FlatHeights(), under, {-under.x * 100.0, 0.0, 0.0}, &hit));
    const Xyz in_ridge = geodeticToGeocentric({10.0, 0.0, 2900.0});
    EXPECT_FALSE(intersectGround(Ridge(), in_ridge, {-in_ridge.x, -in_ridge.y, 0.0}, &hit));
    // Too short to reach it.
    EXPECT_FALSE(intersectGround(FlatHeights(), eye, {eye.x - 1900.0, 0, 0}, &hit));
    EXPECT_TRUE(intersectGround(FlatHeights(), eye, {eye.x - 2100.0, 0, 0}, &hit));
}

TEST(IntersectGround, ARidgeStandsInTheWay) {
    Xyz hit;
    const Xyz eye = geodeticToGeocentric({9.7, 5.0, 2000.0});
    const Xyz behind = geodeticToGeocentric({10.3, 5.0, 500.0});
    ASSERT_TRUE(intersectGround(Ridge(), eye, behind, &hit));
    const Geodetic place = geocentricToGeodetic(hit);
    EXPECT_NEAR(place.alt, Ridge().heightAt(place.lon, place.lat), 0.02);
    EXPECT_LT(place.lon, 10.0);
    EXPECT_GT(place.lon, 9.9);
    // Over the ridge, which the curve of the earth hides behind the middle of the line.
    EXPECT_FALSE(intersectGround(Ridge(), geodeticToGeocentric({9.7, 5.0, 3500.0}),
                                 geodeticToGeocentric({10.3, 5.0, 3500.0}), &hit));
}

}  // namespace
}  // namespace globe
