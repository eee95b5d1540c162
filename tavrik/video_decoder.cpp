#include "tavrik/video_decoder.h"

extern "C" {
#include <libavutil/hwcontext.h>
}

#include <algorithm>
#include <cstring>
#include <thread>

namespace tavrik {
namespace {

constexpr int kFailuresBeforeSoftware = 20;
constexpr unsigned kMaxSliceThreads = 4;

// The device's format if offered, else the first in system memory: the codec may not suit the device.
AVPixelFormat pickFormat(AVCodecContext* context, const AVPixelFormat* offered) {
    const bool wants_cuda =
        context->hw_device_ctx != nullptr &&
        reinterpret_cast<AVHWDeviceContext*>(context->hw_device_ctx->data)->type == AV_HWDEVICE_TYPE_CUDA;
    for (const AVPixelFormat* f = offered; wants_cuda && *f != AV_PIX_FMT_NONE; ++f) {
        if (*f == AV_PIX_FMT_CUDA) return *f;
    }
    for (const AVPixelFormat* f = offered; *f != AV_PIX_FMT_NONE; ++f) {
        const bool in_memory = *f != AV_PIX_FMT_CUDA && *f != AV_PIX_FMT_QSV && *f != AV_PIX_FMT_VAAPI &&
                               *f != AV_PIX_FMT_VDPAU && *f != AV_PIX_FMT_VULKAN && *f != AV_PIX_FMT_D3D11 &&
                               *f != AV_PIX_FMT_D3D11VA_VLD && *f != AV_PIX_FMT_DXVA2_VLD &&
                               *f != AV_PIX_FMT_DRM_PRIME;
        if (in_memory) return *f;
    }
    return AV_PIX_FMT_NONE;
}

const AVCodec* decoderFor(AVCodecID codec, DecoderKind kind) {
    if (kind != DecoderKind::QuickSync) return avcodec_find_decoder(codec);
    if (codec == AV_CODEC_ID_H264) return avcodec_find_decoder_by_name("h264_qsv");
    if (codec == AV_CODEC_ID_HEVC) return avcodec_find_decoder_by_name("hevc_qsv");
    return nullptr;
}

}  // namespace

VideoDecoder::VideoDecoder(DecoderKind kind, Options options, Sink sink)
    : kind_(kind),
      options_(std::move(options)),
      sink_(std::move(sink)),
      frame_(av_frame_alloc()),
      downloaded_(av_frame_alloc()),
      packet_(av_packet_alloc()) {}

bool VideoDecoder::open(AVCodecID codec, const AVCodecParameters* parameters, bool low_delay) {
    codec_ = codec;
    low_delay_ = low_delay;
    failures_ = 0;
    parameters_.reset();
    if (parameters != nullptr) {
        parameters_.reset(avcodec_parameters_alloc());
        if (parameters_ == nullptr || avcodec_parameters_copy(parameters_.get(), parameters) < 0)
            return false;
    }
    context_ = openContext(kind_);
    open_kind_ = kind_;
    if (context_ == nullptr && kind_ != DecoderKind::Software) {
        context_ = openContext(DecoderKind::Software);
        open_kind_ = DecoderKind::Software;
    }
    return context_ != nullptr && frame_ != nullptr && downloaded_ != nullptr && packet_ != nullptr;
}

CodecContextPtr VideoDecoder::openContext(DecoderKind kind) {
    BufferPtr device = hardwareDevice(kind);
    if (kind != DecoderKind::Software && device == nullptr) return nullptr;
    const AVCodec* decoder = decoderFor(codec_, kind);
    if (decoder == nullptr) return nullptr;
    CodecContextPtr context(avcodec_alloc_context3(decoder));
    if (context == nullptr) return nullptr;
    if (parameters_ != nullptr && avcodec_parameters_to_context(context.get(), parameters_.get()) < 0)
        return nullptr;
    context->get_format = pickFormat;
    context->hw_device_ctx = device.release();
    if (low_delay_) context->flags |= AV_CODEC_FLAG_LOW_DELAY;
    // Threads over the slices of one picture cost no delay; threads over pictures cost one picture each.
    context->thread_type = low_delay_ ? FF_THREAD_SLICE : FF_THREAD_SLICE | FF_THREAD_FRAME;
    context->thread_count =
        kind == DecoderKind::Software
            ? static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1u, kMaxSliceThreads))
            : 1;
    Dictionary options;
    if (kind == DecoderKind::QuickSync) options.set("async_depth", "1");
    for (const auto& [key, value] : options_)
        options.set(key.c_str(), value.c_str());
    if (avcodec_open2(context.get(), decoder, options.out()) < 0) return nullptr;
    return context;
}

void VideoDecoder::decode(const std::uint8_t* data, std::size_t size, std::int64_t pts) {
    if (context_ == nullptr || size > static_cast<std::size_t>(INT32_MAX) - AV_INPUT_BUFFER_PADDING_SIZE)
        return;
    if (av_new_packet(packet_.get(), static_cast<int>(size)) < 0) return;
    std::memcpy(packet_->data, data, size);
    packet_->pts = pts;
    decode(packet_.get());
    av_packet_unref(packet_.get());
}

void VideoDecoder::decode(const AVPacket* packet) {
    if (context_ == nullptr) return;
    int result = avcodec_send_packet(context_.get(), packet);
    if (result == AVERROR(EAGAIN)) {
        receiveAll();
        result = avcodec_send_packet(context_.get(), packet);
    }
    noteResult(result < 0);
    receiveAll();
}

void VideoDecoder::drain() {
    if (context_ == nullptr) return;
    avcodec_send_packet(context_.get(), nullptr);
    receiveAll();
}

void VideoDecoder::flush() {
    if (context_ != nullptr) avcodec_flush_buffers(context_.get());
}

void VideoDecoder::receiveAll() {
    while (context_ != nullptr) {
        const int result = avcodec_receive_frame(context_.get(), frame_.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return;
        if (result < 0) {
            noteResult(true);
            return;
        }
        failures_ = 0;
        deliver(frame_.get());
        av_frame_unref(frame_.get());
    }
}

void VideoDecoder::deliver(AVFrame* frame) {
    if (frame->hw_frames_ctx == nullptr) {
        sink_(frame);
        return;
    }
    if (av_hwframe_transfer_data(downloaded_.get(), frame, 0) < 0) {
        noteResult(true);
    } else {
        av_frame_copy_props(downloaded_.get(), frame);
        sink_(downloaded_.get());
    }
    av_frame_unref(downloaded_.get());
}

// A device that takes the stream and then fails at every picture (a profile it does not know) is given up.
void VideoDecoder::noteResult(bool failed) {
    if (!failed || open_kind_ == DecoderKind::Software || ++failures_ < kFailuresBeforeSoftware) return;
    kind_ = open_kind_ = DecoderKind::Software;
    context_ = openContext(DecoderKind::Software);
}

}  // namespace tavrik
