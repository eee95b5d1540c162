#include "tavrik/network_source.h"

extern "C" {
#include <libavutil/mathematics.h>
}

#include <chrono>
#include <cstring>

#include "tavrik/callback_gate.h"
#include "tavrik/host_lookup.h"

namespace tavrik {
namespace {

constexpr int kLookUpMs = 10000;
constexpr std::int64_t kOpenUs = 10000000;
constexpr std::int64_t kGoodbyeUs = 200000;
constexpr int kTryAgainMs = 5;
// Where FFmpeg's demuxer of transport streams cuts a picture of unknown length in two.
constexpr int kTransportPieceBytes = 200 << 10;

std::int64_t nowUs() {
    return std::chrono::duration_cast<std::chrono::microseconds>(Clock::now().time_since_epoch()).count();
}

// What the operator writes wins over the defaults, but not over the protocols: an address or a playlist must
// not reach local files.
void fillOptions(Dictionary& options, const Options& given, bool audio) {
    options.set("rtsp_transport", "tcp");
    options.set("allowed_media_types", audio ? "video+audio" : "video");
    options.set("max_delay", "20000");
    options.set("buffer_size", "8388608");
    for (const auto& [key, value] : given) {
        options.set(key.c_str(), value.c_str());
    }
    options.set("protocol_whitelist", "rtp,udp,tcp,tls,http,https,httpproxy,srtp");
}

std::int64_t ticks(std::int64_t time, AVRational unit) {
    // Beyond this a time is made up, and differences would not fit.
    constexpr std::int64_t kMost = std::int64_t{1} << 60;
    const std::int64_t ticks =
        time != AV_NOPTS_VALUE ? av_rescale_q(time, unit, AVRational{1, 90000}) : kNoTime;
    return ticks > -kMost && ticks < kMost ? ticks : kNoTime;
}

Stamp stampOf(const AVPacket* packet, AVRational unit) {
    return {ticks(packet->pts, unit), ticks(packet->dts, unit), Clock::now()};
}

SharedParameters copyOf(const AVCodecParameters* parameters) {
    std::shared_ptr<AVCodecParameters> copy(avcodec_parameters_alloc(), AvFree());
    if (copy == nullptr || avcodec_parameters_copy(copy.get(), parameters) < 0) {
        return nullptr;
    }
    return copy;
}

const char* annexBFilter(const AVCodecParameters* format) {
    // The configuration record of MP4 and FLV begins with its version, 1; Annex B begins with a start code.
    const bool length_prefixed = format->extradata_size >= 7 && format->extradata[0] == 1;
    if (length_prefixed && format->codec_id == AV_CODEC_ID_H264) {
        return "h264_mp4toannexb";
    }
    if (length_prefixed && format->codec_id == AV_CODEC_ID_HEVC) {
        return "hevc_mp4toannexb";
    }
    return nullptr;
}

}  // namespace

int NetworkSource::interrupted(void* opaque) {
    const auto* self = static_cast<const NetworkSource*>(opaque);
    const std::int64_t deadline = self->m_deadlineUs;
    if (deadline != 0 && nowUs() > deadline) {
        return 1;
    }
    return !self->m_sayingGoodbye && self->m_sink->stopped() ? 1 : 0;
}

void NetworkSource::run(SourceSink& sink) {
    m_sink = &sink;
    FormatPtr format = openFirst(sink, reachableAddresses(sink));
    if (format == nullptr) {
        return;
    }
    m_deadlineUs = 0;
    const char* const name = format->iformat->name;
    m_wholePictures = std::strcmp(name, "rtsp") != 0;
    m_pictureLimit = std::strcmp(name, "mpegts") == 0 ? kTransportPieceBytes : 0;
    read(sink, format.get());
    // Closing tells the server to stop sending, which matters over UDP; a hanging server gets little time for
    // it.
    m_deadlineUs = nowUs() + kGoodbyeUs;
    m_sayingGoodbye = true;
    format.reset();
}

// A name is looked up here because a look-up inside FFmpeg cannot be interrupted. Over TLS the name stays,
// the server's certificate hangs on it; FFmpeg itself tries each of its addresses then.
std::vector<std::string> NetworkSource::reachableAddresses(SourceSink& sink) const {
    if (m_address.numeric_host) {
        return {networkAddressWithHost(m_address, m_address.host)};
    }
    const auto found = lookUpHost(m_address.host, kLookUpMs, [&sink] { return sink.stopped(); });
    if (!found.empty() && m_address.scheme != "rtsp") {
        return {networkAddressWithHost(m_address, m_address.host)};
    }
    std::vector<std::string> addresses;
    for (const std::string& host : found) {
        addresses.push_back(networkAddressWithHost(m_address, host));
    }
    return addresses;
}

// Null if none can be opened. One that swallows everything leaves time for the others.
FormatPtr NetworkSource::openFirst(SourceSink& sink, const std::vector<std::string>& addresses) {
    const std::int64_t end = nowUs() + kOpenUs;
    for (std::size_t i = 0; i < addresses.size() && !sink.stopped(); ++i) {
        const auto left = static_cast<std::int64_t>(addresses.size() - i);
        m_deadlineUs = nowUs() + (end - nowUs()) / left;
        FormatPtr format = open(sink, addresses[i]);
        if (format != nullptr) {
            return format;
        }
    }
    return nullptr;
}

FormatPtr NetworkSource::open(SourceSink& sink, const std::string& address) {
    AVFormatContext* format = avformat_alloc_context();
    if (format == nullptr) {
        return nullptr;
    }
    format->interrupt_callback = {interrupted, this};
    // FFmpeg's parser holds each picture until the next begins; pictures are put together on our side
    // instead. The stream info is never probed: that costs a second and the first key picture.
    format->flags |= AVFMT_FLAG_NOPARSE | AVFMT_FLAG_NOFILLIN;
    Dictionary options;
    fillOptions(options, m_options, sink.wantsAudio());
    if (avformat_open_input(&format, address.c_str(), nullptr, options.out()) < 0) {
        return nullptr;
    }
    return FormatPtr(format);
}

void NetworkSource::read(SourceSink& sink, AVFormatContext* format) {
    const PacketPtr packet(av_packet_alloc());
    while (packet != nullptr && !sink.stopped()) {
        const int result = av_read_frame(format, packet.get());
        if (result == AVERROR(EAGAIN)) {
            sink.pause(kTryAgainMs);
            continue;
        }
        if (result < 0) {
            return;
        }
        const AVStream* stream = format->streams[packet->stream_index];
        const AVMediaType type = stream->codecpar->codec_type;
        if (m_videoIndex < 0 && type == AVMEDIA_TYPE_VIDEO) {
            m_videoIndex = stream->index;
        }
        if (m_audioIndex < 0 && type == AVMEDIA_TYPE_AUDIO) {
            m_audioIndex = stream->index;
        }
        if (stream->index == m_videoIndex) {
            passVideo(sink, stream, packet.get());
        } else if (stream->index == m_audioIndex && sink.wantsAudio()) {
            passSound(sink, stream, packet.get());
        }
        av_packet_unref(packet.get());
    }
}

void NetworkSource::passVideo(SourceSink& sink, const AVStream* stream, AVPacket* packet) {
    if (m_videoFormat == nullptr && !prepareVideo(stream)) {
        return;
    }
    if (m_toAnnexB == nullptr) {
        passVideoPacket(sink, packet);
        return;
    }
    if (av_bsf_send_packet(m_toAnnexB.get(), packet) < 0) {
        return;
    }
    while (av_bsf_receive_packet(m_toAnnexB.get(), packet) >= 0) {
        passVideoPacket(sink, packet);
        av_packet_unref(packet);
    }
}

void NetworkSource::passVideoPacket(SourceSink& sink, const AVPacket* packet) {
    if (packet->size <= 0) {
        return;
    }
    VideoPiece piece{packet->data, static_cast<std::size_t>(packet->size), stampOf(packet, m_videoUnit)};
    // Pieces of one picture have one time. A codec with NALs shows its pictures' beginnings itself.
    const AVCodecID codec = m_videoFormat->codec_id;
    const bool nals = codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC;
    if (!m_wholePictures && !nals && m_lastTime != piece.stamp.pts) {
        VideoPiece end{nullptr, 0, {kNoTime, kNoTime, piece.stamp.arrival}};
        end.ends_picture = true;
        sink.onVideo(end, m_videoFormat);
    }
    m_lastTime = piece.stamp.pts;
    piece.ends_picture = m_wholePictures && (m_pictureLimit == 0 || packet->size < m_pictureLimit);
    piece.after_loss = (packet->flags & AV_PKT_FLAG_CORRUPT) != 0;
    sink.onVideo(piece, m_videoFormat);
}

void NetworkSource::passSound(SourceSink& sink, const AVStream* stream, const AVPacket* packet) {
    if (m_audioFormat == nullptr) {
        m_audioFormat = copyOf(stream->codecpar);
    }
    if (m_audioFormat != nullptr && packet->size > 0) {
        // The packets of a transport stream are no single frames.
        sink.onSound({packet->data, static_cast<std::size_t>(packet->size),
                      stampOf(packet, stream->time_base), m_pictureLimit == 0},
                     m_audioFormat);
    }
}

bool NetworkSource::prepareVideo(const AVStream* stream) {
    std::shared_ptr<AVCodecParameters> format(avcodec_parameters_alloc(), AvFree());
    if (format == nullptr || avcodec_parameters_copy(format.get(), stream->codecpar) < 0) {
        return false;
    }
    if (const char* name = annexBFilter(format.get())) {
        AVBSFContext* filter = nullptr;
        if (av_bsf_alloc(av_bsf_get_by_name(name), &filter) < 0) {
            return false;
        }
        m_toAnnexB.reset(filter);
        filter->time_base_in = stream->time_base;
        if (avcodec_parameters_copy(filter->par_in, format.get()) < 0 || av_bsf_init(filter) < 0) {
            return false;
        }
        if (avcodec_parameters_copy(format.get(), filter->par_out) < 0) {
            return false;
        }
    }
    m_videoFormat = std::move(format);
    m_videoUnit = m_toAnnexB != nullptr ? m_toAnnexB->time_base_out : stream->time_base;
    return true;
}

}  // namespace tavrik
