#include "globe/tile_composer.h"

#include <cpl_error.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

#include "globe/geodesy.h"
#include "globe/graticule_painter.h"
#include "globe/tile_selection.h"

namespace globe {
namespace {

constexpr int kMaxTexels = 256;
constexpr int kMinTexels = 32;
constexpr std::uint8_t kSea[4] = {30, 48, 82, 255};

std::size_t area(int side) { return static_cast<std::size_t>(side) * static_cast<std::size_t>(side); }

// The posts of a tile with `frame` more on each side.
PostGrid gridOf(const TileKey& key, int posts, int frame) {
    GeoExtent extent = key.extent();
    const double border = extent.width() / (posts - 1) * frame;
    extent = {extent.west - border, extent.south - border, extent.east + border, extent.north + border};
    return {extent, posts + 2 * frame, posts + 2 * frame};
}

// Where a post of one grid lies among those of another: the lower neighbour, and the part of the way to the
// next.
struct Place {
    int low;
    float part;
};
Place placeIn(double at, double first, double step, int posts) {
    const double index = std::clamp((at - first) / step, 0.0, posts - 1.0);
    const int low = std::min(static_cast<int>(index), posts - 2);
    return {low, static_cast<float>(index - low)};
}

template <typename Visit>
void resample(const PostGrid& from, const PostGrid& to, const Visit& visit) {
    for (int row = 0; row < to.rows; ++row) {
        const Place y =
            placeIn(to.extent.south + to.stepY() * row, from.extent.south, from.stepY(), from.rows);
        for (int column = 0; column < to.columns; ++column) {
            const Place x =
                placeIn(to.extent.west + to.stepX() * column, from.extent.west, from.stepX(), from.columns);
            const auto base = static_cast<std::size_t>(y.low) * static_cast<std::size_t>(from.columns) +
                              static_cast<std::size_t>(x.low);
            const auto up = static_cast<std::size_t>(from.columns);
            const std::size_t corners[4] = {base, base + 1, base + up, base + up + 1};
            const float weights[4] = {(1 - x.part) * (1 - y.part), x.part * (1 - y.part),
                                      (1 - x.part) * y.part, x.part * y.part};
            visit(static_cast<std::size_t>(row) * static_cast<std::size_t>(to.columns) +
                      static_cast<std::size_t>(column),
                  corners, weights);
        }
    }
}

// Texels of a tile's picture.
struct Size {
    int columns = kMaxTexels;
    int rows = kMaxTexels;
    std::size_t area() const { return static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows); }
    bool operator!=(const Size& other) const { return columns != other.columns || rows != other.rows; }
    Size half() const { return {std::max(1, columns / 2), std::max(1, rows / 2)}; }
};

PostGrid texelGrid(const TileKey& key, const Size& size) { return {key.extent(), size.columns, size.rows}; }

// Half the size, four texels into one, or two where there is only one along a side.
void halve(const std::uint8_t* from, const Size& size, std::uint8_t* to) {
    const Size half = size.half();
    const std::ptrdiff_t right = size.columns > 1 ? 3 : 0;
    const std::ptrdiff_t up = size.rows > 1 ? 3 * static_cast<std::ptrdiff_t>(size.columns) : 0;
    for (int row = 0; row < half.rows; ++row) {
        const std::uint8_t* texel = from + 2 * row * up;
        for (int i = 0; i < half.columns; ++i, texel += 2 * right) {
            for (int band = 0; band < 3; ++band) {
                const std::uint8_t* at = texel + band;
                *to++ = static_cast<std::uint8_t>((at[0] + at[right] + at[up] + at[up + right] + 2) / 4);
            }
        }
    }
}

osg::ref_ptr<osg::Image> imageOf(const std::vector<std::uint8_t>& rgba, const Size& size) {
    osg::Image::MipmapDataType offsets;
    std::size_t bytes = size.area() * 3;
    for (Size level = size; level != Size{1, 1};) {
        level = level.half();
        offsets.push_back(static_cast<unsigned int>(bytes));
        bytes += level.area() * 3;
    }
    auto* data = new unsigned char[bytes];
    for (std::size_t i = 0; i < size.area(); ++i) {
        std::copy_n(&rgba[4 * i], 3, data + 3 * i);
    }
    unsigned char* texels = data;
    for (Size level = size; level != Size{1, 1}; level = level.half()) {
        halve(texels, level, texels + level.area() * 3);
        texels += level.area() * 3;
    }
    osg::ref_ptr<osg::Image> image = new osg::Image;
    image->setImage(size.columns, size.rows, 1, GL_RGB8, GL_RGB, GL_UNSIGNED_BYTE, data,
                    osg::Image::USE_NEW_DELETE, 1);
    image->setMipmapLevels(offsets);
    return image;
}

void blend(std::vector<std::uint8_t>& under, const std::vector<std::uint8_t>& over, double opacity) {
    const int strength = static_cast<int>(std::lround(opacity * 256.0));
    for (std::size_t i = 0; i < under.size(); i += 4) {
        const int part = over[i + 3] * strength / 255;
        for (std::size_t band = 0; band < 3; ++band) {
            under[i + band] =
                static_cast<std::uint8_t>(under[i + band] + (over[i + band] - under[i + band]) * part / 256);
        }
    }
}

std::vector<std::uint8_t> seaOf(const Size& size) {
    std::vector<std::uint8_t> rgba(size.area() * 4);
    for (std::size_t i = 0; i < rgba.size(); i += 4) {
        std::memcpy(&rgba[i], kSea, 4);
    }
    return rgba;
}

void prepareHeights(TileData& tile) {
    tile.posts = meshPosts(tile.key.level);
    tile.heights.assign(area(tile.posts + 2), 0.0f);
}

// One height at a pole, where all meridians meet, and the same beyond it.
void closePole(TileData& tile, bool north) {
    const int side = tile.posts + 2;
    float* edge =
        &tile.heights[static_cast<std::size_t>(north ? tile.posts : 1) * static_cast<std::size_t>(side)];
    float* beyond = north ? edge + side : edge - side;
    const float height =
        std::accumulate(edge + 1, edge + 1 + tile.posts, 0.0f) / static_cast<float>(tile.posts);
    std::fill(edge, edge + side, height);
    std::fill(beyond, beyond + side, height);
}

void finishHeights(TileData& tile) {
    const GeoExtent extent = tile.key.extent();
    if (extent.north >= 90.0) {
        closePole(tile, true);
    }
    if (extent.south <= -90.0) {
        closePole(tile, false);
    }
    const auto range = std::minmax_element(tile.heights.begin(), tile.heights.end());
    tile.lowest_m = *range.first;
    tile.highest_m = *range.second;
}

// Fewer columns towards the poles, so that texels stay about square on the ground: the graphics library
// chooses the level of detail by the narrower side.
Size narrowed(const TileKey& key, int rows) {
    const GeoExtent extent = key.extent();
    const double lat = std::max({0.0, extent.south, -extent.north});
    Size size{rows, rows};
    while (size.columns > 4 && size.columns * 0.7 > rows * std::cos(toRadians(lat))) {
        size.columns /= 2;
    }
    return size;
}

// Texels that a tile's pictures are worth.
Size texelsFor(const LayerStack& layers, const TileKey& key, bool covered) {
    const bool lined =
        std::any_of(layers.layers().begin(), layers.layers().end(),
                    [](const LayerModel& layer) { return layer.kind == LayerKind::kGraticule; });
    int rows = kMaxTexels;
    if (!lined && covered) {
        const double worth = tileSize(key.level) / layers.finestPicture(key.extent());
        for (rows = kMinTexels; rows < kMaxTexels && rows < worth;) {
            rows *= 2;
        }
    }
    return narrowed(key, rows);
}

// The tile itself, or the one above it of the finest level that may be read.
TileKey firstToRead(TileKey key, const LayerModel& model) {
    while (key.level > std::max(0, model.max_level)) {
        key = key.parent();
    }
    return key;
}

}  // namespace

