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

double wrap360(double degrees) { return degrees - 360 * std::floor(degrees / 360); }

}  // namespace

Flight::Flight(double latitude_deg, double longitude_deg)
    : m_latitudeDeg(latitude_deg), m_longitudeDeg(longitude_deg) {
    circle();
    toEarth(m_state.east_m, m_state.north_m, m_state.latitude_deg, m_state.longitude_deg);
}

void Flight::setNav(const NavInput& nav) {
    if (nav.latitude_deg == 0 && nav.longitude_deg == 0) {
        return;
    }
    m_nav = nav;
    m_navAgeS = 0;
}

void Flight::step(double dt_s) {
    m_timeS += dt_s;
    m_navAgeS += dt_s;
    if (m_navAgeS < kNavTimeout) {
        follow(dt_s);
    } else {
        circle();
    }
    toEarth(m_state.east_m, m_state.north_m, m_state.latitude_deg, m_state.longitude_deg);
}

void Flight::circle() {
    const double t = m_timeS;
    const double rate = kSpeed / kRadius;
    const double angle = kStartAngle + rate * t;
    m_state.external = false;
    m_state.east_m = kRadius * std::sin(angle);
    m_state.north_m = kRadius * std::cos(angle);
    m_state.height_m = kHeight + 1.5 * std::sin(0.17 * t);
    m_state.vertical_speed_mps = 1.5 * 0.17 * std::cos(0.17 * t);
    m_state.heading_deg = wrap360(angle / kDeg + 90);
    m_state.heading_rate_dps = rate / kDeg;
    m_state.ground_speed_mps = kSpeed;
    // A coordinated turn, with the unrest of the air on top.
    m_state.roll_deg =
        std::atan(kSpeed * rate / kGravity) / kDeg + 0.5 * std::sin(0.9 * t) + 0.2 * std::sin(2.3 * t);
    m_state.pitch_deg = 1.8 + 0.4 * std::sin(0.7 * t + 1) + 0.2 * std::sin(1.9 * t);
}

void Flight::follow(double dt_s) {
    const double before = m_state.heading_deg;
    m_state.external = true;
    toLocal(m_nav.latitude_deg, m_nav.longitude_deg, m_state.east_m, m_state.north_m);
    // Between two messages the aircraft goes on.
    m_state.east_m += m_nav.east_speed_mps * m_navAgeS;
    m_state.north_m += m_nav.north_speed_mps * m_navAgeS;
    const double height = std::clamp(m_nav.altitude_m - kGroundAltitude, 30.0, 8000.0);
    m_state.vertical_speed_mps = 0;
    m_state.height_m = height;
    m_state.heading_deg = wrap360(m_nav.heading_deg);
    m_state.heading_rate_dps = dt_s > 0 ? std::remainder(m_state.heading_deg - before, 360) / dt_s : 0;
    m_state.heading_rate_dps = std::clamp(m_state.heading_rate_dps, -30.0, 30.0);
    m_state.pitch_deg = m_nav.pitch_deg;
    m_state.roll_deg = m_nav.roll_deg;
    m_state.ground_speed_mps = m_nav.ground_speed_mps;
}

void Flight::toLocal(double latitude_deg, double longitude_deg, double& east_m, double& north_m) const {
    const double shrink = std::cos(m_latitudeDeg * kDeg);
    east_m = std::remainder(longitude_deg - m_longitudeDeg, 360) * kMetresPerDegree * shrink;
    north_m = (latitude_deg - m_latitudeDeg) * kMetresPerDegree;
}

void Flight::toEarth(double east_m, double north_m, double& latitude_deg, double& longitude_deg) const {
    const double shrink = std::max(0.01, std::cos(m_latitudeDeg * kDeg));
    latitude_deg = m_latitudeDeg + north_m / kMetresPerDegree;
    longitude_deg = std::remainder(m_longitudeDeg + east_m / (kMetresPerDegree * shrink), 360);
}

}  // namespace podsim
