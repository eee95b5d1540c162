// The small face of the on-screen display, drawn by hand dot by dot.
#pragma once

#include <cstdint>

namespace podsim {

constexpr int kGlyphWidth = 5;
constexpr int kGlyphHeight = 7;

// kGlyphHeight rows from the top; the leftmost dot is bit kGlyphWidth - 1. Byte 0x7F is the degree sign.
const std::uint8_t* glyph(unsigned char sign);

}  // namespace podsim
