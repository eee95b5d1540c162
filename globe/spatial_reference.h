// Coordinate systems by name, and the way between them.
#pragma once

#include <memory>
#include <osg/Referenced>
#include <osg/Vec3d>
#include <osg/ref_ptr>
#include <string>

#include "globe/ellipsoid.h"

namespace globe {

// Made and kept by get(): pointers stay good until the process ends and may be compared. Usable from any
// thread.
class SpatialReference : public osg::Referenced {
public:
    // "wgs84", "EPSG:4326", any definition that GDAL understands, or its WKT. Null, with one log line, for
    // what it does not.
    static const SpatialReference* get(const std::string& definition);

    const std::string& name() const { return m_name; }
    const Ellipsoid& getEllipsoid() const { return m_ellipsoid; }
    const SpatialReference* getGeographicSRS() const;
    bool isGeographic() const { return !m_projected; }
    bool isGeodetic() const { return !m_projected; }
    bool isProjected() const { return m_projected; }
    bool isEquivalentTo(const SpatialReference* other) const;

    // x is longitude or easting, y latitude or northing, whatever axis order the definition names. False,
    // with `out` untouched, where the point has no image.
    bool transform(const osg::Vec3d& in, const SpatialReference* to, osg::Vec3d& out) const;
    // To and from earth-centred metres.
    bool transformToWorld(const osg::Vec3d& in, osg::Vec3d& world) const;
    bool transformFromWorld(const osg::Vec3d& world, osg::Vec3d& out) const;

protected:
    ~SpatialReference() override;

private:
    struct Projection;
    explicit SpatialReference(std::string name);
    static osg::ref_ptr<SpatialReference> make(const std::string& definition);

    std::string m_name;
    Ellipsoid m_ellipsoid;
    bool m_projected = false;
    std::unique_ptr<Projection> m_projection;  // null for WGS 84 itself
};

}  // namespace globe
