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

// One item of the display: the switch or radio button on its settings page, and what its bit means. The
// senses are mixed in the pod's protocol.
struct OsdBit {
    int bit;
    const char* widget;
    bool set_when_on;
};

// In bit order. Bit 8 asks the pod to store the word; bit 20 is not used.
// clang-format off
constexpr OsdBit kOsdBits[] = {
    {0, "widget", false},        // whole display
    {1, "widget_2", false},      // centre cross
    {2, "widget_3", false},      // attitude
    {3, "widget_4", true},       // miss distance
    {4, "widget_5", false},
    {5, "widget_6", false},      // time
    {6, "widget_7", false},      // field of view
    {7, "widget_8", false},      // visible light
    {9, "widget_10", false},     // infrared
    {10, "widget_11", false},    // laser range
    {11, "radioButton_2", true}, // MGRS instead of geographic coordinates
    {12, "widget_13", false},    // memory card
    {13, "widget_14", false},    // target position
    {14, "widget_28", false},    // north arrow
    {15, "radioButton_3", true}, // degrees, minutes, seconds instead of decimals
    {16, "widget_16", true},     // hot spot tracking
    {17, "widget_17", true},     // laser illumination
    {18, "widget_18", true},     // infrared temperatures
    {19, "widget_29", false},    // scale
    {21, "widget_19", false},    // roll angle
    {22, "widget_20", false},    // payload
};
// clang-format on
constexpr int kOsdSaveBit = 8;

// checked(name): state of a switch or radio button.
template <typename Checked>
std::uint32_t osdWord(Checked checked, bool save) {
    std::uint32_t word = save ? 1U << kOsdSaveBit : 0U;
    for (const OsdBit& item : kOsdBits) {
        if (checked(item.widget) == item.set_when_on) {
            word |= 1U << item.bit;
        }
    }
    return word;
}

// The other way: set(name, on) for each of them. What the word says of storing and in unused bits is
// nobody's.
template <typename Set>
void showOsdWord(std::uint32_t word, Set set) {
    for (const OsdBit& item : kOsdBits) {
        const bool bit = ((word >> static_cast<unsigned>(item.bit)) & 1U) != 0;
        set(item.widget, bit == item.set_when_on);
    }
}

}  // namespace sorvane
