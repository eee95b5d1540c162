// Rules of recordings, pictures and replays: names on the disk, times shown, what blinks, how a long path is
// broken. Texts are UTF-8 but where told.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "base/calendar_time.h"

namespace sorvane {

// Format of a capture, as the stream library takes it.
enum CaptureFormat : int { kCaptureRaw = 0, kCaptureMp4 = 1 };

// `base` and the day: "base/yyyyMMdd".
std::string datedDirectory(const std::string& base, const CalendarTime& time);
// The file in its dated directory: "hhmmss_", the stream's handle plus 1, ".mp4" or (any other format)
// ".dat". The handle keeps two channels apart that begin within one second.
std::string recordingPath(const std::string& directory, const CalendarTime& time, int handle, int format);
// "hhmmss_1.jpg" or "hhmmss_2.jpg" in the dated directory.
std::string snapshotPath(const std::string& directory, const CalendarTime& time, int channel);

// Period of the roll-over in ms for an interval in minutes. One below a minute would begin files faster than
// their names differ: it counts as one minute. One that no timer can run counts as the longest that it can.
int splitPeriodMs(int minutes);

// "record hh:mm:ss"; the minutes are all that have passed and go beyond 59 beside the hours.
std::string recordingTipText(int seconds);
// "hh:mm:ss" of what is left of a replay, whole seconds.
std::string countdownText(std::int64_t left_ms);

// What a tick does to the tips; a channel is active while it records or takes snapshots.
struct TipTick {
    enum class Tip { kStays, kHides, kToggles };
    Tip first = Tip::kStays;
    Tip second = Tip::kStays;
    bool stops = false;  // the blinking
};
TipTick nextTipTick(bool active1, bool active2);

// Breaks a text (UTF-16) into lines that `fits` accepts, each as long as it can be, whatever the words. A
// line holds one character at least; a surrogate pair stays whole.
std::u16string brokenToFit(const std::u16string& text,
                           const std::function<bool(const std::u16string& line)>& fits);

}  // namespace sorvane
