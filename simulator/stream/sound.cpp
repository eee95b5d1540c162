#include "simulator/stream/sound.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

#include <cmath>

namespace podsim {
namespace {

constexpr std::int64_t kSecond_ns = 1'000'000'000;
constexpr double kQuiet = 0.1;
constexpr double kLoud = 0.4;
constexpr double kTone_hz = 440;
constexpr double kMark_hz = 1000;

struct Freed {
    void operator()(AVCodecContext* p) const { avcodec_free_context(&p); }
    void operator()(AVFrame* p) const { av_frame_free(&p); }
    void operator()(AVPacket* p) const { av_packet_free(&p); }
};
using Context = std::unique_ptr<AVCodecContext, Freed>;

Context openEncoder() {
    const AVCodec* encoder = avcodec_find_encoder(AV_CODEC_ID_AAC);
    Context context(encoder != nullptr ? avcodec_alloc_context3(encoder) : nullptr);
    if (context == nullptr) {
        return nullptr;
    }
    context->sample_fmt = AV_SAMPLE_FMT_FLTP;
    context->sample_rate = kSoundRate;
    context->time_base = {1, kSoundRate};
    context->bit_rate = 64000;
    av_channel_layout_default(&context->ch_layout, kSoundChannels);
    av_opt_set(context->priv_data, "aac_coder", "fast", 0);
    return avcodec_open2(context.get(), encoder, nullptr) == 0 ? std::move(context) : nullptr;
}

// AAC-LC, 48 kHz, two channels, no checksum, one frame.
void appendAdts(std::vector<std::uint8_t>& out, const std::uint8_t* data, std::size_t n) {
    constexpr unsigned kProfile = 1, kRateIndex = 3;
    const std::size_t length = n + 7;
    out.insert(
        out.end(),
        {0xFF, 0xF1, static_cast<std::uint8_t>(kProfile << 6 | kRateIndex << 2 | kSoundChannels >> 2),
         static_cast<std::uint8_t>((kSoundChannels & 3) << 6 | length >> 11),
         static_cast<std::uint8_t>(length >> 3), static_cast<std::uint8_t>((length & 7) << 5 | 0x1F), 0xFC});
    out.insert(out.end(), data, data + n);
}

class AacTone final : public Sound {
public:
    explicit AacTone(Context context)
        : m_context(std::move(context)), m_frame(av_frame_alloc()), m_packet(av_packet_alloc()) {}

    bool prepare() {
        if (m_frame == nullptr || m_packet == nullptr) {
            return false;
        }
        m_frame->format = m_context->sample_fmt;
        m_frame->nb_samples = m_context->frame_size;
        m_frame->sample_rate = kSoundRate;
        return av_channel_layout_copy(&m_frame->ch_layout, &m_context->ch_layout) == 0 &&
               av_frame_get_buffer(m_frame.get(), 0) == 0;
    }

    void advance(std::int64_t time_ns, bool mark, std::vector<SoundUnit>& out) override {
        if (!m_begun || time_ns - m_lastNs > kSecond_ns) {
            m_begun = true;
            m_zeroNs = time_ns - timeOf(m_samples + m_filled);
        }
        m_lastNs = time_ns;
        const double hz = mark ? kMark_hz : kTone_hz;
        const double level = mark ? kLoud : kQuiet;
        while (m_zeroNs + timeOf(m_samples + m_filled) < time_ns) {
            addSample(level * std::sin(m_phase));
            m_phase = std::fmod(m_phase + 2 * M_PI * hz / kSoundRate, 2 * M_PI);
            if (m_filled == m_frame->nb_samples) {
                encode(out);
            }
        }
    }

private:
    static std::int64_t timeOf(std::int64_t samples) {
        return samples / kSoundRate * kSecond_ns + samples % kSoundRate * kSecond_ns / kSoundRate;
    }

    void addSample(double value) {
        for (int channel = 0; channel < kSoundChannels; ++channel) {
            reinterpret_cast<float*>(m_frame->data[channel])[m_filled] = static_cast<float>(value);
        }
        ++m_filled;
    }

    void encode(std::vector<SoundUnit>& out) {
        m_frame->pts = m_samples;
        m_samples += m_filled;
        m_filled = 0;
        if (avcodec_send_frame(m_context.get(), m_frame.get()) < 0) {
            return;
        }
        while (avcodec_receive_packet(m_context.get(), m_packet.get()) == 0) {
            SoundUnit unit;
            unit.time_ns = m_zeroNs + timeOf(m_packet->pts);
            appendAdts(unit.bytes, m_packet->data, static_cast<std::size_t>(m_packet->size));
            out.push_back(std::move(unit));
            av_packet_unref(m_packet.get());
        }
        // The encoder may keep a reference.
        av_frame_make_writable(m_frame.get());
    }

    Context m_context;
    std::unique_ptr<AVFrame, Freed> m_frame;
    std::unique_ptr<AVPacket, Freed> m_packet;
    bool m_begun = false;
    std::int64_t m_zeroNs = 0;  // when sample 0 sounded or would have
    std::int64_t m_lastNs = 0;
    std::int64_t m_samples = 0;  // handed to the encoder
    int m_filled = 0;            // waiting in m_frame
    double m_phase = 0;
};

}  // namespace

std::unique_ptr<Sound> makeSound(std::string& error) {
    av_log_set_level(AV_LOG_FATAL);
    Context context = openEncoder();
    auto sound = context != nullptr ? std::make_unique<AacTone>(std::move(context)) : nullptr;
    if (sound == nullptr || !sound->prepare()) {
        error = "no AAC encoder";
        return nullptr;
    }
    return sound;
}

}  // namespace podsim
