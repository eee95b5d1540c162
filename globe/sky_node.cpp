#include "globe/sky_node.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <osg/BlendFunc>
#include <osg/Depth>
#include <osg/Geometry>
#include <osg/LightModel>
#include <osg/MatrixTransform>
#include <osgUtil/CullVisitor>

#include "globe/ellipsoid.h"
#include "globe/map_node.h"
#include "globe/sky_colors.h"

namespace globe {
namespace {

constexpr int kSegments = 96;
constexpr int kRings = 14;
constexpr int kSunCorners = 48;

osg::ref_ptr<osg::Geometry> makeGeometry(osg::Vec3Array* vertices, osg::Vec4Array* colors) {
    osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    geometry->setUseDisplayList(false);
    geometry->setUseVertexBufferObjects(false);
    geometry->setDataVariance(osg::Object::DYNAMIC);
    geometry->setCullingActive(false);
    geometry->setVertexArray(vertices);
    geometry->setColorArray(colors, osg::Array::BIND_PER_VERTEX);
    return geometry;
}

}  // namespace

// Rings of air around the limb of the earth as the eye sees it, or around the zenith from within the air, and
// the sun. Its vertices are directions from the eye; they are drawn first, without depth, so that their
// distance is free.
class SkyNode::Dome : public osg::MatrixTransform {
public:
    Dome() {
        setCullingActive(false);
        m_air = makeGeometry(m_air_vertices.get(), m_air_colors.get());
        m_sun = makeGeometry(m_sun_vertices.get(), m_sun_colors.get());
        m_air_vertices->resize((kSegments + 1) * kRings);
        m_air_colors->resize(m_air_vertices->size());
        m_sun_vertices->resize(kSunCorners + 2);
        m_sun_colors->resize(m_sun_vertices->size());
        m_sun->addPrimitiveSet(new osg::DrawArrays(GL_TRIANGLE_FAN, 0, kSunCorners + 2));
        for (int ring = 0; ring + 1 < kRings; ++ring) {
            osg::ref_ptr<osg::DrawElementsUShort> strip = new osg::DrawElementsUShort(GL_TRIANGLE_STRIP);
            for (int i = 0; i <= kSegments; ++i) {
                strip->push_back(static_cast<unsigned short>(ring * (kSegments + 1) + i));
                strip->push_back(static_cast<unsigned short>((ring + 1) * (kSegments + 1) + i));
            }
            m_air->addPrimitiveSet(strip);
        }
        addChild(m_sun);
        addChild(m_air);
        osg::StateSet* state = getOrCreateStateSet();
        state->setMode(GL_LIGHTING, osg::StateAttribute::OFF | osg::StateAttribute::PROTECTED);
        state->setMode(GL_CULL_FACE, osg::StateAttribute::OFF);
        state->setAttributeAndModes(new osg::BlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA));
        state->setAttributeAndModes(new osg::Depth(osg::Depth::ALWAYS, 0.0, 1.0, false),
                                    osg::StateAttribute::OFF);
        state->setRenderBinDetails(kSkyBin, "TraversalOrderBin");
    }

    void place(const osg::Vec3d& eye, const osg::Vec3d& sun, double distance_m) {
        // Nothing changes for an eye that stands still.
        if (eye == m_eye && sun == m_placed_sun && distance_m == m_distance) {
            return;
        }
        m_eye = eye;
        m_placed_sun = sun;
        m_distance = distance_m;
        setMatrix(osg::Matrixd::translate(eye));
        m_up = eye;
        m_up.normalize();
        m_side = m_up ^ (std::fabs(m_up.z()) < 0.9 ? osg::Vec3d(0.0, 0.0, 1.0) : osg::Vec3d(1.0, 0.0, 0.0));
        m_side.normalize();
        m_ahead = m_up ^ m_side;
        placeAir();
        placeSun();
    }
    void show(bool air, bool sun) {
        m_air->setNodeMask(air ? ~0u : 0u);
        m_sun->setNodeMask(sun ? ~0u : 0u);
    }

private:
    // Angles above the horizontal plane, from just below the limb up to where the air ends.
    std::array<double, kRings> ringAngles(double radius, double earth) const {
        std::array<double, kRings> angles{};
        const double limb = -std::acos(std::min(1.0, earth / radius));
        const double top = earth + kAirTop_m;
        const double end = radius > top ? -std::acos(top / radius) : kPi / 2.0;
        for (int ring = 0; ring < kRings; ++ring) {
            // Closer together near the limb, where the air is thick; the first one goes under it.
            const double part = static_cast<double>(ring - 1) / (kRings - 2);
            angles[static_cast<std::size_t>(ring)] =
                ring == 0 ? limb - 0.02 * (end - limb) - 1e-4 : limb + (end - limb) * part * std::fabs(part);
        }
        return angles;
    }

