#include "globe/terrain_engine.h"

#include <cpl_error.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <osgViewer/GraphicsWindow>

#include "globe/tile_composer.h"
#include "globe/tile_mesh.h"

namespace globe {
namespace {

constexpr int kThreads = 2;
// New tiles put in place for one frame: their textures are sent as they are first drawn.
constexpr std::size_t kTakenAtOnce = 12;
constexpr auto kCloseLimit = std::chrono::milliseconds(400);

// What a loading thread owns. GDAL's complaints go to the map's problems and not to the terminal.
struct LoaderThread {
    LoaderThread(std::shared_ptr<LayerStack> layers, bool with_remote)
        : composer(std::move(layers), with_remote) {
        CPLPushErrorHandler(CPLQuietErrorHandler);
    }
    ~LoaderThread() { CPLPopErrorHandler(); }
    LoaderThread(const LoaderThread&) = delete;
    LoaderThread& operator=(const LoaderThread&) = delete;
    TileComposer composer;
};

}  // namespace

struct TerrainEngine::Tile {
    TileKey key;
    std::shared_ptr<const TileData> data;
    osg::ref_ptr<osg::MatrixTransform> mesh;
    Ball ball;
    std::array<std::unique_ptr<Tile>, 4> children;
    std::uint64_t used = 0;     // the last frame that looked at it
    bool bare = false;          // stands in for one still to be loaded
    LayerStack::Time ask_at{};  // for what it lacks, no sooner

