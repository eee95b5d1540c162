// The way between two places, and the place at the end of one. Degrees and metres on the WGS 84 ellipsoid;
// every function may be called from any thread.
#pragma once

#include <vector>

#include "globe/geodesy.h"

namespace globe {

enum GeoInterpolation {
    GEOINTERP_GREAT_CIRCLE = 0,  // the shortest way on the sphere of geodetic latitudes
    GEOINTERP_RHUMB_LINE =
        1,  // the way of constant course on the ellipsoid, the shorter one about the date line
};

// The place at the fraction `t` (0 .. 1) of the way; exactly `a` at 0 and `b` at 1. Equal steps of t are
// equal steps of the angle on a great circle and of the latitude on a rhumb line. The altitude goes evenly. A
// rhumb line from or to a pole is a meridian, that of its other end.
Geodetic interpolateWay(const Geodetic& a, const Geodetic& b, double t, GeoInterpolation how);

// Appends the places after `a`, up to and including `b`, no further apart than `step_m`, but `most` at most.
void appendWay(const Geodetic& a, const Geodetic& b, double step_m, GeoInterpolation how,
               std::vector<Geodetic>& out, int most = 4096);

// The end of the geodesic of this length (at most half around the earth) that starts at this course,
// clockwise from north; to a millimetre. After T. Vincenty, Survey Review XXIII (1975). Keeps the altitude.
Geodetic geodesicDestination(const Geodetic& start, double bearing_deg, double distance_m);

}  // namespace globe
