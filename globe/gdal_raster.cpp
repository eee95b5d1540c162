#include "globe/gdal_raster.h"

#include <gdal_priv.h>
#include <gdal_utils.h>
#include <ogr_spatialref.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

#include "globe/initialize.h"

namespace globe {
namespace {

// More source pixels than this are not read for one tile: about a second's work.
constexpr double kMaxSourcePixels = 16.0 * 1024 * 1024;

struct CloseDataset {
    void operator()(GDALDataset* dataset) const { GDALClose(dataset); }
};
using Dataset = std::unique_ptr<GDALDataset, CloseDataset>;

int goOn(double, const char*, void* cancelled) {
    return *static_cast<const RasterSource::Flag*>(cancelled) ? FALSE : TRUE;
}

// Posts of one axis of a grid that are read together, and where their cells lie in the data set.
struct Span {
    int first = 0;
    int count = 0;
    double start = 0.0;  // pixels
    double length = 0.0;
};

// The posts that a data set can fill: those whose cells lie inside, and by themselves those on its rim, of
// whose cells only a part does. `at_first`: pixel coordinate of the first post's cell; `step`: pixels from
// post to post.
std::vector<Span> spansOf(double at_first, double step, int posts, int pixels) {
    const double slack = 1e-6 * step;
    const auto inside = [&](double place) { return place >= -slack && place <= pixels + slack; };
    std::vector<Span> spans;
    bool joined = false;
    for (int i = 0; i < posts; ++i) {
        const double low = at_first + step * i;
        const bool whole = inside(low) && inside(low + step);
        if (whole && joined) {
            ++spans.back().count;
        } else if (inside(low + 0.5 * step)) {
            spans.push_back({i, 1, 0.0, 0.0});
        }
        joined = whole;
    }
    for (Span& span : spans) {
        const double low = at_first + step * span.first;
        span.start = std::clamp(low, 0.0, static_cast<double>(pixels));
        span.length = std::min(low + step * span.count, static_cast<double>(pixels)) - span.start;
    }
    return spans;
}

double lengthOf(const std::vector<Span>& spans) {
    return std::accumulate(spans.begin(), spans.end(), 0.0,
                           [](double sum, const Span& span) { return sum + span.length; });
}

class GdalRaster : public RasterSource {
public:
    GdalRaster(Dataset source, Dataset warped, RasterUse use)
        : m_source(std::move(source)), m_warped(std::move(warped)) {
        GDALDataset& data = dataset();
        data.GetGeoTransform(m_transform.data());
        m_width = data.GetRasterXSize();
        m_height = data.GetRasterYSize();
        const double north = m_transform[3];
        const double west = m_transform[0];
        m_info.extent = {west, north + m_transform[5] * m_height, west + m_transform[1] * m_width, north};
        // Longitudes from 0 to 360 are brought to where tiles look for them.
        const double turns = std::floor((west + 180.0 + 1e-9) / 360.0);
        m_transform[0] -= 360.0 * turns;
        m_info.extent.west -= 360.0 * turns;
        m_info.extent.east -= 360.0 * turns;
        m_info.degrees_per_pixel = -m_transform[5];
        learnBands(use);
        learnOverviews();
    }

    const RasterInfo& info() const override { return m_info; }

    ReadResult readColors(const PostGrid& grid, std::uint8_t* rgba, const Flag& cancelled) override {
        const std::size_t posts =
            static_cast<std::size_t>(grid.columns) * static_cast<std::size_t>(grid.rows);
        std::fill(rgba, rgba + posts * 4, std::uint8_t{0});
        return overTurns(grid, [&](const Span& across, const Span& down, const PostGrid& part) {
            std::vector<std::uint8_t> texels(
                static_cast<std::size_t>(across.count) * static_cast<std::size_t>(down.count) * 4, 255);
            const bool read = m_palette != nullptr ? readPalette(across, down, texels, cancelled)
                                                   : readBands(across, down, texels, cancelled);
            if (read) {
                spread(across, down, part, [&](std::size_t to, std::size_t from) {
                    // A post on the seam of data that go all around has a half of its cell on either side.
                    const bool seam = rgba[4 * to + 3] == 255 && texels[4 * from + 3] == 255;
                    for (std::size_t band = 0; band < 4; ++band) {
                        std::uint8_t& value = rgba[4 * to + band];
                        const std::uint8_t read_value = texels[4 * from + band];
                        value = seam ? static_cast<std::uint8_t>((value + read_value) / 2) : read_value;
                    }
                });
            }
            return read;
        });
    }

