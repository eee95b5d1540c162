#include "telemetry/log_rules.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

namespace sorvane {
namespace {

constexpr int kMinuteMs = 60000;
constexpr const char* kLineEnd = "\r\n";

constexpr std::size_t kRowRoom = 256;  // for the longest row

// Rows are put together by hand: at every report, and without the locale that the C library would ask.
void addDigits(std::string& text, int value, int width) {
    char reversed[16];
    int count = 0;
    for (; value > 0 || count < width; value /= 10) {
        reversed[count++] = static_cast<char>('0' + value % 10);
    }
    while (count > 0) {
        text += reversed[--count];
    }
}

void addNumber(std::string& text, int value) {
    if (value < 0) {
        text += '-';
    }
    addDigits(text, std::abs(value), 1);
}

// With two decimals, exact.
void addHundredths(std::string& text, int hundredths) {
    if (hundredths < 0) {
        text += '-';
    }
    const int size = std::abs(hundredths);
    addDigits(text, size / 100, 1);
    text += '.';
    addDigits(text, size % 100, 2);
}

void addDay(std::string& text, const CalendarTime& t, const char* between) {
    addDigits(text, t.year, 4);
    text += between;
    addDigits(text, t.month, 2);
    text += between;
    addDigits(text, t.day, 2);
}
void addClock(std::string& text, const CalendarTime& t, const char* between) {
    addDigits(text, t.hour, 2);
    text += between;
    addDigits(text, t.minute, 2);
    text += between;
    addDigits(text, t.second, 2);
}

// "yyyy MM dd hh:mm:ss.zzz"
void addStamp(std::string& text, const CalendarTime& t) {
    addDay(text, t, " ");
    text += ' ';
    addClock(text, t, ":");
    text += '.';
    addDigits(text, t.millisecond, 3);
}

void addAngles(std::string& text, int yaw, int pitch, int roll) {
    for (const int angle : {yaw, pitch, roll}) {
        text += ',';
        addHundredths(text, angle);
    }
}

// In gb2312. A string ends where a hexadecimal digit would follow an escape.
constexpr const char* kNumber = "\xd0\xf2\xba\xc5,";                                  // 序号
constexpr const char* kTime = "\xca\xb1\xbc\xe4";                                     // 时间
constexpr const char* kFrameYaw = ", \xbf\xf2\xbc\xdc\xb7\xbd\xce\xbb\xbd\xc7";       // 框架方位角
constexpr const char* kFramePitch = ", \xbf\xf2\xbc\xdc\xb8\xa9\xd1\xf6\xbd\xc7";     // 框架俯仰角
constexpr const char* kFrameRoll = ", \xbf\xf2\xbc\xdc\xba\xe1\xb9\xf6\xbd\xc7";      // 框架横滚角
constexpr const char* kAttitudeYaw = ", ,\xd7\xcb\xcc\xac\xb7\xbd\xce\xbb\xbd\xc7";   // 姿态方位角
constexpr const char* kAttitudePitch = ", \xd7\xcb\xcc\xac\xb8\xa9\xd1\xf6\xbd\xc7";  // 姿态俯仰角
constexpr const char* kAttitudeRoll = ", \xd7\xcb\xcc\xac\xba\xe1\xb9\xf6\xbd\xc7";   // 姿态横滚角
constexpr const char* kDeviationX = ", ,\xb8\xfa\xd7\xd9\xbf\xed\xc6\xab\xb2\xee";    // 跟踪宽偏差
constexpr const char* kDeviationY = ", \xb8\xfa\xd7\xd9\xb8\xdf\xc6\xab\xb2\xee";     // 跟踪高偏差

}  // namespace

std::string telemetryLogDirectory(const std::string& root, const CalendarTime& time) {
    const bool ended = !root.empty() && (root.back() == '/' || root.back() == '\\');
    std::string directory = root + (ended ? "" : "/");
    addDay(directory, time, "");
    return directory;
}

std::string rawLogName(const CalendarTime& time) {
    std::string name;
    addClock(name, time, "");
    return name + ".dat";
}

std::string tableLogName(const CalendarTime& time) {
    std::string name;
    addClock(name, time, "");
    return name + "_params.csv";
}

std::string rawLogRow(const TelemetryRecord& record, const CalendarTime& time) {
    constexpr const char* kHex = "0123456789abcdef";
    std::string row;
    row.reserve(kRowRoom);
    addStamp(row, time);
    row += '(';
    addNumber(row, static_cast<int>(kTelemetryRecordSize));
    row += "): ";
    const auto* bytes = reinterpret_cast<const unsigned char*>(&record);
    for (std::size_t i = 0; i < kTelemetryRecordSize; ++i) {
        const char text[] = {kHex[bytes[i] >> 4], kHex[bytes[i] & 0xF], ' '};
        row.append(text, sizeof text);
    }
    row += kLineEnd;
    return row;
}

std::string tableLogHeading(int option) {
    std::string line = std::string(kNumber) + kTime;
    if ((option & kLogFrameAngles) != 0) {
        line += std::string(kFrameYaw) + kFramePitch + kFrameRoll;
    }
    if ((option & kLogAttitudeAngles) != 0) {
        line += std::string(kAttitudeYaw) + kAttitudePitch + kAttitudeRoll;
    }
    if ((option & kLogDeviation) != 0) {
        line += std::string(kDeviationX) + kDeviationY;
    }
    return line + kLineEnd;
}

std::string tableLogRow(std::uint32_t number, const TelemetryRecord& record, int option,
                        const CalendarTime& time) {
    std::string row;
    row.reserve(kRowRoom);
    // Signed: the counter has 32 bits, and a spreadsheet takes either.
    row += std::to_string(static_cast<std::int32_t>(number));
    row += ", ";
    addStamp(row, time);
    if ((option & kLogFrameAngles) != 0) {
        addAngles(row, record.frame_yaw, record.frame_pitch, record.frame_roll);
    }
    if ((option & kLogAttitudeAngles) != 0) {
        row += ", ";
        addAngles(row, record.attitude_yaw, record.attitude_pitch, record.attitude_roll);
    }
    if ((option & kLogDeviation) != 0) {
        row += ", ,";
        addNumber(row, record.track_x);
        row += ',';
        addNumber(row, record.track_y);
    }
    row += kLineEnd;
    return row;
}

int logRotationMs(int minutes) { return std::clamp(minutes, 1, INT_MAX / kMinuteMs) * kMinuteMs; }

}  // namespace sorvane
