// What the control loop writes into the event log at a rate of its own: how the pod moves and what it sees.
#include <cmath>

#include "simulator/control_loop.h"
#include "simulator/pod/text.h"
#include "simulator/pod/views.h"
#include "simulator/stream/clock.h"

namespace podsim {
namespace {

constexpr std::int64_t kMotionLog_ns = 100'000'000;

}  // namespace

void ControlLoop::logMotion(std::int64_t now) {
    if (!m_log.isOpen() || now < m_nextMotionNs) {
        return;
    }
    m_nextMotionNs = nextBeat(m_nextMotionNs, kMotionLog_ns, now);
    const Snapshot s = m_pod.snapshot();
    const bool moving = std::fabs(s.rate_az_dps) > 1e-3 || std::fabs(s.rate_el_dps) > 1e-3;
    if (moving || m_wasMoving) {
        m_log.event("servo", formatText("state=%d yaw=%.3f pitch=%.3f rate_az=%.3f rate_el=%.3f moving=%d",
                                        static_cast<int>(s.servo_state), s.frame_yaw_deg, s.frame_pitch_deg,
                                        s.rate_az_dps, s.rate_el_dps, moving ? 1 : 0));
    }
    m_wasMoving = moving;
    logTracker(s, now);
    logObjects(s);
}

// What can be clicked: id=x,y,width,height of each object in sight, pixels of the main picture from its top
// left.
void ControlLoop::logObjects(const Snapshot& s) {
    std::string text;
    for (const VisibleObject& object : visibleObjects(s, s.frame_width, s.frame_height, kMainChannel)) {
        if (object.occluded) {
            continue;
        }
        text += formatText("%s%d=%.1f,%.1f,%.1f,%.1f", text.empty() ? "" : " ", object.id, object.x_px,
                           object.y_px, object.width_px, object.height_px);
    }
    m_log.event("objects", text);
}

void ControlLoop::logTracker(const Snapshot& s, std::int64_t now) {
    const int state = static_cast<int>(s.track_state);
    const bool changed = state != m_lastTrackState || s.locked_object_id != m_lastLocked;
    if (!changed && (s.track_state == TrackState::kIdle || now - m_trackLoggedNs < kMotionLog_ns)) {
        return;
    }
    m_lastTrackState = state;
    m_lastLocked = s.locked_object_id;
    m_trackLoggedNs = now;
    const BoxCentre box = boxCentreOf(s);
    std::string text = formatText("state=%d x=%.1f y=%.1f w=%.1f h=%.1f object=%d", state, box.x, box.y,
                                  s.target_width_px, s.target_height_px, s.locked_object_id);
    for (const VisibleObject& object : visibleObjects(s, s.frame_width, s.frame_height, kMainChannel)) {
        if (object.id != s.locked_object_id) {
            continue;
        }
        text +=
            formatText(" object_x=%.1f object_y=%.1f occluded=%d", object.x_px, object.y_px, object.occluded);
    }
    m_log.event("track", text);
}

}  // namespace podsim
