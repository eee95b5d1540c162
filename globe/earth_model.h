// What an earth file says, as plain values.
#pragma once

#include <string>
#include <vector>

namespace globe {

enum class LayerKind { kImage, kElevation, kGraticule };

struct LayerModel {
    LayerKind kind = LayerKind::kImage;
    std::string name;
    std::string driver;    // in lower case: "gdal", "tms", "xyz", "wms" ...
    std::string url;       // a path from the working directory, an address, or a description
    double opacity = 1.0;  // 0 .. 1
    bool visible = true;
    int min_level = 0;         // not shown in tiles coarser than this
    int max_level = 99;        // nothing finer than this is read
    double min_range_m = 0.0;  // distances from the eye between which it shows, to the nearest level
    double max_range_m = 1e12;
};

struct EarthModel {
    std::string name;
    std::vector<LayerModel> layers;     // what stands first lies lowest
    std::vector<std::string> problems;  // a line each
};

}  // namespace globe
