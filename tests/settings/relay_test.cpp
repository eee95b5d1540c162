#include "settings/relay.h"

#include <gtest/gtest.h>

namespace {

using Bytes = std::vector<std::uint8_t>;
using sorvane::RelayBurst;
using sorvane::relayData;

Bytes bytesOf(std::u16string_view text) {
    Bytes data = relayData(0, 0, text);
    EXPECT_GE(data.size(), 2U);
    data.erase(data.begin(), data.begin() + 2);
    return data;
}

TEST(RelayData, EachRowHasItsCode) {
    for (int row = 0; row < 13; ++row) {
        EXPECT_EQ(relayData(row, 5, u"AB"), (Bytes{static_cast<std::uint8_t>(row + 1), 5, 0xAB})) << row;
    }
    EXPECT_EQ(relayData(13, 5, u"AB"), (Bytes{20, 5, 0xAB}));
    EXPECT_EQ(sorvane::relayModuleCode(-1), 0);
    EXPECT_EQ(sorvane::relayModuleCode(14), 0);
}

TEST(RelayData, OfThePayloadNumberTheLowByte) {
    EXPECT_EQ(relayData(0, 255, u""), (Bytes{1, 255}));
    EXPECT_EQ(relayData(0, 258, u""), (Bytes{1, 2}));
    EXPECT_EQ(relayData(0, -1, u""), (Bytes{1, 255}));
}

TEST(RelayData, ATokenOfOneDigitSendsItsValue) { EXPECT_EQ(bytesOf(u"1 f A 00"), (Bytes{1, 15, 10, 0})); }

TEST(RelayData, TheLastTokenCountsOnlyWithTwoCharacters) {
    EXPECT_EQ(bytesOf(u"12 3"), (Bytes{0x12}));
    EXPECT_EQ(bytesOf(u"12 03"), (Bytes{0x12, 3}));
    EXPECT_EQ(bytesOf(u"7"), Bytes{});
    EXPECT_EQ(bytesOf(u""), Bytes{});
    EXPECT_EQ(bytesOf(u"12 "), (Bytes{0x12}));
    EXPECT_EQ(bytesOf(u"5 "), (Bytes{5})) << "not the last: nothing stands behind its blank";
    EXPECT_EQ(bytesOf(u"12 zz"), (Bytes{0x12, 0})) << "two characters, whatever they are";
}

TEST(RelayData, TheTextSplitsAtEachBlank) {
    EXPECT_EQ(bytesOf(u"12  34"), (Bytes{0x12, 0, 0x34}));
    EXPECT_EQ(bytesOf(u" 12"), (Bytes{0, 0x12}));
    EXPECT_EQ(bytesOf(u"   "), (Bytes{0, 0, 0}));
}

TEST(RelayData, WhatIsNoNumberSendsZero) {
    EXPECT_EQ(bytesOf(u"zz 12 1g -1 +1 红外 1.5 55"), (Bytes{0, 0x12, 0, 0, 0, 0, 0, 0x55}));
    EXPECT_EQ(bytesOf(u"12\n34 56"), (Bytes{0, 0x56})) << "a new line is no blank";
    EXPECT_EQ(bytesOf(u"\n 56"), (Bytes{0, 0x56}));
    EXPECT_EQ(bytesOf(u"12\n 56\n"), (Bytes{0x12, 0x56})) << "around the digits it does not matter";
}

TEST(RelayData, AboveFFTheLowByte) {
    EXPECT_EQ(bytesOf(u"100 1FF 123456789ABCDEF0A 0x12"), (Bytes{0, 0xFF, 0x0A, 0x12}));
}

// Texts of every length around what a frame holds; nothing is lost or added on the way.
TEST(RelayData, LongTexts) {
    std::u16string text;
    for (std::size_t n = 1; n <= 300; ++n) {
        text += n == 1 ? u"A5" : u" A5";
        EXPECT_EQ(bytesOf(text), Bytes(n, 0xA5));
    }
}

bool add(RelayBurst& burst, const Bytes& data) {
    return burst.add(data.data(), static_cast<int>(data.size()));
}

TEST(RelayBurst, TheFirstNamesThemAll) {
    RelayBurst burst;
    EXPECT_TRUE(burst.empty());
    EXPECT_TRUE(add(burst, {3, 200, 0x0A, 0xFF}));
    EXPECT_FALSE(add(burst, {7, 1, 0x00}));
    EXPECT_FALSE(add(burst, {3, 2, 0x5C}));
    EXPECT_EQ(burst.row(), 2);
    EXPECT_EQ(burst.module(), 3);
    EXPECT_EQ(burst.number(), 200);
    EXPECT_EQ(burst.digits(), "0A FF 00 5C ");
    burst.clear();
    EXPECT_TRUE(burst.empty());
    EXPECT_TRUE(add(burst, {7, 1}));
    EXPECT_EQ(burst.row(), 6);
    EXPECT_EQ(burst.digits(), "");
}

TEST(RelayBurst, TwoBytesAreTheLeast) {
    RelayBurst burst;
    EXPECT_FALSE(add(burst, {}));
    EXPECT_FALSE(add(burst, {3}));
    EXPECT_FALSE(burst.add(nullptr, 0));
    EXPECT_TRUE(burst.empty());
    EXPECT_TRUE(add(burst, {3, 0}));
    EXPECT_FALSE(add(burst, {4}));
    EXPECT_FALSE(burst.empty());
}

TEST(RelayBurst, EveryByteHasItsRow) {
    for (int byte = 0; byte < 256; ++byte) {
        RelayBurst burst;
        add(burst, {static_cast<std::uint8_t>(byte), 1});
        const int expected = byte >= 1 && byte <= 14 ? byte - 1 : byte == 21 ? 13 : -1;
        EXPECT_EQ(burst.row(), expected) << byte;
        EXPECT_EQ(burst.module(), byte);
    }
}

}  // namespace
