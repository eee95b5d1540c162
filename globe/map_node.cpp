#include "globe/map_node.h"

#include <chrono>
#include <osg/CullFace>
#include <osg/Material>
#include <osg/NodeVisitor>
#include <osg/TexEnv>
#include <osgUtil/CullVisitor>

#include "globe/layer_stack.h"
#include "globe/near_far.h"
#include "globe/terrain_engine.h"

namespace globe {
namespace {

class FindMapNode : public osg::NodeVisitor {
public:
    FindMapNode() : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN) { setNodeMaskOverride(~0u); }
    void apply(osg::Node& node) override {
        if (found == nullptr) {
            found = dynamic_cast<MapNode*>(&node);
        }
        if (found == nullptr) {
            traverse(node);
        }
    }
    MapNode* found = nullptr;
};

// Puts the planes in place of those that the cull visitor found.
class FixedPlanes : public osg::CullSettings::ClampProjectionMatrixCallback {
public:
    explicit FixedPlanes(const NearFar& planes) : m_planes(planes) {}
    bool clampProjectionMatrixImplementation(osg::Matrixf& projection, double& znear,
                                             double& zfar) const override {
        osg::Matrixd exact(projection);
        const bool set = clampProjectionMatrixImplementation(exact, znear, zfar);
        projection = exact;
        return set;
    }
    bool clampProjectionMatrixImplementation(osg::Matrixd& projection, double& znear,
                                             double& zfar) const override {
        if (projection(2, 3) >= 0.0) {
            return false;
        }
        znear = m_planes.near_m;
        zfar = m_planes.far_m;
        projection(2, 2) = -(zfar + znear) / (zfar - znear);
        projection(3, 2) = -2.0 * zfar * znear / (zfar - znear);
        return true;
    }

private:
    NearFar m_planes;
};

osg::ref_ptr<osg::StateSet> makeTerrainState() {
    osg::ref_ptr<osg::StateSet> state = new osg::StateSet;
    osg::ref_ptr<osg::Material> ground = new osg::Material;
    ground->setAmbient(osg::Material::FRONT_AND_BACK, osg::Vec4(1.0f, 1.0f, 1.0f, 1.0f));
    ground->setDiffuse(osg::Material::FRONT_AND_BACK, osg::Vec4(1.0f, 1.0f, 1.0f, 1.0f));
    ground->setSpecular(osg::Material::FRONT_AND_BACK, osg::Vec4(0.0f, 0.0f, 0.0f, 1.0f));
    state->setAttributeAndModes(ground);
    state->setAttributeAndModes(new osg::CullFace(osg::CullFace::BACK));
    state->setTextureAttributeAndModes(0, new osg::TexEnv(osg::TexEnv::MODULATE));
    state->setRenderBinDetails(kTerrainBin, "TraversalOrderBin");
    return state;
}

}  // namespace

osg::ref_ptr<MapNode> MapNode::createEmpty(const std::string& problem) {
    EarthModel model;
    if (!problem.empty()) {
        model.problems.push_back(problem);
    }
    return new MapNode(new Map(std::make_shared<LayerStack>(std::move(model))));
}

MapNode::MapNode(Map* map)
    : m_map(map), m_engine(new TerrainEngine(map->layers())), m_drape_group(new osg::Group) {
    setName("MapNode");
    m_terrain = new Terrain(m_engine->heights());
    m_drape_group->setName("draped");
    m_engine->setStateSet(makeTerrainState().get());
    addChild(m_engine);
    addChild(m_drape_group);
}

MapNode::~MapNode() = default;

MapNode* MapNode::findMapNode(osg::Node* node) {
    FindMapNode visitor;
    if (node != nullptr) {
        node->accept(visitor);
    }
    return visitor.found;
}

std::vector<std::string> MapNode::problems() const { return m_map->layers()->problems(); }

std::uint64_t MapNode::problemsRevision() const { return m_map->layers()->problemsRevision(); }

bool MapNode::isLoading() const { return m_engine->isLoading(); }

void MapNode::setMemoryLimit(std::size_t bytes) { m_engine->setMemoryLimit(bytes); }

// Not before it is drawn: data sets that nobody looks at need not be open.
void MapNode::loadRoots() {
    constexpr std::chrono::milliseconds kPatience(150);
    if (!m_begun && !m_map->layers()->layers().empty()) {
        m_engine->loadRoots(kPatience);
    }
    m_begun = true;
}

void MapNode::traverse(osg::NodeVisitor& visitor) {
    if (auto* cull = visitor.asCullVisitor()) {
        loadRoots();
        const osg::Vec3d eye = osg::Vec3d(0.0, 0.0, 0.0) * osg::Matrixd::inverse(*cull->getModelViewMatrix());
        const osg::Vec3d place = getMapSRS()->getEllipsoid().geocentricToGeodetic(eye);
        double ground = 0.0;
        m_terrain->getHeight(getMapSRS(), place.x(), place.y(), &ground);
        cull->setClampProjectionMatrixCallback(new FixedPlanes(nearFarFor(eye, ground)));
    }
    osg::Group::traverse(visitor);
}

}  // namespace globe
