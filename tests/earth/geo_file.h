// A georeferenced raster, asked by longitude and latitude.
#pragma once

#include <gdal_priv.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace earth {

class GeoFile {
public:
    explicit GeoFile(const std::string& name);

    bool good() const { return m_dataset != nullptr; }
    GDALDataset& dataset() const { return *m_dataset; }
    // Pixel coordinates of a place; the middle of the first pixel is 0.5, 0.5.
    void pixelOf(double longitude_deg, double latitude_deg, double& x, double& y) const;
    // Bands at the pixel in which a place lies; -1 outside.
    std::array<int, 3> colourAt(double longitude_deg, double latitude_deg) const;
    int valueAt(double longitude_deg, double latitude_deg) const;
    // The whole of one band as numbers, row by row.
    std::vector<int> band(int number) const;

private:
    int read(int band, double longitude_deg, double latitude_deg) const;

    std::unique_ptr<GDALDataset, void (*)(GDALDataset*)> m_dataset;
    std::array<double, 6> m_transform{};
};

}  // namespace earth
