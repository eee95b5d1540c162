// Body of the external inertial unit's frame, decoded into the navigation block.
#pragma once

#include <cstdint>

#include "link/nav_block.h"

namespace sorvane {

// Where the aircraft is, as the maps take it.
struct AircraftFix {
    double longitude_deg = 0.0;
    double latitude_deg = 0.0;
    double altitude_m = 0.0;
    double heading_deg = 0.0;
};

// Fills every field of `block` from the 53 payload bytes. Floats are scaled in single precision and truncated
// toward zero; the hour is that of the unit plus 8 without a carry into the day, so 24 to 31 occur.
void decodeInsPayload(const std::uint8_t* payload, NavBlock& block);

// The block's position with the heading of the payload, which has more digits than the block's.
AircraftFix insFix(const std::uint8_t* payload, const NavBlock& block);

}  // namespace sorvane
