// Half a minute of replay in real time, with pauses: no picture is early, none is missing, none comes twice.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>

#include "clip_files.h"
#include "receiver.h"

namespace tavrik::test {
namespace {

using namespace std::chrono_literals;

constexpr int kPictures = 750;
constexpr auto kStep = 40ms;

std::atomic<int> starts{0};
std::atomic<int> ends{0};

TEST(ClipLive, HalfAMinuteWithPausesKeepsEveryPicturesTime) {
    ClipForm form;
    form.pictures = kPictures;
    const std::string path = writeClip("tavrik_live.mp4", form);
    ClipHooks([] { ++starts; }, [] { ++ends; });
    Receiver receiver;
    const auto begun = std::chrono::steady_clock::now();
    const int handle = clipOpen(path.c_str(), receiver.onFrame(), 1);
    ASSERT_GT(handle, 0);
    EXPECT_EQ(ClipLengthMs(), 30000);
    struct Pause {
        std::size_t first_behind;  // the number of the first picture that can only come behind it
        std::chrono::steady_clock::duration length;
    };
    std::vector<Pause> pauses;
    for (const auto& [at, length] :
         {std::pair(150u, 1300ms), std::pair(151u, 30ms), std::pair(500u, 700ms)}) {
        ASSERT_TRUE(receiver.waitForFrames(at));
        feedHold(handle);
        feedHold(handle);
        const auto held = std::chrono::steady_clock::now();
        // One may be on its way.
        const std::size_t shown = receiver.numbers().size();
        EXPECT_FALSE(receiver.waitFor([&] { return receiver.m_numbers.size() > shown + 1; },
                                      static_cast<int>(length.count())));
        pauses.push_back({receiver.numbers().size() + 1, std::chrono::steady_clock::now() - held});
        feedResume(handle);
        feedResume(handle);
    }
    EXPECT_TRUE(receiver.waitFor([&] { return receiver.m_numbers.size() >= kPictures; }, 120000));
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    while (ends == 0 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_EQ(starts, 1);
    EXPECT_EQ(ends, 1);
    feedClose(handle);
    EXPECT_EQ(ends, 1);
    const std::vector<int> numbers = receiver.numbers();
    const auto times = receiver.times();
    ASSERT_EQ(numbers.size(), static_cast<std::size_t>(kPictures));
    auto due = begun;
    for (std::size_t n = 0; n < numbers.size(); ++n) {
        ASSERT_EQ(numbers[n], static_cast<int>(n));
        for (const Pause& pause : pauses) {
            due += pause.first_behind == n ? pause.length : 0ns;
        }
        EXPECT_GE(times[n], due) << n << " is early";
        due += kStep;
    }
    std::remove(path.c_str());
    ClipHooks(nullptr, nullptr);
}

}  // namespace
}  // namespace tavrik::test
