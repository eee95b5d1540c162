// Calendar time as everything that stamps a frame, a log or a file gets it.
#pragma once

namespace sorvane {

// Local calendar time. Everything that stamps a frame gets it handed in, so that a test can set the clock.
struct CalendarTime {
    int year = 0;         // full, for instance 2026
    int month = 0;        // 1..12
    int day = 0;          // 1..31
    int hour = 0;         // 0..23
    int minute = 0;       // 0..59
    int second = 0;       // 0..60
    int millisecond = 0;  // 0..999
};

}  // namespace sorvane
