// Pyramids of tiles in folders ("{z}/{x}/{y}.png"), on disk or behind an address, as tile map services hand
// them out.
#pragma once

#include <memory>
#include <string>

#include "globe/raster_source.h"

namespace globe {

// How a pyramid is laid out, all that is needed to find its tiles.
struct PyramidLayout {
    std::string tile_template;  // {z}, {x}, {y} (from the south) or {-y} (from the north)
    bool mercator = false;      // else geographic
    double origin_x = -180.0;   // of tile 0, 0: degrees, or mercator metres
    double origin_y = -90.0;
    double units_per_pixel = 0.703125;  // at zoom 0
    int tile_size = 256;
    int min_zoom = 0;
    int max_zoom = 0;
    GeoExtent extent{-180.0, -90.0, 180.0, 90.0};  // of the data
};

// Reads the description that lies beside the tiles ("tilemapresource.xml"). False, with the reason, if it is
// none.
bool readTileMapResource(const std::string& url, PyramidLayout* layout, std::string* error);
// The usual grid of web maps.
PyramidLayout webMapLayout(const std::string& tile_template, int max_zoom);

// Missing tiles are holes. One that is there and is no picture is a failure, and so is a server that does not
// answer.
std::unique_ptr<RasterSource> openPyramid(const PyramidLayout& layout);

}  // namespace globe
