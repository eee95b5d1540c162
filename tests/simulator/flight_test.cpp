// The plans by which the aircraft flies when nobody tells it where it is.
#include "simulator/world/flight.h"

#include <gtest/gtest.h>

#include <cmath>

#include "simulator/world/world.h"

namespace podsim {
namespace {

constexpr double kLatitude = 30.45, kLongitude = 114.42;
constexpr double kStep_s = 0.05;

// What every plan keeps: the nose points along the way, the speed is the told one, nothing jumps.
void expectSmooth(FlightPlan plan, double seconds) {
    Flight flight(kLatitude, kLongitude, plan);
    FlightState last = flight.state();
    for (double t = 0; t < seconds; t += kStep_s) {
        flight.step(kStep_s);
        const FlightState& s = flight.state();
        const double east = s.east_m - last.east_m, north = s.north_m - last.north_m;
        ASSERT_NEAR(std::hypot(east, north) / kStep_s, s.ground_speed_mps, 0.05) << t;
        ASSERT_NEAR(std::remainder(std::atan2(east, north) / kDeg - s.heading_deg, 360), 0, 0.3) << t;
        ASSERT_NEAR(std::remainder(s.heading_deg - last.heading_deg, 360) / kStep_s, s.heading_rate_dps, 4.7)
            << t;
        ASSERT_NEAR(s.roll_deg, last.roll_deg, 0.6) << t;
        ASSERT_FALSE(s.external);
        last = s;
    }
}

TEST(Flight, CircleStaysARadiusFromTheVillage) {
    expectSmooth(FlightPlan::kCircle, 130);
    Flight flight(kLatitude, kLongitude);
    for (int i = 0; i < 2600; ++i) {
        flight.step(kStep_s);
        ASSERT_NEAR(std::hypot(flight.state().east_m, flight.state().north_m), 225, 1e-6);
    }
}

TEST(Flight, RacetrackHasTwoStraightLegsAndReturns) {
    expectSmooth(FlightPlan::kRacetrack, 190);
    Flight flight(kLatitude, kLongitude, FlightPlan::kRacetrack);
    const double lap_s = 2 * (600 + kPi * 150) / 12;
    const FlightState start = flight.state();
    double level_s = 0, turned_deg = 0;
    double west = 0, east = 0;
    const int steps = static_cast<int>(std::lround(lap_s / kStep_s));
    for (int i = 0; i < steps; ++i) {
        const double before = flight.state().heading_deg;
        flight.step(lap_s / steps);
        const FlightState& s = flight.state();
        turned_deg += std::remainder(s.heading_deg - before, 360);
        level_s += s.heading_rate_dps == 0 ? lap_s / steps : 0;
        west = std::min(west, s.east_m);
        east = std::max(east, s.east_m);
    }
    EXPECT_NEAR(level_s, 100, 0.3);
    EXPECT_NEAR(turned_deg, 360, 0.1);
    EXPECT_NEAR(east, 450, 0.1);
    EXPECT_NEAR(west, -450, 0.1);
    EXPECT_NEAR(flight.state().east_m, start.east_m, 0.01);
    EXPECT_NEAR(flight.state().north_m, start.north_m, 0.01);
}

TEST(Flight, ARouteIsFlownWhereItWasRecorded) {
    RecordedRoute route;
    std::string error;
    // A square of 100 s a side around another place, level at 225 m above the sea.
    ASSERT_TRUE(
        route.parse("time,longitude,latitude,altitude,roll\n"
                    "1000,114.50,30.50,225,0\n1100,114.51,30.50,225,10\n1200,114.51,30.51,325,20\n",
                    error))
        << error;
    Flight flight(kLatitude, kLongitude, FlightPlan::kCircle, route);
    EXPECT_NEAR(flight.state().latitude_deg, 30.50, 1e-9);
    EXPECT_NEAR(flight.state().longitude_deg, 114.50, 1e-9);
    EXPECT_DOUBLE_EQ(flight.state().height_m, 200);  // the landscape lies 25 m high
    for (int i = 0; i < 1500; ++i) {
        flight.step(0.1);
    }
    const FlightState& s = flight.state();  // half way along the second side
    EXPECT_NEAR(s.longitude_deg, 114.51, 1e-9);
    EXPECT_NEAR(s.latitude_deg, 30.505, 1e-7);
    EXPECT_NEAR(s.height_m, 250, 0.01);
    EXPECT_NEAR(s.vertical_speed_mps, 1, 1e-6);
    EXPECT_NEAR(s.ground_speed_mps, 0.01 / 100 * 111319.49, 0.01);
    EXPECT_NEAR(s.roll_deg, 15, 0.01);
    EXPECT_FALSE(s.external);
}

}  // namespace
}  // namespace podsim
