// The telemetry's log files: what is written with each report while saving is on.
#pragma once

#include <QFile>
#include <QObject>
#include <cstdint>
#include <functional>
#include <memory>

#include "base/calendar_time.h"
#include "telemetry/telemetry_record.h"

class MyAppConfig;

// The window's fields that the log writes.
struct TelemetryLogFields {
    int& rotation_timer;  // id, 0: none
    bool& saving;
};

// What it asks for. Fields outlive it.
struct TelemetryLogActions {
    std::function<sorvane::CalendarTime()> local_clock;
    std::function<bool()> link_open;
    std::function<void()> refuse;  // tells the operator that the link is closed
};

// Saving is switched by toggle() and goes on whatever becomes of the link; directory and options are read
// from the configuration as they stand at each report. A row is on its way to the disk when its call returns.
// What cannot be written costs a debug line at most. GUI thread.
class TelemetryLog {
public:
    // `timers` runs the rotation's timer, whose expiry is handed to onRotationTimer().
    TelemetryLog(QObject& timers, const TelemetryLogFields& fields, const MyAppConfig& config,
                 TelemetryLogActions actions);
    // Closes both files.
    ~TelemetryLog();
    TelemetryLog(const TelemetryLog&) = delete;
    TelemetryLog& operator=(const TelemetryLog&) = delete;

    // On or off; refused either way while the link is closed.
    void toggle();
    // Both files close; the next report begins new ones.
    void onRotationTimer() { closeFiles(); }
    // Writes the report into the files that the option asks for. Call it while saving.
    void take(const sorvane::TelemetryRecord& record);
    void closeFiles();

    // A row of the raw and of the table file: 0, -1 no directory, -2 the file does not open.
    int saveRaw(const sorvane::TelemetryRecord& record);
    // The table file opens in a directory that exists, and never makes one; meant.
    int saveTable(const sorvane::TelemetryRecord& record);

private:
    QObject& m_timers;
    TelemetryLogFields m_fields;
    const MyAppConfig& m_config;
    TelemetryLogActions m_actions;
    // The raw file's object stays behind a failed open, and then takes nothing until the rotation.
    std::unique_ptr<QFile> m_raw;
    std::unique_ptr<QFile> m_table;
    std::uint32_t m_rows = 0;  // in the table file
};
