// A place on the map.
#pragma once

#include <osg/Matrixd>
#include <osg/Vec3d>

#include "globe/spatial_reference.h"

namespace globe {

class Terrain;

enum AltitudeMode {
    ALTMODE_RELATIVE,  // z counts from the terrain
    ALTMODE_ABSOLUTE   // z counts from the ellipsoid
};

// x is the longitude or easting, y the latitude or northing, z metres. Invalid as long as it has no
// coordinate system.
class GeoPoint {
public:
    GeoPoint() = default;
    // On the ground: relative, z 0.
    GeoPoint(const SpatialReference* srs, double x, double y);
    GeoPoint(const SpatialReference* srs, double x, double y, double z, AltitudeMode mode = ALTMODE_ABSOLUTE);
    GeoPoint(const SpatialReference* srs, const osg::Vec3d& xyz, AltitudeMode mode = ALTMODE_ABSOLUTE);

    double& x() { return m_xyz.x(); }
    double& y() { return m_xyz.y(); }
    double& z() { return m_xyz.z(); }
    double x() const { return m_xyz.x(); }
    double y() const { return m_xyz.y(); }
    double z() const { return m_xyz.z(); }
    const osg::Vec3d& vec3d() const { return m_xyz; }
    AltitudeMode& altitudeMode() { return m_mode; }
    AltitudeMode altitudeMode() const { return m_mode; }
    const SpatialReference* getSRS() const { return m_srs; }
    // Has a coordinate system and finite numbers.
    bool isValid() const;

    // Earth-centred metres. Without a terrain a relative height counts from the ellipsoid. False for an
    // invalid point.
    bool toWorld(osg::Vec3d& world) const { return toWorld(world, nullptr); }
    bool toWorld(osg::Vec3d& world, const Terrain* terrain) const;
    // Takes the place of this point; absolute.
    bool fromWorld(const SpatialReference* srs, const osg::Vec3d& world);
    bool makeGeographic();
    // An invalid point where there is no way between the two systems.
    GeoPoint transform(const SpatialReference* srs) const;
    // A frame at the point: east, north, up.
    bool createLocalToWorld(osg::Matrixd& matrix, const Terrain* terrain = nullptr) const;
    // Metres over the ground.
    double distanceTo(const GeoPoint& other) const;

    bool operator==(const GeoPoint& other) const;
    bool operator!=(const GeoPoint& other) const { return !(*this == other); }

private:
    const SpatialReference* m_srs = nullptr;  // kept by its class for good
    osg::Vec3d m_xyz;
    AltitudeMode m_mode = ALTMODE_ABSOLUTE;
};

}  // namespace globe
