// The net of meridians and parallels, painted into tiles.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "globe/tile_key.h"

namespace globe {

// Degrees between the lines of a tile: 10 where it is large, then 5, 2, 1, 0.5 ... so that four to ten fall
// on a tile.
double graticuleSpacing(int level);

// Paints the lines over `size` x `size` RGBA texels (first row south) whose outer centres lie on the tile's
// edges. Every tenth degree is drawn stronger, equator and prime meridian strongest.
void paintGraticule(const TileKey& key, int columns, int rows, std::uint8_t* rgba);

}  // namespace globe
