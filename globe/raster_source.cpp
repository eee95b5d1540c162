#include "globe/raster_source.h"

#include <cpl_vsi.h>

#include "globe/gdal_raster.h"
#include "globe/tile_pyramid.h"
#include "globe/web_fetch.h"

namespace globe {
namespace {

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

bool isTileMap(const std::string& url, const std::string& driver) {
    return driver == "tms" || endsWith(url, "tilemapresource.xml");
}

// A small description may name an address inside.
bool namesAddress(const std::string& url) {
    GByte* bytes = nullptr;
    vsi_l_offset size = 0;
    if (!endsWith(url, ".xml") && !endsWith(url, ".vrt") && !endsWith(url, ".wms")) {
        return false;
    }
    if (!VSIIngestFile(nullptr, url.c_str(), &bytes, &size, 1 << 20)) {
        return false;
    }
    const std::string text(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
    VSIFree(bytes);
    return text.find("<GDAL_WM") != std::string::npos || text.find("/vsicurl/") != std::string::npos;
}

}  // namespace

bool isRemote(const std::string& url, const std::string& driver) {
    for (const char* mark : {"http://", "https://", "ftp://", "/vsicurl", "/vsis3", "/vsigs", "/vsiaz",
                             "<GDAL_WM", "WMS:", "WMTS:"}) {
        if (url.find(mark) != std::string::npos) {
            return true;
        }
    }
    return driver == "wms" || driver == "wmts" || namesAddress(url);
}

std::unique_ptr<RasterSource> openRaster(const std::string& url, const std::string& driver, RasterUse use,
                                         std::string* error) {
    if (driver == "xyz" || url.find("{z}") != std::string::npos) {
        constexpr int kDeepestZoom = 18;
        return openPyramid(webMapLayout(url, kDeepestZoom));
    }
    if (isTileMap(url, driver)) {
        PyramidLayout layout;
        const std::string file = endsWith(url, ".xml") ? url : url + "/tilemapresource.xml";
        return readTileMapResource(file, &layout, error) ? openPyramid(layout) : nullptr;
    }
    return openGdalRaster(isWebAddress(url) ? "/vsicurl/" + url : url, use, error);
}

void forgetAnswers(const std::string& url, const std::string& driver) {
    if (isWebAddress(url)) {
        VSICurlPartialClearCache(("/vsicurl/" + url).c_str());
    } else if (isRemote(url, driver)) {
        VSICurlClearCache();
    }
}

}  // namespace globe