TileComposer::TileComposer(std::shared_ptr<LayerStack> layers, bool with_remote)
    : m_layers(std::move(layers)), m_with_remote(with_remote), m_sources(m_layers->layers().size()) {}

TileComposer::~TileComposer() = default;

RasterSource* TileComposer::sourceOf(std::size_t layer) {
    if (!m_sources[layer] && !m_layers->isPaused(layer)) {
        const LayerModel& model = m_layers->layers()[layer];
        const RasterUse use = model.kind == LayerKind::kElevation ? RasterUse::kHeights : RasterUse::kColors;
        std::string error;
        m_sources[layer] = openRaster(model.url, model.driver, use, &error);
        if (m_sources[layer]) {
            m_layers->opened(layer, m_sources[layer]->info());
        } else {
            forgetAnswers(model.url, model.driver);
            m_layers->failedToOpen(layer, model.url.substr(0, 200) + ": " + error);
        }
    }
    return m_layers->isPaused(layer) ? nullptr : m_sources[layer].get();
}

void TileComposer::noteRead(std::size_t layer, bool own) {
    if (own) {
        m_layers->wasRead(layer);
    } else {
        m_layers->stoodIn(layer);
    }
}

bool TileComposer::noteFailure(std::size_t layer, const Flag& cancelled) {
    if (cancelled) {
        return false;
    }
    const std::string message = CPLGetLastErrorMsg();
    m_layers->failedToRead(layer, message.empty() ? "no reason is given" : message);
    if (!m_layers->isPaused(layer)) {
        return true;
    }
    // After the pause it is opened anew: nobody knows what a data set keeps of an answer that broke off.
    m_sources[layer].reset();
    forgetAnswers(m_layers->layers()[layer].url, m_layers->layers()[layer].driver);
    return false;
}

