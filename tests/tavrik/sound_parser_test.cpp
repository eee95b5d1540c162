// Frames of sound out of pieces of any size, and what is none.
#include "tavrik/sound_parser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "memory.h"
#include "tone.h"

namespace tavrik::test {
namespace {

struct Coding {
    AVCodecID codec;
    const char* encoder;
    int samples;  // of a frame
};

class SoundParserOf : public testing::TestWithParam<Coding> {
protected:
    SoundParserOf() : m_context(avcodec_alloc_context3(nullptr)) {
        m_context->codec_type = AVMEDIA_TYPE_AUDIO;
        m_context->codec_id = GetParam().codec;
        EXPECT_TRUE(m_parser.open(GetParam().codec));
    }
    void push(const Bytes& bytes, std::size_t piece) {
        for (std::size_t at = 0; at < bytes.size(); at += piece) {
            m_parser.push(*m_context, bytes.data() + at, std::min(piece, bytes.size() - at), AV_NOPTS_VALUE,
                          [this](const SoundParser::Frame& frame) {
                              m_frames.emplace_back(frame.data, frame.data + frame.size);
                              m_samples = frame.samples;
                          });
        }
    }

    CodecContextPtr m_context;
    SoundParser m_parser;
    std::vector<Bytes> m_frames;
    int m_samples = 0;
};

TEST_P(SoundParserOf, CutsTheFramesThatWereSent) {
    Tone tone(GetParam().encoder, 48000, 2);
    for (const std::size_t piece : {7u, 500u, 100000u}) {
        std::vector<Bytes> sent;
        Bytes all;
        while (sent.size() < 40) {
            const Bytes frame = tone.next();
            if (!frame.empty()) {
                sent.push_back(frame);
                all.insert(all.end(), frame.begin(), frame.end());
            }
        }
        m_frames.clear();
        m_parser.open(GetParam().codec);
        push(all, piece);
        // The last one's end shows with the next.
        ASSERT_GE(m_frames.size(), 38u) << piece;
        const auto begin = std::find(sent.begin(), sent.end(), m_frames[2]);
        ASSERT_NE(begin, sent.end());
        EXPECT_TRUE(std::equal(m_frames.begin() + 2, m_frames.end() - 1, begin));
        EXPECT_EQ(m_samples, GetParam().samples);
    }
}

// Noise, silence, what is scrambled: nothing in it ever begins or ends a frame.
TEST_P(SoundParserOf, KeepsLittleOfWhatIsNoSoundAndFindsTheSoundBehindIt) {
    constexpr std::size_t kPiece = 60000;
    const std::size_t before = bytesInUse();
    for (std::size_t sent = 0; sent < 16 * SoundParser::kMostKept; sent += kPiece) {
        push(Bytes(kPiece, 0x56), kPiece);
        ASSERT_LT(bytesInUse(), before + 3 * SoundParser::kMostKept) << sent;
    }
    Tone tone(GetParam().encoder, 48000, 2);
    std::vector<Bytes> sent;
    for (int n = 0; n < 40; ++n) {
        const Bytes frame = tone.next();
        sent.push_back(frame);
        push(frame, kPiece);
    }
    ASSERT_GE(m_frames.size(), 30u);
    EXPECT_NE(std::find(sent.begin(), sent.end(), m_frames[20]), sent.end());
}

INSTANTIATE_TEST_SUITE_P(Tavrik, SoundParserOf,
                         testing::Values(Coding{AV_CODEC_ID_MP2, "mp2", 1152},
                                         Coding{AV_CODEC_ID_AC3, "ac3", 1536},
                                         Coding{AV_CODEC_ID_EAC3, "eac3", 1536}),
                         [](const testing::TestParamInfo<Coding>& info) {
                             return std::string(info.param.encoder);
                         });

// The longest frames of all, whose end is told by the next one alone.
TEST(SoundParserOfDts, KeepsLittleOfAFrameThatDoesNotEnd) {
    CodecContextPtr context(avcodec_alloc_context3(nullptr));
    context->codec_type = AVMEDIA_TYPE_AUDIO;
    context->codec_id = AV_CODEC_ID_DTS;
    SoundParser parser;
    ASSERT_TRUE(parser.open(AV_CODEC_ID_DTS));
    EXPECT_FALSE(SoundParser().isOpen());
    constexpr std::size_t kPiece = 60000;
    Bytes piece(kPiece, 0x11);
    // The word that begins a frame.
    const Bytes begins{0x7F, 0xFE, 0x80, 0x01};
    std::copy(begins.begin(), begins.end(), piece.begin());
    const std::size_t before = bytesInUse();
    for (std::size_t sent = 0; sent < 16 * SoundParser::kMostKept; sent += kPiece) {
        parser.push(*context, piece.data(), kPiece, AV_NOPTS_VALUE, [](const SoundParser::Frame&) {});
        ASSERT_LT(bytesInUse(), before + 3 * SoundParser::kMostKept) << sent;
        std::fill_n(piece.begin(), 4, std::uint8_t{0x11});
    }
}

}  // namespace
}  // namespace tavrik::test
