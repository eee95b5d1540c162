#include "simulator/pod/palette.h"

#include <algorithm>

namespace podsim {
namespace {

struct Stop {
    int at;  // radiance
    int red, green, blue;
};
constexpr int kMaxStops = 7;
struct Palette {
    const char* name;
    Stop stops[kMaxStops];  // ascending, the last at 255
};

constexpr Palette kPalettes[kPaletteCount] = {
    {"WHITE HOT", {{0, 0, 0, 0}, {255, 255, 255, 255}}},
    {"BLACK HOT", {{0, 255, 255, 255}, {255, 0, 0, 0}}},
    {"BLUE RED YELLOW",
     {{0, 0, 0, 40}, {70, 20, 40, 190}, {150, 215, 30, 60}, {210, 250, 150, 20}, {255, 255, 255, 120}}},
    {"PURPLE RED YELLOW",
     {{0, 10, 0, 30}, {70, 95, 10, 140}, {145, 215, 45, 80}, {210, 250, 160, 30}, {255, 255, 250, 180}}},
    {"BLUE GREEN RED",
     {{0, 0, 0, 110}, {70, 0, 90, 220}, {130, 20, 190, 70}, {190, 235, 200, 20}, {255, 235, 20, 20}}},
    {"RAINBOW 1",
     {{0, 0, 0, 60},
      {45, 30, 0, 200},
      {90, 0, 170, 220},
      {130, 0, 190, 60},
      {175, 240, 230, 20},
      {215, 250, 110, 10},
      {255, 255, 255, 255}}},
    {"RAINBOW 2",
     {{0, 0, 0, 0},
      {50, 80, 0, 140},
      {95, 0, 60, 230},
      {135, 0, 200, 170},
      {175, 110, 220, 20},
      {215, 250, 190, 0},
      {255, 250, 20, 20}}},
    {"BLACK RED", {{0, 0, 0, 0}, {150, 120, 120, 120}, {190, 175, 90, 80}, {255, 255, 20, 10}}},
    {"DARK GREEN RED",
     {{0, 0, 25, 15}, {110, 20, 95, 60}, {175, 150, 150, 60}, {215, 235, 110, 30}, {255, 255, 20, 20}}},
    {"BLUE GREEN RED PINK",
     {{0, 0, 10, 100},
      {60, 0, 110, 210},
      {115, 20, 180, 80},
      {170, 230, 190, 30},
      {210, 230, 40, 40},
      {255, 255, 190, 225}}},
    {"MIXED",
     {{0, 10, 10, 20},
      {60, 40, 60, 110},
      {120, 120, 130, 120},
      {165, 190, 160, 100},
      {205, 240, 120, 40},
      {255, 255, 240, 200}}},
    {"RED HEAD", {{0, 0, 0, 0}, {196, 196, 196, 196}, {212, 230, 90, 60}, {255, 255, 10, 10}}},
};

const Palette& paletteOf(int index) { return kPalettes[index >= 0 && index < kPaletteCount ? index : 0]; }

}  // namespace

Colour fromRgb(int r, int g, int b) {
    auto byte = [](int v) { return static_cast<std::uint8_t>(std::clamp(v, 0, 255)); };
    return {byte(16 + (66 * r + 129 * g + 25 * b + 128) / 256),
            byte(128 + (-38 * r - 74 * g + 112 * b + 128) / 256),
            byte(128 + (112 * r - 94 * g - 18 * b + 128) / 256)};
}

std::array<Colour, 256> paletteTable(int index) {
    std::array<Colour, 256> table{};
    const Stop* stop = paletteOf(index).stops;
    for (int i = 0; i < 256; ++i) {
        while (i > stop[1].at) {
            ++stop;
        }
        const int share = i - stop[0].at, whole = stop[1].at - stop[0].at;
        auto between = [&](int a, int b) { return a + (b - a) * share / whole; };
        table[static_cast<std::size_t>(i)] =
            fromRgb(between(stop[0].red, stop[1].red), between(stop[0].green, stop[1].green),
                    between(stop[0].blue, stop[1].blue));
    }
    return table;
}

const char* paletteName(int index) { return paletteOf(index).name; }

}  // namespace podsim
