// The tiles that are there, which of them are drawn, and which are wanted.
#pragma once

#include <array>
#include <memory>
#include <osg/Group>
#include <osg/MatrixTransform>
#include <osgUtil/CullVisitor>
#include <unordered_map>

#include "globe/height_source.h"
#include "globe/layer_stack.h"
#include "globe/load_queue.h"
#include "globe/redraw_bell.h"
#include "globe/tile_selection.h"

namespace globe {

// For the thread that draws; tiles are made by threads of its own.
class TerrainEngine : public osg::Group {
public:
    explicit TerrainEngine(std::shared_ptr<LayerStack> layers);

    // Heights of the finest tiles there are; good for as long as the engine.
    std::shared_ptr<const HeightSource> heights() const;

    // Waits until the coarsest tiles are there, but no longer than `limit`. Before the first frame only.
    void loadRoots(std::chrono::milliseconds limit);
    // Of all tiles kept beyond those that are drawn, without what the graphics driver adds.
    void setMemoryLimit(std::size_t bytes) { m_memory_limit = bytes; }
    std::size_t memoryUsed() const { return m_bytes; }
    std::size_t tileCount() const { return m_count; }
    // Whether the last view still waits for tiles.
    bool isLoading() const;

    void traverse(osg::NodeVisitor& visitor) override;
    osg::BoundingSphere computeBound() const override;
    void resizeGLObjectBuffers(unsigned int contexts) override;
    void releaseGLObjects(osg::State* state = nullptr) const override;

protected:
    ~TerrainEngine() override;

private:
    struct Loaded {
        std::shared_ptr<const TileData> data;
        osg::ref_ptr<osg::MatrixTransform> mesh;
    };
    struct Tile;
    struct Frame;
    class Heights;
    using Queue = LoadQueue<TileKey, Loaded, TileKeyHash>;

    std::unique_ptr<Queue> makeQueue(int threads, bool with_remote);
    void cull(osgUtil::CullVisitor& visitor);
    void visit(Tile& tile, Frame& frame);
    void visitChildren(Tile& tile, Frame& frame);
    void draw(Tile& tile, Frame& frame);
    static void acceptFinest(Tile& tile, osg::NodeVisitor& visitor);
    template <typename Visit>
    void forEachMesh(const Visit& visit) const;
    void takeResults(Queue& queue, bool remote);
    void put(const TileKey& key, Loaded loaded, bool remote);
    Tile* find(const TileKey& key) const;
    const Tile* finestAt(double lon, double lat) const;
    void shed();

    std::shared_ptr<LayerStack> m_layers;
    std::shared_ptr<RedrawBell> m_bell = std::make_shared<RedrawBell>();
    std::array<std::unique_ptr<Tile>, 2> m_roots;
    std::shared_ptr<Heights> m_heights;
    std::size_t m_memory_limit = 24u << 20;
    std::size_t m_bytes = 0;
    std::size_t m_count = 0;
    std::uint64_t m_frame = 0;
    std::unique_ptr<Queue> m_queue;
    LayerStack::Time m_ask_at = LayerStack::Time::max();  // what the remote queue's bell is set to
    std::unique_ptr<Queue> m_remote_queue;                // null without layers behind a network
};

}  // namespace globe
