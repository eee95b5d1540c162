// Pictures and sounds over RTP that never end.
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "receiver.h"
#include "rtsp_server.h"
#include "tavrik/gather_limit.h"

#ifdef SORVANE_SANITIZED
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace tavrik::test {
namespace {

constexpr std::uint32_t kTicks = 3600;
constexpr std::size_t kPiece = 60000;  // a packet's payload; over TCP it has 65535 bytes at most

std::size_t bytesInUse() {
#ifdef SORVANE_SANITIZED
    return __sanitizer_get_current_allocated_bytes();
#else
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
#endif
}

// What the memory grew by at most while `send` sent packets of that many bytes together.
std::size_t growthWhile(std::size_t bytes, std::size_t piece, const std::function<void(int)>& send) {
    const std::size_t before = bytesInUse();
    std::size_t most = before;
    for (std::size_t sent = 0, n = 0; sent < bytes; sent += piece, ++n) {
        send(static_cast<int>(n));
        if (n % 16 == 0) {
            most = std::max(most, bytesInUse());
        }
    }
    return most - before;
}

// Shows pictures, then the endless one, then pictures again.
void expectBounded(RtspServer& server, Codec codec, bool sound,
                   const std::function<std::size_t(Receiver&)>& endless) {
    Receiver receiver;
    const int handle = feedOpen(server.url().c_str(), 0, receiver.onFrame(),
                                sound ? receiver.onAudio() : nullptr, "", true, "", nullptr, 1);
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
    // A picture holds at most half, and two may be on their way.
    EXPECT_LT(endless(receiver), 3 * kMostGathered);
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
    Bytes head;  // of each packet
};

class EndlessPicture : public testing::TestWithParam<Case> {};

TEST_P(EndlessPicture, IsNotGatheredWithoutBound) {
    RtspServer::Settings settings;
    settings.codec = GetParam().codec;
    RtspServer server(settings);
    expectBounded(server, settings.codec, false, [&](Receiver&) {
        return growthWhile(6 * kMostGathered, kPiece, [&](int n) {
            Bytes piece = filled(GetParam().head, kPiece);
            const bool fragment = settings.codec == Codec::kH264 ? piece[0] == 0x7C : piece[0] == 0x62;
            if (fragment && n == 0) {
                piece[settings.codec == Codec::kH264 ? 1 : 2] |= 0x80;
            }
            server.sendPayload(piece, 5000 * kTicks);
        });
    });
}

// Fragments of one slice without the last, and slices without the first of another picture.
INSTANTIATE_TEST_SUITE_P(Tavrik, EndlessPicture,
                         testing::Values(Case{Codec::kH264, {0x7C, 0x05}}, Case{Codec::kH264, {0x65, 0x48}},
                                         Case{Codec::kH265, {0x62, 0x01, 0x13}},
                                         Case{Codec::kH265, {0x26, 0x01, 0x2F}}));

TEST(EndlessSound, IsNotGatheredWithoutBound) {
    RtspServer::Settings settings;
    settings.audio = true;
    settings.sound_type = 97;
    settings.sound_lines =
        "a=rtpmap:97 MP4A-LATM/48000/2\r\n"
        "a=fmtp:97 profile-level-id=15;object=2;cpresent=0;config=400023203FC0\r\n";
    RtspServer server(settings);
    expectBounded(server, Codec::kH264, true, [&](Receiver&) {
        return growthWhile(6 * kMostGathered, kPiece,
                           [&](int) { server.sendSound(Bytes(kPiece, 0xFF), 5000 * kTicks); });
    });
}

// What describes a packet takes more than its bytes.
TEST(EndlessPicture, OfTinyPacketsIsNotGatheredWithoutBound) {
    RtspServer server({});
    expectBounded(server, Codec::kH264, false, [&](Receiver&) {
        const Bytes message = filled({0x0C}, 8);
        return growthWhile(8 * 400000, 8, [&](int) { server.sendPayload(message, 5000 * kTicks); });
    });
}

}  // namespace
}  // namespace tavrik::test
