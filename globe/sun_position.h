// Where the sun stands over the earth.
#pragma once

#include "globe/geodesy.h"

namespace globe {

struct SunPosition {
    double right_ascension_deg = 0.0;  // 0 .. 360, of date
    double declination_deg = 0.0;
    double subsolar_lon_deg = 0.0;  // where it stands in the zenith; -180 .. 180
    double distance_m = 0.0;
    Xyz direction;  // earth-fixed, of length 1
};

// Days since 2000-01-01 12:00 of a UTC calendar date (proleptic Gregorian) and hour (0 .. 24, with fraction).
double daysSinceJ2000(int year, int month, int day, double hours);

// Good to 0.02 degree from 1950 to 2050: the low-precision formulas of the Astronomical Almanac (page C5),
// with UTC in place of the times that it asks for, which costs less than a second.
SunPosition sunPosition(double days_since_j2000);

}  // namespace globe
