#include "earth/raster_file.h"

#include <cpl_string.h>
#include <gdal_priv.h>
#include <ogr_spatialref.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>

namespace earth {
namespace {

struct CloseDataset {
    void operator()(GDALDataset* dataset) const { GDALClose(dataset); }
};
using Dataset = std::unique_ptr<GDALDataset, CloseDataset>;

bool complain(const std::string& path, const char* what) {
    std::fprintf(stderr, "%s: %s %s\n", path.c_str(), what, CPLGetLastErrorMsg());
    return false;
}

Dataset openRaster(const std::string& path) {
    return Dataset(GDALDataset::Open(path.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY));
}

template <class Value>
bool readBand(GDALDataset& dataset, int number, Band<Value>& band, GDALDataType type) {
    band = Band<Value>(dataset.GetRasterXSize(), dataset.GetRasterYSize());
    return dataset.GetRasterBand(number)->RasterIO(GF_Read, 0, 0, band.width, band.height, band.values.data(),
                                                   band.width, band.height, type, 0, 0, nullptr) == CE_None;
}

// A raster in memory, georeferenced, without values.
Dataset makeRaster(const Extent& e, int width, int height, int bands, GDALDataType type) {
    GDALDriver* memory = GetGDALDriverManager()->GetDriverByName("MEM");
    Dataset dataset(memory ? memory->Create("", width, height, bands, type, nullptr) : nullptr);
    if (!dataset) {
        return nullptr;
    }
    double transform[] = {e.west, (e.east - e.west) / width, 0, e.north, 0, (e.south - e.north) / height};
    OGRSpatialReference wgs84;
    wgs84.importFromEPSG(4326);
    wgs84.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    dataset->SetGeoTransform(transform);
    dataset->SetSpatialRef(&wgs84);
    return dataset;
}

bool store(const std::string& path, GDALDataset& dataset, const char* const* options) {
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("COG");
    if (!driver) {
        return complain(path, "no driver writes it:");
    }
    const std::string unfinished = path + ".part";
    Dataset written(driver->CreateCopy(unfinished.c_str(), &dataset, TRUE, const_cast<char**>(options),
                                       nullptr, nullptr));
    if (!written) {
        return complain(path, "cannot be written:");
    }
    written.reset();
    std::error_code error;
    std::filesystem::rename(unfinished, path, error);
    return error ? complain(path, error.message().c_str()) : true;
}

}  // namespace

void initialiseRasters() {
    GDALAllRegister();
    CPLSetConfigOption("GDAL_PAM_ENABLED", "NO");  // no .aux.xml beside the files
}

bool readPicture(const std::string& path, Picture& picture) {
    const Dataset dataset = openRaster(path);
    if (!dataset || dataset->GetRasterCount() < 3) {
        return complain(path, "is no picture.");
    }
    for (int i = 0; i < 3; ++i) {
        if (!readBand(*dataset, i + 1, picture[static_cast<std::size_t>(i)], GDT_Byte)) {
            return complain(path, "cannot be read:");
        }
    }
    return true;
}

bool readHeights(const std::string& path, Band<float>& heights_m) {
    const Dataset dataset = openRaster(path);
    return (dataset && readBand(*dataset, 1, heights_m, GDT_Float32)) || complain(path, "cannot be read:");
}

bool readInto(const std::string& path, int x, int y, Band<std::uint8_t>& whole) {
    const Dataset dataset = openRaster(path);
    Band<std::uint8_t> part;
    if (!dataset || !readBand(*dataset, 1, part, GDT_Byte)) {
        return complain(path, "cannot be read:");
    }
    if (x < 0 || y < 0 || x + part.width > whole.width || y + part.height > whole.height) {
        return complain(path, "has not the expected size.");
    }
    for (int line = 0; line < part.height; ++line) {
        std::copy_n(part.row(line), part.width, whole.row(y + line) + x);
    }
    return true;
}

bool writePicture(const std::string& path, const Extent& extent, const Picture& picture) {
    const int width = picture[0].width, height = picture[0].height;
    const Dataset dataset = makeRaster(extent, width, height, 3, GDT_Byte);
    if (!dataset) {
        return complain(path, "no memory:");
    }
    constexpr GDALColorInterp kColours[] = {GCI_RedBand, GCI_GreenBand, GCI_BlueBand};
    for (int i = 0; i < 3; ++i) {
        GDALRasterBand* band = dataset->GetRasterBand(i + 1);
        band->SetColorInterpretation(kColours[i]);
        auto* values = const_cast<std::uint8_t*>(picture[static_cast<std::size_t>(i)].values.data());
        if (band->RasterIO(GF_Write, 0, 0, width, height, values, width, height, GDT_Byte, 0, 0, nullptr) !=
            CE_None) {
            return complain(path, "cannot be written:");
        }
    }
    const char* const options[] = {"COMPRESS=JPEG",      "QUALITY=88",    "BLOCKSIZE=256",
                                   "RESAMPLING=AVERAGE", "NUM_THREADS=1", nullptr};
    return store(path, *dataset, options);
}

bool writeHeights(const std::string& path, const Extent& extent, const Band<float>& heights_m) {
    const int width = heights_m.width, height = heights_m.height;
    const Dataset dataset = makeRaster(extent, width, height, 1, GDT_Int16);
    if (!dataset) {
        return complain(path, "no memory:");
    }
    Band<std::int16_t> whole(width, height);
    for (std::size_t i = 0; i < whole.values.size(); ++i) {
        whole.values[i] = static_cast<std::int16_t>(std::lround(heights_m.values[i]));
    }
    GDALRasterBand* band = dataset->GetRasterBand(1);
    band->SetUnitType("m");
    if (band->RasterIO(GF_Write, 0, 0, width, height, whole.values.data(), width, height, GDT_Int16, 0, 0,
                       nullptr) != CE_None) {
        return complain(path, "cannot be written:");
    }
    const char* const options[] = {"COMPRESS=DEFLATE",   "PREDICTOR=STANDARD", "BLOCKSIZE=256",
                                   "RESAMPLING=AVERAGE", "NUM_THREADS=1",      nullptr};
    return store(path, *dataset, options);
}

}  // namespace earth
