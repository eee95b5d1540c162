// Georeferenced rasters as the build makes them: read from what packages hold, written as tiled GeoTIFF with
// overviews. Geographic coordinates on WGS 84, north up.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace earth {

// The area that a raster covers, in degrees; its pixels are areas of equal size in degrees.
struct Extent {
    double west, south, east, north;
};
constexpr Extent kWorld{-180, -90, 180, 90};

// One band, row by row from the north, each row from west to east.
template <class Value>
struct Band {
    int width = 0, height = 0;
    std::vector<Value> values;

    Band() = default;
    Band(int w, int h)
        : width(w), height(h), values(static_cast<std::size_t>(w) * static_cast<std::size_t>(h)) {}
    Value* row(int y) { return &values[static_cast<std::size_t>(y) * static_cast<std::size_t>(width)]; }
    const Value* row(int y) const {
        return &values[static_cast<std::size_t>(y) * static_cast<std::size_t>(width)];
    }
    Value& at(int x, int y) { return row(y)[x]; }
    const Value& at(int x, int y) const { return row(y)[x]; }
};
using Picture = std::array<Band<std::uint8_t>, 3>;  // red, green, blue

// Registers the library's drivers; call it once, first.
void initialiseRasters();

// Each reads a whole file, which need not be georeferenced. False with a line on standard error.
bool readPicture(const std::string& path, Picture& picture);
bool readHeights(const std::string& path, Band<float>& heights_m);
// Copies the first band of a file into `whole` with its upper left corner at x, y; what lies outside is an
// error.
bool readInto(const std::string& path, int x, int y, Band<std::uint8_t>& whole);

// Pictures are kept as JPEG, heights in whole metres, both with halvings down to a tile of 256 pixels. The
// file appears under its name only when it is whole. False with a line on standard error.
bool writePicture(const std::string& path, const Extent& extent, const Picture& picture);
bool writeHeights(const std::string& path, const Extent& extent, const Band<float>& heights_m);

}  // namespace earth
