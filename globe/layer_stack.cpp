#include "globe/layer_stack.h"

#include <cpl_error.h>
#include <cpl_vsi.h>

#include <algorithm>
#include <cmath>
#include <map>

#include "globe/earth_file.h"
#include "globe/geodesy.h"

namespace globe {
namespace {

constexpr std::size_t kCacheBytes = 24u << 20;
constexpr int kFailuresToPause = 3;

bool contains(const GeoExtent& data, const GeoExtent& tile) {
    constexpr double kSlack = 1e-6;
    return data.west <= tile.west + kSlack && data.east >= tile.east - kSlack &&
           data.south <= tile.south + kSlack && data.north >= tile.north - kSlack;
}

}  // namespace

// A view of 720 lines over 30 degrees, with texels as tile_selection.cpp allows them.
double typicalRange(int level) {
    const double texel_m = toRadians(tileSize(level)) * kEquatorRadius_m / 256.0;
    return texel_m * 1343.0 / 1.6 * std::sqrt(2.0);
}

LayerStack::LayerStack(EarthModel model, std::chrono::milliseconds pause, Clock clock)
    : m_model(std::move(model)), m_pause(pause), m_clock(std::move(clock)), m_cache(kCacheBytes) {
    m_states.resize(m_model.layers.size());
    for (std::size_t i = 0; i < m_states.size(); ++i) {
        m_states[i].remote = globe::isRemote(m_model.layers[i].url, m_model.layers[i].driver);
    }
}

std::shared_ptr<LayerStack> LayerStack::forFile(const std::string& path) {
    static std::mutex mutex;
    static std::map<std::string, std::weak_ptr<LayerStack>> stacks;
    std::string key = path;
    GByte* bytes = nullptr;
    vsi_l_offset size = 0;
    CPLPushErrorHandler(CPLQuietErrorHandler);
    const bool read = VSIIngestFile(nullptr, path.c_str(), &bytes, &size, 4 << 20) != 0;
    CPLPopErrorHandler();
    if (read) {
        key += '\n' + std::string(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
        VSIFree(bytes);
    }
    const std::lock_guard<std::mutex> lock(mutex);
    std::shared_ptr<LayerStack> stack = stacks[key].lock();
    if (!stack) {
        stack = std::make_shared<LayerStack>(readEarthFile(path));
        stacks[key] = stack;
    }
    return stack;
}

bool LayerStack::hasRemote() const {
    return std::any_of(m_states.begin(), m_states.end(), [](const State& state) { return state.remote; });
}

int LayerStack::finestLevel(std::size_t layer, const RasterInfo& info) const {
    const LayerModel& model = m_model.layers[layer];
    const double samples = model.kind == LayerKind::kElevation ? 16.0 : 256.0;
    int level = static_cast<int>(std::ceil(std::log2(180.0 / samples / info.degrees_per_pixel) - 0.1));
    level = std::clamp(level, 0, std::min(model.max_level, static_cast<int>(TileKey::kMaxLevel)));
    // It has to be reached where it begins to show, and where it ceases to.
    level = std::max(level, std::min(model.min_level, static_cast<int>(TileKey::kMaxLevel)));
    for (int at = level + 1; at <= TileKey::kMaxLevel; ++at) {
        const double range = typicalRange(at);
        if (typicalRange(at - 1) > model.max_range_m ||
            (range < model.min_range_m && typicalRange(at - 1) >= model.min_range_m)) {
            level = at;
        }
    }
    return level;
}

void LayerStack::opened(std::size_t layer, const RasterInfo& info) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    State& state = m_states[layer];
    if (state.open_failed) {
        tell(state, {});
    }
    if (state.known) {
        return;
    }
    state.known = true;
    state.info = info;
    state.finest_level = finestLevel(layer, info);
    if (!info.complaint.empty()) {
        ++m_revision;
    }
}

// The first reason stays until all is well, so that the text in the map holds still. Under the lock.
void LayerStack::tell(State& state, const std::string& failure) {
    if (failure.empty() != state.failure.empty()) {
        state.failure = failure;
        state.open_failed = false;
        ++m_revision;
    }
}

void LayerStack::failedToOpen(std::size_t layer, const std::string& reason) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    State& state = m_states[layer];
    state.paused_until = m_clock() + m_pause;
    state.broken = !state.remote;
    if (state.failure.empty()) {
        tell(state, reason);
        state.open_failed = true;
    }
}

