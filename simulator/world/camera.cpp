#include "simulator/world/camera.h"

#include <algorithm>
#include <cmath>

namespace podsim {

bool Camera::project(const Vec3& point, double& x, double& y, double& depth) const {
    const Vec3 d = point - position;
    depth = dot(d, forward);
    if (depth < 1) {
        return false;
    }
    x = centre_x + focal_px * dot(d, right) / depth;
    y = centre_y - focal_px * dot(d, up) / depth;
    return true;
}

Vec3 Camera::ray(double x, double y) const {
    return forward + right * ((x - centre_x) / focal_px) + up * ((centre_y - y) / focal_px);
}

bool groundPoint(const Vec3& position, const Vec3& direction, Vec3& point) {
    if (direction.z >= 0) {
        return false;
    }
    const double k = -position.z / direction.z;
    point = position + direction * k;
    return k * length(direction) < 20000;
}

bool boxOf(const Camera& camera, const Traffic& object, const TrafficState& state, PixelBox& box) {
    double depth = 0;
    if (!camera.project(state.position, box.x, box.y, depth)) {
        return false;
    }
    const double c = std::cos(state.heading), s = std::sin(state.heading);
    double half_w = 0, half_h = 0;
    for (int corner = 0; corner < 8; ++corner) {
        const double a = object.length_m / 2 * (corner & 1 ? 1 : -1);
        const double b = object.width_m / 2 * (corner & 2 ? 1 : -1);
        const double h = object.height_m / 2 * (corner & 4 ? 1 : -1);
        double x = 0, y = 0;
        if (!camera.project(state.position + Vec3{a * c - b * s, a * s + b * c, h}, x, y, depth)) {
            return false;
        }
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
