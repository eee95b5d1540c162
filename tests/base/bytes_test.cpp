#include "base/bytes.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "base/checksum.h"
#include "base/numbers.h"

namespace sorvane {
namespace {

TEST(Bytes, LoadsLittleEndianAtOddAddresses) {
    const std::uint8_t b[] = {0, 0x78, 0x56, 0x34, 0x92, 0xF0, 0xDE, 0xBC, 0x9A};
    EXPECT_EQ(loadU16(b + 1), 0x5678);
    EXPECT_EQ(loadU32(b + 1), 0x92345678U);
    EXPECT_EQ(loadI16(b + 3), static_cast<std::int16_t>(0x9234));
    EXPECT_EQ(loadI32(b + 1), static_cast<std::int32_t>(0x92345678U));
    EXPECT_EQ(loadU64(b + 1), 0x9ABCDEF092345678ULL);
}

TEST(Bytes, StoresLittleEndianAtOddAddresses) {
    std::uint8_t b[9] = {};
    storeI16(b + 1, -2);
    EXPECT_EQ(b[1], 0xFE);
    EXPECT_EQ(b[2], 0xFF);
    storeI32(b + 1, 0x01020304);
    EXPECT_EQ(b[1], 4);
    EXPECT_EQ(b[4], 1);
    EXPECT_EQ(b[5], 0);
    storeU64(b + 1, 0x0102030405060708ULL);
    EXPECT_EQ(b[1], 8);
    EXPECT_EQ(b[8], 1);
    EXPECT_EQ(b[0], 0);
}

TEST(Bytes, FloatTravelsAsItsBitPattern) {
    std::uint8_t b[5] = {};
    storeF32(b + 1, -118.5F);  // 0xC2ED0000
    EXPECT_EQ(b[1], 0x00);
    EXPECT_EQ(b[2], 0x00);
    EXPECT_EQ(b[3], 0xED);
    EXPECT_EQ(b[4], 0xC2);
    EXPECT_EQ(loadF32(b + 1), -118.5F);
}

TEST(Bytes, LowAndHighByteOfNegatives) {
    EXPECT_EQ(lowByte(-300), 0xD4);
    EXPECT_EQ(highByte(-300), 0xFE);
    EXPECT_EQ(lowByte(0x12345), 0x45);
    EXPECT_EQ(highByte(0x12345), 0x23);
}

TEST(Numbers, TruncatesTowardZero) {
    EXPECT_EQ(truncateToI32(2.99), 2);
    EXPECT_EQ(truncateToI32(-2.99), -2);
    EXPECT_EQ(truncateToI32(-0.5), 0);
    EXPECT_EQ(truncateToI32(2147483647.9), 2147483647);
    EXPECT_EQ(truncateToI32(-2147483648.9), std::numeric_limits<std::int32_t>::min());
}

TEST(Numbers, OutOfRangeAndNanGiveTheLowestInteger) {
    const std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
    EXPECT_EQ(truncateToI32(2147483648.0), lowest);
    EXPECT_EQ(truncateToI32(-2147483649.0), lowest);
    EXPECT_EQ(truncateToI32(1e300), lowest);
    EXPECT_EQ(truncateToI32(std::numeric_limits<double>::infinity()), lowest);
    EXPECT_EQ(truncateToI32(-std::numeric_limits<double>::infinity()), lowest);
    EXPECT_EQ(truncateToI32(std::numeric_limits<double>::quiet_NaN()), lowest);
}

TEST(Numbers, NarrowFieldsKeepTheLowBits) {
    EXPECT_EQ(truncateToU16(65537.5), 1);
    EXPECT_EQ(truncateToI16(40000.0), 40000 - 65536);
    EXPECT_EQ(truncateToI16(1e12), 0);  // low bits of 0x80000000
}

TEST(Checksum, XorAndSum) {
    const std::uint8_t b[] = {0xFF, 0x0F, 0x01};
    EXPECT_EQ(frameXor(b, 3), 0xF1);
    EXPECT_EQ(frameSum(b, 3), 0x10FU);
}

TEST(Checksum, NothingGivesZero) {
    EXPECT_EQ(frameXor(nullptr, 0), 0);
    EXPECT_EQ(frameXor(nullptr, -1), 0);
    EXPECT_EQ(frameSum(nullptr, 0), 0U);
    EXPECT_EQ(frameSum(nullptr, -5), 0U);
}

// The words in which it is reckoned must not show: every length, every start.
TEST(Checksum, XorOfEveryLengthIsThatOfItsBytes) {
    std::vector<std::uint8_t> bytes;
    for (int i = 0; i < 300; ++i) {
        bytes.push_back(static_cast<std::uint8_t>(i * 37 + (i >> 3)));
    }
    for (int start = 0; start < 9; ++start) {
        std::uint8_t expected = 0;
        for (int n = 0; start + n < static_cast<int>(bytes.size()); ++n) {
            EXPECT_EQ(frameXor(&bytes[static_cast<std::size_t>(start)], n), expected) << start << " " << n;
            expected = static_cast<std::uint8_t>(expected ^ bytes[static_cast<std::size_t>(start + n)]);
        }
    }
}

}  // namespace
}  // namespace sorvane
