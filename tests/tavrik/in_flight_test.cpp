#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

#include "receiver.h"
#include "tavrik/frames_in_flight.h"

namespace tavrik::test {
namespace {

FramePtr pictureOf(int width, int height) {
    FramePtr frame(av_frame_alloc());
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = width;
    frame->height = height;
    EXPECT_GE(av_frame_get_buffer(frame.get(), 0), 0);
    return frame;
}

TEST(FramesInFlight, CountsAPictureUntilItsLastCloneIsGone) {
    FramesInFlight flight;
    FramePtr frame = pictureOf(64, 64);
    ASSERT_TRUE(flight.track(frame.get()));
    EXPECT_EQ(flight.count(), 1);
    FramePtr clone(av_frame_clone(frame.get()));
    FramePtr second(av_frame_clone(clone.get()));
    frame.reset();
    clone.reset();
    EXPECT_EQ(flight.count(), 1);
    second.reset();
    EXPECT_EQ(flight.count(), 0);
}

TEST(FramesInFlight, IsFullAt250SmallPictures) {
    FramesInFlight flight;
    std::vector<FramePtr> held;
    for (int i = 0; i < FramesInFlight::kMaxFrames; ++i) {
        EXPECT_FALSE(flight.full());
        held.push_back(pictureOf(16, 16));
        ASSERT_TRUE(flight.track(held.back().get()));
    }
    EXPECT_TRUE(flight.full());
    held.pop_back();
    EXPECT_FALSE(flight.full());
}

TEST(FramesInFlight, IsFullAt512MiBButNotBelow40Pictures) {
    FramesInFlight flight;
    std::vector<FramePtr> held;
    // About 18 MiB each, never touched: 512 MiB are reached with 29.
    for (int i = 0; i < FramesInFlight::kMinFrames; ++i) {
        EXPECT_FALSE(flight.full()) << i;
        held.push_back(pictureOf(4096, 3072));
        ASSERT_TRUE(flight.track(held.back().get()));
    }
    EXPECT_TRUE(flight.full());
}

TEST(FramesInFlight, OutlivesItsStream) {
    FramePtr frame = pictureOf(16, 16);
    {
        FramesInFlight flight;
        ASSERT_TRUE(flight.track(frame.get()));
    }
    frame.reset();
}

TEST(Stream, StopsAtTheBoundAndGoesOnAtAKeyPicture) {
    const int port = freeUdpPort();
    Receiver receiver;
    receiver.m_keep = true;
    const int handle = feedOpen("", port, receiver.onFrame(), nullptr, "", false, "", receiver.onSei(), 1);
    ASSERT_GT(handle, 0);
    constexpr int kKeyInterval = 10;
    TestEncoder encoder(EncoderSettings{Codec::kH264, kWidth, kHeight, kKeyInterval, 1});
    const Bytes sei = seiNal(Codec::kH264, {1, 2, 3});
    UdpSender sender(port);
    int next = 0;
    const auto send = [&](int) { sender.send(withSei(Codec::kH264, encoder.encode(next++), sei), 1400); };
    // The SEI of every picture still comes, so the pictures beyond the bound have arrived and been dropped.
    ASSERT_TRUE(stream(
        send, [&] { return receiver.sei().size() >= 285; }, 3));
    EXPECT_EQ(receiver.numbers().size(), static_cast<std::size_t>(FramesInFlight::kMaxFrames));
    receiver.m_keep = false;
    receiver.releaseKept();
    const int released_at = next;
    ASSERT_TRUE(stream(
        send, [&] { return receiver.numbers().size() >= FramesInFlight::kMaxFrames + 20u; }, 3));
    feedClose(handle);
    const int first = receiver.numbers()[FramesInFlight::kMaxFrames];
    EXPECT_EQ(first % kKeyInterval, 0);
    EXPECT_GE(first, released_at - kKeyInterval);
    EXPECT_LE(first, released_at + 2 * kKeyInterval);
}

// A receiver that holds the decoder up for longer than the bound of 2 s gets a fresh key picture next, not
// the old ones.
TEST(Stream, ShowsFewerPicturesInsteadOfOldOnes) {
    const int port = freeUdpPort();
    constexpr int kKeyInterval = 10;
    std::mutex mutex;
    std::vector<int> numbers;
    std::atomic<bool> blocked{false}, go{false};
    const int handle = feedOpen(
        "", port,
        [&](AVFrame* frame, float, int) {
            {
                const std::lock_guard<std::mutex> lock(mutex);
                numbers.push_back(readNumber(frame));
            }
            blocked = true;
            while (!go) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        },
        nullptr, "", false, "", nullptr, 1);
    TestEncoder encoder(EncoderSettings{Codec::kH264, kWidth, kHeight, kKeyInterval, 1});
    UdpSender sender(port);
    int next = 0;
    const auto send = [&](int) { sender.send(encoder.encode(next++), 1400); };
    ASSERT_TRUE(stream(send, [&] { return blocked.load(); }));
    const auto since = std::chrono::steady_clock::now();
    ASSERT_TRUE(
        stream(send, [&] { return std::chrono::steady_clock::now() - since > std::chrono::seconds(4); }));
    const int released_at = next;
    go = true;
    const auto seen = [&] {
        const std::lock_guard<std::mutex> lock(mutex);
        return numbers;
    };
    ASSERT_TRUE(stream(send, [&] { return seen().back() >= released_at; }));
    feedClose(handle);
    const std::vector<int> all = seen();
    const auto old =
        std::count_if(all.begin(), all.end(), [&](int n) { return n > 0 && n < released_at / 4; });
    EXPECT_EQ(old, 0);
    EXPECT_EQ(all[1] % kKeyInterval, 0);
}

TEST(Stream, FramesOutliveTheirStream) {
    const int port = freeUdpPort();
    Receiver receiver;
    receiver.m_keep = true;
    const int handle = feedOpen("", port, receiver.onFrame(), nullptr, "", false, "", nullptr, 1);
    TestEncoder encoder(EncoderSettings{});
    UdpSender sender(port);
    ASSERT_TRUE(stream([&](int n) { sender.send(encoder.encode(n), 1400); },
                       [&] { return receiver.numbers().size() >= 3; }));
    feedClose(handle);
    ASSERT_FALSE(receiver.m_kept.empty());
    EXPECT_EQ(readNumber(receiver.m_kept[0].get()), receiver.numbers()[0]);
    receiver.releaseKept();
}

}  // namespace
}  // namespace tavrik::test
