#include "simulator/pod/calendar.h"

namespace podsim {
namespace {

constexpr std::int64_t kDayMs = 86400000;

// Days since 1970-01-01 of a proleptic Gregorian date, counted in years that begin on the first of March so
// that the leap day is the last one.
std::int64_t daysFromDate(int year, int month, int day) {
    const std::int64_t y = month <= 2 ? year - 1 : year;
    const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
    const std::int64_t year_of_era = y - era * 400;
    const std::int64_t day_of_year = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    return era * 146097 + year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year - 719468;
}

}  // namespace

CalendarTime toCalendar(std::int64_t utc_ms) {
    std::int64_t days = utc_ms / kDayMs;
    std::int64_t rest = utc_ms % kDayMs;
    if (rest < 0) {
        rest += kDayMs;
        --days;
    }
    int year = 1970 + static_cast<int>(days / 366);
    while (daysFromDate(year + 1, 1, 1) <= days) {
        ++year;
    }
    while (daysFromDate(year, 1, 1) > days) {
        --year;
    }
    int month = 1;
    while (month < 12 && daysFromDate(year, month + 1, 1) <= days) {
        ++month;
    }
    const auto r = static_cast<int>(rest);
    return {year,        month,          static_cast<int>(days - daysFromDate(year, month, 1)) + 1,
            r / 3600000, r / 60000 % 60, r / 1000 % 60,
            r % 1000};
}

std::int64_t fromCalendar(const CalendarTime& t) {
    return daysFromDate(t.year, t.month, t.day) * kDayMs +
           ((t.hour * 60LL + t.minute) * 60 + t.second) * 1000 + t.millisecond;
}

}  // namespace podsim
