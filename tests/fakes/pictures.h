// Pictures made by hand, as a decoder would give them.
#pragma once

#include <cstdint>

extern "C" {
#include <libavutil/buffer.h>
#include <libavutil/frame.h>
#include <libavutil/mem.h>
}

struct Yuv {
    int y, u, v;
};
constexpr Yuv kWhite{235, 128, 128};
constexpr Yuv kGrey{126, 128, 128};
constexpr Yuv kRed{81, 90, 240};

// A frame of one colour; its upper left quarter may have another.
inline AVFrame* makeFrame(int width, int height, Yuv colour, Yuv corner) {
    AVFrame* frame = av_frame_alloc();
    frame->width = width;
    frame->height = height;
    frame->format = AV_PIX_FMT_YUV420P;
    frame->colorspace = AVCOL_SPC_BT470BG;
    if (av_frame_get_buffer(frame, 0) != 0) {
        return frame;
    }
    const auto fill = [frame](int plane, int w, int h, int value, int corner_value) {
        for (int row = 0; row < h; ++row) {
            for (int x = 0; x < w; ++x) {
                const bool in_corner = x < w / 2 && row < h / 2;
                frame->data[plane][row * frame->linesize[plane] + x] =
                    static_cast<std::uint8_t>(in_corner ? corner_value : value);
            }
        }
    };
    fill(0, width, height, colour.y, corner.y);
    fill(1, (width + 1) / 2, (height + 1) / 2, colour.u, corner.u);
    fill(2, (width + 1) / 2, (height + 1) / 2, colour.v, corner.v);
    return frame;
}

// A picture that counts in `freed` when the last of its clones has been released. Grey.
inline AVFrame* makeCountedFrame(int width, int height, int& freed) {
    AVFrame* frame = makeFrame(width, height, kGrey, kGrey);
    // One more reference beside the picture's own, which falls with it.
    const auto count = [](void* counter, std::uint8_t* data) {
        ++*static_cast<int*>(counter);
        av_free(data);
    };
    frame->opaque_ref = av_buffer_create(static_cast<std::uint8_t*>(av_malloc(1)), 1, count, &freed, 0);
    return frame;
}
