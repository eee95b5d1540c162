// The layers of a map with what was learnt of them, for all threads that read them.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "globe/earth_model.h"
#include "globe/lru_cache.h"
#include "globe/raster_source.h"
#include "globe/tile_data.h"
#include "globe/tile_selection.h"

namespace globe {

// Usable from any thread.
class LayerStack {
public:
    using Cache = LruCache<TileKey, TileData, TileKeyHash>;

    using Time = std::chrono::steady_clock::time_point;
    using Clock = std::function<Time()>;

    // For how long a network's layer that fails is left alone.
    static constexpr std::chrono::milliseconds kPause{30000};

    // `clock` is asked by any thread.
    explicit LayerStack(EarthModel model, std::chrono::milliseconds pause = kPause,
                        Clock clock = std::chrono::steady_clock::now);

    // The stack of an earth file: maps that read the same file with the same text share one, with its cache.
    static std::shared_ptr<LayerStack> forFile(const std::string& path);

    const std::vector<LayerModel>& layers() const { return m_model.layers; }
    const std::string& name() const { return m_model.name; }
    bool isRemote(std::size_t layer) const { return m_states[layer].remote; }
    bool hasRemote() const;

    // Told by those who read.
    void opened(std::size_t layer, const RasterInfo& info);
    void failedToOpen(std::size_t layer, const std::string& reason);
    void failedToRead(std::size_t layer, const std::string& reason);
    void wasRead(std::size_t layer);
    // The layer answered, but only for a coarser tile than the one that was asked for.
    void stoodIn(std::size_t layer);

    // Not to be tried for the time being: a network's layer that cannot be opened or has failed several times
    // in a row; or for good, a file's.
    bool isPaused(std::size_t layer) const;
    // The end of the earliest pause among these layers; in the past if one of them may be tried now.
    Time readableAt(const std::vector<std::size_t>& layers) const;
    Time now() const { return m_clock(); }
    std::chrono::milliseconds pause() const { return m_pause; }
    // Whether the layer shows in tiles of the level, by its levels and ranges.
    bool showsAt(std::size_t layer, int level) const;
    // Whether it may have anything for the extent, as far as is known.
    bool meets(std::size_t layer, const GeoExtent& extent) const;
    // What is known to exist in a tile's extent that is finer than the tile.
    FinerData finerThan(const TileKey& key) const;
    // The finest resolution of the pictures there, degrees; and whether a picture covers the extent wholly.
    double finestPicture(const GeoExtent& extent) const;
    bool isCovered(const TileKey& key, bool with_remote = true) const;

    // A line each, of the file and of what was met while reading. That a network's layer failed stands there
    // until it is read again.
    std::vector<std::string> problems() const;
    // Another number whenever those lines are others.
    std::uint64_t problemsRevision() const { return m_revision; }

    Cache& cache() { return m_cache; }

private:
    struct State {
        bool remote = false;
        bool known = false;
        bool broken = false;
        RasterInfo info;
        int finest_level = 0;
        int failures = 0;          // in a row
        bool open_failed = false;  // what `failure` tells
        std::string failure;       // the first since the layer was last read; empty if none
        Time paused_until{};
    };
    void tell(State& state, const std::string& failure);
    int finestLevel(std::size_t layer, const RasterInfo& info) const;
    static bool meetsTurned(const GeoExtent& data, const GeoExtent& tile);

    EarthModel m_model;
    const std::chrono::milliseconds m_pause;
    const Clock m_clock;
    std::atomic<std::uint64_t> m_revision{0};
    mutable std::mutex m_mutex;
    std::vector<State> m_states;
    Cache m_cache;
};

// From which a tile of a level is typically seen, metres.
double typicalRange(int level);

}  // namespace globe
