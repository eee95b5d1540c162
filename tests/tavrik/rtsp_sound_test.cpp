// Sound beside the picture over RTSP: its encodings, and that it keeps with the picture.
#include <gtest/gtest.h>

#include <cmath>

#include "receiver.h"
#include "rtsp_server.h"
#include "tone.h"

namespace tavrik::test {
namespace {

constexpr std::uint32_t kTicks = 3600;

struct Encoding {
    const char* encoder;
    int rate;
    int channels;
    int clock;  // of its RTP timestamps
    int type;
    const char* lines;
    Bytes (*wrap)(const Bytes& frame);
};

Bytes behind(std::initializer_list<std::uint8_t> head, const Bytes& frame) {
    Bytes out(head.size() + frame.size());
    std::copy(head.begin(), head.end(), out.begin());
    std::copy(frame.begin(), frame.end(), out.begin() + static_cast<std::ptrdiff_t>(head.size()));
    return out;
}

Bytes bare(const Bytes& frame) { return frame; }
// RFC 2250 3.5
Bytes mpeg(const Bytes& frame) { return behind({0, 0, 0, 0}, frame); }
// RFC 3640 3.3.6, one frame
Bytes generic(const Bytes& frame) {
    return behind(
        {0, 16, static_cast<std::uint8_t>(frame.size() >> 5), static_cast<std::uint8_t>(frame.size() << 3)},
        frame);
}
// RFC 6416 6.1 with ISO/IEC 14496-3 1.7.3.1, PayloadLengthInfo
Bytes latm(const Bytes& frame) {
    Bytes out(frame.size() / 255, 255);
    out.push_back(static_cast<std::uint8_t>(frame.size() % 255));
    out.insert(out.end(), frame.begin(), frame.end());
    return out;
}
// RFC 4184 4.1.1, one whole frame
Bytes ac3(const Bytes& frame) { return behind({0, 1}, frame); }

class RtspEncodings : public testing::TestWithParam<Encoding> {};

TEST_P(RtspEncodings, AreHeard) {
    const Encoding& with = GetParam();
    RtspServer::Settings settings;
    settings.audio = true;
    settings.sound_type = with.type;
    settings.sound_lines = with.lines;
    settings.sound_marker = std::string(with.encoder) == "aac";
    RtspServer server(settings);
    TestEncoder encoder(EncoderSettings{});
    Tone tone(with.encoder, with.rate, with.channels);
    Receiver receiver;
    const int handle =
        feedOpen(server.url().c_str(), 0, receiver.onFrame(), receiver.onAudio(), "", true, "", nullptr, 1);
    ASSERT_TRUE(server.waitForPlay(kPatienceMs));
    const std::size_t second = static_cast<std::size_t>(with.rate * with.channels) * 2;
    EXPECT_TRUE(stream(
        [&](int n) {
            server.sendPicture(encoder.encode(n), static_cast<std::uint32_t>(n) * kTicks);
            while (tone.samples() * 1000 < (n + 1) * std::int64_t{40} * with.rate) {
                const auto timestamp = static_cast<std::uint32_t>(tone.samples() * with.clock / with.rate);
                const Bytes frame = tone.next();
                if (!frame.empty()) {
                    server.sendSound(with.wrap(frame), timestamp);
                }
            }
        },
        [&] { return receiver.sound().size() >= second && receiver.numbers().size() >= 5; }, 40));
    feedClose(handle);
    ASSERT_EQ(receiver.m_rate, with.rate);
    ASSERT_EQ(receiver.m_channels, with.channels);
    const Bytes sound = receiver.sound();
    ASSERT_GE(sound.size(), second);
    const auto sample = [&](std::size_t i) {
        const std::size_t at = i * static_cast<std::size_t>(with.channels) * 2;
        return static_cast<std::int16_t>(sound[at] | (sound[at + 1] << 8));
    };
    const std::size_t from = static_cast<std::size_t>(with.rate) / 2,
                      count = static_cast<std::size_t>(with.rate) / 4;
    int crossings = 0;
    double power = 0;
    for (std::size_t i = from; i < from + count; ++i) {
        crossings += (sample(i) < 0) != (sample(i + 1) < 0) ? 1 : 0;
        power += double(sample(i)) * sample(i);
    }
    EXPECT_NEAR(crossings, 500, 15) << "a quarter of a second of 1 kHz";
    EXPECT_NEAR(std::sqrt(power / static_cast<double>(count)), 0.5 / std::sqrt(2.0) * 32768, 2400);
}

INSTANTIATE_TEST_SUITE_P(
    Tavrik, RtspEncodings,
    testing::Values(
        Encoding{"pcm_mulaw", 8000, 1, 8000, 0, "a=rtpmap:0 PCMU/8000\r\n", bare},
        Encoding{"pcm_alaw", 8000, 1, 8000, 8, "", bare},
        Encoding{"pcm_s16be", 16000, 2, 16000, 97, "a=rtpmap:97 L16/16000/2\r\n", bare},
        Encoding{"mp2", 48000, 2, 90000, 14, "", mpeg},
        Encoding{
            "aac", 48000, 2, 48000, 97,
            "a=rtpmap:97 MPEG4-GENERIC/48000/2\r\na=fmtp:97 streamtype=5;profile-level-id=1;mode=AAC-hbr;"
            "sizelength=13;indexlength=3;indexdeltalength=3;config=1190\r\n",
            generic},
        Encoding{"aac", 48000, 2, 48000, 97,
                 "a=rtpmap:97 MP4A-LATM/48000/2\r\na=fmtp:97 cpresent=0;config=400023203fc0\r\n", latm},
        Encoding{"ac3", 48000, 2, 48000, 97, "a=rtpmap:97 AC3/48000/2\r\n", ac3},
        Encoding{"libopus", 48000, 2, 48000, 97, "a=rtpmap:97 opus/48000/2\r\n", bare},
        Encoding{"g722", 16000, 1, 8000, 9, "", bare}));

// Sound whose samples are the number of its packet, 20 ms each, beside numbered pictures, 40 ms each.
class CountedSound : public testing::Test {
protected:
    static RtspServer::Settings settings() {
        RtspServer::Settings out;
        out.audio = true;
        out.sound_type = 97;
        out.sound_lines = "a=rtpmap:97 L16/8000/1\r\n";
        return out;
    }
    void open() {
        m_handle = feedOpen(
            m_server.url().c_str(), 0, [this](AVFrame* frame, float, int) { m_picture = readNumber(frame); },
            [this](unsigned char* data, int size, int, int) {
                m_sound = data[0] | (data[1] << 8);
                m_aheadMs = m_sound * 20 - m_picture * 40;
                ++m_heard;
                const bool in_step = std::abs(m_aheadMs) <= m_bound;
                m_inStep = in_step ? m_inStep + 1 : 0;
                if (m_takesItsTime) {
                    std::this_thread::sleep_for(std::chrono::milliseconds(size / 16));
                }
            },
            "", true, "", nullptr, 1);
        ASSERT_TRUE(m_server.waitForPlay(kPatienceMs));
    }
    void TearDown() override { feedClose(m_handle); }
    void sendPicture(int number) {
        m_server.sendPicture(m_encoder.encode(number), static_cast<std::uint32_t>(number) * kTicks);
    }
    void sendSound(int number) {
        Bytes samples;
        for (int i = 0; i < 160; ++i) {
            samples.push_back(static_cast<std::uint8_t>(number >> 8));
            samples.push_back(static_cast<std::uint8_t>(number));
        }
        m_server.sendSound(samples, static_cast<std::uint32_t>(number) * 160);
    }

