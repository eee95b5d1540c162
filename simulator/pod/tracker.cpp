#include "simulator/pod/tracker.h"

#include <algorithm>
#include <cmath>

#include "simulator/pod/views.h"

namespace podsim {
namespace {

constexpr double kCaptureS = 0.4, kCoastS = 4, kLostS = 2;

const Traffic* trafficById(int id) {
    const auto& all = World::instance().traffic();
    return id >= 1 && id <= static_cast<int>(all.size()) ? &all[static_cast<std::size_t>(id) - 1] : nullptr;
}

// The object's image that the picture shows at a pixel.
Vec3 imageAt(const Snapshot& s, const Camera& camera, const VisibleObject& object) {
    Vec3 reference;
    if (!groundPoint(camera.position, camera.ray(object.x_px, object.y_px), reference)) {
        reference = camera.position + Vec3{camera.forward.x, camera.forward.y, 0} * 800;
    }
    return nearestImage(World::instance(), *trafficById(object.id), s.time_s, reference).position;
}

}  // namespace

Sight sightOf(const Vec3& offset, const Vec3& velocity) {
    auto yaw = [](const Vec3& d) { return std::atan2(d.x, d.y) / kDeg; };
    auto el = [](const Vec3& d) { return std::atan2(d.z, std::hypot(d.x, d.y)) / kDeg; };
    constexpr double kAhead = 0.02;
    const Vec3 next = offset + velocity * kAhead;
    const double yaw_rate = std::remainder(yaw(next) - yaw(offset), 360) / kAhead;
    const double el_rate = (el(next) - el(offset)) / kAhead;
    return {yaw(offset), el(offset), std::clamp(yaw_rate, -60.0, 60.0), std::clamp(el_rate, -60.0, 60.0)};
}

int Tracker::type() const {
    const Traffic* t = trafficById(m_objectId);
    return t ? t->type : 0;
}

void Tracker::become(TrackState state) {
    m_state = state;
    m_inStateS = 0;
}

void Tracker::begin(int object_id, const Vec3& at) {
    m_objectId = object_id;
    m_position = at;
    m_velocity = {};
    become(TrackState::kCapturing);
}

bool Tracker::lockAt(const Snapshot& snapshot, double x_px, double y_px, double reach_px) {
    Snapshot s = snapshot;
    const double x = s.frame_width / 2.0 + x_px, y = s.frame_height / 2.0 - y_px;
    const std::vector<View> views = viewsOf(s, s.frame_width, s.frame_height, kMainChannel);
    const View* hit = &views[0];
    for (const View& v : views) {
        if (x >= v.x && y >= v.y && x < v.x + v.width && y < v.y + v.height) {
            hit = &v;  // an inset comes after what it covers
        }
    }
    m_sourceVisible = s.track_source_visible = !hit->infrared;
    const Camera camera = cameraOf(s, *hit);
    const VisibleObject* best = nullptr;
    double best_distance = 1e9;
    const std::vector<VisibleObject> objects = visibleObjects(s, s.frame_width, s.frame_height, kMainChannel);
    for (const VisibleObject& o : objects) {
        const double distance = std::hypot(o.x_px - x, o.y_px - y);
        const bool inside = std::fabs(o.x_px - x) < o.width_px / 2 && std::fabs(o.y_px - y) < o.height_px / 2;
        if ((inside || distance < reach_px) && distance < best_distance) {
            best = &o;
            best_distance = distance;
        }
    }
    if (best) {
        begin(best->id, imageAt(s, camera, *best));
        return true;
    }
    Vec3 ground;
    if (!groundPoint(camera.position, camera.ray(x, y), ground)) {
        stop();
        return false;
    }
    begin(0, ground);
    return true;
}

bool Tracker::lockId(const Snapshot& s, int id) {
    for (const VisibleObject& o : visibleObjects(s, s.frame_width, s.frame_height, kMainChannel)) {
        if (o.id != id) {
            continue;
        }
        const std::vector<View> views = viewsOf(s, s.frame_width, s.frame_height, kMainChannel);
        const View& view = views[trackerView(views, s)];
        m_sourceVisible = !view.infrared;
        begin(id, imageAt(s, cameraOf(s, view), o));
        return true;
    }
    return false;
}

bool Tracker::stepAside(const Snapshot& s, int direction, double step_px) {
    if (m_state == TrackState::kIdle) {
        return false;
    }
    const double x = s.frame_width / 2.0 + s.track_x_px;
    if (m_objectId == 0) {
        return lockAt(s, s.track_x_px + direction * step_px, s.track_y_px, 0);
    }
    int next = 0;
    double best = 1e9;
    for (const VisibleObject& o : visibleObjects(s, s.frame_width, s.frame_height, kMainChannel)) {
        const double ahead = (o.x_px - x) * direction;
        if (o.id != m_objectId && ahead > 1 && ahead < best) {
            best = ahead;
            next = o.id;
        }
    }
    return next != 0 && lockId(s, next);
}

void Tracker::stop() {
    become(TrackState::kIdle);
    m_objectId = 0;
}

void Tracker::step(double dt_s, const Vec3& camera, double time_s, bool in_reach) {
    if (m_state == TrackState::kIdle) {
        return;
    }
    m_inStateS += dt_s;
    bool seen = in_reach;
    if (const Traffic* t = trafficById(m_objectId)) {
        const TrafficState now = nearestImage(World::instance(), *t, time_s, m_position);
        seen = seen && !World::instance().occluded(camera, now.position, t->type == kBoat);
        if (seen) {
            m_position = now.position;
            m_velocity = now.velocity;
        } else if (m_state != TrackState::kLost) {
            m_position = m_position + m_velocity * dt_s;  // from memory
        }
    }
    switch (m_state) {
        case TrackState::kCapturing:
            if (m_inStateS > kCaptureS) {
                become(seen ? TrackState::kStable : TrackState::kCoasting);
            }
            break;
        case TrackState::kStable:
            if (!seen) {
                become(TrackState::kCoasting);
            }
            break;
        case TrackState::kCoasting:
            if (seen) {
                become(TrackState::kStable);
            } else if (m_inStateS > kCoastS) {
                become(TrackState::kLost);
            }
            break;
        case TrackState::kLost:
            if (seen) {
                become(TrackState::kCapturing);
            } else if (m_inStateS > kLostS) {
                stop();
            }
            break;
        case TrackState::kIdle:
            break;
    }
}

Sight Tracker::sight(const Vec3& position, const Vec3& velocity) const {
    return sightOf(m_position - position, m_velocity - velocity);
}

void Tracker::report(Snapshot& s) const {
    s.track_state = m_state;
    s.track_source_visible = m_sourceVisible;
    s.locked_object_id = m_objectId;
    s.target_type = type();
    if (m_state == TrackState::kIdle) {
        s.track_x_px = s.track_y_px = s.target_width_px = s.target_height_px = 0;
        return;
    }
    const std::vector<View> views = viewsOf(s, s.frame_width, s.frame_height, kMainChannel);
    const Camera camera = cameraOf(s, views[trackerView(views, s)]);
    double x = 0, y = 0, depth = 0;
    if (!camera.project(m_position, x, y, depth)) {
        return;
    }
    s.track_x_px = x - s.frame_width / 2.0;
    s.track_y_px = s.frame_height / 2.0 - y;
    PixelBox box{x, y, static_cast<double>(s.template_width_px), static_cast<double>(s.template_height_px)};
    if (const Traffic* t = trafficById(m_objectId)) {
        TrafficState state = nearestImage(World::instance(), *t, s.time_s, m_position);
        state.position = m_position;
        boxOf(camera, *t, state, box);
    }
    s.target_width_px = box.width;
    s.target_height_px = box.height;
}

}  // namespace podsim
