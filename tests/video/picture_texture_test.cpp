#include "video/picture_texture.h"

#include <SDL.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

namespace {

constexpr int kWidth = 200;
constexpr int kHeight = 120;
constexpr std::uint32_t kBlack = 0x000000;

struct FrameDeleter {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
using FramePtr = std::unique_ptr<AVFrame, FrameDeleter>;

// Bright stripes, so that a row or column in the wrong place shows. colour: how far they are from grey.
FramePtr stripes(int width, int height, int phase, AVPixelFormat format = AV_PIX_FMT_YUV420P,
                 int colour = 0) {
    FramePtr frame(av_frame_alloc());
    frame->width = width;
    frame->height = height;
    frame->format = format;
    av_frame_get_buffer(frame.get(), 0);
    for (int plane = 0; plane < 3; ++plane) {
        const int rows = plane == 0 || format == AV_PIX_FMT_YUV422P ? height : (height + 1) / 2;
        for (int y = 0; y < rows; ++y) {
            for (int x = 0; x < frame->linesize[plane]; ++x) {
                const int stripe = (x * 7 + y * 13 + phase * 31) % 100;
                const int value = plane == 0 ? 120 + stripe : 128 + colour * (stripe - 50) / 100;
                frame->data[plane][y * frame->linesize[plane] + x] = static_cast<std::uint8_t>(value);
            }
        }
    }
    return frame;
}

class Target {
public:
    Target() : m_surface(SDL_CreateRGBSurfaceWithFormat(0, kWidth, kHeight, 32, SDL_PIXELFORMAT_RGB888)) {
        m_renderer = SDL_CreateSoftwareRenderer(m_surface);
        paint(0xFF, 0x00, 0xFF);
        SDL_SetRenderDrawColor(m_renderer, 0, 0, 0, SDL_ALPHA_OPAQUE);
    }
    ~Target() {
        SDL_DestroyRenderer(m_renderer);
        SDL_FreeSurface(m_surface);
    }
    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;

    SDL_Renderer* renderer() const { return m_renderer; }
    SDL_Surface& memory() const { return *m_surface; }
    void paint(std::uint8_t r, std::uint8_t g, std::uint8_t b) {
        SDL_SetRenderDrawColor(m_renderer, r, g, b, SDL_ALPHA_OPAQUE);
        SDL_RenderClear(m_renderer);
        SDL_SetRenderDrawColor(m_renderer, 0, 0, 0, SDL_ALPHA_OPAQUE);
        SDL_RenderFlush(m_renderer);
        PictureTexture::overdrawn(*m_surface);
    }
    std::vector<std::uint32_t> pixels() const {
        SDL_RenderFlush(m_renderer);
        std::vector<std::uint32_t> out;
        for (int y = 0; y < kHeight; ++y) {
            const auto* row = reinterpret_cast<const std::uint32_t*>(
                static_cast<const std::uint8_t*>(m_surface->pixels) + y * m_surface->pitch);
            for (int x = 0; x < kWidth; ++x) {
                out.push_back(row[x] & 0xFFFFFFu);
            }
        }
        return out;
    }

private:
    SDL_Surface* m_surface;
    SDL_Renderer* m_renderer;
};

sorvane::PictureRect placeOf(const AVFrame& frame) {
    return sorvane::placePicture(sorvane::fitPicture(frame.width, frame.height, kWidth, kHeight), kWidth,
                                 kHeight);
}

bool draw(PictureTexture& texture, Target& target, const AVFrame& frame) {
    return texture.draw(target.renderer(), frame, placeOf(frame), kWidth, kHeight);
}

std::vector<std::uint32_t> drawnAfresh(const AVFrame& frame) {
    Target target;
    PictureTexture texture;
    EXPECT_TRUE(draw(texture, target, frame));
    texture.clear();
    return target.pixels();
}

}  // namespace

TEST(PictureTexture, BarsAreBlackAndThePictureCoversTheRestWhateverStoodThere) {
    for (const auto& [width, height] : {std::pair{100, 120}, {200, 60}, {200, 120}, {97, 83}, {640, 480}}) {
        const FramePtr frame = stripes(width, height, 1);
        Target target;
        PictureTexture texture;
        for (int n = 0; n < 2; ++n) {
            target.paint(0xFF, 0x00, 0xFF);
            ASSERT_TRUE(draw(texture, target, *frame));
        }
        const sorvane::PictureRect place = placeOf(*frame);
        const std::vector<std::uint32_t> pixels = target.pixels();
        int wrong = 0;
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                const bool inside =
                    x >= place.x && x < place.x + place.width && y >= place.y && y < place.y + place.height;
                const std::uint32_t pixel = pixels[static_cast<std::size_t>(y * kWidth + x)];
                const bool grey = (pixel & 0xFF) > 60 && (pixel >> 8 & 0xFF) > 60;
                wrong += (inside ? grey : pixel == kBlack) ? 0 : 1;
            }
        }
        EXPECT_EQ(wrong, 0) << width << "x" << height;
        texture.clear();
    }
}

