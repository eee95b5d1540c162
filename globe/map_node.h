// The globe in the scene graph.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <osg/Group>
#include <osg/observer_ptr>
#include <osg/ref_ptr>
#include <string>
#include <vector>

#include "globe/globe_map.h"
#include "globe/spatial_reference.h"
#include "globe/terrain.h"

namespace globe {

class TerrainEngine;

// The earth with its terrain. World coordinates are earth-centred metres, so nothing above it may move it. It
// sets the near and far planes of every camera that draws it: what they are set to does not matter. Drawn and
// changed by one thread; made on any. The first frame opens the data sets and waits for the coarsest tiles,
// 0.15 s at most; then problems() knows what is wrong with them.
class MapNode : public osg::Group {
public:
    // The bare ellipsoid with its net of meridians and parallels; `problem`, unless empty, says why.
    static osg::ref_ptr<MapNode> createEmpty(const std::string& problem = {});
    explicit MapNode(Map* map);

    // The first one at or below `node`; null if there is none.
    static MapNode* findMapNode(osg::Node* node);

    Map* getMap() const { return m_map.get(); }
    Terrain* getTerrain() const { return m_terrain.get(); }
    const SpatialReference* getMapSRS() const { return m_map->getSRS(); }

    // One line for each thing that is missing or wrong, ready to be shown; empty if all is well.
    std::vector<std::string> problems() const;
    // Another number whenever those lines are others.
    std::uint64_t problemsRevision() const;

    // Whether tiles that the last view asked for are still to come. They ask for frames themselves, by an
    // event in the window's queue.
    bool isLoading() const;
    // Bytes of tiles kept, those in view among them, which stay whatever they take (24 MiB at first: the
    // graphics driver has each texture once more).
    void setMemoryLimit(std::size_t bytes);
    TerrainEngine* getTerrainEngine() const { return m_engine.get(); }

    // What is draped over the ground: drawn after the terrain and before everything else.
    osg::Group* drapeGroup() const { return m_drape_group.get(); }

    void traverse(osg::NodeVisitor& visitor) override;

protected:
    ~MapNode() override;

private:
    void loadRoots();

    osg::ref_ptr<Map> m_map;
    osg::ref_ptr<Terrain> m_terrain;
    osg::ref_ptr<TerrainEngine> m_engine;
    osg::ref_ptr<osg::Group> m_drape_group;
    bool m_begun = false;
};

// The order in which bins are drawn; marks and controls use their own, above.
constexpr int kSkyBin = -20;
constexpr int kTerrainBin = -10;
constexpr int kDrapeBin = -5;

}  // namespace globe
