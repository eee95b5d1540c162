// Codes of what the pod answers to the settings dialog.
#pragma once

#include <cstdint>

constexpr std::uint16_t kDeviceReply = 16;
constexpr std::uint16_t kVersionReply = 17;
constexpr std::uint16_t kStateReply = 18;
// In both directions.
constexpr std::uint16_t kRelayFrame = 19;
