// Dates and times of the pod's clock.
#pragma once

#include <cstdint>

namespace podsim {

struct CalendarTime {
    int year, month, day, hour, minute, second, millisecond;
};
// utc_ms: milliseconds since 1970-01-01 00:00, without leap seconds.
CalendarTime toCalendar(std::int64_t utc_ms);
std::int64_t fromCalendar(const CalendarTime& time);

}  // namespace podsim