bool TileComposer::isWanted(std::size_t layer, const TileKey& key) const {
    return m_layers->layers()[layer].kind != LayerKind::kGraticule && m_layers->showsAt(layer, key.level) &&
           m_layers->meets(layer, key.extent());
}

bool TileComposer::isWithinReach(std::size_t layer) const {
    return (m_with_remote || !m_layers->isRemote(layer)) && !m_layers->isPaused(layer);
}

// Whether a tile that was made without the layers behind a network would be made the same once more.
bool TileComposer::nothingNew(const TileKey& key) const {
    bool lacks = false;
    for (std::size_t i = 0; i < m_layers->layers().size(); ++i) {
        if (m_layers->isRemote(i) && isWanted(i, key)) {
            if (isWithinReach(i)) {
                return false;
            }
            lacks = true;
        }
    }
    return lacks;
}

TileComposer::Got TileComposer::paintLayer(std::size_t layer, const PostGrid& grid, const TileKey& key,
                                           std::vector<std::uint8_t>& rgba, const Flag& cancelled) {
    const LayerModel& model = m_layers->layers()[layer];
    RasterSource* source = sourceOf(layer);
    if (source == nullptr) {
        return Got::kNone;
    }
    if (!m_layers->meets(layer, key.extent())) {
        return Got::kAll;
    }
    std::vector<std::uint8_t> over(rgba.size(), 0);
    const TileKey first = firstToRead(key, model);
    TileKey at = first;
    for (;;) {
        const bool own = at == key;
        const PostGrid source_grid = own ? grid : gridOf(at, kMaxTexels, 0);
        std::vector<std::uint8_t> texels(own ? 0 : area(kMaxTexels) * 4);
        CPLErrorReset();
        const ReadResult result =
            source->readColors(source_grid, own ? over.data() : texels.data(), cancelled);
        if (cancelled || result == ReadResult::kNothing) {
            return at == first ? Got::kAll : Got::kPart;
        }
        if (result == ReadResult::kRead) {
            noteRead(layer, at == first);
            if (!own) {
                resample(source_grid, grid,
                         [&](std::size_t to, const std::size_t corners[4], const float weights[4]) {
                             for (std::size_t band = 0; band < 4; ++band) {
                                 float sum = 0.5f;
                                 for (int i = 0; i < 4; ++i) {
                                     sum += weights[i] * texels[4 * corners[i] + band];
                                 }
                                 over[4 * to + band] = static_cast<std::uint8_t>(sum);
                             }
                         });
            }
            blend(rgba, over, model.opacity);
            return at == first ? Got::kAll : Got::kPart;
        }
        if (!noteFailure(layer, cancelled) || at.isRoot()) {
            return Got::kNone;
        }
        at = at.parent();
    }
}

