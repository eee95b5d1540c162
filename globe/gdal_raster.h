// A data set read by GDAL.
#pragma once

#include <memory>
#include <string>

#include "globe/raster_source.h"

namespace globe {

// What is not in geographic WGS 84 is warped to it while it is read.
std::unique_ptr<RasterSource> openGdalRaster(const std::string& url, RasterUse use, std::string* error);

}  // namespace globe
