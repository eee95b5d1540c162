#include "video/picture_texture.h"

#include <SDL.h>

#include <array>
#include <cstdint>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/mem.h>
#include <libswscale/swscale.h>
}

namespace {

struct AvDeleter {
    void operator()(std::uint8_t* bytes) const { av_free(bytes); }
};

bool isReady(const AVFrame& picture, int width, int height) {
    return picture.format == AV_PIX_FMT_YUV420P && picture.width == width && picture.height == height;
}

// What is left of the target around the picture; some may be empty.
std::array<SDL_Rect, 4> barsAround(const sorvane::PictureRect& place, int width, int height) {
    const int right = place.x + place.width;
    const int bottom = place.y + place.height;
    return {SDL_Rect{0, 0, width, place.y}, SDL_Rect{0, bottom, width, height - bottom},
            SDL_Rect{0, place.y, place.x, place.height},
            SDL_Rect{right, place.y, width - right, place.height}};
}

void blackenAround(SDL_Surface& target, const sorvane::PictureRect& place, int width, int height) {
    const Uint32 black = SDL_MapRGB(target.format, 0, 0, 0);
    for (const SDL_Rect& bar : barsAround(place, width, height)) {
        if (bar.w > 0 && bar.h > 0) {
            SDL_FillRect(&target, &bar, black);
        }
    }
}

}  // namespace

// The three planes in one run, as SDL wants them. The rows begin where the scaler is fastest: at other
// addresses it falls back on the oldest instructions.
struct PictureTexture::Planes {
    static constexpr int kAlignment = 64;

    bool fit(int to_width, int to_height) {
        if (bytes != nullptr && width == to_width && height == to_height) {
            return true;
        }
        const int chroma_pitch = FFALIGN((to_width + 1) / 2, kAlignment);
        const int chroma_rows = (to_height + 1) / 2;
        const auto luma = static_cast<std::size_t>(2 * chroma_pitch) * static_cast<std::size_t>(to_height);
        const auto chroma = static_cast<std::size_t>(chroma_pitch) * static_cast<std::size_t>(chroma_rows);
        width = height = 0;
        bytes.reset(static_cast<std::uint8_t*>(av_malloc(luma + 2 * chroma + kAlignment)));
        if (bytes == nullptr) {
            return false;
        }
        width = to_width;
        height = to_height;
        data = {bytes.get(), bytes.get() + luma, bytes.get() + luma + chroma, nullptr};
        pitch = {2 * chroma_pitch, chroma_pitch, chroma_pitch, 0};
        return true;
    }

    // On a target in memory, the upper left corner at (x, y).
    bool convertTo(SDL_Surface& target, int x, int y) const {
        const bool inside = x >= 0 && y >= 0 && width <= target.w - x && height <= target.h - y;
        // While a window changes its size the two may not fit for a moment.
        SDL_Surface* const aside =
            inside ? nullptr : SDL_CreateRGBSurfaceWithFormat(0, width, height, 32, target.format->format);
        if (!inside && aside == nullptr) {
            return false;
        }
        SDL_Surface& to = inside ? target : *aside;
        auto* const first =
            static_cast<std::uint8_t*>(to.pixels) +
            (inside ? static_cast<std::ptrdiff_t>(y) * to.pitch + x * to.format->BytesPerPixel : 0);
        const bool done = SDL_ConvertPixels(width, height, SDL_PIXELFORMAT_IYUV, data[0], pitch[0],
                                            to.format->format, first, to.pitch) == 0;
        if (aside != nullptr) {
            SDL_Rect place = {x, y, width, height};
            SDL_BlitSurface(aside, nullptr, &target, &place);
            SDL_FreeSurface(aside);
        }
        return done;
    }

    std::unique_ptr<std::uint8_t, AvDeleter> bytes;
    std::array<std::uint8_t*, 4> data{};
    std::array<int, 4> pitch{};
    int width = 0;
    int height = 0;
};

PictureTexture::PictureTexture() : m_planes(std::make_unique<Planes>()) {}

PictureTexture::~PictureTexture() {
    clear();
    sws_freeContext(m_scaler);
}

void PictureTexture::clear() {
    dropTexture();
    *m_planes = {};
}

void PictureTexture::dropTexture() {
    if (m_texture != nullptr) {
        SDL_DestroyTexture(m_texture);
        m_texture = nullptr;
    }
    m_renderer = nullptr;
}

