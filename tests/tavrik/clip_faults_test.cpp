// Replays of what is no good clip, and replays that end in every way.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <thread>

#include "clip_files.h"
#include "receiver.h"

namespace tavrik::test {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

// Closing is promised within 1 s; the machine of a test may be five times as slow.
constexpr auto kCloseDeadline = 5s;

std::atomic<int> starts{0};
std::atomic<int> ends{0};

template <class Condition>
bool waitUntil(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMs);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

class ClipFaults : public testing::Test {
protected:
    ClipFaults() {
        starts = ends = 0;
        ClipHooks([] { ++starts; }, [] { ++ends; });
    }
    ~ClipFaults() override {
        ClipHooks(nullptr, nullptr);
        for (const std::string& path : m_written) {
            std::remove(path.c_str());
        }
    }
    std::string clip(const std::string& name, const ClipForm& form = {}) {
        m_written.push_back(writeClip(name, form));
        return m_written.back();
    }
    std::string file(const std::string& name, const Bytes& bytes) {
        m_written.push_back(writeFile(name, bytes));
        return m_written.back();
    }
    int open(const std::string& path) { return clipOpen(path.c_str(), receiver.onFrame(), 1); }
    void expectRefused(const std::string& path) {
        EXPECT_EQ(open(path), 0) << path;
        EXPECT_EQ(starts, 0);
        EXPECT_EQ(ends, 0);
    }
    static void close(int handle) {
        const auto start = std::chrono::steady_clock::now();
        feedClose(handle);
        EXPECT_LT(std::chrono::steady_clock::now() - start, kCloseDeadline);
    }
    // Plays to its end; the numbers of the pictures that came.
    std::vector<int> playAll(const std::string& path) {
        const int handle = open(path);
        EXPECT_GT(handle, 0) << path;
        EXPECT_TRUE(handle == 0 || waitUntil([] { return ends == 1; }));
        EXPECT_EQ(starts, 1);
        EXPECT_EQ(openDescriptors(path), 0);
        close(handle);
        EXPECT_EQ(ends, 1);
        return receiver.numbers();
    }

