// A shape with its place on the earth.
#pragma once

#include <osg/Referenced>
#include <osg/ref_ptr>
#include <vector>

#include "globe/feature_geometry.h"
#include "globe/geo_interpolation.h"
#include "globe/spatial_reference.h"
#include "globe/style.h"

namespace globe {

class Feature : public osg::Referenced {
public:
    // Without a reference the points are longitude, latitude and altitude on WGS 84.
    Feature(Geometry* geometry, const SpatialReference* srs, const Style& style = Style())
        : m_geometry(geometry), m_srs(srs), m_style(style) {}

    Geometry* getGeometry() { return m_geometry.get(); }
    const Geometry* getGeometry() const { return m_geometry.get(); }
    const SpatialReference* getSRS() const { return m_srs; }
    // What a node without a style of its own takes.
    Style& style() { return m_style; }
    const Style& style() const { return m_style; }
    // The way between two points.
    GeoInterpolation& geoInterp() { return m_interpolation; }
    GeoInterpolation geoInterp() const { return m_interpolation; }

protected:
    ~Feature() override = default;

private:
    osg::ref_ptr<Geometry> m_geometry;
    const SpatialReference* m_srs;
    Style m_style;
    GeoInterpolation m_interpolation = GEOINTERP_GREAT_CIRCLE;
};

}  // namespace globe