bool PictureTexture::draw(SDL_Renderer* renderer, const AVFrame& picture, const sorvane::PictureRect& place,
                          int width, int height) {
    const bool as_it_is = isReady(picture, place.width, place.height) && picture.linesize[0] > 0;
    if ((!as_it_is && !scale(picture, place.width, place.height)) ||
        !fit(renderer, place.width, place.height)) {
        return false;
    }
    const std::uint8_t* const* const data = as_it_is ? picture.data : m_planes->data.data();
    const int* const pitch = as_it_is ? picture.linesize : m_planes->pitch.data();
    SDL_UpdateYUVTexture(m_texture, nullptr, data[0], pitch[0], data[1], pitch[1], data[2], pitch[2]);
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
    for (const SDL_Rect& bar : barsAround(place, width, height)) {
        if (bar.w > 0 && bar.h > 0) {
            SDL_RenderFillRect(renderer, &bar);
        }
    }
    const SDL_Rect target = {place.x, place.y, place.width, place.height};
    SDL_RenderCopy(renderer, m_texture, nullptr, &target);
}

bool PictureTexture::draw(SDL_Surface& target, const AVFrame& picture, const sorvane::PictureRect& place,
                          int width, int height) {
    if (!scale(picture, place.width, place.height) || !m_planes->convertTo(target, place.x, place.y)) {
        return false;
    }
    blackenOnce(target, place, width, height);
    return true;
}

bool PictureTexture::drawAgain(SDL_Surface& target, const sorvane::PictureRect& place, int width,
                               int height) {
    const Planes& kept = *m_planes;
    Planes stretched;
    if (kept.width <= 0 || place.width <= 0 || place.height <= 0 ||
        !stretched.fit(place.width, place.height)) {
        return false;
    }
    SwsContext* const scaler = sws_getContext(kept.width, kept.height, AV_PIX_FMT_YUV420P, place.width,
                                              place.height, AV_PIX_FMT_YUV420P, 0, nullptr, nullptr, nullptr);
    if (scaler == nullptr) {
        return false;
    }
    sws_scale(scaler, kept.data.data(), kept.pitch.data(), 0, kept.height, stretched.data.data(),
              stretched.pitch.data());
    sws_freeContext(scaler);
    if (!stretched.convertTo(target, place.x, place.y)) {
        return false;
    }
    blackenOnce(target, place, width, height);
    return true;
}

// The target stays from picture to picture, and the bars in it. A new one bears no mark, even where it lies
// at the address of the last.
void PictureTexture::blackenOnce(SDL_Surface& target, const sorvane::PictureRect& place, int width,
                                 int height) {
    const std::array<int, 6> around = {place.x, place.y, place.width, place.height, width, height};
    if (target.userdata == this && around == m_blackAround) {
        return;
    }
    blackenAround(target, place, width, height);
    target.userdata = this;
    m_blackAround = around;
}

void PictureTexture::overdrawn(SDL_Surface& target) { target.userdata = nullptr; }

bool PictureTexture::scale(const AVFrame& picture, int width, int height) {
    const auto format = static_cast<AVPixelFormat>(picture.format);
    // A format that the scaler does not know at all ends the process in there.
    if (width <= 0 || height <= 0 || sws_isSupportedInput(format) == 0 || !m_planes->fit(width, height)) {
        return false;
    }
    Planes& p = *m_planes;
    if (isReady(picture, width, height)) {
        av_image_copy(p.data.data(), p.pitch.data(), const_cast<const std::uint8_t**>(picture.data),
                      picture.linesize, format, width, height);
        return true;
    }
    // The library's own cache never finds a context made with flags 0: it notes the scaler chosen for them.
    const std::array<int, 5> between = {picture.width, picture.height, picture.format, width, height};
    if (m_scaler == nullptr || between != m_scalerBetween) {
        sws_freeContext(m_scaler);
        m_scaler = sws_getContext(picture.width, picture.height, format, width, height, AV_PIX_FMT_YUV420P, 0,
                                  nullptr, nullptr, nullptr);
        m_scalerBetween = between;
    }
    if (m_scaler == nullptr) {
        return false;
    }
    sws_scale(m_scaler, picture.data, picture.linesize, 0, picture.height, p.data.data(), p.pitch.data());
    return true;
}

// A texture of that size.
bool PictureTexture::fit(SDL_Renderer* renderer, int width, int height) {
    if (m_texture != nullptr && m_renderer == renderer && m_width == width && m_height == height) {
        return true;
    }
    dropTexture();
    m_texture = SDL_CreateTexture(renderer, SDL_PIXELFORMAT_IYUV, SDL_TEXTUREACCESS_STREAMING, width, height);
    m_renderer = renderer;
    m_width = width;
    m_height = height;
    return m_texture != nullptr;
}
