// The pseudo colours of the infrared picture.
#pragma once

#include <array>
#include <cstdint>

#include "simulator/world/raster.h"

namespace podsim {

constexpr int kPaletteCount = 12;

// Limited range BT.601 of 8-bit red, green, blue.
Colour fromRgb(int red, int green, int blue);

// The colour of each radiance for a palette index; an index outside counts as 0.
std::array<Colour, 256> paletteTable(int index);
// Short capital name for the on-screen display.
const char* paletteName(int index);

}  // namespace podsim
