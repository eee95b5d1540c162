// Streams and replays opened and closed again and again leave no handle and no thread behind.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <thread>

#include "cycles.h"

namespace tavrik::test {
namespace {

// Libraries begin threads and open files at their first use and keep them.
constexpr int kFirst = 4;
constexpr int kCycles = 30;

class Cycles : public testing::TestWithParam<CycleKind> {};

TEST_P(Cycles, GiveEveryHandleAndThreadBack) {
    CycleRunner runner(GetParam(), testing::TempDir());
    for (int n = 0; n < kFirst; ++n) {
        ASSERT_TRUE(runner.run()) << n;
    }
    const ProcessCounts before = processCounts();
    for (int n = 0; n < kCycles; ++n) {
        ASSERT_TRUE(runner.run()) << n;
    }
    // A thread that has done its work is counted until the system has taken it back.
    ProcessCounts after = processCounts();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while ((after.threads > before.threads || after.handles > before.handles) &&
           std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        after = processCounts();
    }
    EXPECT_LE(after.handles, before.handles);
    EXPECT_LE(after.threads, before.threads);
}

INSTANTIATE_TEST_SUITE_P(Tavrik, Cycles,
                         testing::Values(CycleKind::kRtsp, CycleKind::kTransport, CycleKind::kRecording,
                                         CycleKind::kReplay),
                         [](const testing::TestParamInfo<CycleKind>& info) {
                             return std::string(nameOf(info.param));
                         });

}  // namespace
}  // namespace tavrik::test
