#include "map/geo_rules.h"

#include <cmath>

namespace sorvane {

namespace {

constexpr double kRadius_m = 6378137.0;
constexpr double kRadius_km = 6378.137;
constexpr double kPi = 3.14159265358979323846;

double radians(double degrees) { return degrees * (kPi / 180.0); }
double degrees(double radians) { return radians * (180.0 / kPi); }

}  // namespace

bool hasNan(const GeoPosition& p) {
    return std::isnan(p.longitude_deg) || std::isnan(p.latitude_deg) || std::isnan(p.altitude_m);
}

bool samePosition(const GeoPosition& a, const GeoPosition& b) {
    return a.longitude_deg == b.longitude_deg && a.latitude_deg == b.latitude_deg &&
           a.altitude_m == b.altitude_m;
}

// The direct problem of spherical trigonometry: two sides and the angle between them.
GeoPosition destinationPoint(const GeoPosition& start, double bearing_deg, double distance_m) {
    const double phi = radians(start.latitude_deg);
    const double lambda = radians(start.longitude_deg);
    const double theta = radians(bearing_deg);
    const double delta = distance_m / kRadius_m;
    const double phi2 =
        std::asin(std::sin(phi) * std::cos(delta) + std::cos(phi) * std::sin(delta) * std::cos(theta));
    const double lambda2 = lambda + std::atan2(std::sin(theta) * std::sin(delta) * std::cos(phi),
                                               std::cos(delta) - std::sin(phi) * std::sin(phi2));
    double longitude = degrees(lambda2);
    if (longitude > 180.0) {
        longitude -= 360.0;
    } else if (longitude < -180.0) {
        longitude += 360.0;
    }
    return {longitude, degrees(phi2), start.altitude_m};
}

Footprint footprintOf(const GeoPosition& centre, double heading_deg, double fov_deg, double near_m,
                      double far_m) {
    const double left = heading_deg - fov_deg * 0.5;
    const double right = heading_deg + fov_deg * 0.5;
    Footprint f;
    f.corners = {destinationPoint(centre, left, near_m), destinationPoint(centre, left, far_m),
                 destinationPoint(centre, right, far_m), destinationPoint(centre, right, near_m)};
    f.middle = destinationPoint(centre, heading_deg, near_m + (far_m - near_m) / 2.0);
    return f;
}

double greatCircleKm(double lat1_deg, double lon1_deg, double lat2_deg, double lon2_deg) {
    const double half_lat = std::sin(radians(lat2_deg - lat1_deg) / 2.0);
    const double half_lon = std::sin(radians(lon2_deg - lon1_deg) / 2.0);
    const double h =
        half_lat * half_lat + std::cos(radians(lat1_deg)) * std::cos(radians(lat2_deg)) * half_lon * half_lon;
    // Antipodes may come out a hair above 1.
    return 2.0 * kRadius_km * std::asin(std::sqrt(h < 1.0 ? h : 1.0));
}

}  // namespace sorvane
