#include "simulator/world/flight.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "simulator/world/world.h"

namespace podsim {
namespace {

constexpr double kNavTimeout = 2;  // seconds without the station's position until the own flight goes on
constexpr double kLowest = 30, kHighest = 8000;  // above the ground, metres
constexpr double kMetresPerDegree = 111319.49;

double wrap360(double degrees) { return degrees - 360 * std::floor(degrees / 360); }

}  // namespace

Flight::Flight(double latitude_deg, double longitude_deg, FlightPlan plan, RecordedRoute route)
    : m_latitudeDeg(latitude_deg), m_longitudeDeg(longitude_deg), m_plan(plan), m_route(std::move(route)) {
    flyByItself();
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
        flyByItself();
    }
    toEarth(m_state.east_m, m_state.north_m, m_state.latitude_deg, m_state.longitude_deg);
}

void Flight::flyByItself() {
    m_state.external = false;
    if (m_route.empty()) {
        flyPlan(m_plan, m_timeS, m_state);
    } else {
        flyRoute();
    }
}

void Flight::flyRoute() {
    constexpr double kStep_s = 0.02;  // over which speeds are taken
    const RecordedRoute::Point now = m_route.at(m_timeS);
    // The speeds of the piece being flown, at its end too.
    const double ahead = m_route.duration() - now.time_s > kStep_s ? kStep_s : -kStep_s;
    const RecordedRoute::Point other = m_route.at(now.time_s + ahead);
    double east = 0, north = 0;
    toLocal(now.latitude_deg, now.longitude_deg, m_state.east_m, m_state.north_m);
    toLocal(other.latitude_deg, other.longitude_deg, east, north);
    m_state.height_m = std::clamp(now.altitude_m - kGroundAltitude, kLowest, kHighest);
    m_state.vertical_speed_mps = (other.altitude_m - now.altitude_m) / ahead;
    m_state.ground_speed_mps = std::hypot(east - m_state.east_m, north - m_state.north_m) / kStep_s;
    m_state.heading_deg = now.heading_deg;
    m_state.heading_rate_dps =
        std::clamp(std::remainder(other.heading_deg - now.heading_deg, 360) / ahead, -30.0, 30.0);
    m_state.pitch_deg = now.pitch_deg;
    m_state.roll_deg = now.roll_deg;
}

void Flight::follow(double dt_s) {
    const double before = m_state.heading_deg;
    m_state.external = true;
    toLocal(m_nav.latitude_deg, m_nav.longitude_deg, m_state.east_m, m_state.north_m);
    // Between two messages the aircraft goes on.
    m_state.east_m += m_nav.east_speed_mps * m_navAgeS;
    m_state.north_m += m_nav.north_speed_mps * m_navAgeS;
    const double height = std::clamp(m_nav.altitude_m - kGroundAltitude, kLowest, kHighest);
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
