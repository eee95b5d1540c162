#include "tavrik/mp4_muxer.h"

#include <cstring>

namespace tavrik {
namespace {

constexpr int kBufferBytes = 64 << 10;
constexpr AVRational kPictureUnit{1, 90000};

}  // namespace

Mp4Muxer::~Mp4Muxer() {
    if (m_format == nullptr) {
        return;
    }
    if (m_format->pb != nullptr) {
        av_freep(&m_format->pb->buffer);
        avio_context_free(&m_format->pb);
    }
    avformat_free_context(m_format);
}

bool Mp4Muxer::fail(int code) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof(text));
    m_error = std::string("MP4: ") + text;
    return false;
}

int Mp4Muxer::take(void* self, std::uint8_t* data, int size) {
    auto& out = static_cast<Mp4Muxer*>(self)->m_out;
    out.insert(out.end(), data, data + size);
    return size;
}

bool Mp4Muxer::open(const std::string& path) {
    if (!m_file.open(path)) {
        m_error = m_file.error();
        return false;
    }
    m_packet.reset(av_packet_alloc());
    const int result = avformat_alloc_output_context2(&m_format, nullptr, "mp4", nullptr);
    auto* buffer = static_cast<std::uint8_t*>(av_malloc(kBufferBytes));
    if (result < 0 || buffer == nullptr || m_packet == nullptr) {
        av_free(buffer);
        return fail(AVERROR(ENOMEM));
    }
    m_format->pb = avio_alloc_context(buffer, kBufferBytes, 1, this, nullptr, take, nullptr);
    if (m_format->pb == nullptr) {
        av_free(buffer);
        return fail(AVERROR(ENOMEM));
    }
    m_format->pb->seekable = 0;
    m_format->avoid_negative_ts = AVFMT_AVOID_NEG_TS_DISABLED;
    return true;
}

bool Mp4Muxer::addVideo(const Video& video) {
    m_video = avformat_new_stream(m_format, nullptr);
    if (m_video == nullptr) {
        return fail(AVERROR(ENOMEM));
    }
    AVCodecParameters* const to = m_video->codecpar;
    to->codec_type = AVMEDIA_TYPE_VIDEO;
    to->codec_id = video.codec;
    // The name under which other systems' players know H.265.
    to->codec_tag = video.codec == AV_CODEC_ID_HEVC ? MKTAG('h', 'v', 'c', '1') : 0;
    to->width = video.width;
    to->height = video.height;
    m_video->time_base = kPictureUnit;
    if (video.extradata_size == 0) {
        return true;
    }
    to->extradata =
        static_cast<std::uint8_t*>(av_mallocz(video.extradata_size + AV_INPUT_BUFFER_PADDING_SIZE));
    if (to->extradata == nullptr) {
        return fail(AVERROR(ENOMEM));
    }
    std::memcpy(to->extradata, video.extradata, video.extradata_size);
    to->extradata_size = static_cast<int>(video.extradata_size);
    return true;
}

bool Mp4Muxer::addSound(const AVCodecParameters* sound) {
    if (sound == nullptr) {
        return true;
    }
    m_sound = avformat_new_stream(m_format, nullptr);
    if (m_sound == nullptr || avcodec_parameters_copy(m_sound->codecpar, sound) < 0) {
        return fail(AVERROR(ENOMEM));
    }
    m_sound->time_base = {1, sound->sample_rate};
    return true;
}

bool Mp4Muxer::begin(const Video& video, const AVCodecParameters* sound) {
    if (!addVideo(video) || !addSound(sound)) {
        return false;
    }
    Dictionary options;
    options.set("movflags", "frag_custom+empty_moov+delay_moov+default_base_moof");
    const int result = avformat_write_header(m_format, options.out());
    if (result < 0) {
        return fail(result);
    }
    m_begun = true;
    return true;
}

bool Mp4Muxer::write(AVPacket& packet, const AVStream* stream, AVRational unit) {
    packet.stream_index = stream->index;
    av_packet_rescale_ts(&packet, unit, stream->time_base);
    const int result = av_write_frame(m_format, &packet);
    packet.data = nullptr;
    packet.size = 0;
    av_packet_unref(&packet);
    return result >= 0 || fail(result);
}

bool Mp4Muxer::picture(const std::uint8_t* data, std::size_t size, const CaptureTimes& times,
                       std::int64_t duration, bool key) {
    // The muxer copies; it never writes to what it is given.
    m_packet->data = const_cast<std::uint8_t*>(data);
    m_packet->size = static_cast<int>(size);
    m_packet->pts = times.pts;
    m_packet->dts = times.dts;
    m_packet->duration = duration;
    m_packet->flags = key ? AV_PKT_FLAG_KEY : 0;
    return write(*m_packet, m_video, kPictureUnit);
}

bool Mp4Muxer::sound(const std::vector<std::uint8_t>& data, std::int64_t at, int samples) {
    m_packet->data = const_cast<std::uint8_t*>(data.data());
    m_packet->size = static_cast<int>(data.size());
    m_packet->pts = m_packet->dts = at;
    m_packet->duration = samples;
    m_packet->flags = AV_PKT_FLAG_KEY;
    return write(*m_packet, m_sound, AVRational{1, m_sound->codecpar->sample_rate});
}

bool Mp4Muxer::flush() {
    // The first call of all writes the head alone.
    for (int i = 0; i < 2; ++i) {
        const int result = av_write_frame(m_format, nullptr);
        if (result < 0) {
            return fail(result);
        }
    }
    return store();
}

bool Mp4Muxer::store() {
    avio_flush(m_format->pb);
    const bool stored = m_file.append(m_out.data(), m_out.size());
    m_out.clear();
    if (!stored) {
        m_error = m_file.error();
    }
    return stored;
}

bool Mp4Muxer::finish() {
    if (m_begun) {
        const int result = av_write_trailer(m_format);
        if (result < 0) {
            return fail(result);
        }
        if (!store()) {
            return false;
        }
    }
    if (!m_file.close()) {
        m_error = m_file.error();
        return false;
    }
    return true;
}

}  // namespace tavrik
