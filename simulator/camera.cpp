#include "simulator/camera.h"

#include <algorithm>
#include <cmath>

#include "simulator/renderer.h"

namespace podsim {

bool Camera::project(const Vec3& point, double& x, double& y, double& depth) const {
    const Vec3 d = point - position;
    depth = dot(d, forward);
    if (depth < 1) return false;
    x = centre_x + focal_px * dot(d, right) / depth;
    y = centre_y - focal_px * dot(d, up) / depth;
    return true;
}

Vec3 Camera::ray(double x, double y) const {
    return forward + right * ((x - centre_x) / focal_px) + up * ((centre_y - y) / focal_px);
}

std::vector<View> viewsOf(const Snapshot& s, int width, int height, int channel) {
    const View infrared{true, 0, 0, width, height, s.ir_fov_deg};
    const View visible{false, 0, 0, width, height, s.vl_fov_deg};
    if (channel == kInfraredChannel) return {infrared};
    const int inset_w = width * 5 / 16 / 2 * 2, inset_h = height * 5 / 16 / 2 * 2;
    const int inset_x = width - inset_w - 16, inset_y = height - inset_h - 16;
    const int half_w = width / 4 * 2, half_h = height / 4 * 2;
    switch (s.display_mode) {
        case DisplayMode::Infrared:
            return {infrared};
        case DisplayMode::VisibleWide:
        case DisplayMode::VisibleTele:
            return {visible};
        case DisplayMode::TopBottom:
            return {{false, 0, 0, width, half_h, s.vl_fov_deg},
                    {true, 0, half_h, width, height - half_h, s.ir_fov_deg}};
        case DisplayMode::PipInfrared:
            return {infrared, {false, inset_x, inset_y, inset_w, inset_h, s.vl_fov_deg}};
        case DisplayMode::PipVisible:
            return {visible, {true, inset_x, inset_y, inset_w, inset_h, s.ir_fov_deg}};
        case DisplayMode::LeftRight:
            return {{true, 0, 0, half_w, height, s.ir_fov_deg},
                    {false, half_w, 0, width - half_w, height, s.vl_fov_deg}};
    }
    return {visible};
}

std::size_t trackerView(const std::vector<View>& views, const Snapshot& s) {
    for (std::size_t i = 0; i < views.size(); ++i) {
        if (views[i].infrared != s.track_source_visible) return i;
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

bool groundPoint(const Vec3& position, const Vec3& direction, Vec3& point) {
    if (direction.z >= 0) return false;
    const double k = -position.z / direction.z;
    point = position + direction * k;
    return k * length(direction) < 20000;
}

bool boxOf(const Camera& camera, const Traffic& object, const TrafficState& state, PixelBox& box) {
    double depth = 0;
    if (!camera.project(state.position, box.x, box.y, depth)) return false;
    const double c = std::cos(state.heading), s = std::sin(state.heading);
    double half_w = 0, half_h = 0;
    for (int corner = 0; corner < 8; ++corner) {
        const double a = object.length_m / 2 * (corner & 1 ? 1 : -1);
        const double b = object.width_m / 2 * (corner & 2 ? 1 : -1);
        const double h = object.height_m / 2 * (corner & 4 ? 1 : -1);
        double x = 0, y = 0;
        if (!camera.project(state.position + Vec3{a * c - b * s, a * s + b * c, h}, x, y, depth))
            return false;
        half_w = std::max(half_w, std::fabs(x - box.x));
        half_h = std::max(half_h, std::fabs(y - box.y));
    }
    box.width = 2 * half_w;
    box.height = 2 * half_h;
    return true;
}

TrafficState nearestImage(const World& world, const Traffic& object, double time_s, const Vec3& reference) {
    TrafficState state = world.state(object, time_s);
    state.position.x = nearImage(state.position.x, reference.x);
    state.position.y = nearImage(state.position.y, reference.y);
    return state;
}

}  // namespace podsim
