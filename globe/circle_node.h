// A circle on the ground.
#pragma once

#include <osg/Group>

#include "globe/geo_point.h"
#include "globe/style.h"

namespace globe {

// A disc, sector or segment of one, draped over the terrain in the fill of the style's PolygonSymbol. Without
// that symbol, with a radius of 0 or with figures that are not finite it shows nothing.
class CircleNode : public osg::Group {
public:
    CircleNode() = default;

    // The arc goes clockwise from `arc_start_deg` to `arc_end_deg`, from north; 360 degrees or more are the
    // whole disc. `pie` joins the arc's ends through the centre, otherwise they are joined straight.
    void set(const GeoPoint& center, double radius_m, const Style& style, double arc_start_deg = 0.0,
             double arc_end_deg = 360.0, bool pie = false);

    const GeoPoint& getPosition() const { return m_center; }
    double getRadius() const { return m_radius_m; }

protected:
    ~CircleNode() override = default;

private:
    GeoPoint m_center;
    double m_radius_m = 0.0;
};

}  // namespace globe
