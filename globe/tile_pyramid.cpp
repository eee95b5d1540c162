#include "globe/tile_pyramid.h"

#include <cpl_error.h>
#include <cpl_minixml.h>
#include <cpl_vsi.h>
#include <gdal_priv.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <limits>
#include <list>
#include <vector>

#include "globe/geodesy.h"
#include "globe/initialize.h"
#include "globe/web_fetch.h"

namespace globe {
namespace {

constexpr double kMercatorEdge_m = kPi * kEquatorRadius_m;
constexpr double kMercatorEdge_deg = 85.0511287798066;
// Tiles side by side for one grid: the zoom is chosen so that few suffice.
constexpr int kMaxTilesAcross = 8;
// Two rows of them, since a row of posts may lie between two rows of tiles.
constexpr std::size_t kTilesKept = 2 * (kMaxTilesAcross + 1);

double mercatorY(double lat) {
    const double limited = toRadians(std::clamp(lat, -kMercatorEdge_deg, kMercatorEdge_deg));
    return kEquatorRadius_m * std::asinh(std::tan(limited));
}

std::string replaced(std::string text, const std::string& what, long number) {
    const auto at = text.find(what);
    return at == std::string::npos ? text : text.replace(at, what.size(), std::to_string(number));
}

// One tile as it was read: bands in float, so that pictures and heights take the same road.
struct PyramidTile {
    int zoom = 0;
    long x = 0;
    long y = 0;
    int size = 0;
    bool there = false;
    std::vector<float> red, green, blue, alpha;  // heights in red; row 0 in the north
};

class Pyramid : public RasterSource {
public:
    explicit Pyramid(const PyramidLayout& layout) : m_layout(layout) {
        m_info.extent = layout.extent;
        const double finest = layout.units_per_pixel / std::ldexp(1.0, layout.max_zoom);
        m_info.degrees_per_pixel = layout.mercator ? finest / kMercatorEdge_m * 180.0 : finest;
    }

    const RasterInfo& info() const override { return m_info; }

    ReadResult readColors(const PostGrid& grid, std::uint8_t* rgba, const Flag& cancelled) override {
        return sample(grid, cancelled, [rgba](std::size_t post, const float value[4]) {
            for (std::size_t band = 0; band < 4; ++band) {
                rgba[4 * post + band] =
                    static_cast<std::uint8_t>(std::clamp(std::lround(value[band]), 0L, 255L));
            }
        });
    }

    ReadResult readHeights(const PostGrid& grid, float* heights_m, const Flag& cancelled) override {
        return sample(grid, cancelled, [heights_m](std::size_t post, const float value[4]) {
            const bool ground = value[3] > 127.0f && value[0] > -12000.0f && value[0] < 20000.0f;
            heights_m[post] = ground ? value[0] : std::numeric_limits<float>::quiet_NaN();
        });
    }

private:
    int zoomFor(const PostGrid& grid) const {
        const double step = m_layout.mercator ? grid.stepX() / 180.0 * kMercatorEdge_m : grid.stepX();
        const double zoom = std::ceil(std::log2(m_layout.units_per_pixel / step) - 0.25);
        return static_cast<int>(
            std::clamp(zoom, static_cast<double>(m_layout.min_zoom), static_cast<double>(m_layout.max_zoom)));
    }

    template <typename Put>
    ReadResult sample(const PostGrid& grid, const Flag& cancelled, const Put& put) {
        const int zoom = zoomFor(grid);
        const double units = m_layout.units_per_pixel / std::ldexp(1.0, zoom);
        const double across = grid.extent.width() / (units * m_layout.tile_size) *
                              (m_layout.mercator ? kMercatorEdge_m / 180.0 : 1.0);
        if (across > kMaxTilesAcross) {
            return ReadResult::kNothing;
        }
        bool any = false;
        m_failed = false;
        m_answered = false;
        m_cancelled = &cancelled;
        for (int row = 0; row < grid.rows; ++row) {
            const double lat = grid.extent.south + grid.stepY() * row;
            const double y = ((m_layout.mercator ? mercatorY(lat) : lat) - m_layout.origin_y) / units;
            const bool outside = m_layout.mercator && std::fabs(lat) > kMercatorEdge_deg;
            for (int column = 0; column < grid.columns; ++column) {
                const double lon = grid.extent.west + grid.stepX() * column;
                const double x =
                    ((m_layout.mercator ? lon / 180.0 * kMercatorEdge_m : lon) - m_layout.origin_x) / units;
                float value[4] = {0.0f, 0.0f, 0.0f, 0.0f};
                if (!outside && lon >= m_info.extent.west - 1e-9 && lon <= m_info.extent.east + 1e-9) {
                    texelAt(zoom, x, y, value);
                }
                any = any || value[3] > 0.0f;
                put(static_cast<std::size_t>(row) * static_cast<std::size_t>(grid.columns) +
                        static_cast<std::size_t>(column),
                    value);
            }
            if (cancelled || m_failed) {
                return ReadResult::kFailed;
            }
        }
        // A server that says there is nothing is in order, and whoever reads should know.
        return any || m_answered ? ReadResult::kRead : ReadResult::kNothing;
    }

