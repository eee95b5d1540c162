// The word-wise search against a plain one.
#include "telemetry/byte_scan.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/telemetry/frames_by_hand.h"

namespace sorvane {
namespace {

std::size_t plainly(const Bytes& bytes, std::size_t from, std::size_t limit) {
    for (std::size_t q = from; q < limit; ++q) {
        if (bytes[q] == 0xFC && bytes[q + 1] == 0x2C) {
            return q;
        }
    }
    return limit;
}

TEST(FindPair, FindsTheFirstPairFromAnyBeginningToAnyLimit) {
    std::mt19937 random(1);
    for (const int others : {0, 1, 20}) {
        for (int round = 0; round < 60; ++round) {
            Bytes bytes(41);
            for (auto& byte : bytes) {
                const auto drawn = random() % static_cast<unsigned>(2 + others);
                byte = static_cast<std::uint8_t>(drawn == 0 ? 0xFC : drawn == 1 ? 0x2C : drawn);
            }
            for (std::size_t limit = 0; limit < bytes.size(); ++limit) {
                for (std::size_t from = 0; from <= limit; ++from) {
                    ASSERT_EQ(findPair(bytes.data(), from, limit, 0xFC, 0x2C), plainly(bytes, from, limit))
                        << from << " to " << limit;
                }
            }
        }
    }
}

TEST(FindPair, TakesNoHalfOfAPairAndNoneTurnedRound) {
    for (std::size_t at = 0; at < 20; ++at) {
        Bytes bytes(22, 0x2C);
        EXPECT_EQ(findPair(bytes.data(), 0, 21, 0xFC, 0x2C), 21U);
        bytes.assign(22, 0xFC);
        EXPECT_EQ(findPair(bytes.data(), 0, 21, 0xFC, 0x2C), 21U);
        bytes.assign(22, 0);
        bytes[at] = 0x2C;
        bytes[at + 1] = 0xFC;
        EXPECT_EQ(findPair(bytes.data(), 0, 21, 0xFC, 0x2C), 21U) << at;
        bytes[at] = 0xFC;
        bytes[at + 1] = 0x2C;
        EXPECT_EQ(findPair(bytes.data(), 0, 21, 0xFC, 0x2C), at);
    }
}

}  // namespace
}  // namespace sorvane
