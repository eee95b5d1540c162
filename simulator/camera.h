// How the cameras of the pod map the landscape to pixels.
#pragma once

#include <vector>

#include "simulator/snapshot.h"
#include "simulator/world.h"

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

// A rectangle of the picture that shows one of the cameras.
struct View {
    bool infrared;
    int x, y, width, height;  // even
    double fov_deg;           // horizontal
};

// The views of a channel's picture, the main one first.
std::vector<View> viewsOf(const Snapshot& snapshot, int width, int height, int channel);
// Index of the view in which the tracker works.
std::size_t trackerView(const std::vector<View>& views, const Snapshot& snapshot);
// The camera in pixels of the whole picture.
Camera cameraOf(const Snapshot& snapshot, const View& view);

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
