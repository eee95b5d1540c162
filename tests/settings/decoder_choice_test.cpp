#include "settings/decoder_choice.h"

#include <gtest/gtest.h>

TEST(Decoders, OnlyTheLowestThreeBitsMakeRows) {
    EXPECT_EQ(sorvane::decoderItems(0b111), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(sorvane::decoderItems(0b101), (std::vector<int>{0, 2}));
    EXPECT_EQ(sorvane::decoderItems(0b11111001), (std::vector<int>{0}));
    EXPECT_TRUE(sorvane::decoderItems(0).empty());
}

TEST(Decoders, StoredIndexPastTheRowsSelectsTheFirst) {
    EXPECT_EQ(sorvane::decoderRow(1, 3), 1);
    EXPECT_EQ(sorvane::decoderRow(2, 2), 0);
    EXPECT_EQ(sorvane::decoderRow(-1, 2), 0);
    EXPECT_EQ(sorvane::decoderRow(0, 0), 0);
}

TEST(Decoders, ItemIsPassedAsAPowerOfTwo) {
    EXPECT_EQ(sorvane::decoderMask(0), 1);
    EXPECT_EQ(sorvane::decoderMask(1), 2);
    EXPECT_EQ(sorvane::decoderMask(2), 4);
}

TEST(Decoders, AnItemOfNoDecoderIsTheSoftwareDecoder) {
    EXPECT_EQ(sorvane::decoderMask(-1), 1);
    EXPECT_EQ(sorvane::decoderMask(3), 1);
}
