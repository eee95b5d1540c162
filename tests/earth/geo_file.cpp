#include "tests/earth/geo_file.h"

#include <cmath>

namespace earth {

GeoFile::GeoFile(const std::string& name)
    : m_dataset(nullptr, [](GDALDataset* dataset) { GDALClose(dataset); }) {
    GDALAllRegister();
    CPLSetConfigOption("GDAL_PAM_ENABLED", "NO");
    m_dataset.reset(GDALDataset::Open((std::string(EARTH_FOLDER) + "/" + name).c_str(), GDAL_OF_RASTER));
    if (m_dataset) {
        m_dataset->GetGeoTransform(m_transform.data());
    }
}

void GeoFile::pixelOf(double longitude_deg, double latitude_deg, double& x, double& y) const {
    x = (longitude_deg - m_transform[0]) / m_transform[1];
    y = (latitude_deg - m_transform[3]) / m_transform[5];
}

int GeoFile::read(int band, double longitude_deg, double latitude_deg) const {
    double x = 0, y = 0;
    pixelOf(longitude_deg, latitude_deg, x, y);
    int value = -1;
    const CPLErr result = m_dataset->GetRasterBand(band)->RasterIO(GF_Read, static_cast<int>(std::floor(x)),
                                                                   static_cast<int>(std::floor(y)), 1, 1,
                                                                   &value, 1, 1, GDT_Int32, 0, 0, nullptr);
    return result == CE_None ? value : -1;
}

std::array<int, 3> GeoFile::colourAt(double longitude_deg, double latitude_deg) const {
    return {read(1, longitude_deg, latitude_deg), read(2, longitude_deg, latitude_deg),
            read(3, longitude_deg, latitude_deg)};
}

int GeoFile::valueAt(double longitude_deg, double latitude_deg) const {
    return read(1, longitude_deg, latitude_deg);
}

std::vector<int> GeoFile::band(int number) const {
    const int width = m_dataset->GetRasterXSize(), height = m_dataset->GetRasterYSize();
    std::vector<int> values(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    const CPLErr result = m_dataset->GetRasterBand(number)->RasterIO(
        GF_Read, 0, 0, width, height, values.data(), width, height, GDT_Int32, 0, 0, nullptr);
    return result == CE_None ? values : std::vector<int>();
}

}  // namespace earth
