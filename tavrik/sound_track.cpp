#include "tavrik/sound_track.h"

extern "C" {
#include <libavutil/channel_layout.h>
}

#include <cstring>

namespace tavrik {
namespace {

constexpr int kAacSamples = 1024;

bool mp4Takes(AVCodecID codec) {
    const AVOutputFormat* mp4 = av_guess_format("mp4", nullptr, nullptr);
    return mp4 != nullptr && avformat_query_codec(mp4, codec, FF_COMPLIANCE_NORMAL) == 1;
}

bool setExtradata(AVCodecParameters& to, const std::uint8_t* data, int size) {
    to.extradata =
        static_cast<std::uint8_t*>(av_mallocz(static_cast<std::size_t>(size) + AV_INPUT_BUFFER_PADDING_SIZE));
    if (to.extradata == nullptr) {
        return false;
    }
    std::memcpy(to.extradata, data, static_cast<std::size_t>(size));
    to.extradata_size = size;
    return true;
}

SoundFrame frameOf(const std::uint8_t* data, std::size_t size, std::int64_t pts, const Stamp& stamp) {
    SoundFrame frame;
    frame.data.assign(data, data + size);
    frame.stamp = {pts, kNoTime, stamp.arrival};
    return frame;
}

}  // namespace

std::string SoundTrack::push(const SoundChunk& chunk, std::vector<SoundFrame>& frames) {
    if (m_refused || chunk.parameters == nullptr) {
        return {};
    }
    if (m_source == nullptr) {
        m_source = chunk.parameters;
    }
    const AVCodecID codec = chunk.parameters->codec_id;
    if (codec != m_source->codec_id || !mp4Takes(codec)) {
        m_refused = true;
        return std::string("sound in ") + avcodec_get_name(codec) + " is left out";
    }
    if (chunk.whole) {
        if (!whole(chunk, frames)) {
            return std::string("sound in ") + avcodec_get_name(codec) + " without a description is left out";
        }
    } else if (codec == AV_CODEC_ID_AAC) {
        adts(chunk, frames);
    } else {
        parse(chunk, frames);
    }
    return {};
}

bool SoundTrack::begin(const AVCodecParameters& like) {
    ParametersPtr track(avcodec_parameters_alloc());
    if (track == nullptr || avcodec_parameters_copy(track.get(), &like) < 0) {
        return false;
    }
    track->codec_type = AVMEDIA_TYPE_AUDIO;
    track->codec_tag = 0;
    m_track = std::move(track);
    return true;
}

void SoundTrack::adts(const SoundChunk& chunk, std::vector<SoundFrame>& frames) {
    bool first = true;
    m_splitter.push(chunk.data.data(), chunk.data.size(), [&](const AdtsFrame& frame) {
        if (m_track == nullptr && begin(*chunk.parameters)) {
            // ISO/IEC 14496-3 1.6.2.1: object type, rate and channels.
            const auto bits = static_cast<unsigned>((frame.object_type << 11) | (frame.rate_index << 7) |
                                                    (frame.channels << 3));
            const std::uint8_t configuration[] = {static_cast<std::uint8_t>(bits >> 8),
                                                  static_cast<std::uint8_t>(bits)};
            setExtradata(*m_track, configuration, 2);
            m_track->sample_rate = frame.sample_rate;
            m_track->frame_size = kAacSamples;
            av_channel_layout_default(&m_track->ch_layout, frame.channels == 7 ? 8 : frame.channels);
            m_rateIndex = frame.rate_index;
        }
        if (m_track == nullptr || frame.rate_index != m_rateIndex) {
            return;
        }
        const bool stamped = first && frame.begins_in_piece;
        frames.push_back(frameOf(frame.data, frame.size, stamped ? chunk.stamp.pts : kNoTime, chunk.stamp));
        frames.back().samples = kAacSamples;
        first = first && !stamped;
    });
}

bool SoundTrack::whole(const SoundChunk& chunk, std::vector<SoundFrame>& frames) {
    if (m_track == nullptr &&
        (!begin(*chunk.parameters) || !readConfiguration() || m_track->sample_rate <= 0)) {
        m_track.reset();
        m_refused = true;
        return false;
    }
    frames.push_back(frameOf(chunk.data.data(), chunk.data.size(), chunk.stamp.pts, chunk.stamp));
    frames.back().samples = av_get_audio_frame_duration2(m_track.get(), static_cast<int>(chunk.data.size()));
    return true;
}

// Receivers know of AAC often no more than its configuration.
bool SoundTrack::readConfiguration() {
    AacConfiguration told;
    if (m_track->codec_id != AV_CODEC_ID_AAC) {
        return true;
    }
    if (m_track->extradata == nullptr ||
        !readAacConfiguration(m_track->extradata, static_cast<std::size_t>(m_track->extradata_size), told)) {
        return false;
    }
    m_track->sample_rate = told.sample_rate;
    m_track->frame_size = kAacSamples;
    if (told.channels > 0) {
        av_channel_layout_uninit(&m_track->ch_layout);
        av_channel_layout_default(&m_track->ch_layout, told.channels == 7 ? 8 : told.channels);
    }
    return true;
}

void SoundTrack::parse(const SoundChunk& chunk, std::vector<SoundFrame>& frames) {
    if (!m_parser.isOpen()) {
        m_context.reset(avcodec_alloc_context3(nullptr));
        if (m_context == nullptr || !m_parser.open(chunk.parameters->codec_id)) {
            m_refused = true;
            return;
        }
        m_context->codec_type = AVMEDIA_TYPE_AUDIO;
        m_context->codec_id = chunk.parameters->codec_id;
    }
    m_parser.push(*m_context, chunk.data.data(), chunk.data.size(), chunk.stamp.pts,
                  [&](const SoundParser::Frame& frame) {
                      if (m_track == nullptr && m_context->sample_rate > 0 && begin(*chunk.parameters)) {
                          avcodec_parameters_from_context(m_track.get(), m_context.get());
                      }
                      if (m_track == nullptr) {
                          return;
                      }
                      const auto size = static_cast<int>(frame.size);
                      frames.push_back(frameOf(frame.data, frame.size, frame.pts, chunk.stamp));
                      frames.back().samples = frame.samples > 0
                                                  ? frame.samples
                                                  : av_get_audio_frame_duration2(m_track.get(), size);
                  });
}

}  // namespace tavrik