    bool hasChildren() const {
        return std::any_of(children.begin(), children.end(),
                           [](const auto& child) { return child != nullptr; });
    }
    void set(Loaded loaded) {
        data = std::move(loaded.data);
        mesh = std::move(loaded.mesh);
        ball = tileBall(key, data->lowest_m, data->highest_m);
    }
    std::size_t bytes() const { return data->bytes() + 24000u; }
};

struct TerrainEngine::Frame {
    osgUtil::CullVisitor& visitor;
    TileView view;
    LayerStack::Time now;
    LayerStack::Time ask_at = LayerStack::Time::max();  // the next time that a tile in view may ask
};

class TerrainEngine::Heights : public HeightSource {
public:
    explicit Heights(const TerrainEngine* engine) : m_engine(engine) {}
    void leave() { m_engine = nullptr; }
    void learn(const TileData& tile) {
        m_lowest = std::min(m_lowest, static_cast<double>(tile.lowest_m));
        m_highest = std::max(m_highest, static_cast<double>(tile.highest_m));
    }
    double heightAt(double lon, double lat) const override {
        const Tile* tile = m_engine != nullptr ? m_engine->finestAt(lon, lat) : nullptr;
        if (tile == nullptr) {
            return 0.0;
        }
        const GeoExtent extent = tile->key.extent();
        return tile->data->heightIn((lon - extent.west) / extent.width(),
                                    (lat - extent.south) / extent.height());
    }
    double lowest_m() const override { return m_lowest; }
    double highest_m() const override { return m_highest; }
    double spacingAt(double lon, double lat) const override {
        const Tile* tile = m_engine != nullptr ? m_engine->finestAt(lon, lat) : nullptr;
        return tile != nullptr ? tileSize(tile->key.level) / (tile->data->posts - 1) : 1.0;
    }

private:
    const TerrainEngine* m_engine;
    double m_lowest = 0.0;
    double m_highest = 0.0;
};

TerrainEngine::TerrainEngine(std::shared_ptr<LayerStack> layers)
    : m_layers(std::move(layers)), m_heights(std::make_shared<Heights>(this)) {
    setName("terrain");
    setCullingActive(false);
    for (std::uint32_t i = 0; i < 2; ++i) {
        const TileKey key{0, i, 0};
        std::shared_ptr<const TileData> data = TileComposer::bare(key);
        m_roots[i] = std::make_unique<Tile>();
        m_roots[i]->key = key;
        m_roots[i]->bare = true;
        m_roots[i]->set({data, makeTileMesh(*data)});
        m_bytes += m_roots[i]->bytes();
        ++m_count;
    }
    m_queue = makeQueue(kThreads, false);
    if (m_layers->hasRemote()) {
        m_remote_queue = makeQueue(1, true);
    }
}

TerrainEngine::~TerrainEngine() {
    m_heights->leave();
    m_queue->stop(kCloseLimit);
    if (m_remote_queue) {
        m_remote_queue->stop(kCloseLimit);
    }
}

std::unique_ptr<TerrainEngine::Queue> TerrainEngine::makeQueue(int threads, bool with_remote) {
    const auto make_job = [layers = m_layers, with_remote]() -> Queue::Job {
        auto thread = std::make_shared<LoaderThread>(layers, with_remote);
        return [thread](const TileKey& key, const Queue::Flag& cancelled) {
            Loaded loaded;
            loaded.data = thread->composer.compose(key, cancelled);
            if (loaded.data && !cancelled) {
                loaded.mesh = makeTileMesh(*loaded.data);
            }
            return loaded;
        };
    };
    return std::make_unique<Queue>(threads, make_job, [bell = m_bell] { bell->ring(); });
}

std::shared_ptr<const HeightSource> TerrainEngine::heights() const { return m_heights; }

void TerrainEngine::loadRoots(std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    m_queue->beginRound();
    for (const auto& root : m_roots) {
        m_queue->request(root->key, 1.0);
    }
    m_queue->endRound();
    while (m_queue->pending() > 0 && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        takeResults(*m_queue, false);
    }
}

bool TerrainEngine::isLoading() const {
    return m_queue->pending() > 0 || (m_remote_queue && m_remote_queue->pending() > 0);
}

osg::BoundingSphere TerrainEngine::computeBound() const {
    return {osg::Vec3(0.0f, 0.0f, 0.0f), static_cast<float>(kEquatorRadius_m + 9000.0)};
}

void TerrainEngine::traverse(osg::NodeVisitor& visitor) {
    if (osgUtil::CullVisitor* cull_visitor = visitor.asCullVisitor()) {
        cull(*cull_visitor);
    } else if (visitor.getVisitorType() != osg::NodeVisitor::UPDATE_VISITOR &&
               visitor.getVisitorType() != osg::NodeVisitor::EVENT_VISITOR) {
        for (const auto& root : m_roots) {
            acceptFinest(*root, visitor);
        }
    }
}

// Whoever else goes through the scene sees the finest tiles that there are, and a coarser one where some are
// missing.
void TerrainEngine::acceptFinest(Tile& tile, osg::NodeVisitor& visitor) {
    bool complete = true;
    for (const auto& child : tile.children) {
        complete = complete && child != nullptr;
        if (child) {
            acceptFinest(*child, visitor);
        }
    }
    if (!complete) {
        tile.mesh->accept(visitor);
    }
}

template <typename Visit>
void TerrainEngine::forEachMesh(const Visit& visit) const {
    std::vector<const Tile*> open = {m_roots[0].get(), m_roots[1].get()};
    while (!open.empty()) {
        const Tile* tile = open.back();
        open.pop_back();
        visit(*tile->mesh);
        for (const auto& child : tile->children) {
            if (child) {
                open.push_back(child.get());
            }
        }
    }
}

void TerrainEngine::resizeGLObjectBuffers(unsigned int contexts) {
    forEachMesh([contexts](osg::Node& mesh) { mesh.resizeGLObjectBuffers(contexts); });
    osg::Group::resizeGLObjectBuffers(contexts);
}

void TerrainEngine::releaseGLObjects(osg::State* state) const {
    forEachMesh([state](const osg::Node& mesh) { mesh.releaseGLObjects(state); });
    osg::Group::releaseGLObjects(state);
}

void TerrainEngine::cull(osgUtil::CullVisitor& visitor) {
    osg::GraphicsContext* context =
        visitor.getCurrentCamera() != nullptr ? visitor.getCurrentCamera()->getGraphicsContext() : nullptr;
    auto* window = dynamic_cast<osgViewer::GraphicsWindow*>(context);
    m_bell->hear(window != nullptr ? window->getEventQueue() : nullptr);
    takeResults(*m_queue, false);
    if (m_remote_queue) {
        takeResults(*m_remote_queue, true);
    }
    const osg::Vec3d eye = osg::Matrixd::inverse(*visitor.getModelViewMatrix()).getTrans();
    const double lines = visitor.getViewport() != nullptr ? visitor.getViewport()->height() : 720.0;
    const double pixels_per_radian = std::fabs((*visitor.getProjectionMatrix())(1, 1)) * 0.5 * lines;
    Frame frame{visitor, TileView({eye.x(), eye.y(), eye.z()}, pixels_per_radian), m_layers->now()};
    ++m_frame;
    m_queue->beginRound();
    if (m_remote_queue) {
        m_remote_queue->beginRound();
    }
    for (const auto& root : m_roots) {
        if (root->bare) {
            m_queue->request(root->key, 1e9);
        }
        visit(*root, frame);
    }
    m_queue->endRound();
    if (m_remote_queue) {
        m_remote_queue->endRound();
        // What has to be left alone now is asked for again without anybody's doing.
        if (frame.ask_at != m_ask_at) {
            m_ask_at = frame.ask_at;
            const bool waits = m_ask_at != LayerStack::Time::max();
            m_remote_queue->ringAt(waits ? std::chrono::steady_clock::now() + (m_ask_at - frame.now)
                                         : m_ask_at);
        }
    }
    shed();
    if (m_queue->hasResults()) {
        m_bell->ring();
    }
}

void TerrainEngine::visit(Tile& tile, Frame& frame) {
    tile.used = m_frame;
    const TileNeed need = frame.view.needOf(tile.key, tile.ball);
    if (!tile.bare && shouldRefine(need, m_layers->finerThan(tile.key), tile.key.level)) {
        visitChildren(tile, frame);
    } else {
        draw(tile, frame);
    }
}

// Draws the children that are in view if all of those are there, otherwise the tile itself.
void TerrainEngine::visitChildren(Tile& tile, Frame& frame) {
    struct Child {
        Tile* tile;
        double distance;
    };
    std::array<Child, 4> seen{};
    std::size_t count = 0;
    bool complete = true;
    for (int i = 0; i < 4; ++i) {
        Tile* child = tile.children[static_cast<std::size_t>(i)].get();
        const TileKey key = tile.key.child(i);
        // Nothing is known of the heights of one that is not there but that its parent's are like them.
        const Ball ball =
            child != nullptr ? child->ball : tileBall(key, tile.data->lowest_m, tile.data->highest_m);
        const osg::BoundingSphere sphere(osg::Vec3d(ball.center.x, ball.center.y, ball.center.z),
                                         ball.radius_m * 1.001);
        if (frame.visitor.isCulled(sphere) || frame.view.isHidden(ball)) {
            continue;
        }
        if (child == nullptr) {
            complete = false;
            m_queue->request(key, frame.view.needOf(key, ball).texel_px);
        } else {
            seen[count++] = {child, frame.view.distanceTo(ball)};
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        seen[i].tile->used = m_frame;
    }
    if (!complete) {
        draw(tile, frame);
        return;
    }
    std::sort(seen.begin(), seen.begin() + static_cast<std::ptrdiff_t>(count),
              [](const Child& a, const Child& b) { return a.distance < b.distance; });
    for (std::size_t i = 0; i < count; ++i) {
        visit(*seen[i].tile, frame);
    }
}

void TerrainEngine::draw(Tile& tile, Frame& frame) {
    if (!tile.data->lacking.empty() && m_remote_queue) {
        const LayerStack::Time at = std::max(tile.ask_at, m_layers->readableAt(tile.data->lacking));
        if (at <= frame.now) {
            m_remote_queue->request(tile.key, frame.view.needOf(tile.key, tile.ball).texel_px);
        } else {
            frame.ask_at = std::min(frame.ask_at, at);
        }
    }
    tile.mesh->accept(frame.visitor);
}

void TerrainEngine::takeResults(Queue& queue, bool remote) {
    for (auto& [key, loaded] : queue.take(kTakenAtOnce)) {
        put(key, std::move(loaded), remote);
    }
}

void TerrainEngine::put(const TileKey& key, Loaded loaded, bool remote) {
    Tile* tile = find(key);
    if (!loaded.data || !loaded.mesh) {
        if (remote && tile != nullptr) {
            tile->ask_at = m_layers->now() + m_layers->pause();
        }
        return;
    }
    // Of two servers one may have answered before and be silent now: what it gave stays.
    if (remote && tile != nullptr && !tile->bare &&
        !std::includes(tile->data->lacking.begin(), tile->data->lacking.end(), loaded.data->lacking.begin(),
                       loaded.data->lacking.end())) {
        tile->ask_at = m_layers->now() + m_layers->pause();
        return;
    }
    m_heights->learn(*loaded.data);
    if (tile == nullptr) {
        Tile* parent = key.isRoot() ? nullptr : find(key.parent());
        if (parent == nullptr) {
            return;
        }
        auto& slot = parent->children[static_cast<std::size_t>(key.quadrant())];
        slot = std::make_unique<Tile>();
        slot->key = key;
        tile = slot.get();
        ++m_count;
    } else {
        m_bytes -= tile->bytes();
    }
    tile->set(std::move(loaded));
    tile->bare = false;
    if (remote) {
        tile->ask_at = m_layers->now() + m_layers->pause();
    }
    tile->used = std::max(tile->used, m_frame);
    m_bytes += tile->bytes();
}

TerrainEngine::Tile* TerrainEngine::find(const TileKey& key) const {
    Tile* tile = m_roots[key.x >> key.level].get();
    for (int level = 1; level <= key.level && tile != nullptr; ++level) {
        const int shift = key.level - level;
        const TileKey at{level, key.x >> shift, key.y >> shift};
        tile = tile->children[static_cast<std::size_t>(at.quadrant())].get();
    }
    return tile;
}

const TerrainEngine::Tile* TerrainEngine::finestAt(double lon, double lat) const {
    const TileKey deepest = tileAt(TileKey::kMaxLevel, lon, lat);
    const Tile* tile = m_roots[deepest.x >> TileKey::kMaxLevel].get();
    for (int shift = TileKey::kMaxLevel - 1; shift >= 0; --shift) {
        const TileKey at{0, deepest.x >> shift, deepest.y >> shift};
        const Tile* child = tile->children[static_cast<std::size_t>(at.quadrant())].get();
        if (child == nullptr) {
            break;
        }
        tile = child;
    }
    return tile;
}

// Drops what has not been looked at for longest, leaves first, until the limit is met. What this frame uses
// stays.
void TerrainEngine::shed() {
    while (m_bytes > m_memory_limit) {
        struct Leaf {
            Tile* parent;
            std::size_t slot;
            std::uint64_t used;
        };
        std::vector<Leaf> leaves;
        std::vector<Tile*> open = {m_roots[0].get(), m_roots[1].get()};
        while (!open.empty()) {
            Tile* tile = open.back();
            open.pop_back();
            for (std::size_t i = 0; i < 4; ++i) {
                Tile* child = tile->children[i].get();
                if (child != nullptr && child->hasChildren()) {
                    open.push_back(child);
                } else if (child != nullptr && child->used + 2 < m_frame) {
                    leaves.push_back({tile, i, child->used});
                }
            }
        }
        if (leaves.empty()) {
            return;
        }
        std::sort(leaves.begin(), leaves.end(), [](const Leaf& a, const Leaf& b) { return a.used < b.used; });
        // Somewhat below the limit, so that this is not done in each frame.
        for (const Leaf& leaf : leaves) {
            if (m_bytes <= m_memory_limit * 9 / 10) {
                break;
            }
            m_bytes -= leaf.parent->children[leaf.slot]->bytes();
            --m_count;
            leaf.parent->children[leaf.slot].reset();
        }
    }
}

}  // namespace globe
