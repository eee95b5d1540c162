// A model with its place on the earth.
#pragma once

#include <osg/MatrixTransform>
#include <osg/Quat>

#include "globe/geo_anchor.h"
#include "globe/geo_point.h"
#include "globe/style.h"

namespace globe {

// Stands with x east, y north and z up, in metres. The model is that of the style's ModelSymbol, read once in
// a process and shared; where it cannot be read, nothing is shown. It is drawn however small it is.
class ModelNode : public osg::Group {
public:
    // `map_node` gives the ground for relative heights; null: the map of the scene.
    ModelNode(MapNode* map_node, const Style& style);

    // An invalid position shows nothing.
    void setPosition(const GeoPoint& position);
    const GeoPoint& getPosition() const { return m_anchor.getPosition(); }
    // About the model's own axes, before it is put in its place.
    void setLocalRotation(const osg::Quat& rotation);
    const osg::Quat& getLocalRotation() const { return m_rotation; }

    void traverse(osg::NodeVisitor& visitor) override;

protected:
    ~ModelNode() override = default;

private:
    void place();

    GeoAnchor m_anchor;
    osg::Quat m_rotation;
    double m_scale = 1.0;
    bool m_placed = false;
    osg::ref_ptr<osg::MatrixTransform> m_transform;
};

}  // namespace globe
