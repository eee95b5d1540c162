#include "map/scale_rules.h"

#include <algorithm>
#include <locale>
#include <sstream>

namespace sorvane {

namespace {

struct Step {
    double at_most;
    double result;
};

constexpr double kFeetPerMile = 5280.0;

// Thresholds lie midway between round values; those at 55000 m and 3640 ft are meant all the same.
constexpr Step kMetres[] = {
    {3, 1},         {7.5, 5},       {15, 10},         {35, 20},         {75, 50},         {150, 100},
    {350, 200},     {750, 500},     {1500, 1000},     {3500, 2000},     {7500, 5000},     {15000, 10000},
    {35000, 20000}, {55000, 50000}, {150000, 100000}, {350000, 200000}, {750000, 500000}, {1500000, 1000000},
};
constexpr double kMostMetres = 2000000;

constexpr Step kFeet[] = {
    {7.5, 5},
    {15, 10},
    {35, 20},
    {75, 50},
    {150, 100},
    {350, 200},
    {750, 500},
    {1500, 1000},
    {3640, 2000},
    {1.5 * kFeetPerMile, 1 * kFeetPerMile},
    {3.5 * kFeetPerMile, 2 * kFeetPerMile},
    {7.5 * kFeetPerMile, 5 * kFeetPerMile},
    {15 * kFeetPerMile, 10 * kFeetPerMile},
    {35 * kFeetPerMile, 20 * kFeetPerMile},
    {75 * kFeetPerMile, 50 * kFeetPerMile},
    {150 * kFeetPerMile, 100 * kFeetPerMile},
    {350 * kFeetPerMile, 200 * kFeetPerMile},
    {750 * kFeetPerMile, 500 * kFeetPerMile},
    {1500 * kFeetPerMile, 1000 * kFeetPerMile},
};
constexpr double kMostFeet = 2000 * kFeetPerMile;

constexpr Step kNauticalMiles[] = {
    {0.0015, 0.001}, {0.0035, 0.002}, {0.0075, 0.005}, {0.015, 0.01}, {0.035, 0.02},
    {0.075, 0.05},   {0.15, 0.1},     {0.35, 0.2},     {0.75, 0.5},   {1.5, 1},
    {3.5, 2},        {7.5, 5},        {15, 10},        {35, 20},      {75, 50},
    {150, 100},      {350, 200},      {750, 500},      {1500, 1000},
};
constexpr double kMostNauticalMiles = 2000;

template <std::size_t kRows>
double rounded(const Step (&table)[kRows], double beyond, double value) {
    for (const Step& step : table) {
        if (value <= step.at_most) {
            return step.result;
        }
    }
    return beyond;
}

std::string numberText(double value, const char* unit) {
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out << value << unit;
    return out.str();
}

ScaleChoice choice(double measured, double round, double length_px) {
    ScaleChoice c;
    c.units_per_px = measured / length_px;
    c.bar_px = round / c.units_per_px;
    return c;
}

ScaleChoice chooseFeet(double feet, double length_px, const char* mile_unit, const char* foot_unit) {
    const double n = roundFeet(feet);
    ScaleChoice c = choice(feet, n, length_px);
    c.text = n >= kFeetPerMile ? numberText(n / kFeetPerMile, mile_unit) : numberText(n, foot_unit);
    return c;
}

}  // namespace

double roundMetres(double metres) { return rounded(kMetres, kMostMetres, metres); }
double roundFeet(double feet) { return rounded(kFeet, kMostFeet, feet); }
double roundNauticalMiles(double nautical_miles) {
    return rounded(kNauticalMiles, kMostNauticalMiles, nautical_miles);
}

MeasuringLine measuringLine(int width, int height) {
    MeasuringLine line;
    line.length = std::clamp(width * 0.1 * 2.0, 10.0, 150.0);
    line.x0 = (width - 1) / 2.0 - line.length / 2.0;
    line.x1 = line.x0 + line.length;
    line.y = (height - 1) / 2.0;
    return line;
}

ScaleChoice chooseScale(ScaleUnits units, double distance_m, double length_px) {
    switch (units) {
        case kScaleFeet:
            return chooseFeet(kFeetPerMile * distance_m / 1609.344, length_px, " mi", " ft");
        case kScaleSurveyFeet:
            return chooseFeet(distance_m * 3937.0 / 1200.0, length_px, " miUS", " ftUS");
        case kScaleNauticalMiles: {
            const double miles = distance_m / 1852.0;
            const double n = roundNauticalMiles(miles);
            ScaleChoice c = choice(miles, n, length_px);
            c.text = numberText(n, " nmi");
            return c;
        }
        default: {
            const double n = roundMetres(distance_m);
            ScaleChoice c = choice(distance_m, n, length_px);
            c.text = n >= 1000.0 ? numberText(n / 1000.0, " km") : numberText(n, " m");
            return c;
        }
    }
}

}  // namespace sorvane
