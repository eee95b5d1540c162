#include "tavrik/adts.h"

#include <gtest/gtest.h>

#include <string>

namespace tavrik::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

// AAC LC, 48 kHz, stereo, without check sum: 0xFFF, version 0, layer 0, no CRC; profile 1, rate 3,
// channels 2.
Bytes frame(std::size_t payload, std::uint8_t fill, bool sum = false) {
    const std::size_t length = payload + (sum ? 9u : 7u);
    Bytes out{0xFF,
              static_cast<std::uint8_t>(sum ? 0xF0 : 0xF1),
              0x4C,
              static_cast<std::uint8_t>(0x80 | (length >> 11)),
              static_cast<std::uint8_t>(length >> 3),
              static_cast<std::uint8_t>((length << 5) | 0x1F),
              0xFC};
    if (sum) {
        out.push_back(0x12);
        out.push_back(0x34);
    }
    out.resize(length, fill);
    return out;
}

struct Seen {
    Bytes data;
    bool here;
};

TEST(Adts, CutsFramesInPiecesOfAnySize) {
    Bytes stream;
    for (std::uint8_t n = 1; n <= 5; ++n) {
        const Bytes one = frame(100u + n, n, n % 2 == 0);
        stream.insert(stream.end(), one.begin(), one.end());
    }
    for (const std::size_t piece : {1u, 3u, 50u, 107u, 1000u}) {
        AdtsSplitter splitter;
        std::vector<Bytes> seen;
        for (std::size_t at = 0; at < stream.size(); at += piece) {
            splitter.push(stream.data() + at, std::min<std::size_t>(piece, stream.size() - at),
                          [&](const AdtsFrame& f) {
                              seen.emplace_back(f.data, f.data + f.size);
                              EXPECT_EQ(f.object_type, 2);
                              EXPECT_EQ(f.rate_index, 3);
                              EXPECT_EQ(f.sample_rate, 48000);
                              EXPECT_EQ(f.channels, 2);
                          });
        }
        ASSERT_EQ(seen.size(), 5u) << piece;
        for (std::size_t n = 0; n < 5; ++n) {
            EXPECT_EQ(seen[n], Bytes(101 + n, static_cast<std::uint8_t>(n + 1)));
        }
    }
}

TEST(Adts, TellsWhichFrameBeganBefore) {
    AdtsSplitter splitter;
    std::vector<bool> here;
    const auto note = [&](const AdtsFrame& f) { here.push_back(f.begins_in_piece); };
    Bytes two = frame(20, 1);
    const Bytes second = frame(20, 2);
    two.insert(two.end(), second.begin(), second.end());
    splitter.push(two.data(), 30, note);
    splitter.push(two.data() + 30, two.size() - 30, note);
    splitter.push(second.data(), second.size(), note);
    EXPECT_EQ(here, (std::vector<bool>{true, false, true}));
}

TEST(Adts, FindsTheNextFrameBehindRubbish) {
    AdtsSplitter splitter;
    Bytes stream{0xFF, 0x00, 0x47, 0xFF, 0xF1};
    const Bytes good = frame(30, 9);
    stream.insert(stream.end(), good.begin(), good.end());
    stream.insert(stream.end(), good.begin(), good.end());
    int seen = 0;
    splitter.push(stream.data(), stream.size(), [&](const AdtsFrame& f) { seen += f.size == 30 ? 1 : 0; });
    EXPECT_GE(seen, 1);
    // A header without anything behind it is no frame.
    AdtsSplitter other;
    const Bytes bare = frame(0, 0);
    other.push(bare.data(), bare.size(), [&](const AdtsFrame&) { ADD_FAILURE(); });
}

TEST(AacConfiguration, TellsRateAndChannels) {
    const auto read = [](const Bytes& bytes) {
        AacConfiguration out;
        return readAacConfiguration(bytes.data(), bytes.size(), out)
                   ? std::to_string(out.sample_rate) + "/" + std::to_string(out.channels)
                   : "none";
    };
    EXPECT_EQ(read({0x11, 0x90}), "48000/2");
    EXPECT_EQ(read({0x12, 0x08}), "44100/1");
    // 5 bits of type, 15, 24 bits of rate, 4 bits of channels: 12345, 1.
    EXPECT_EQ(read({0x17, 0x80, 0x18, 0x1C, 0x88}), "12345/1");
    EXPECT_EQ(read({0x16, 0x90}), "none");
    EXPECT_EQ(read({0x11}), "none");
    EXPECT_EQ(read({}), "none");
}

}  // namespace
}  // namespace tavrik::test
