#include "video/video_surface.h"

#include <QTimer>

#include "video/video_output.h"

extern "C" {
#include <libavutil/frame.h>
}

FrameParcel::~FrameParcel() { av_frame_free(&frame); }

VideoSurface::~VideoSurface() {
    picture.clear();
    video_output::destroy(renderer, sdl_window);
}
