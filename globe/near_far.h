// Near and far planes of a view of the earth.
#pragma once

#include <osg/Vec3d>

namespace globe {

class HeightSource;

struct NearFar {
    double near_m = 1.0;
    double far_m = 10000.0;
};

// For an eye in world coordinates: far just behind the horizon with what stands 20 km above it, near a part
// of the height above the ground, so that 24 bits of depth tell surfaces apart at any range.
NearFar nearFarFor(const osg::Vec3d& eye, double ground_height_m);

}  // namespace globe
