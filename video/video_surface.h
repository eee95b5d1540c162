// One record per video widget, and the carrier of a decoded picture from the stream library to the GUI
// thread.
#pragma once

#include <QTimer>
#include <memory>

#include "video/picture_texture.h"

class QMyVideoWidget;
class QWidget;
struct AVFrame;
struct SDL_Renderer;
struct SDL_Window;

// A decoded picture under way to the screen. Created on the stream's decoder thread, posted as event 1009,
// owned by whoever took it out of the event; nothing on the way drops one. Destroying it releases the
// picture.
struct FrameParcel {
    FrameParcel() = default;
    ~FrameParcel();
    FrameParcel(const FrameParcel&) = delete;
    FrameParcel& operator=(const FrameParcel&) = delete;

    AVFrame* frame = nullptr;  // a clone, owned
    float fps = 0.0F;          // pictures per second, as delivered
    int bitrate = 0;           // kb/s, as delivered
    QWidget* widget = nullptr;
};

// The SDL window and renderer on a widget's native window, and the stream that plays there. GUI thread only;
// in the presenter's list from the first open (or the start, for the first window) to the end.
struct VideoSurface {
    VideoSurface() = default;
    ~VideoSurface();
    VideoSurface(const VideoSurface&) = delete;
    VideoSurface& operator=(const VideoSurface&) = delete;

    QMyVideoWidget* widget = nullptr;    // the record's key
    int player_handle = 0;               // last result of feedOpen or clipOpen
    SDL_Renderer* renderer = nullptr;    // of the graphics device; null: pictures are drawn in memory
    std::unique_ptr<QTimer> idle_timer;  // 1000 ms after the last picture Qt paints the widget again
    SDL_Window* sdl_window = nullptr;
    PictureTexture picture;  // of the renderer, or in memory where there is none
    // Of the picture drawn last: what drawing it again needs.
    bool bt709 = false;
    float fps = 0.0F;
    int bitrate = 0;
};