void LayerStack::failedToRead(std::size_t layer, const std::string& reason) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    State& state = m_states[layer];
    if (++state.failures >= kFailuresToPause && state.remote) {
        state.paused_until = m_clock() + m_pause;
    }
    tell(state, "parts cannot be read: " + reason);
}

// A file that has a bad part still has it when others are read.
void LayerStack::wasRead(std::size_t layer) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    State& state = m_states[layer];
    state.failures = 0;
    if (state.remote) {
        tell(state, {});
    }
}

void LayerStack::stoodIn(std::size_t layer) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_states[layer].failures = 0;
}

bool LayerStack::isPaused(std::size_t layer) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_states[layer].broken || m_clock() < m_states[layer].paused_until;
}

LayerStack::Time LayerStack::readableAt(const std::vector<std::size_t>& layers) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    Time earliest = Time::max();
    for (const std::size_t layer : layers) {
        earliest = std::min(earliest, m_states[layer].paused_until);
    }
    return earliest;
}

bool LayerStack::showsAt(std::size_t layer, int level) const {
    const LayerModel& model = m_model.layers[layer];
    const double range = typicalRange(level);
    return model.visible && model.opacity > 0.0 && level >= model.min_level && range <= model.max_range_m &&
           range >= model.min_range_m;
}

bool LayerStack::meetsTurned(const GeoExtent& data, const GeoExtent& tile) {
    for (const double turn : {0.0, 360.0, -360.0}) {
        if (data.meets({tile.west + turn, tile.south, tile.east + turn, tile.north})) {
            return true;
        }
    }
    return false;
}

bool LayerStack::meets(std::size_t layer, const GeoExtent& extent) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return !m_states[layer].known || meetsTurned(m_states[layer].info.extent, extent);
}

FinerData LayerStack::finerThan(const TileKey& key) const {
    const GeoExtent extent = key.extent();
    // The net of lines is drawn as finely as one likes.
    constexpr int kFinestNet = 18;
    const bool net = std::any_of(m_model.layers.begin(), m_model.layers.end(), [](const LayerModel& layer) {
        return layer.kind == LayerKind::kGraticule && layer.visible;
    });
    FinerData finer;
    finer.pictures = key.level < kFinestNet && (net || !isCovered(key));
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (std::size_t i = 0; i < m_states.size(); ++i) {
        if (m_states[i].known && m_model.layers[i].visible && key.level < m_states[i].finest_level &&
            meetsTurned(m_states[i].info.extent, extent)) {
            const bool heights = m_model.layers[i].kind == LayerKind::kElevation;
            (heights ? finer.heights : finer.pictures) = true;
        }
    }
    return finer;
}

double LayerStack::finestPicture(const GeoExtent& extent) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    double finest = 180.0;
    for (std::size_t i = 0; i < m_states.size(); ++i) {
        if (m_states[i].known && m_model.layers[i].kind == LayerKind::kImage && m_model.layers[i].visible &&
            meetsTurned(m_states[i].info.extent, extent)) {
            finest = std::min(finest, m_states[i].info.degrees_per_pixel);
        }
    }
    return finest;
}

bool LayerStack::isCovered(const TileKey& key, bool with_remote) const {
    const GeoExtent extent = key.extent();
    for (std::size_t i = 0; i < m_states.size(); ++i) {
        const LayerModel& model = m_model.layers[i];
        if (model.kind != LayerKind::kImage || model.opacity < 1.0 || !showsAt(i, key.level) ||
            (isRemote(i) && !with_remote)) {
            continue;
        }
        const std::lock_guard<std::mutex> lock(m_mutex);
        const GeoExtent& data = m_states[i].info.extent;
        // Web maps end short of the poles.
        const GeoExtent reached{extent.west, std::max(extent.south, -85.0), extent.east,
                                std::min(extent.north, 85.0)};
        if (m_states[i].known && contains(data, reached)) {
            return true;
        }
    }
    return false;
}

std::vector<std::string> LayerStack::problems() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<std::string> lines = m_model.problems;
    for (std::size_t i = 0; i < m_states.size(); ++i) {
        for (const std::string& text : {m_states[i].info.complaint, m_states[i].failure}) {
            if (!text.empty()) {
                lines.push_back("layer " + m_model.layers[i].name + ": " + text);
            }
        }
    }
    return lines;
}

}  // namespace globe
