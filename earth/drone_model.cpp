#include "earth/drone_model.h"

#include <osg/Geode>
#include <osg/Geometry>
#include <osg/Material>

#include <algorithm>
#include <cmath>
#include <vector>

namespace earth {
namespace {

constexpr double kPi = 3.14159265358979323846;

using Ring = std::vector<osg::Vec3d>;

// Surfaces between rings of equally many points, each ring closed, seen from outside counterclockwise.
class Mesh {
public:
    explicit Mesh(const char* name)
        : m_geometry(new osg::Geometry),
          m_vertices(new osg::Vec3Array),
          m_normals(new osg::Vec3Array),
          m_triangles(new osg::DrawElementsUShort(GL_TRIANGLES)) {
        m_geometry->setName(name);
    }

    void skin(const std::vector<Ring>& rings) {
        const auto first = static_cast<unsigned>(m_vertices->size());
        const auto columns = static_cast<unsigned>(rings[0].size());
        const auto rows = static_cast<unsigned>(rings.size());
        for (unsigned r = 0; r < rows; ++r) {
            for (unsigned c = 0; c < columns; ++c) {
                const osg::Vec3d along = rings[r + 1 < rows ? r + 1 : r][c] - rings[r > 0 ? r - 1 : r][c];
                const osg::Vec3d around = rings[r][(c + 1) % columns] - rings[r][(c + columns - 1) % columns];
                osg::Vec3d normal = around ^ along;
                if (normal.normalize() < 1e-9) {
                    normal = along;  // the tip of a closed body
                    normal.normalize();
                    normal = r == 0 ? -normal : normal;
                }
                m_vertices->push_back(osg::Vec3(rings[r][c]));
                m_normals->push_back(osg::Vec3(normal));
            }
        }
        for (unsigned r = 0; r + 1 < rows; ++r) {
            for (unsigned c = 0; c < columns; ++c) {
                const unsigned a = first + r * columns + c, b = first + r * columns + (c + 1) % columns;
                triangle(a, b, b + columns);
                triangle(a, b + columns, a + columns);
            }
        }
    }

    // Closes the end of a skin; `outward` is the direction that it faces.
    void cap(const Ring& ring, const osg::Vec3d& outward) {
        const auto first = static_cast<unsigned>(m_vertices->size());
        for (const osg::Vec3d& point : ring) {
            m_vertices->push_back(osg::Vec3(point));
            m_normals->push_back(osg::Vec3(outward));
        }
        const osg::Vec3d turn = (ring[1] - ring[0]) ^ (ring[ring.size() / 2] - ring[0]);
        const bool forward = turn * outward > 0;
        for (unsigned i = 1; i + 1 < ring.size(); ++i) {
            triangle(first, first + (forward ? i : i + 1), first + (forward ? i + 1 : i));
        }
    }

    osg::ref_ptr<osg::Geode> geode() const {
        m_geometry->setVertexArray(m_vertices);
        m_geometry->setNormalArray(m_normals, osg::Array::BIND_PER_VERTEX);
        m_geometry->addPrimitiveSet(m_triangles);
        m_geometry->setUseDisplayList(false);
        m_geometry->setUseVertexBufferObjects(true);
        osg::ref_ptr<osg::Geode> geode = new osg::Geode;
        geode->setName(m_geometry->getName());
        geode->addDrawable(m_geometry);
        return geode;
    }

private:
    void triangle(unsigned a, unsigned b, unsigned c) {
        for (const unsigned i : {a, b, c}) {
            m_triangles->push_back(static_cast<GLushort>(i));
        }
    }

