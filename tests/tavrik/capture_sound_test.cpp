// Sound in recordings: what MP4 takes, beside the picture it belongs to.
#include <gtest/gtest.h>

#include <cmath>
#include <ostream>

#include "camera.h"
#include "http_camera.h"
#include "memory.h"
#include "recording.h"
#include "tavrik/capture_writer.h"
#include "tavrik/tavrik.h"
#include "tone.h"
#include "ts_writer.h"

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
    closeInTime(handle);
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
    closeInTime(handle);
    const Recording recording = readRecording(path);
    EXPECT_EQ(recording.trouble, "");
    EXPECT_GE(recording.sums.size(), 60u);
    EXPECT_EQ(probed(path, "a:0", "stream=codec_name"), "aac");
    expectTone(recording);
}

// The packets of a transport stream are no single frames, over whatever they come.
TEST(CaptureSound, OfATransportStreamOverHttpGoesAlong) {
    const Folder folder("sound");
    HttpCamera camera;
    Receiver receiver;
    const int handle =
        feedOpen(camera.url().c_str(), 0, receiver.onFrame(), receiver.onAudio(), "", true, "", nullptr, 1);
    ASSERT_TRUE(camera.waitForRequest());
    TestEncoder encoder(EncoderSettings{});
    std::vector<Bytes> units;
    for (int n = 0; n < 75; ++n) {
        units.push_back(encoder.encode(n));
    }
    const Bytes stream = muxTransportStream(Codec::kH264, units, true, true);
    const std::string path = folder / "a.mp4";
    captureBegin(path.c_str(), handle, 1);
    constexpr std::size_t kPiece = 1316;
    for (std::size_t at = 0; at < stream.size(); at += kPiece) {
        const std::size_t end = std::min(at + kPiece, stream.size());
        camera.send(Bytes(stream.begin() + static_cast<std::ptrdiff_t>(at),
                          stream.begin() + static_cast<std::ptrdiff_t>(end)));
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    ASSERT_TRUE(receiver.waitForNumber(73));
    closeInTime(handle);
    const Recording recording = readRecording(path);
    EXPECT_EQ(recording.trouble, "");
    EXPECT_GE(recording.sums.size(), 74u);
    EXPECT_EQ(probed(path, "a:0", "stream=codec_name,sample_rate,channels"), "aac,48000,2");
    expectTone(recording);
    const double pictures = static_cast<double>(recording.times.back()) / 90000;
    EXPECT_NEAR(static_cast<double>(recording.sound.size()) / kRate, pictures, 0.3);
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
    closeInTime(handle);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_NE(log.find("a.mp4: sound in pcm_mulaw is left out"), std::string::npos) << log;
    EXPECT_EQ(log.find("left out"), log.rfind("left out")) << "once";
    EXPECT_EQ(readRecording(path).trouble, "");
    EXPECT_GE(readRecording(path).sums.size(), 40u);
    EXPECT_EQ(probed(path, "a", "stream=codec_name"), "");
}

// Other sound than AAC that MP4 takes, over both roads.
struct Coding {
    const char* name;  // of the encoder
    int stream_type;
    const char* rtp_lines;  // null: not over RTSP
    int rtp_type;
    int rtp_clock;
    Bytes rtp_head;
};

void PrintTo(const Coding& coding, std::ostream* out) { *out << coding.name; }

class CaptureSoundIn : public testing::TestWithParam<Coding> {
protected:
    static constexpr int kPictures = 75;

    void expectBoth(const std::string& path) const {
        const Recording recording = readRecording(path);
        EXPECT_EQ(recording.trouble, "");
        EXPECT_GE(recording.sums.size(), static_cast<std::size_t>(kPictures - 1));
        // MP4 tells of MPEG sound no layer.
        const std::string name = GetParam().name;
        EXPECT_EQ(probed(path, "a:0", "stream=codec_name,sample_rate,channels"),
                  (name == "mp2" ? "mp3" : name) + ",48000,2");
        expectTone(recording);
        ASSERT_FALSE(recording.times.empty());
        const double pictures = static_cast<double>(recording.times.back()) / 90000;
        EXPECT_NEAR(static_cast<double>(recording.sound.size()) / kRate, pictures, 0.4);
    }

    const Folder m_folder{"sound"};
    Receiver m_receiver;
    TestEncoder m_encoder{EncoderSettings{}};
    Tone m_tone{GetParam().name, kRate, 2};
};

TEST_P(CaptureSoundIn, ATransportStreamGoesAlong) {
    const int port = freeUdpPort();
    const int handle =
        feedOpen("", port, m_receiver.onFrame(), m_receiver.onAudio(), "", false, "", nullptr, 1);
    UdpSender sender(port);
    TsWriter writer;
    const std::string path = m_folder / "a.mp4";
    captureBegin(path.c_str(), handle, 1);
    for (int n = 0; n < kPictures; ++n) {
        writer.tables(0x1B, GetParam().stream_type);
        writer.times(90000 + n * 3600);
        writer.pes(TsWriter::kVideoPid, m_encoder.encode(n), true);
        const std::int64_t from = m_tone.samples();
        Bytes frames;
        while (m_tone.samples() * 1000 < (n + 1) * std::int64_t{40} * kRate) {
            const Bytes frame = m_tone.next();
            frames.insert(frames.end(), frame.begin(), frame.end());
        }
        if (!frames.empty()) {
            writer.times(90000 + from * 90000 / kRate);
            writer.pes(TsWriter::kAudioPid, frames, true);
        }
        sender.send(writer.take(), 1316);
        std::this_thread::sleep_for(std::chrono::milliseconds(8));
    }
    ASSERT_TRUE(m_receiver.waitForNumber(kPictures - 1));
    closeInTime(handle);
    expectBoth(path);
    EXPECT_NEAR(readRecording(path).sound_begin, 0, 0.1);
}

TEST_P(CaptureSoundIn, RtspGoesAlong) {
    const Coding& coding = GetParam();
    if (coding.rtp_lines == nullptr) {
        return;
    }
    RtspServer::Settings settings;
    settings.audio = true;
    settings.sound_type = coding.rtp_type;
    settings.sound_lines = coding.rtp_lines;
    RtspServer server(settings);
    const int handle = feedOpen(server.url().c_str(), 0, m_receiver.onFrame(), m_receiver.onAudio(), "", true,
                                "", nullptr, 1);
    ASSERT_TRUE(server.waitForPlay(kPatienceMs));
    const std::string path = m_folder / "a.mp4";
    captureBegin(path.c_str(), handle, 1);
    for (int n = 0; n < kPictures; ++n) {
        server.sendPicture(m_encoder.encode(n), static_cast<std::uint32_t>(n) * 3600);
        while (m_tone.samples() * 1000 < (n + 1) * std::int64_t{40} * kRate) {
            const std::int64_t at = m_tone.samples() * coding.rtp_clock / kRate;
            Bytes frame = m_tone.next();
            if (!frame.empty()) {
                frame.insert(frame.begin(), coding.rtp_head.begin(), coding.rtp_head.end());
                server.sendSound(frame, static_cast<std::uint32_t>(at));
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(40));
    }
    ASSERT_TRUE(m_receiver.waitForNumber(kPictures - 1));
    closeInTime(handle);
    expectBoth(path);
}

INSTANTIATE_TEST_SUITE_P(
    Tavrik, CaptureSoundIn,
    testing::Values(Coding{"ac3", 0x81, "a=rtpmap:97 AC3/48000/2\r\n", 97, 48000, {0, 1}},
                    Coding{"eac3", 0x87, nullptr, 0, 0, {}},
                    Coding{"mp2", 0x03, "", 14, 90000, {0, 0, 0, 0}}),
    [](const testing::TestParamInfo<Coding>& info) { return std::string(info.param.name); });

// What the stream tells of its sound decides, before a byte of it is understood.
TEST(CaptureSound, OfATransportStreamThatMp4DoesNotTakeIsLeftOutWithALine) {
    const Folder folder("sound");
    Receiver receiver;
    const int port = freeUdpPort();
    const int handle = feedOpen("", port, receiver.onFrame(), receiver.onAudio(), "", false, "", nullptr, 1);
    UdpSender sender(port);
    TsWriter writer;
    TestEncoder encoder(EncoderSettings{});
    const std::string path = folder / "a.mp4";
    testing::internal::CaptureStderr();
    captureBegin(path.c_str(), handle, 1);
    for (int n = 0; n < 40; ++n) {
        writer.tables(0x1B, 0x11);
        writer.times(90000 + n * 3600);
        writer.pes(TsWriter::kVideoPid, encoder.encode(n), true);
        writer.pes(TsWriter::kAudioPid, Bytes(300, 0x56), true);
        sender.send(writer.take(), 1316);
        std::this_thread::sleep_for(std::chrono::milliseconds(4));
    }
    ASSERT_TRUE(receiver.waitForNumber(39));
    closeInTime(handle);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_NE(log.find("a.mp4: sound in aac_latm is left out"), std::string::npos) << log;
    EXPECT_EQ(log.find("left out"), log.rfind("left out")) << "once";
    EXPECT_EQ(readRecording(path).trouble, "");
    EXPECT_EQ(readRecording(path).sums.size(), 40u);
    EXPECT_EQ(probed(path, "a", "stream=codec_name"), "");
}

// Where each frame of sound belongs is told by nothing: the picture is recorded all the same.
TEST(CaptureSound, WithoutTimesEndsNoRecording) {
    for (const Coding& coding :
         {Coding{"eac3", 0x87, nullptr, 0, 0, {}}, Coding{"ac3", 0x81, nullptr, 0, 0, {}}}) {
        const Folder folder("sound");
        Receiver receiver;
        const int port = freeUdpPort();
        const int handle =
            feedOpen("", port, receiver.onFrame(), receiver.onAudio(), "", false, "", nullptr, 1);
        UdpSender sender(port);
        TsWriter writer;
        TestEncoder encoder(EncoderSettings{});
        Tone tone(coding.name, kRate, 2);
        const std::string path = folder / "a.mp4";
        testing::internal::CaptureStderr();
        captureBegin(path.c_str(), handle, 1);
        for (int n = 0; n < 75; ++n) {
            writer.tables(0x1B, coding.stream_type);
            writer.times(90000 + n * 3600);
            writer.pes(TsWriter::kVideoPid, encoder.encode(n), true);
            writer.times(-1);
            while (tone.samples() * 1000 < (n + 1) * std::int64_t{40} * kRate) {
                const Bytes frame = tone.next();
                if (!frame.empty()) {
                    writer.pes(TsWriter::kAudioPid, frame, true);
                }
            }
            sender.send(writer.take(), 1316);
            std::this_thread::sleep_for(std::chrono::milliseconds(4));
        }
        ASSERT_TRUE(receiver.waitForNumber(74));
        closeInTime(handle);
        const std::string log = testing::internal::GetCapturedStderr();
        EXPECT_NE(log.find("a.mp4: sound without times is left out"), std::string::npos) << log;
        EXPECT_EQ(readRecording(path).trouble, "") << coding.name;
        EXPECT_EQ(readRecording(path).sums.size(), 75u) << coding.name;
    }
}

// Seconds of sound at once, over both roads: neither the pictures nor their recording are held up.
TEST(CaptureSound, APacketAsLargeAsTheyComeHoldsNothingUp) {
    for (const bool rtsp : {true, false}) {
        const Folder folder("huge");
        RtspServer::Settings settings;
        settings.audio = true;
        settings.sound_type = 97;
        settings.sound_lines = "a=rtpmap:97 L16/8000/1\r\n";
        RtspServer server(settings);
        const int port = freeUdpPort();
        UdpSender sender(port);
        TsWriter writer;
        TestEncoder encoder(EncoderSettings{});
        Receiver receiver;
        const int handle = feedOpen(rtsp ? server.url().c_str() : "", port, receiver.onFrame(),
                                    receiver.onAudio(), "", rtsp, "", nullptr, 1);
        ASSERT_TRUE(!rtsp || server.waitForPlay(kPatienceMs));
        const std::string path = folder / "a.mp4";
        captureBegin(path.c_str(), handle, 1);
        for (std::uint32_t n = 0; n < 40; ++n) {
            if (rtsp) {
                server.sendPicture(encoder.encode(static_cast<int>(n)), n * 3600);
                server.sendSound(n % 10 == 5 ? Bytes(65000, 0x11) : Bytes(2, 0x11), n * 320);
            } else {
                writer.tables(0x1B, 0x03);
                writer.times(90000 + static_cast<std::int64_t>(n) * 3600);
                writer.pes(TsWriter::kVideoPid, encoder.encode(static_cast<int>(n)), true);
                writer.pes(TsWriter::kAudioPid, Bytes(n % 10 == 5 ? 65000 : 2, 0x11), true);
                sender.send(writer.take(), 1316);
            }
            ASSERT_TRUE(receiver.waitForFrames(n + 1)) << n;
        }
        closeInTime(handle);
        EXPECT_EQ(readRecording(path).trouble, "");
        EXPECT_EQ(readRecording(path).sums.size(), 40u);
    }
}

// The picture that the sound belongs to never comes: what waits for it is bounded.
TEST(CaptureSound, WithoutPicturesIsNotGatheredWithoutBound) {
    const Folder folder("alone");
    const auto writer = makeMp4Writer({AV_CODEC_ID_H264, nullptr, {}, true});
    ASSERT_TRUE(writer->open(folder / "a.mp4"));
    TestEncoder encoder(EncoderSettings{});
    const auto put = [&](int number) {
        const auto unit = std::make_shared<AccessUnit>();
        unit->codec = Codec::kH264;
        unit->padded = encoder.encode(number);
        sealBytes(unit->padded);
        unit->stamp = {number * 3600, kNoTime, {}};
        unit->stamp.arrival += std::chrono::milliseconds(40 * number);
        unit->decoding_can_begin = unit->file_can_begin = number % 10 == 0;
        EXPECT_TRUE(writer->picture(unit));
    };
    put(0);
    const std::shared_ptr<AVCodecParameters> aac(avcodec_parameters_alloc(), AvFree());
    aac->codec_type = AVMEDIA_TYPE_AUDIO;
    aac->codec_id = AV_CODEC_ID_AAC;
    const Bytes configuration{0x11, 0x90};
    aac->extradata = static_cast<std::uint8_t*>(av_mallocz(2 + AV_INPUT_BUFFER_PADDING_SIZE));
    std::copy(configuration.begin(), configuration.end(), aac->extradata);
    aac->extradata_size = 2;
    Tone tone("aac", kRate, 2);
    Bytes frame;
    for (int n = 0; n < 10; ++n) {
        frame = tone.next();
    }
    const std::size_t before = bytesInUse();
    for (const Bytes& sound : {Bytes(60000, 0xFC), frame}) {
        const auto chunk = std::make_shared<SoundChunk>();
        chunk->data = sound;
        chunk->stamp.pts = 0;
        chunk->parameters = aac;
        for (int n = 0; n < 10000; ++n) {
            ASSERT_TRUE(writer->sound(chunk));
            ASSERT_LT(bytesInUse(), before + (24u << 20)) << n << " of " << sound.size();
        }
    }
    for (int n = 1; n < 25; ++n) {
        put(n);
    }
    EXPECT_TRUE(writer->finish());
    EXPECT_EQ(readRecording(folder / "a.mp4").trouble, "");
    EXPECT_EQ(readRecording(folder / "a.mp4").sums.size(), 25u);
}

}  // namespace
}  // namespace tavrik::test
