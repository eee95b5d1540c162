// What the air looks like from where the eye is: a few numbers instead of light scattered along each ray.
#pragma once

#include "globe/geodesy.h"

namespace globe {

struct SkyColor {
    double r = 0.0;
    double g = 0.0;
    double b = 0.0;
    double a = 0.0;  // how much it hides of space, 0 .. 1
};

// The top of the air that is drawn.
constexpr double kAirTop_m = 100000.0;

// Of the direction whose straight line passes the ground at `tangent_m` (its nearest height, negative through
// the earth), seen from `eye_height_m`. `upward_deg` is its angle above the horizontal plane of the eye;
// `sun_up` the sine of the sun's angle above the horizon where the line passes nearest to the ground.
SkyColor skyColor(double eye_height_m, double upward_deg, double tangent_m, double sun_up);

}  // namespace globe
