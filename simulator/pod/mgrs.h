// Positions on the military grid.
#pragma once

#include <string>

namespace podsim {

// "50RLU 52261 69935": zone, band, square of 100 km, easting and northing in whole metres (cut, not rounded),
// on WGS 84. Empty above 84 degrees north and below 80 south, where another grid holds.
std::string mgrs(double latitude_deg, double longitude_deg);

}  // namespace podsim
