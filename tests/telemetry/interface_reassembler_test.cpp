#include "telemetry/interface_reassembler.h"

#include <gtest/gtest.h>

#include "tests/telemetry/frames_by_hand.h"

namespace sorvane {
namespace {

void feed(InterfaceReassembler& reassembler, const Bytes& bytes, GivenList& list) {
    reassembler.feed(bytes.data(), static_cast<std::int32_t>(bytes.size()), [&](const std::uint8_t* block) {
        list.push_back({1010, Bytes(block, block + InterfaceReassembler::kBlockSize)});
    });
}

const Given kBlock = {1010, navBytes()};

TEST(InterfaceReassembler, GoldenFrame) {
    InterfaceReassembler reassembler;
    GivenList list;
    feed(reassembler, interfaceFrame(), list);
    EXPECT_EQ(list, GivenList{kBlock});
}

TEST(InterfaceReassembler, TwoFramesInOneCallbackComeInOrder) {
    Bytes second = interfaceFrame();
    second[7] = 0x99;
    InterfaceReassembler reassembler;
    GivenList list;
    feed(reassembler, interfaceFrame() + second, list);
    EXPECT_EQ(list, (GivenList{kBlock, {1010, slice(second, 7, 30)}}));
}

TEST(InterfaceReassembler, AStreamSplitAnywhereButBeforeTheEndByteYieldsTheSameFrames) {
    const Bytes stream = Bytes{0xFB, 0x00} + interfaceFrame() + Bytes{0x2C} + interfaceFrame();
    for (std::size_t cut = 0; cut <= stream.size(); ++cut) {
        InterfaceReassembler reassembler;
        GivenList list;
        feed(reassembler, slice(stream, 0, cut), list);
        feed(reassembler, slice(stream, cut, stream.size() - cut), list);
        // With 42 or 43 bytes of a frame it is judged by the byte that stands where its end byte will come.
        // In a fresh buffer that is no end byte, so the frame is lost. The second frame finds what it holds
        // itself.
        const bool before_end_of_first = cut == 2 + 42 || cut == 2 + 43;
        const bool before_end_of_second = cut == 47 + 42 || cut == 47 + 43;
        const std::size_t expected = before_end_of_first || before_end_of_second ? 1 : 2;
        EXPECT_EQ(list.size(), expected) << "cut at " << cut;
        for (const Given& given : list) {
            EXPECT_EQ(given, kBlock);
        }
    }
}

TEST(InterfaceReassembler, NoBytesOrANegativeCountDoNothing) {
    InterfaceReassembler reassembler;
    GivenList list;
    feed(reassembler, slice(interfaceFrame(), 0, 20), list);
    const std::uint8_t byte = 0;
    for (const std::int32_t n : {0, -1, -20, INT32_MIN}) {
        reassembler.feed(&byte, n, [](const std::uint8_t*) { ADD_FAILURE(); });
        EXPECT_EQ(reassembler.held(), 20) << n;
    }
    feed(reassembler, slice(interfaceFrame(), 20, interfaceFrame().size() - 20), list);
    EXPECT_EQ(list, GivenList{kBlock});
}

TEST(InterfaceReassembler, TheEndByteMayBeAnEarlierFrames) {
    InterfaceReassembler reassembler;
    GivenList list;
    // The second frame is cut before its end byte, where nothing was ever written: it is lost. What is held
    // is then nothing, and the first frame's end byte still stands at offset 43.
    feed(reassembler, interfaceFrame() + slice(interfaceFrame(), 0, 42), list);
    EXPECT_EQ(list.size(), 1U);
    ASSERT_EQ(reassembler.held(), 0);
    feed(reassembler, slice(interfaceFrame(), 0, 42), list);
    EXPECT_EQ(list, (GivenList{kBlock, kBlock}));
}

TEST(InterfaceReassembler, AWrongEndByteSkips42Bytes) {
    Bytes bad = interfaceFrame();
    bad[43] = 0xF1;
    // The two bytes behind the 42 are searched: a frame may begin there.
    bad[42] = 0xFB;
    Bytes overlapping = slice(bad, 0, 42) + interfaceFrame();
    InterfaceReassembler reassembler;
    GivenList list;
    feed(reassembler, overlapping, list);
    EXPECT_EQ(list, GivenList{kBlock});
}

TEST(InterfaceReassembler, ATruncatedFrameBelow42BytesIsCompletedByTheRest) {
    for (std::size_t size = 0; size < 42; ++size) {
        InterfaceReassembler reassembler;
        GivenList list;
        feed(reassembler, slice(interfaceFrame(), 0, size), list);
        EXPECT_TRUE(list.empty());
        EXPECT_LE(reassembler.held(), static_cast<std::int32_t>(size));
        feed(reassembler, slice(interfaceFrame(), size, 44 - size), list);
        EXPECT_EQ(list, GivenList{kBlock}) << size;
    }
}

TEST(InterfaceReassembler, AFrameCutAtTheEndOfAFullBufferIsSafe) {
    // The frame's 42 bytes end with the buffer, so its end byte lies in the padding, which holds zero for
    // ever.
    InterfaceReassembler reassembler;
    GivenList list;
    for (int round = 0; round < 3; ++round) {
        const auto fill = static_cast<std::size_t>(InterfaceReassembler::kCapacity - reassembler.held());
        feed(reassembler, Bytes(fill - 42, 0x11) + slice(interfaceFrame(), 0, 42), list);
    }
    EXPECT_TRUE(list.empty());
}

TEST(InterfaceReassembler, MoreThan1024BytesClearEverything) {
    InterfaceReassembler reassembler;
    GivenList list;
    feed(reassembler, slice(interfaceFrame(), 0, 41), list);
    ASSERT_EQ(reassembler.held(), 41);
    feed(reassembler, Bytes(984 - 44, 0) + interfaceFrame(), list);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(reassembler.held(), 0);
    feed(reassembler, slice(interfaceFrame(), 0, 41), list);
    feed(reassembler, slice(interfaceFrame(), 41, 3) + Bytes(936, 0) + interfaceFrame(), list);
    EXPECT_EQ(list.size(), 2U);
}

}  // namespace
}  // namespace sorvane
