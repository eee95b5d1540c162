#include "simulator/stream/ts_mux.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "simulator/stream/encoder.h"
#include "tests/simulator/av_reader.h"
#include "tests/simulator/hex.h"
#include "tests/simulator/test_picture.h"

namespace podsim {
namespace {

using Packets = std::vector<std::uint8_t>;

constexpr std::int64_t kFrame_ns = 40'000'000;

std::vector<std::uint8_t> fakeUnit(std::size_t n) {
    std::vector<std::uint8_t> au = {0, 0, 0, 1, 0x65};
    au.resize(std::max<std::size_t>(n, 5), 0x5A);
    return au;
}

TEST(TsMuxer, Tables) {
    TsMuxer muxer(Codec::kH264);
    Packets out;
    const auto au = fakeUnit(10);
    muxer.write(au.data(), au.size(), true, 0, out);
    Packets pat = bytesOf("47 40 00 10 00 00 B0 0D 00 01 C1 00 00 00 01 F0 00 2A B1 04 B2");
    pat.resize(kTsPacketSize, 0xFF);
    ASSERT_GE(out.size(), 3 * kTsPacketSize);
    EXPECT_EQ(Packets(out.begin(), out.begin() + kTsPacketSize), pat);
    const Packets pmt(out.begin() + kTsPacketSize, out.begin() + 2 * kTsPacketSize);
    EXPECT_EQ(Packets(pmt.begin(), pmt.begin() + 22),
              bytesOf("47 50 00 10 00 02 B0 12 00 01 C1 00 00 E1 00 F0 00 1B E1 00 F0 00"));
    // A section with its own checksum behind it sums up to nothing.
    EXPECT_EQ(mpegCrc32(pmt.data() + 5, 3 + 18), 0u);
}

TEST(TsMuxer, TablesWithSound) {
    TsMuxer muxer(Codec::kH264, true);
    Packets out;
    const auto au = fakeUnit(10);
    muxer.write(au.data(), au.size(), true, 0, out);
    const Packets pmt(out.begin() + kTsPacketSize, out.begin() + 2 * kTsPacketSize);
    EXPECT_EQ(Packets(pmt.begin(), pmt.begin() + 27),
              bytesOf("47 50 00 10 00 02 B0 17 00 01 C1 00 00 E1 00 F0 00 1B E1 00 F0 00 0F E1 01 F0 00"));
    EXPECT_EQ(mpegCrc32(pmt.data() + 5, 3 + 23), 0u);
}

TEST(TsMuxer, SoundFollowsThePicturesClockAndComesNotBeforeThem) {
    const Packets sound(300, 0x5A);
    Packets out;
    TsMuxer muxer(Codec::kH264, true);
    muxer.writeSound(sound.data(), sound.size(), 0, out);
    EXPECT_TRUE(out.empty()) << "no picture yet";
    const auto au = fakeUnit(10);
    muxer.write(au.data(), au.size(), true, kFrame_ns, out);
    out.clear();
    muxer.writeSound(sound.data(), sound.size(), kFrame_ns - 1, out);
    EXPECT_TRUE(out.empty()) << "before the first picture";
    muxer.writeSound(sound.data(), sound.size(), 2 * kFrame_ns, out);
    ASSERT_EQ(out.size(), 2 * kTsPacketSize);
    // 40 ms behind the first picture, which is 3600 ticks behind the clock: 7200.
    EXPECT_EQ(Packets(out.begin(), out.begin() + 20),
              bytesOf("47 41 01 30 01 40 00 00 01 C0 01 34 84 80 05 21 00 01 38 41"));
    EXPECT_EQ(out[kTsPacketSize + 1], 0x01);
    EXPECT_EQ(out[kTsPacketSize + 3], 0x31);
    TsMuxer mute(Codec::kH264);
    Packets nothing;
    mute.write(au.data(), au.size(), true, 0, nothing);
    nothing.clear();
    mute.writeSound(sound.data(), sound.size(), kFrame_ns, nothing);
    EXPECT_TRUE(nothing.empty());
}

// Every size around the borders of packets and of the PES length field.
TEST(TsMuxer, EverySizeIsWholePacketsWithTheBytesInOrder) {
    std::vector<std::size_t> sizes;
    for (std::size_t n = 5; n < 600; ++n) {
        sizes.push_back(n);
    }
    for (std::size_t n = 65400; n < 65600; n += 7) {
        sizes.push_back(n);
    }
    TsMuxer muxer(Codec::kH264);
    std::map<int, int> counters;
    std::int64_t now = 0;
    for (const std::size_t n : sizes) {
        const auto au = fakeUnit(n);
        Packets out;
        muxer.write(au.data(), au.size(), false, now += kFrame_ns, out);
        ASSERT_EQ(out.size() % kTsPacketSize, 0u);
        Packets pes;
        for (std::size_t at = 0; at < out.size(); at += kTsPacketSize) {
            const std::uint8_t* p = out.data() + at;
            ASSERT_EQ(p[0], 0x47);
            const int pid = (p[1] & 0x1F) << 8 | p[2];
            const auto known = counters.find(pid);
            if (known != counters.end()) {
                ASSERT_EQ(p[3] & 15, (known->second + 1) % 16) << "pid " << pid;
            }
            counters[pid] = p[3] & 15;
            if (pid != 0x100) {
                continue;
            }
            const std::size_t header = p[3] & 0x20 ? 5u + p[4] : 4u;
            ASSERT_LE(header, kTsPacketSize);
            pes.insert(pes.end(), p + header, p + kTsPacketSize);
        }
        const std::size_t length = pes.size() - 6;
        EXPECT_EQ(pes[4] << 8 | pes[5], length <= 0xFFFF ? static_cast<int>(length) : 0) << n;
        ASSERT_GE(pes.size(), 20 + n);
        EXPECT_TRUE(std::equal(au.begin(), au.end(), pes.end() - static_cast<long>(n))) << n;
    }
}

struct Memory {
    const Packets& bytes;
    std::size_t at = 0;
};

int readMemory(void* opaque, std::uint8_t* to, int n) {
    auto* memory = static_cast<Memory*>(opaque);
    const std::size_t take = std::min(static_cast<std::size_t>(n), memory->bytes.size() - memory->at);
    if (take == 0) {
        return AVERROR_EOF;
    }
    std::copy_n(memory->bytes.begin() + static_cast<long>(memory->at), take, to);
    memory->at += take;
    return static_cast<int>(take);
}

void demuxesAndDecodes(Codec codec) {
    EncoderSettings s;
    s.codec = codec;
    s.width = 512;
    s.height = 288;
    s.bitrate_kbps = 1500;
    std::string error;
    auto encoder = makeEncoder(s, error);
    ASSERT_TRUE(encoder) << error;
    TsMuxer muxer(codec);
    TestPicture picture(512, 288);
    Packets stream;
    constexpr int kPictures = 40;
    for (int i = 0; i < kPictures; ++i) {
        picture.draw(i);
        AccessUnit unit;
        ASSERT_TRUE(encoder->encode(picture.view(), false, unit));
        muxer.write(unit.bytes.data(), unit.bytes.size(), unit.key_frame, i * kFrame_ns, stream);
    }

    Memory memory{stream};
    AVFormatContext* input = avformat_alloc_context();
    input->pb = avio_alloc_context(static_cast<std::uint8_t*>(av_malloc(4096)), 4096, 0, &memory, readMemory,
                                   nullptr, nullptr);
    AVIOContext* io = input->pb;
    ASSERT_EQ(avformat_open_input(&input, nullptr, av_find_input_format("mpegts"), nullptr), 0);
    AvDecoder decoder(codec == Codec::kH264 ? AV_CODEC_ID_H264 : AV_CODEC_ID_HEVC);
    AVPacket* packet = av_packet_alloc();
    int pictures = 0;
    std::int64_t last_pts = AV_NOPTS_VALUE;
    while (av_read_frame(input, packet) >= 0) {
        ASSERT_NE(packet->pts, AV_NOPTS_VALUE);
        if (last_pts != AV_NOPTS_VALUE) {
            EXPECT_EQ(packet->pts - last_pts, 3600);  // 40 ms
        }
        last_pts = packet->pts;
        pictures += decoder.decode({packet->data, packet->data + packet->size}, [&](const AVFrame& frame) {
            EXPECT_NEAR(frame.data[0][20 * frame.linesize[0] + 256], TestPicture::levelOf(pictures), 12);
        });
        av_packet_unref(packet);
    }
    EXPECT_EQ(pictures, kPictures);
    EXPECT_EQ(input->nb_streams, 1u);
    av_packet_free(&packet);
    avformat_close_input(&input);
    av_freep(&io->buffer);
    avio_context_free(&io);
}

TEST(TsMuxer, FfmpegReadsEveryPictureH264) { demuxesAndDecodes(Codec::kH264); }
TEST(TsMuxer, FfmpegReadsEveryPictureH265) { demuxesAndDecodes(Codec::kH265); }

}  // namespace
}  // namespace podsim
