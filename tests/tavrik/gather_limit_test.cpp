// Pictures and sound over RTP that never end.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <thread>
#include <vector>

#include "memory.h"
#include "receiver.h"
#include "rtsp_server.h"
#include "tavrik/gather_limit.h"

namespace tavrik::test {
namespace {

constexpr std::uint32_t kTicks = 3600;
constexpr std::size_t kPiece = 60000;  // a packet's payload; over TCP it has 65535 bytes at most

// Shows pictures, then `count` packets of something endless, then pictures again. bound: of what that may
// hold in memory once its packets have been received, less than all of them.
void expectBounded(RtspServer& server, Codec codec, int count, std::size_t bound,
                   const std::function<void(int)>& send) {
    Receiver receiver;
    const int handle =
        feedOpen(server.url().c_str(), 0, receiver.onFrame(), receiver.onAudio(), "", true, "", nullptr, 1);
    const auto shows = [&](int from) {
        TestEncoder encoder(EncoderSettings{codec});
        const std::size_t seen = receiver.numbers().size();
        return stream(
            [&](int n) {
                server.sendPicture(encoder.encode(n), static_cast<std::uint32_t>(from + n) * kTicks);
            },
            [&] { return receiver.numbers().size() >= seen + 20; });
    };
    ASSERT_TRUE(shows(0));
    const std::size_t before = bytesInUse();
    for (int n = 0; n < count; ++n) {
        send(n);
    }
    // What the system has taken from the sender is received at the receiver's own pace.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMs);
    auto above = std::chrono::steady_clock::now();
    bool settled = false;
    while (!settled && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        above = bytesInUse() > before + bound ? std::chrono::steady_clock::now() : above;
        settled = std::chrono::steady_clock::now() - above > std::chrono::seconds(1);
    }
    EXPECT_TRUE(settled) << (bytesInUse() - before) << " bytes more than before";
    EXPECT_TRUE(shows(10000));
    feedClose(handle);
    const std::vector<int> numbers = receiver.numbers();
    EXPECT_EQ(std::count(numbers.begin(), numbers.end(), -1), 0);
}

Bytes filled(Bytes head, std::size_t size) {
    head.resize(size, 0xA5);
    return head;
}

struct Case {
    Codec codec;
    bool fragments;
    Bytes head;  // of each packet
};

constexpr int kPieces = static_cast<int>(3 * kMostGathered / kPiece);

class EndlessPicture : public testing::TestWithParam<Case> {};

TEST_P(EndlessPicture, IsNotGatheredWithoutBound) {
    RtspServer::Settings settings;
    settings.codec = GetParam().codec;
    RtspServer server(settings);
    const std::size_t flags = settings.codec == Codec::kH264 ? 1 : 2;
    expectBounded(server, settings.codec, kPieces, 2 * kMostGathered, [&](int n) {
        Bytes piece = filled(GetParam().head, kPiece);
        if (GetParam().fragments && n == 0) {
            piece[flags] |= 0x80;
        }
        server.sendPayload(piece, 5000 * kTicks);
    });
}

// Fragments of one slice without the last, and slices without the first of another picture.
INSTANTIATE_TEST_SUITE_P(Tavrik, EndlessPicture,
                         testing::Values(Case{Codec::kH264, true, {0x7C, 0x05}},
                                         Case{Codec::kH264, false, {0x65, 0x48}},
                                         Case{Codec::kH265, true, {0x62, 0x01, 0x13}},
                                         Case{Codec::kH265, false, {0x26, 0x01, 0x2F}}));

// Fragments of one frame of AAC (RFC 3640) without the last.
TEST(EndlessSound, IsNotGatheredWithoutBound) {
    RtspServer::Settings settings;
    settings.audio = true;
    settings.sound_type = 97;
    settings.sound_lines =
        "a=rtpmap:97 MPEG4-GENERIC/48000/2\r\na=fmtp:97 streamtype=5;profile-level-id=1;mode=AAC-hbr;"
        "sizelength=13;indexlength=3;indexdeltalength=3;config=1190\r\n";
    RtspServer server(settings);
    expectBounded(server, Codec::kH264, kPieces, 2 * kMostGathered, [&](int) {
        server.sendSound(filled({0, 16, 0xFF, 0xF8}, kPiece), 48000);
    });
}

}  // namespace
}  // namespace tavrik::test