    Receiver receiver;
    std::vector<std::string> m_written;
};

std::vector<int> upTo(int count, int from = 0) {
    std::vector<int> numbers(static_cast<std::size_t>(count));
    std::iota(numbers.begin(), numbers.end(), from);
    return numbers;
}

std::vector<Bytes> encoded(int count, int from) {
    TestEncoder encoder(EncoderSettings{});
    std::vector<Bytes> units;
    for (int n = 0; n < count; ++n) {
        units.push_back(encoder.encode(from + n));
    }
    return units;
}

TEST_F(ClipFaults, AReplayThatHasEndedHoldsNoFileThoughItsHandleIsNeverClosed) {
    ClipForm form;
    form.pictures = 3;
    const std::string path = clip("tavrik_ended.mp4", form);
    for (int n = 1; n <= 20; ++n) {
        ASSERT_GT(open(path), 0);
        ASSERT_TRUE(waitUntil([n] { return ends == n; }));
        ASSERT_EQ(openDescriptors(path), 0);
    }
    EXPECT_EQ(starts, 20);
    EXPECT_EQ(receiver.numbers().size(), 60u);
}

TEST_F(ClipFaults, WhileItPlaysItsFileIsOpenAndClosingClosesIt) {
    ClipForm form;
    form.pictures = 500;
    const std::string path = clip("tavrik_open.mp4", form);
    const int handle = open(path);
    ASSERT_GT(handle, 0);
    ASSERT_TRUE(receiver.waitForFrames(2));
    EXPECT_EQ(openDescriptors(path), 1);
    close(handle);
    EXPECT_EQ(openDescriptors(path), 0);
    EXPECT_EQ(ends, 1);
}

// The handle of an ended replay may be all that a surface knows when a pull on it is closed.
TEST_F(ClipFaults, TheHandleOfAnEndedReplayStandsBetweenNoCloseAndThePull) {
    ClipForm form;
    form.pictures = 2;
    const int handle = open(clip("tavrik_before_pull.mp4", form));
    ASSERT_GT(handle, 0);
    ASSERT_TRUE(waitUntil([] { return ends == 1; }));
    std::atomic<int> asked{0};
    feedPull(
        nullptr,
        [&asked](unsigned char*, int) {
            ++asked;
            return 0;
        },
        1);
    ASSERT_TRUE(waitUntil([&] { return asked > 0; }));
    close(handle);
    const int after = asked;
    EXPECT_FALSE(receiver.waitFor([&] { return asked > after; }, 100)) << "the pull has ended";
    EXPECT_EQ(ends, 1);
}

TEST_F(ClipFaults, AClosedHandleIsClosedOnceAndHoldsNothing) {
    ClipForm form;
    form.pictures = 250;
    const std::string path = clip("tavrik_every_moment.mp4", form);
    for (int n = 0; n < 40; ++n) {
        const int handle = open(path);
        ASSERT_GT(handle, 0);
        if (n % 3 == 1) {
            feedHold(handle);
        }
        if (n % 4 == 3) {
            ASSERT_TRUE(receiver.waitForFrames(receiver.numbers().size() + (n % 3 == 1 ? 0 : 1)));
            feedResume(handle);
        }
        close(handle);
        EXPECT_EQ(starts, n + 1);
        EXPECT_EQ(ends, n + 1);
        close(handle);
        feedHold(handle);
        feedResume(handle);
    }
    EXPECT_EQ(ends, 40);
    EXPECT_EQ(openDescriptors(path), 0);
}

TEST_F(ClipFaults, IsClosedFromItsOwnPicture) {
    const std::string path = clip("tavrik_from_inside.mp4");
    std::atomic<int> handle{0};
    std::atomic<int> pictures{0};
    handle = clipOpen(
        path.c_str(),
        [&](AVFrame*, float, int) {
            ++pictures;
            EXPECT_TRUE(waitUntil([&] { return handle > 0; }));
            feedClose(handle);
        },
        1);
    EXPECT_TRUE(waitUntil([] { return ends == 1; }));
    EXPECT_EQ(pictures, 1);
    EXPECT_EQ(openDescriptors(path), 0);
}

TEST_F(ClipFaults, WhatIsNoClipIsRefused) {
    const std::string dir = testing::TempDir();
    expectRefused(dir + "tavrik_not_there.mp4");
    expectRefused(file("tavrik_empty.mp4", {}));
    expectRefused(file("tavrik_zeros.mp4", Bytes(5000, 0)));
    expectRefused(dir);
    ClipForm sound;
    sound.video = false;
    sound.sound = true;
    expectRefused(clip("tavrik_sound_only.mp4", sound));
}

// Nobody would ever write to it; the open that waits for that would never return.
TEST_F(ClipFaults, APipeIsRefused) {
    const std::string path = testing::TempDir() + "tavrik_pipe.mp4";
    std::remove(path.c_str());
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    m_written.push_back(path);
    expectRefused(path);
}

TEST_F(ClipFaults, WithoutItsTableOfContentsItIsRefused) {
    const Bytes whole = readFile(clip("tavrik_whole.mp4"));
    for (const int percent : {1, 10, 50, 90, 99}) {
        expectRefused(file(
            "tavrik_cut.mp4",
            Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(whole.size() * percent / 100))));
    }
}

TEST_F(ClipFaults, CutBehindItsTableOfContentsItPlaysWhatIsThere) {
    ClipForm form;
    form.movflags = "faststart";
    const Bytes whole = readFile(clip("tavrik_fast.mp4", form));
    const Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(whole.size() * 2 / 3));
    const std::vector<int> numbers = playAll(file("tavrik_fast_cut.mp4", part));
    ASSERT_GE(numbers.size(), 2u);
    EXPECT_LT(numbers.size(), 20u);
    // The last picture may be half there.
    const std::vector<int> good(numbers.begin(), numbers.end() - 1);
    EXPECT_EQ(good, upTo(static_cast<int>(good.size())));
}

