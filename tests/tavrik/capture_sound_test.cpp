// Sound in recordings: what MP4 takes, beside the picture it belongs to.
#include <gtest/gtest.h>

#include <cmath>

#include "camera.h"
#include "recording.h"
#include "tavrik/tavrik.h"
#include "tone.h"

namespace tavrik::test {
namespace {

constexpr int kRate = 48000;

// A second of the tone of 1 kHz, without its beginning and its end.
void expectTone(const Recording& recording) {
    ASSERT_EQ(recording.sound_rate, kRate);
    ASSERT_GE(recording.sound.size(), static_cast<std::size_t>(kRate));
    const std::size_t from = kRate / 4, count = kRate / 4;
    int crossings = 0;
    double power = 0;
    for (std::size_t i = from; i < from + count; ++i) {
        crossings += (recording.sound[i] < 0) != (recording.sound[i + 1] < 0) ? 1 : 0;
        power += recording.sound[i] * recording.sound[i];
    }
    EXPECT_NEAR(crossings, 500, 10);
    EXPECT_NEAR(std::sqrt(power / count), 0.5 / std::sqrt(2.0), 0.05);
}

TEST(CaptureSound, OfATransportStreamGoesAlong) {
    const Folder folder("sound");
    Receiver receiver;
    const int port = freeUdpPort();
    const int handle = feedOpen("", port, receiver.onFrame(), receiver.onAudio(), "", false, "", nullptr, 1);
    TestEncoder encoder(EncoderSettings{});
    std::vector<Bytes> units;
    for (int n = 0; n < 75; ++n) {
        units.push_back(encoder.encode(n));
    }
    const Bytes stream = muxTransportStream(Codec::kH264, units, true, true);
    UdpSender sender(port);
    const std::string path = folder / "a.mp4";
    constexpr std::size_t kDatagram = 1316;
    for (std::size_t at = 0; at < stream.size(); at += kDatagram) {
        if (at > stream.size() / 4 && at - kDatagram <= stream.size() / 4) {
            captureBegin(path.c_str(), handle, 1);
        }
        const std::size_t end = std::min(at + kDatagram, stream.size());
        sender.send(Bytes(stream.begin() + static_cast<std::ptrdiff_t>(at),
                          stream.begin() + static_cast<std::ptrdiff_t>(end)));
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    ASSERT_TRUE(receiver.waitForNumber(74));
    feedClose(handle);
    const Recording recording = readRecording(path);
    EXPECT_EQ(recording.trouble, "");
    EXPECT_EQ(probed(path, "a:0", "stream=codec_name,sample_rate,channels"), "aac,48000,2");
    expectTone(recording);
    // The picture begins at 0, the sound within a frame's time of it and an encoder's delay.
    EXPECT_NEAR(recording.sound_begin, 0, 0.1);
    // Both last equally long.
    const double pictures = static_cast<double>(recording.times.back()) / 90000;
    EXPECT_NEAR(static_cast<double>(recording.sound.size()) / kRate, pictures, 0.3);
}

TEST(CaptureSound, OfRtspGoesAlong) {
    const Folder folder("sound");
    RtspServer::Settings settings;
    settings.audio = true;
    settings.sound_type = 97;
    settings.sound_marker = true;
    settings.sound_lines =
        "a=rtpmap:97 MPEG4-GENERIC/48000/2\r\na=fmtp:97 "
        "streamtype=5;profile-level-id=1;mode=AAC-hbr;sizelength=13;indexlength=3;indexdeltalength=3;"
        "config=1190\r\n";
    RtspServer server(settings);
    Receiver receiver;
    const int handle =
        feedOpen(server.url().c_str(), 0, receiver.onFrame(), receiver.onAudio(), "", true, "", nullptr, 1);
    ASSERT_TRUE(server.waitForPlay(kPatienceMs));
    TestEncoder encoder(EncoderSettings{});
    Tone tone("aac", kRate, 2);
    const std::string path = folder / "a.mp4";
    captureBegin(path.c_str(), handle, 1);
    EXPECT_TRUE(stream(
        [&](int n) {
            server.sendPicture(encoder.encode(n), static_cast<std::uint32_t>(n) * 3600);
            while (tone.samples() * 1000 < (n + 1) * std::int64_t{40} * kRate) {
                const auto timestamp = static_cast<std::uint32_t>(tone.samples());
                Bytes frame = tone.next();
                if (!frame.empty()) {
                    // RFC 3640 3.3.6, one frame
                    const std::size_t size = frame.size();
                    frame.insert(frame.begin(), {0, 16, static_cast<std::uint8_t>(size >> 5),
                                                 static_cast<std::uint8_t>(size << 3)});
                    server.sendSound(frame, timestamp);
                }
            }
        },
        [&] { return receiver.numbers().size() >= 60; }, 40));
    feedClose(handle);
    const Recording recording = readRecording(path);
    EXPECT_EQ(recording.trouble, "");
    EXPECT_GE(recording.sums.size(), 60u);
    EXPECT_EQ(probed(path, "a:0", "stream=codec_name"), "aac");
    expectTone(recording);
}

TEST(CaptureSound, ThatMp4DoesNotTakeIsLeftOutWithALine) {
    const Folder folder("sound");
    RtspServer::Settings settings;
    settings.audio = true;
    RtspServer server(settings);
    Receiver receiver;
    const int handle =
        feedOpen(server.url().c_str(), 0, receiver.onFrame(), receiver.onAudio(), "", true, "", nullptr, 1);
    ASSERT_TRUE(server.waitForPlay(kPatienceMs));
    TestEncoder encoder(EncoderSettings{});
    const std::string path = folder / "a.mp4";
    testing::internal::CaptureStderr();
    captureBegin(path.c_str(), handle, 1);
    EXPECT_TRUE(stream(
        [&](int n) {
            server.sendPicture(encoder.encode(n), static_cast<std::uint32_t>(n) * 3600);
            server.sendSound(Bytes(320, 0x80), static_cast<std::uint32_t>(n) * 320);
        },
        [&] { return receiver.numbers().size() >= 40 && !receiver.sound().empty(); }, 10));
    feedClose(handle);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_NE(log.find("a.mp4: sound in pcm_mulaw is left out"), std::string::npos) << log;
    EXPECT_EQ(log.find("left out"), log.rfind("left out")) << "once";
    EXPECT_EQ(readRecording(path).trouble, "");
    EXPECT_GE(readRecording(path).sums.size(), 40u);
    EXPECT_EQ(probed(path, "a", "stream=codec_name"), "");
}

}  // namespace
}  // namespace tavrik::test
