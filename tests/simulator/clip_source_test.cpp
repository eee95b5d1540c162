#include "simulator/stream/clip_source.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "tests/simulator/av_reader.h"
#include "tests/simulator/test_picture.h"

namespace podsim {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr int kPictures = 12;

std::string tempFile(const char* name) { return testing::TempDir() + name + std::to_string(getpid()); }

// The pictures as MP4 at 30 a second, by FFmpeg.
void writeMp4(const std::string& path, Codec codec, std::vector<AccessUnit>& units) {
    EncoderSettings settings;
    settings.codec = codec;
    settings.width = 512;
    settings.height = 288;
    settings.key_interval = 5;
    std::string error;
    auto encoder = makeEncoder(settings, error);
    ASSERT_TRUE(encoder) << error;
    TestPicture picture(512, 288);
    for (int i = 0; i < kPictures; ++i) {
        picture.draw(i);
        units.emplace_back();
        ASSERT_TRUE(encoder->encode(picture.view(), false, units.back()));
    }
    AVFormatContext* format = nullptr;
    ASSERT_GE(avformat_alloc_output_context2(&format, nullptr, "mp4", path.c_str()), 0);
    AVStream* stream = avformat_new_stream(format, nullptr);
    AVCodecParameters* parameters = stream->codecpar;
    parameters->codec_type = AVMEDIA_TYPE_VIDEO;
    parameters->codec_id = codec == Codec::kH264 ? AV_CODEC_ID_H264 : AV_CODEC_ID_HEVC;
    parameters->width = 512;
    parameters->height = 288;
    // The whole key picture: the writer takes the parameter sets out.
    const Bytes& first = units[0].bytes;
    parameters->extradata =
        static_cast<std::uint8_t*>(av_mallocz(first.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    std::copy(first.begin(), first.end(), parameters->extradata);
    parameters->extradata_size = static_cast<int>(first.size());
    stream->time_base = {1, 30};
    ASSERT_GE(avio_open(&format->pb, path.c_str(), AVIO_FLAG_WRITE), 0);
    ASSERT_GE(avformat_write_header(format, nullptr), 0);
    AVPacket* packet = av_packet_alloc();
    for (int i = 0; i < kPictures; ++i) {
        const AccessUnit& unit = units[static_cast<std::size_t>(i)];
        ASSERT_EQ(av_new_packet(packet, static_cast<int>(unit.bytes.size())), 0);
        std::copy(unit.bytes.begin(), unit.bytes.end(), packet->data);
        packet->pts = packet->dts = av_rescale_q(i, {1, 30}, stream->time_base);
        packet->duration = av_rescale_q(1, {1, 30}, stream->time_base);
        packet->flags = unit.key_frame ? AV_PKT_FLAG_KEY : 0;
        ASSERT_GE(av_write_frame(format, packet), 0);
        av_packet_unref(packet);
    }
    av_packet_free(&packet);
    ASSERT_GE(av_write_trailer(format), 0);
    avio_closep(&format->pb);
    avformat_free_context(format);
}

class ClipSourceOf : public testing::TestWithParam<Codec> {};

TEST_P(ClipSourceOf, HandsOutTheFilesPicturesOverAndOver) {
    const std::string path = tempFile("podsim-clip-");
    std::vector<AccessUnit> units;
    writeMp4(path, GetParam(), units);
    std::string error;
    auto clip = ClipSource::open(path, error);
    ASSERT_TRUE(clip) << error;
    EncoderSettings settings;
    settings.key_interval = 77;
    clip->adopt(settings);
    EXPECT_EQ(settings.codec, GetParam());
    EXPECT_EQ(settings.width, 512);
    EXPECT_EQ(settings.height, 288);
    EXPECT_EQ(settings.fps, 30);
    EXPECT_EQ(settings.key_interval, 77);
    AvDecoder decoder(GetParam() == Codec::kH264 ? AV_CODEC_ID_H264 : AV_CODEC_ID_HEVC);
    for (int round = 0; round < 3; ++round) {
        for (int i = 0; i < kPictures; ++i) {
            AccessUnit unit;
            ASSERT_TRUE(clip->next(unit)) << round << " " << i;
            EXPECT_EQ(unit.key_frame, units[static_cast<std::size_t>(i)].key_frame) << i;
            const int pictures = decoder.decode(unit.bytes, [&](const AVFrame& frame) {
                EXPECT_NEAR(frame.data[0][20 * frame.linesize[0] + 256], TestPicture::levelOf(i), 12) << i;
            });
            EXPECT_EQ(pictures, 1) << round << " " << i;
        }
    }
    std::remove(path.c_str());
}

INSTANTIATE_TEST_SUITE_P(Codecs, ClipSourceOf, testing::Values(Codec::kH264, Codec::kH265));

TEST(ClipSource, WhatIsNoClipIsRefusedWithAReason) {
    std::string error;
    EXPECT_FALSE(ClipSource::open("/nonexistent.mp4", error));
    EXPECT_NE(error.find("/nonexistent.mp4"), std::string::npos);
    const std::string path = tempFile("podsim-noclip-");
    std::ofstream(path) << "this is no clip";
    EXPECT_FALSE(ClipSource::open(path, error));
    EXPECT_NE(error.find(path), std::string::npos);
    std::remove(path.c_str());
}

TEST(ClipSource, AFileThatGoesAwayEndsIt) {
    const std::string path = tempFile("podsim-gone-");
    std::vector<AccessUnit> units;
    writeMp4(path, Codec::kH264, units);
    std::string error;
    auto clip = ClipSource::open(path, error);
    ASSERT_TRUE(clip) << error;
    std::remove(path.c_str());
    AccessUnit unit;
    for (int i = 0; i < kPictures; ++i) {
        EXPECT_TRUE(clip->next(unit)) << i;
    }
    EXPECT_FALSE(clip->next(unit));
    EXPECT_FALSE(clip->next(unit));
}

}  // namespace
}  // namespace podsim