TEST(PictureTexture, IsDrawnAgainAsItWas) {
    const FramePtr frame = stripes(97, 83, 1);
    Target target;
    PictureTexture texture;
    EXPECT_FALSE(texture.drawAgain(target.renderer(), placeOf(*frame), kWidth, kHeight))
        << "there is none yet";
    ASSERT_TRUE(draw(texture, target, *frame));
    const std::vector<std::uint32_t> before = target.pixels();
    target.paint(0xFF, 0x00, 0xFF);
    ASSERT_TRUE(texture.drawAgain(target.renderer(), placeOf(*frame), kWidth, kHeight));
    EXPECT_TRUE(target.pixels() == before);
    EXPECT_FALSE(texture.drawAgain(target.renderer(), {0, 0, 0, 40}, kWidth, kHeight));
    texture.clear();
    EXPECT_FALSE(texture.drawAgain(target.renderer(), placeOf(*frame), kWidth, kHeight));
}

TEST(PictureTexture, InMemoryItIsDrawnAgain) {
    const FramePtr frame = stripes(97, 83, 1);
    Target target;
    PictureTexture texture;
    EXPECT_FALSE(texture.drawAgain(target.memory(), placeOf(*frame), kWidth, kHeight)) << "there is none yet";
    ASSERT_TRUE(texture.draw(target.memory(), *frame, placeOf(*frame), kWidth, kHeight));
    const std::vector<std::uint32_t> before = target.pixels();
    target.paint(0xFF, 0x00, 0xFF);
    ASSERT_TRUE(texture.drawAgain(target.memory(), placeOf(*frame), kWidth, kHeight));
    EXPECT_TRUE(target.pixels() == before);
    EXPECT_FALSE(texture.drawAgain(target.memory(), {0, 0, 0, 40}, kWidth, kHeight));
    texture.clear();
    EXPECT_FALSE(texture.drawAgain(target.memory(), placeOf(*frame), kWidth, kHeight));
}

TEST(PictureTexture, IsDrawnAgainAtAnotherSize) {
    const FramePtr frame = stripes(97, 83, 1);
    Target target;
    PictureTexture texture;
    ASSERT_TRUE(draw(texture, target, *frame));
    for (const sorvane::PictureRect& place : {sorvane::PictureRect{70, 40, 58, 50}, {0, 10, 200, 100}}) {
        target.paint(0xFF, 0x00, 0xFF);
        ASSERT_TRUE(texture.drawAgain(target.renderer(), place, kWidth, kHeight));
        const std::vector<std::uint32_t> pixels = target.pixels();
        int wrong = 0;
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                const bool inside =
                    x >= place.x && x < place.x + place.width && y >= place.y && y < place.y + place.height;
                const std::uint32_t pixel = pixels[static_cast<std::size_t>(y * kWidth + x)];
                const bool grey = (pixel & 0xFF) > 60 && (pixel >> 8 & 0xFF) > 60;
                wrong += (inside ? grey : pixel == kBlack) ? 0 : 1;
            }
        }
        EXPECT_EQ(wrong, 0) << place.width;
    }
    // The next picture is as sharp as ever.
    ASSERT_TRUE(draw(texture, target, *frame));
    EXPECT_TRUE(target.pixels() == drawnAfresh(*frame));
    texture.clear();
}

TEST(PictureTexture, WhatIsKeptMakesNoDifference) {
    Target target;
    PictureTexture texture;
    int n = 0;
    for (const auto& [width, height] :
         {std::pair{320, 240}, {320, 240}, {200, 120}, {199, 120}, {64, 64}, {320, 240}}) {
        for (const AVPixelFormat format : {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUVJ420P}) {
            const FramePtr frame = stripes(width, height, ++n, format);
            ASSERT_TRUE(draw(texture, target, *frame));
            EXPECT_TRUE(target.pixels() == drawnAfresh(*frame)) << width << "x" << height;
        }
    }
    texture.clear();
}

TEST(PictureTexture, OfAnotherRendererIsMadeAnew) {
    const FramePtr frame = stripes(320, 240, 3);
    PictureTexture texture;
    Target first;
    ASSERT_TRUE(draw(texture, first, *frame));
    Target second;
    ASSERT_TRUE(draw(texture, second, *frame));
    EXPECT_TRUE(second.pixels() == first.pixels());
    texture.clear();
}

