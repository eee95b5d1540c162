#include "tavrik/still_writer.h"

extern "C" {
#include <libswscale/swscale.h>
}

#include <cstdint>
#include <filesystem>
#include <memory>
#include <system_error>

#include "tavrik/capture_file.h"
#include "tavrik/ffmpeg_ptr.h"

namespace tavrik {
namespace {

constexpr int kQuality = 2;        // the encoder's scale, 2 is the best
constexpr int kSdHeight = 576;     // above it an unstated matrix is that of high definition
constexpr int kNeutral = 1 << 16;  // contrast and saturation

struct FreeScaler {
    void operator()(SwsContext* p) const { sws_freeContext(p); }
};

bool isFullRange(const AVFrame& picture) {
    return picture.color_range == AVCOL_RANGE_JPEG || picture.format == AV_PIX_FMT_YUVJ420P ||
           picture.format == AV_PIX_FMT_YUVJ422P || picture.format == AV_PIX_FMT_YUVJ444P;
}

// JPEG's own colours: BT.601, full range.
FramePtr forJpeg(const AVFrame& picture) {
    FramePtr out(av_frame_alloc());
    if (out == nullptr) {
        return nullptr;
    }
    out->format = AV_PIX_FMT_YUVJ420P;
    out->width = picture.width;
    out->height = picture.height;
    out->color_range = AVCOL_RANGE_JPEG;
    if (av_frame_get_buffer(out.get(), 0) < 0) {
        return nullptr;
    }
    const std::unique_ptr<SwsContext, FreeScaler> scaler(sws_getContext(
        picture.width, picture.height, static_cast<AVPixelFormat>(picture.format), picture.width,
        picture.height, AV_PIX_FMT_YUVJ420P, SWS_BICUBIC | SWS_ACCURATE_RND, nullptr, nullptr, nullptr));
    if (scaler == nullptr) {
        return nullptr;
    }
    const bool high = picture.colorspace == AVCOL_SPC_BT709 ||
                      (picture.colorspace == AVCOL_SPC_UNSPECIFIED && picture.height > kSdHeight);
    sws_setColorspaceDetails(scaler.get(), sws_getCoefficients(high ? SWS_CS_ITU709 : SWS_CS_ITU601),
                             isFullRange(picture) ? 1 : 0, sws_getCoefficients(SWS_CS_ITU601), 1, 0, kNeutral,
                             kNeutral);
    const int rows =
        sws_scale(scaler.get(), picture.data, picture.linesize, 0, picture.height, out->data, out->linesize);
    return rows > 0 ? std::move(out) : nullptr;
}

PacketPtr encode(FramePtr picture) {
    const AVCodec* const encoder = avcodec_find_encoder(AV_CODEC_ID_MJPEG);
    const CodecContextPtr context(avcodec_alloc_context3(encoder));
    PacketPtr packet(av_packet_alloc());
    if (encoder == nullptr || context == nullptr || packet == nullptr) {
        return nullptr;
    }
    context->width = picture->width;
    context->height = picture->height;
    context->pix_fmt = AV_PIX_FMT_YUVJ420P;
    context->color_range = AVCOL_RANGE_JPEG;
    context->time_base = {1, 25};
    context->thread_count = 1;
    context->flags |= AV_CODEC_FLAG_QSCALE;
    context->global_quality = kQuality * FF_QP2LAMBDA;
    picture->quality = context->global_quality;
    picture->pts = 0;
    const bool done = avcodec_open2(context.get(), encoder, nullptr) >= 0 &&
                      avcodec_send_frame(context.get(), picture.get()) >= 0 &&
                      avcodec_receive_packet(context.get(), packet.get()) >= 0;
    return done ? std::move(packet) : nullptr;
}

}  // namespace

std::string writeStill(const AVFrame& picture, const std::string& path) {
    FramePtr ready = forJpeg(picture);
    const PacketPtr jpeg = ready != nullptr ? encode(std::move(ready)) : nullptr;
    if (jpeg == nullptr) {
        return "the picture could not be encoded";
    }
    const auto place = std::filesystem::u8path(path);
    std::error_code error;
    std::filesystem::create_directories(place.parent_path(), error);
    // Under another name first, so that nobody opens half a picture.
    const std::string part = path + ".part";
    CaptureFile file;
    if (!file.open(part)) {
        return file.error();
    }
    if (!file.append(jpeg->data, static_cast<std::size_t>(jpeg->size)) || !file.close()) {
        const std::string why = file.error();
        file.close();
        std::filesystem::remove(std::filesystem::u8path(part), error);
        return why;
    }
    std::filesystem::rename(std::filesystem::u8path(part), place, error);
    if (!error) {
        return {};
    }
    const std::string why = error.message();
    std::filesystem::remove(std::filesystem::u8path(part), error);
    return why;
}

}  // namespace tavrik