    ReadResult readHeights(const PostGrid& grid, float* heights_m, const Flag& cancelled) override {
        const std::size_t posts =
            static_cast<std::size_t>(grid.columns) * static_cast<std::size_t>(grid.rows);
        std::fill(heights_m, heights_m + posts, std::numeric_limits<float>::quiet_NaN());
        return overTurns(grid, [&](const Span& across, const Span& down, const PostGrid& part) {
            const std::size_t count =
                static_cast<std::size_t>(across.count) * static_cast<std::size_t>(down.count);
            std::vector<float> heights(count);
            std::vector<std::uint8_t> valid(count, 255);
            GDALRasterBand& band = *dataset().GetRasterBand(1);
            if (!read(band, across, down, heights.data(), GDT_Float32, GRIORA_Bilinear, cancelled) ||
                (m_masked && !read(*band.GetMaskBand(), across, down, valid.data(), GDT_Byte,
                                   GRIORA_NearestNeighbour, cancelled))) {
                return false;
            }
            spread(across, down, part, [&](std::size_t to, std::size_t from) {
                // Whatever the mask says, no ground lies outside these.
                const float height = heights[from];
                if (valid[from] != 0 && height > -12000.0f && height < 20000.0f) {
                    heights_m[to] = std::isnan(heights_m[to]) ? height : 0.5f * (heights_m[to] + height);
                }
            });
            return true;
        });
    }

private:
    GDALDataset& dataset() { return m_warped ? *m_warped : *m_source; }

    void learnBands(RasterUse use) {
        GDALDataset& data = dataset();
        int colors = 0;
        for (int i = 1; i <= data.GetRasterCount() && colors < 3; ++i) {
            if (data.GetRasterBand(i)->GetColorInterpretation() != GCI_AlphaBand) {
                m_bands[static_cast<std::size_t>(colors++)] = i;
            }
        }
        if (colors < 3) {
            m_bands[1] = m_bands[2] = m_bands[0];
        }
        GDALRasterBand* first = data.GetRasterBand(m_bands[0]);
        m_masked = (first->GetMaskFlags() & GMF_ALL_VALID) == 0;
        if (use == RasterUse::kColors) {
            m_palette = first->GetColorTable();
        }
    }

    void learnOverviews() {
        GDALRasterBand* band = dataset().GetRasterBand(1);
        m_coarsest = 1.0;
        for (int i = 0; i < band->GetOverviewCount(); ++i) {
            GDALRasterBand* overview = band->GetOverview(i);
            if (overview != nullptr && overview->GetXSize() > 0) {
                m_coarsest = std::max(m_coarsest, static_cast<double>(m_width) / overview->GetXSize());
            }
        }
        if (static_cast<double>(m_width) * m_height / (m_coarsest * m_coarsest) > 4.0 * kMaxSourcePixels) {
            m_info.complaint = "has no overviews: it shows only from near (gdaladdo makes them)";
        }
    }

    // The grid against the data set where it lies, and a turn about the earth to either side.
    template <typename Read>
    ReadResult overTurns(const PostGrid& grid, const Read& read_part) {
        ReadResult result = ReadResult::kNothing;
        for (const double turn : {0.0, 360.0, -360.0}) {
            PostGrid part = grid;
            part.extent.west += turn;
            part.extent.east += turn;
            const double step_x = part.stepX() / m_transform[1];
            const double step_y = part.stepY() / -m_transform[5];
            const auto across = spansOf((part.extent.west - m_transform[0]) / m_transform[1] - 0.5 * step_x,
                                        step_x, part.columns, m_width);
            const auto down = spansOf((m_transform[3] - part.extent.north) / -m_transform[5] - 0.5 * step_y,
                                      step_y, part.rows, m_height);
            const double decimation = std::clamp(std::min(step_x, step_y), 1.0, m_coarsest);
            if (lengthOf(across) * lengthOf(down) / (decimation * decimation) > kMaxSourcePixels) {
                continue;
            }
            for (const Span& rows : down) {
                for (const Span& columns : across) {
                    if (!read_part(columns, rows, part)) {
                        return ReadResult::kFailed;
                    }
                    result = ReadResult::kRead;
                }
            }
        }
        return result;
    }

