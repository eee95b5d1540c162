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
constexpr int kShowAllFlag = AV_CODEC_FLAG_OUTPUT_CORRUPT;
constexpr int kShowAllFlag2 = AV_CODEC_FLAG2_SHOW_ALL;

// The device's format if offered, else the first in system memory: the codec may not suit the device.
AVPixelFormat pickFormat(AVCodecContext* context, const AVPixelFormat* offered) {
    const bool wants_cuda =
        context->hw_device_ctx != nullptr &&
        reinterpret_cast<AVHWDeviceContext*>(context->hw_device_ctx->data)->type == AV_HWDEVICE_TYPE_CUDA;
    for (const AVPixelFormat* f = offered; wants_cuda && *f != AV_PIX_FMT_NONE; ++f) {
        if (*f == AV_PIX_FMT_CUDA) {
            return *f;
        }
    }
    for (const AVPixelFormat* f = offered; *f != AV_PIX_FMT_NONE; ++f) {
        const bool in_memory = *f != AV_PIX_FMT_CUDA && *f != AV_PIX_FMT_QSV && *f != AV_PIX_FMT_VAAPI &&
                               *f != AV_PIX_FMT_VDPAU && *f != AV_PIX_FMT_VULKAN && *f != AV_PIX_FMT_D3D11 &&
                               *f != AV_PIX_FMT_D3D11VA_VLD && *f != AV_PIX_FMT_DXVA2_VLD &&
                               *f != AV_PIX_FMT_DRM_PRIME;
        if (in_memory) {
            return *f;
        }
    }
    return AV_PIX_FMT_NONE;
}

const AVCodec* decoderFor(AVCodecID codec, DecoderKind kind) {
    if (kind != DecoderKind::kQuickSync) {
        return avcodec_find_decoder(codec);
    }
    if (codec == AV_CODEC_ID_H264) {
        return avcodec_find_decoder_by_name("h264_qsv");
    }
    if (codec == AV_CODEC_ID_HEVC) {
        return avcodec_find_decoder_by_name("hevc_qsv");
    }
    return nullptr;
}

}  // namespace

VideoDecoder::VideoDecoder(DecoderKind kind, Options options, Sink sink)
    : m_kind(kind),
      m_options(std::move(options)),
      m_sink(std::move(sink)),
      m_frame(av_frame_alloc()),
      m_downloaded(av_frame_alloc()),
      m_packet(av_packet_alloc()) {}

bool VideoDecoder::open(AVCodecID codec, const AVCodecParameters* parameters, bool low_delay) {
    m_codec = codec;
    m_lowDelay = low_delay;
    m_failures = 0;
    m_parameters.reset();
    if (parameters != nullptr) {
        m_parameters.reset(avcodec_parameters_alloc());
        if (m_parameters == nullptr || avcodec_parameters_copy(m_parameters.get(), parameters) < 0) {
            return false;
        }
    }
    m_context = openContext(m_kind);
    m_openKind = m_kind;
    if (m_context == nullptr && m_kind != DecoderKind::kSoftware) {
        m_context = openContext(DecoderKind::kSoftware);
        m_openKind = DecoderKind::kSoftware;
    }
    return m_context != nullptr && m_frame != nullptr && m_downloaded != nullptr && m_packet != nullptr;
}

