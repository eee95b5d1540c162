#include "simulator/world/flight_plan.h"

#include <algorithm>
#include <cmath>

#include "simulator/world/flight.h"
#include "simulator/world/world.h"

namespace podsim {
namespace {

constexpr double kSpeed = 12, kHeight = 150, kGravity = 9.81;
constexpr double kCircleRadius = 225;
constexpr double kStartAngle = 0.53;  // clockwise from north
constexpr double kLeg = 600, kTurnRadius = 150;
constexpr double kRollIn_s = 2;  // from level to the full bank of a turn

double wrap360(double degrees) { return degrees - 360 * std::floor(degrees / 360); }

double smoothStep(double t) {
    t = std::clamp(t, 0.0, 1.0);
    return t * t * (3 - 2 * t);
}

// What all plans share: the air's unrest, and the bank of a coordinated turn at `rate` radians a second.
void finish(double t, double rate, double bank_share, FlightState& s) {
    s.height_m = kHeight + 1.5 * std::sin(0.17 * t);
    s.vertical_speed_mps = 1.5 * 0.17 * std::cos(0.17 * t);
    s.heading_rate_dps = rate / kDeg;
    s.ground_speed_mps = kSpeed;
    s.roll_deg = bank_share * std::atan(kSpeed * kSpeed / (kTurnRadius * kGravity)) / kDeg;
    s.pitch_deg = 1.8 + 0.4 * std::sin(0.7 * t + 1) + 0.2 * std::sin(1.9 * t);
}

double unrest(double t) { return 0.5 * std::sin(0.9 * t) + 0.2 * std::sin(2.3 * t); }

void flyCircle(double t, FlightState& s) {
    const double rate = kSpeed / kCircleRadius;
    const double angle = kStartAngle + rate * t;
    finish(t, rate, 0, s);
    s.east_m = kCircleRadius * std::sin(angle);
    s.north_m = kCircleRadius * std::cos(angle);
    s.heading_deg = wrap360(angle / kDeg + 90);
    s.roll_deg = std::atan(kSpeed * rate / kGravity) / kDeg + unrest(t);
}

// Eastward north of the village, then a half circle to the right, and the same the other way.
void flyRacetrack(double t, FlightState& s) {
    constexpr double kHalfLap = kLeg + kPi * kTurnRadius;
    const double lap = std::fmod(kSpeed * t, 2 * kHalfLap);
    const double way = std::fmod(lap, kHalfLap);
    const double side = lap < kHalfLap ? 1 : -1;
    const bool turning = way > kLeg;
    const double angle = turning ? (way - kLeg) / kTurnRadius : 0;
    // The bank begins and ends with the turn.
    const double left_s = (kHalfLap - way) / kSpeed, turned_s = (way - kLeg) / kSpeed;
    finish(t, turning ? kSpeed / kTurnRadius : 0,
           turning ? smoothStep(turned_s / kRollIn_s) * smoothStep(left_s / kRollIn_s) : 0, s);
    s.east_m = side * (turning ? kLeg / 2 + kTurnRadius * std::sin(angle) : way - kLeg / 2);
    s.north_m = side * kTurnRadius * std::cos(angle);
    s.heading_deg = wrap360((side > 0 ? 90 : 270) + angle / kDeg);
    s.roll_deg += unrest(t);
}

}  // namespace

void flyPlan(FlightPlan plan, double time_s, FlightState& state) {
    if (plan == FlightPlan::kRacetrack) {
        flyRacetrack(time_s, state);
    } else {
        flyCircle(time_s, state);
    }
}

}  // namespace podsim
