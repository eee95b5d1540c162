#include "video/recorder.h"

#include <QAction>
#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QPushButton>
#include <algorithm>
#include <utility>

#include "app/config/my_app_config.h"
#include "tavrik/tavrik.h"
#include "video/my_tip_dialog.h"
#include "video/recording_rules.h"

namespace {

constexpr int kBlinkMs = 1000;

void apply(sorvane::TipTick::Tip what, MyTipDialog* tip) {
    if (tip != nullptr && what == sorvane::TipTick::Tip::kHides) {
        tip->hide();
    } else if (tip != nullptr && what == sorvane::TipTick::Tip::kToggles) {
        tip->setVisible(!tip->isVisible());
    }
}

}  // namespace

Recorder::Recorder(QObject& timers, Channels channels, const RecorderFields& fields,
                   const RecorderControls& controls, const MyAppConfig& config, RecorderActions actions)
    : m_timers(timers),
      m_channels(std::move(channels)),
      m_fields(fields),
      m_controls(controls),
      m_config(config),
      m_actions(std::move(actions)) {
    connect(&m_controls.raw, &QPushButton::clicked, this, &Recorder::onRawButton);
}

int Recorder::begin(int handle, int format) {
    const sorvane::CalendarTime now = m_actions.local_clock();
    const std::string dir =
        sorvane::datedDirectory(m_config.default_video_saving_directory.toStdString(), now);
    const QString shown_dir = QString::fromStdString(dir);
    if (!QDir(shown_dir).exists() && !QDir().mkpath(shown_dir)) {
        qDebug("RecAvi: Create dir failed!");
        return -1;
    }
    m_fields.dir = shown_dir;
    const std::string path = sorvane::recordingPath(dir, now, handle, format);
    tavrik::captureBegin(path.c_str(), handle, format);
    if (m_fields.split_timer == 0) {
        m_fields.split_timer =
            m_timers.startTimer(sorvane::splitPeriodMs(m_config.record_interval), Qt::CoarseTimer);
    }
    m_fields.file = QString::fromStdString(path);
    return 0;
}

bool Recorder::anyOpen() const {
    return std::any_of(m_channels.begin(), m_channels.end(),
                       [](const RecordedChannel& channel) { return channel.open; });
}

// Channels count as recording even if their file could not begin; meant. A roll-over, where one runs, tries
// again.
void Recorder::start(int format) {
    for (const RecordedChannel& channel : m_channels) {
        if (channel.open) {
            begin(channel.handle(), format);
            channel.recording = true;
        }
    }
    m_actions.place_tips();
    if (m_fields.blink_timer == 0) {
        m_fields.blink_timer = m_timers.startTimer(kBlinkMs, Qt::CoarseTimer);
    }
    m_fields.seconds = 0;
}

void Recorder::endAll() {
    for (const RecordedChannel& channel : m_channels) {
        if (channel.recording) {
            tavrik::captureEnd(channel.handle());
            channel.recording = false;
        }
    }
}

void Recorder::stop() {
    stopTimer(m_fields.split_timer);
    m_actions.place_tips();
    m_actions.ended();
}

void Recorder::stopTimer(int& id) {
    if (id != 0) {
        m_timers.killTimer(id);
        id = 0;
    }
}

void Recorder::onAction() {
    if (!m_controls.record.isChecked()) {
        endAll();
        m_controls.record.setChecked(false);
        stop();
        m_actions.state_changed();
    } else if (m_fields.replay_state != 0 || !anyOpen()) {
        m_controls.record.setChecked(false);
    } else {
        start(sorvane::kCaptureMp4);
        m_actions.state_changed();
    }
}

void Recorder::onRawButton() {
    m_rawRuns = !m_rawRuns;
    retranslate();
    if (!m_rawRuns) {
        endAll();
        stop();
    } else if (anyOpen()) {
        start(sorvane::kCaptureRaw);
    }
}

void Recorder::retranslate() {
    m_controls.raw.setText(m_rawRuns ? QCoreApplication::translate("sei_info", "停止录制")
                                     : QCoreApplication::translate("sei_info", "录制视频流"));
}

// A raw recording goes on as MP4 from here on; meant.
void Recorder::onSplitTimer() {
    bool any = false;
    for (const RecordedChannel& channel : m_channels) {
        if (channel.recording) {
            any = true;
            const int handle = channel.handle();
            tavrik::captureEnd(handle);
            begin(handle, sorvane::kCaptureMp4);
        }
    }
    if (!any) {
        stopTimer(m_fields.split_timer);
    }
}

// The second tip never tells a time.
void Recorder::onBlinkTimer() {
    ++m_fields.seconds;
    MyTipDialog* first = m_channels[0].tip;
    if (first != nullptr && first->isRecording()) {
        first->setText(QString::fromStdString(sorvane::recordingTipText(m_fields.seconds)));
    }
    const sorvane::TipTick tick = sorvane::nextTipTick(active(m_channels[0]), active(m_channels[1]));
    apply(tick.first, first);
    apply(tick.second, m_channels[1].tip);
    if (tick.stops) {
        stopTimer(m_fields.blink_timer);
    }
}

void Recorder::close() {
    endAll();
    stopTimer(m_fields.split_timer);
    stopTimer(m_fields.blink_timer);
    for (const RecordedChannel& channel : m_channels) {
        apply(sorvane::TipTick::Tip::kHides, channel.tip);
    }
}
