#include "settings/osd_words.h"

namespace sorvane {

namespace {

constexpr bool kWhenOff = false;
constexpr bool kWhenOn = true;
constexpr int kSaveBit = 8;

}  // namespace

// clang-format off
const std::array<OsdItem, 21> kOsdItems = {{
    {0, "widget", kWhenOff},          // whole display
    {1, "widget_2", kWhenOff},        // centre cross
    {2, "widget_3", kWhenOff},        // attitude
    {3, "widget_4", kWhenOn},         // miss distance
    {4, "widget_5", kWhenOff},
    {5, "widget_6", kWhenOff},        // time
    {6, "widget_7", kWhenOff},        // field of view
    {7, "widget_8", kWhenOff},        // visible light
    {9, "widget_10", kWhenOff},       // infrared
    {10, "widget_11", kWhenOff},      // laser range
    {11, "radioButton_2", kWhenOn},   // MGRS instead of geographic coordinates
    {12, "widget_13", kWhenOff},      // memory card
    {13, "widget_14", kWhenOff},      // target position
    {14, "widget_28", kWhenOff},      // north arrow
    {15, "radioButton_3", kWhenOn},   // degrees, minutes, seconds instead of decimals
    {16, "widget_16", kWhenOn},       // hot spot tracking
    {17, "widget_17", kWhenOn},       // laser illumination
    {18, "widget_18", kWhenOn},       // infrared temperatures
    {19, "widget_29", kWhenOff},      // scale
    {21, "widget_19", kWhenOff},      // roll angle
    {22, "widget_20", kWhenOff},      // payload
}};
// clang-format on

std::uint32_t osdWord(const std::function<bool(const char* widget)>& isOn, bool save) {
    std::uint32_t word = save ? 1U << kSaveBit : 0U;
    for (const OsdItem& item : kOsdItems) {
        if (isOn(item.widget) == item.set_when_on) {
            word |= 1U << item.bit;
        }
    }
    return word;
}

}  // namespace sorvane
