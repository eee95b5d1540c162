#include "globe/tile_key.h"

#include <algorithm>
#include <cmath>

namespace globe {

double tileSize(int level) { return std::ldexp(180.0, -level); }

GeoExtent TileKey::extent() const {
    const double size = tileSize(level);
    const double west = -180.0 + size * x;
    const double south = -90.0 + size * y;
    return {west, south, west + size, south + size};
}

TileKey tileAt(int level, double lon, double lat) {
    const double size = tileSize(level);
    const auto part = [](double place, double count) {
        return static_cast<std::uint32_t>(std::clamp(std::floor(place), 0.0, count - 1.0));
    };
    const double rows = std::ldexp(1.0, level);
    return {level, part((lon + 180.0) / size, 2.0 * rows), part((lat + 90.0) / size, rows)};
}

}  // namespace globe
