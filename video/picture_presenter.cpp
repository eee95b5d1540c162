#include "video/picture_presenter.h"

#include <SDL.h>
#include <SDL_ttf.h>

#include <QTimerEvent>
#include <cstdio>
#include <utility>

#include "app/config/my_app_config.h"
#include "app/events/my_event.h"
#include "tavrik/tavrik.h"
#include "video/picture_geometry.h"
#include "video/qmyvideowidget.h"
#include "video/stream_rules.h"
#include "video/video_output.h"

extern "C" {
#include <libavutil/frame.h>
}

namespace {

constexpr int kIdleMs = 1000;
constexpr std::size_t kMostWaiting = 250;  // in the cache while no timer drains it

// At the target's corner, not the picture's; a step that fails draws nothing.
void drawStatistics(SDL_Renderer* renderer, float fps, int bitrate) {
    if (video_output::font() == nullptr) {
        return;
    }
    char text[100];
    std::snprintf(text, sizeof text, "FPS: %.2f, bitrate: %d kb/s", static_cast<double>(fps), bitrate);
    SDL_Surface* surface = TTF_RenderText_Solid(video_output::font(), text, SDL_Color{0, 255, 0, 0});
    if (surface == nullptr) {
        return;
    }
    SDL_Texture* texture = SDL_CreateTextureFromSurface(renderer, surface);
    if (texture != nullptr) {
        SDL_SetTextureAlphaMod(texture, 200);
        const SDL_Rect target = {10, 10, surface->w, surface->h};
        SDL_RenderCopy(renderer, texture, nullptr, &target);
        SDL_DestroyTexture(texture);
    }
    SDL_FreeSurface(surface);
}

void presentByDevice(const VideoSurface& surface, bool told) {
    if (told) {
        drawStatistics(surface.renderer, surface.fps, surface.bitrate);
    }
    SDL_RenderPresent(surface.renderer);
    video_output::releaseContext(surface.sdl_window);
}

void showMemory(const VideoSurface& surface, SDL_Surface& pixels, bool told) {
    SDL_Renderer* const over = told ? SDL_CreateSoftwareRenderer(&pixels) : nullptr;
    if (over != nullptr) {
        drawStatistics(over, surface.fps, surface.bitrate);
        SDL_RenderFlush(over);
        SDL_DestroyRenderer(over);
        PictureTexture::overdrawn(pixels);
    }
    video_output::show(surface.sdl_window);
}

bool attach(VideoSurface& surface) {
    surface.sdl_window = video_output::wrapWindow(static_cast<quintptr>(surface.widget->winId()));
    if (surface.sdl_window == nullptr) {
        return false;
    }
    surface.renderer = video_output::makeRenderer(surface.sdl_window);
    return true;
}

void detach(VideoSurface& surface) {
    surface.picture.clear();
    video_output::destroy(surface.renderer, surface.sdl_window);
    surface.renderer = nullptr;
    surface.sdl_window = nullptr;
}

}  // namespace

PicturePresenter::PicturePresenter(QObject& timers, const PictureFields& fields,
                                   std::function<double()> ratio, std::function<const MyAppConfig*()> config)
    : m_timers(timers), m_fields(fields), m_ratio(std::move(ratio)), m_config(std::move(config)) {}

PicturePresenter::~PicturePresenter() { dropPictures(); }

void PicturePresenter::start(const QString& font_path, QMyVideoWidget& first) {
    if (video_output::init(font_path)) {
        findOrCreateSurface(first);
    }
}

VideoSurface* PicturePresenter::findSurface(const QWidget* widget) {
    for (VideoSurface& surface : m_surfaces) {
        if (surface.widget == widget) {
            return &surface;
        }
    }
    return nullptr;
}

