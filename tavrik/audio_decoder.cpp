#include "tavrik/audio_decoder.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

#include <cstring>

namespace tavrik {
AudioDecoder::~AudioDecoder() { swr_free(&m_resampler); }

void AudioDecoder::push(const SoundPiece& piece, const SharedParameters& parameters) {
    Item item{PacketPtr(av_packet_alloc()), parameters, piece.whole, piece.stamp.arrival};
    if (item.packet == nullptr || av_new_packet(item.packet.get(), static_cast<int>(piece.size)) < 0) {
        return;
    }
    std::memcpy(item.packet->data, piece.data, piece.size);
    static_assert(kNoTime == AV_NOPTS_VALUE);
    item.packet->pts = piece.stamp.pts;
    m_sync.soundReceived(piece.stamp.pts, Clock::now());
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_stopped) {
        return;
    }
    m_waitingBytes += piece.size;
    m_waiting.push_back(std::move(item));
    while (m_waiting.size() > kMaxWaiting || (m_waitingBytes > kMaxWaitingBytes && m_waiting.size() > 1)) {
        m_waitingBytes -= static_cast<std::size_t>(m_waiting.front().packet->size);
        m_waiting.pop_front();
    }
    m_changed.notify_one();
}

bool AudioDecoder::next(Item& item) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return m_stopped || !m_waiting.empty(); });
    if (m_stopped) {
        return false;
    }
    item = std::move(m_waiting.front());
    m_waiting.pop_front();
    m_waitingBytes -= static_cast<std::size_t>(item.packet->size);
    return true;
}

void AudioDecoder::stop() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_stopped = true;
    m_waiting.clear();
    m_waitingBytes = 0;
    m_changed.notify_all();
}

void AudioDecoder::run() {
    Item item;
    SharedParameters opened;
    while (next(item)) {
        if (item.parameters != opened) {
            opened = item.parameters;
            if (!open(item)) {
                m_context.reset();
            }
        }
        if (m_context == nullptr) {
            continue;
        }
        if (item.whole) {
            play(item.packet.get(), item.arrival);
        } else {
            parse(item.packet.get(), item.arrival);
        }
    }
}

bool AudioDecoder::open(const Item& item) {
    const AVCodec* decoder = avcodec_find_decoder(item.parameters->codec_id);
    if (decoder == nullptr) {
        return false;
    }
    m_context.reset(avcodec_alloc_context3(decoder));
    if (m_context == nullptr || avcodec_parameters_to_context(m_context.get(), item.parameters.get()) < 0) {
        return false;
    }
    m_context->thread_count = 1;
    if (avcodec_open2(m_context.get(), decoder, nullptr) < 0) {
        return false;
    }
    return item.whole || m_parser.open(item.parameters->codec_id);
}

void AudioDecoder::parse(const AVPacket* packet, Clock::time_point arrival) {
    const PacketPtr cut(av_packet_alloc());
    m_parser.push(*m_context, packet->data, static_cast<std::size_t>(packet->size), packet->pts,
                  [&](const SoundParser::Frame& frame) {
                      const auto size = static_cast<int>(frame.size);
                      if (cut == nullptr || av_new_packet(cut.get(), size) < 0) {
                          return;
                      }
                      std::memcpy(cut->data, frame.data, frame.size);
                      cut->pts = frame.pts;
                      play(cut.get(), arrival);
                      av_packet_unref(cut.get());
                  });
}

// Waits until the picture has come as far; false if the sound is too late, or at the end.
bool AudioDecoder::timely(std::int64_t pts, Clock::time_point arrival) {
    for (;;) {
        const SoundSync::Answer answer = m_sync.judge(pts, arrival, Clock::now());
        if (answer.verdict != SoundSync::Verdict::kWait) {
            return answer.verdict == SoundSync::Verdict::kPlay;
        }
        std::unique_lock<std::mutex> lock(m_mutex);
        if (m_changed.wait_until(lock, Clock::now() + answer.wait, [this] { return m_stopped; })) {
            return false;
        }
    }
}

void AudioDecoder::play(AVPacket* packet, Clock::time_point arrival) {
    const std::int64_t pts = packet->pts != AV_NOPTS_VALUE ? packet->pts : m_nextPts;
    const bool played = timely(pts, arrival);
    if (played) {
        m_packetTicks = 0;
        decode(packet);
    }
    m_nextPts = pts != kNoTime ? pts + m_packetTicks : kNoTime;
}

void AudioDecoder::decode(const AVPacket* packet) {
    if (avcodec_send_packet(m_context.get(), packet) < 0) {
        return;
    }
    const FramePtr frame(av_frame_alloc());
    while (frame != nullptr && avcodec_receive_frame(m_context.get(), frame.get()) >= 0) {
        deliver(frame.get());
        av_frame_unref(frame.get());
    }
}

void AudioDecoder::deliver(const AVFrame* frame) {
    const int channels = frame->ch_layout.nb_channels;
    if (channels <= 0 || frame->nb_samples <= 0 || frame->sample_rate <= 0) {
        return;
    }
    m_packetTicks += static_cast<std::int64_t>(frame->nb_samples) * 90000 / frame->sample_rate;
    const bool same = m_resampler != nullptr && m_resamplerRate == frame->sample_rate &&
                      m_resamplerChannels == channels && m_resamplerFormat == frame->format;
    if (!same) {
        swr_free(&m_resampler);
        AVChannelLayout layout{};
        av_channel_layout_default(&layout, channels);
        const auto format = static_cast<AVSampleFormat>(frame->format);
        const bool ready = swr_alloc_set_opts2(&m_resampler, &layout, AV_SAMPLE_FMT_S16, frame->sample_rate,
                                               &layout, format, frame->sample_rate, 0, nullptr) >= 0 &&
                           swr_init(m_resampler) >= 0;
        av_channel_layout_uninit(&layout);
        if (!ready) {
            swr_free(&m_resampler);
            return;
        }
        m_resamplerRate = frame->sample_rate;
        m_resamplerChannels = channels;
        m_resamplerFormat = frame->format;
    }
    const std::size_t sample_bytes = 2u * static_cast<std::size_t>(channels);
    m_samples.resize(static_cast<std::size_t>(frame->nb_samples) * sample_bytes);
    std::uint8_t* out[] = {m_samples.data()};
    const int got = swr_convert(m_resampler, out, frame->nb_samples,
                                const_cast<const std::uint8_t**>(frame->extended_data), frame->nb_samples);
    if (got > 0) {
        m_sink(m_samples.data(), got * static_cast<int>(sample_bytes), frame->sample_rate, channels);
    }
}

}  // namespace tavrik
