#include "globe/sight.h"

#include <osg/Transform>
#include <osgUtil/IntersectionVisitor>
#include <osgUtil/LineSegmentIntersector>

#include "globe/drape_node.h"
#include "globe/map_node.h"
#include "globe/place_node.h"
#include "globe/terrain_engine.h"

namespace globe {
namespace {

// Beyond the other side of the earth from anywhere that the camera may stand.
constexpr double kReach_m = 1e9;

// The ground is asked by numbers, which is exact and costs no triangle; the walls around draped shapes and
// the quads of marks, which are drawn in pixels, stand nowhere in the world.
bool hasBody(const osg::Node& node) {
    return dynamic_cast<const TerrainEngine*>(&node) == nullptr &&
           dynamic_cast<const DrapeNode*>(&node) == nullptr &&
           dynamic_cast<const PlaceNode*>(&node) == nullptr;
}

class Bodies : public osgUtil::IntersectionVisitor {
public:
    explicit Bodies(osgUtil::Intersector* line) : osgUtil::IntersectionVisitor(line) {
        setTraversalMask(~0u);
    }
    using osgUtil::IntersectionVisitor::apply;
    void apply(osg::Node& node) override {
        if (hasBody(node)) {
            osgUtil::IntersectionVisitor::apply(node);
        }
    }
    void apply(osg::Group& node) override {
        if (hasBody(node)) {
            osgUtil::IntersectionVisitor::apply(node);
        }
    }
    void apply(osg::Transform& node) override {
        if (hasBody(node)) {
            osgUtil::IntersectionVisitor::apply(node);
        }
    }
};

}  // namespace

bool firstSeen(MapNode& map, osg::View* view, float mouse_x, float mouse_y, osg::Vec3d& world) {
    osg::Vec3d eye;
    osg::Vec3d end;
    if (!lineOfSight(view, mouse_x, mouse_y, kReach_m, eye, end)) {
        return false;
    }
    osg::Vec3d ground;
    const bool on_ground = map.getTerrain()->intersect(eye, end, ground);
    const osg::ref_ptr<osgUtil::LineSegmentIntersector> line =
        new osgUtil::LineSegmentIntersector(eye, on_ground ? ground : end);
    line->setIntersectionLimit(osgUtil::Intersector::LIMIT_NEAREST);
    Bodies bodies(line);
    map.accept(bodies);
    if (line->containsIntersections()) {
        world = line->getFirstIntersection().getWorldIntersectPoint();
        return true;
    }
    world = ground;
    return on_ground;
}

}  // namespace globe
