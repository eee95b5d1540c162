// What bounds the camera of the globe, and what the compass shows of it.
#pragma once

#include <string>

namespace sorvane {

// Both ends of the band of camera distances are excluded. A step that would leave it is dropped whole.
constexpr double kNearestZoom_m = 400.0;
bool zoomAllowed(double distance_m, double step, double max_distance_m);

// 0 up to, not including, 360.
double normalisedDegrees(double degrees);
// The same, and 0 within 0.01 degree of north.
double compassHeading(double degrees);
// A face turned to `shown_deg` is left alone for a heading that would turn it by less than 0.01 degree.
bool faceTurns(double shown_deg, double heading_deg);
// Two decimals.
std::string headingText(double heading_deg);

}  // namespace sorvane
