#include "simulator/stream/sound.h"

#include <gtest/gtest.h>

#include <cmath>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace podsim {
namespace {

constexpr std::int64_t kFrame_ns = 40'000'000;
constexpr std::int64_t kUnit_ns = 1024LL * 1'000'000'000 / kSoundRate;

// The samples of the left channel, decoded by FFmpeg from the frames behind their headers.
std::vector<float> decoded(const std::vector<SoundUnit>& units) {
    const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_AAC);
    AVCodecContext* context = avcodec_alloc_context3(codec);
    EXPECT_EQ(avcodec_open2(context, codec, nullptr), 0);
    AVPacket* packet = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();
    std::vector<float> samples;
    for (const SoundUnit& unit : units) {
        EXPECT_EQ(av_new_packet(packet, static_cast<int>(unit.bytes.size())), 0);
        std::copy(unit.bytes.begin(), unit.bytes.end(), packet->data);
        EXPECT_EQ(avcodec_send_packet(context, packet), 0);
        av_packet_unref(packet);
        while (avcodec_receive_frame(context, frame) == 0) {
            EXPECT_EQ(frame->sample_rate, kSoundRate);
            EXPECT_EQ(frame->ch_layout.nb_channels, kSoundChannels);
            const auto* left = reinterpret_cast<const float*>(frame->data[0]);
            samples.insert(samples.end(), left, left + frame->nb_samples);
        }
    }
    av_frame_free(&frame);
    av_packet_free(&packet);
    avcodec_free_context(&context);
    return samples;
}

// How much of that frequency is in a stretch: the amplitude of a pure tone.
double amplitude(const std::vector<float>& samples, std::size_t from, std::size_t count, double hz) {
    double re = 0, im = 0;
    for (std::size_t i = from; i < from + count; ++i) {
        const double phase = 2 * M_PI * hz * static_cast<double>(i) / kSoundRate;
        re += static_cast<double>(samples[i]) * std::cos(phase);
        im += static_cast<double>(samples[i]) * std::sin(phase);
    }
    return 2 * std::hypot(re, im) / static_cast<double>(count);
}

TEST(Sound, ATimeOfItsOwnForEachFrameAndTheMarkWhereItWasAsked) {
    std::string error;
    const auto sound = makeSound(error);
    ASSERT_TRUE(sound) << error;
    std::vector<SoundUnit> units;
    constexpr std::int64_t kStart_ns = 7'000'000'000;
    for (int picture = 0; picture <= 75; ++picture) {
        // 500 ms of marks from 1 s on.
        const bool mark = picture > 25 && picture <= 37;
        sound->advance(kStart_ns + picture * kFrame_ns, mark, units);
    }
    ASSERT_GT(units.size(), 130u);
    for (std::size_t i = 1; i < units.size(); ++i) {
        ASSERT_NEAR(units[i].time_ns - units[i - 1].time_ns, kUnit_ns, 2);
    }
    const std::vector<float> samples = decoded(units);
    ASSERT_GE(samples.size(), 2u * kSoundRate);
    const auto at = [&](double seconds) {
        const double from_first = seconds - static_cast<double>(units[0].time_ns - kStart_ns) * 1e-9;
        return static_cast<std::size_t>(from_first * kSoundRate);
    };
    constexpr std::size_t kStretch = 9600;
    EXPECT_NEAR(amplitude(samples, at(0.6), kStretch, 440), 0.1, 0.02);
    EXPECT_LT(amplitude(samples, at(0.6), kStretch, 1000), 0.01);
    EXPECT_NEAR(amplitude(samples, at(1.1), kStretch, 1000), 0.4, 0.04);
    EXPECT_LT(amplitude(samples, at(1.1), kStretch, 440), 0.02);
    EXPECT_NEAR(amplitude(samples, at(1.7), kStretch, 440), 0.1, 0.02);
}

TEST(Sound, BehindALongPauseItBeginsAnewAtThePresent) {
    std::string error;
    const auto sound = makeSound(error);
    ASSERT_TRUE(sound) << error;
    std::vector<SoundUnit> units;
    for (int picture = 0; picture <= 25; ++picture) {
        sound->advance(picture * kFrame_ns, false, units);
    }
    const std::size_t before = units.size();
    constexpr std::int64_t kLater_ns = 100'000'000'000;
    for (int picture = 0; picture <= 25; ++picture) {
        sound->advance(kLater_ns + picture * kFrame_ns, false, units);
    }
    ASSERT_NEAR(static_cast<double>(units.size()), 2.0 * static_cast<double>(before), 4);
    // What the encoder still held belongs to the time shortly before.
    EXPECT_GE(units[before].time_ns, kLater_ns - 3 * kUnit_ns);
    EXPECT_LT(units[before].time_ns, kLater_ns);
}

}  // namespace
}  // namespace podsim
