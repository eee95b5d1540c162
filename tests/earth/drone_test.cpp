// The aircraft's model, loaded as the map loads it.
#include <gtest/gtest.h>
#include <osg/ComputeBoundsVisitor>
#include <osg/Geode>
#include <osg/Geometry>
#include <osg/Material>
#include <osg/TriangleIndexFunctor>
#include <osgDB/ReadFile>

#include <array>
#include <cmath>
#include <map>
#include <string>

namespace earth {
namespace {

osg::BoundingBox boundsOf(osg::Node& node) {
    osg::ComputeBoundsVisitor visitor;
    node.accept(visitor);
    return visitor.getBoundingBox();
}

class FindGeodes : public osg::NodeVisitor {
public:
    FindGeodes() : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN) {}
    void apply(osg::Geode& geode) override { found[geode.getName()] = &geode; }
    std::map<std::string, osg::Geode*> found;
};

struct Triangles {
    void operator()(unsigned a, unsigned b, unsigned c) { all.push_back({a, b, c}); }
    std::vector<std::array<unsigned, 3>> all;
};

class Drone : public testing::Test {
protected:
    void SetUp() override {
        m_node = osgDB::readRefNodeFile(std::string(EARTH_FOLDER) + "/drone.osgb");
        ASSERT_TRUE(m_node);
        m_node->accept(m_parts);
    }

    osg::ref_ptr<osg::Node> m_node;
    FindGeodes m_parts;
};

TEST_F(Drone, HasTrueSizeAndItsNoseToTheNorth) {
    const osg::BoundingBox box = boundsOf(*m_node);
    EXPECT_NEAR(box.xMax() - box.xMin(), 2.6, 0.1);
    EXPECT_NEAR(box.xMax() + box.xMin(), 0, 1e-3);
    EXPECT_NEAR(box.yMax() - box.yMin(), 1.9, 0.2);
    EXPECT_LT(box.zMax() - box.zMin(), 0.8);
    ASSERT_TRUE(m_parts.found.count("gimbal") && m_parts.found.count("propeller") &&
                m_parts.found.count("airframe"));
    // The camera hangs under the nose, the propeller pushes from behind.
    const osg::Vec3 camera = boundsOf(*m_parts.found["gimbal"]).center();
    EXPECT_GT(camera.y(), 0.4);
    EXPECT_LT(camera.z(), 0);
    EXPECT_LT(boundsOf(*m_parts.found["propeller"]).center().y(), -0.4);
}

TEST_F(Drone, NormalsAreUnitVectorsThatPointOutward) {
    std::size_t triangles = 0, outward = 0;
    for (const auto& [name, geode] : m_parts.found) {
        const osg::Geometry& g = *geode->getDrawable(0)->asGeometry();
        const auto& points = dynamic_cast<const osg::Vec3Array&>(*g.getVertexArray());
        const auto& normals = dynamic_cast<const osg::Vec3Array&>(*g.getNormalArray());
        ASSERT_EQ(points.size(), normals.size());
        for (const osg::Vec3& normal : normals) {
            ASSERT_NEAR(normal.length(), 1, 1e-3) << name;
        }
        osg::TriangleIndexFunctor<Triangles> functor;
        g.accept(functor);
        triangles += functor.all.size();
        for (const auto& [a, b, c] : functor.all) {
            const osg::Vec3 face = (points[b] - points[a]) ^ (points[c] - points[a]);
            outward += face * (normals[a] + normals[b] + normals[c]) >= 0;
        }
    }
    EXPECT_GE(triangles, 500u);
    EXPECT_LE(triangles, 3000u);
    EXPECT_GE(outward, triangles * 98 / 100);
    // Both agree with each other; that they face outward is seen at the camera's ball.
    const osg::Geometry& ball = *m_parts.found["gimbal"]->getDrawable(0)->asGeometry();
    const auto& points = dynamic_cast<const osg::Vec3Array&>(*ball.getVertexArray());
    const auto& normals = dynamic_cast<const osg::Vec3Array&>(*ball.getNormalArray());
    const osg::Vec3 centre = boundsOf(*m_parts.found["gimbal"]).center();
    for (std::size_t i = 0; i < points.size(); ++i) {
        EXPECT_GT((points[i] - centre) * normals[i], 0);
    }
    // The wing's highest point looks up.
    const osg::Geometry& frame = *m_parts.found["airframe"]->getDrawable(0)->asGeometry();
    const auto& skin = dynamic_cast<const osg::Vec3Array&>(*frame.getVertexArray());
    const auto& skin_normals = dynamic_cast<const osg::Vec3Array&>(*frame.getNormalArray());
    for (const double side : {-0.9, 0.9}) {
        std::size_t top = 0;
        for (std::size_t i = 0; i < skin.size(); ++i) {
            if (std::fabs(skin[i].x() - side) < 0.01 && (skin[i].z() > skin[top].z() || top == 0)) {
                top = i;
            }
        }
        EXPECT_GT(skin_normals[top].z(), 0.5) << side;
    }
}

// The map gives its marks a red material; the airframe takes it on.
TEST_F(Drone, OnlyTheFittingsHaveMaterials) {
    const auto material = [&](const char* part) {
        const osg::StateSet* state = m_parts.found[part]->getStateSet();
        return state && state->getAttribute(osg::StateAttribute::MATERIAL);
    };
    EXPECT_FALSE(material("airframe"));
    EXPECT_TRUE(material("gimbal"));
    EXPECT_TRUE(material("propeller"));
    EXPECT_FALSE(m_node->getStateSet()->getAttribute(osg::StateAttribute::MATERIAL));
}

TEST_F(Drone, ThePseudoLoaderMakesItTenTimesAsLarge) {
    const osg::ref_ptr<osg::Node> large =
        osgDB::readRefNodeFile(std::string(EARTH_FOLDER) + "/drone.osgb.10.scale");
    ASSERT_TRUE(large);
    const osg::BoundingBox a = boundsOf(*m_node), b = boundsOf(*large);
    EXPECT_NEAR((b.xMax() - b.xMin()) / (a.xMax() - a.xMin()), 10, 1e-3);
    EXPECT_NEAR(b.yMax() / a.yMax(), 10, 1e-3);
}

}  // namespace
}  // namespace earth
