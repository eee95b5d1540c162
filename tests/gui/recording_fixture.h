// The window with channels that a test opens, folders of its own and a clock that the test sets.
#pragma once

#include <QAbstractEventDispatcher>
#include <QDir>
#include <QLabel>
#include <QPointer>
#include <QTemporaryDir>
#include <QTimerEvent>

#include "video/my_comp_notify_dlg.h"
#include "video/my_tip_dialog.h"
#include "video_fixture.h"

class RecordingTest : public VideoTest {
protected:
    using Calls = std::vector<std::string>;

    void startWith(const QMap<QString, QVariant>& more = {}) {
        QMap<QString, QVariant> values = {
            {"connection/video1_play_address", QStringList{"rtsp://192.0.2.1/a"}},
            {"connection/video2_play_address", "rtsp://192.0.2.1/b"},
            {"dataSave/default_video_saving_directory", recordBase()},
            {"dataSave/default_record_open_directory", snapBase()}};
        for (auto it = more.begin(); it != more.end(); ++it) {
            values[it.key()] = it.value();
        }
        start(values);
        in().m_localClock() = [this] { return now; };
    }
    QString recordBase() const { return folder.filePath("录像"); }
    QString snapBase() const { return folder.filePath("拍照"); }

    void open1() const { connection().pushButton_22->click(); }
    void open2() const { connection().pushButton_23->click(); }
    QAction* record() const { return ui().action_ctrlRec; }
    QPushButton* raw() const { return in().ui_sei_info()->pushButton; }
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
    void tick(int id) const {
        ASSERT_NE(id, 0);
        QTimerEvent e(id);
        QCoreApplication::sendEvent(window.get(), &e);
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

    QTemporaryDir folder;
    sorvane::CalendarTime now{2026, 3, 9, 7, 5, 2, 0};
};