    void placeAir() {
        const double radius = m_eye.length();
        const Ellipsoid ellipsoid;
        const double height = ellipsoid.geocentricToGeodetic(m_eye).z();
        const double earth = radius - height;
        const auto angles = ringAngles(std::max(radius, earth + 1.0), earth);
        std::size_t at = 0;
        for (const double angle : angles) {
            for (int i = 0; i <= kSegments; ++i, ++at) {
                const double turn = 2.0 * kPi * i / kSegments;
                const osg::Vec3d level = m_side * std::cos(turn) + m_ahead * std::sin(turn);
                const osg::Vec3d direction = level * std::cos(angle) + m_up * std::sin(angle);
                // Where the line passes the ground, and how high.
                const double along = std::max(0.0, -(m_eye * direction));
                osg::Vec3d nearest = m_eye + direction * along;
                const double tangent = nearest.length() - earth;
                nearest.normalize();
                const SkyColor color = skyColor(height, toDegrees(angle), tangent, nearest * m_placed_sun);
                (*m_air_vertices)[at] = osg::Vec3f(direction * m_distance);
                (*m_air_colors)[at].set(
                    static_cast<float>(std::min(1.0, color.r)), static_cast<float>(std::min(1.0, color.g)),
                    static_cast<float>(std::min(1.0, color.b)), static_cast<float>(color.a));
            }
        }
        // The outermost ring ends in nothing from outside.
        for (std::size_t i = m_air_colors->size() - kSegments - 1;
             i < m_air_colors->size() && height > kAirTop_m; ++i) {
            (*m_air_colors)[i].a() = 0.0f;
        }
        m_air_vertices->dirty();
        m_air_colors->dirty();
        m_air->dirtyBound();
    }

    void placeSun() {
        constexpr double kGlow_rad = 0.03;
        osg::Vec3d side = m_placed_sun ^ osg::Vec3d(0.0, 0.0, 1.0);
        side.normalize();
        const osg::Vec3d up = side ^ m_placed_sun;
        (*m_sun_vertices)[0] = osg::Vec3f(m_placed_sun * m_distance);
        (*m_sun_colors)[0].set(1.0f, 1.0f, 0.95f, 1.0f);
        for (int i = 0; i <= kSunCorners; ++i) {
            const double turn = 2.0 * kPi * i / kSunCorners;
            const osg::Vec3d rim = m_placed_sun + (side * std::cos(turn) + up * std::sin(turn)) * kGlow_rad;
            (*m_sun_vertices)[static_cast<std::size_t>(i + 1)] = osg::Vec3f(rim * m_distance);
            (*m_sun_colors)[static_cast<std::size_t>(i + 1)].set(1.0f, 0.95f, 0.7f, 0.0f);
        }
        m_sun_vertices->dirty();
        m_sun_colors->dirty();
        m_sun->dirtyBound();
    }

