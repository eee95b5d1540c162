#include "video/frame_post.h"

#include <QCoreApplication>
#include <memory>

#include "app/events/my_event.h"
#include "video/video_surface.h"

extern "C" {
#include <libavutil/frame.h>
}

namespace {

void postFrame(AVFrame* frame, float fps, int bitrate, QWidget* widget, QObject* window) {
    auto parcel = std::make_unique<FrameParcel>();
    parcel->frame = av_frame_clone(frame);
    if (parcel->frame == nullptr) {
        return;
    }
    parcel->fps = fps;
    parcel->bitrate = bitrate;
    parcel->widget = widget;
    QCoreApplication::postEvent(window, new QMyEvent(EVT_VIDEO_FRAME, nullptr, parcel.release(), 0));
}

}  // namespace

tavrik::FrameCallback frameCallback(QObject* window, QWidget* widget) {
    return [window, widget](AVFrame* frame, float fps, int bitrate) {
        postFrame(frame, fps, bitrate, widget, window);
    };
}
