#include "telemetry/sei_block.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tests/telemetry/sei_by_hand.h"

namespace sorvane {
namespace {

// The run in a block of its own, so that a sanitizer sees a read beyond it.
std::optional<SeiPayload> found(const Bytes& run, int kind) {
    const Bytes own(run);
    return findSeiBlock(own.data(), static_cast<int>(own.size()), kind);
}

bool isByHand(const std::optional<SeiPayload>& block) {
    const Bytes expected = seiPayload();
    return block && std::equal(expected.begin(), expected.end(), block->begin());
}

// A whole message with the block by hand in it.
Bytes runOf(int kind) { return kind == kSeiOfH264 ? seiRunH264() : seiRunH265(); }

class SeiBlock : public ::testing::TestWithParam<int> {
protected:
    int kind() const { return GetParam(); }
    int other() const { return 1 - GetParam(); }
    std::size_t headSize() const { return kind() == kSeiOfH264 ? 5 : 6; }
};

TEST_P(SeiBlock, TheBlockByHandIsFoundAndClean) {
    const auto block = found(runOf(kind()), kind());
    ASSERT_TRUE(isByHand(block));
    EXPECT_EQ(block->back(), kind() == kSeiOfH264 ? 0xE6 : 0x2F);
    EXPECT_TRUE(isByHand(found(seiRun(kind(), seiPayload()), kind()))) << "the builder builds the same";
}

TEST_P(SeiBlock, TheOtherKindFindsNothing) {
    EXPECT_FALSE(found(runOf(kind()), other()));
    for (const int strange : {-1, 2, 255}) {
        EXPECT_FALSE(found(runOf(kind()), strange)) << strange;
    }
}

TEST_P(SeiBlock, EveryTruncationIsDropped) {
    const Bytes run = runOf(kind());
    for (std::size_t n = 0; n < run.size(); ++n) {
        EXPECT_FALSE(found(slice(run, 0, n), kind())) << n;
    }
    EXPECT_FALSE(findSeiBlock(nullptr, 0, kind()));
    EXPECT_FALSE(findSeiBlock(nullptr, 100, kind()));
    EXPECT_FALSE(findSeiBlock(run.data(), -1, kind()));
}

// One byte must follow the message, whichever.
TEST_P(SeiBlock, AMessageThatEndsTheRunIsDropped) {
    Bytes run = runOf(kind());
    run.back() = 0x77;
    EXPECT_TRUE(isByHand(found(run, kind())));
    run.pop_back();
    EXPECT_FALSE(found(run, kind()));
}

// Each run is looked at alone.
TEST_P(SeiBlock, AMessageInTwoRunsIsDroppedWhereverItIsCut) {
    const Bytes run = runOf(kind());
    for (std::size_t n = 1; n < run.size(); ++n) {
        EXPECT_FALSE(found(slice(run, 0, n), kind())) << n;
        EXPECT_FALSE(found(slice(run, n, run.size() - n), kind())) << n;
    }
}

TEST_P(SeiBlock, AnyOtherByteOfTheMessageFails) {
    const Bytes run = runOf(kind());
    for (std::size_t i = 0; i + 1 < run.size(); ++i) {
        for (const int change : {0x01, 0x02, 0x80, 0xFF}) {
            Bytes wrong = run;
            wrong[i] = static_cast<std::uint8_t>(wrong[i] ^ change);
            EXPECT_FALSE(found(wrong, kind())) << i << " " << change;
        }
    }
}

TEST_P(SeiBlock, AWrongSumIsDropped) {
    for (const int wrong : {1, -1, 128}) {
        EXPECT_FALSE(found(seiRun(kind(), seiPayload(), wrong), kind())) << wrong;
    }
    EXPECT_TRUE(found(seiRun(kind(), seiPayload(), 256), kind())) << "eight bits count";
}

TEST_P(SeiBlock, OnlyASizeOf97Counts) {
    for (const std::size_t size : {1, 50, 96, 98, 200, 255}) {
        Bytes payload = seiPayload();
        payload.resize(size - 1, 0x44);
        EXPECT_FALSE(found(seiRun(kind(), payload), kind())) << size;
    }
    Bytes payload = seiPayload();
    payload.resize(96);
    EXPECT_TRUE(found(seiRun(kind(), payload), kind()));
}

TEST_P(SeiBlock, AnotherTypeOrTrailerIsDropped) {
    for (const int type : {4, 6, 0x85, 0}) {
        Bytes run = seiRun(kind(), seiPayload());
        const std::size_t sum_at = run.size() - 4;
        run[headSize()] = static_cast<std::uint8_t>(type);
        run[sum_at] = static_cast<std::uint8_t>(run[sum_at] + type - 5);
        EXPECT_FALSE(found(run, kind())) << type;
    }
    for (const auto& [first, second] : {std::pair(0x01, 0x80), {0x00, 0x81}, {0x00, 0x00}, {0x80, 0x00}}) {
        Bytes run = seiRun(kind(), seiPayload());
        run[run.size() - 3] = static_cast<std::uint8_t>(first);
        run[run.size() - 2] = static_cast<std::uint8_t>(second);
        EXPECT_FALSE(found(run, kind())) << first << " " << second;
    }
}

TEST_P(SeiBlock, OnlyTheFirstUnitOfTheKindIsLookedAt) {
    const Bytes run = runOf(kind());
    const Bytes head = slice(run, 0, headSize());
    const Bytes message = slice(run, 0, run.size() - 1);
    // A recovery point, user data of another maker, a block with a wrong sum.
    for (const Bytes& ahead :
         {head + Bytes{6, 1, 0xC4, 0x80}, seiRun(kind(), Bytes(30, 0x21)), seiRun(kind(), seiPayload(), 1)}) {
        EXPECT_FALSE(found(ahead + run, kind()));
        EXPECT_TRUE(isByHand(found(message + ahead, kind())));
    }
    Bytes later = seiPayload();
    later[16] = 0x55;
    EXPECT_TRUE(isByHand(found(message + seiRun(kind(), later), kind()))) << "the second is passed over";
}

TEST_P(SeiBlock, WhatIsNoUnitOfTheKindMayStandAhead) {
    const Bytes run = runOf(kind());
    EXPECT_TRUE(isByHand(found(Bytes(300, 0x00) + run, kind())));
    EXPECT_TRUE(isByHand(found(Bytes{0, 0, 0, 1, 0x09, 0x10} + run, kind())));
    // A start code of three bytes is none.
    EXPECT_TRUE(isByHand(found(Bytes{0xFF, 0, 0, 1, 0x06, 0x4E, 0x01} + run, kind())));
    // The head of the other codec is no head here.
    EXPECT_TRUE(isByHand(found(runOf(other()) + run, kind())));
    EXPECT_FALSE(found(slice(run, 1, run.size() - 1), kind()));
}

// A payload of bytes that emulation prevention is about comes back as it was, whatever its bytes.
TEST_P(SeiBlock, AnyPayloadSurvivesEmulationPrevention) {
    std::mt19937 random(7);
    for (int round = 0; round < 3000; ++round) {
        Bytes payload(96);
        for (std::uint8_t& byte : payload) {
            byte = static_cast<std::uint8_t>(random() % 4 != 0 ? random() % 4 * (random() % 2) : random());
        }
        const auto block = found(seiRun(kind(), payload), kind());
        ASSERT_TRUE(block) << round;
        EXPECT_TRUE(std::equal(payload.begin(), payload.end(), block->begin())) << round;
    }
}

// Two zeros that a removed three leaves behind do not make the next three an emulation byte.
TEST_P(SeiBlock, AThreeBehindARemovedOneStays) {
    Bytes payload = seiPayload();
    const Bytes threes = {0x00, 0x00, 0x03, 0x03, 0x00, 0x00, 0x03, 0x00, 0x00, 0x00, 0x03};
    std::copy(threes.begin(), threes.end(), payload.begin() + 20);
    const auto block = found(seiRun(kind(), payload), kind());
    ASSERT_TRUE(block);
    EXPECT_TRUE(std::equal(payload.begin(), payload.end(), block->begin()));
}

INSTANTIATE_TEST_SUITE_P(Codecs, SeiBlock, ::testing::Values(kSeiOfH264, kSeiOfH265));

}  // namespace
}  // namespace sorvane