    // Hands each post inside the data set the index of what was read for it; what was read has the north
    // first.
    template <typename Put>
    static void spread(const Span& across, const Span& down, const PostGrid& grid, const Put& put) {
        for (int y = 0; y < down.count; ++y) {
            const int row = grid.rows - 1 - (down.first + y);
            for (int x = 0; x < across.count; ++x) {
                put(static_cast<std::size_t>(row) * static_cast<std::size_t>(grid.columns) +
                        static_cast<std::size_t>(across.first + x),
                    static_cast<std::size_t>(y) * static_cast<std::size_t>(across.count) +
                        static_cast<std::size_t>(x));
            }
        }
    }

    static bool read(GDALRasterBand& band, const Span& across, const Span& down, void* out, GDALDataType type,
                     GDALRIOResampleAlg algorithm, const Flag& cancelled, int pixel_bytes = 0) {
        GDALRasterIOExtraArg extra;
        INIT_RASTERIO_EXTRA_ARG(extra);
        extra.eResampleAlg = algorithm;
        extra.bFloatingPointWindowValidity = TRUE;
        extra.dfXOff = across.start;
        extra.dfYOff = down.start;
        extra.dfXSize = across.length;
        extra.dfYSize = down.length;
        extra.pfnProgress = goOn;
        extra.pProgressData = const_cast<Flag*>(&cancelled);
        const auto whole = [](const Span& span, int pixels) {
            const int start = std::min(static_cast<int>(std::floor(span.start)), pixels - 1);
            const int end =
                std::clamp(static_cast<int>(std::ceil(span.start + span.length - 1e-9)), start + 1, pixels);
            return std::array<int, 2>{start, end - start};
        };
        const auto [x, width] = whole(across, band.GetXSize());
        const auto [y, height] = whole(down, band.GetYSize());
        const GSpacing pixel = pixel_bytes;
        return band.RasterIO(GF_Read, x, y, width, height, out, across.count, down.count, type, pixel,
                             pixel * across.count, &extra) == CE_None &&
               !cancelled;
    }

    bool readMask(const Span& across, const Span& down, std::vector<std::uint8_t>& texels,
                  const Flag& cancelled) {
        return !m_masked || read(*dataset().GetRasterBand(m_bands[0])->GetMaskBand(), across, down,
                                 &texels[3], GDT_Byte, GRIORA_NearestNeighbour, cancelled, 4);
    }

    bool readBands(const Span& across, const Span& down, std::vector<std::uint8_t>& texels,
                   const Flag& cancelled) {
        for (std::size_t i = 0; i < 3; ++i) {
            if (i > 0 && m_bands[i] == m_bands[0]) {
                for (std::size_t texel = 0; texel < texels.size(); texel += 4) {
                    texels[texel + i] = texels[texel];
                }
            } else if (!read(*dataset().GetRasterBand(m_bands[i]), across, down, &texels[i], GDT_Byte,
                             GRIORA_Bilinear, cancelled, 4)) {
                return false;
            }
        }
        return readMask(across, down, texels, cancelled);
    }

