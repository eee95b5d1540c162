#include "globe/horizon.h"

#include <algorithm>
#include <cmath>

namespace globe {

bool isBehindHorizon(const Xyz& eye, const Xyz& point) {
    // In units in which the earth is the unit sphere.
    const double ex = eye.x / kEquatorRadius_m;
    const double ey = eye.y / kEquatorRadius_m;
    const double ez = eye.z / kPolarRadius_m;
    const double radius = std::min(1.0, std::sqrt(ex * ex + ey * ey + ez * ez) * (1.0 - 1e-9));
    const double tx = point.x / kEquatorRadius_m - ex;
    const double ty = point.y / kEquatorRadius_m - ey;
    const double tz = point.z / kPolarRadius_m - ez;
    // The squared length of a tangent from the eye, and how far the way to the point leads inwards.
    const double tangent2 = ex * ex + ey * ey + ez * ez - radius * radius;
    const double inwards = -(tx * ex + ty * ey + tz * ez);
    return inwards > tangent2 && inwards * inwards > tangent2 * (tx * tx + ty * ty + tz * tz);
}

}  // namespace globe
