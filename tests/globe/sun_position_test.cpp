#include "globe/sun_position.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/globe/reference_figures.h"

namespace globe {
namespace {

TEST(SunPosition, AsPyEphemSays) {
    for (const globe_test::sun_figure& figure : globe_test::kSunFigures) {
        const double days = daysSinceJ2000(static_cast<int>(figure.year), static_cast<int>(figure.month),
                                           static_cast<int>(figure.day), figure.hours);
        const SunPosition sun = sunPosition(days);
        EXPECT_NEAR(sun.declination_deg, figure.declination, 0.02) << figure.year;
        EXPECT_NEAR(std::remainder(sun.subsolar_lon_deg - figure.subsolar_lon, 360.0), 0.0, 0.02)
            << figure.year;
        EXPECT_NEAR(std::hypot(sun.direction.x, sun.direction.y, sun.direction.z), 1.0, 1e-12);
        EXPECT_NEAR(toDegrees(std::asin(sun.direction.z)), sun.declination_deg, 1e-9);
        EXPECT_NEAR(toDegrees(std::atan2(sun.direction.y, sun.direction.x)), sun.subsolar_lon_deg, 1e-9);
        EXPECT_NEAR(sun.distance_m, 1.496e11, 0.018 * 1.496e11);
    }
}

TEST(SunPosition, DaysAreCounted) {
    EXPECT_EQ(daysSinceJ2000(2000, 1, 1, 12.0), 0.0);
    EXPECT_EQ(daysSinceJ2000(1999, 12, 31, 12.0), -1.0);
    EXPECT_EQ(daysSinceJ2000(2000, 3, 1, 12.0), 60.0);
    EXPECT_EQ(daysSinceJ2000(2001, 3, 1, 0.0), 424.5);
    EXPECT_EQ(daysSinceJ2000(2100, 3, 1, 12.0), 36584.0);
}

}  // namespace
}  // namespace globe