VideoSurface* PicturePresenter::findOrCreateSurface(QMyVideoWidget& widget) {
    if (VideoSurface* known = findSurface(&widget)) {
        return known;
    }
    m_surfaces.emplace_back();
    VideoSurface& surface = m_surfaces.back();
    surface.widget = &widget;
    if (!attach(surface)) {
        m_surfaces.pop_back();
        return nullptr;
    }
    surface.idle_timer = std::make_unique<QTimer>();
    QTimer* timer = surface.idle_timer.get();
    connect(timer, &QTimer::timeout, &widget, [timer, &widget] {
        timer->stop();
        widget.setUpdatesEnabled(true);
    });
    // The native window may be replaced under way; SDL is bound to the old one then.
    connect(&widget, &QMyVideoWidget::nativeWindowChanged, timer, [&surface] { detach(surface); });
    // While pictures come the widget's painting is held off, and neither of these is heard.
    connect(&widget, &QMyVideoWidget::pictureWanted, timer, [this, &surface] { drawAgain(surface); });
    connect(&widget, &QMyVideoWidget::pictureGone, timer, [&surface] { surface.picture.clear(); });
    return &surface;
}

void PicturePresenter::resizeSurface(const QWidget* widget) {
    const VideoSurface* surface = findSurface(widget);
    if (surface != nullptr && surface->sdl_window != nullptr) {
        video_output::resizeWindow(surface->sdl_window, widget->width(), widget->height());
    }
}

void PicturePresenter::render(FrameParcel& parcel) {
    VideoSurface* surface = findSurface(parcel.widget);
    if (surface == nullptr || parcel.frame == nullptr) {
        return;
    }
    const AVFrame& src = *parcel.frame;
    parcel.widget->setUpdatesEnabled(false);
    surface->idle_timer->start(kIdleMs);
    m_fields.video_alive = true;
    m_fields.frame_width = src.width;
    m_fields.frame_height = src.height;
    surface->widget->pictureDrawn(QSize(src.width, src.height));
    emit pictureCame(surface->widget->windowId());
    if (surface->sdl_window == nullptr && !attach(*surface)) {
        return;
    }
    const Place place = placeOn(*surface);
    surface->bt709 = sorvane::yuvMatrix(src.colorspace, src.height) == sorvane::YuvMatrix::kBt709;
    surface->fps = parcel.fps;
    surface->bitrate = parcel.bitrate;
    drawOn(*surface, [&](auto& target) {
        return surface->picture.draw(target, src, place.picture, place.width, place.height);
    });
}

PicturePresenter::Place PicturePresenter::placeOn(const VideoSurface& surface) const {
    const double ratio = m_ratio();
    const QSize source = surface.widget->pictureSize();
    const int width = static_cast<int>(surface.widget->width() * ratio);
    const int height = static_cast<int>(surface.widget->height() * ratio);
    return {sorvane::placePicture(sorvane::fitPicture(source.width(), source.height(), width, height), width,
                                  height),
            width, height};
}

void PicturePresenter::drawAgain(VideoSurface& surface) {
    if (m_closed || surface.sdl_window == nullptr) {
        return;
    }
    const Place place = placeOn(surface);
    const bool drawn = drawOn(surface, [&](auto& target) {
        return surface.picture.drawAgain(target, place.picture, place.width, place.height);
    });
    if (drawn) {
        surface.widget->pictureDrawn(surface.widget->pictureSize());
    }
}

// By the device, or in the window's memory where none draws: draw gets the one or the other.
template <class Draw>
bool PicturePresenter::drawOn(VideoSurface& surface, const Draw& draw) {
    video_output::catchUp();
    SDL_SetYUVConversionMode(surface.bt709 ? SDL_YUV_CONVERSION_BT709 : SDL_YUV_CONVERSION_BT601);
    const MyAppConfig* config = m_config();
    const bool told = config != nullptr && config->show_fps;
    if (surface.renderer != nullptr) {
        if (!draw(surface.renderer)) {
            return false;
        }
        presentByDevice(surface, told);
        return true;
    }
    SDL_Surface* const pixels = video_output::pixelsOf(surface.sdl_window);
    if (pixels == nullptr || !draw(*pixels)) {
        return false;
    }
    showMemory(surface, *pixels, told);
    return true;
}

