// Heights out of the grey relief, and the world's picture sharpened along its coasts. Pure functions.
#pragma once

#include "earth/raster_file.h"

namespace earth {

// Metres above sea level that a grey of the relief stands for; 0 for the sea and what lies below it. The
// table was measured against known heights; it holds to about 150 m.
float heightOfGrey(float grey);

// Heights of the whole relief: the steps from grey to grey smoothed away, the sea at 0.
Band<float> heightsOf(const Band<std::uint8_t>& grey);

// The world's picture at the size of the relief. What is land and what is sea there comes from the relief,
// the colours from the pixels of the same kind nearby, so that a coast stays a line and does not become a
// gradient.
Picture sharpened(const Picture& coarse, const Band<std::uint8_t>& grey);

}  // namespace earth
