// Puts tiles together from the layers.
#pragma once

#include <memory>
#include <vector>

#include "globe/layer_stack.h"
#include "globe/raster_source.h"
#include "globe/tile_data.h"

namespace globe {

// Belongs to one thread, with the data sets that it opens.
class TileComposer {
public:
    using Flag = RasterSource::Flag;

    // Without `with_remote` layers behind a network are left out, and the tile says that it lacks them.
    TileComposer(std::shared_ptr<LayerStack> layers, bool with_remote);
    ~TileComposer();

    // What a layer cannot give comes from what it has for a tile above, or from the layers under it. A tile
    // that lacks a layer behind a network is not kept in the cache. Null if cancelled; with them also if none
    // of those that the tile lacks answers now.
    std::shared_ptr<const TileData> compose(const TileKey& key, const Flag& cancelled);

    // The bare earth with its net of lines, without any layer.
    static std::shared_ptr<const TileData> bare(const TileKey& key);

private:
    // Null if the layer cannot be read now.
    RasterSource* sourceOf(std::size_t layer);
    // What came of a layer for one tile.
    enum class Got {
        kAll,   // or there is nothing there
        kPart,  // what it has for a tile above
        kNone
    };
    bool isWanted(std::size_t layer, const TileKey& key) const;
    bool isWithinReach(std::size_t layer) const;
    bool nothingNew(const TileKey& key) const;
    // Pictures and heights. Whether any layer behind a network has brought something.
    bool readLayers(TileData& tile, const Flag& cancelled);
    Got paintLayer(std::size_t layer, const PostGrid& grid, const TileKey& key,
                   std::vector<std::uint8_t>& rgba, const Flag& cancelled);
    Got raiseLayer(std::size_t layer, TileData& tile, const Flag& cancelled);
    void noteRead(std::size_t layer, bool own);
    // Whether the source is still there to be asked for more.
    bool noteFailure(std::size_t layer, const Flag& cancelled);

    std::shared_ptr<LayerStack> m_layers;
    bool m_with_remote;
    std::vector<std::unique_ptr<RasterSource>> m_sources;
};

}  // namespace globe
