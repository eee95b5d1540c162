#include "globe/earth_manipulator.h"

#include <algorithm>
#include <cmath>
#include <osg/Camera>

namespace globe {
namespace {

// The view of the whole earth from which a session starts.
constexpr double kHomeLongitude = -90.0;
constexpr double kHomeRanges = 3.0;  // in radii of the earth
constexpr double kTurnOverWindow_deg = 180.0;
constexpr double kArrowStep = 0.1;
// A hand that clicks moves the mouse by this many points.
constexpr double kClickJitter_px = 3.0;
constexpr double kOnGround_m = 5.0;

OrbitPose homePose() {
    OrbitPose pose;
    pose.lon = kHomeLongitude;
    pose.range = kHomeRanges * kEquatorRadius_m;
    return pose;
}

osg::Vec2d cursorOf(const osgGA::GUIEventAdapter& event) {
    return {event.getXnormalized(), event.getYnormalized()};
}

bool isPointer(osgGA::GUIEventAdapter::EventType type) {
    return (type & (osgGA::GUIEventAdapter::PUSH | osgGA::GUIEventAdapter::DOUBLECLICK |
                    osgGA::GUIEventAdapter::RELEASE | osgGA::GUIEventAdapter::DRAG |
                    osgGA::GUIEventAdapter::MOVE | osgGA::GUIEventAdapter::SCROLL)) != 0;
}

}  // namespace

void EarthManipulator::Settings::setMinMaxPitch(double min_deg, double max_deg) {
    m_min_pitch = std::clamp(min_deg, -90.0, 0.0);
    m_max_pitch = std::clamp(max_deg, m_min_pitch, 0.0);
}

EarthManipulator::EarthManipulator()
    : m_settings(new Settings), m_bare_terrain(new Terrain), m_pose(homePose()) {}

EarthManipulator::~EarthManipulator() = default;

void EarthManipulator::setNode(osg::Node* node) {
    if (node != nullptr && m_node.valid()) {
        return;
    }
    m_node = node;
    m_map_node = MapNode::findMapNode(node);
}

const Terrain& EarthManipulator::terrain() const {
    return m_map_node.valid() ? *m_map_node->getTerrain() : *m_bare_terrain;
}

void EarthManipulator::setByMatrix(const osg::Matrixd& eye_to_world) {
    cancelViewpointTransition();
    const EyeFrame frame = eyeFrameFrom(eye_to_world);
    osg::Vec3d focal;
    const osg::Vec3d far = frame.eye + frame.look * (frame.eye.length() + 2.0 * kEquatorRadius_m);
    if (!terrain().intersect(frame.eye, far, focal)) {
        focal = frame.eye + frame.look * m_pose.range;
    }
    m_pose = poseAbout(frame, focal);
}

void EarthManipulator::setByInverseMatrix(const osg::Matrixd& world_to_eye) {
    setByMatrix(osg::Matrixd::inverse(world_to_eye));
}

osg::Matrixd EarthManipulator::getMatrix() const { return eyeToWorld(eyeFrameOf(m_pose)); }

osg::Matrixd EarthManipulator::getInverseMatrix() const { return worldToEye(eyeFrameOf(m_pose)); }

Viewpoint EarthManipulator::getViewpoint() const {
    return {"", m_pose.lon, m_pose.lat, m_pose.alt, m_pose.heading, m_pose.pitch, m_pose.range};
}

OrbitPose EarthManipulator::poseOf(const Viewpoint& viewpoint) const {
    OrbitPose pose = m_pose;
    if (viewpoint.focalPoint()) {
        GeoPoint point = viewpoint.focalPoint()->transform(SpatialReference::get("wgs84"));
        if (point.isValid()) {
            pose.lon = point.x();
            pose.lat = point.y();
            const bool relative = point.altitudeMode() == ALTMODE_RELATIVE;
            pose.alt = point.z() + (relative ? groundHeight(terrain(), point.x(), point.y()) : 0.0);
        }
    }
    pose.heading = viewpoint.heading().value_or(pose.heading);
    pose.pitch = viewpoint.pitch().value_or(pose.pitch);
    pose.range = viewpoint.range().value_or(pose.range);
    const bool sound = std::isfinite(pose.heading) && std::isfinite(pose.pitch) && pose.range > 0.0 &&
                       std::isfinite(pose.range);
    return sound ? pose : m_pose;
}

void EarthManipulator::setViewpoint(const Viewpoint& viewpoint, double duration_s) {
    const OrbitPose target = poseOf(viewpoint);
    cancelViewpointTransition();
    // What is held is held anew where it has come to lie.
    m_grabbed.reset();
    if (duration_s > 0.0) {
        m_flight.emplace(m_pose, target, duration_s, m_settings->getArcViewpointTransitions());
        askForFrames(true);
        return;
    }
    m_pose = target;
    keepAboveGround();
    askForFrames(false);
}

void EarthManipulator::cancelViewpointTransition() {
    if (m_flight) {
        m_flight.reset();
        askForFrames(false);
    }
}

void EarthManipulator::setHomeViewpoint(const Viewpoint& viewpoint, double duration_s) {
    m_home = viewpoint;
    m_home_duration_s = duration_s;
}

void EarthManipulator::home(double) {
    if (m_home) {
        setViewpoint(*m_home, m_home_duration_s);
        return;
    }
    cancelViewpointTransition();
    m_pose = homePose();
    askForFrames(false);
}

void EarthManipulator::home(const osgGA::GUIEventAdapter& event, osgGA::GUIActionAdapter& action) {
    m_view = action.asView();
    home(event.getTime());
}

void EarthManipulator::init(const osgGA::GUIEventAdapter&, osgGA::GUIActionAdapter& action) {
    m_view = action.asView();
    letGo();
}

void EarthManipulator::setDistance(double metres) {
    if (metres > 0.0 && std::isfinite(metres)) {
        cancelViewpointTransition();
        m_pose.range = metres;
        keepAboveGround();
        askForFrames(false);
    }
}

void EarthManipulator::getCompositeEulerAngles(double* heading_rad, double* pitch_rad) const {
    if (heading_rad != nullptr) {
        *heading_rad = toRadians(m_pose.heading);
    }
    if (pitch_rad != nullptr) {
        *pitch_rad = toRadians(m_pose.pitch);
    }
}

void EarthManipulator::pan(double dx, double dy) {
    cancelViewpointTransition();
    if (m_movement == Movement::kPan && !m_grabbed) {
        grab(m_cursor - osg::Vec2d(dx, dy));
    }
    if (m_movement == Movement::kPan && m_grabbed) {
        holdUnder(&m_pose, m_lens, *m_grabbed, m_cursor);
        keepAboveGround();
        return;
    }
    const double right = -dx * m_pose.range * m_lens.half_width / kEquatorRadius_m;
    const double ahead = -dy * m_pose.range * m_lens.half_height / kEquatorRadius_m;
    const double heading = toRadians(m_pose.heading);
    // From far out a step stays a step over the globe that is seen.
    const double scale = 1.0 / std::max(1.0, std::hypot(right, ahead) / 0.5);
    m_pose = moved(m_pose, scale * (right * std::cos(heading) + ahead * std::sin(heading)),
                   scale * (ahead * std::cos(heading) - right * std::sin(heading)),
                   std::abs(m_pose.lat) < 85.0 ? HeadingRule::kKeepNumber : HeadingRule::kKeepDirection);
    m_pose.alt = std::max(m_pose.alt, groundHeight(terrain(), m_pose.lon, m_pose.lat));
    keepAboveGround();
    askForFrames(false);
}

void EarthManipulator::rotate(double dx, double dy) {
    cancelViewpointTransition();
    raiseSunkenFocus();
    m_pose.heading = wrapBearing(m_pose.heading + dx * 0.5 * kTurnOverWindow_deg);
    OrbitPose tilted = m_pose;
    tilted.pitch = std::clamp(m_pose.pitch + dy * 0.5 * kTurnOverWindow_deg, m_settings->getMinPitch(),
                              m_settings->getMaxPitch());
    // The ground stops the eye on its way down.
    if (tilted.pitch < m_pose.pitch || !isBelowGround(tilted, terrain(), m_settings->getGroundClearance())) {
        m_pose = tilted;
    }
    keepAboveGround();
    askForFrames(false);
}

void EarthManipulator::zoom(double, double dy, osg::View* view) {
    const double range = m_pose.range * (1.0 + dy);
    if (!(range > 0.0) || !std::isfinite(range)) {
        return;
    }
    cancelViewpointTransition();
    osg::Vec3d held;
    const bool hold = view != nullptr && m_anchor && groundUnder(m_pose, m_lens, terrain(), *m_anchor, &held);
    m_pose.range = range;
    if (hold) {
        holdUnder(&m_pose, m_lens, held, *m_anchor);
    }
    keepAboveGround();
    askForFrames(false);
}

bool EarthManipulator::handle(const osgGA::GUIEventAdapter& event, osgGA::GUIActionAdapter& action) {
    osg::View* const view = action.asView();
    if (view != nullptr && m_view.get() != view) {
        m_view = view;
    }
    const auto type = event.getEventType();
    if (type == osgGA::GUIEventAdapter::FRAME) {
        frame(event.getTime(), action);
        return false;
    }
    if (event.getHandled()) {
        return false;
    }
    if (isPointer(type)) {
        takeLens(view);
    }
    switch (type) {
        case osgGA::GUIEventAdapter::PUSH:
        case osgGA::GUIEventAdapter::DOUBLECLICK:
            press(event);
            return true;
        case osgGA::GUIEventAdapter::DRAG:
            return drag(event, view);
        case osgGA::GUIEventAdapter::RELEASE:
            letGo();
            press(event);
            return true;
        case osgGA::GUIEventAdapter::SCROLL:
            return wheel(event, view);
        case osgGA::GUIEventAdapter::KEYDOWN:
            return key(event, action);
        case osgGA::GUIEventAdapter::MOVE:
            m_cursor = cursorOf(event);
            return false;
        default:
            return false;
    }
}

EarthManipulator::Movement EarthManipulator::movementOf(int button_mask) {
    constexpr int kLeft = osgGA::GUIEventAdapter::LEFT_MOUSE_BUTTON;
    constexpr int kRight = osgGA::GUIEventAdapter::RIGHT_MOUSE_BUTTON;
    if ((button_mask & osgGA::GUIEventAdapter::MIDDLE_MOUSE_BUTTON) != 0 ||
        (button_mask & (kLeft | kRight)) == (kLeft | kRight)) {
        return Movement::kRotate;
    }
    if ((button_mask & kLeft) != 0) {
        return Movement::kPan;
    }
    return (button_mask & kRight) != 0 ? Movement::kZoom : Movement::kNone;
}

void EarthManipulator::press(const osgGA::GUIEventAdapter& event) {
    m_buttons = event.getButtonMask();
    m_movement = movementOf(m_buttons);
    m_moved = false;
    m_cursor = cursorOf(event);
    m_pressed_at = m_cursor;
    m_grabbed.reset();
    if (m_movement == Movement::kPan) {
        m_on_ground = std::abs(m_pose.alt - groundHeight(terrain(), m_pose.lon, m_pose.lat)) < kOnGround_m;
        grab(m_cursor);
    }
}

void EarthManipulator::letGo() {
    if (m_movement == Movement::kPan && m_moved && m_on_ground) {
        settleOnGround(&m_pose, terrain());
    }
    m_movement = Movement::kNone;
    m_buttons = 0;
    m_moved = false;
    m_grabbed.reset();
}

void EarthManipulator::grab(const osg::Vec2d& point) {
    osg::Vec3d ground;
    if (groundUnder(m_pose, m_lens, terrain(), point, &ground)) {
        m_grabbed = ground;
    }
}

bool EarthManipulator::drag(const osgGA::GUIEventAdapter& event, osg::View* view) {
    const osg::Vec2d now = cursorOf(event);
    if (m_movement == Movement::kNone) {
        m_cursor = now;
        return false;
    }
    const osg::Vec2d way = now - m_pressed_at;
    const double width = 0.5 * (event.getXmax() - event.getXmin());
    const double height = 0.5 * (event.getYmax() - event.getYmin());
    // The other buttons have clicks of their own, which must move nothing.
    const double still_px = m_movement == Movement::kPan ? 0.0 : kClickJitter_px;
    if (!m_moved && std::hypot(way.x() * width, way.y() * height) <= still_px) {
        return true;
    }
    m_moved = true;
    const osg::Vec2d step = now - m_cursor;
    m_cursor = now;
    if (m_movement == Movement::kPan) {
        pan(step.x(), step.y());
    } else if (m_movement == Movement::kRotate) {
        rotate(step.x(), step.y());
    } else {
        raiseSunkenFocus();
        m_anchor.reset();
        zoom(step.x(), step.y(), view);
    }
    askForFrames(false);
    return true;
}

bool EarthManipulator::wheel(const osgGA::GUIEventAdapter& event, osg::View* view) {
    const auto motion = event.getScrollingMotion();
    if (motion != osgGA::GUIEventAdapter::SCROLL_UP && motion != osgGA::GUIEventAdapter::SCROLL_DOWN) {
        return false;
    }
    const double step = m_settings->getScrollSensitivity();
    raiseSunkenFocus();
    if (m_settings->getZoomToMouse()) {
        m_anchor = cursorOf(event);
    }
    zoom(0.0, motion == osgGA::GUIEventAdapter::SCROLL_UP ? -step : step, view);
    m_anchor.reset();
    return true;
}

bool EarthManipulator::key(const osgGA::GUIEventAdapter& event, osgGA::GUIActionAdapter& action) {
    switch (event.getKey()) {
        case osgGA::GUIEventAdapter::KEY_Space:
            home(event, action);
            return true;
        case osgGA::GUIEventAdapter::KEY_Left:
            pan(kArrowStep, 0.0);
            return true;
        case osgGA::GUIEventAdapter::KEY_Right:
            pan(-kArrowStep, 0.0);
            return true;
        case osgGA::GUIEventAdapter::KEY_Up:
            pan(0.0, -kArrowStep);
            return true;
        case osgGA::GUIEventAdapter::KEY_Down:
            pan(0.0, kArrowStep);
            return true;
        default:
            return false;
    }
}

void EarthManipulator::frame(double time_s, osgGA::GUIActionAdapter& action) {
    if (!m_flight) {
        // Finer heights may have come in.
        keepAboveGround();
        return;
    }
    m_pose = m_flight->at(time_s);
    const bool over = m_flight->isOver();
    if (over) {
        m_flight.reset();
    }
    keepAboveGround();
    action.requestContinuousUpdate(!over);
}

void EarthManipulator::keepAboveGround() {
    liftAboveGround(&m_pose, terrain(), m_settings->getGroundClearance());
}

// A focal point inside a mountain is no point that can be neared.
void EarthManipulator::raiseSunkenFocus() {
    if (m_pose.alt < groundHeight(terrain(), m_pose.lon, m_pose.lat) - 1.0) {
        settleOnGround(&m_pose, terrain());
    }
}

void EarthManipulator::takeLens(osg::View* view) {
    if (view != nullptr && view->getCamera() != nullptr) {
        m_lens.setFromProjection(view->getCamera()->getProjectionMatrix());
    }
}

void EarthManipulator::askForFrames(bool on) {
    auto* const action = dynamic_cast<osgGA::GUIActionAdapter*>(m_view.get());
    if (action != nullptr) {
        action->requestContinuousUpdate(on);
        action->requestRedraw();
    }
}

}  // namespace globe
