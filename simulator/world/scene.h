// The layers of one view: ground and sky, then what stands and moves on the ground.
#pragma once

#include "simulator/world/camera.h"
#include "simulator/world/raster.h"

namespace podsim {

// A view being drawn. Infrared is drawn as radiance into y alone, u and v are null.
struct Scene {
    double time_s;  // of the traffic and the clouds, seconds
    Canvas canvas;
    Camera camera;  // in pixels of the canvas
    bool infrared;
    double visibility_m;        // distance at which haze leaves 1/e of the contrast
    bool only_lasting = false;  // without what passes: traffic, clouds and their shadows

    // Share of 256 that haze leaves at a distance.
    int clearness(double distance_m) const;
    Colour hazed(Colour colour, double distance_m) const;
};

Colour hazeColour(bool infrared);

void drawGroundAndSky(const Scene& scene);
void drawObjects(const Scene& scene);

}  // namespace podsim
