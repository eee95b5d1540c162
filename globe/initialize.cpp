#include "globe/initialize.h"

#include <cpl_conv.h>
#include <gdal.h>
#include <gdal_frmts.h>

#include <atomic>
#include <mutex>

#include "globe/reader_writer_earth.h"

namespace globe {
namespace {

std::atomic<bool> g_all_known{false};

// Unless the environment says otherwise.
void setOption(const char* key, const char* value) {
    if (CPLGetConfigOption(key, nullptr) == nullptr) {
        CPLSetConfigOption(key, value);
    }
}

}  // namespace

void initialize() {
    static std::once_flag once;
    std::call_once(once, [] {
        setOption("GDAL_HTTP_CONNECTTIMEOUT", "5");
        setOption("GDAL_HTTP_TIMEOUT", "10");
        setOption("GDAL_CACHEMAX", "24");
        // Without the second one the first has no overviews of pictures that are compressed so.
        GDALRegister_GTiff();
        GDALRegister_JPEG();
        registerEarthReader();
    });
}

void registerAllDrivers() {
    initialize();
    static std::once_flag once;
    std::call_once(once, [] {
        GDALAllRegister();
        g_all_known = true;
    });
}

bool allDriversRegistered() { return g_all_known; }

}  // namespace globe