    osg::ref_ptr<osg::Geometry> m_geometry;
    osg::ref_ptr<osg::Vec3Array> m_vertices, m_normals;
    osg::ref_ptr<osg::DrawElementsUShort> m_triangles;
};

struct Section {
    double y, half_width, half_height, z;
};

// A body along Y through elliptic sections, given from the tail to the nose.
void addBody(Mesh& mesh, const std::vector<Section>& sections, double x, int points) {
    std::vector<Ring> rings;
    for (const Section& s : sections) {
        Ring ring;
        for (int i = 0; i < points; ++i) {
            const double angle = 2 * kPi * i / points;
            ring.emplace_back(x + s.half_width * std::sin(angle), s.y, s.z + s.half_height * std::cos(angle));
        }
        rings.push_back(ring);
    }
    mesh.skin(rings);
}

// An aerofoil's outline in the plane of chord (from 0, the leading edge, to -1) and thickness.
struct ChordPoint {
    double back, up;
};
std::vector<ChordPoint> aerofoil(double thickness) {
    constexpr int kHalf = 9;
    const auto half_thickness = [thickness](double c) {
        return thickness * (1.4845 * std::sqrt(c) - 0.63 * c - 1.758 * c * c + 1.4215 * c * c * c -
                            0.5075 * c * c * c * c);
    };
    std::vector<ChordPoint> outline;
    for (int i = 0; i <= kHalf; ++i) {
        const double c = 0.5 * (1 - std::cos(kPi * i / kHalf));
        outline.push_back({c, half_thickness(c)});
    }
    for (int i = kHalf - 1; i > 0; --i) {
        const double c = 0.5 * (1 - std::cos(kPi * i / kHalf));
        outline.push_back({c, -half_thickness(c)});
    }
    return outline;
}

struct WingStation {
    osg::Vec3d leading_edge;
    double chord_m;
};

// A wing through stations; `up` is the direction of its upper side.
void addWing(Mesh& mesh, const std::vector<WingStation>& stations, const osg::Vec3d& up, double thickness) {
    const std::vector<ChordPoint> outline = aerofoil(thickness);
    std::vector<Ring> rings;
    for (const WingStation& s : stations) {
        Ring ring;
        for (const ChordPoint& p : outline) {
            ring.push_back(s.leading_edge + osg::Vec3d(0, -p.back * s.chord_m, 0) + up * (p.up * s.chord_m));
        }
        rings.push_back(ring);
    }
    osg::Vec3d outward = stations.back().leading_edge - stations.front().leading_edge;
    outward.y() = 0;
    outward.normalize();
    // Outlines run from the nose over the upper side; which way round that is depends on the side.
    if (((up ^ osg::Vec3d(0, 1, 0)) * outward) > 0) {
        for (Ring& ring : rings) {
            ring = Ring(ring.rbegin(), ring.rend());
        }
    }
    mesh.skin(rings);
    mesh.cap(rings.front(), -outward);
    mesh.cap(rings.back(), outward);
}

osg::ref_ptr<osg::Geode> airframe() {
    Mesh mesh("airframe");
    addBody(mesh,
            {{-0.52, 0.001, 0.001, 0.03},
             {-0.51, 0.035, 0.035, 0.03},
             {-0.40, 0.075, 0.075, 0.02},
             {-0.20, 0.110, 0.115, 0.01},
             {0.05, 0.120, 0.135, 0.01},
             {0.30, 0.120, 0.135, 0.00},
             {0.50, 0.110, 0.120, 0.00},
             {0.66, 0.088, 0.092, -0.01},
             {0.78, 0.058, 0.058, -0.02},
             {0.84, 0.030, 0.030, -0.02},
             {0.86, 0.001, 0.001, -0.02}},
            0, 22);
    for (const double side : {-1.0, 1.0}) {
        addWing(mesh,
                {{{side * 0.06, 0.28, 0.10}, 0.42},
                 {{side * 0.42, 0.26, 0.11}, 0.38},
                 {{side * 0.90, 0.19, 0.15}, 0.29},
                 {{side * 1.22, 0.11, 0.19}, 0.20},
                 {{side * 1.30, 0.05, 0.22}, 0.11}},
                {0, 0, 1}, 0.13);
        addBody(mesh,
                {{-1.06, 0.001, 0.001, 0.11},
                 {-1.05, 0.018, 0.018, 0.11},
                 {-0.60, 0.022, 0.022, 0.11},
                 {-0.10, 0.028, 0.028, 0.11},
                 {0.20, 0.026, 0.026, 0.11},
                 {0.28, 0.014, 0.014, 0.11},
                 {0.30, 0.001, 0.001, 0.11}},
                side * 0.42, 12);
        // Two halves of a tail that meet above the middle.
        const osg::Vec3d up(-side * std::sin(0.62), 0, std::cos(0.62));
        addWing(mesh,
                {{{side * 0.42, -0.80, 0.11}, 0.24},
                 {{side * 0.21, -0.85, 0.26}, 0.21},
                 {{0, -0.90, 0.41}, 0.18}},
                -up, 0.10);
    }
    return mesh.geode();
}

osg::ref_ptr<osg::Geode> propeller() {
    Mesh mesh("propeller");
    addBody(mesh, {{-0.60, 0.001, 0.001, 0.03}, {-0.585, 0.022, 0.022, 0.03}, {-0.51, 0.034, 0.034, 0.03}}, 0,
            12);
    for (const double side : {-1.0, 1.0}) {
        // Blades stand across the flight, a little turned.
        const osg::Vec3d up(0, 0.35, 0.94);
        addWing(mesh,
                {{{side * 0.02, -0.53, 0.03}, 0.035},
                 {{side * 0.14, -0.525, 0.03}, 0.05},
                 {{side * 0.27, -0.535, 0.03}, 0.025}},
                up, 0.18);
    }
    return mesh.geode();
}

osg::ref_ptr<osg::Geode> gimbal() {
    Mesh mesh("gimbal");
    constexpr int kRows = 9, kPoints = 16;
    constexpr double kRadius = 0.085;
    std::vector<Section> ball;
    for (int i = 0; i <= kRows; ++i) {
        const double angle = kPi * i / kRows;
        const double r = std::max(0.001, kRadius * std::sin(angle));
        ball.push_back({0.58 - kRadius * std::cos(angle), r, r, -0.15});
    }
    addBody(mesh, ball, 0, kPoints);
    return mesh.geode();
}

void paint(osg::Node& node, const osg::Vec4& colour, float shininess) {
    osg::ref_ptr<osg::Material> material = new osg::Material;
    material->setAmbient(osg::Material::FRONT_AND_BACK, colour * 0.4F);
    material->setDiffuse(osg::Material::FRONT_AND_BACK, colour);
    material->setSpecular(osg::Material::FRONT_AND_BACK, osg::Vec4(0.3F, 0.3F, 0.3F, 1));
    material->setShininess(osg::Material::FRONT_AND_BACK, shininess);
    node.getOrCreateStateSet()->setAttributeAndModes(material);
}

}  // namespace

osg::ref_ptr<osg::Group> makeDrone() {
    osg::ref_ptr<osg::Group> drone = new osg::Group;
    drone->setName("drone");
    drone->addChild(airframe());
    const osg::ref_ptr<osg::Geode> blades = propeller(), camera = gimbal();
    paint(*blades, {0.10F, 0.11F, 0.12F, 1}, 20);
    paint(*camera, {0.16F, 0.18F, 0.20F, 1}, 60);
    drone->addChild(blades);
    drone->addChild(camera);
    // Loaded ten times as large, normals have to be made unit vectors again.
    drone->getOrCreateStateSet()->setMode(GL_RESCALE_NORMAL, osg::StateAttribute::ON);
    return drone;
}

}  // namespace earth