    bool readPalette(const Span& across, const Span& down, std::vector<std::uint8_t>& texels,
                     const Flag& cancelled) {
        if (!read(*dataset().GetRasterBand(m_bands[0]), across, down, texels.data(), GDT_Byte,
                  GRIORA_NearestNeighbour, cancelled, 4)) {
            return false;
        }
        for (std::size_t texel = 0; texel < texels.size(); texel += 4) {
            const GDALColorEntry* color = m_palette->GetColorEntry(texels[texel]);
            const GDALColorEntry none = {0, 0, 0, 0};
            const GDALColorEntry& entry = color != nullptr ? *color : none;
            texels[texel] = static_cast<std::uint8_t>(entry.c1);
            texels[texel + 1] = static_cast<std::uint8_t>(entry.c2);
            texels[texel + 2] = static_cast<std::uint8_t>(entry.c3);
            texels[texel + 3] = static_cast<std::uint8_t>(entry.c4);
        }
        return readMask(across, down, texels, cancelled);
    }

    Dataset m_source;
    Dataset m_warped;  // stands on the source and goes first
    RasterInfo m_info;
    std::array<double, 6> m_transform{};
    std::array<int, 3> m_bands{1, 1, 1};
    const GDALColorTable* m_palette = nullptr;
    bool m_masked = false;
    double m_coarsest = 1.0;  // of the overviews: pixels of the data set in one of theirs
    int m_width = 0;
    int m_height = 0;
};

bool liesInWgs84(GDALDataset& data) {
    std::array<double, 6> transform{};
    if (data.GetGeoTransform(transform.data()) != CE_None || transform[2] != 0.0 || transform[4] != 0.0 ||
        transform[5] >= 0.0 || transform[1] <= 0.0) {
        return false;
    }
    const OGRSpatialReference* reference = data.GetSpatialRef();
    if (reference == nullptr) {
        const double south = transform[3] + transform[5] * data.GetRasterYSize();
        const double east = transform[0] + transform[1] * data.GetRasterXSize();
        return transform[0] >= -361.0 && east <= 361.0 && transform[3] <= 91.0 && south >= -91.0;
    }
    OGRSpatialReference wgs84;
    wgs84.SetWellKnownGeogCS("WGS84");
    return reference->IsGeographic() && reference->IsSameGeogCS(&wgs84);
}

Dataset warp(GDALDataset& source, RasterUse use) {
    // One of them describes what is warped.
    registerAllDrivers();
    std::vector<const char*> words = {"-of", "VRT", "-t_srs", "EPSG:4326", "-r", "bilinear"};
    if (use == RasterUse::kHeights) {
        words.insert(words.end(), {"-ot", "Float32", "-dstnodata", "-32768"});
    } else {
        words.push_back("-dstalpha");
    }
    words.push_back(nullptr);
    GDALWarpAppOptions* options = GDALWarpAppOptionsNew(const_cast<char**>(words.data()), nullptr);
    GDALDatasetH handle = GDALDataset::ToHandle(&source);
    Dataset warped(GDALDataset::FromHandle(GDALWarp("", nullptr, 1, &handle, options, nullptr)));
    GDALWarpAppOptionsFree(options);
    return warped;
}

std::string lastError(const char* otherwise) {
    const std::string message = CPLGetLastErrorMsg();
    return message.empty() ? otherwise : message;
}

}  // namespace

std::unique_ptr<RasterSource> openGdalRaster(const std::string& url, RasterUse use, std::string* error) {
    const bool by_all = allDriversRegistered();
    CPLErrorReset();
    Dataset source(GDALDataset::Open(url.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY));
    if (!source && !by_all) {
        registerAllDrivers();
        CPLErrorReset();
        source.reset(GDALDataset::Open(url.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY));
    }
    if (!source) {
        *error = lastError("no driver knows it");
        return nullptr;
    }
    if (source->GetRasterCount() < 1) {
        *error = "has no picture in it";
        return nullptr;
    }
    std::array<double, 6> transform{};
    const bool placed = source->GetGeoTransform(transform.data()) == CE_None || source->GetGCPCount() > 0;
    if (!placed) {
        *error = "does not say where on the earth it lies";
        return nullptr;
    }
    Dataset warped;
    if (!liesInWgs84(*source)) {
        warped = warp(*source, use);
        if (!warped) {
            *error = lastError("cannot be brought to WGS 84");
            return nullptr;
        }
    }
    return std::make_unique<GdalRaster>(std::move(source), std::move(warped), use);
}

}  // namespace globe
