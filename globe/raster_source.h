// Pictures and heights of one data set, resampled to the posts of a tile.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "globe/tile_key.h"

namespace globe {

// Posts on the corners and sides of an extent and evenly between them. The first row is the southern one.
struct PostGrid {
    GeoExtent extent;
    int columns = 2;
    int rows = 2;

    double stepX() const { return extent.width() / (columns - 1); }
    double stepY() const { return extent.height() / (rows - 1); }
};

enum class ReadResult {
    kRead,
    kNothing,  // the data set has nothing there, or only what would take too long to read so far from it
    kFailed
};

struct RasterInfo {
    GeoExtent extent;                // east may lie beyond 180 where the data cross the date line
    double degrees_per_pixel = 1.0;  // northward
    std::string complaint;           // what an operator should know of it; usually empty
};

// Belongs to one thread.
class RasterSource {
public:
    using Flag = std::atomic<bool>;
    virtual ~RasterSource() = default;
    virtual const RasterInfo& info() const = 0;
    // RGBA, alpha 0 where there is nothing.
    virtual ReadResult readColors(const PostGrid& grid, std::uint8_t* rgba, const Flag& cancelled) = 0;
    // Metres, NaN where there is nothing.
    virtual ReadResult readHeights(const PostGrid& grid, float* heights_m, const Flag& cancelled) = 0;
};

enum class RasterUse { kColors, kHeights };

// Opens a file, an address or a description by the GDAL driver that knows it; `driver` "tms" and "xyz" name
// pyramids of tiles in folders. Null, with the reason in `error`, if there is none that does.
std::unique_ptr<RasterSource> openRaster(const std::string& url, const std::string& driver, RasterUse use,
                                         std::string* error);

// A server that did not answer, or not for a file, is remembered by GDAL for as long as the program runs. To
// be called before a data set behind a network is tried again.
void forgetAnswers(const std::string& url, const std::string& driver);

// Whether a data set may have to be fetched over a network.
bool isRemote(const std::string& url, const std::string& driver);

}  // namespace globe
