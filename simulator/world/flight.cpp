#include "simulator/world/flight.h"

#include <algorithm>
#include <cmath>

#include "simulator/world/world.h"

namespace podsim {
namespace {

constexpr double kRadius = 225, kSpeed = 12, kHeight = 150;
constexpr double kStartAngle = 0.53;  // clockwise from north
constexpr double kNavTimeout = 2;     // seconds without the station's position until the circle goes on
constexpr double kMetresPerDegree = 111319.49;
constexpr double kGravity = 9.81;

double wrap360(double degrees) {
    return degrees - 360 * std::floor(degrees / 360);
}

}  // namespace

Flight::Flight(double latitude_deg, double longitude_deg)
    : latitude_deg_(latitude_deg), longitude_deg_(longitude_deg) {
    circle();
    toEarth(state_.east_m, state_.north_m, state_.latitude_deg, state_.longitude_deg);
}

void Flight::setNav(const NavInput& nav) {
    if (nav.latitude_deg == 0 && nav.longitude_deg == 0) return;
    nav_ = nav;
    nav_age_s_ = 0;
}

void Flight::step(double dt_s) {
    time_s_ += dt_s;
    nav_age_s_ += dt_s;
    if (nav_age_s_ < kNavTimeout)
        follow(dt_s);
    else
        circle();
    toEarth(state_.east_m, state_.north_m, state_.latitude_deg, state_.longitude_deg);
}

void Flight::circle() {
    const double t = time_s_;
    const double rate = kSpeed / kRadius;
    const double angle = kStartAngle + rate * t;
    state_.external = false;
    state_.east_m = kRadius * std::sin(angle);
    state_.north_m = kRadius * std::cos(angle);
    state_.height_m = kHeight + 1.5 * std::sin(0.17 * t);
    state_.vertical_speed_mps = 1.5 * 0.17 * std::cos(0.17 * t);
    state_.heading_deg = wrap360(angle / kDeg + 90);
    state_.heading_rate_dps = rate / kDeg;
    state_.ground_speed_mps = kSpeed;
    // A coordinated turn, with the unrest of the air on top.
    state_.roll_deg =
        std::atan(kSpeed * rate / kGravity) / kDeg + 0.5 * std::sin(0.9 * t) + 0.2 * std::sin(2.3 * t);
    state_.pitch_deg = 1.8 + 0.4 * std::sin(0.7 * t + 1) + 0.2 * std::sin(1.9 * t);
}

void Flight::follow(double dt_s) {
    const double before = state_.heading_deg;
    state_.external = true;
    toLocal(nav_.latitude_deg, nav_.longitude_deg, state_.east_m, state_.north_m);
    // Between two messages the aircraft goes on.
    state_.east_m += nav_.east_speed_mps * nav_age_s_;
    state_.north_m += nav_.north_speed_mps * nav_age_s_;
    const double height = std::clamp(nav_.altitude_m - kGroundAltitude, 30.0, 8000.0);
    state_.vertical_speed_mps = 0;
    state_.height_m = height;
    state_.heading_deg = wrap360(nav_.heading_deg);
    state_.heading_rate_dps = dt_s > 0 ? std::remainder(state_.heading_deg - before, 360) / dt_s : 0;
    state_.heading_rate_dps = std::clamp(state_.heading_rate_dps, -30.0, 30.0);
    state_.pitch_deg = nav_.pitch_deg;
    state_.roll_deg = nav_.roll_deg;
    state_.ground_speed_mps = nav_.ground_speed_mps;
}

void Flight::toLocal(double latitude_deg, double longitude_deg, double& east_m, double& north_m) const {
    const double shrink = std::cos(latitude_deg_ * kDeg);
    east_m = std::remainder(longitude_deg - longitude_deg_, 360) * kMetresPerDegree * shrink;
    north_m = (latitude_deg - latitude_deg_) * kMetresPerDegree;
}

void Flight::toEarth(double east_m, double north_m, double& latitude_deg, double& longitude_deg) const {
    const double shrink = std::max(0.01, std::cos(latitude_deg_ * kDeg));
    latitude_deg = latitude_deg_ + north_m / kMetresPerDegree;
    longitude_deg = std::remainder(longitude_deg_ + east_m / (kMetresPerDegree * shrink), 360);
}

}  // namespace podsim
