// Files of recorded routes: what they may hold, and what is said about those that are none.
#include <gtest/gtest.h>

#include <cmath>

#include "simulator/world/flight_plan.h"

namespace podsim {
namespace {

std::string reasonOf(const std::string& text) {
    RecordedRoute route;
    std::string error;
    EXPECT_FALSE(route.parse(text, error)) << text;
    EXPECT_TRUE(route.empty());
    return error;
}

TEST(RecordedRoute, PlainPointsAreFlownAtOneSpeedAndBackToTheFirst) {
    RecordedRoute route;
    std::string error;
    // About 1113.2 m north, then 1113.2 m east at the equator.
    ASSERT_TRUE(route.parse("# a corner\n 0, 0, 100\n\n0,0.01,100 # north\r\n0.01,0.01,100\n", error))
        << error;
    const double leg_s = 0.01 * 111319.49 / 12;
    EXPECT_NEAR(route.duration(), leg_s * (2 + std::sqrt(2.0)), 0.01);
    EXPECT_NEAR(route.at(leg_s / 2).latitude_deg, 0.005, 1e-6);
    EXPECT_NEAR(route.at(leg_s / 2).longitude_deg, 0, 1e-9);
    // The course over a corner is that from the point before to the point behind it.
    EXPECT_NEAR(route.at(leg_s).heading_deg, 45, 0.1);
    EXPECT_NEAR(route.at(route.duration() + leg_s / 2).latitude_deg, 0.005, 1e-6);
    EXPECT_NEAR(route.at(leg_s * 3).longitude_deg, route.at(leg_s * 3).latitude_deg,
                1e-6);  // on the way back
}

TEST(RecordedRoute, ColumnsStandInAnyOrderAndTimesNeedNotBeginAtZero) {
    RecordedRoute route;
    std::string error;
    ASSERT_TRUE(
        route.parse("heading,time,altitude,latitude,longitude,pitch\n"
                    "350,5,10,-10,179.99,-2\n10,15,20,-10,-179.99,2\n",
                    error))
        << error;
    EXPECT_DOUBLE_EQ(route.duration(), 10);
    const RecordedRoute::Point middle = route.at(5);
    EXPECT_NEAR(std::fabs(middle.longitude_deg), 180, 1e-9);  // across the date line, not around the earth
    EXPECT_NEAR(std::remainder(middle.heading_deg, 360), 0, 1e-9);
    EXPECT_DOUBLE_EQ(middle.altitude_m, 15);
    EXPECT_NEAR(middle.pitch_deg, 0, 1e-9);
}

TEST(RecordedRoute, SaysWhatIsWrongAndWhere) {
    EXPECT_EQ(reasonOf(""), "a route needs two points");
    EXPECT_EQ(reasonOf("1,2,3\n"), "a route needs two points");
    EXPECT_EQ(reasonOf("1,2\n"), "line 1: longitude, latitude, altitude and perhaps heading belong there");
    EXPECT_EQ(reasonOf("1,2,3\n\n1,2,3,4\n"), "line 3: 4 fields where 3 belong");
    EXPECT_EQ(reasonOf("1,2,3\n1,x,3\n"), "line 2: latitude 'x' is no number between -85 and 85");
    EXPECT_EQ(reasonOf("1,2,3\n1,nan,3\n"), "line 2: latitude 'nan' is no number between -85 and 85");
    EXPECT_EQ(reasonOf("181,2,3\n"), "line 1: longitude '181' is no number between -180 and 180");
    EXPECT_EQ(reasonOf("time,longitude,latitude\n"), "line 1: the column 'altitude' is missing");
    EXPECT_EQ(reasonOf("longitude,latitude,altitude,speed\n"), "line 1: no column is called 'speed'");
    EXPECT_EQ(reasonOf("longitude,longitude,altitude\n"), "line 1: the column 'longitude' comes twice");
    EXPECT_EQ(reasonOf("time,longitude,latitude,altitude\n3,1,1,1\n3,1,1,1\n"),
              "line 3: time does not go on");
    EXPECT_EQ(reasonOf(std::string("\x89PNG\r\n\x1a\n\0\0", 10)).substr(0, 28),
              "line 1: no column is called ");
}

TEST(RecordedRoute, PointsOnOneSpotStillFollowOneAnother) {
    RecordedRoute route;
    std::string error;
    ASSERT_TRUE(route.parse("5,6,70\n5,6,70\n", error));
    for (double t = 0; t < 0.01; t += 0.0007) {
        EXPECT_DOUBLE_EQ(route.at(t).longitude_deg, 5);
        EXPECT_TRUE(std::isfinite(route.at(t).heading_deg));
    }
}

}  // namespace
}  // namespace podsim
