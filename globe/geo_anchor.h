// Where on the globe something is fixed.
#pragma once

#include <osg/Matrixd>
#include <osg/Node>
#include <osg/Vec3d>
#include <osg/observer_ptr>

#include "globe/geo_point.h"
#include "globe/map_node.h"

namespace globe {

// A point whose height may count from the terrain. The terrain is that of a given map node, or of the one
// found in the scene that is being drawn.
class GeoAnchor {
public:
    void setMapNode(MapNode* map_node) { m_map_node = map_node; }
    void setPosition(const GeoPoint& position) { m_position = position; }
    const GeoPoint& getPosition() const { return m_position; }
    // Moves when better heights come in.
    bool isOnTerrain() const { return m_position.altitudeMode() == ALTMODE_RELATIVE; }

    // Looks for the map above and below the nodes of the path, if it is needed and not known.
    void findMapNode(const osg::NodePath& path);
    bool toWorld(osg::Vec3d& world) const;
    bool localToWorld(osg::Matrixd& matrix) const;

private:
    const Terrain* terrain() const;

    GeoPoint m_position;
    osg::observer_ptr<MapNode> m_map_node;
    unsigned m_misses = 0;
};

}  // namespace globe
