#include "tests/globe/offscreen.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <osg/GraphicsContext>
#include <osgDB/WriteFile>
#include <thread>

namespace globe_test {
namespace {

using Vector = std::array<double, 3>;

constexpr double kFovY_deg = 30.0;

double rad(double degrees) { return degrees * M_PI / 180.0; }

// The ellipsoid once more, by its own formula.
Vector placeOf(double lon, double lat, double alt) {
    const double a = 6378137.0;
    const double b = 6356752.314245179;
    const double n = a * a / std::hypot(a * std::cos(rad(lat)), b * std::sin(rad(lat)));
    return {(n + alt) * std::cos(rad(lat)) * std::cos(rad(lon)),
            (n + alt) * std::cos(rad(lat)) * std::sin(rad(lon)),
            (n * b * b / (a * a) + alt) * std::sin(rad(lat))};
}

double dot(const Vector& p, const Vector& q) { return p[0] * q[0] + p[1] * q[1] + p[2] * q[2]; }

struct Axes {
    Vector eye, right, up, back;
};

Axes axesOf(const Pose& pose) {
    const double lon = rad(pose.lon);
    const double lat = rad(pose.lat);
    const Vector east = {-std::sin(lon), std::cos(lon), 0.0};
    const Vector north = {-std::sin(lat) * std::cos(lon), -std::sin(lat) * std::sin(lon), std::cos(lat)};
    const Vector zenith = {std::cos(lat) * std::cos(lon), std::cos(lat) * std::sin(lon), std::sin(lat)};
    const double sin_h = std::sin(rad(pose.heading_deg));
    const double cos_h = std::cos(rad(pose.heading_deg));
    const double sin_p = std::sin(rad(pose.pitch_deg));
    const double cos_p = std::cos(rad(pose.pitch_deg));
    Axes axes{};
    const Vector focus = placeOf(pose.lon, pose.lat, 0.0);
    for (std::size_t i = 0; i < 3; ++i) {
        const double ahead = east[i] * sin_h + north[i] * cos_h;
        const double look = ahead * cos_p + zenith[i] * sin_p;
        axes.back[i] = -look;
        axes.right[i] = east[i] * cos_h - north[i] * sin_h;
        axes.up[i] = -ahead * sin_p + zenith[i] * cos_p;
        axes.eye[i] = focus[i] - look * pose.range_m;
    }
    return axes;
}

}  // namespace

Offscreen::Offscreen(int width, int height, bool window)
    : m_width(width), m_height(height), m_viewer(new osgViewer::Viewer), m_image(new osg::Image) {
    osg::ref_ptr<osg::GraphicsContext::Traits> traits = new osg::GraphicsContext::Traits;
    traits->readDISPLAY();
    traits->setUndefinedScreenDetailsToDefaultScreen();
    traits->width = width;
    traits->height = height;
    traits->pbuffer = !window;
    traits->doubleBuffer = window;
    traits->windowDecoration = false;
    traits->depth = 24;
    traits->stencil = 8;
    const osg::ref_ptr<osg::GraphicsContext> context =
        osg::GraphicsContext::createGraphicsContext(traits.get());
    m_works = context.valid();
    m_viewer->setThreadingModel(osgViewer::ViewerBase::SingleThreaded);
    osg::Camera* camera = m_viewer->getCamera();
    camera->setGraphicsContext(context.get());
    camera->setViewport(0, 0, width, height);
    camera->setProjectionMatrixAsPerspective(kFovY_deg, static_cast<double>(width) / height, 1.0, 10000.0);
    camera->setClearColor(osg::Vec4(0.0f, 0.0f, 0.0f, 1.0f));
    camera->setProjectionResizePolicy(osg::Camera::FIXED);
    const GLenum buffer = window ? GL_BACK : GL_FRONT;
    camera->setDrawBuffer(buffer);
    camera->setReadBuffer(buffer);
    if (window) {
        m_viewer->setRunFrameScheme(osgViewer::ViewerBase::ON_DEMAND);
    }
    m_viewer->getEventQueue()->getCurrentEventState()->setInputRange(0.0f, 0.0f, static_cast<float>(width),
                                                                     static_cast<float>(height));
    m_viewer->getEventQueue()->getCurrentEventState()->setMouseYOrientation(
        osgGA::GUIEventAdapter::Y_INCREASING_DOWNWARDS);
    camera->attach(osg::Camera::COLOR_BUFFER, m_image.get());
    m_image->allocateImage(width, height, 1, GL_RGB, GL_UNSIGNED_BYTE);
}

void Offscreen::show(osg::Node* scene) { m_viewer->setSceneData(scene); }

void Offscreen::look(const Pose& pose) {
    const Axes axes = axesOf(pose);
    const auto vector = [](const Vector& v) { return osg::Vec3d(v[0], v[1], v[2]); };
    const osg::Vec3d eye = vector(axes.eye);
    m_viewer->getCamera()->setViewMatrixAsLookAt(eye, eye - vector(axes.back), vector(axes.up));
}

void Offscreen::frame() { m_viewer->frame(); }

bool Offscreen::settle(globe::MapNode* map, int limit_ms) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(limit_ms);
    int calm = 0;
    while (calm < 2) {
        m_viewer->frame();
        calm = map->isLoading() ? 0 : calm + 1;
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        if (calm == 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(3));
        }
    }
    return true;
}

bool Offscreen::groundUnder(globe::MapNode* map, double x, double y, osg::Vec3d& lon_lat_alt) {
    osg::Vec3d world;
    if (!map->getTerrain()->getWorldCoordsUnderMouse(m_viewer.get(), static_cast<float>(x),
                                                     static_cast<float>(y), world)) {
        return false;
    }
    lon_lat_alt = map->getMapSRS()->getEllipsoid().geocentricToGeodetic(world);
    return true;
}

Pixel Offscreen::at(int x, int y) const {
    const unsigned char* texel =
        m_image->data(static_cast<unsigned int>(x), static_cast<unsigned int>(m_height - 1 - y));
    return {texel[0], texel[1], texel[2]};
}

Spot Offscreen::expected(const Pose& pose, double lon, double lat, double alt) const {
    const Axes axes = axesOf(pose);
    const Vector place = placeOf(lon, lat, alt);
    const Vector way = {place[0] - axes.eye[0], place[1] - axes.eye[1], place[2] - axes.eye[2]};
    const double depth = -dot(way, axes.back);
    const double scale = 0.5 * m_height / std::tan(rad(kFovY_deg / 2.0));
    return {0.5 * m_width + scale * dot(way, axes.right) / depth,
            0.5 * m_height - scale * dot(way, axes.up) / depth, depth > 0.0};
}

void Offscreen::save(const char* path) const {
    osg::ref_ptr<osg::Image> copy = new osg::Image(*m_image);
    osgDB::writeImageFile(*copy, path);
}

}  // namespace globe_test
