// Small data sets of every format, whose values everywhere follow a formula.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

namespace globe_test {

// What the made pictures (0 .. 255, band 0 .. 2) and heights (metres) show at a place.
double madeColor(int band, double lon, double lat);
double madeHeight(double lon, double lat);

struct Region {
    double west = 0.0;
    double south = 0.0;
    double east = 1.0;
    double north = 1.0;
    int width = 256;
    int height = 256;
};

struct Making {
    std::string driver = "GTiff";
    std::string srs = "EPSG:4326";  // the region is in its units
    std::string options;            // "NAME=VALUE NAME=VALUE"
    bool heights = false;
    bool point_registered = false;  // samples on the region's rim, as elevation formats have them
    bool overviews = false;
    std::function<bool(double lon, double lat)> hole;  // without data there
};

// A folder that goes when the test ends.
class Folder {
public:
    Folder();
    ~Folder();
    std::string operator/(const std::string& name) const { return (m_path / name).string(); }
    std::string path() const { return m_path.string(); }
    std::string write(const std::string& name, const std::string& text) const;

private:
    std::filesystem::path m_path;
};

// False if the format's driver would not write it.
bool makeRaster(const std::string& path, const Region& region, const Making& making = {});

// One color all over; `name`.vrt in the folder.
std::string makePlain(const Folder& folder, const std::string& name, int red, int green, int blue,
                      const Region& region = {-180.0, -90.0, 180.0, 90.0, 64, 32});

// Tiles with their description, as tile map services keep them; zooms 0 .. `zoom`, those that meet the region
// alone.
void makeTileMap(const std::string& folder, const Region& region, int zoom, bool mercator);

// Makes bytes of a file unreadable as what they were.
void spoil(const std::string& path, double from_part, double to_part);

}  // namespace globe_test
