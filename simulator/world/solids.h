// Houses, vehicles, boats and the bridge, as shaded solids.
#pragma once

#include "simulator/world/scene.h"

namespace podsim {

void drawHouse(const Scene& scene, const House& house, double x, double y);
void drawVehicle(const Scene& scene, const Traffic& object, const TrafficState& state);
void drawBoat(const Scene& scene, const Traffic& object, const TrafficState& state);
// The bridge with its ramps, moved by whole periods dx and dy.
void drawBridge(const Scene& scene, double dx, double dy);

}  // namespace podsim
