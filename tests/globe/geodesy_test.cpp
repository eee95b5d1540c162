#include "globe/geodesy.h"

#include <gtest/gtest.h>

#include <cmath>

#include "globe/height_source.h"

namespace globe {
namespace {

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

}  // namespace
}  // namespace globe
