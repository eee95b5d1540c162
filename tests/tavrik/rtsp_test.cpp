#include <gtest/gtest.h>

extern "C" {
#include <libavutil/base64.h>
}

#include <algorithm>
#include <future>
#include <thread>
#include <utility>

#include "receiver.h"
#include "rtsp_server.h"
#include "tavrik/decoder_probe.h"

namespace tavrik::test {
namespace {

constexpr std::uint32_t kTicks = 3600;

struct Case {
    Codec codec;
    const char* options;
    bool over_udp;
};

class RtspPictures : public testing::TestWithParam<Case> {};

TEST_P(RtspPictures, ArriveInOrderWithTheirContentAndTheirSei) {
    const Codec codec = GetParam().codec;
    RtspServer::Settings settings;
    settings.codec = codec;
    RtspServer server(settings);
    TestEncoder encoder(EncoderSettings{codec});
    Receiver receiver;
    const int handle = feedOpen(server.url().c_str(), 0, receiver.onFrame(), nullptr, "", true,
                                GetParam().options, receiver.onSei(), 1);
    ASSERT_GT(handle, 0);
    ASSERT_TRUE(server.waitForPlay(kPatienceMs));
    EXPECT_EQ(server.overUdp(), GetParam().over_udp);
    const Bytes sei = seiNal(codec, {1, 0, 0, 2, 0, 0, 0, 9});
    const bool enough = stream(
        [&](int n) {
            server.sendPicture(withSei(codec, encoder.encode(n), sei),
                               static_cast<std::uint32_t>(n) * kTicks);
        },
        [&] { return receiver.numbers().size() >= 30; });
    feedClose(handle);
    ASSERT_TRUE(enough);
    const std::vector<int> numbers = receiver.numbers();
    for (std::size_t i = 1; i < numbers.size(); ++i) {
        EXPECT_EQ(numbers[i], numbers[i - 1] + 1) << i;
    }
    EXPECT_GT(receiver.m_bitrate, 0);
    EXPECT_GT(receiver.m_fps, 0);
    ASSERT_FALSE(receiver.sei().empty());
    EXPECT_EQ(receiver.m_seiKind, codec == Codec::kH265 ? 1 : 0);
    const Bytes expected = annexB({sei});
    const Bytes run = receiver.sei().back();
    ASSERT_EQ(run.size(), expected.size() + 1) << "the encoder adds none of its own after the first picture";
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), run.begin()));
    EXPECT_EQ(run.back(), 0);
    EXPECT_TRUE(server.waitForTeardown(kPatienceMs));
}

INSTANTIATE_TEST_SUITE_P(Tavrik, RtspPictures,
                         testing::Values(Case{Codec::kH264, "", false},
                                         Case{Codec::kH264, "rtsp_transport=udp", true},
                                         Case{Codec::kH265, "", false},
                                         Case{Codec::kH265, "rtsp_transport=udp", true}));

}  // namespace
}  // namespace tavrik::test

