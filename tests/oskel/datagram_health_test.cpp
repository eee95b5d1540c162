#include "oskel/datagram_health.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;
using oskel::DatagramHealth;
using oskel::SendTrouble;

const DatagramHealth::TimePoint start{1h};

TEST(DatagramHealth, IsGoodUntilSomethingFails) {
    DatagramHealth health;
    EXPECT_EQ(health.at(start, false), SendTrouble::kNone);
    health.worked(start);
    EXPECT_EQ(health.at(start + 10s, true), SendTrouble::kNone);
    health.failed(SendTrouble::kRefused);
    EXPECT_EQ(health.at(start + 10s, false), SendTrouble::kRefused);
    EXPECT_EQ(health.at(start + 10h, false), SendTrouble::kRefused) << "silence proves nothing";
}

TEST(DatagramHealth, IsGoodAgainWhenOneHasGoneOutAndNoFailureFollowed) {
    DatagramHealth health;
    health.failed(SendTrouble::kUnreachable);
    health.worked(start);
    health.worked(start + 1s);
    EXPECT_EQ(health.at(start + 1499ms, false), SendTrouble::kUnreachable);
    EXPECT_EQ(health.at(start + 1500ms, false), SendTrouble::kNone);
    EXPECT_EQ(health.at(start + 1501ms, true), SendTrouble::kNone);
}

// A host limits its reports to one a second.
TEST(DatagramHealth, StandsSteadilyWhileOneDatagramASecondIsReported) {
    DatagramHealth health;
    for (int tick = 0; tick < 500; ++tick) {
        const auto now = start + tick * 40ms;
        health.worked(now);
        if (tick % 26 == 0) {
            health.failed(SendTrouble::kRefused);
        }
        ASSERT_EQ(health.at(now + 39ms, false), SendTrouble::kRefused) << tick;
    }
}

// A neighbour who does not answer is given up every three seconds; in between datagrams wait.
TEST(DatagramHealth, StandsSteadilyWhileDatagramsWaitForASilentNeighbour) {
    DatagramHealth health;
    for (int tick = 0; tick < 500; ++tick) {
        const auto now = start + tick * 40ms;
        health.worked(now);
        if (tick % 75 == 0) {
            health.failed(SendTrouble::kUnreachable);
        }
        ASSERT_EQ(health.at(now + 39ms, true), SendTrouble::kUnreachable) << tick;
    }
}

TEST(DatagramHealth, ASystemThatAlwaysHoldsSomethingDelaysTheEndOnly) {
    DatagramHealth health;
    health.failed(SendTrouble::kOther);
    health.worked(start);
    EXPECT_EQ(health.at(start + 3900ms, true), SendTrouble::kOther);
    EXPECT_EQ(health.at(start + 4s, true), SendTrouble::kNone);
}

}  // namespace
