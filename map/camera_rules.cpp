#include "map/camera_rules.h"

#include <charconv>
#include <cmath>

namespace sorvane {

namespace {

constexpr double kLeastTurn_deg = 0.01;

}  // namespace

bool zoomAllowed(double distance_m, double step, double max_distance_m) {
    const double next = distance_m * (1.0 + step);
    return next > kNearestZoom_m && next < max_distance_m;
}

double normalisedDegrees(double degrees) {
    const double rest = std::fmod(degrees, 360.0);
    if (rest >= 0.0) {
        return rest;
    }
    // A hair below 0 would round up to 360 itself.
    const double turned = rest + 360.0;
    return turned < 360.0 ? turned : 0.0;
}

double compassHeading(double degrees) {
    const double heading = normalisedDegrees(degrees);
    return heading < kLeastTurn_deg || heading > 360.0 - kLeastTurn_deg ? 0.0 : heading;
}

bool faceTurns(double shown_deg, double heading_deg) {
    return std::fabs(shown_deg + heading_deg) >= kLeastTurn_deg;
}

std::string headingText(double heading_deg) {
    char text[352];
    return {text, std::to_chars(text, text + sizeof text, heading_deg, std::chars_format::fixed, 2).ptr};
}

}  // namespace sorvane
