#include "telemetry/ins_reassembler.h"

#include <gtest/gtest.h>

#include "tests/telemetry/frames_by_hand.h"

namespace sorvane {
namespace {

InsFeed feed(InsReassembler& reassembler, const Bytes& bytes, GivenList& list) {
    return reassembler.feed(
        bytes.data(), static_cast<std::int32_t>(bytes.size()), [&](const std::uint8_t* payload) {
            list.push_back({1008, Bytes(payload, payload + InsReassembler::kPayloadSize)});
        });
}

const Given kPayload = {1008, insPayload()};

TEST(InsReassembler, GoldenFrame) {
    InsReassembler reassembler;
    GivenList list;
    EXPECT_EQ(feed(reassembler, insFrame(), list), InsFeed::kReady);
    EXPECT_EQ(list, GivenList{kPayload});
    EXPECT_EQ(reassembler.held(), 0);
}

TEST(InsReassembler, AStreamSplitAtAnyByteYieldsTheSameFrames) {
    const Bytes stream = Bytes{0xAA, 0x00} + insFrame() + Bytes{0x55} + insFrame();
    for (std::size_t cut = 0; cut <= stream.size(); ++cut) {
        InsReassembler reassembler;
        GivenList list;
        feed(reassembler, slice(stream, 0, cut), list);
        feed(reassembler, slice(stream, cut, stream.size() - cut), list);
        EXPECT_EQ(list, (GivenList{kPayload, kPayload})) << "cut at " << cut;
    }
}

TEST(InsReassembler, ATruncatedFrameGivesNothingAndIsCompletedByTheRest) {
    for (std::size_t size = 0; size < 58; ++size) {
        InsReassembler reassembler;
        GivenList list;
        feed(reassembler, slice(insFrame(), 0, size), list);
        EXPECT_TRUE(list.empty());
        feed(reassembler, slice(insFrame(), size, 58 - size), list);
        EXPECT_EQ(list, GivenList{kPayload}) << size;
    }
}

TEST(InsReassembler, TwoFramesInOneCallbackComeInOrder) {
    Bytes second = insFrame();
    second[10] = 0x99;
    InsReassembler reassembler;
    GivenList list;
    feed(reassembler, insFrame() + second, list);
    EXPECT_EQ(list, (GivenList{kPayload, {1008, slice(second, 4, 53)}}));
}

TEST(InsReassembler, TheReceivedChecksumTakesNoPart) {
    for (int checksum = 0; checksum < 256; ++checksum) {
        Bytes frame = insFrame();
        frame[57] = static_cast<std::uint8_t>(checksum);
        InsReassembler reassembler;
        GivenList list;
        feed(reassembler, frame, list);
        EXPECT_EQ(list.size(), 1U) << checksum;
    }
}

TEST(InsReassembler, AFrameWhoseSumIsZeroIsSkippedWhole) {
    Bytes zero = insFrame();
    std::uint8_t sum = 0;
    for (std::size_t i = 0; i < 57; ++i) {
        sum = static_cast<std::uint8_t>(sum + zero[i]);
    }
    zero[56] = static_cast<std::uint8_t>(zero[56] - sum);
    zero[57] = 0xAA;
    InsReassembler reassembler;
    GivenList list;
    feed(reassembler, zero + insFrame(), list);
    EXPECT_EQ(list, GivenList{kPayload});
    EXPECT_EQ(reassembler.held(), 0);
}

TEST(InsReassembler, MoreThan120BytesClearEverything) {
    InsReassembler reassembler;
    GivenList list;
    feed(reassembler, slice(insFrame(), 0, 57), list);
    feed(reassembler, Bytes(6, 0) + insFrame(), list);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(reassembler.held(), 0);
    feed(reassembler, insFrame(), list);
    EXPECT_EQ(list.size(), 1U);
    // 120 in all still fit.
    feed(reassembler, slice(insFrame(), 0, 57), list);
    feed(reassembler, slice(insFrame(), 57, 1) + Bytes(4, 0) + insFrame(), list);
    EXPECT_EQ(list.size(), 3U);
}

TEST(InsReassembler, NoBytesOrANegativeCountDoNothing) {
    InsReassembler reassembler;
    GivenList list;
    feed(reassembler, slice(insFrame(), 0, 20), list);
    const std::uint8_t byte = 0;
    for (const std::int32_t n : {0, -1, -20, INT32_MIN}) {
        reassembler.feed(&byte, n, [](const std::uint8_t*) { ADD_FAILURE(); });
        EXPECT_EQ(reassembler.held(), 20) << n;
    }
    feed(reassembler, slice(insFrame(), 20, 38), list);
    EXPECT_EQ(list, GivenList{kPayload});
}

TEST(InsReassembler, AWrongLengthByteHoldsTheScanAtThatFrame) {
    for (int length = 0; length < 256; ++length) {
        Bytes frame = insFrame();
        frame[3] = static_cast<std::uint8_t>(length);
        InsReassembler reassembler;
        GivenList list;
        EXPECT_EQ(feed(reassembler, frame, list), length == 58 ? InsFeed::kReady : InsFeed::kStuck) << length;
        EXPECT_EQ(list.size(), length == 58 ? 1U : 0U);
    }
}

TEST(InsReassembler, AWrongLengthByteIsNotMetBeforeTheFrameIsWhole) {
    Bytes frame = insFrame();
    frame[3] = 57;
    InsReassembler reassembler;
    GivenList list;
    EXPECT_EQ(feed(reassembler, slice(frame, 0, 57), list), InsFeed::kReady);
    EXPECT_EQ(feed(reassembler, slice(frame, 57, 1), list), InsFeed::kStuck);
}

TEST(InsReassembler, WhatIsHeldWhenStuckStaysForTheNextPort) {
    Bytes bad = insFrame();
    bad[3] = 0;
    InsReassembler reassembler;
    GivenList list;
    ASSERT_EQ(feed(reassembler, insFrame() + bad, list), InsFeed::kStuck);
    EXPECT_EQ(reassembler.held(), 116);
    EXPECT_EQ(list, GivenList{kPayload});
    // A reopened port begins with these bytes, so the scan meets the same frames again.
    EXPECT_EQ(feed(reassembler, Bytes{0}, list), InsFeed::kStuck);
    EXPECT_EQ(list, (GivenList{kPayload, kPayload}));
    // Only an overflow clears them.
    EXPECT_EQ(feed(reassembler, Bytes(4, 0), list), InsFeed::kReady);
    EXPECT_EQ(reassembler.held(), 0);
    EXPECT_EQ(feed(reassembler, insFrame(), list), InsFeed::kReady);
    EXPECT_EQ(list.size(), 3U);
}

}  // namespace
}  // namespace sorvane