    osg::ref_ptr<osg::Vec3Array> m_air_vertices = new osg::Vec3Array;
    osg::ref_ptr<osg::Vec4Array> m_air_colors = new osg::Vec4Array;
    osg::ref_ptr<osg::Vec3Array> m_sun_vertices = new osg::Vec3Array;
    osg::ref_ptr<osg::Vec4Array> m_sun_colors = new osg::Vec4Array;
    osg::ref_ptr<osg::Geometry> m_air;
    osg::ref_ptr<osg::Geometry> m_sun;
    osg::Vec3d m_eye, m_up, m_side, m_ahead;
    osg::Vec3d m_placed_sun;
    double m_distance = 0.0;
};

SkyOptions::SkyOptions(const Config& config) {
    double ambient = m_ambient;
    if (config.get("ambient", ambient)) {
        m_ambient = static_cast<float>(std::clamp(ambient, 0.0, 1.0));
    }
}

SkyNode* SkyNode::create(const SkyOptions& options) { return new SkyNode(options); }

SkyNode::SkyNode(const SkyOptions& options)
    : m_ephemeris(new Ephemeris), m_light(new osg::Light(0)), m_dome(new Dome) {
    setName("sky");
    const float ambient = options.ambient();
    m_light->setAmbient(osg::Vec4(ambient, ambient, ambient, 1.0f));
    m_light->setDiffuse(osg::Vec4(1.0f, 1.0f, 1.0f, 1.0f));
    m_light->setSpecular(osg::Vec4(0.0f, 0.0f, 0.0f, 1.0f));
    // The night has the sun's ambient light and no other.
    osg::ref_ptr<osg::LightModel> model = new osg::LightModel;
    model->setAmbientIntensity(osg::Vec4(0.0f, 0.0f, 0.0f, 1.0f));
    getOrCreateStateSet()->setAttributeAndModes(model);
    setDateTime(m_moment);
}

SkyNode::~SkyNode() = default;

void SkyNode::setEphemeris(Ephemeris* ephemeris) {
    if (ephemeris != nullptr) {
        m_ephemeris = ephemeris;
    }
}

void SkyNode::setDateTime(const DateTime& moment) {
    m_moment = moment;
    m_sun_direction = m_ephemeris->getSunPosition(moment).geocentric;
    m_sun_direction.normalize();
    m_light->setPosition(osg::Vec4(osg::Vec3f(m_sun_direction), 0.0f));
    m_light->setDirection(osg::Vec3f(-m_sun_direction));
}

void SkyNode::attach(osg::View* view, int light_number) {
    if (view == nullptr) {
        return;
    }
    m_light->setLightNum(light_number);
    getOrCreateStateSet()->setMode(static_cast<GLenum>(GL_LIGHT0 + light_number), osg::StateAttribute::ON);
    view->setLightingMode(osg::View::SKY_LIGHT);
    view->setLight(m_light.get());
}

void SkyNode::setLighting(bool on) {
    getOrCreateStateSet()->setMode(GL_LIGHTING, on ? osg::StateAttribute::ON : osg::StateAttribute::OFF);
}

void SkyNode::traverse(osg::NodeVisitor& visitor) {
    osgUtil::CullVisitor* cull = visitor.asCullVisitor();
    osg::Camera* camera = cull != nullptr ? cull->getCurrentCamera() : nullptr;
    // Only in the view itself: what others draw for their own ends has no sky.
    if (camera != nullptr && camera->getView() != nullptr && camera->getView()->getCamera() == camera) {
        cull->getCurrentRenderBin()->getStage()->setClearColor(osg::Vec4(0.0f, 0.0f, 0.015f, 1.0f));
        const osg::Vec3d eye = osg::Matrixd::inverse(*cull->getModelViewMatrix()).getTrans();
        const Ellipsoid ellipsoid;
        // Between the near and the far plane that the map node sets.
        const double height = std::max(1.0, ellipsoid.geocentricToGeodetic(eye).z());
        m_dome->place(eye, m_sun_direction, std::max(1000.0, height));
        m_dome->show(m_air_visible, m_sun_visible);
        m_dome->accept(visitor);
    }
    osg::Group::traverse(visitor);
}

}  // namespace globe
