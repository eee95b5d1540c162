// A tile as it was put together from the layers.
#pragma once

#include <cstddef>
#include <osg/Image>
#include <osg/ref_ptr>
#include <vector>

#include "globe/tile_key.h"

namespace globe {

// Not changed once it is made; shared by threads and maps.
struct TileData {
    TileKey key;
    osg::ref_ptr<osg::Image>
        image;                   // RGB with all mipmaps; the outer texels' centres lie on the tile's edges
    int posts = 0;               // along a side
    std::vector<float> heights;  // metres, rows from the south; a frame of one post all around
    float lowest_m = 0.0f;
    float highest_m = 0.0f;
    std::vector<std::size_t> lacking;  // layers behind a network that are still to come, in order

    // Column and row from -1 to `posts`.
    float height(int column, int row) const {
        return heights[static_cast<std::size_t>(row + 1) * static_cast<std::size_t>(posts + 2) +
                       static_cast<std::size_t>(column + 1)];
    }
    // Between the posts, over the two triangles of each quad as the mesh has them; `x` and `y` 0 .. 1 in the
    // tile.
    double heightIn(double x, double y) const;
    std::size_t bytes() const;
};

}  // namespace globe
