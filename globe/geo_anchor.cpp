#include "globe/geo_anchor.h"

namespace globe {

void GeoAnchor::findMapNode(const osg::NodePath& path) {
    if (!isOnTerrain() || m_map_node.valid()) {
        return;
    }
    for (auto node = path.rbegin(); node != path.rend() && !m_map_node.valid(); ++node) {
        m_map_node = dynamic_cast<MapNode*>(*node);
    }
    // A scene without a map would be searched by every mark in every frame.
    constexpr unsigned kFramesBetweenSearches = 64;
    if (!m_map_node.valid() && !path.empty() && m_misses++ % kFramesBetweenSearches == 0) {
        m_map_node = MapNode::findMapNode(path.front());
    }
}

bool GeoAnchor::toWorld(osg::Vec3d& world) const { return m_position.toWorld(world, terrain()); }

bool GeoAnchor::localToWorld(osg::Matrixd& matrix) const {
    return m_position.createLocalToWorld(matrix, terrain());
}

const Terrain* GeoAnchor::terrain() const { return m_map_node.valid() ? m_map_node->getTerrain() : nullptr; }

}  // namespace globe
