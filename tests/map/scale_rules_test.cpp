#include "map/scale_rules.h"

#include <gtest/gtest.h>

#include <cmath>
#include <locale>
#include <vector>

namespace sorvane {
namespace {

struct Row {
    double at_most, result;
};

void expectTable(double (*table)(double), const std::vector<Row>& rows, double beyond) {
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const double above = i == 0 ? 0 : std::nextafter(rows[i - 1].at_most, 1e30);
        EXPECT_EQ(table(above), rows[i].result) << above;
        EXPECT_EQ(table(rows[i].at_most), rows[i].result) << rows[i].at_most;
    }
    EXPECT_EQ(table(std::nextafter(rows.back().at_most, 1e30)), beyond);
    EXPECT_EQ(table(1e12), beyond);
}

TEST(ScaleTables, Metres) {
    expectTable(roundMetres,
                {{3, 1},
                 {7.5, 5},
                 {15, 10},
                 {35, 20},
                 {75, 50},
                 {150, 100},
                 {350, 200},
                 {750, 500},
                 {1500, 1000},
                 {3500, 2000},
                 {7500, 5000},
                 {15000, 10000},
                 {35000, 20000},
                 {55000, 50000},
                 {150000, 100000},
                 {350000, 200000},
                 {750000, 500000},
                 {1500000, 1000000}},
                2000000);
}

TEST(ScaleTables, Feet) {
    constexpr double kMile = 5280;
    expectTable(roundFeet,
                {{7.5, 5},
                 {15, 10},
                 {35, 20},
                 {75, 50},
                 {150, 100},
                 {350, 200},
                 {750, 500},
                 {1500, 1000},
                 {3640, 2000},
                 {1.5 * kMile, kMile},
                 {3.5 * kMile, 2 * kMile},
                 {7.5 * kMile, 5 * kMile},
                 {15 * kMile, 10 * kMile},
                 {35 * kMile, 20 * kMile},
                 {75 * kMile, 50 * kMile},
                 {150 * kMile, 100 * kMile},
                 {350 * kMile, 200 * kMile},
                 {750 * kMile, 500 * kMile},
                 {1500 * kMile, 1000 * kMile}},
                2000 * kMile);
}

TEST(ScaleTables, NauticalMiles) {
    expectTable(roundNauticalMiles,
                {{0.0015, 0.001},
                 {0.0035, 0.002},
                 {0.0075, 0.005},
                 {0.015, 0.01},
                 {0.035, 0.02},
                 {0.075, 0.05},
                 {0.15, 0.1},
                 {0.35, 0.2},
                 {0.75, 0.5},
                 {1.5, 1},
                 {3.5, 2},
                 {7.5, 5},
                 {15, 10},
                 {35, 20},
                 {75, 50},
                 {150, 100},
                 {350, 200},
                 {750, 500},
                 {1500, 1000}},
                2000);
}

TEST(MeasuringLine, IsAFifthOfTheWidthWithinLimits) {
    EXPECT_EQ(measuringLine(1000, 10).length, 150);
    EXPECT_EQ(measuringLine(400, 10).length, 80);
    EXPECT_EQ(measuringLine(40, 10).length, 10);
    EXPECT_EQ(measuringLine(0, 0).length, 10);
}

TEST(MeasuringLine, LiesInTheMiddle) {
    const MeasuringLine line = measuringLine(401, 300);
    EXPECT_NEAR(line.x0, 200 - 40.1, 1e-9);
    EXPECT_NEAR(line.x1, 200 + 40.1, 1e-9);
    EXPECT_EQ(line.y, 149.5);
}

TEST(Scale, MetricExample) {
    const ScaleChoice c = chooseScale(kScaleMetric, 3600, 150);
    EXPECT_EQ(c.units_per_px, 24);
    EXPECT_EQ(c.text, "5 km");
    EXPECT_NEAR(c.bar_px, 208.333, 0.001);
}

TEST(Scale, TextsOfEachUnit) {
    EXPECT_EQ(chooseScale(kScaleMetric, 999, 100).text, "1 km");
    EXPECT_EQ(chooseScale(kScaleMetric, 600, 100).text, "500 m");
    EXPECT_EQ(chooseScale(kScaleMetric, 3, 100).text, "1 m");
    EXPECT_EQ(chooseScale(kScaleMetric, 1e8, 100).text, "2000 km");
    EXPECT_EQ(chooseScale(static_cast<ScaleUnits>(9), 600, 100).text, "500 m");
    // 300 m are 984.25 ft.
    EXPECT_EQ(chooseScale(kScaleFeet, 300, 100).text, "1000 ft");
    EXPECT_EQ(chooseScale(kScaleFeet, 1500, 100).text, "1 mi");
    EXPECT_EQ(chooseScale(kScaleFeet, 1e8, 100).text, "2000 mi");
    EXPECT_EQ(chooseScale(kScaleSurveyFeet, 300, 100).text, "1000 ftUS");
    EXPECT_EQ(chooseScale(kScaleSurveyFeet, 1500, 100).text, "1 miUS");
    EXPECT_EQ(chooseScale(kScaleNauticalMiles, 100, 100).text, "0.05 nmi");
    EXPECT_EQ(chooseScale(kScaleNauticalMiles, 1852, 100).text, "1 nmi");
}

TEST(Scale, UnitsPerPixelAreOfTheChosenUnit) {
    EXPECT_NEAR(chooseScale(kScaleFeet, 1609.344, 100).units_per_px, 52.8, 1e-9);
    EXPECT_NEAR(chooseScale(kScaleSurveyFeet, 1200, 100).units_per_px, 39.37, 1e-9);
    EXPECT_NEAR(chooseScale(kScaleNauticalMiles, 3704, 100).units_per_px, 0.02, 1e-12);
    EXPECT_NEAR(chooseScale(kScaleNauticalMiles, 3704, 100).bar_px, 100, 1e-9);
    EXPECT_NEAR(chooseScale(kScaleFeet, 1609.344, 100).bar_px, 100, 1e-9);
}

struct CommaPoint : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
};

TEST(Scale, ReadsTheSameInEveryLocale) {
    const std::locale before = std::locale::global(std::locale(std::locale(), new CommaPoint));
    EXPECT_EQ(chooseScale(kScaleNauticalMiles, 100, 100).text, "0.05 nmi");
    std::locale::global(before);
}

}  // namespace
}  // namespace sorvane
