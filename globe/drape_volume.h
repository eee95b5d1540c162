// The body above and below a shape on the globe.
#pragma once

#include <cstdint>
#include <vector>

#include "globe/geo_interpolation.h"

namespace globe {

// A closed surface around all ground within a ring: walls along the ellipsoid's normals from below the
// deepest ground to above the highest, a floor and a roof. How often it goes around a point of the ground,
// its sense taken as a sign, is how often the ring does; so it needs no triangulation, whatever the ring
// looks like.
struct drape_volume {
    Xyz origin;                          // earth-centred metres
    std::vector<Xyz> vertices;           // relative to the origin
    std::vector<std::uint32_t> corners;  // of triangles
    bool empty() const { return corners.empty(); }
};

constexpr double kDrapeFloor_m = -1000.0;
constexpr double kDrapeRoof_m = 9000.0;

// For a ring in either sense, closed or not; altitudes do not matter. Places that are not finite and
// repetitions are left out. A ring encloses the side of the globe on which the middle of its points lies, or
// `around` where that is given. Empty where no area is left: fewer than three places, all in one line, or
// spread evenly around the globe.
drape_volume makeDrapeVolume(const std::vector<Geodetic>& ring, GeoInterpolation sides,
                             const Geodetic* around = nullptr);

}  // namespace globe
