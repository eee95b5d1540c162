// The texts and marks that the pod lays over its picture.
#pragma once

#include <vector>

#include "simulator/pod/views.h"
#include "simulator/world/raster.h"

namespace podsim {

// canvas: the whole picture. views: those of the picture.
void drawOsd(const Snapshot& snapshot, const std::vector<View>& views, int channel, const Canvas& canvas);

}  // namespace podsim
