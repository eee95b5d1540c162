#include "globe/ellipsoid.h"

#include <cmath>

namespace globe {

osg::Vec3d Ellipsoid::geodeticToGeocentric(double lon_deg, double lat_deg, double alt_m) const {
    const Xyz point = globe::geodeticToGeocentric({lon_deg, lat_deg, alt_m});
    return {point.x, point.y, point.z};
}

osg::Vec3d Ellipsoid::geodeticToGeocentric(const osg::Vec3d& lon_lat_alt) const {
    return geodeticToGeocentric(lon_lat_alt.x(), lon_lat_alt.y(), lon_lat_alt.z());
}

osg::Vec3d Ellipsoid::geocentricToGeodetic(const osg::Vec3d& world) const {
    const Geodetic place = globe::geocentricToGeodetic({world.x(), world.y(), world.z()});
    return {place.lon, place.lat, place.alt};
}

osg::Matrixd Ellipsoid::localToWorld(const osg::Vec3d& world) const {
    const osg::Vec3d place = geocentricToGeodetic(world);
    const double lon = toRadians(place.x());
    const double lat = toRadians(place.y());
    const osg::Vec3d east(-std::sin(lon), std::cos(lon), 0.0);
    const osg::Vec3d up(std::cos(lat) * std::cos(lon), std::cos(lat) * std::sin(lon), std::sin(lat));
    const osg::Vec3d north = up ^ east;
    return {east.x(),  east.y(),  east.z(),  0.0,  //
            north.x(), north.y(), north.z(), 0.0,  //
            up.x(),    up.y(),    up.z(),    0.0,  //
            world.x(), world.y(), world.z(), 1.0};
}

osg::Vec3d Ellipsoid::up(const osg::Vec3d& world) const {
    const osg::Vec3d place = geocentricToGeodetic(world);
    const double lon = toRadians(place.x());
    const double lat = toRadians(place.y());
    return {std::cos(lat) * std::cos(lon), std::cos(lat) * std::sin(lon), std::sin(lat)};
}

bool Ellipsoid::intersect(const osg::Vec3d& from, const osg::Vec3d& to, osg::Vec3d& hit,
                          double height_m) const {
    double enter = 0.0;
    double leave = 0.0;
    if (!crossEllipsoid({from.x(), from.y(), from.z()}, {to.x(), to.y(), to.z()}, height_m, &enter, &leave) ||
        enter < 0.0 || enter > 1.0) {
        return false;
    }
    hit = from + (to - from) * enter;
    return true;
}

}  // namespace globe
