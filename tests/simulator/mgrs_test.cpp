// Squares by hand from easting and northing that another program's projection gave.
#include "simulator/pod/mgrs.h"

#include <gtest/gtest.h>

#include <cmath>

namespace podsim {
namespace {

TEST(Mgrs, KnownPlaces) {
    EXPECT_EQ(mgrs(30.45, 114.42), "50RKU 52254 71478");
    EXPECT_EQ(mgrs(38.8895, -77.0352), "18SUJ 23486 06483");
    EXPECT_EQ(mgrs(48.8584, 2.2945), "31UDQ 48252 11954");
    EXPECT_EQ(mgrs(-33.8568, 151.2153), "56HLH 34900 52288");
    EXPECT_EQ(mgrs(-53.16, -70.9), "19FCB 72968 08244");
    EXPECT_EQ(mgrs(0.0001, 179.9999), "60NZF 33967 00011");
}

TEST(Mgrs, ZonesOfOtherWidths) {
    EXPECT_EQ(mgrs(60.39, 5.32), "32VKN 97230 00510");
    EXPECT_EQ(mgrs(78.2, 15.6), "33XWG 13696 80760");
    EXPECT_EQ(mgrs(83.9, 20.999), "33XWP 71044 20631");
}

TEST(Mgrs, TheWholeEarthHasSquaresButForItsPoles) {
    for (double lat = -80; lat <= 84; lat += 0.7) {
        for (double lon = -180; lon <= 360; lon += 3.3) {
            EXPECT_EQ(mgrs(lat, lon).size(), 17U) << lat << " " << lon;
        }
    }
    EXPECT_EQ(mgrs(10, -170), mgrs(10, 190)) << "once around";
    for (const double lat : {-80.1, 84.1, 90.0, -90.0, std::nan("")}) {
        EXPECT_EQ(mgrs(lat, 10), "") << lat;
    }
    EXPECT_EQ(mgrs(10, std::nan("")), "");
}

}  // namespace
}  // namespace podsim