TEST(PictureTexture, WhatCannotBeScaledDrawsNothing) {
    Target target;
    const std::vector<std::uint32_t> before = target.pixels();
    PictureTexture texture;
    const FramePtr frame = stripes(320, 240, 4);
    EXPECT_FALSE(texture.draw(target.renderer(), *frame, {0, 0, 0, 0}, kWidth, kHeight));
    frame->format = AV_PIX_FMT_CUDA;
    EXPECT_FALSE(draw(texture, target, *frame));
    EXPECT_TRUE(target.pixels() == before);
}

TEST(PictureTexture, InMemoryItIsWhatTheRendererDraws) {
    PictureTexture by_renderer, in_memory;
    Target first, second;
    int n = 0;
    for (const auto& [width, height] :
         {std::pair{320, 240}, {200, 120}, {64, 64}, {97, 83}, {400, 5}, {31, 240}}) {
        for (const AVPixelFormat format : {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUV422P}) {
            for (const auto mode : {SDL_YUV_CONVERSION_BT601, SDL_YUV_CONVERSION_BT709}) {
                SDL_SetYUVConversionMode(mode);
                const FramePtr frame = stripes(width, height, ++n, format, 120);
                first.paint(0xFF, 0x00, 0xFF);
                second.paint(0x00, 0xFF, 0x00);
                ASSERT_TRUE(draw(by_renderer, first, *frame));
                ASSERT_TRUE(in_memory.draw(second.memory(), *frame, placeOf(*frame), kWidth, kHeight));
                EXPECT_TRUE(first.pixels() == second.pixels()) << width << "x" << height << " " << format;
            }
        }
    }
    SDL_SetYUVConversionMode(SDL_YUV_CONVERSION_AUTOMATIC);
    by_renderer.clear();
}

TEST(PictureTexture, InMemoryTheBarsAreDrawnWhenTheyChange) {
    const FramePtr wide = stripes(200, 60, 6);
    const FramePtr high = stripes(60, 120, 7);
    Target target;
    PictureTexture texture;
    const auto drawn = [&](const FramePtr& frame) {
        EXPECT_TRUE(texture.draw(target.memory(), *frame, placeOf(*frame), kWidth, kHeight));
        return target.pixels();
    };
    const std::vector<std::uint32_t> whole_wide = drawn(wide);
    auto* const corner = static_cast<std::uint32_t*>(target.memory().pixels);
    *corner = 0x123456;
    EXPECT_EQ(drawn(wide).front(), 0x123456u) << "drawn for every picture";
    PictureTexture::overdrawn(target.memory());
    EXPECT_TRUE(drawn(wide) == whole_wide);

    *corner = 0x123456;
    const std::vector<std::uint32_t> whole_high = drawn(high);
    EXPECT_EQ(whole_high.front(), kBlack);
    EXPECT_TRUE(drawn(wide) == whole_wide);
    EXPECT_TRUE(drawn(high) == whole_high);

    // The same size of picture in a window that has become larger and small again.
    *corner = 0x123456;
    EXPECT_TRUE(texture.draw(target.memory(), *high, placeOf(*high), kWidth - 1, kHeight));
    EXPECT_TRUE(drawn(high) == whole_high);

    // Another window's memory.
    Target second;
    EXPECT_TRUE(texture.draw(second.memory(), *high, placeOf(*high), kWidth, kHeight));
    EXPECT_TRUE(second.pixels() == whole_high);
}

TEST(PictureTexture, InMemoryWhatReachesBeyondTheTargetIsLeftOut) {
    const FramePtr frame = stripes(320, 240, 5, AV_PIX_FMT_YUV420P, 120);
    for (const sorvane::PictureRect& place :
         {sorvane::PictureRect{20, 0, 320, 240}, {0, 0, kWidth + 1, kHeight}, {0, 11, kWidth, kHeight}}) {
        PictureTexture by_renderer, in_memory;
        Target first, second;
        ASSERT_TRUE(by_renderer.draw(first.renderer(), *frame, place, 400, 300));
        ASSERT_TRUE(in_memory.draw(second.memory(), *frame, place, 400, 300));
        EXPECT_TRUE(first.pixels() == second.pixels()) << place.x << "," << place.y;
        by_renderer.clear();
    }
}

TEST(PictureTexture, InMemoryWhatCannotBeScaledDrawsNothing) {
    Target target;
    const std::vector<std::uint32_t> before = target.pixels();
    PictureTexture texture;
    const FramePtr frame = stripes(320, 240, 4);
    EXPECT_FALSE(texture.draw(target.memory(), *frame, {0, 0, 0, 0}, kWidth, kHeight));
    frame->format = AV_PIX_FMT_CUDA;
    EXPECT_FALSE(texture.draw(target.memory(), *frame, placeOf(*frame), kWidth, kHeight));
    EXPECT_TRUE(target.pixels() == before);
}
