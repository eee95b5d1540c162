// The rules of slow lines, without a line.
#include <gtest/gtest.h>

#include <string>

#include "oskel/line_pace.h"
#include "oskel/run_queue.h"

namespace {

using namespace std::chrono_literals;
using oskel::LinePace;
using oskel::RunQueue;

constexpr std::size_t kFrame = 44;
const LinePace::TimePoint start{1h};

TEST(LinePace, ReckonsTenBitsAByte) {
    EXPECT_EQ(LinePace(2400).timeOf(240), 1s);
    EXPECT_EQ(LinePace(115200).timeOf(11520), 1s);
    EXPECT_EQ(LinePace(460800).timeOf(65536 * 1000), 1422222222222ns) << "no overflow";
}

TEST(LinePace, IsBusyWithAllThatWasHandedOver) {
    LinePace pace(2400);
    EXPECT_EQ(pace.left(0, start), 0s);
    pace.handedOver(24, start);
    EXPECT_EQ(pace.left(0, start), 100ms);
    pace.handedOver(24, start + 30ms);
    EXPECT_EQ(pace.left(0, start + 30ms), 170ms);
    EXPECT_EQ(pace.left(0, start + 200ms), 0s);
    // A pause does not count.
    pace.handedOver(24, start + 1s);
    EXPECT_EQ(pace.left(0, start + 1s), 100ms);
}

TEST(LinePace, TheSystemsCountHoldsWhereItSaysMore) {
    LinePace pace(2400);
    pace.handedOver(24, start);
    EXPECT_EQ(pace.left(48, start), 200ms);
    EXPECT_EQ(pace.left(12, start), 100ms);
    EXPECT_EQ(pace.left(12, start + 10s), 50ms);
}

TEST(LinePace, TheNextRunComesALittleBeforeTheLineFallsSilent) {
    for (const unsigned int baud : {2400u, 9600u, 38400u, 115200u, 460800u}) {
        LinePace pace(baud);
        EXPECT_EQ(pace.untilNext(0, start), 0s);
        pace.handedOver(kFrame, start);
        pace.handedOver(kFrame, start);
        const auto before = pace.left(0, start) - pace.untilNext(0, start);
        EXPECT_GE(before, pace.timeOf(1)) << baud;
        EXPECT_LE(before, std::max(pace.timeOf(1), std::min<LinePace::Duration>(2ms, pace.timeOf(kFrame))))
            << baud;
    }
}

TEST(LinePace, ALateMachineGetsMoreLeadAsLongAsItIsLate) {
    LinePace pace(115200);
    pace.handedOver(1000, start);
    const auto lead = [&pace] { return pace.left(0, start) - pace.untilNext(0, start); };
    const auto least = lead();
    pace.woke(true);
    EXPECT_EQ(lead(), 2 * least);
    for (int i = 0; i < 100; ++i) {
        pace.woke(true);
    }
    EXPECT_EQ(lead(), 40ms);
    pace.woke(false);
    EXPECT_LT(lead(), 40ms);
    for (int i = 0; i < 1000; ++i) {
        pace.woke(false);
    }
    EXPECT_EQ(lead(), least);
}

std::string takeAll(RunQueue& queue) {
    std::string all;
    while (!queue.empty()) {
        for (const auto byte : queue.take()) {
            all += static_cast<char>(byte);
        }
    }
    return all;
}

void add(RunQueue& queue, const std::string& text, bool ahead, RunQueue::TimePoint now = start) {
    queue.add(reinterpret_cast<const std::uint8_t*>(text.data()), text.size(), ahead, now);
}

TEST(RunQueue, MarkedRunsGoAheadAndKeepTheirOrder) {
    RunQueue queue;
    add(queue, "ab", false);
    add(queue, "ST", true);
    add(queue, "cd", false);
    add(queue, "U", true);
    EXPECT_EQ(queue.bytes(), 7u);
    EXPECT_EQ(takeAll(queue), "STUabcd");
    EXPECT_EQ(queue.bytes(), 0u);
}

TEST(RunQueue, KnowsWhatHasWaitedLongest) {
    RunQueue queue;
    add(queue, "a", true, start + 2s);
    EXPECT_EQ(queue.oldest(), start + 2s);
    add(queue, "b", false, start + 1s);
    EXPECT_EQ(queue.oldest(), start + 1s);
    queue.take();
    EXPECT_EQ(queue.oldest(), start + 1s);
    queue.clear();
    EXPECT_TRUE(queue.empty());
    EXPECT_EQ(queue.bytes(), 0u);
}

}  // namespace
