#include "tests/globe/made_data.h"

#include <gdal_priv.h>
#include <ogr_spatialref.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <fstream>
#include <iomanip>
#include <memory>
#include <sstream>
#include <vector>

namespace globe_test {
namespace {

constexpr double kMercatorEdge = 20037508.342789244;
constexpr float kNoHeight = -9999.0f;

struct Close {
    void operator()(GDALDataset* data) const { GDALClose(data); }
};
using Data = std::unique_ptr<GDALDataset, Close>;

GDALDriver* driver(const char* name) { return GetGDALDriverManager()->GetDriverByName(name); }

// What stands at a place in a band.
float madeValue(const Making& making, int band, double lon, double lat) {
    const bool hole = making.hole && making.hole(lon, lat);
    if (making.heights) {
        return hole ? kNoHeight : static_cast<float>(madeHeight(lon, lat));
    }
    if (band == 3) {
        return hole ? 0.0f : 255.0f;
    }
    return static_cast<float>(std::round(madeColor(band, lon, lat)));
}

// The picture or the heights of a region, in memory.
Data inMemory(const Region& region, const Making& making) {
    const int bands = making.heights ? 1 : making.hole ? 4 : 3;
    const GDALDataType type = making.heights ? GDT_Float32 : GDT_Byte;
    Data data(driver("MEM")->Create("", region.width, region.height, bands, type, nullptr));
    const int steps_x = making.point_registered ? region.width - 1 : region.width;
    const int steps_y = making.point_registered ? region.height - 1 : region.height;
    const double dx = (region.east - region.west) / steps_x;
    const double dy = (region.north - region.south) / steps_y;
    const double shift = making.point_registered ? 0.5 : 0.0;
    double transform[6] = {region.west - shift * dx, dx, 0.0, region.north + shift * dy, 0.0, -dy};
    data->SetGeoTransform(transform);
    OGRSpatialReference srs;
    srs.SetFromUserInput(making.srs.c_str());
    srs.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    data->SetSpatialRef(&srs);
    OGRSpatialReference wgs84;
    wgs84.SetWellKnownGeogCS("WGS84");
    wgs84.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    const std::unique_ptr<OGRCoordinateTransformation> to_places(
        OGRCreateCoordinateTransformation(&srs, &wgs84));
    std::vector<float> row(static_cast<std::size_t>(region.width));
    for (int band = 0; band < bands; ++band) {
        for (int y = 0; y < region.height; ++y) {
            for (int x = 0; x < region.width; ++x) {
                double lon = transform[0] + (x + 0.5) * dx;
                double lat = transform[3] - (y + 0.5) * dy;
                if (srs.IsProjected()) {
                    to_places->Transform(1, &lon, &lat);
                }
                row[static_cast<std::size_t>(x)] = madeValue(making, band, lon, lat);
            }
            const CPLErr written = data->GetRasterBand(band + 1)->RasterIO(
                GF_Write, 0, y, region.width, 1, row.data(), region.width, 1, GDT_Float32, 0, 0, nullptr);
            if (written != CE_None) {
                return nullptr;
            }
        }
    }
    if (making.heights && making.hole) {
        data->GetRasterBand(1)->SetNoDataValue(kNoHeight);
    }
    if (!making.heights && making.hole) {
        data->GetRasterBand(4)->SetColorInterpretation(GCI_AlphaBand);
    }
    return data;
}

}  // namespace

double madeColor(int band, double lon, double lat) {
    const double turn = M_PI / 180.0;
    return 128.0 + 100.0 * (band == 0   ? std::sin(lon * turn * 3.0) * std::cos(lat * turn)
                            : band == 1 ? std::cos(lat * turn * 5.0)
                                        : std::sin(lon * turn * 2.0 + 1.0) * std::sin(lat * turn * 2.0));
}

double madeHeight(double lon, double lat) {
    const double turn = M_PI / 180.0;
    return 1500.0 + 900.0 * std::sin(lon * turn * 7.0) * std::cos(lat * turn) +
           500.0 * std::cos(lat * turn * 11.0);
}

Folder::Folder() {
    static std::atomic<int> count{0};
    m_path = std::filesystem::current_path() /
             ("made-" + std::to_string(++count) + "-" + std::to_string(std::rand()));
    std::filesystem::create_directories(m_path);
}

Folder::~Folder() {
    std::error_code error;
    std::filesystem::remove_all(m_path, error);
}

std::string Folder::write(const std::string& name, const std::string& text) const {
    std::ofstream(m_path / name, std::ios::binary) << text;
    return (m_path / name).string();
}

bool makeRaster(const std::string& path, const Region& region, const Making& making) {
    GDALAllRegister();
    GDALDriver* writer = driver(making.driver.c_str());
    const Data source = inMemory(region, making);
    if (writer == nullptr || !source) {
        return false;
    }
    std::vector<std::string> words;
    std::istringstream stream(making.options);
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    std::vector<char*> options;
    for (std::string& word : words) {
        options.push_back(word.data());
    }
    options.push_back(nullptr);
    const Data made(writer->CreateCopy(path.c_str(), source.get(), FALSE, options.data(), nullptr, nullptr));
    const int halves[] = {2, 4, 8};
    return made && (!making.overviews ||
                    made->BuildOverviews("AVERAGE", 3, halves, 0, nullptr, nullptr, nullptr) == CE_None);
}

std::string makePlain(const Folder& folder, const std::string& name, int red, int green, int blue,
                      const Region& region) {
    // A picture of four pixels, spread over the region.
    std::string bytes = "P6 2 2 255\n";
    for (int i = 0; i < 4; ++i) {
        bytes += {static_cast<char>(red), static_cast<char>(green), static_cast<char>(blue)};
    }
    folder.write(name + ".ppm", bytes);
    const auto number = [](double value) {
        return (std::ostringstream() << std::setprecision(17) << value).str();
    };
    const std::string dst = "<DstRect xOff=\"0\" yOff=\"0\" xSize=\"" + std::to_string(region.width) +
                            "\" ySize=\"" + std::to_string(region.height) + "\"/>";
    std::string text = "<VRTDataset rasterXSize=\"" + std::to_string(region.width) + "\" rasterYSize=\"" +
                       std::to_string(region.height) + "\"><SRS>EPSG:4326</SRS><GeoTransform>" +
                       number(region.west) + "," + number((region.east - region.west) / region.width) +
                       ",0," + number(region.north) + ",0," +
                       number((region.south - region.north) / region.height) + "</GeoTransform>";
    for (int band = 1; band <= 3; ++band) {
        text += "<VRTRasterBand dataType=\"Byte\" band=\"" + std::to_string(band) +
                "\"><SimpleSource><SourceFilename relativeToVRT=\"1\">" + name +
                ".ppm</SourceFilename><SourceBand>" + std::to_string(band) +
                "</SourceBand><SrcRect xOff=\"0\" yOff=\"0\" xSize=\"2\" ySize=\"2\"/>" + dst +
                "</SimpleSource></VRTRasterBand>";
    }
    return folder.write(name + ".vrt", text + "</VRTDataset>");
}

void makeTileMap(const std::string& folder, const Region& region, int zoom, bool mercator) {
    GDALAllRegister();
    const double edge_x = mercator ? kMercatorEdge : 180.0;
    const double edge_y = mercator ? kMercatorEdge : 90.0;
    const double base = mercator ? 2.0 * kMercatorEdge / 256.0 : 180.0 / 256.0;
    const double scale = mercator ? kMercatorEdge / 180.0 : 1.0;
    const auto northing = [&](double lat) {
        return mercator ? 6378137.0 * std::asinh(std::tan(lat * M_PI / 180.0)) : lat;
    };
    std::ostringstream sets;
    for (int level = 0; level <= zoom; ++level) {
        const double units = base / std::ldexp(1.0, level);
        sets << "<TileSet href=\"" << level << "\" units-per-pixel=\"" << std::setprecision(17) << units
             << "\" order=\"" << level << "\"/>";
        const double span = units * 256.0;
        const auto index = [&](double at, double edge) {
            return static_cast<int>(std::floor((at + edge) / span));
        };
        const int columns = static_cast<int>(std::lround(2.0 * edge_x / span)) - 1;
        const int rows = static_cast<int>(std::lround(2.0 * edge_y / span)) - 1;
        for (int x = index(region.west * scale, edge_x);
             x <= std::min(columns, index(region.east * scale, edge_x)); ++x) {
            for (int y = index(northing(region.south), edge_y);
                 y <= std::min(rows, index(northing(region.north), edge_y)); ++y) {
                Making making;
                making.driver = "PNG";
                making.srs = mercator ? "EPSG:3857" : "EPSG:4326";
                making.hole = [&region](double lon, double lat) {
                    return lon < region.west || lon > region.east || lat < region.south || lat > region.north;
                };
                const double west = -edge_x + span * x;
                const double south = -edge_y + span * y;
                const std::filesystem::path place =
                    std::filesystem::path(folder) / std::to_string(level) / std::to_string(x);
                std::filesystem::create_directories(place);
                makeRaster((place / (std::to_string(y) + ".png")).string(),
                           {west, south, west + span, south + span, 256, 256}, making);
            }
        }
    }
    std::ofstream(std::filesystem::path(folder) / "tilemapresource.xml")
        << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<TileMap version=\"1.0.0\"><SRS>"
        << (mercator ? "EPSG:3857" : "EPSG:4326") << "</SRS><BoundingBox minx=\"" << region.west
        << "\" miny=\"" << region.south << "\" maxx=\"" << region.east << "\" maxy=\"" << region.north
        << "\"/><TileFormat width=\"256\" height=\"256\" mime-type=\"image/png\" "
           "extension=\"png\"/><TileSets profile=\""
        << (mercator ? "mercator" : "geodetic") << "\">" << sets.str() << "</TileSets></TileMap>\n";
}

void spoil(const std::string& path, double from_part, double to_part) {
    std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
    file.seekg(0, std::ios::end);
    const auto size = static_cast<double>(file.tellg());
    file.seekp(static_cast<std::streamoff>(size * from_part));
    const std::string rubbish(static_cast<std::size_t>(size * (to_part - from_part)), '\xA5');
    file.write(rubbish.data(), static_cast<std::streamsize>(rubbish.size()));
}

}  // namespace globe_test
