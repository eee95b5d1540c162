// The log files' part with a folder and a clock of the test's own, and what stands in the files.
#pragma once

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QStringList>
#include <QTemporaryDir>

#include "app/config/my_app_config.h"
#include "telemetry/telemetry_log.h"

inline QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
}

// Lines without their "\r\n"; a line that does not end so is kept whole.
inline QList<QByteArray> lines(const QString& path) {
    QList<QByteArray> result;
    QByteArray rest = contents(path);
    for (int end; (end = rest.indexOf("\r\n")) >= 0;) {
        result << rest.left(end);
        rest.remove(0, end + 2);
    }
    if (!rest.isEmpty()) {
        result << rest;
    }
    return result;
}

// What goes to the debug stream while it lives.
class DebugLines {
public:
    DebugLines() {
        s_lines().clear();
        m_before = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext&, const QString& text) { s_lines() << text; });
    }
    ~DebugLines() { qInstallMessageHandler(m_before); }
    DebugLines(const DebugLines&) = delete;
    DebugLines& operator=(const DebugLines&) = delete;

    static const QStringList& all() { return s_lines(); }
    static int count(const QString& part) { return s_lines().filter(part).size(); }

private:
    static QStringList& s_lines() {
        static QStringList lines;
        return lines;
    }
    QtMessageHandler m_before = nullptr;
};

class LogFiles : public ::testing::Test {
protected:
    LogFiles() : config(folder.filePath("none.ini")), log(makeLog()) {
        config.default_telemetry_saving_directory = root();
        config.telemetry_saving_option = 15;
        config.telemetry_saving_interval = 10;
    }
    std::unique_ptr<TelemetryLog> makeLog() {
        return std::make_unique<TelemetryLog>(
            timers, TelemetryLogFields{rotation_timer, saving}, config,
            TelemetryLogActions{[this] { return now; }, [this] { return link_open; }, [this] { ++refused; }});
    }

    QString root() const { return folder.filePath("telem"); }
    QString in(const QString& name) const { return root() + '/' + name; }
    QStringList filesOf(const QString& day) const { return QDir(in(day)).entryList(QDir::Files, QDir::Name); }
    void report() { log->take(record); }
    void report(int number) {
        record.track_x = static_cast<std::int16_t>(number);
        report();
    }

    QTemporaryDir folder;
    QObject timers;
    int rotation_timer = 0;
    bool saving = false;
    bool link_open = true;
    int refused = 0;
    sorvane::CalendarTime now{2026, 3, 9, 7, 5, 2, 40};
    sorvane::TelemetryRecord record;
    MyAppConfig config;
    std::unique_ptr<TelemetryLog> log;
};