namespace tavrik::test {
namespace {

TEST(Rtsp, DecodesTheSoundBesideThePicture) {
    RtspServer::Settings settings;
    settings.audio = true;
    RtspServer server(settings);
    TestEncoder encoder(EncoderSettings{});
    Receiver receiver;
    const int handle =
        feedOpen(server.url().c_str(), 0, receiver.onFrame(), receiver.onAudio(), "", true, "", nullptr, 1);
    ASSERT_TRUE(server.waitForPlay(kPatienceMs));
    EXPECT_TRUE(stream(
        [&](int n) {
            server.sendPicture(encoder.encode(n), static_cast<std::uint32_t>(n) * kTicks);
            server.sendSound(Bytes(160, 0x80), static_cast<std::uint32_t>(n) * 160);
        },
        [&] { return receiver.sound().size() >= 1600 && receiver.numbers().size() >= 5; }));
    feedClose(handle);
    EXPECT_EQ(receiver.m_rate, 8000);
    EXPECT_EQ(receiver.m_channels, 1);
    // Mu-law 0x80 is the largest positive sample, 32124.
    const Bytes sound = receiver.sound();
    EXPECT_EQ(sound[200] | (sound[201] << 8), 32124);
}

TEST(Rtsp, TakesParameterSetsFromTheSessionDescriptionAlone) {
    TestEncoder encoder(EncoderSettings{});
    std::vector<Bytes> units;
    for (int n = 0; n < 40; ++n) {
        units.push_back(encoder.encode(n));
    }
    const auto is_set = [](const Bytes& nal) { return nal[0] % 32 == 7 || nal[0] % 32 == 8; };
    RtspServer::Settings settings;
    for (const Bytes& nal : nalsOf(units[0])) {
        if (!is_set(nal)) {
            continue;
        }
        std::vector<char> text(AV_BASE64_SIZE(nal.size()));
        av_base64_encode(text.data(), static_cast<int>(text.size()), nal.data(),
                         static_cast<int>(nal.size()));
        settings.parameter_sets += (settings.parameter_sets.empty() ? "" : ",") + std::string(text.data());
    }
    RtspServer server(settings);
    Receiver receiver;
    const int handle =
        feedOpen(server.url().c_str(), 0, receiver.onFrame(), nullptr, "", true, "", nullptr, 1);
    ASSERT_TRUE(server.waitForPlay(kPatienceMs));
    EXPECT_TRUE(stream(
        [&](int n) {
            std::vector<Bytes> nals = nalsOf(units[static_cast<std::size_t>(n) % units.size()]);
            nals.erase(std::remove_if(nals.begin(), nals.end(), is_set), nals.end());
            server.sendPicture(annexB(nals), static_cast<std::uint32_t>(n) * kTicks);
        },
        [&] { return receiver.numbers().size() >= 15; }));
    feedClose(handle);
    for (const int number : receiver.numbers()) {
        EXPECT_GE(number, 0);
    }
}

TEST(Rtsp, LeavesTheSoundOutWhenNobodyListens) {
    RtspServer::Settings settings;
    settings.audio = true;
    RtspServer server(settings);
    TestEncoder encoder(EncoderSettings{});
    Receiver receiver;
    const int handle =
        feedOpen(server.url().c_str(), 0, receiver.onFrame(), nullptr, "", true, "", nullptr, 1);
    EXPECT_TRUE(
        stream([&](int n) { server.sendPicture(encoder.encode(n), static_cast<std::uint32_t>(n) * kTicks); },
               [&] { return receiver.numbers().size() >= 5; }));
    feedClose(handle);
}

TEST(Decoders, SoftwareIsAlwaysThere) {
    EXPECT_EQ(list_decoders() & 1, 1);
    EXPECT_EQ(list_decoders() & ~7, 0);
    EXPECT_EQ(list_decoders(), list_decoders());
}

TEST(Decoders, AreFoundOutWithoutWaiting) {
    std::promise<std::pair<int, std::thread::id>> told;
    probeDecoders([&](int mask) { told.set_value({mask, std::this_thread::get_id()}); });
    auto answer = told.get_future();
    ASSERT_EQ(answer.wait_for(std::chrono::milliseconds(kPatienceMs)), std::future_status::ready);
    const auto [mask, thread] = answer.get();
    EXPECT_EQ(mask, list_decoders());
    EXPECT_NE(thread, std::this_thread::get_id());
}

// Gradual refresh without a recovery point: no picture says that decoding may begin with it.
TEST(Rtsp, ShowsAStreamWithoutKeyPictures) {
    EncoderSettings coding;
    coding.key_interval = 10000;
    TestEncoder encoder(coding);
    std::vector<Bytes> sets;
    for (const Bytes& nal : nalsOf(encoder.encode(0))) {
        if (nal[0] % 32 == 7 || nal[0] % 32 == 8) {
            sets.push_back(nal);
        }
    }
    RtspServer server({});
    Receiver receiver;
    const int handle =
        feedOpen(server.url().c_str(), 0, receiver.onFrame(), nullptr, "", true, "", nullptr, 1);
    ASSERT_TRUE(server.waitForPlay(kPatienceMs));
    EXPECT_TRUE(stream(
        [&](int n) {
            std::vector<Bytes> nals = sets;
            for (const Bytes& nal : nalsOf(encoder.encode(n + 1))) {
                nals.push_back(nal);
            }
            server.sendPicture(annexB(nals), static_cast<std::uint32_t>(n) * kTicks);
        },
        [&] { return receiver.numbers().size() >= 5; }, 40));
    feedClose(handle);
}

// Whatever the machine has: each choice shows the picture, by the device or in software.
TEST(Decoders, EachChoiceShowsThePicture) {
    for (const std::uint8_t decoder : {1, 2, 4, 0, 255}) {
        for (const Codec codec : {Codec::kH264, Codec::kH265}) {
            RtspServer::Settings settings;
            settings.codec = codec;
            RtspServer server(settings);
            TestEncoder encoder(EncoderSettings{codec});
            Receiver receiver;
            const int handle = feedOpen(server.url().c_str(), 0, receiver.onFrame(), nullptr, "", true, "",
                                        nullptr, decoder);
            ASSERT_GT(handle, 0);
            EXPECT_TRUE(stream(
                [&](int n) { server.sendPicture(encoder.encode(n), static_cast<std::uint32_t>(n) * kTicks); },
                [&] { return receiver.numbers().size() >= 5; }))
                << int(decoder);
            feedClose(handle);
            for (const int number : receiver.numbers()) {
                EXPECT_GE(number, 0);
            }
        }
    }
}

TEST(Open, RefusesBadAddressesAndTakesGoodOnes) {
    Receiver receiver;
    const auto open = [&](const char* url, int port, const char* local, bool rtsp) {
        const int handle = feedOpen(url, port, receiver.onFrame(), nullptr, local, rtsp, "", nullptr, 1);
        if (handle > 0) {
            feedClose(handle);
        }
        return handle;
    };
    for (const char* bad : {"", "rtsp://", "file:///etc/passwd", "rtsp://a b/", "rtsp://a/\r\nX: y",
                            "192.168.1.1", "concat:rtsp://x", "rtsp://x:70000/"}) {
        EXPECT_EQ(open(bad, 554, "", true), 0) << bad;
    }
    EXPECT_EQ(open(nullptr, 0, "", true), 0);
    for (const int port : {0, -5, 65536}) {
        EXPECT_EQ(open("", port, "", false), 0) << port;
    }
    EXPECT_EQ(open("not-an-ip", 5000, "", false), 0);
    EXPECT_EQ(open("", 5000, "not-an-ip", false), 0);
    EXPECT_GT(open(nullptr, freeUdpPort(), "", false), 0);
    EXPECT_GT(open("127.0.0.1", freeUdpPort(), "192.0.2.7", false), 0) << "a foreign interface is any";
    const int first = open("rtsp://127.0.0.1:1/x", 0, "", true);
    const int second = open("rtsp://127.0.0.1:1/x", 0, "", true);
    EXPECT_GT(first, 0);
    EXPECT_GT(second, first) << "handles are not used again";
}

}  // namespace
}  // namespace tavrik::test
