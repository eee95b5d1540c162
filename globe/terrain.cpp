#include "globe/terrain.h"

#include <cmath>
#include <osg/Camera>
#include <osg/View>
#include <osgViewer/View>
#include <utility>

namespace globe {
namespace {

// Beyond the other side of the earth from anywhere that the camera may stand.
constexpr double kReach_m = 1e9;

// The view's camera, with the point in its viewport's own frame (pixels, y up). Mouse coordinates are in the
// range and orientation of the view's event queue, as events hand them out; without a range they are taken as
// they are.
const osg::Camera* cameraUnder(osg::View* view, float x, float y, double& local_x, double& local_y) {
    const osg::Camera* camera = view != nullptr ? view->getCamera() : nullptr;
    auto* viewer = dynamic_cast<osgViewer::View*>(view);
    local_x = x;
    local_y = y;
    const osg::Viewport* viewport = camera != nullptr ? camera->getViewport() : nullptr;
    if (viewer == nullptr || viewport == nullptr) {
        return camera;
    }
    const osgGA::GUIEventAdapter* state = viewer->getEventQueue()->getCurrentEventState();
    const double range_x = static_cast<double>(state->getXmax()) - state->getXmin();
    const double range_y = static_cast<double>(state->getYmax()) - state->getYmin();
    // -1 .. 1 is what a queue starts with.
    if (range_x > 2.0 && range_y > 2.0) {
        const osg::GraphicsContext* context = camera->getGraphicsContext();
        const osg::GraphicsContext::Traits* traits = context != nullptr ? context->getTraits() : nullptr;
        const double width = traits != nullptr ? traits->width : viewport->width();
        const double height = traits != nullptr ? traits->height : viewport->height();
        local_x = (x - state->getXmin()) / range_x * width;
        local_y = (y - state->getYmin()) / range_y * height;
        if (state->getMouseYOrientation() == osgGA::GUIEventAdapter::Y_INCREASING_DOWNWARDS) {
            local_y = height - local_y;
        }
    }
    return camera;
}

}  // namespace

bool lineOfSight(osg::View* view, float mouse_x, float mouse_y, double reach_m, osg::Vec3d& eye,
                 osg::Vec3d& far) {
    double x = 0.0;
    double y = 0.0;
    const osg::Camera* camera = cameraUnder(view, mouse_x, mouse_y, x, y);
    const osg::Viewport* viewport = camera != nullptr ? camera->getViewport() : nullptr;
    if (viewport == nullptr || viewport->width() <= 0.0 || viewport->height() <= 0.0) {
        return false;
    }
    const osg::Matrixd& projection = camera->getProjectionMatrix();
    if (projection(2, 3) >= 0.0 || projection(0, 0) == 0.0 || projection(1, 1) == 0.0) {
        return false;
    }
    // By the side planes alone: near and far would cost all precision.
    const double across = 2.0 * (x - viewport->x()) / viewport->width() - 1.0;
    const double upward = 2.0 * (y - viewport->y()) / viewport->height() - 1.0;
    osg::Vec3d direction((across + projection(2, 0)) / projection(0, 0),
                         (upward + projection(2, 1)) / projection(1, 1), -1.0);
    const osg::Matrixd to_world = camera->getInverseViewMatrix();
    eye = to_world.getTrans();
    direction = osg::Matrixd::transform3x3(direction, to_world);
    direction.normalize();
    far = eye + direction * reach_m;
    return direction.valid() && direction.length2() > 0.0;
}

Terrain::Terrain(std::shared_ptr<const HeightSource> heights)
    : m_heights(std::move(heights)), m_srs(SpatialReference::get("wgs84")) {}

bool Terrain::getHeight(const SpatialReference* srs, double x, double y, double* height_m) const {
    osg::Vec3d place(x, y, 0.0);
    if (!std::isfinite(x) || !std::isfinite(y) || (srs != nullptr && !srs->transform(place, m_srs, place))) {
        return false;
    }
    *height_m = m_heights->heightAt(wrapLongitude(place.x()), place.y());
    return true;
}

bool Terrain::intersect(const osg::Vec3d& world_from, const osg::Vec3d& world_to, osg::Vec3d& hit) const {
    Xyz point;
    if (!world_from.valid() || !world_to.valid() ||
        !intersectGround(*m_heights, {world_from.x(), world_from.y(), world_from.z()},
                         {world_to.x(), world_to.y(), world_to.z()}, &point)) {
        return false;
    }
    hit.set(point.x, point.y, point.z);
    return true;
}

bool Terrain::getWorldCoordsUnderMouse(osg::View* view, float mouse_x, float mouse_y,
                                       osg::Vec3d& world) const {
    osg::Vec3d eye;
    osg::Vec3d far;
    return lineOfSight(view, mouse_x, mouse_y, kReach_m, eye, far) && intersect(eye, far, world);
}

}  // namespace globe
