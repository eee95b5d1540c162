// From the grey relief to heights, and from the coarse picture to the fine one.
#include "earth/relief.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace earth {
namespace {

TEST(Relief, GreysStandForMeasuredHeights) {
    EXPECT_EQ(heightOfGrey(0), 0);
    EXPECT_EQ(heightOfGrey(100), 0);
    EXPECT_FLOAT_EQ(heightOfGrey(120), 98);
    EXPECT_FLOAT_EQ(heightOfGrey(216), 3788.5F);
    EXPECT_EQ(heightOfGrey(255), 7500);
}

// A slope that rises by a grey every eight pixels is no staircase any more.
TEST(Relief, StepsAreSmoothedAway) {
    Band<std::uint8_t> grey(1000, 40);
    for (int y = 0; y < grey.height; ++y) {
        for (int x = 0; x < grey.width; ++x) {
            grey.at(x, y) = static_cast<std::uint8_t>(110 + x / 8);
        }
    }
    const Band<float> heights = heightsOf(grey);
    for (int x = 20; x < 980; ++x) {
        const float step =
            heightOfGrey(static_cast<float>(111 + x / 8)) - heightOfGrey(static_cast<float>(110 + x / 8));
        EXPECT_LT(heights.at(x, 20) - heights.at(x - 1, 20), 0.45F * step) << x;
        EXPECT_GT(heights.at(x + 2, 20), heights.at(x - 3, 20)) << x;
    }
}

TEST(Relief, SeaIsAtZeroAndTheWorldIsRound) {
    Band<std::uint8_t> grey(64, 32);
    std::fill(grey.values.begin(), grey.values.end(), static_cast<std::uint8_t>(60));
    for (int y = 8; y < 24; ++y) {
        grey.at(0, y) = grey.at(1, y) = 200;  // a ridge at the western edge
        grey.at(63, y) = 200;                 // goes on at the eastern one
    }
    const Band<float> heights = heightsOf(grey);
    EXPECT_EQ(heights.at(5, 16), 0);
    EXPECT_EQ(heights.at(2, 16), 0);  // beside the ridge, and yet sea
    EXPECT_NEAR(heights.at(1, 16), heights.at(63, 16), 1);
    EXPECT_GT(heights.at(0, 16), heights.at(1, 16));
}

// The coarse picture blurs its coast over two pixels; the fine one has the relief's.
TEST(Relief, ACoastBecomesALine) {
    constexpr int kCoarse = 32, kTimes = 4, kCoast = 63;
    Band<std::uint8_t> grey(kCoarse * kTimes, kCoarse * kTimes);
    for (int y = 0; y < grey.height; ++y) {
        for (int x = 0; x < grey.width; ++x) {
            grey.at(x, y) = x < kCoast ? 70 : 130;
        }
    }
    Picture coarse{Band<std::uint8_t>(kCoarse, kCoarse), Band<std::uint8_t>(kCoarse, kCoarse),
                   Band<std::uint8_t>(kCoarse, kCoarse)};
    for (int y = 0; y < kCoarse; ++y) {
        for (int x = 0; x < kCoarse; ++x) {
            const float land = std::clamp((static_cast<float>(x) - 14) / 3, 0.0F, 1.0F);
            coarse[0].at(x, y) = static_cast<std::uint8_t>(20 + 180 * land);
            coarse[1].at(x, y) = 90;
            coarse[2].at(x, y) = static_cast<std::uint8_t>(160 - 120 * land);
        }
    }
    const Picture fine = sharpened(coarse, grey);
    EXPECT_LT(fine[0].at(kCoast - 1, 60), 40);
    EXPECT_GT(fine[0].at(kCoast, 60), 180);
    EXPECT_GT(fine[2].at(kCoast - 1, 60), 140);
    EXPECT_LT(fine[2].at(kCoast, 60), 60);
    EXPECT_EQ(fine[1].at(kCoast, 60), 90);
}

}  // namespace
}  // namespace earth
