// The video tracker: locks on what lies at a point of the main picture and keeps its place in the landscape.
#pragma once

#include "simulator/pod/snapshot.h"
#include "simulator/world/camera.h"

namespace podsim {

// A line of sight: earth azimuth and elevation, degrees, and their change, degrees per second.
struct Sight {
    double yaw_deg, el_deg, yaw_rate_dps, el_rate_dps;
};
// offset, velocity: of the target relative to the pod.
Sight sightOf(const Vec3& offset, const Vec3& velocity);

class Tracker {
public:
    TrackState state() const { return m_state; }
    int objectId() const { return m_objectId; }
    int type() const;
    bool sourceVisible() const { return m_sourceVisible; }

    // Locks on the object nearest to a point of the main picture (pixels from its centre, x right, y up)
    // within reach_px, else on the ground there. False if there is only sky.
    bool lockAt(const Snapshot& snapshot, double x_px, double y_px, double reach_px);
    // False if the object is not in the picture.
    bool lockId(const Snapshot& snapshot, int id);
    // To the next object to the left (-1) or right (1); a ground point moves by step_px.
    bool stepAside(const Snapshot& snapshot, int direction, double step_px);
    void stop();

    // camera: where the pod is; in_reach: whether the servo can point there.
    void step(double dt_s, const Vec3& camera, double time_s, bool in_reach);
    // Direction from a position to the target and its rate; valid unless idle.
    Sight sight(const Vec3& position, const Vec3& velocity) const;
    // Fills the tracker's fields of the snapshot from its camera.
    void report(Snapshot& snapshot) const;

private:
    void begin(int object_id, const Vec3& at);
    void become(TrackState state);

    TrackState m_state = TrackState::kIdle;
    int m_objectId = 0;
    bool m_sourceVisible = true;
    Vec3 m_position, m_velocity;
    double m_inStateS = 0;
};

}  // namespace podsim
