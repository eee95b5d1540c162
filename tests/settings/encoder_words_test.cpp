#include "settings/encoder_words.h"

#include <gtest/gtest.h>

namespace {

using Bytes = std::vector<std::uint8_t>;
using sorvane::Command;

Bytes bytesOf(const Command& c) {
    EXPECT_EQ(c.kind, Command::Kind::kPayload);
    Bytes bytes = {c.code};
    for (int i = 0; i < c.size; ++i) {
        bytes.push_back(c.bytes[static_cast<std::size_t>(i)]);
    }
    return bytes;
}

TEST(EncoderWords, Codec) {
    EXPECT_EQ(bytesOf(sorvane::codecCommand(0)), (Bytes{98, 0, 0}));
    EXPECT_EQ(bytesOf(sorvane::codecCommand(1)), (Bytes{98, 0, 1}));
}

TEST(EncoderWords, ABitRateAboveSixteenBitsWraps) {
    EXPECT_EQ(bytesOf(sorvane::bitRateCommand(4000)), (Bytes{98, 1, 0xA0, 0x0F}));
    EXPECT_EQ(bytesOf(sorvane::bitRateCommand(65535)), (Bytes{98, 1, 0xFF, 0xFF}));
    EXPECT_EQ(bytesOf(sorvane::bitRateCommand(65536)), (Bytes{98, 1, 0, 0}));
    EXPECT_EQ(bytesOf(sorvane::bitRateCommand(70000)), (Bytes{98, 1, 0x70, 0x11}));
}

TEST(EncoderWords, FolderNaming) {
    EXPECT_EQ(sorvane::folderNamedByTime(), (Bytes{1}));
    EXPECT_EQ(sorvane::folderNamed("a1"), (Bytes{2, 'a', '1'}));
    EXPECT_EQ(sorvane::folderNamed("夜"), (Bytes{2, 0xE5, 0xA4, 0x9C}));
    EXPECT_EQ(sorvane::folderNamed(""), (Bytes{2}));
}

TEST(EncoderWords, CustomText) {
    EXPECT_EQ(sorvane::customText(300, 7, true, "Hi"), (Bytes{0x2C, 1, 7, 0, 0, 'H', 'i'}));
    EXPECT_EQ(sorvane::customText(0, 65535, false, ""), (Bytes{0, 0, 0xFF, 0xFF, 1}));
    EXPECT_EQ(sorvane::customText(65537, -2, true, ""), (Bytes{1, 0, 0xFE, 0xFF, 0})) << "low 16 bits";
}

// The longest texts of the page fit a frame.
TEST(EncoderWords, TheLongestTextsFit) {
    const auto text = [](int characters) {
        std::string s;
        for (int i = 0; i < characters; ++i) {
            s += "夜";
        }
        return s;
    };
    EXPECT_LE(sorvane::folderNamed(text(sorvane::kLongestFolderText)).size(), 253U);
    EXPECT_GT(sorvane::folderNamed(text(sorvane::kLongestFolderText + 1)).size(), 253U);
    EXPECT_LE(sorvane::customText(0, 0, true, text(sorvane::kLongestCustomText)).size(), 253U);
    EXPECT_GT(sorvane::customText(0, 0, true, text(sorvane::kLongestCustomText + 1)).size(), 253U);
}

}  // namespace