    // Bilinear over the whole pyramid's grid of pixels (x, y counted from the origin, y northward).
    void texelAt(int zoom, double x, double y, float value[4]) {
        const double left = std::floor(x - 0.5);
        const double low = std::floor(y - 0.5);
        const float part_x = static_cast<float>(x - 0.5 - left);
        const float part_y = static_cast<float>(y - 0.5 - low);
        float weights = 0.0f;
        float sum[4] = {0.0f, 0.0f, 0.0f, 0.0f};
        for (int corner = 0; corner < 4; ++corner) {
            const float weight =
                ((corner & 1) != 0 ? part_x : 1.0f - part_x) * ((corner & 2) != 0 ? part_y : 1.0f - part_y);
            float texel[4];
            if (weight > 0.0f &&
                pixel(zoom, static_cast<long>(left) + (corner & 1), static_cast<long>(low) + (corner >> 1),
                      texel) &&
                texel[3] > 0.0f) {
                weights += weight;
                for (int band = 0; band < 4; ++band) {
                    sum[band] += weight * texel[band];
                }
            }
        }
        // A neighbour that is missing does not darken the rim.
        for (int band = 0; band < 4 && weights > 0.0f; ++band) {
            value[band] = sum[band] / weights;
        }
    }

    bool pixel(int zoom, long x, long y, float texel[4]) {
        const long size = m_layout.tile_size;
        const auto tile_of = [size](long at) { return at >= 0 ? at / size : -((size - 1 - at) / size); };
        const PyramidTile& tile = tileOf(zoom, tile_of(x), tile_of(y));
        if (!tile.there) {
            return false;
        }
        const long column = (x - tile.x * size) * tile.size / size;
        const long row = tile.size - 1 - (y - tile.y * size) * tile.size / size;
        const auto at = static_cast<std::size_t>(row * tile.size + column);
        texel[0] = tile.red[at];
        texel[1] = tile.green[at];
        texel[2] = tile.blue[at];
        texel[3] = tile.alpha[at];
        return true;
    }

    const PyramidTile& tileOf(int zoom, long x, long y) {
        const auto wanted = [&](const PyramidTile& tile) {
            return tile.zoom == zoom && tile.x == x && tile.y == y;
        };
        if (!m_tiles.empty() && wanted(m_tiles.front())) {
            return m_tiles.front();
        }
        const auto found = std::find_if(m_tiles.begin(), m_tiles.end(), wanted);
        if (found != m_tiles.end()) {
            m_tiles.splice(m_tiles.begin(), m_tiles, found);
            return m_tiles.front();
        }
        // The first failure ends it, so that a server that does not answer is asked once and not for each
        // tile.
        PyramidTile tile;
        tile.zoom = zoom;
        tile.x = x;
        tile.y = y;
        if (m_failed || *m_cancelled || readTile(tile) == ReadResult::kFailed) {
            m_failed = true;
            return m_hole;
        }
        m_tiles.push_front(std::move(tile));
        if (m_tiles.size() > kTilesKept) {
            m_tiles.pop_back();
        }
        return m_tiles.front();
    }

    // Degrees or mercator metres: of a tile's side, and of the whole grid.
    double spanOf(int zoom) const {
        return m_layout.units_per_pixel / std::ldexp(1.0, zoom) * m_layout.tile_size;
    }
    double height() const { return m_layout.mercator ? 2.0 * kMercatorEdge_m : 180.0; }
    double width() const { return m_layout.mercator ? 2.0 * kMercatorEdge_m : 360.0; }
    // Nobody is asked for what cannot exist.
    bool isInside(const PyramidTile& tile) const {
        constexpr double kSlack = 1e-6;
        const double span = spanOf(tile.zoom);
        return tile.x >= 0 && tile.y >= 0 && static_cast<double>(tile.x) + kSlack < width() / span &&
               static_cast<double>(tile.y) + kSlack < height() / span;
    }

