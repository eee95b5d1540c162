// The ground as a whole: heights, and what lies under the cursor.
#pragma once

#include <memory>
#include <osg/Referenced>
#include <osg/Vec3d>

#include "globe/height_source.h"
#include "globe/spatial_reference.h"

namespace osg {
class View;
}

namespace globe {

// Answers come from the tiles loaded at the time, the best first; where none is, from the ellipsoid. For the
// thread that draws. Neither marks nor models count.
class Terrain : public osg::Referenced {
public:
    explicit Terrain(std::shared_ptr<const HeightSource> heights = std::make_shared<FlatHeights>());

    const SpatialReference* getSRS() const { return m_srs; }

    // Metres above the ellipsoid. False for what is no place.
    bool getHeight(const SpatialReference* srs, double x, double y, double* height_m) const;

    // Where a straight line from `world_from` first goes under the ground before `world_to`. Nothing for a
    // line that starts there.
    bool intersect(const osg::Vec3d& world_from, const osg::Vec3d& world_to, osg::Vec3d& hit) const;

    // The ground under a point of the view's window, in its own mouse coordinates and orientation. False over
    // the sky.
    bool getWorldCoordsUnderMouse(osg::View* view, float mouse_x, float mouse_y, osg::Vec3d& world) const;

private:
    std::shared_ptr<const HeightSource> m_heights;
    const SpatialReference* m_srs;
};

// The straight line of sight through a point of the view's window, from the eye on; `far` is a point on it at
// `reach_m`. False without camera, viewport or perspective.
bool lineOfSight(osg::View* view, float mouse_x, float mouse_y, double reach_m, osg::Vec3d& eye,
                 osg::Vec3d& far);

}  // namespace globe
