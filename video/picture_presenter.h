// Decoded pictures onto the native windows of the video widgets: at once, or through the cache that a timer
// drains.
#pragma once

#include <QObject>
#include <functional>
#include <list>
#include <memory>

#include "video/video_surface.h"

class MyAppConfig;
class QMyEvent;
class QMyVideoWidget;
class QWidget;

// The window's fields that presenting works on.
struct PictureFields {
    bool& video_alive;  // set by each picture drawn
    int& frame_width;   // size of the picture drawn last
    int& frame_height;
    std::list<FrameParcel*>& frame_cache;  // pictures that wait for the pacing timer, owned
    int& frame_timer;                      // id of a timer of `timers`, 0 for none
    float& show_fps;                       // present rate of the cached stream, pictures per second
};

// Fields and `timers` outlive it. GUI thread.
class PicturePresenter : public QObject {
    Q_OBJECT

public:
    // ratio: device pixel ratio of the window. config: null before the settings exist.
    PicturePresenter(QObject& timers, const PictureFields& fields, std::function<double()> ratio,
                     std::function<const MyAppConfig*()> config);
    ~PicturePresenter() override;

    // Starts the output. Without the font the first widget gets its surface at its first open.
    void start(const QString& font_path, QMyVideoWidget& first);

    // Null for a widget that has never shown a picture.
    VideoSurface* findSurface(const QWidget* widget);
    // Null when the widget's native window cannot be wrapped.
    VideoSurface* findOrCreateSurface(QMyVideoWidget& widget);
    // Takes over a changed size of the widget.
    void resizeSurface(const QWidget* widget);

    // Event 1009: takes the parcel out of the event. cached: it waits in the cache for the pacing timer;
    // otherwise it is drawn at once, or in the next turn of the event loop when this turn has drawn one.
    void take(QMyEvent& e, bool cached);
    void render(FrameParcel& parcel);
    // Expiry of the pacing timer.
    void onFrameTimer();
    // The channel closes: the cached tail is drawn at full speed, not dropped, which is meant; the rate
    // starts anew.
    void drawCachedTail();
    // The window closes: every surface's stream ends, nothing more is drawn or kept.
    void closeStreams();
    void dropPictures();

signals:
    // One has come to be drawn on that window (1 or 2), whether or not the screen takes it.
    void pictureCame(int window_id);

protected:
    void timerEvent(QTimerEvent* e) override;

private:
    // Pixels of a target, and where on it the picture lies.
    struct Place {
        sorvane::PictureRect picture;
        int width;
        int height;
    };
    Place placeOn(const VideoSurface& surface) const;
    template <class Draw>
    bool drawOn(VideoSurface& surface, const Draw& draw);
    // A picture that stands still, at the widget's size of now.
    void drawAgain(VideoSurface& surface);
    void drawInTurn(std::unique_ptr<FrameParcel> parcel);
    void drawFirstCached();
    void stopFrameTimer();

    QObject& m_timers;
    PictureFields m_fields;
    std::function<double()> m_ratio;
    std::function<const MyAppConfig*()> m_config;
    std::list<VideoSurface> m_surfaces;  // addresses stay valid; nothing is removed while the program runs
    // Pictures that came in the same turn of the event loop as one that was drawn, oldest first; the timer
    // runs from a picture drawn until none is left.
    std::list<std::unique_ptr<FrameParcel>> m_laterPictures;
    int m_turnTimer = 0;
    bool m_closed = false;
};
