// A moment, in UTC.
#pragma once

#include <ctime>

namespace globe {

class DateTime {
public:
    // Now.
    DateTime();
    explicit DateTime(std::time_t seconds_since_1970);
    // Month and day from 1, hours 0 .. 24 with fraction.
    DateTime(int year, int month, int day, double hours);

    int year() const { return m_year; }
    int month() const { return m_month; }
    int day() const { return m_day; }
    double hours() const { return m_hours; }
    double daysSinceJ2000() const;

private:
    int m_year;
    int m_month;
    int m_day;
    double m_hours;
};

}  // namespace globe
