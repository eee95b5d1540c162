// Rules of the telemetry's log files: names on the disk, the heading and the rows of both files.
#pragma once

#include <cstdint>
#include <string>

#include "base/calendar_time.h"
#include "telemetry/telemetry_record.h"

namespace sorvane {

// Bits of telemetry_saving_option.
enum TelemetryLogOption : int {
    kLogRaw = 1,             // the raw file
    kLogFrameAngles = 2,     // three groups of the table file
    kLogAttitudeAngles = 4,  //
    kLogDeviation = 8,
    kLogTable = kLogFrameAngles | kLogAttitudeAngles | kLogDeviation,
};

// `root` and the day: "root/yyyyMMdd". A root that ends in "/" or "\" is followed by the day at once. UTF-8.
std::string telemetryLogDirectory(const std::string& root, const CalendarTime& time);
// "hhmmss.dat" and "hhmmss_params.csv", the time of opening.
std::string rawLogName(const CalendarTime& time);
std::string tableLogName(const CalendarTime& time);

// One report in the raw file: time, the count of its bytes, each byte in hexadecimal, "\r\n". ASCII.
std::string rawLogRow(const TelemetryRecord& record, const CalendarTime& time);
// The first line of the table file, in gb2312: bytes kept here, so that no codec of the system is needed.
// The empty columns before the second and third group are meant.
std::string tableLogHeading(int option);
// One report in the table file, ASCII, whatever the locale. Angles in degrees, deviations in pixels.
std::string tableLogRow(std::uint32_t number, const TelemetryRecord& record, int option,
                        const CalendarTime& time);

// Period of the rotation in ms for an interval in minutes. One below a minute counts as one minute: files
// would begin faster than their names differ. One that no timer can run counts as the longest that it can.
int logRotationMs(int minutes);

}  // namespace sorvane