    std::string addressOf(const PyramidTile& tile) const {
        const long rows = std::lround(height() / spanOf(tile.zoom));
        std::string address = replaced(replaced(m_layout.tile_template, "{z}", tile.zoom), "{x}", tile.x);
        address = replaced(address, "{-y}", rows - 1 - tile.y);
        return replaced(address, "{y}", tile.y);
    }

    // Leaves a hole where there is nothing.
    ReadResult readTile(PyramidTile& tile) {
        if (!isInside(tile)) {
            return ReadResult::kNothing;
        }
        const std::string address = addressOf(tile);
        if (!isWebAddress(address)) {
            VSIStatBufL status;
            const bool there = VSIStatL(address.c_str(), &status) == 0 && status.st_size > 0;
            return there ? decode(address, tile) : ReadResult::kNothing;
        }
        std::string bytes;
        const FetchResult fetched = m_web.get(address, &bytes);
        m_answered = m_answered || fetched != FetchResult::kFailed;
        if (fetched != FetchResult::kRead) {
            return fetched == FetchResult::kFailed ? ReadResult::kFailed : ReadResult::kNothing;
        }
        static std::atomic<unsigned> count{0};
        const std::string file = "/vsimem/globe-tile-" + std::to_string(++count);
        VSIFCloseL(
            VSIFileFromMemBuffer(file.c_str(), reinterpret_cast<GByte*>(bytes.data()), bytes.size(), FALSE));
        const ReadResult result = decode(file, tile);
        VSIUnlink(file.c_str());
        return result;
    }

    static ReadResult decode(const std::string& file, PyramidTile& tile) {
        const char* no_neighbours[] = {nullptr};
        GDALDataset* data = GDALDataset::Open(file.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY, nullptr,
                                              nullptr, no_neighbours);
        tile.there = data != nullptr && load(*data, tile);
        if (data != nullptr) {
            GDALClose(data);
        }
        if (!tile.there) {
            CPLError(CE_Failure, CPLE_AppDefined, "a tile is no picture");
        }
        return tile.there ? ReadResult::kRead : ReadResult::kFailed;
    }

    static bool load(GDALDataset& data, PyramidTile& tile) {
        tile.size = data.GetRasterXSize();
        const int bands = data.GetRasterCount();
        if (bands < 1 || tile.size != data.GetRasterYSize() || tile.size > 4096) {
            return false;
        }
        const auto texels = static_cast<std::size_t>(tile.size) * static_cast<std::size_t>(tile.size);
        const auto read = [&](GDALRasterBand* band, std::vector<float>& into) {
            into.resize(texels);
            return band->RasterIO(GF_Read, 0, 0, tile.size, tile.size, into.data(), tile.size, tile.size,
                                  GDT_Float32, 0, 0, nullptr) == CE_None;
        };
        GDALRasterBand* first = data.GetRasterBand(1);
        tile.alpha.assign(texels, 255.0f);
        return read(first, tile.red) && read(data.GetRasterBand(bands >= 3 ? 2 : 1), tile.green) &&
               read(data.GetRasterBand(bands >= 3 ? 3 : 1), tile.blue) &&
               ((first->GetMaskFlags() & GMF_ALL_VALID) != 0 || read(first->GetMaskBand(), tile.alpha));
    }

