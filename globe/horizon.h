// What the earth hides.
#pragma once

#include "globe/geodesy.h"

namespace globe {

// Whether the ellipsoid stands between the eye and the point; earth-centred metres. Hills do not count. For
// an eye below the ellipsoid (there is land there) the earth counts as that much smaller.
bool isBehindHorizon(const Xyz& eye, const Xyz& point);

}  // namespace globe
