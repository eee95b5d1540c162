#include "tavrik/network_source.h"

#include <chrono>

#include "tavrik/callback_gate.h"
#include "tavrik/host_lookup.h"

namespace tavrik {
namespace {

constexpr int kLookUpMs = 10000;
constexpr std::int64_t kOpenUs = 10000000;
constexpr std::int64_t kGoodbyeUs = 200000;
constexpr int kTryAgainMs = 5;

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
    for (const auto& [key, value] : given)
        options.set(key.c_str(), value.c_str());
    options.set("protocol_whitelist", "rtp,udp,tcp,tls,http,https,httpproxy,srtp");
}

const char* annexBFilter(const AVCodecParameters* format) {
    // The configuration record of MP4 and FLV begins with its version, 1; Annex B begins with a start code.
    const bool length_prefixed = format->extradata_size >= 7 && format->extradata[0] == 1;
    if (length_prefixed && format->codec_id == AV_CODEC_ID_H264) return "h264_mp4toannexb";
    if (length_prefixed && format->codec_id == AV_CODEC_ID_HEVC) return "hevc_mp4toannexb";
    return nullptr;
}

}  // namespace

int NetworkSource::interrupted(void* opaque) {
    const auto* self = static_cast<const NetworkSource*>(opaque);
    const std::int64_t deadline = self->deadline_us_;
    if (deadline != 0 && nowUs() > deadline) return 1;
    return !self->saying_goodbye_ && self->sink_->stopped() ? 1 : 0;
}

void NetworkSource::run(SourceSink& sink) {
    sink_ = &sink;
    const std::string address = reachableAddress(sink);
    if (address.empty()) return;
    FormatPtr format = open(sink, address);
    if (format == nullptr) return;
    deadline_us_ = 0;
    read(sink, format.get());
    // Closing tells the server to stop sending, which matters over UDP; a hanging server gets little time for
    // it.
    deadline_us_ = nowUs() + kGoodbyeUs;
    saying_goodbye_ = true;
    format.reset();
}

// A name is looked up here because a look-up inside FFmpeg cannot be interrupted. Over TLS the name stays,
// the server's certificate hangs on it.
std::string NetworkSource::reachableAddress(SourceSink& sink) {
    if (address_.numeric_host) return networkAddressWithHost(address_, address_.host);
    const auto found = lookUpHost(address_.host, kLookUpMs, [&sink] { return sink.stopped(); });
    if (!found) return {};
    const bool keep_name = address_.scheme != "rtsp";
    return networkAddressWithHost(address_, keep_name ? address_.host : *found);
}

FormatPtr NetworkSource::open(SourceSink& sink, const std::string& address) {
    AVFormatContext* format = avformat_alloc_context();
    if (format == nullptr) return nullptr;
    format->interrupt_callback = {interrupted, this};
    // FFmpeg's parser holds each picture until the next begins; pictures are put together on our side
    // instead. The stream info is never probed: that costs a second and the first key picture.
    format->flags |= AVFMT_FLAG_NOPARSE | AVFMT_FLAG_NOFILLIN;
    Dictionary options;
    fillOptions(options, options_, sink.wantsAudio());
    deadline_us_ = nowUs() + kOpenUs;
    if (avformat_open_input(&format, address.c_str(), nullptr, options.out()) < 0) return nullptr;
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
        if (result < 0) return;
        const AVStream* stream = format->streams[packet->stream_index];
        const AVMediaType type = stream->codecpar->codec_type;
        if (video_index_ < 0 && type == AVMEDIA_TYPE_VIDEO) video_index_ = stream->index;
        if (audio_index_ < 0 && type == AVMEDIA_TYPE_AUDIO) audio_index_ = stream->index;
        if (stream->index == video_index_) {
            passVideo(sink, stream, packet.get());
        } else if (stream->index == audio_index_ && sink.wantsAudio()) {
            sink.onAudioPacket(packet.get(), stream->codecpar);
        }
        av_packet_unref(packet.get());
    }
}

void NetworkSource::passVideo(SourceSink& sink, const AVStream* stream, AVPacket* packet) {
    if (video_format_ == nullptr && !prepareVideo(stream)) return;
    if (to_annex_b_ == nullptr) {
        sink.onVideoPacket(packet, video_format_);
        return;
    }
    if (av_bsf_send_packet(to_annex_b_.get(), packet) < 0) return;
    while (av_bsf_receive_packet(to_annex_b_.get(), packet) >= 0) {
        sink.onVideoPacket(packet, video_format_);
        av_packet_unref(packet);
    }
}

bool NetworkSource::prepareVideo(const AVStream* stream) {
    std::shared_ptr<AVCodecParameters> format(avcodec_parameters_alloc(), AvFree());
    if (format == nullptr || avcodec_parameters_copy(format.get(), stream->codecpar) < 0) return false;
    if (const char* name = annexBFilter(format.get())) {
        AVBSFContext* filter = nullptr;
        if (av_bsf_alloc(av_bsf_get_by_name(name), &filter) < 0) return false;
        to_annex_b_.reset(filter);
        if (avcodec_parameters_copy(filter->par_in, format.get()) < 0 || av_bsf_init(filter) < 0)
            return false;
        if (avcodec_parameters_copy(format.get(), filter->par_out) < 0) return false;
    }
    video_format_ = std::move(format);
    return true;
}

}  // namespace tavrik
