#include "globe/date_time.h"

#include <cmath>

#include "globe/sun_position.h"

namespace globe {

DateTime::DateTime() : DateTime(std::time(nullptr)) {}

// Days to a date, counted in years that begin with March.
DateTime::DateTime(std::time_t seconds_since_1970) {
    const double seconds = static_cast<double>(seconds_since_1970);
    const double days = std::floor(seconds / 86400.0);
    m_hours = (seconds - days * 86400.0) / 3600.0;
    // From 0000-03-01; eras of 400 years have 146097 days.
    const double from_march = days + 719468.0;
    const double era = std::floor(from_march / 146097.0);
    const int day_of_era = static_cast<int>(from_march - era * 146097.0);
    const int year_of_era = (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
    const int day_of_year = day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
    const int month = (5 * day_of_year + 2) / 153;
    m_day = day_of_year - (153 * month + 2) / 5 + 1;
    m_month = month < 10 ? month + 3 : month - 9;
    m_year = year_of_era + static_cast<int>(era) * 400 + (m_month <= 2 ? 1 : 0);
}

DateTime::DateTime(int year, int month, int day, double hours)
    : m_year(year), m_month(month), m_day(day), m_hours(hours) {}

double DateTime::daysSinceJ2000() const { return globe::daysSinceJ2000(m_year, m_month, m_day, m_hours); }

}  // namespace globe
