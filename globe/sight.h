// What of a map is seen at a point of a view.
#pragma once

#include <osg/Vec3d>

namespace osg {
class View;
}

namespace globe {

class MapNode;

// The first point of the ground, or of a model on the map, on the line of sight through a point of the view's
// window, in its own mouse coordinates and orientation. Place marks and what is draped over the ground have
// no body: the line goes through them. False over the sky. For the thread that draws.
bool firstSeen(MapNode& map, osg::View* view, float mouse_x, float mouse_y, osg::Vec3d& world);

}  // namespace globe
