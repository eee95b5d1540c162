// The real main window for a test: own configuration, both start-up stages, the application's event filter.
#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QPushButton>
#include <QSettings>
#include <QTest>
#include <functional>
#include <memory>

#include "app/config/my_app_config.h"
#include "app/events/my_event.h"
#include "app/korvath.h"
#include "app/process_services.h"
#include "settings/player_settings_dlg.h"
#include "ui_connection.h"
#include "ui_korvath.h"
#include "ui_sei_info.h"
#include "ui_settings.h"
#include "ui_telemetry_info.h"

struct VideoSurface;

// The one door to the window's private fields.
struct KorvathAccess {
    Korvath& w;

#define SORVANE_FIELD(name) \
    auto& name() const { return w.name; }
    SORVANE_FIELD(ui)
    SORVANE_FIELD(ui_connection)
    SORVANE_FIELD(ui_sei_info)
    SORVANE_FIELD(ui_telemetry_info)
    SORVANE_FIELD(m_settings)
    SORVANE_FIELD(m_plotDlg)
    SORVANE_FIELD(m_saving)
    SORVANE_FIELD(m_telemFileTimer)
    SORVANE_FIELD(m_connectionDlg)
    SORVANE_FIELD(m_seiDlg)
    SORVANE_FIELD(m_telemetryDlg)
    SORVANE_FIELD(m_frame)
    SORVANE_FIELD(m_periodTimer)
    SORVANE_FIELD(m_navTimer)
    SORVANE_FIELD(m_tickTimer)
    SORVANE_FIELD(m_stopTimer)
    SORVANE_FIELD(m_zoomTimers)
    SORVANE_FIELD(m_linkHandle)
    SORVANE_FIELD(m_insHandle)
    SORVANE_FIELD(m_linkState)
    SORVANE_FIELD(m_frameRelease)
    SORVANE_FIELD(m_lastCode)
    SORVANE_FIELD(m_navBlock)
    SORVANE_FIELD(m_telemetry)
    SORVANE_FIELD(m_tracking)
    SORVANE_FIELD(m_statusVideo)
    SORVANE_FIELD(m_statusLink)
    SORVANE_FIELD(m_statPane)
    SORVANE_FIELD(m_stateTab)
    SORVANE_FIELD(m_ctrlPane)
    SORVANE_FIELD(m_ctrlSelect)
    SORVANE_FIELD(m_btnStatPane)
    SORVANE_FIELD(m_btnCtrlPane)
    SORVANE_FIELD(m_panePlayCtrl)
    SORVANE_FIELD(m_tip1)
    SORVANE_FIELD(m_tip2)
    SORVANE_FIELD(m_map1)
    SORVANE_FIELD(m_map2)
    SORVANE_FIELD(m_dragOverlay)
    SORVANE_FIELD(m_dragRing)
    SORVANE_FIELD(m_dragDot)
    SORVANE_FIELD(m_hitEdge)
    SORVANE_FIELD(playing1)
    SORVANE_FIELD(playing2)
    SORVANE_FIELD(recording1)
    SORVANE_FIELD(recording2)
    SORVANE_FIELD(snapping1)
    SORVANE_FIELD(snapping2)
    SORVANE_FIELD(m_recSplitTimer)
    SORVANE_FIELD(m_blinkTimer)
    SORVANE_FIELD(record_seconds)
    SORVANE_FIELD(record_dir)
    SORVANE_FIELD(record_file)
    SORVANE_FIELD(snap_dir)
    SORVANE_FIELD(snap_file)
    SORVANE_FIELD(snap_notice)
    SORVANE_FIELD(rec_notice)
    SORVANE_FIELD(replay_timer)
    SORVANE_FIELD(replay_left_ms)
    SORVANE_FIELD(no_signal1)
    SORVANE_FIELD(no_signal2)
    SORVANE_FIELD(m_replayState)
    SORVANE_FIELD(m_videoAlive)
    SORVANE_FIELD(m_videoCheckTimer)
    SORVANE_FIELD(m_frameTimer)
    SORVANE_FIELD(m_showFps)
    SORVANE_FIELD(frame_width)
    SORVANE_FIELD(frame_height)
    SORVANE_FIELD(frame_cache)
#undef SORVANE_FIELD

    // What lies with the parts: korvath_access.cpp, so that a part's header concerns one file of these tests.
    std::function<sorvane::CalendarTime()>& m_localClock() const;
    int m_interfaceHandle() const;
    VideoSurface* findSurface(QWidget* widget) const;
    // What the stream library calls with user data.
    std::function<void(void*, int, int)> onSei() const;
};

class KorvathTest : public ::testing::Test {
protected:
    // Values to stand in appCfg.ini before the window is built ("section/key", value). Nothing is opened by
    // itself unless a test asks for it.
    static void writeConfig(const QMap<QString, QVariant>& values = {}) {
        const QString path = configPath();
        QFile::remove(path);
        QSettings file(path, QSettings::IniFormat);
        file.setIniCodec("utf-8");
        file.setValue("common/play_video_on_start", false);
        for (auto it = values.begin(); it != values.end(); ++it) {
            file.setValue(it.key(), it.value());
        }
    }
    static QString configPath() { return QCoreApplication::applicationDirPath() + "/appCfg.ini"; }

    // Builds the window as the program does and waits until it is on the screen.
    void start(const QMap<QString, QVariant>& values = {}) {
        writeConfig(values);
        open();
    }
    void open() {
        window = std::make_unique<Korvath>();
        setInstance(window.get());
        window->initFirstStage();
        window->initSecondStage();
        qApp->installEventFilter(window.get());
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get(), 10000));
        window->activateWindow();
        ASSERT_TRUE(waitFor([this] { return window->isActiveWindow(); }));
    }
    void stop() {
        if (window) {
            window->close();
            setInstance(nullptr);
            window.reset();
        }
    }
    void TearDown() override {
        stop();
        QFile::remove(configPath());
    }

    // Runs the event loop until the condition holds; false after the deadline.
    static bool waitFor(const std::function<bool()>& condition, int deadline_ms = 10000) {
        const QDeadlineTimer deadline(deadline_ms);
        while (!condition()) {
            if (deadline.hasExpired()) {
                return false;
            }
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            QTest::qWait(1);
        }
        return true;
    }

    KorvathAccess in() const { return KorvathAccess{*window}; }
    Ui::KorvathClass& ui() const { return window->form(); }
    template <typename T>
    T* find(const char* name) const {
        return window->findChild<T*>(QLatin1String(name));
    }

    std::unique_ptr<Korvath> window;
};
