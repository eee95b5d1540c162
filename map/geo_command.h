// What the map sends to the pod, and how it writes positions.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "link/command_codes.h"
#include "map/geo_rules.h"

namespace sorvane {

constexpr std::uint8_t kGeoGuide = CMD_GEO_GUIDE;
constexpr std::uint8_t kGeoTrack = CMD_GEO_TRACK;

// Payload of both, three little-endian signed words: longitude and latitude in
// 1e-7 degree, altitude in 0.1 m.
using GeoPayload = std::array<std::uint8_t, 12>;

// Truncated toward zero. What is no number or too large stands as 0x80000000: a press before the pointer has
// ever met the ground sends three of these.
GeoPayload payloadOf(const GeoPosition& p);

// The dialog's own form, kept as it is: the altitude stands where the longitude belongs, the longitude never
// reaches the pod, and the last word is 0. The fields are read in single precision and scaled in double.
GeoPayload dialogPayload(float latitude_deg, float altitude_m);

// "Lon:...        Lat:...        Alt:...", six decimals each. Positions read the same in every locale.
std::string cursorText(const GeoPosition& p);
// Fixed decimals; empty for exactly 0, "nan" for no number.
std::string fieldText(double value, int decimals);

}  // namespace sorvane
