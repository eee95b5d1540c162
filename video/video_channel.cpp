#include "video/video_channel.h"

#include <utility>

#include "app/config/my_app_config.h"
#include "tavrik/tavrik.h"
#include "video/block_stream.h"
#include "video/channel_sound.h"
#include "video/frame_post.h"
#include "video/picture_presenter.h"
#include "video/qmyvideowidget.h"
#include "video/stream_panel.h"
#include "video/stream_rules.h"
#include "video/video_surface.h"

VideoChannel::VideoChannel(int number, const ChannelParts& parts, const ChannelFields& fields,
                           ChannelActions actions, const FirstChannel* first)
    : m_number(number),
      m_parts(parts),
      m_fields(fields),
      m_actions(std::move(actions)),
      m_first(first != nullptr ? std::make_unique<FirstChannel>(*first) : nullptr) {}

VideoChannel::~VideoChannel() = default;

int VideoChannel::handle() const {
    const VideoSurface* surface = m_parts.presenter.findSurface(&m_parts.widget);
    return surface != nullptr ? surface->player_handle : 0;
}

void VideoChannel::toggle() {
    if (m_fields.playing) {
        close();
    } else {
        open();
    }
}

void VideoChannel::open() {
    if (m_parts.presenter.findOrCreateSurface(m_parts.widget) == nullptr) {
        return;
    }
    if (m_first != nullptr) {
        m_first->sound.openGate();
        const StreamRequest request = m_parts.panel.request(m_number);
        if (request.type == sorvane::kStreamUdp422) {
            // Without the port there is no change of state; with it none of the status bar: meant.
            if (m_first->blocks.open(request, m_parts.config.head_422.toStdString(),
                                     frameCallback(&m_parts.events, &m_parts.widget))) {
                opened();
            }
            return;
        }
    }
    openStream();
    m_actions.state_changed();
}

void VideoChannel::openStream() {
    const StreamRequest request = m_parts.panel.request(m_number);
    tavrik::AudioCallback on_audio;
    tavrik::SeiCallback on_sei;
    if (m_first != nullptr) {
        on_audio = m_first->sound.player();
        on_sei = m_first->on_sei;
    }
    VideoSurface* surface = m_parts.presenter.findSurface(&m_parts.widget);
    surface->player_handle = tavrik::feedOpen(
        request.url.constData(), request.port, frameCallback(&m_parts.events, &m_parts.widget),
        std::move(on_audio), request.local_ip.toStdString(), request.type == sorvane::kStreamRtsp,
        m_parts.config.av_dict_set.toStdString(), std::move(on_sei), request.decoder);
    if (surface->player_handle > 0) {
        opened();
    }
}

void VideoChannel::opened() {
    m_fields.playing = true;
    m_fields.no_signal = false;
    m_parts.widget.streamStateChanged();
    m_actions.opened_or_closed();
    if (m_first == nullptr) {
        return;
    }
    m_parts.panel.noteOpened();
    if (m_parts.panel.streamType() != sorvane::kStreamUdp422) {
        m_first->check_timer = m_first->timers.startTimer(m_parts.config.check_video_ms, Qt::CoarseTimer);
    }
}

void VideoChannel::close() {
    stopCheck();
    const int open_handle = handle();
    if (m_fields.recording) {
        tavrik::captureEnd(open_handle);
        m_fields.recording = false;
        m_actions.recording_ended();
    }
    if (m_first != nullptr) {
        // Sound may be waiting for its device, which feedClose would wait for in turn.
        m_first->sound.closeGate();
    }
    tavrik::feedClose(open_handle);
    m_fields.playing = false;
    m_fields.no_signal = true;
    m_parts.widget.streamStateChanged();
    m_actions.opened_or_closed();
    if (m_first != nullptr) {
        m_first->sound.stop();
    }
    if (m_fields.snapping) {
        tavrik::StillEnd(open_handle);
        m_fields.snapping = false;
    }
    if (m_first != nullptr) {
        m_first->blocks.close();
        m_parts.presenter.drawCachedTail();
    }
    m_actions.state_changed();
}

void VideoChannel::stopCheck() {
    if (m_first != nullptr && m_first->check_timer != 0) {
        m_first->timers.killTimer(m_first->check_timer);
        m_first->check_timer = 0;
    }
}

void VideoChannel::onCheck() {
    if (m_first == nullptr) {
        return;
    }
    if (!m_first->video_alive) {
        toggle();
        toggle();
    }
    m_first->video_alive = false;
}
