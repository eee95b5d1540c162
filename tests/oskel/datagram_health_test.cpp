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

// Sends every 40 ms for 20 s; every so many sendings one is reported.
void expectStandsSteadily(SendTrouble trouble, int reported_every, bool system_holds_some) {
    DatagramHealth health;
    for (int tick = 0; tick < 500; ++tick) {
        const auto now = start + tick * 40ms;
        health.worked(now);
        if (tick % reported_every == 0) {
            health.failed(trouble);
        }
        ASSERT_EQ(health.at(now + 39ms, system_holds_some), trouble) << tick;
    }
}

// A host limits its reports to one a second.
TEST(DatagramHealth, StandsSteadilyWhileOneDatagramASecondIsReported) {
    expectStandsSteadily(SendTrouble::kRefused, 26, false);
}

// A neighbour who does not answer is given up every three seconds; in between datagrams wait.
TEST(DatagramHealth, StandsSteadilyWhileDatagramsWaitForASilentNeighbour) {
    expectStandsSteadily(SendTrouble::kUnreachable, 75, true);
}

TEST(DatagramHealth, ASystemThatAlwaysHoldsSomethingDelaysTheEndOnly) {
    DatagramHealth health;
    health.failed(SendTrouble::kOther);
    health.worked(start);
    EXPECT_EQ(health.at(start + 3900ms, true), SendTrouble::kOther);
    EXPECT_EQ(health.at(start + 4s, true), SendTrouble::kNone);
}

}  // namespace
