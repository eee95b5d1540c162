#include "globe/tile_data.h"

#include <algorithm>
#include <cmath>

namespace globe {

double TileData::heightIn(double x, double y) const {
    const double across = std::clamp(x, 0.0, 1.0) * (posts - 1);
    const double up = std::clamp(y, 0.0, 1.0) * (posts - 1);
    const int column = std::min(static_cast<int>(across), posts - 2);
    const int row = std::min(static_cast<int>(up), posts - 2);
    const double u = across - column;
    const double v = up - row;
    const double south_west = height(column, row);
    const double north_east = height(column + 1, row + 1);
    // Quads are cut from south-west to north-east.
    if (u >= v) {
        const double south_east = height(column + 1, row);
        return south_west + (south_east - south_west) * u + (north_east - south_east) * v;
    }
    const double north_west = height(column, row + 1);
    return south_west + (north_west - south_west) * v + (north_east - north_west) * u;
}

std::size_t TileData::bytes() const {
    return sizeof(*this) + heights.size() * sizeof(float) +
           (image ? image->getTotalSizeInBytesIncludingMipmaps() : 0u);
}

}  // namespace globe
