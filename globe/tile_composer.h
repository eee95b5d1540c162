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

    // Without `with_remote` layers behind a network are left out, and the tile says that it wants them.
    TileComposer(std::shared_ptr<LayerStack> layers, bool with_remote);
    ~TileComposer();

    // What a layer cannot give comes from what it has for a tile above, or from the layers under it. Null
    // only if cancelled.
    std::shared_ptr<const TileData> compose(const TileKey& key, const Flag& cancelled);

    // The bare earth with its net of lines, without any layer.
    static std::shared_ptr<const TileData> bare(const TileKey& key);

private:
    // Null if the layer cannot be read now.
    RasterSource* sourceOf(std::size_t layer);
    bool isWanted(std::size_t layer, const TileKey& key, TileData& tile) const;
    void paintLayer(std::size_t layer, const PostGrid& grid, const TileKey& key,
                    std::vector<std::uint8_t>& rgba, const Flag& cancelled);
    void raiseLayer(std::size_t layer, TileData& tile, const Flag& cancelled);
    void noteFailure(std::size_t layer, const Flag& cancelled);

    std::shared_ptr<LayerStack> m_layers;
    bool m_with_remote;
    std::vector<std::unique_ptr<RasterSource>> m_sources;
};

}  // namespace globe
