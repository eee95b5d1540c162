#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <deque>
#include <thread>

#include "clip_files.h"
#include "receiver.h"

namespace tavrik::test {
namespace {

class Pond {
public:
    void add(const Bytes& bytes) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
    }
    ReadCallback onRead() {
        return [this](unsigned char* to, int capacity) {
            ++m_asked;
            const std::lock_guard<std::mutex> lock(m_mutex);
            const std::size_t size = std::min(m_bytes.size(), static_cast<std::size_t>(capacity));
            std::copy_n(m_bytes.begin(), size, to);
            m_bytes.erase(m_bytes.begin(), m_bytes.begin() + static_cast<long>(size));
            return static_cast<int>(size);
        };
    }
    int asked() const { return m_asked; }

private:
    std::mutex m_mutex;
    std::deque<std::uint8_t> m_bytes;
    std::atomic<int> m_asked{0};
};

TEST(Pull, DecodesWhatItReads) {
    for (const Codec codec : {Codec::kH264, Codec::kH265}) {
        for (const bool transport : {false, true}) {
            Pond pond;
            Receiver receiver;
            EXPECT_GT(feedPull(receiver.onFrame(), pond.onRead(), 1), 0);
            TestEncoder encoder(EncoderSettings{codec});
            std::vector<Bytes> units;
            for (int n = 0; n < 10; ++n) {
                units.push_back(encoder.encode(n));
            }
            if (transport) {
                pond.add(muxTransportStream(codec, units, true));
            } else {
                for (const Bytes& unit : units) {
                    pond.add(unit);
                }
            }
            // Nothing shows yet that a raw stream's last picture is whole.
            const std::vector<int> expected{0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
            const std::size_t count = transport ? 10 : 9;
            EXPECT_TRUE(receiver.waitForFrames(count));
            EXPECT_EQ(receiver.numbers(),
                      std::vector<int>(expected.begin(), expected.begin() + static_cast<long>(count)));
            feedClose(0);
        }
    }
}

TEST(Pull, EndsWithTheNextPullAndWithTheCloseOfAHandleThatIsNotOpen) {
    Receiver receiver;
    Pond first, second;
    feedPull(receiver.onFrame(), first.onRead(), 1);
    feedPull(receiver.onFrame(), second.onRead(), 1);
    const int asked = first.asked();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMs);
    while (second.asked() < 20 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    EXPECT_GE(second.asked(), 20);
    EXPECT_EQ(first.asked(), asked) << "the first pull has ended";
    // An open stream closed leaves the pull alone.
    const int stream = feedOpen("", freeUdpPort(), receiver.onFrame(), nullptr, "", false, "", nullptr, 1);
    feedClose(stream);
    const int before = second.asked();
    while (second.asked() < before + 5 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    EXPECT_GE(second.asked(), before + 5);
    feedClose(stream);
    const int after = second.asked();
    Pond third;
    feedPull(receiver.onFrame(), third.onRead(), 1);
    while (third.asked() < 20 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    EXPECT_EQ(second.asked(), after);
    feedClose(0);
}

std::atomic<int> starts{0};
std::atomic<int> ends{0};

std::string writeClip(const std::string& name, int pictures) {
    ClipForm form;
    form.pictures = pictures;
    return test::writeClip(name, form);
}

TEST(Clip, ReplaysEveryPictureAndTellsStartEndAndLength) {
    const std::string path = writeClip("tavrik_clip.mp4", 20);
    starts = ends = 0;
    ClipHooks([] { ++starts; }, [] { ++ends; });
    Receiver receiver;
    const auto begun = std::chrono::steady_clock::now();
    const int handle = clipOpen(path.c_str(), receiver.onFrame(), 1);
    ASSERT_GT(handle, 0);
    EXPECT_EQ(ClipLengthMs(), 800);
    ASSERT_TRUE(receiver.waitForFrames(20));
    const auto deadline = begun + std::chrono::milliseconds(kPatienceMs);
    while (ends == 0 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    EXPECT_EQ(starts, 1);
    EXPECT_EQ(ends, 1);
    // Nineteen steps of 40 ms: sooner would be faster than its own pace.
    EXPECT_GE(receiver.times().back() - begun, std::chrono::milliseconds(760));
    for (int n = 0; n < 20; ++n) {
        EXPECT_EQ(receiver.numbers()[static_cast<std::size_t>(n)], n);
    }
    feedClose(handle);
    EXPECT_EQ(ends, 1);
    std::remove(path.c_str());
}

TEST(Clip, StandsWhileHeldAndEndsWhenClosed) {
    const std::string path = writeClip("tavrik_held.mp4", 250);
    starts = ends = 0;
    ClipHooks([] { ++starts; }, [] { ++ends; });
    Receiver receiver;
    const int handle = clipOpen(path.c_str(), receiver.onFrame(), 1);
    ASSERT_GT(handle, 0);
    ASSERT_TRUE(receiver.waitForFrames(3));
    feedHold(handle);
    // One picture may be on its way; after that none, for six times a picture's time.
    const std::size_t held = receiver.numbers().size();
    EXPECT_FALSE(receiver.waitFor([&] { return receiver.m_numbers.size() > held + 1; }, 240));
    feedResume(handle);
    EXPECT_TRUE(receiver.waitForFrames(held + 3));
    EXPECT_EQ(ends, 0);
    feedClose(handle);
    EXPECT_EQ(ends, 1);
    EXPECT_LT(receiver.numbers().size(), 250u);
    std::remove(path.c_str());
}

TEST(Clip, OfNoVideoIsRefused) {
    Receiver receiver;
    starts = 0;
    EXPECT_EQ(clipOpen("/nonexistent/file.mp4", receiver.onFrame(), 1), 0);
    EXPECT_EQ(clipOpen("", receiver.onFrame(), 1), 0);
    EXPECT_EQ(clipOpen(nullptr, receiver.onFrame(), 1), 0);
    EXPECT_EQ(clipOpen("http://127.0.0.1/x.mp4", receiver.onFrame(), 1), 0);
    const std::string path = testing::TempDir() + "tavrik_rubbish.mp4";
    std::FILE* file = std::fopen(path.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    std::fputs("this is no video at all", file);
    std::fclose(file);
    EXPECT_EQ(clipOpen(path.c_str(), receiver.onFrame(), 1), 0);
    EXPECT_EQ(starts, 0);
    std::remove(path.c_str());
}

}  // namespace
}  // namespace tavrik::test