void PicturePresenter::take(QMyEvent& e, bool cached) {
    std::unique_ptr<FrameParcel> parcel(static_cast<FrameParcel*>(std::exchange(e.data, nullptr)));
    if (parcel == nullptr || m_closed) {
        return;
    }
    if (!cached) {
        drawInTurn(std::move(parcel));
        return;
    }
    const MyAppConfig* config = m_config();
    // Every stream has its own bound of pictures in flight; what several leave here has one too.
    if (m_fields.frame_timer == 0 && m_fields.frame_cache.size() >= kMostWaiting) {
        return;
    }
    m_fields.frame_cache.push_back(parcel.release());
    if (m_fields.frame_timer == 0 && config != nullptr &&
        static_cast<int>(m_fields.frame_cache.size()) == config->cache_frame_count_start) {
        m_fields.frame_timer =
            m_timers.startTimer(sorvane::framePeriodMs(m_fields.show_fps), Qt::PreciseTimer);
    }
}

// The toolkit delivers all posted events, and those posted meanwhile, before it looks at input and timers
// again. Pictures that come faster than they can be drawn would never let it: a second one waits for the next
// turn.
void PicturePresenter::drawInTurn(std::unique_ptr<FrameParcel> parcel) {
    constexpr int kNextTurnMs = 1;
    if (m_turnTimer != 0) {
        m_laterPictures.push_back(std::move(parcel));
        return;
    }
    render(*parcel);
    m_turnTimer = startTimer(kNextTurnMs, Qt::PreciseTimer);
}

void PicturePresenter::timerEvent(QTimerEvent* e) {
    if (e->timerId() != m_turnTimer) {
        QObject::timerEvent(e);
        return;
    }
    if (m_laterPictures.empty()) {
        killTimer(m_turnTimer);
        m_turnTimer = 0;
        return;
    }
    const std::unique_ptr<FrameParcel> parcel = std::move(m_laterPictures.front());
    m_laterPictures.pop_front();
    render(*parcel);
}

void PicturePresenter::drawFirstCached() {
    const std::unique_ptr<FrameParcel> parcel(m_fields.frame_cache.front());
    m_fields.frame_cache.pop_front();
    render(*parcel);
}

void PicturePresenter::onFrameTimer() {
    const bool was_empty = m_fields.frame_cache.empty();
    if (!was_empty) {
        drawFirstCached();
    }
    const MyAppConfig& config = *m_config();
    const sorvane::PacingRule rule{config.show_fps_modify, config.show_fps_min, config.cache_frame_count_max};
    m_fields.show_fps = sorvane::nextShowFps(m_fields.show_fps, was_empty, m_fields.frame_cache.size(), rule);
    stopFrameTimer();
    m_fields.frame_timer = m_timers.startTimer(sorvane::framePeriodMs(m_fields.show_fps), Qt::PreciseTimer);
}

void PicturePresenter::stopFrameTimer() {
    if (m_fields.frame_timer != 0) {
        m_timers.killTimer(m_fields.frame_timer);
    }
    m_fields.frame_timer = 0;
}

void PicturePresenter::drawCachedTail() {
    stopFrameTimer();
    while (!m_fields.frame_cache.empty()) {
        drawFirstCached();
    }
    m_fields.show_fps = m_config()->show_fps_init;
}

void PicturePresenter::closeStreams() {
    m_closed = true;
    stopFrameTimer();
    if (m_turnTimer != 0) {
        killTimer(m_turnTimer);
        m_turnTimer = 0;
    }
    for (const VideoSurface& surface : m_surfaces) {
        tavrik::feedClose(surface.player_handle);
    }
    // Of the pull no handle is kept.
    tavrik::feedClose(0);
}

void PicturePresenter::dropPictures() {
    for (FrameParcel* parcel : m_fields.frame_cache) {
        delete parcel;
    }
    m_fields.frame_cache.clear();
    m_laterPictures.clear();
}
