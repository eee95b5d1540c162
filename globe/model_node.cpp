#include "globe/model_node.h"

#include <osgUtil/CullVisitor>

#include "globe/asset_cache.h"
#include "globe/mark_state.h"
#include "globe/model_symbol.h"

namespace globe {

ModelNode::ModelNode(MapNode* map_node, const Style& style) : m_transform(new osg::MatrixTransform) {
    m_anchor.setMapNode(map_node);
    setCullingActive(false);
    // Scaled models have normals that are too long.
    m_transform->getOrCreateStateSet()->setMode(GL_NORMALIZE, osg::StateAttribute::ON);
    if (const auto* symbol = style.get<ModelSymbol>()) {
        m_scale = symbol->scale();
        if (const osg::ref_ptr<osg::Node> model = cachedModel(symbol->url())) {
            m_transform->addChild(model);
        }
    }
    addChild(m_transform);
}

void ModelNode::setPosition(const GeoPoint& position) {
    m_anchor.setPosition(position);
    place();
}

void ModelNode::setLocalRotation(const osg::Quat& rotation) {
    m_rotation = rotation;
    place();
}

void ModelNode::place() {
    osg::Matrixd frame;
    m_placed = m_anchor.localToWorld(frame);
    if (m_placed) {
        m_transform->setMatrix(osg::Matrixd::scale(m_scale, m_scale, m_scale) *
                               osg::Matrixd::rotate(m_rotation) * frame);
    }
}

void ModelNode::traverse(osg::NodeVisitor& visitor) {
    osgUtil::CullVisitor* cull = visitor.asCullVisitor();
    if (cull == nullptr) {
        osg::Group::traverse(visitor);
        return;
    }
    if (m_anchor.isOnTerrain()) {
        m_anchor.findMapNode(visitor.getNodePath());
        place();
    }
    if (m_placed) {
        const SmallThingsShown all(*cull);
        osg::Group::traverse(visitor);
    }
}

}  // namespace globe
