#include "globe/geodesy.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/globe/reference_figures.h"

namespace globe {
namespace {

using namespace globe_test;

LatLon at(double lat, double lon) { return {toRadians(lat), toRadians(lon)}; }

TEST(Geodesy, GeocentricFiguresOfProj) {
    for (const geocentric_figure& figure : kGeocentricFigures) {
        const Xyz point = geodeticToGeocentric({figure.lon, figure.lat, figure.alt});
        EXPECT_NEAR(point.x, figure.x, 1e-5);
        EXPECT_NEAR(point.y, figure.y, 1e-5);
        EXPECT_NEAR(point.z, figure.z, 1e-5);
        const Geodetic place = geocentricToGeodetic({figure.x, figure.y, figure.z});
        EXPECT_NEAR(place.lat, figure.lat, 2e-11);
        EXPECT_NEAR(place.alt, figure.alt, 1e-5);
        // A micrometre of easting is all that a longitude near the pole can hold.
        const double east_m =
            toRadians(std::remainder(place.lon - figure.lon, 360.0)) * std::hypot(point.x, point.y);
        EXPECT_NEAR(east_m, 0.0, 2e-6);
    }
}

TEST(Geodesy, ThereAndBack) {
    for (double lat = -90.0; lat <= 90.0; lat += 7.5) {
        for (double lon = -180.0; lon < 180.0; lon += 30.0) {
            for (const double alt : {-11000.0, 0.0, 400.0, 9000.0, 7.0 * kEquatorRadius_m}) {
                const Geodetic back = geocentricToGeodetic(geodeticToGeocentric({lon, lat, alt}));
                EXPECT_NEAR(back.lat, lat, 1e-11);
                EXPECT_NEAR(back.alt, alt, 2e-8);
                if (std::fabs(lat) < 90.0) {
                    EXPECT_NEAR(std::remainder(back.lon - lon, 360.0), 0.0, 1e-11);
                }
            }
        }
    }
}

TEST(Geodesy, TheCentreOfTheEarthIsNoTrap) {
    for (const Xyz& point : {Xyz{0, 0, 0}, Xyz{1e-12, 0, 0}, Xyz{0, 0, 1.0}, Xyz{1000.0, -3.0, 5.0}}) {
        const Geodetic place = geocentricToGeodetic(point);
        EXPECT_TRUE(std::isfinite(place.lat) && std::isfinite(place.lon) && std::isfinite(place.alt));
        EXPECT_LT(place.alt, -6.3e6);
    }
}

TEST(Geodesy, GreatCirclesAsProjSays) {
    for (const great_circle_figure& figure : kGreat_circleFigures) {
        const LatLon from = at(figure.lat1, figure.lon1);
        const LatLon to = at(figure.lat2, figure.lon2);
        EXPECT_NEAR(greatCircleDistance(from, to), figure.metres, 1e-4 + figure.metres * 1e-11);
        const double bearing = toDegrees(greatCircleBearing(from, to));
        EXPECT_NEAR(std::remainder(bearing - figure.azimuth, 360.0), 0.0, 1e-6);
        const LatLon end = greatCircleDestination(from, toRadians(figure.azimuth), figure.metres);
        EXPECT_NEAR(toDegrees(end.lat_rad), figure.lat2, 1e-7);
        EXPECT_NEAR(std::remainder(toDegrees(end.lon_rad) - figure.lon2, 360.0), 0.0, 2e-7);
        const LatLon half = greatCircleInterpolate(from, to, 0.5);
        EXPECT_NEAR(greatCircleDistance(from, half), figure.metres / 2.0, 1e-3);
        EXPECT_NEAR(greatCircleDistance(half, to), figure.metres / 2.0, 1e-3);
    }
}

TEST(Geodesy, RhumbLinesAsTheMercatorMapSays) {
    for (const rhumb_figure& figure : kRhumbFigures) {
        const LatLon from = at(figure.lat1, figure.lon1);
        const LatLon to = at(figure.lat2, figure.lon2);
        EXPECT_NEAR(toDegrees(rhumbBearing(from, to)), figure.azimuth, 1e-8);
        const LatLon end = rhumbDestination(from, rhumbBearing(from, to), rhumbDistance(from, to));
        EXPECT_NEAR(toDegrees(end.lat_rad), figure.lat2, 1e-9);
        EXPECT_NEAR(std::remainder(toDegrees(end.lon_rad) - figure.lon2, 360.0), 0.0, 1e-8);
        EXPECT_GE(rhumbDistance(from, to), greatCircleDistance(from, to) - 1e-6);
    }
    // Along the equator and along a parallel.
    EXPECT_NEAR(rhumbDistance(at(0, 10), at(0, 11)), toRadians(1.0) * kEquatorRadius_m, 1e-6);
    EXPECT_NEAR(rhumbDistance(at(60, 10), at(60, 11)), toRadians(0.5) * kEquatorRadius_m, 1e-6);
}

TEST(Geodesy, AnglesAreBroughtIntoTheirRange) {
    EXPECT_EQ(wrapLongitude(180.0), -180.0);
    EXPECT_EQ(wrapLongitude(-180.0), -180.0);
    EXPECT_EQ(wrapLongitude(540.0), -180.0);
    EXPECT_EQ(wrapLongitude(-190.0), 170.0);
    EXPECT_EQ(wrapBearing(360.0), 0.0);
    EXPECT_EQ(wrapBearing(-90.0), 270.0);
    EXPECT_EQ(wrapBearing(-1e-17), 0.0);
}

TEST(Geodesy, LinesThroughTheEllipsoid) {
    double enter = 0.0;
    double leave = 0.0;
    const Xyz above = geodeticToGeocentric({30.0, 90.0, 1000.0});
    ASSERT_TRUE(crossEllipsoid(above, {0, 0, 0}, 0.0, &enter, &leave));
    EXPECT_NEAR(enter, 1000.0 / (kPolarRadius_m + 1000.0), 1e-12);
    EXPECT_NEAR(leave, (2.0 * kPolarRadius_m + 1000.0) / (kPolarRadius_m + 1000.0), 1e-12);
    EXPECT_FALSE(crossEllipsoid({0, kEquatorRadius_m + 1.0, 0}, {1e7, kEquatorRadius_m + 1.0, 0}, 0.0, &enter,
                                &leave));
    EXPECT_TRUE(crossEllipsoid({0, kEquatorRadius_m + 1.0, 0}, {1e7, kEquatorRadius_m + 1.0, 0}, 2.0, &enter,
                               &leave));
    EXPECT_FALSE(crossEllipsoid(above, above, 0.0, &enter, &leave));
}

}  // namespace
}  // namespace globe
