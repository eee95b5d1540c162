// A scene drawn without a window, and where things in it have to stand by a reckoning of its own.
#pragma once

#include <GL/gl.h>

#include <array>
#include <cmath>
#include <osg/Group>
#include <osg/Image>
#include <osgViewer/Viewer>
#include <stdexcept>

#include "globe/ellipsoid.h"

namespace globe {

using Rgb = std::array<int, 3>;

// Reads the picture as it has been drawn, before the buffers are swapped.
struct ReadPicture : public osg::Camera::DrawCallback {
    explicit ReadPicture(osg::Image* into) : image(into) {}
    void operator()(osg::RenderInfo& info) const override {
        const osg::Viewport* viewport = info.getCurrentCamera()->getViewport();
        image->readPixels(0, 0, static_cast<int>(viewport->width()), static_cast<int>(viewport->height()),
                          GL_RGB, GL_UNSIGNED_BYTE);
    }
    osg::ref_ptr<osg::Image> image;
};

class MarksScene {
public:
    static constexpr double kFieldOfView_deg = 30.0;

    explicit MarksScene(int width = 640, int height = 480, int stencil_bits = 8)
        : m_width(width), m_height(height) {
        osg::ref_ptr<osg::GraphicsContext::Traits> traits = new osg::GraphicsContext::Traits;
        traits->readDISPLAY();
        traits->setUndefinedScreenDetailsToDefaultScreen();
        traits->width = width;
        traits->height = height;
        traits->pbuffer = true;
        traits->depth = 24;
        traits->stencil = static_cast<unsigned>(stencil_bits);
        m_context = osg::GraphicsContext::createGraphicsContext(traits);
        if (!m_context) {
            throw std::runtime_error("no graphics context: run under scripts/with_display");
        }
        m_viewer = new osgViewer::Viewer;
        m_viewer->setThreadingModel(osgViewer::ViewerBase::SingleThreaded);
        osg::Camera* camera = m_viewer->getCamera();
        camera->setGraphicsContext(m_context);
        camera->setViewport(0, 0, width, height);
        camera->setClearColor(osg::Vec4(0.0f, 0.0f, 0.2f, 1.0f));
        camera->setComputeNearFarMode(osg::CullSettings::DO_NOT_COMPUTE_NEAR_FAR);
        camera->setFinalDrawCallback(new ReadPicture(m_image));
        m_viewer->setLightingMode(osg::View::NO_LIGHT);
        m_viewer->setSceneData(m_root);
        m_viewer->realize();
    }

    osg::Group* root() { return m_root; }
    osgViewer::Viewer* viewer() { return m_viewer; }
    int width() const { return m_width; }
    int height() const { return m_height; }
    const osg::Vec3d& eye() const { return m_eye; }

    // World coordinates.
    void look(const osg::Vec3d& eye, const osg::Vec3d& at, const osg::Vec3d& up, double near_m,
              double far_m) {
        m_eye = eye;
        m_forward = at - eye;
        m_forward.normalize();
        m_right = m_forward ^ up;
        m_right.normalize();
        m_up = m_right ^ m_forward;
        m_viewer->getCamera()->setViewMatrixAsLookAt(eye, at, up);
        m_viewer->getCamera()->setProjectionMatrixAsPerspective(kFieldOfView_deg, double(m_width) / m_height,
                                                                near_m, far_m);
    }

    // From `range_m` off a place, at a pitch below the level (90: from above) and towards a heading.
    void lookAtPlace(double lon, double lat, double alt, double range_m, double pitch_deg, double heading_deg,
                     double near_m, double far_m) {
        const Ellipsoid earth;
        const osg::Vec3d at = earth.geodeticToGeocentric(lon, lat, alt);
        const osg::Matrixd frame = earth.localToWorld(at);
        const double pitch = toRadians(pitch_deg);
        const double heading = toRadians(heading_deg);
        const osg::Vec3d level(std::sin(heading), std::cos(heading), 0.0);
        const osg::Vec3d away = level * -std::cos(pitch) + osg::Vec3d(0, 0, std::sin(pitch));
        const osg::Vec3d up = level * std::sin(pitch) + osg::Vec3d(0, 0, std::cos(pitch));
        look(at + osg::Matrixd::transform3x3(away, frame) * range_m, at,
             osg::Matrixd::transform3x3(up, frame), near_m, far_m);
    }

    const osg::Image& draw() {
        m_viewer->frame();
        return *m_image;
    }

    Rgb pixel(int x, int y) const {
        if (x < 0 || y < 0 || x >= m_width || y >= m_height) {
            return {-1, -1, -1};
        }
        const unsigned char* data = m_image->data(static_cast<unsigned>(x), static_cast<unsigned>(y));
        return {data[0], data[1], data[2]};
    }

    // The direction of sight through a point of the picture, in pixels from its lower left corner.
    osg::Vec3d sight(double x, double y) const {
        const double half = std::tan(toRadians(kFieldOfView_deg) * 0.5);
        osg::Vec3d way = m_forward + m_right * ((2.0 * x / m_width - 1.0) * half * m_width / m_height) +
                         m_up * ((2.0 * y / m_height - 1.0) * half);
        way.normalize();
        return way;
    }

    // Where a point stands in the picture; false behind the eye.
    bool project(const osg::Vec3d& world, double& x, double& y) const {
        const osg::Vec3d to = world - m_eye;
        const double depth = to * m_forward;
        const double scale = m_height * 0.5 / std::tan(toRadians(kFieldOfView_deg) * 0.5);
        x = m_width * 0.5 + to * m_right / depth * scale;
        y = m_height * 0.5 + to * m_up / depth * scale;
        return depth > 0.0;
    }

    // Metres a pixel at a distance.
    double pixelAt(double distance_m) const {
        return distance_m * 2.0 * std::tan(toRadians(kFieldOfView_deg) * 0.5) / m_height;
    }

private:
    int m_width;
    int m_height;
    osg::Vec3d m_eye, m_forward, m_right, m_up;
    osg::ref_ptr<osg::Group> m_root = new osg::Group;
    osg::ref_ptr<osg::Image> m_image = new osg::Image;
    osg::ref_ptr<osg::GraphicsContext> m_context;
    osg::ref_ptr<osgViewer::Viewer> m_viewer;
};

inline bool isNear(const Rgb& a, const Rgb& b, int tolerance) {
    return std::abs(a[0] - b[0]) <= tolerance && std::abs(a[1] - b[1]) <= tolerance &&
           std::abs(a[2] - b[2]) <= tolerance;
}

inline bool isRed(const Rgb& p) { return p[0] > 150 && p[1] < 80 && p[2] < 80; }

}  // namespace globe
