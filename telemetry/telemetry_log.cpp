#include "telemetry/telemetry_log.h"

#include <QDebug>
#include <QDir>
#include <utility>

#include "app/config/my_app_config.h"
#include "telemetry/log_rules.h"

namespace {

// False, and told, when it does not open.
bool openLog(QFile& file) {
    if (file.open(QIODevice::ReadWrite | QIODevice::Truncate)) {
        return true;
    }
    qDebug() << "open file" << file.fileName() << "failed!";
    return false;
}

// A disk without room takes it later or not at all; nobody is told.
void writeRow(QFile& file, const std::string& row) {
    file.write(row.data(), static_cast<qint64>(row.size()));
    file.flush();
}

}  // namespace

TelemetryLog::TelemetryLog(QObject& timers, const TelemetryLogFields& fields, const MyAppConfig& config,
                           TelemetryLogActions actions)
    : m_timers(timers), m_fields(fields), m_config(config), m_actions(std::move(actions)) {}

TelemetryLog::~TelemetryLog() { closeFiles(); }

void TelemetryLog::toggle() {
    if (!m_actions.link_open()) {
        m_actions.refuse();
        return;
    }
    if (m_fields.saving) {
        m_timers.killTimer(m_fields.rotation_timer);
        closeFiles();
        m_fields.rotation_timer = 0;
        m_fields.saving = false;
        return;
    }
    m_fields.rotation_timer =
        m_timers.startTimer(sorvane::logRotationMs(m_config.telemetry_saving_interval), Qt::CoarseTimer);
    m_fields.saving = m_fields.rotation_timer != 0;
}

void TelemetryLog::take(const sorvane::TelemetryRecord& record) {
    const int option = m_config.telemetry_saving_option;
    if ((option & sorvane::kLogRaw) != 0) {
        saveRaw(record);
    }
    if ((option & sorvane::kLogTable) != 0) {
        saveTable(record);
    }
}

void TelemetryLog::closeFiles() {
    m_raw.reset();
    m_table.reset();
}

int TelemetryLog::saveRaw(const sorvane::TelemetryRecord& record) {
    const sorvane::CalendarTime now = m_actions.local_clock();
    if (m_raw == nullptr) {
        const QString dir = QString::fromStdString(
            sorvane::telemetryLogDirectory(m_config.default_telemetry_saving_directory.toStdString(), now));
        if (!QDir(dir).exists() && !QDir().mkpath(dir)) {
            qDebug("SaveTelemParams: Create dir failed!");
            return -1;
        }
        m_raw = std::make_unique<QFile>(dir + '/' + QString::fromStdString(sorvane::rawLogName(now)));
        if (!openLog(*m_raw)) {
            return -2;
        }
    }
    if (m_raw->isOpen()) {
        writeRow(*m_raw, sorvane::rawLogRow(record, now));
    }
    return 0;
}

int TelemetryLog::saveTable(const sorvane::TelemetryRecord& record) {
    const int option = m_config.telemetry_saving_option;
    if ((option & sorvane::kLogTable) == 0) {
        return 0;
    }
    const sorvane::CalendarTime now = m_actions.local_clock();
    if (m_table == nullptr) {
        const QString dir = QString::fromStdString(
            sorvane::telemetryLogDirectory(m_config.default_telemetry_saving_directory.toStdString(), now));
        if (!QDir(dir).exists()) {
            qDebug("SaveTelemIndividuals: Create dir failed!");
            return -1;
        }
        auto file = std::make_unique<QFile>(dir + '/' + QString::fromStdString(sorvane::tableLogName(now)));
        m_rows = 0;
        if (!openLog(*file)) {
            return -2;
        }
        m_table = std::move(file);
        writeRow(*m_table, sorvane::tableLogHeading(option));
    }
    writeRow(*m_table, sorvane::tableLogRow(++m_rows, record, option, now));
    return 0;
}
