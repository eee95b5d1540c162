// The figure of the earth, for vectors of the scene graph.
#pragma once

#include <osg/Matrixd>
#include <osg/Vec3d>

#include "globe/geodesy.h"

namespace globe {

// The WGS 84 ellipsoid. Geodetic vectors are (longitude, latitude, height) in degrees and metres, world
// vectors earth-centred metres.
class Ellipsoid {
public:
    double getRadiusEquator() const { return kEquatorRadius_m; }
    double getRadiusPolar() const { return kPolarRadius_m; }

    osg::Vec3d geodeticToGeocentric(double lon_deg, double lat_deg, double alt_m) const;
    osg::Vec3d geodeticToGeocentric(const osg::Vec3d& lon_lat_alt) const;
    osg::Vec3d geocentricToGeodetic(const osg::Vec3d& world) const;

    // From a frame at `world` whose x, y, z point east, north and up (along the ellipsoid's normal) to the
    // world.
    osg::Matrixd localToWorld(const osg::Vec3d& world) const;
    osg::Vec3d up(const osg::Vec3d& world) const;

    // The first crossing of the straight line with the ellipsoid raised by `height_m`, between its two ends.
    // A line that starts inside meets nothing.
    bool intersect(const osg::Vec3d& from, const osg::Vec3d& to, osg::Vec3d& hit,
                   double height_m = 0.0) const;
};

}  // namespace globe
