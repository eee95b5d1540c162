#include "simulator/pod/views.h"

#include <algorithm>
#include <cmath>

#include "simulator/world/world.h"

namespace podsim {

std::vector<View> viewsOf(const Snapshot& s, int width, int height, int channel) {
    const View infrared{true, 0, 0, width, height, s.ir_fov_deg};
    const View visible{false, 0, 0, width, height, s.vl_fov_deg};
    if (channel == kInfraredChannel) {
        return {infrared};
    }
    const int inset_w = width * 5 / 16 / 2 * 2, inset_h = height * 5 / 16 / 2 * 2;
    const int inset_x = width - inset_w - 16, inset_y = height - inset_h - 16;
    const int half_w = width / 4 * 2, half_h = height / 4 * 2;
    switch (s.display_mode) {
        case DisplayMode::kInfrared:
            return {infrared};
        case DisplayMode::kVisibleWide:
        case DisplayMode::kVisibleTele:
            return {visible};
        case DisplayMode::kTopBottom:
            return {{false, 0, 0, width, half_h, s.vl_fov_deg},
                    {true, 0, half_h, width, height - half_h, s.ir_fov_deg}};
        case DisplayMode::kPipInfrared:
            return {infrared, {false, inset_x, inset_y, inset_w, inset_h, s.vl_fov_deg}};
        case DisplayMode::kPipVisible:
            return {visible, {true, inset_x, inset_y, inset_w, inset_h, s.ir_fov_deg}};
        case DisplayMode::kLeftRight:
            return {{true, 0, 0, half_w, height, s.ir_fov_deg},
                    {false, half_w, 0, width - half_w, height, s.vl_fov_deg}};
    }
    return {visible};
}

std::size_t trackerView(const std::vector<View>& views, const Snapshot& s) {
    for (std::size_t i = 0; i < views.size(); ++i) {
        if (views[i].infrared != s.track_source_visible) {
            return i;
        }
    }
    return 0;
}

Camera cameraOf(const Snapshot& s, const View& view) {
    const double yaw = s.attitude_yaw_deg * kDeg, pitch = s.attitude_pitch_deg * kDeg;
    Camera c;
    c.position = {s.east_m, s.north_m, s.height_m};
    c.forward = {std::sin(yaw) * std::cos(pitch), std::cos(yaw) * std::cos(pitch), std::sin(pitch)};
    c.right = {std::cos(yaw), -std::sin(yaw), 0};
    c.up = {-std::sin(yaw) * std::sin(pitch), -std::cos(yaw) * std::sin(pitch), std::cos(pitch)};
    c.focal_px = view.width / 2.0 / std::tan(std::clamp(view.fov_deg, 0.05, 120.0) * kDeg / 2);
    c.centre_x = view.x + view.width / 2.0;
    c.centre_y = view.y + view.height / 2.0;
    return c;
}

std::vector<VisibleObject> visibleObjects(const Snapshot& s, int width, int height, int channel) {
    const std::vector<View> views = viewsOf(s, width, height, channel);
    const View& view = views[trackerView(views, s)];
    const Camera camera = cameraOf(s, view);
    const World& world = World::instance();
    // Of the many images of the repeating landscape the one nearest to the line of sight is meant.
    Vec3 reference = camera.position;
    if (!groundPoint(camera.position, camera.forward, reference) ||
        length(reference - camera.position) > 1500) {
        reference = camera.position + Vec3{camera.forward.x, camera.forward.y, 0} * 400;
    }
    struct Found {
        VisibleObject object;
        double depth;
    };
    std::vector<Found> found;
    for (const Traffic& t : world.traffic()) {
        const TrafficState state = nearestImage(world, t, s.time_s, reference);
        PixelBox box{};
        if (!boxOf(camera, t, state, box) || box.x < view.x || box.y < view.y ||
            box.x >= view.x + view.width || box.y >= view.y + view.height) {
            continue;
        }
        const bool hidden = world.occluded(camera.position, state.position, t.type == kBoat);
        found.push_back({{t.id, t.type, box.x, box.y, box.width, box.height, hidden},
                         length(state.position - camera.position)});
    }
    std::sort(found.begin(), found.end(), [](const Found& a, const Found& b) { return a.depth < b.depth; });
    std::vector<VisibleObject> out;
    for (const Found& f : found) {
        out.push_back(f.object);
    }
    return out;
}

BoxCentre boxCentreOf(const Snapshot& s) {
    return {s.frame_width / 2.0 + s.track_x_px, s.frame_height / 2.0 - s.track_y_px};
}

}  // namespace podsim
