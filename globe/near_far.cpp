#include "globe/near_far.h"

#include <algorithm>
#include <cmath>

#include "globe/geodesy.h"

namespace globe {

NearFar nearFarFor(const osg::Vec3d& eye, double ground_height_m) {
    constexpr double kTop_m = 20000.0;
    const double height = std::max(1.0, geocentricToGeodetic({eye.x(), eye.y(), eye.z()}).alt);
    const double above_ground = std::max(1.0, height - ground_height_m);
    const auto horizon = [](double h) { return std::sqrt(h * (2.0 * kEquatorRadius_m + h)); };
    return {std::max(1.0, 0.05 * above_ground), horizon(height) + horizon(kTop_m)};
}

}  // namespace globe
