// The window with channels that a test opens, folders of its own and a clock that the test sets.
#pragma once

#include <QAbstractEventDispatcher>
#include <QLabel>
#include <QPointer>

#include "recording_window.h"
#include "video/my_comp_notify_dlg.h"
#include "video/my_tip_dialog.h"
#include "video_fixture.h"

class RecordingTest : public RecordingWindow<VideoTest> {
protected:
    using Calls = std::vector<std::string>;

    void startWith(const QMap<QString, QVariant>& more = {}) {
        QMap<QString, QVariant> values = {
            {"connection/video1_play_address", QStringList{"rtsp://192.0.2.1/a"}},
            {"connection/video2_play_address", "rtsp://192.0.2.1/b"}};
        for (auto it = more.begin(); it != more.end(); ++it) {
            values[it.key()] = it.value();
        }
        startRecorder(values);
    }
    QString status() const { return in().m_statusVideo()->text(); }
    static bool shown(const QWidget* widget) { return widget != nullptr && widget->isVisible(); }

    // Interval in ms of a timer of the window; -1 when it does not run.
    int interval(int id) const {
        const auto timers = QAbstractEventDispatcher::instance()->registeredTimers(window.get());
        for (const auto& info : timers) {
            if (info.timerId == id) {
                return info.interval;
            }
        }
        return -1;
    }
    static QString text(const QWidget* tip) {
        for (const QLabel* label : tip->findChildren<QLabel*>()) {
            if (label->text().startsWith("record")) {
                return label->text();
            }
        }
        return QString();
    }
    static QString message(const QWidget* notice) {
        return notice->findChild<QLabel*>("label_msg")->text().remove('\n');
    }
    void forgetCalls() const {
        library().calls.clear();
        library().captures.clear();
        library().stills.clear();
    }
};
