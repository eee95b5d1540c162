#include "globe/sun_position.h"

#include <cmath>

namespace globe {

double daysSinceJ2000(int year, int month, int day, double hours) {
    // Years from March, so that the leap day comes last.
    const int y = month > 2 ? year : year - 1;
    const int m = month > 2 ? month - 3 : month + 9;
    const int century = static_cast<int>(std::floor(y / 100.0));
    const double days = std::floor(365.25 * y) + std::floor((153.0 * m + 2.0) / 5.0) + day - century +
                        std::floor(century / 4.0);
    // 2000-01-01 is day 730426 by this count.
    return days - 730426.0 - 0.5 + hours / 24.0;
}

SunPosition sunPosition(double days_since_j2000) {
    const double n = days_since_j2000;
    const double mean_longitude = 280.460 + 0.9856474 * n;
    const double anomaly = toRadians(std::fmod(357.528 + 0.9856003 * n, 360.0));
    const double longitude = toRadians(
        std::fmod(mean_longitude + 1.915 * std::sin(anomaly) + 0.020 * std::sin(2.0 * anomaly), 360.0));
    const double obliquity = toRadians(23.439 - 0.0000004 * n);
    const double ascension = std::atan2(std::cos(obliquity) * std::sin(longitude), std::cos(longitude));
    const double declination = std::asin(std::sin(obliquity) * std::sin(longitude));
    // Greenwich mean sidereal time.
    const double sidereal = std::fmod(280.46061837 + 360.98564736629 * n, 360.0);

    SunPosition sun;
    sun.right_ascension_deg = wrapBearing(toDegrees(ascension));
    sun.declination_deg = toDegrees(declination);
    sun.subsolar_lon_deg = wrapLongitude(toDegrees(ascension) - sidereal);
    constexpr double kAstronomicalUnit_m = 149597870700.0;
    sun.distance_m =
        kAstronomicalUnit_m * (1.00014 - 0.01671 * std::cos(anomaly) - 0.00014 * std::cos(2.0 * anomaly));
    const double lon = toRadians(sun.subsolar_lon_deg);
    sun.direction = {std::cos(declination) * std::cos(lon), std::cos(declination) * std::sin(lon),
                     std::sin(declination)};
    return sun;
}

}  // namespace globe
