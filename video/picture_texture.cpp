#include "video/picture_texture.h"

#include <SDL.h>

extern "C" {
#include <libavutil/frame.h>
#include <libswscale/swscale.h>
}

namespace {

struct FrameDeleter {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};

void blacken(SDL_Renderer* renderer, const SDL_Rect& bar) {
    if (bar.w > 0 && bar.h > 0) {
        SDL_RenderFillRect(renderer, &bar);
    }
}

}  // namespace

struct PictureTexture::Frames {
    std::unique_ptr<AVFrame, FrameDeleter> scaled;
};

PictureTexture::PictureTexture() : m_frames(std::make_unique<Frames>()) {}

PictureTexture::~PictureTexture() {
    clear();
    sws_freeContext(m_scaler);
}

void PictureTexture::clear() {
    if (m_texture != nullptr) {
        SDL_DestroyTexture(m_texture);
        m_texture = nullptr;
    }
    m_renderer = nullptr;
}

bool PictureTexture::draw(SDL_Renderer* renderer, const AVFrame& picture, const sorvane::PictureRect& place,
                          int width, int height) {
    const AVFrame* const ready = scaled(picture, place.width, place.height);
    if (ready == nullptr || !fit(renderer, place.width, place.height)) {
        return false;
    }
    SDL_UpdateYUVTexture(m_texture, nullptr, ready->data[0], ready->linesize[0], ready->data[1],
                         ready->linesize[1], ready->data[2], ready->linesize[2]);
    copy(renderer, place, width, height);
    return true;
}

bool PictureTexture::drawAgain(SDL_Renderer* renderer, const sorvane::PictureRect& place, int width,
                               int height) {
    if (m_texture == nullptr || m_renderer != renderer || place.width <= 0 || place.height <= 0) {
        return false;
    }
    SDL_SetTextureScaleMode(m_texture, SDL_ScaleModeLinear);
    copy(renderer, place, width, height);
    SDL_SetTextureScaleMode(m_texture, SDL_ScaleModeNearest);
    return true;
}

void PictureTexture::copy(SDL_Renderer* renderer, const sorvane::PictureRect& place, int width, int height) {
    // The bars alone: the picture covers the rest.
    const int right = place.x + place.width;
    const int bottom = place.y + place.height;
    blacken(renderer, {0, 0, width, place.y});
    blacken(renderer, {0, bottom, width, height - bottom});
    blacken(renderer, {0, place.y, place.x, place.height});
    blacken(renderer, {right, place.y, width - right, place.height});
    const SDL_Rect target = {place.x, place.y, place.width, place.height};
    SDL_RenderCopy(renderer, m_texture, nullptr, &target);
}

const AVFrame* PictureTexture::scaled(const AVFrame& picture, int width, int height) {
    const auto format = static_cast<AVPixelFormat>(picture.format);
    if (format == AV_PIX_FMT_YUV420P && picture.width == width && picture.height == height &&
        picture.linesize[0] > 0) {
        return &picture;
    }
    // A format that the scaler does not know at all ends the process in there.
    if (width <= 0 || height <= 0 || sws_isSupportedInput(format) == 0) {
        return nullptr;
    }
    auto& frame = m_frames->scaled;
    if (!frame || frame->width != width || frame->height != height) {
        frame.reset(av_frame_alloc());
        if (!frame) {
            return nullptr;
        }
        frame->width = width;
        frame->height = height;
        frame->format = AV_PIX_FMT_YUV420P;
        if (av_frame_get_buffer(frame.get(), 0) != 0) {
            frame.reset();
            return nullptr;
        }
    }
    m_scaler = sws_getCachedContext(m_scaler, picture.width, picture.height, format, width, height,
                                    AV_PIX_FMT_YUV420P, 0, nullptr, nullptr, nullptr);
    if (m_scaler == nullptr) {
        return nullptr;
    }
    sws_scale(m_scaler, picture.data, picture.linesize, 0, picture.height, frame->data, frame->linesize);
    return frame.get();
}

// A texture of that size.
bool PictureTexture::fit(SDL_Renderer* renderer, int width, int height) {
    if (m_texture != nullptr && m_renderer == renderer && m_width == width && m_height == height) {
        return true;
    }
    clear();
    m_texture = SDL_CreateTexture(renderer, SDL_PIXELFORMAT_IYUV, SDL_TEXTUREACCESS_STREAMING, width, height);
    m_renderer = renderer;
    m_width = width;
    m_height = height;
    return m_texture != nullptr;
}
