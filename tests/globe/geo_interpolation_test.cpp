// Reference figures: GeographicLib 2.1.2, RhumbSolve and GeodSolve (WGS 84), and PROJ 9.1.1, geod +a=6378137
// +b=6378137.
#include "globe/geo_interpolation.h"

#include <gtest/gtest.h>

#include <cmath>

namespace globe {
namespace {

struct waypoint {
    Geodetic from, to;
    double t;  // of the length
    double lat, lon;
};

// The point of the way at that latitude; latitudes grow or fall evenly with t.
Geodetic atLatitude(const Geodetic& a, const Geodetic& b, double lat) {
    return interpolateWay(a, b, (lat - a.lat) / (b.lat - a.lat), GEOINTERP_RHUMB_LINE);
}

double metresApart(const Geodetic& a, const Geodetic& b) {
    const Xyz p = geodeticToGeocentric(a);
    const Xyz q = geodeticToGeocentric(b);
    return std::sqrt((p.x - q.x) * (p.x - q.x) + (p.y - q.y) * (p.y - q.y) + (p.z - q.z) * (p.z - q.z));
}

// RhumbSolve -i gives course and length, RhumbSolve the points at 0.25, 0.5 and 0.9 of it.
TEST(GeoInterpolation, RhumbLinesRunWhereTheReferenceSays) {
    const Geodetic new_york = {-73.8, 40.6, 0.0};
    const Geodetic london = {-0.5, 51.6, 0.0};
    const Geodetic tokyo = {139.75, 35.68, 0.0};
    const Geodetic new_orleans = {-90.25, 29.98, 0.0};
    const Geodetic siberia = {170.0, 60.0, 0.0};
    const Geodetic pacific = {-150.0, -30.0, 0.0};
    const waypoint points[] = {
        {new_york, london, 0.25, 43.35198877607, -56.78331158299},
        {new_york, london, 0.5, 46.10264990687, -38.97943298625},
        {new_york, london, 0.9, 50.50094988758, -8.54379361387},
        {tokyo, new_orleans, 0.25, 34.25549044095, 173.04781244999},
        {tokyo, new_orleans, 0.5, 32.83064925179, -154.21106460213},
        {tokyo, new_orleans, 0.9, 30.55023083891, -102.88968743120},
        {siberia, pacific, 0.25, 37.57680236520, -176.93463404479},
        {siberia, pacific, 0.5, 15.07221138905, -167.45430865747},
        {siberia, pacific, 0.9, -20.99654892304, -153.73503064840},
    };
    for (const waypoint& point : points) {
        const Geodetic at = atLatitude(point.from, point.to, point.lat);
        EXPECT_NEAR(at.lon, point.lon, 1e-8) << point.lat;
        // Even steps of the latitude are even steps of the way but for the flattening.
        EXPECT_LT(metresApart(interpolateWay(point.from, point.to, point.t, GEOINTERP_RHUMB_LINE), at),
                  20000.0);
    }
}

TEST(GeoInterpolation, RhumbLineAlongAParallelKeepsItAndGoesTheShortWay) {
    const Geodetic at =
        interpolateWay({179.0, 22.5, 100.0}, {-177.0, 22.5, 300.0}, 0.5, GEOINTERP_RHUMB_LINE);
    EXPECT_DOUBLE_EQ(at.lat, 22.5);
    EXPECT_NEAR(std::remainder(at.lon + 179.0, 360.0), 0.0, 1e-12);
    EXPECT_DOUBLE_EQ(at.alt, 200.0);
}

TEST(GeoInterpolation, RhumbLineOverAPoleIsAMeridian) {
    for (const double pole : {90.0, -90.0}) {
        for (const double t : {0.1, 0.5, 0.999}) {
            const Geodetic there =
                interpolateWay({20.0, 0.0, 0.0}, {77.0, pole, 0.0}, t, GEOINTERP_RHUMB_LINE);
            EXPECT_NEAR(there.lon, 20.0, 1e-9);
            const Geodetic back =
                interpolateWay({77.0, pole, 0.0}, {20.0, 0.0, 0.0}, t, GEOINTERP_RHUMB_LINE);
            EXPECT_NEAR(back.lon, 20.0, 1e-9);
        }
    }
}

// geod +lat_1=40.6 +lon_1=-73.8 +lat_2=51.6 +lon_2=-0.5 +n_S=4
TEST(GeoInterpolation, GreatCircleRunsWhereTheReferenceSays) {
    const Geodetic from = {-73.8, 40.6, 0.0};
    const Geodetic to = {-0.5, 51.6, 0.0};
    const double golden[][2] = {
        {47.5698015723, -59.3881158443}, {52.2528184344, -41.4075894938}, {53.7223890729, -20.7983858745}};
    for (int i = 0; i < 3; ++i) {
        const Geodetic at = interpolateWay(from, to, 0.25 * (i + 1), GEOINTERP_GREAT_CIRCLE);
        EXPECT_NEAR(at.lat, golden[i][0], 1e-9);
        EXPECT_NEAR(at.lon, golden[i][1], 1e-9);
    }
}

TEST(GeoInterpolation, WayHasNoLongStepsAndEndsAtItsEnd) {
    for (const GeoInterpolation how : {GEOINTERP_GREAT_CIRCLE, GEOINTERP_RHUMB_LINE}) {
        const Geodetic from = {170.0, 60.0, 1000.0};
        const Geodetic to = {-170.0, 65.0, 2000.0};
        std::vector<Geodetic> way = {from};
        appendWay(from, to, 5000.0, how, way);
        ASSERT_GT(way.size(), 200u);
        EXPECT_EQ(way.back().lon, to.lon);
        EXPECT_EQ(way.back().lat, to.lat);
        EXPECT_EQ(way.back().alt, to.alt);
        for (std::size_t i = 1; i < way.size(); ++i) {
            EXPECT_LT(metresApart(way[i - 1], way[i]), 5200.0);
            // Nowhere the long way round.
            EXPECT_GT(std::fabs(way[i].lon), 169.9);
        }
    }
}

TEST(GeoInterpolation, EndsAreExactAndOnePlaceIsAWay) {
    const Geodetic place = {10.0, 20.0, 30.0};
    std::vector<Geodetic> way;
    appendWay(place, place, 5000.0, GEOINTERP_RHUMB_LINE, way);
    ASSERT_EQ(way.size(), 1u);
    EXPECT_EQ(way[0].lon, 10.0);
    const Geodetic middle = interpolateWay(place, place, 0.5, GEOINTERP_RHUMB_LINE);
    EXPECT_DOUBLE_EQ(middle.lon, 10.0);
    EXPECT_DOUBLE_EQ(middle.lat, 20.0);
}

// GeodSolve -p 6
TEST(GeoInterpolation, GeodesicsEndWhereTheReferenceSays) {
    const struct {
        double lat, lon, bearing, distance, end_lat, end_lon;
    } rows[] = {
        {33.75, 112.44, 30.0, 300.0, 33.75234233108, 112.44161896077},
        {0.0, 179.9, 90.0, 100000.0, 0.0, -179.20168471588},
        {89.5, 10.0, 0.0, 200000.0, 88.70939085915, -170.0},
        {-45.0, -70.0, 135.0, 5000000.0, -58.66859394253, 3.38252286778},
        {10.0, 20.0, 270.0, 15000000.0, -7.07749112614, -114.31311334662},
    };
    for (const auto& row : rows) {
        const Geodetic end = geodesicDestination({row.lon, row.lat, 7.0}, row.bearing, row.distance);
        EXPECT_NEAR(end.lat, row.end_lat, 1e-8) << row.distance;
        EXPECT_NEAR(std::remainder(end.lon - row.end_lon, 360.0), 0.0, 1e-8) << row.distance;
        EXPECT_EQ(end.alt, 7.0);
    }
}

}  // namespace
}  // namespace globe
