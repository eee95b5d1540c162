#include "telemetry/control_link_reassembler.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/telemetry/frames_by_hand.h"

namespace sorvane {
namespace {

void feed(ControlLinkReassembler& reassembler, const Bytes& bytes, GivenList& list) {
    reassembler.feed(bytes.data(), static_cast<std::int32_t>(bytes.size()), LinkSink{list});
}

GivenList framesOf(const Bytes& bytes) {
    ControlLinkReassembler reassembler;
    GivenList list;
    feed(reassembler, bytes, list);
    return list;
}

const Given kRecord = {1004, recordWithIntegers()};
const Given kReply = {1007, variablePayload()};

Bytes mixedStream() {
    return Bytes{0x00, 0xFC} + fixedFrame() + Bytes{0xFC, 0xFC, 0x2D} + variableFrame() + fixedFrame() +
           variableFrame() + Bytes{0x2C};
}
const GivenList kMixed = {kRecord, kReply, kRecord, kReply};

// A fixed frame around the given floats.
Bytes fixedFrameAt(float longitude, float latitude) {
    Bytes frame = fixedFrame();
    storeF32(&frame[29], longitude);
    storeF32(&frame[33], latitude);
    frame[62] = 0;
    for (std::size_t i = 2; i < 62; ++i) {
        frame[62] = static_cast<std::uint8_t>(frame[62] ^ frame[i]);
    }
    return frame;
}

TEST(ControlLinkReassembler, GoldenFixedFrame) { EXPECT_EQ(framesOf(fixedFrame()), GivenList{kRecord}); }

TEST(ControlLinkReassembler, GoldenVariableFrame) { EXPECT_EQ(framesOf(variableFrame()), GivenList{kReply}); }

TEST(ControlLinkReassembler, AStreamSplitAtAnyByteYieldsTheSameFrames) {
    const Bytes stream = mixedStream();
    for (std::size_t cut = 0; cut <= stream.size(); ++cut) {
        ControlLinkReassembler reassembler;
        GivenList list;
        feed(reassembler, slice(stream, 0, cut), list);
        feed(reassembler, slice(stream, cut, stream.size() - cut), list);
        EXPECT_EQ(list, kMixed) << "cut at " << cut;
    }
}

TEST(ControlLinkReassembler, AStreamInPiecesOfAnySizeYieldsTheSameFrames) {
    const Bytes stream = mixedStream();
    for (std::size_t piece = 1; piece <= 70; ++piece) {
        ControlLinkReassembler reassembler;
        GivenList list;
        for (std::size_t at = 0; at < stream.size(); at += piece) {
            feed(reassembler, slice(stream, at, std::min(piece, stream.size() - at)), list);
        }
        EXPECT_EQ(list, kMixed) << "pieces of " << piece;
    }
}

TEST(ControlLinkReassembler, ATruncatedFrameGivesNothingAndIsCompletedByTheRest) {
    for (const auto& [frame, given] :
         {std::pair{fixedFrame(), kRecord}, std::pair{variableFrame(), kReply}}) {
        for (std::size_t size = 0; size < frame.size(); ++size) {
            ControlLinkReassembler reassembler;
            GivenList list;
            feed(reassembler, slice(frame, 0, size), list);
            EXPECT_TRUE(list.empty()) << size;
            EXPECT_EQ(reassembler.held(), static_cast<std::int32_t>(size));
            feed(reassembler, slice(frame, size, frame.size() - size), list);
            EXPECT_EQ(list, GivenList{given}) << size;
            EXPECT_EQ(reassembler.held(), 0);
        }
    }
}

TEST(ControlLinkReassembler, TwoFramesInOneCallbackComeInOrder) {
    EXPECT_EQ(framesOf(variableFrame() + fixedFrame()), (GivenList{kReply, kRecord}));
    EXPECT_EQ(framesOf(fixedFrame() + variableFrame()), (GivenList{kRecord, kReply}));
}

TEST(ControlLinkReassembler, AFixedFrameWithABadChecksumLosesExactly64Bytes) {
    // A good variable frame begins inside the bad one and ends with it; a second one ends one byte behind it.
    Bytes bad = fixedFrame();
    const Bytes inner = variableFrame();
    for (std::size_t i = 0; i < inner.size(); ++i) {
        bad[50 + i] = inner[i];
    }
    EXPECT_EQ(framesOf(bad + fixedFrame()), GivenList{kRecord});
    EXPECT_EQ(framesOf(bad + variableFrame()), GivenList{kReply});

    Bytes straddling = fixedFrame();
    straddling[10] = static_cast<std::uint8_t>(straddling[10] ^ 1);
    for (std::size_t i = 0; i + 1 < inner.size(); ++i) {
        straddling[55 + i] = inner[i];
    }
    EXPECT_EQ(framesOf(straddling + Bytes{inner.back()} + variableFrame()), GivenList{kReply});
}

TEST(ControlLinkReassembler, EverySingleWrongByteOfAFixedFrameLosesIt) {
    for (std::size_t at = 0; at < 64; ++at) {
        Bytes frame = fixedFrame();
        frame[at] = static_cast<std::uint8_t>(frame[at] ^ 0x10);
        EXPECT_TRUE(framesOf(frame).empty()) << at;
    }
}

TEST(ControlLinkReassembler, AVariableFrameWithABadChecksumLosesItsClaimedLength) {
    Bytes bad = {0xFC, 0x2C, 0x55, 0x0A};
    bad = bad + variableFrame() + Bytes{0x00};
    EXPECT_EQ(framesOf(bad + variableFrame()), GivenList{kReply});
}

TEST(ControlLinkReassembler, AnEmptyVariableFrameTakesFiveBytesAndGivesAnEmptyPayload) {
    const Bytes empty = {0xFC, 0x2C, 0x55, 0x00, 0x00};
    EXPECT_EQ(framesOf(empty + variableFrame()), (GivenList{{1007, {}}, kReply}));
    const Bytes one = {0xFC, 0x2C, 0x55, 0x01, 0x77, 0x76};
    EXPECT_EQ(framesOf(one + variableFrame()), (GivenList{{1007, {0x77}}, kReply}));
}

TEST(ControlLinkReassembler, TheLongestVariableFrame) {
    Bytes frame = {0xFC, 0x2C, 0x55, 0xFF};
    std::uint8_t x = 0xFF;
    for (int i = 0; i < 255; ++i) {
        frame.push_back(static_cast<std::uint8_t>(i * 7));
        x = static_cast<std::uint8_t>(x ^ frame.back());
    }
    frame.push_back(x);
    EXPECT_EQ(framesOf(frame), (GivenList{{1007, slice(frame, 4, 255)}}));
}

TEST(ControlLinkReassembler, AThousandHeldAnd25NewClearEverything) {
    // No more than a frame's rest, at most 259 bytes, is ever held; so the sum of 1025 is met with 200 and
    // 825.
    ControlLinkReassembler reassembler;
    GivenList list;
    Bytes first = Bytes{0xFC, 0x2C, 0x55, 0xFF} + Bytes(196, 0);
    feed(reassembler, first, list);
    ASSERT_EQ(reassembler.held(), 200);
    feed(reassembler, Bytes(825 - fixedFrame().size(), 0) + fixedFrame(), list);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(reassembler.held(), 0);
    feed(reassembler, fixedFrame(), list);
    EXPECT_EQ(list, GivenList{kRecord});
}

TEST(ControlLinkReassembler, HeldAndNewBytesOf1024StillFit) {
    ControlLinkReassembler reassembler;
    GivenList list;
    feed(reassembler, slice(fixedFrame(), 0, 60), list);
    feed(reassembler, slice(fixedFrame(), 60, 4) + Bytes(896, 0) + fixedFrame(), list);
    EXPECT_EQ(list, (GivenList{kRecord, kRecord}));
    // One more byte in one callback alone is too many.
    feed(reassembler, Bytes(1025 - 64, 0) + fixedFrame(), list);
    EXPECT_EQ(list.size(), 2U);
    EXPECT_EQ(reassembler.held(), 0);
}

TEST(ControlLinkReassembler, ACallbackWithNoBytesOrANegativeCountDoesNothing) {
    ControlLinkReassembler reassembler;
    GivenList list;
    feed(reassembler, slice(fixedFrame(), 0, 30), list);
    const std::uint8_t byte = 0;
    reassembler.feed(&byte, 0, LinkSink{list});
    reassembler.feed(&byte, -5, LinkSink{list});
    reassembler.feed(&byte, std::numeric_limits<std::int32_t>::min(), LinkSink{list});
    feed(reassembler, slice(fixedFrame(), 30, 34), list);
    EXPECT_EQ(list, GivenList{kRecord});
}

TEST(ControlLinkReassembler, ALoadTypeOf0x55IsTakenForAVariableFrame) {
    Bytes frame = fixedFrame();
    frame[2] = 0x55;
    frame[62] = static_cast<std::uint8_t>(frame[62] ^ 0x02 ^ 0x55);
    // The module status 0xC5 is then a length of 197: 202 bytes are skipped, whatever they hold.
    EXPECT_TRUE(framesOf(frame + fixedFrame() + fixedFrame()).empty());
    EXPECT_EQ(framesOf(frame + Bytes(138, 0) + fixedFrame()), GivenList{kRecord});
}

TEST(ControlLinkReassembler, ARecordInAVariableFrameKeepsItsPositions) {
    Bytes payload = Bytes{0x14, 0x00} + recordWithIntegers();
    Bytes frame = Bytes{0xFC, 0x2C, 0x55, 62} + payload;
    std::uint8_t x = 62;
    for (const std::uint8_t byte : payload) {
        x = static_cast<std::uint8_t>(x ^ byte);
    }
    frame.push_back(x);
    EXPECT_EQ(framesOf(frame), (GivenList{{1007, payload}}));
}

TEST(ControlLinkReassembler, PositionsTruncateTowardZero) {
    const auto positions = [](float longitude, float latitude) {
        const GivenList list = framesOf(fixedFrameAt(longitude, latitude));
        return std::pair{loadI32(&list.at(0).bytes[27]), loadI32(&list.at(0).bytes[31])};
    };
    // 0.00000015F * 1e7 is 1.5000000..., -0.00000015F the same below zero.
    EXPECT_EQ(positions(0.00000015F, -0.00000015F), (std::pair{1, -1}));
    EXPECT_EQ(positions(-114.5F, 90.0F), (std::pair{-1145000000, 900000000}));
    // 116.39F is 116.3899993896484375 exactly.
    EXPECT_EQ(positions(116.39F, 0.0F).first, 1163899993);
}

TEST(ControlLinkReassembler, PositionsThatDoNotFitGiveTheSmallestInteger) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const std::int32_t smallest = std::numeric_limits<std::int32_t>::min();
    for (const float odd :
         {std::numeric_limits<float>::quiet_NaN(), kInfinity, -kInfinity, 300.0F, -300.0F, 3e38F}) {
        const GivenList list = framesOf(fixedFrameAt(odd, odd));
        ASSERT_EQ(list.size(), 1U);
        EXPECT_EQ(loadI32(&list[0].bytes[27]), smallest) << odd;
        EXPECT_EQ(loadI32(&list[0].bytes[31]), smallest) << odd;
    }
}

TEST(ControlLinkReassembler, FramesAreFoundBehindAnyLengthOfMagicBytes) {
    for (std::size_t length = 0; length < 200; ++length) {
        EXPECT_EQ(framesOf(Bytes(length, 0xFC) + variableFrame()), GivenList{kReply}) << length;
        EXPECT_EQ(framesOf(Bytes(length, 0x2C) + fixedFrame()), GivenList{kRecord}) << length;
    }
}

}  // namespace
}  // namespace sorvane
