// Positions on and above the WGS 84 ellipsoid, and courses over it. Degrees and metres unless a name says
// otherwise; every function may be called from any thread.
#pragma once

namespace globe {

constexpr double kPi = 3.14159265358979323846;
constexpr double kEquatorRadius_m = 6378137.0;
constexpr double kFlattening = 1.0 / 298.257223563;
constexpr double kPolarRadius_m = kEquatorRadius_m * (1.0 - kFlattening);

constexpr double toRadians(double degrees) { return degrees * (kPi / 180.0); }
constexpr double toDegrees(double radians) { return radians * (180.0 / kPi); }

// Earth-centred, earth-fixed: x towards longitude 0, z towards the north pole; metres.
struct Xyz {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

// Longitude east and latitude north in degrees, height above the ellipsoid in metres.
struct Geodetic {
    double lon = 0.0;
    double lat = 0.0;
    double alt = 0.0;
};

// A course over a sphere or along a rhumb line: angles in radians, azimuth clockwise from north in 0 .. 2 pi.
struct LatLon {
    double lat_rad = 0.0;
    double lon_rad = 0.0;  // -pi .. pi
};

// The angle brought into -180 <= result < 180, and into 0 <= result < 360.
double wrapLongitude(double degrees);
double wrapBearing(double degrees);

Xyz geodeticToGeocentric(const Geodetic& place);

// Inverse of the above to better than a micrometre at any height above -6000 km; longitude -180 .. 180. At
// the centre of the earth, where every direction is right, latitude 90.
Geodetic geocentricToGeodetic(const Xyz& point);

// How far from `from`, in units of the way to `to`, a straight line enters the ellipsoid whose semi-axes are
// longer by `height_m`, and where it leaves it. False if it misses; the figures may lie outside 0 .. 1.
bool crossEllipsoid(const Xyz& from, const Xyz& to, double height_m, double* enter, double* leave);

// Great circles on a sphere.
double greatCircleDistance(const LatLon& a, const LatLon& b, double radius_m = kEquatorRadius_m);
double greatCircleBearing(const LatLon& a, const LatLon& b);
LatLon greatCircleDestination(const LatLon& start, double bearing_rad, double distance_m,
                              double radius_m = kEquatorRadius_m);
// The point at fraction `t` (0 .. 1) of the shorter arc; of antipodes, along some arc between them.
LatLon greatCircleInterpolate(const LatLon& a, const LatLon& b, double t);

// Rhumb lines on a sphere, the shorter way about the date line.
double rhumbDistance(const LatLon& a, const LatLon& b, double radius_m = kEquatorRadius_m);
double rhumbBearing(const LatLon& a, const LatLon& b);
LatLon rhumbDestination(const LatLon& start, double bearing_rad, double distance_m,
                        double radius_m = kEquatorRadius_m);

}  // namespace globe
