// What each channel's picture shows: the views of the cameras in it and the objects that they see.
#pragma once

#include <cstddef>
#include <vector>

#include "simulator/pod/snapshot.h"
#include "simulator/world/camera.h"

namespace podsim {

constexpr int kMainChannel = 0;      // the picture chosen by display_mode
constexpr int kInfraredChannel = 1;  // always the infrared picture

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

struct VisibleObject {
    int id;                      // 1..255, as for tracking by number
    int type;                    // as Snapshot::target_type
    double x_px, y_px;           // centre in the picture, origin top left, y downward
    double width_px, height_px;  // of the upright box around it
    bool occluded;               // hidden behind something
};

// The moving objects whose centre lies in the picture, nearest first. With more than one view in the picture
// an object is told once, in the view that shows the tracker's source.
std::vector<VisibleObject> visibleObjects(const Snapshot& snapshot, int width, int height, int channel);

// Centre of the tracker's box from the picture's upper left corner, pixels.
struct BoxCentre {
    double x, y;
};
BoxCentre boxCentreOf(const Snapshot& snapshot);

}  // namespace podsim
