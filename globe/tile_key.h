// The tiles into which the map is cut: two at level 0 (west and east half), each with four children.
#pragma once

#include <cstdint>
#include <functional>

namespace globe {

// Degrees.
struct GeoExtent {
    double west = 0.0;
    double south = 0.0;
    double east = 0.0;
    double north = 0.0;

    double width() const { return east - west; }
    double height() const { return north - south; }
    bool meets(const GeoExtent& other) const {
        return west < other.east && other.west < east && south < other.north && other.south < north;
    }
};

// x counts from west, y from south.
struct TileKey {
    int level = 0;  // 0 .. kMaxLevel
    std::uint32_t x = 0;
    std::uint32_t y = 0;

    static constexpr int kMaxLevel = 22;

    bool operator==(const TileKey& other) const {
        return level == other.level && x == other.x && y == other.y;
    }
    bool operator!=(const TileKey& other) const { return !(*this == other); }
    bool isRoot() const { return level == 0; }
    TileKey parent() const { return {level - 1, x / 2, y / 2}; }
    // Quadrant: bit 0 east, bit 1 north.
    TileKey child(int quadrant) const {
        return {level + 1, 2 * x + static_cast<std::uint32_t>(quadrant & 1),
                2 * y + static_cast<std::uint32_t>(quadrant >> 1)};
    }
    int quadrant() const { return static_cast<int>((x & 1u) | (y & 1u) << 1); }
    GeoExtent extent() const;
};

// Of a tile of this level, in degrees: 180 / 2^level.
double tileSize(int level);
// The tile of a level that holds a place; the north pole and longitude 180 belong to the last tile.
TileKey tileAt(int level, double lon, double lat);

struct TileKeyHash {
    std::size_t operator()(const TileKey& key) const {
        const std::uint64_t packed =
            static_cast<std::uint64_t>(key.level) << 58 | static_cast<std::uint64_t>(key.x) << 29 | key.y;
        return std::hash<std::uint64_t>()(packed * 0x9E3779B97F4A7C15ull);
    }
};

}  // namespace globe