TEST_F(ClipFaults, BrokenBytesEndItOrPlayOn) {
    ClipForm form;
    form.pictures = 5;
    const Bytes whole = readFile(clip("tavrik_sound.mp4", form));
    std::uint32_t state = 1;
    for (int n = 0; n < 60; ++n) {
        Bytes broken = whole;
        for (int k = 0; k < 1 + n % 20; ++k) {
            state = state * 1664525u + 1013904223u;
            broken[state % broken.size()] ^= static_cast<std::uint8_t>(state >> 24 | 1);
        }
        const int begun = starts;
        const std::string path = file("tavrik_broken.mp4", broken);
        const int handle = open(path);
        EXPECT_TRUE(handle == 0 || waitUntil([begun] { return starts == begun + 1; }));
        close(handle);
        ASSERT_EQ(starts, ends);
        ASSERT_EQ(openDescriptors(path), 0);
    }
}

TEST_F(ClipFaults, SoundBesideThePicturesIsPassedOver) {
    ClipForm form;
    form.sound = true;
    EXPECT_EQ(playAll(clip("tavrik_with_sound.mp4", form)), upTo(20));
}

TEST_F(ClipFaults, FourThousandPixelsPlayAndClose) {
    ClipForm form;
    form.pictures = 4;
    form.width = 3840;
    form.height = 2160;
    const std::string path = clip("tavrik_4k.mp4", form);
    receiver.m_keep = true;
    EXPECT_EQ(playAll(path), upTo(4));
    EXPECT_EQ(receiver.m_kept.at(3)->width, 3840);
    receiver.releaseKept();
    const int handle = open(path);
    ASSERT_GT(handle, 0);
    ASSERT_TRUE(receiver.waitForFrames(5));
    close(handle);
    EXPECT_EQ(ends, 2);
    EXPECT_EQ(openDescriptors(path), 0);
}

TEST_F(ClipFaults, NamesAreLatin1AndNoMore) {
    const std::string plain = clip("tavrik_named.mp4");
    const fs::path dir = fs::path(testing::TempDir()) / u8"tavrik_\u5f55\u50cf";
    fs::create_directories(dir);
    fs::copy_file(plain, dir / "a.mp4", fs::copy_options::overwrite_existing);
    // As a conversion to Latin-1 leaves it.
    expectRefused(testing::TempDir() + "tavrik_\?\?/a.mp4");
    const fs::path accents = fs::path(testing::TempDir()) / u8"tavrik_\u00e9t\u00e9 \u00ff.mp4";
    fs::copy_file(plain, accents, fs::copy_options::overwrite_existing);
    const int handle = open(testing::TempDir() + "tavrik_\xe9t\xe9 \xff.mp4");
    EXPECT_GT(handle, 0);
    EXPECT_TRUE(receiver.waitForFrames(20));
    close(handle);
    fs::remove_all(dir);
    fs::remove(accents);
}

TEST_F(ClipFaults, StampsThatJumpBackHoldNothingUp) {
    // Two recordings in one file, each from its own time zero on.
    Bytes both = muxTransportStream(Codec::kH264, encoded(20, 0), true);
    const Bytes second = muxTransportStream(Codec::kH264, encoded(20, 100), true);
    both.insert(both.end(), second.begin(), second.end());
    std::vector<int> expected = upTo(20);
    const std::vector<int> rest = upTo(20, 100);
    expected.insert(expected.end(), rest.begin(), rest.end());
    EXPECT_EQ(playAll(file("tavrik_back.mp4", both)), expected);
    // Sooner would be faster than their pace.
    EXPECT_GE(receiver.times().back() - receiver.times().front(), 39 * 40ms - 20ms);
}

TEST_F(ClipFaults, WithoutStampsItPlaysAtItsOwnPace) {
    Bytes raw;
    for (const Bytes& unit : encoded(15, 0)) {
        raw.insert(raw.end(), unit.begin(), unit.end());
    }
    EXPECT_EQ(playAll(file("tavrik_raw.mp4", raw)), upTo(15));
    EXPECT_GE(receiver.times().back() - receiver.times().front(), 14 * 40ms - 20ms);
}

TEST_F(ClipFaults, FragmentsTellTheWholeLength) {
    ClipForm form;
    form.pictures = 50;
    form.movflags = "frag_keyframe+empty_moov";
    const int handle = open(clip("tavrik_fragments.mp4", form));
    ASSERT_GT(handle, 0);
    EXPECT_EQ(ClipLengthMs(), 2000);
    close(handle);
}

}  // namespace
}  // namespace tavrik::test
