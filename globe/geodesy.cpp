#include "globe/geodesy.h"

#include <algorithm>
#include <cmath>

namespace globe {
namespace {

constexpr double kEccentricity2 = kFlattening * (2.0 - kFlattening);

double wrapRadians(double angle) {
    const double turn = 2.0 * kPi;
    double wrapped = std::fmod(angle + kPi, turn);
    if (wrapped < 0.0) {
        wrapped += turn;
    }
    return wrapped - kPi;
}

double positiveRadians(double angle) {
    const double wrapped = std::fmod(angle, 2.0 * kPi);
    return wrapped < 0.0 ? wrapped + 2.0 * kPi : wrapped;
}

// Mercator's northing on the unit sphere; finite at the poles.
double northing(double lat) {
    const double limited = std::clamp(lat, -kPi / 2.0 + 1e-12, kPi / 2.0 - 1e-12);
    return std::log(std::tan(kPi / 4.0 + limited / 2.0));
}

// Metres eastward on a rhumb line per radian of longitude, as a part of the radius.
double rhumbStretch(double lat_a, double lat_b) {
    const double stretched = northing(lat_b) - northing(lat_a);
    return std::fabs(stretched) > 1e-9 ? (lat_b - lat_a) / stretched : std::cos(lat_a);
}

}  // namespace

double wrapLongitude(double degrees) {
    const double wrapped = std::fmod(degrees + 180.0, 360.0);
    return wrapped < 0.0 ? wrapped + 180.0 : wrapped - 180.0;
}

double wrapBearing(double degrees) {
    const double wrapped = std::fmod(degrees, 360.0);
    const double positive = wrapped < 0.0 ? wrapped + 360.0 : wrapped;
    return positive < 360.0 ? positive : 0.0;
}

Xyz geodeticToGeocentric(const Geodetic& place) {
    const double lon = toRadians(place.lon);
    const double lat = toRadians(place.lat);
    const double sin_lat = std::sin(lat);
    const double normal = kEquatorRadius_m / std::sqrt(1.0 - kEccentricity2 * sin_lat * sin_lat);
    const double out = (normal + place.alt) * std::cos(lat);
    return {out * std::cos(lon), out * std::sin(lon),
            (normal * (1.0 - kEccentricity2) + place.alt) * sin_lat};
}

// Bowring's iteration on the reduced latitude: it gains about four digits a turn outside the earth's core.
Geodetic geocentricToGeodetic(const Xyz& point) {
    const double out = std::hypot(point.x, point.y);
    const double lon = out > 0.0 ? std::atan2(point.y, point.x) : 0.0;
    if (out < 1e-9 && std::fabs(point.z) < 1e-9) {
        return {0.0, 90.0, -kPolarRadius_m};
    }
    const double second = kEccentricity2 / (1.0 - kEccentricity2);
    double reduced = std::atan2(point.z, out * (1.0 - kFlattening));
    double lat = 0.0;
    for (int turn = 0; turn < 8; ++turn) {
        const double s = std::sin(reduced);
        const double c = std::cos(reduced);
        lat = std::atan2(point.z + second * kPolarRadius_m * s * s * s,
                         std::max(0.0, out - kEccentricity2 * kEquatorRadius_m * c * c * c));
        const double next = std::atan2((1.0 - kFlattening) * std::sin(lat), std::cos(lat));
        const bool done = std::fabs(next - reduced) < 1e-15;
        reduced = next;
        if (done) {
            break;
        }
    }
    const double sin_lat = std::sin(lat);
    const double cos_lat = std::cos(lat);
    // Along the normal: good at the poles and at the equator alike.
    const double alt = out * cos_lat + point.z * sin_lat -
                       kEquatorRadius_m * std::sqrt(1.0 - kEccentricity2 * sin_lat * sin_lat);
    return {toDegrees(lon), toDegrees(lat), alt};
}

bool crossEllipsoid(const Xyz& from, const Xyz& to, double height_m, double* enter, double* leave) {
    const double a = 1.0 / (kEquatorRadius_m + height_m);
    const double b = 1.0 / (kPolarRadius_m + height_m);
    const Xyz start{from.x * a, from.y * a, from.z * b};
    const Xyz way{to.x * a - start.x, to.y * a - start.y, to.z * b - start.z};
    const double length2 = way.x * way.x + way.y * way.y + way.z * way.z;
    if (length2 <= 0.0) {
        return false;
    }
    const double along = (start.x * way.x + start.y * way.y + start.z * way.z) / length2;
    const Xyz nearest{start.x - along * way.x, start.y - along * way.y, start.z - along * way.z};
    const double gap = 1.0 - (nearest.x * nearest.x + nearest.y * nearest.y + nearest.z * nearest.z);
    if (gap < 0.0) {
        return false;
    }
    const double half = std::sqrt(gap / length2);
    *enter = -along - half;
    *leave = -along + half;
    return true;
}

double greatCircleDistance(const LatLon& a, const LatLon& b, double radius_m) {
    const double half_lat = std::sin((b.lat_rad - a.lat_rad) / 2.0);
    const double half_lon = std::sin((b.lon_rad - a.lon_rad) / 2.0);
    const double h = half_lat * half_lat + std::cos(a.lat_rad) * std::cos(b.lat_rad) * half_lon * half_lon;
    return 2.0 * radius_m * std::asin(std::sqrt(std::clamp(h, 0.0, 1.0)));
}

double greatCircleBearing(const LatLon& a, const LatLon& b) {
    const double turn = b.lon_rad - a.lon_rad;
    const double east = std::sin(turn) * std::cos(b.lat_rad);
    const double north = std::cos(a.lat_rad) * std::sin(b.lat_rad) -
                         std::sin(a.lat_rad) * std::cos(b.lat_rad) * std::cos(turn);
    return positiveRadians(std::atan2(east, north));
}

LatLon greatCircleDestination(const LatLon& start, double bearing_rad, double distance_m, double radius_m) {
    const double arc = distance_m / radius_m;
    const double sin_lat = std::sin(start.lat_rad) * std::cos(arc) +
                           std::cos(start.lat_rad) * std::sin(arc) * std::cos(bearing_rad);
    const double lat = std::asin(std::clamp(sin_lat, -1.0, 1.0));
    const double turn = std::atan2(std::sin(bearing_rad) * std::sin(arc) * std::cos(start.lat_rad),
                                   std::cos(arc) - std::sin(start.lat_rad) * sin_lat);
    return {lat, wrapRadians(start.lon_rad + turn)};
}

LatLon greatCircleInterpolate(const LatLon& a, const LatLon& b, double t) {
    return greatCircleDestination(a, greatCircleBearing(a, b), t * greatCircleDistance(a, b, 1.0), 1.0);
}

double rhumbDistance(const LatLon& a, const LatLon& b, double radius_m) {
    const double east = wrapRadians(b.lon_rad - a.lon_rad) * rhumbStretch(a.lat_rad, b.lat_rad);
    return radius_m * std::hypot(b.lat_rad - a.lat_rad, east);
}

double rhumbBearing(const LatLon& a, const LatLon& b) {
    return positiveRadians(
        std::atan2(wrapRadians(b.lon_rad - a.lon_rad), northing(b.lat_rad) - northing(a.lat_rad)));
}

LatLon rhumbDestination(const LatLon& start, double bearing_rad, double distance_m, double radius_m) {
    const double arc = distance_m / radius_m;
    double lat = start.lat_rad + arc * std::cos(bearing_rad);
    // A course over the pole comes down on the other side.
    if (lat > kPi / 2.0) {
        lat = kPi - lat;
    } else if (lat < -kPi / 2.0) {
        lat = -kPi - lat;
    }
    const double stretch = std::max(1e-12, rhumbStretch(start.lat_rad, lat));
    return {lat, wrapRadians(start.lon_rad + arc * std::sin(bearing_rad) / stretch)};
}

}  // namespace globe