    RtspServer m_server{settings()};
    TestEncoder m_encoder{EncoderSettings{}};
    int m_handle = 0;
    std::atomic<int> m_picture{0}, m_sound{0}, m_aheadMs{0}, m_heard{0};
    std::atomic<int> m_inStep{0};  // pieces in a row within the bound
    int m_bound = 300;
    bool m_takesItsTime = false;  // the receiver takes as long as the sound lasts, as a sound device does
};

TEST_F(CountedSound, IsWithThePictureAgainAfterAStall) {
    m_takesItsTime = true;
    open();
    const auto both = [&](int n) {
        sendPicture(n);
        sendSound(2 * n);
        sendSound(2 * n + 1);
    };
    ASSERT_TRUE(stream(
        both, [&] { return m_picture >= 25 && m_inStep >= 10; }, 40));
    // Four seconds come at once, as behind a line that has stood.
    const int before = m_picture + 1;
    for (int n = before; n < before + 100; ++n) {
        both(n);
    }
    m_inStep = 0;
    EXPECT_TRUE(stream([&](int n) { both(before + 100 + n); },
                       [&] { return m_picture >= before + 110 && m_inStep >= 25; }, 40))
        << "the sound is " << -m_aheadMs << " ms behind";
}

// The camera's pictures leave it 200 ms after their sound; the reports tell.
TEST_F(CountedSound, WaitsForItsPictureWhereTheReportsTell) {
    m_bound = 80;
    open();
    constexpr int kLead = 10;  // packets
    EXPECT_TRUE(stream(
        [&](int n) {
            if (n % 10 == 0) {
                const std::uint64_t wall =
                    (std::uint64_t{3900000000} << 32) + (static_cast<std::uint64_t>(n) << 32) / 25;
                m_server.sendReport(0, wall, static_cast<std::uint32_t>(n) * kTicks);
                m_server.sendReport(1, wall, static_cast<std::uint32_t>(n) * 320);
            }
            sendPicture(n);
            sendSound(2 * n + kLead);
            sendSound(2 * n + kLead + 1);
        },
        [&] { return m_picture >= 40 && m_inStep >= 25; }, 40))
        << "the sound is " << m_aheadMs << " ms ahead";
}

}  // namespace
}  // namespace tavrik::test
