// The controls of recording, folders of the test's own and a clock that it sets, over any test of the window.
#pragma once

#include <QDir>
#include <QTemporaryDir>
#include <QTimerEvent>

#include "korvath_fixture.h"

template <class WindowTest>
class RecordingWindow : public WindowTest {
protected:
    // The folders are the test's own where `values` names no others.
    void startRecorder(QMap<QString, QVariant> values) {
        const QMap<QString, QVariant> folders = {{"dataSave/default_video_saving_directory", recordBase()},
                                                 {"dataSave/default_record_open_directory", snapBase()}};
        for (auto it = folders.begin(); it != folders.end(); ++it) {
            if (!values.contains(it.key())) {
                values[it.key()] = it.value();
            }
        }
        this->start(values);
        this->in().m_localClock() = [this] { return now; };
    }
    QString recordBase() const { return folder.filePath("录像"); }
    QString snapBase() const { return folder.filePath("拍照"); }

    void open1() const { this->in().ui_connection()->pushButton_22->click(); }
    void open2() const { this->in().ui_connection()->pushButton_23->click(); }
    QAction* record() const { return this->ui().action_ctrlRec; }
    QPushButton* raw() const { return this->in().ui_sei_info()->pushButton; }
    void tick(int id) const {
        ASSERT_NE(id, 0);
        QTimerEvent e(id);
        QCoreApplication::sendEvent(this->window.get(), &e);
    }

    QTemporaryDir folder;
    sorvane::CalendarTime now{2026, 3, 9, 7, 5, 2, 0};
};
