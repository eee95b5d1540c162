// What the scale bar says: the length that it measures with, the round values, its text and its width.
#pragma once

#include <cstdint>
#include <string>

namespace sorvane {

enum ScaleUnits : std::int32_t {
    kScaleMetric = 0,
    kScaleFeet = 1,
    kScaleSurveyFeet = 2,
    kScaleNauticalMiles = 3,
};

// The round value that stands for a distance.
double roundMetres(double metres);
// Feet in, feet out, also where the steps are miles of 5280 feet.
double roundFeet(double feet);
double roundNauticalMiles(double nautical_miles);

// Where the ground is measured, in pixels of a view of that size: two points at `y`, `length` apart.
struct MeasuringLine {
    double length = 0.0;
    double x0 = 0.0;
    double x1 = 0.0;
    double y = 0.0;
};
MeasuringLine measuringLine(int width, int height);

struct ScaleChoice {
    std::string text;
    double bar_px = 0.0;
    double units_per_px = 0.0;  // of the chosen unit: metres, feet or nautical miles
};
// `distance_m` was measured over `length_px`. A unit without a row is metric.
ScaleChoice chooseScale(ScaleUnits units, double distance_m, double length_px);

}  // namespace sorvane
