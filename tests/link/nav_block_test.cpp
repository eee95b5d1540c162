#include "link/nav_block.h"

#include <gtest/gtest.h>

#include <cstring>

namespace sorvane {
namespace {

TEST(NavBlock, LocalTimeWritesSevenBytesOnly) {
    NavBlock block;
    std::memset(static_cast<void*>(&block), 0xEE, sizeof block);
    setLocalTime(block, {2026, 11, 21, 7, 9, 45, 678});
    std::uint8_t b[sizeof block];
    std::memcpy(b, &block, sizeof b);
    // Year modulo 1000 is 26.
    const std::uint8_t expected[] = {26, 11, 21, 7, 9, 45, 67};
    for (int i = 0; i < 30; ++i) {
        EXPECT_EQ(b[i], i >= 6 && i < 13 ? expected[i - 6] : 0xEE) << i;
    }
}

TEST(NavBlock, YearIsModuloAThousandThenItsLowByte) {
    NavBlock block;
    setLocalTime(block, {2999, 1, 1, 0, 0, 0, 999});
    EXPECT_EQ(block.year, 999 & 0xFF);
    EXPECT_EQ(block.hundredths, 99);
}

}  // namespace
}  // namespace sorvane
