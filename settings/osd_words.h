// Words of the pod's on-screen display.
#pragma once

#include <array>
#include <cstdint>
#include <functional>

namespace sorvane {

// One item of the display: its bit, the object name of the widget that chooses it (a switch or a radio
// button), and which state of the widget sets the bit. The pod's protocol mixes both senses.
struct OsdItem {
    int bit;
    const char* widget;
    bool set_when_on;
};

// Every item, by bit. Bit 8 asks the pod to store the choice and bit 20 is not used.
extern const std::array<OsdItem, 21> kOsdItems;

// The 32-bit word of the items. isOn tells whether the named widget is on. save: the pod stores the choice
// too.
std::uint32_t osdWord(const std::function<bool(const char* widget)>& isOn, bool save);

// Style word: colour (0 white, 1 green, 2 yellow) in bits 0 to 2, language (0 Chinese, 1 English) in bit 3.
// An index of -1 (nothing selected) counts as 0.
constexpr std::uint32_t osdStyleWord(int colour, int language) {
    const auto index = [](int value) { return static_cast<std::uint32_t>(value < 0 ? 0 : value); };
    return (index(colour) & 0x7U) | ((index(language) & 0x1U) << 3U);
}

// First parameter byte of CMD_OSD before a word's three low bytes.
constexpr std::uint8_t kOsdItemsForm = 3;
constexpr std::uint8_t kOsdStyleForm = 4;

}  // namespace sorvane
