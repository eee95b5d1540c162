// An encoded tone for the tests.
#pragma once

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/channel_layout.h>
}

#include <cmath>
#include <cstdint>

#include "test_video.h"

namespace tavrik::test {

inline void setSample(AVFrame* frame, int channel, int index, double value) {
    const int channels = frame->ch_layout.nb_channels;
    switch (frame->format) {
        case AV_SAMPLE_FMT_FLTP:
            reinterpret_cast<float*>(frame->data[channel])[index] = static_cast<float>(value);
            break;
        case AV_SAMPLE_FMT_S16P:
            reinterpret_cast<std::int16_t*>(frame->data[channel])[index] =
                static_cast<std::int16_t>(value * 32767);
            break;
        default:
            reinterpret_cast<std::int16_t*>(frame->data[0])[index * channels + channel] =
                static_cast<std::int16_t>(value * 32767);
            break;
    }
}

// A tone of 1 kHz at half of full scale, a frame at a time.
class Tone {
public:
    Tone(const char* encoder_name, int rate, int channels)
        : m_frame(av_frame_alloc()), m_packet(av_packet_alloc()) {
        const AVCodec* encoder = avcodec_find_encoder_by_name(encoder_name);
        m_context.reset(avcodec_alloc_context3(encoder));
        m_context->sample_fmt = encoder->sample_fmts[0];
        m_context->sample_rate = rate;
        m_context->bit_rate = 96000;
        av_channel_layout_default(&m_context->ch_layout, channels);
        // Raw AAC frames; the configuration is in the session description.
        m_context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        EXPECT_GE(avcodec_open2(m_context.get(), encoder, nullptr), 0) << encoder_name;
        m_frame->format = m_context->sample_fmt;
        m_frame->nb_samples = m_context->frame_size > 0 ? m_context->frame_size : rate / 50;
        m_frame->sample_rate = rate;
        av_channel_layout_default(&m_frame->ch_layout, channels);
        EXPECT_GE(av_frame_get_buffer(m_frame.get(), 0), 0);
    }
    int rate() const { return m_context->sample_rate; }
    std::int64_t samples() const { return m_samples; }
    // Empty while the encoder holds its first frames back.
    Bytes next() {
        av_frame_make_writable(m_frame.get());
        for (int i = 0; i < m_frame->nb_samples; ++i) {
            const double phase = 2 * M_PI * 1000 * static_cast<double>(m_samples + i) / rate();
            for (int c = 0; c < m_frame->ch_layout.nb_channels; ++c) {
                setSample(m_frame.get(), c, i, 0.5 * std::sin(phase));
            }
        }
        m_frame->pts = m_samples;
        m_samples += m_frame->nb_samples;
        avcodec_send_frame(m_context.get(), m_frame.get());
        Bytes out;
        if (avcodec_receive_packet(m_context.get(), m_packet.get()) >= 0) {
            out.assign(m_packet->data, m_packet->data + m_packet->size);
            av_packet_unref(m_packet.get());
        }
        return out;
    }

private:
    CodecContextPtr m_context;
    FramePtr m_frame;
    PacketPtr m_packet;
    std::int64_t m_samples = 0;
};

}  // namespace tavrik::test