TileComposer::Got TileComposer::raiseLayer(std::size_t layer, TileData& tile, const Flag& cancelled) {
    const LayerModel& model = m_layers->layers()[layer];
    RasterSource* source = sourceOf(layer);
    if (source == nullptr) {
        return Got::kNone;
    }
    if (!m_layers->meets(layer, tile.key.extent())) {
        return Got::kAll;
    }
    const PostGrid grid = gridOf(tile.key, tile.posts, 1);
    const TileKey first = firstToRead(tile.key, model);
    TileKey at = first;
    for (;;) {
        const bool own = at == tile.key;
        const PostGrid source_grid = own ? grid : gridOf(at, meshPosts(at.level), 1);
        std::vector<float> heights(static_cast<std::size_t>(source_grid.columns) *
                                   static_cast<std::size_t>(source_grid.rows));
        CPLErrorReset();
        const ReadResult result = source->readHeights(source_grid, heights.data(), cancelled);
        if (cancelled || result == ReadResult::kNothing) {
            return at == first ? Got::kAll : Got::kPart;
        }
        if (result == ReadResult::kRead) {
            noteRead(layer, at == first);
            resample(source_grid, grid,
                     [&](std::size_t to, const std::size_t corners[4], const float weights[4]) {
                         float sum = 0.0f;
                         float known = 0.0f;
                         for (int i = 0; i < 4; ++i) {
                             if (weights[i] > 0.0f && !std::isnan(heights[corners[i]])) {
                                 sum += weights[i] * heights[corners[i]];
                                 known += weights[i];
                             }
                         }
                         if (known > 0.5f) {
                             tile.heights[to] = sum / known;
                         }
                     });
            return at == first ? Got::kAll : Got::kPart;
        }
        if (!noteFailure(layer, cancelled) || at.isRoot()) {
            return Got::kNone;
        }
        at = at.parent();
    }
}

std::shared_ptr<const TileData> TileComposer::compose(const TileKey& key, const Flag& cancelled) {
    if (std::shared_ptr<const TileData> kept = m_layers->cache().get(key)) {
        return kept;
    }
    // What covers what is known only of data sets that are open.
    for (std::size_t i = 0; i < m_layers->layers().size() && !cancelled; ++i) {
        if (isWanted(i, key) && isWithinReach(i)) {
            sourceOf(i);
        }
    }
    if (m_with_remote && nothingNew(key)) {
        return nullptr;
    }
    const auto tile = std::make_shared<TileData>();
    tile->key = key;
    prepareHeights(*tile);
    const bool brought = readLayers(*tile, cancelled);
    if (cancelled || (m_with_remote && !brought && !tile->lacking.empty())) {
        return nullptr;
    }
    finishHeights(*tile);
    if (tile->lacking.empty()) {
        m_layers->cache().put(key, tile, tile->bytes());
    }
    return tile;
}

bool TileComposer::readLayers(TileData& tile, const Flag& cancelled) {
    const TileKey& key = tile.key;
    const std::vector<LayerModel>& layers = m_layers->layers();
    const bool covered = m_layers->isCovered(key, m_with_remote);
    const Size size = texelsFor(*m_layers, key, covered);
    const PostGrid grid = texelGrid(key, size);
    std::vector<std::uint8_t> rgba = seaOf(size);
    if (!covered) {
        paintGraticule(key, size.columns, size.rows, rgba.data());
    }
    bool brought = false;
    for (std::size_t i = 0; i < layers.size() && !cancelled; ++i) {
        if (layers[i].kind == LayerKind::kGraticule) {
            if (m_layers->showsAt(i, key.level)) {
                paintGraticule(key, size.columns, size.rows, rgba.data());
            }
        } else if (isWanted(i, key)) {
            Got got = Got::kNone;
            if (isWithinReach(i)) {
                got = layers[i].kind == LayerKind::kElevation ? raiseLayer(i, tile, cancelled)
                                                              : paintLayer(i, grid, key, rgba, cancelled);
            }
            if (m_layers->isRemote(i)) {
                brought = brought || got != Got::kNone;
                if (got != Got::kAll) {
                    tile.lacking.push_back(i);
                }
            }
        }
    }
    tile.image = imageOf(rgba, size);
    return brought;
}

std::shared_ptr<const TileData> TileComposer::bare(const TileKey& key) {
    const auto tile = std::make_shared<TileData>();
    tile->key = key;
    prepareHeights(*tile);
    const Size size = narrowed(key, kMaxTexels);
    std::vector<std::uint8_t> rgba = seaOf(size);
    paintGraticule(key, size.columns, size.rows, rgba.data());
    tile->image = imageOf(rgba, size);
    return tile;
}

}  // namespace globe