    PyramidLayout m_layout;
    RasterInfo m_info;
    std::list<PyramidTile> m_tiles;  // newest first
    const PyramidTile m_hole;
    WebFetch m_web;
    // Of the read under way.
    bool m_failed = false;
    bool m_answered = false;
    const Flag* m_cancelled = nullptr;
};

std::string folderOf(const std::string& url) {
    const auto slash = url.find_last_of('/');
    return slash == std::string::npos ? "." : url.substr(0, slash);
}

bool readText(const std::string& url, std::string* text, std::string* error) {
    if (isWebAddress(url)) {
        WebFetch web;
        const FetchResult fetched = web.get(url, text);
        *error = fetched == FetchResult::kFailed ? CPLGetLastErrorMsg() : "there is nothing at this address";
        return fetched == FetchResult::kRead;
    }
    GByte* bytes = nullptr;
    vsi_l_offset size = 0;
    if (!VSIIngestFile(nullptr, url.c_str(), &bytes, &size, 1 << 20)) {
        *error = "cannot be read";
        return false;
    }
    text->assign(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
    VSIFree(bytes);
    return true;
}

double numberOf(const CPLXMLNode* node, const char* path, double otherwise) {
    const char* text = CPLGetXMLValue(node, path, nullptr);
    return text != nullptr ? CPLAtof(text) : otherwise;
}

// Writers disagree whether the box of a mercator pyramid is in degrees or metres.
GeoExtent boxOf(const CPLXMLNode* root, bool mercator) {
    GeoExtent box{numberOf(root, "BoundingBox.minx", -180.0), numberOf(root, "BoundingBox.miny", -90.0),
                  numberOf(root, "BoundingBox.maxx", 180.0), numberOf(root, "BoundingBox.maxy", 90.0)};
    if (mercator && std::max({std::fabs(box.west), std::fabs(box.east), std::fabs(box.north),
                              std::fabs(box.south)}) > 360.0) {
        const auto lat = [](double y) { return toDegrees(std::atan(std::sinh(y / kEquatorRadius_m))); };
        box = {box.west / kMercatorEdge_m * 180.0, lat(box.south), box.east / kMercatorEdge_m * 180.0,
               lat(box.north)};
    }
    return box;
}

}  // namespace

bool readTileMapResource(const std::string& url, PyramidLayout* layout, std::string* error) {
    std::string text;
    if (!readText(url, &text, error)) {
        return false;
    }
    CPLXMLNode* document = CPLParseXMLString(text.c_str());
    CPLXMLNode* root = document != nullptr ? CPLGetXMLNode(document, "=TileMap") : nullptr;
    CPLXMLNode* sets = root != nullptr ? CPLGetXMLNode(root, "TileSets") : nullptr;
    bool any = false;
    if (sets != nullptr) {
        const std::string srs = CPLGetXMLValue(root, "SRS", "EPSG:4326");
        const std::string profile = CPLGetXMLValue(sets, "profile", "");
        layout->mercator = profile.find("mercator") != std::string::npos ||
                           srs.find("3857") != std::string::npos || srs.find("900913") != std::string::npos;
        layout->origin_x = layout->mercator ? -kMercatorEdge_m : -180.0;
        layout->origin_y = layout->mercator ? -kMercatorEdge_m : -90.0;
        layout->tile_size =
            static_cast<int>(std::clamp(numberOf(root, "TileFormat.width", 256.0), 16.0, 4096.0));
        layout->tile_template =
            folderOf(url) + "/{z}/{x}/{y}." + CPLGetXMLValue(root, "TileFormat.extension", "png");
        layout->extent = boxOf(root, layout->mercator);
        for (const CPLXMLNode* set = sets->psChild; set != nullptr; set = set->psNext) {
            if (set->eType == CXT_Element && std::strcmp(set->pszValue, "TileSet") == 0) {
                const int zoom = static_cast<int>(std::clamp(numberOf(set, "order", 0.0), 0.0, 30.0));
                const double units = numberOf(set, "units-per-pixel", 0.0);
                layout->min_zoom = any ? std::min(layout->min_zoom, zoom) : zoom;
                layout->max_zoom = any ? std::max(layout->max_zoom, zoom) : zoom;
                layout->units_per_pixel =
                    units > 0.0 ? units * std::ldexp(1.0, zoom) : layout->units_per_pixel;
                any = any || units > 0.0;
            }
        }
    }
    CPLDestroyXMLNode(document);
    if (!any) {
        *error = "is no description of a tile map";
    }
    return any;
}

PyramidLayout webMapLayout(const std::string& tile_template, int max_zoom) {
    PyramidLayout layout;
    layout.tile_template = tile_template;
    // Web maps count from the north.
    const auto at = layout.tile_template.find("{y}");
    if (at != std::string::npos) {
        layout.tile_template.replace(at, 3, "{-y}");
    } else if (layout.tile_template.find("{-y}") != std::string::npos) {
        layout.tile_template.replace(layout.tile_template.find("{-y}"), 4, "{y}");
    }
    layout.mercator = true;
    layout.origin_x = layout.origin_y = -kMercatorEdge_m;
    layout.units_per_pixel = 2.0 * kMercatorEdge_m / 256.0;
    layout.max_zoom = max_zoom;
    layout.extent = {-180.0, -kMercatorEdge_deg, 180.0, kMercatorEdge_deg};
    return layout;
}

std::unique_ptr<RasterSource> openPyramid(const PyramidLayout& layout) {
    registerAllDrivers();
    return std::make_unique<Pyramid>(layout);
}

}  // namespace globe
