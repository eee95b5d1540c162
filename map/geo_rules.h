// Geometry on the sphere that the map draws and measures with.
#pragma once

#include <array>

namespace sorvane {

// Degrees and metres, in the order in which the map has them everywhere.
struct GeoPosition {
    double longitude_deg = 0.0;
    double latitude_deg = 0.0;
    double altitude_m = 0.0;
};

bool hasNan(const GeoPosition& p);
// All three exactly; false with a NaN.
bool samePosition(const GeoPosition& a, const GeoPosition& b);

// Where one comes from `start` on a great circle that leaves it at `bearing_deg` (clockwise from north), on a
// sphere of 6378137 m. The altitude is carried over; the longitude is turned once into -180 to 180.
GeoPosition destinationPoint(const GeoPosition& start, double bearing_deg, double distance_m);

// What the sensor sees ahead of the aircraft: the corners in drawing order (left near, left far, right far,
// right near) and the end of the line along the heading.
struct Footprint {
    std::array<GeoPosition, 4> corners;
    GeoPosition middle;
};
Footprint footprintOf(const GeoPosition& centre, double heading_deg, double fov_deg, double near_m,
                      double far_m);

// Haversine distance in kilometres on a sphere of 6378.137 km.
double greatCircleKm(double lat1_deg, double lon1_deg, double lat2_deg, double lon2_deg);

}  // namespace sorvane
