#include "tavrik/rate_counter.h"

#include <gtest/gtest.h>

namespace tavrik::test {
namespace {

TEST(RateCounter, CountsTheLastSecond) {
    RateCounter rate;
    EXPECT_EQ(rate.fps(0), 0);
    for (int i = 0; i < 100; ++i) {
        rate.addPicture(i * 40000);
        rate.addBytes(i * 40000, 10000);
    }
    // The last 25 pictures lie within (2.96 s, 3.96 s].
    EXPECT_EQ(rate.fps(3960000), 25);
    EXPECT_EQ(rate.kilobits(3960000), 25 * 10000 * 8 / 1000);
    EXPECT_EQ(rate.fps(4959999), 1);
    EXPECT_EQ(rate.kilobits(4959999), 80);
    EXPECT_EQ(rate.fps(4960000), 0);
    EXPECT_EQ(rate.kilobits(4960000), 0);
}

}  // namespace
}  // namespace tavrik::test
