// A feature in the scene.
#pragma once

#include <osg/Group>
#include <osg/Vec3d>
#include <osg/ref_ptr>

#include "globe/feature.h"
#include "globe/geometry_compiler_options.h"
#include "globe/ribbon_line.h"

namespace globe {

// Draws a feature by the symbols of a style: with a LineSymbol its line (of a polygon, its outline) at the
// points' own altitudes, with a PolygonSymbol the area of a polygon draped over the terrain. World
// coordinates; may hang anywhere where nothing moves it, inside the map or beside it. Changing it asks for no
// frame.
class FeatureNode : public osg::Group {
public:
    // Without symbols in `style` the feature's own style is taken.
    explicit FeatureNode(Feature* feature, const Style& style = Style(),
                         const GeometryCompilerOptions& options = GeometryCompilerOptions());

    Feature* getFeature() { return m_feature.get(); }
    const Style& getStyle() const { return m_style; }
    void setStyle(const Style& style);

    // The feature was changed: all is made anew.
    void dirty();

    // Adds a point to the end of the feature's line and to what is drawn of it. Costs the same however long
    // the line is; looks as if all had been made anew. For a line that grows while it is shown. On a polygon
    // it is dirty().
    void appendPoint(const osg::Vec3d& point);

protected:
    ~FeatureNode() override = default;

private:
    bool toGeodetic(const osg::Vec3d& point, Geodetic& out) const;
    void appendToLine(const Geodetic& place);
    void buildLine();
    void buildArea();

    osg::ref_ptr<Feature> m_feature;
    Style m_style;
    GeometryCompilerOptions m_options;
    osg::ref_ptr<RibbonLine> m_line;
    Geodetic m_last;  // the end of the line so far
    bool m_has_last = false;
};

}  // namespace globe
