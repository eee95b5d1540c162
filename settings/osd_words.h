// Words of the pod's on-screen display.
#pragma once

#include <cstdint>

namespace sorvane {

// Style word: colour (0 white, 1 green, 2 yellow) in bits 0 to 2, language (0 Chinese, 1 English) in bit 3.
// An index of -1 (nothing selected) counts as 0.
constexpr std::uint32_t osdStyleWord(int colour, int language) {
    const auto index = [](int value) { return static_cast<std::uint32_t>(value < 0 ? 0 : value); };
    return (index(colour) & 0x7U) | ((index(language) & 0x1U) << 3U);
}

}  // namespace sorvane
