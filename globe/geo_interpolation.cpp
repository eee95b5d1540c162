#include "globe/geo_interpolation.h"

#include <algorithm>
#include <cmath>

namespace globe {

namespace {

constexpr double kPoleLatitude = 90.0 - 1e-9;
constexpr double kSameLatitude_rad = 1e-10;

// The northing of Mercator's projection of the ellipsoid, in which rhumb lines are straight.
double isometricLatitude(double lat_rad) {
    const double e = std::sqrt(kFlattening * (2.0 - kFlattening));
    return std::asinh(std::tan(lat_rad)) - e * std::atanh(e * std::sin(lat_rad));
}

double rhumbLongitude(const Geodetic& a, const Geodetic& b, double lat, double t) {
    const double span = wrapLongitude(b.lon - a.lon);
    if (std::fabs(a.lat) > kPoleLatitude) {
        return b.lon;
    }
    if (std::fabs(b.lat) > kPoleLatitude) {
        return a.lon;
    }
    if (std::fabs(toRadians(b.lat - a.lat)) < kSameLatitude_rad) {
        return a.lon + t * span;
    }
    const double from = isometricLatitude(toRadians(a.lat));
    const double to = isometricLatitude(toRadians(b.lat));
    return a.lon + span * (isometricLatitude(toRadians(lat)) - from) / (to - from);
}

LatLon radians(const Geodetic& place) { return {toRadians(place.lat), toRadians(place.lon)}; }

}  // namespace

Geodetic interpolateWay(const Geodetic& a, const Geodetic& b, double t, GeoInterpolation how) {
    if (t <= 0.0) {
        return a;
    }
    if (t >= 1.0) {
        return b;
    }
    const double alt = a.alt + t * (b.alt - a.alt);
    if (how == GEOINTERP_RHUMB_LINE) {
        const double lat = a.lat + t * (b.lat - a.lat);
        return {wrapLongitude(rhumbLongitude(a, b, lat, t)), lat, alt};
    }
    const LatLon place = greatCircleInterpolate(radians(a), radians(b), t);
    return {toDegrees(place.lon_rad), toDegrees(place.lat_rad), alt};
}

void appendWay(const Geodetic& a, const Geodetic& b, double step_m, GeoInterpolation how,
               std::vector<Geodetic>& out, int most) {
    const bool meridian = std::fabs(a.lat) > kPoleLatitude || std::fabs(b.lat) > kPoleLatitude;
    const double length = how == GEOINTERP_RHUMB_LINE && !meridian
                              ? rhumbDistance(radians(a), radians(b))
                              : greatCircleDistance(radians(a), radians(b));
    const int steps = static_cast<int>(std::min(std::ceil(length / step_m), double(most)));
    for (int i = 1; i < steps; ++i) {
        out.push_back(interpolateWay(a, b, static_cast<double>(i) / steps, how));
    }
    out.push_back(b);
}

Geodetic geodesicDestination(const Geodetic& start, double bearing_deg, double distance_m) {
    const double b = kPolarRadius_m;
    const double bearing = toRadians(bearing_deg);
    const double tan_u1 = (1.0 - kFlattening) * std::tan(toRadians(start.lat));
    const double cos_u1 = 1.0 / std::sqrt(1.0 + tan_u1 * tan_u1);
    const double sin_u1 = tan_u1 * cos_u1;
    const double cos_bearing = std::cos(bearing);
    const double sigma1 = std::atan2(tan_u1, cos_bearing);
    const double sin_a = cos_u1 * std::sin(bearing);
    const double cos2_a = 1.0 - sin_a * sin_a;
    const double u2 = cos2_a * (kEquatorRadius_m * kEquatorRadius_m - b * b) / (b * b);
    const double big_a = 1.0 + u2 / 16384.0 * (4096.0 + u2 * (-768.0 + u2 * (320.0 - 175.0 * u2)));
    const double big_b = u2 / 1024.0 * (256.0 + u2 * (-128.0 + u2 * (74.0 - 47.0 * u2)));
    double sigma = distance_m / (b * big_a);
    double middle = 0.0;
    // Converges by a factor of some hundred a turn.
    for (int i = 0; i < 10; ++i) {
        middle = std::cos(2.0 * sigma1 + sigma);
        const double s = std::sin(sigma);
        const double m2 = 2.0 * middle * middle - 1.0;
        const double inner =
            std::cos(sigma) * m2 - big_b / 6.0 * middle * (4.0 * s * s - 3.0) * (2.0 * m2 - 1.0);
        sigma = distance_m / (b * big_a) + big_b * s * (middle + big_b / 4.0 * inner);
    }
    const double s = std::sin(sigma);
    const double c = std::cos(sigma);
    const double across = sin_u1 * s - cos_u1 * c * cos_bearing;
    const double lat = std::atan2(sin_u1 * c + cos_u1 * s * cos_bearing,
                                  (1.0 - kFlattening) * std::sqrt(sin_a * sin_a + across * across));
    const double lambda = std::atan2(s * std::sin(bearing), cos_u1 * c - sin_u1 * s * cos_bearing);
    const double big_c = kFlattening / 16.0 * cos2_a * (4.0 + kFlattening * (4.0 - 3.0 * cos2_a));
    const double bend = middle + big_c * c * (2.0 * middle * middle - 1.0);
    const double lon = lambda - (1.0 - big_c) * kFlattening * sin_a * (sigma + big_c * s * bend);
    return {wrapLongitude(start.lon + toDegrees(lon)), toDegrees(lat), start.alt};
}

}  // namespace globe
