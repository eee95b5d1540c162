#include "video/recording_rules.h"

#include <algorithm>
#include <climits>
#include <cstdio>

namespace sorvane {
namespace {

constexpr int kMinuteMs = 60000;

std::string timeText(long long hours, long long minutes, long long seconds) {
    char text[80];
    std::snprintf(text, sizeof text, "%02lld:%02lld:%02lld", hours, minutes, seconds);
    return text;
}

std::string timeStem(const CalendarTime& time) {
    char text[40];
    std::snprintf(text, sizeof text, "%02d%02d%02d_", time.hour, time.minute, time.second);
    return text;
}

bool isHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }

}  // namespace

std::string datedDirectory(const std::string& base, const CalendarTime& time) {
    char text[40];
    std::snprintf(text, sizeof text, "/%04d%02d%02d", time.year, time.month, time.day);
    return base + text;
}

std::string recordingPath(const std::string& directory, const CalendarTime& time, int handle, int format) {
    return directory + "/" + timeStem(time) + std::to_string(static_cast<long long>(handle) + 1) +
           (format == kCaptureMp4 ? ".mp4" : ".dat");
}

std::string snapshotPath(const std::string& directory, const CalendarTime& time, int channel) {
    return directory + "/" + timeStem(time) + std::to_string(channel) + ".jpg";
}

int splitPeriodMs(int minutes) { return std::clamp(minutes, 1, INT_MAX / kMinuteMs) * kMinuteMs; }

std::string recordingTipText(int seconds) {
    return "record " + timeText(seconds / 3600, seconds / 60, seconds % 60);
}

std::string countdownText(std::int64_t left_ms) {
    const std::int64_t seconds = left_ms / 1000;
    return timeText(seconds / 3600, seconds % 3600 / 60, seconds % 60);
}

TipTick nextTipTick(bool active1, bool active2) {
    using Tip = TipTick::Tip;
    TipTick tick;
    tick.first = active1 ? Tip::kToggles : Tip::kHides;
    tick.second = active2 ? Tip::kToggles : Tip::kHides;
    tick.stops = !active1 && !active2;
    return tick;
}

std::u16string brokenToFit(const std::u16string& text,
                           const std::function<bool(const std::u16string& line)>& fits) {
    std::u16string lines;
    std::u16string line;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t units = isHighSurrogate(text[at]) && at + 1 < text.size() ? 2 : 1;
        const std::u16string character = text.substr(at, units);
        if (!line.empty() && !fits(line + character)) {
            lines += line + u'\n';
            line.clear();
        }
        line += character;
        at += units;
    }
    return lines + line;
}

}  // namespace sorvane
