// How a camera maps the landscape to pixels.
#pragma once

#include "simulator/world/world.h"

namespace podsim {

// A pinhole camera whose right axis is horizontal: the pod stabilises roll. Pixels: origin top left.
struct Camera {
    Vec3 position;
    Vec3 right, up, forward;
    double focal_px = 1;
    double centre_x = 0, centre_y = 0;

    // False if the point is less than 1 m in front of the camera.
    bool project(const Vec3& point, double& x, double& y, double& depth) const;
    // Direction of the ray through a pixel, not normalised.
    Vec3 ray(double x, double y) const;
};

// The point where the ray from the camera meets the ground; false above the horizon or beyond 20 km.
bool groundPoint(const Vec3& position, const Vec3& direction, Vec3& point);

// Box around a moving object in pixels, its centre the projection of the body's centre.
struct PixelBox {
    double x, y, width, height;
};
bool boxOf(const Camera& camera, const Traffic& object, const TrafficState& state, PixelBox& box);

// The image of a moving object nearest to the camera's line of sight.
TrafficState nearestImage(const World& world, const Traffic& object, double time_s, const Vec3& reference);

}  // namespace podsim
