// Distances and courses on a sphere, by the names and in the units of the scene graph: radians and metres.
#pragma once

#include <osg/Vec3d>

#include "globe/geodesy.h"

namespace globe {

class SpatialReference;

struct GeoMath {
    static double distance(double lat1_rad, double lon1_rad, double lat2_rad, double lon2_rad,
                           double radius_m = kEquatorRadius_m);
    // Of two points of `srs` (x, y): over the ground, heights left aside.
    static double distance(const osg::Vec3d& a, const osg::Vec3d& b, const SpatialReference* srs);
    static double bearing(double lat1_rad, double lon1_rad, double lat2_rad, double lon2_rad);
    static void destination(double lat1_rad, double lon1_rad, double bearing_rad, double distance_m,
                            double& lat2_rad, double& lon2_rad, double radius_m = kEquatorRadius_m);
    // At fraction t (0 .. 1) of the shorter arc.
    static void interpolate(double lat1_rad, double lon1_rad, double lat2_rad, double lon2_rad, double t,
                            double& lat_rad, double& lon_rad);

    static double rhumbDistance(double lat1_rad, double lon1_rad, double lat2_rad, double lon2_rad,
                                double radius_m = kEquatorRadius_m);
    static double rhumbBearing(double lat1_rad, double lon1_rad, double lat2_rad, double lon2_rad);
    static void rhumbDestination(double lat1_rad, double lon1_rad, double bearing_rad, double distance_m,
                                 double& lat2_rad, double& lon2_rad, double radius_m = kEquatorRadius_m);
};

}  // namespace globe
