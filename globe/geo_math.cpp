#include "globe/geo_math.h"

#include "globe/spatial_reference.h"

namespace globe {

double GeoMath::distance(double lat1_rad, double lon1_rad, double lat2_rad, double lon2_rad,
                         double radius_m) {
    return greatCircleDistance({lat1_rad, lon1_rad}, {lat2_rad, lon2_rad}, radius_m);
}

double GeoMath::distance(const osg::Vec3d& a, const osg::Vec3d& b, const SpatialReference* srs) {
    osg::Vec3d from = a;
    osg::Vec3d to = b;
    if (srs != nullptr) {
        srs->transform(a, srs->getGeographicSRS(), from);
        srs->transform(b, srs->getGeographicSRS(), to);
    }
    return distance(toRadians(from.y()), toRadians(from.x()), toRadians(to.y()), toRadians(to.x()));
}

double GeoMath::bearing(double lat1_rad, double lon1_rad, double lat2_rad, double lon2_rad) {
    return greatCircleBearing({lat1_rad, lon1_rad}, {lat2_rad, lon2_rad});
}

void GeoMath::destination(double lat1_rad, double lon1_rad, double bearing_rad, double distance_m,
                          double& lat2_rad, double& lon2_rad, double radius_m) {
    const LatLon end = greatCircleDestination({lat1_rad, lon1_rad}, bearing_rad, distance_m, radius_m);
    lat2_rad = end.lat_rad;
    lon2_rad = end.lon_rad;
}

void GeoMath::interpolate(double lat1_rad, double lon1_rad, double lat2_rad, double lon2_rad, double t,
                          double& lat_rad, double& lon_rad) {
    const LatLon between = greatCircleInterpolate({lat1_rad, lon1_rad}, {lat2_rad, lon2_rad}, t);
    lat_rad = between.lat_rad;
    lon_rad = between.lon_rad;
}

double GeoMath::rhumbDistance(double lat1_rad, double lon1_rad, double lat2_rad, double lon2_rad,
                              double radius_m) {
    return globe::rhumbDistance({lat1_rad, lon1_rad}, {lat2_rad, lon2_rad}, radius_m);
}

double GeoMath::rhumbBearing(double lat1_rad, double lon1_rad, double lat2_rad, double lon2_rad) {
    return globe::rhumbBearing({lat1_rad, lon1_rad}, {lat2_rad, lon2_rad});
}

void GeoMath::rhumbDestination(double lat1_rad, double lon1_rad, double bearing_rad, double distance_m,
                               double& lat2_rad, double& lon2_rad, double radius_m) {
    const LatLon end = globe::rhumbDestination({lat1_rad, lon1_rad}, bearing_rad, distance_m, radius_m);
    lat2_rad = end.lat_rad;
    lon2_rad = end.lon_rad;
}

}  // namespace globe
