// A tile as it is drawn.
#pragma once

#include <osg/MatrixTransform>
#include <osg/ref_ptr>

#include "globe/tile_data.h"

namespace globe {

// Vertices in float from an origin of the tile's own, which the matrix places in double. A skirt hangs from
// the rim and hides the gaps to coarser neighbours. May be made on any thread.
osg::ref_ptr<osg::MatrixTransform> makeTileMesh(const TileData& tile);

}  // namespace globe
