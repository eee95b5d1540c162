#include "simulator/stream/clip_source.h"

extern "C" {
#include <libavcodec/bsf.h>
#include <libavformat/avformat.h>
}

#include <algorithm>

namespace podsim {
namespace {

struct Freed {
    void operator()(AVFormatContext* p) const { avformat_close_input(&p); }
    void operator()(AVBSFContext* p) const { av_bsf_free(&p); }
    void operator()(AVPacket* p) const { av_packet_free(&p); }
};
using Format = std::unique_ptr<AVFormatContext, Freed>;
using Filter = std::unique_ptr<AVBSFContext, Freed>;

Filter openFilter(const AVStream& stream, bool h264) {
    const AVBitStreamFilter* kind = av_bsf_get_by_name(h264 ? "h264_mp4toannexb" : "hevc_mp4toannexb");
    AVBSFContext* context = nullptr;
    if (kind == nullptr || av_bsf_alloc(kind, &context) < 0) {
        return nullptr;
    }
    Filter filter(context);
    context->time_base_in = stream.time_base;
    const bool good =
        avcodec_parameters_copy(context->par_in, stream.codecpar) >= 0 && av_bsf_init(context) >= 0;
    return good ? std::move(filter) : nullptr;
}

class FileClip final : public ClipSource {
public:
    explicit FileClip(std::string path) : m_path("file:" + std::move(path)), m_packet(av_packet_alloc()) {}

    // From the first picture on. False with a reason when it is no such file.
    bool begin(std::string& error) {
        m_filter.reset();
        m_format.reset();
        error = "cannot be read as a clip";
        AVFormatContext* context = nullptr;
        if (m_packet == nullptr || avformat_open_input(&context, m_path.c_str(), nullptr, nullptr) < 0) {
            return false;
        }
        m_format.reset(context);
        if (avformat_find_stream_info(context, nullptr) < 0) {
            return false;
        }
        m_index = av_find_best_stream(context, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
        const AVCodecID codec =
            m_index >= 0 ? context->streams[m_index]->codecpar->codec_id : AV_CODEC_ID_NONE;
        if (codec != AV_CODEC_ID_H264 && codec != AV_CODEC_ID_HEVC) {
            error = "has no pictures of H.264 or H.265";
            return false;
        }
        m_filter = openFilter(*context->streams[m_index], codec == AV_CODEC_ID_H264);
        return m_filter != nullptr;
    }

    void adopt(EncoderSettings& settings) const override {
        const AVStream& stream = *m_format->streams[m_index];
        settings.codec = stream.codecpar->codec_id == AV_CODEC_ID_H264 ? Codec::kH264 : Codec::kH265;
        settings.width = stream.codecpar->width;
        settings.height = stream.codecpar->height;
        if (stream.avg_frame_rate.num > 0 && stream.avg_frame_rate.den > 0) {
            settings.fps = static_cast<int>(std::clamp(av_q2d(stream.avg_frame_rate) + 0.5, 1.0, 240.0));
        }
    }

    bool next(AccessUnit& out) override {
        out = {};
        // A file without one good picture would be searched for ever.
        for (int rounds = 0; rounds < 2 && m_filter != nullptr;) {
            if (av_bsf_receive_packet(m_filter.get(), m_packet.get()) == 0) {
                out.bytes.assign(m_packet->data, m_packet->data + m_packet->size);
                out.key_frame = (m_packet->flags & AV_PKT_FLAG_KEY) != 0;
                av_packet_unref(m_packet.get());
                return !out.bytes.empty();
            }
            std::string ignored;
            if (!feed() && (++rounds == 2 || !begin(ignored))) {
                return false;
            }
        }
        return false;
    }

private:
    // The file's next packet into the filter; false at its end.
    bool feed() {
        while (av_read_frame(m_format.get(), m_packet.get()) >= 0) {
            if (m_packet->stream_index == m_index &&
                av_bsf_send_packet(m_filter.get(), m_packet.get()) >= 0) {
                return true;
            }
            av_packet_unref(m_packet.get());
        }
        return false;
    }

    std::string m_path;
    Format m_format;
    Filter m_filter;
    std::unique_ptr<AVPacket, Freed> m_packet;
    int m_index = -1;
};

}  // namespace

std::unique_ptr<ClipSource> ClipSource::open(const std::string& path, std::string& error) {
    av_log_set_level(AV_LOG_FATAL);
    auto clip = std::make_unique<FileClip>(path);
    if (!clip->begin(error)) {
        error = path + ": " + error;
        return nullptr;
    }
    error.clear();
    return clip;
}

}  // namespace podsim