CodecContextPtr VideoDecoder::openContext(DecoderKind kind) {
    BufferPtr device = hardwareDevice(kind);
    if (kind != DecoderKind::kSoftware && device == nullptr) {
        return nullptr;
    }
    const AVCodec* decoder = decoderFor(m_codec, kind);
    if (decoder == nullptr) {
        return nullptr;
    }
    CodecContextPtr context(avcodec_alloc_context3(decoder));
    if (context == nullptr) {
        return nullptr;
    }
    if (m_parameters != nullptr && avcodec_parameters_to_context(context.get(), m_parameters.get()) < 0) {
        return nullptr;
    }
    context->get_format = pickFormat;
    context->hw_device_ctx = device.release();
    if (m_lowDelay) {
        context->flags |= AV_CODEC_FLAG_LOW_DELAY;
    }
    // Threads over the slices of one picture cost no delay; threads over pictures cost one picture each.
    context->thread_type = m_lowDelay ? FF_THREAD_SLICE : FF_THREAD_SLICE | FF_THREAD_FRAME;
    context->thread_count =
        kind == DecoderKind::kSoftware
            ? static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1u, kMaxSliceThreads))
            : 1;
    Dictionary options;
    if (kind == DecoderKind::kQuickSync) {
        options.set("async_depth", "1");
    }
    for (const auto& [key, value] : m_options) {
        options.set(key.c_str(), value.c_str());
    }
    if (avcodec_open2(context.get(), decoder, options.out()) < 0) {
        return nullptr;
    }
    m_ownFlags = context->flags;
    m_ownFlags2 = context->flags2;
    applyShowAll(context.get());
    return context;
}

void VideoDecoder::decode(const std::uint8_t* data, std::size_t size, std::int64_t pts) {
    if (m_context == nullptr || size > static_cast<std::size_t>(INT32_MAX) - AV_INPUT_BUFFER_PADDING_SIZE) {
        return;
    }
    if (av_new_packet(m_packet.get(), static_cast<int>(size)) < 0) {
        return;
    }
    std::memcpy(m_packet->data, data, size);
    m_packet->pts = pts;
    decode(m_packet.get());
    av_packet_unref(m_packet.get());
}

void VideoDecoder::decode(const AVPacket* packet) {
    if (m_context == nullptr) {
        return;
    }
    int result = avcodec_send_packet(m_context.get(), packet);
    if (result == AVERROR(EAGAIN)) {
        receiveAll();
        result = avcodec_send_packet(m_context.get(), packet);
    }
    noteResult(result < 0);
    receiveAll();
}

void VideoDecoder::drain() {
    if (m_context == nullptr) {
        return;
    }
    avcodec_send_packet(m_context.get(), nullptr);
    receiveAll();
}

void VideoDecoder::flush() {
    if (m_context != nullptr) {
        avcodec_flush_buffers(m_context.get());
    }
}

void VideoDecoder::showAll(bool all) {
    if (m_showAll == all) {
        return;
    }
    m_showAll = all;
    if (m_context == nullptr) {
        return;
    }
    // What the options ask for stays.
    m_context->flags ^= m_context->flags & kShowAllFlag & ~m_ownFlags;
    m_context->flags2 ^= m_context->flags2 & kShowAllFlag2 & ~m_ownFlags2;
    applyShowAll(m_context.get());
}

void VideoDecoder::applyShowAll(AVCodecContext* context) const {
    context->flags |= m_showAll ? kShowAllFlag : 0;
    context->flags2 |= m_showAll ? kShowAllFlag2 : 0;
}

void VideoDecoder::receiveAll() {
    while (m_context != nullptr) {
        const int result = avcodec_receive_frame(m_context.get(), m_frame.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) {
            return;
        }
        if (result < 0) {
            noteResult(true);
            return;
        }
        m_failures = 0;
        deliver(m_frame.get());
        av_frame_unref(m_frame.get());
    }
}

void VideoDecoder::deliver(AVFrame* frame) {
    if (frame->hw_frames_ctx == nullptr) {
        m_sink(frame);
        return;
    }
    if (av_hwframe_transfer_data(m_downloaded.get(), frame, 0) < 0) {
        noteResult(true);
    } else {
        av_frame_copy_props(m_downloaded.get(), frame);
        m_sink(m_downloaded.get());
    }
    av_frame_unref(m_downloaded.get());
}

// A device that takes the stream and then fails at every picture (a profile it does not know) is given up.
void VideoDecoder::noteResult(bool failed) {
    if (!failed || m_openKind == DecoderKind::kSoftware || ++m_failures < kFailuresBeforeSoftware) {
        return;
    }
    m_kind = m_openKind = DecoderKind::kSoftware;
    m_context = openContext(DecoderKind::kSoftware);
}

}  // namespace tavrik
