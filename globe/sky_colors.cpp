#include "globe/sky_colors.h"

#include <algorithm>
#include <cmath>

namespace globe {

SkyColor skyColor(double eye_height_m, double upward_deg, double tangent_m, double sun_up) {
    // Thicker than the real air, so that it shows from afar.
    constexpr double kScaleHeight_m = 16000.0;
    // Air along the line: that above its lowest point, both ways from outside, one way from within and
    // upward.
    const double lowest = upward_deg > 0.0 ? eye_height_m : std::max(0.0, tangent_m);
    const double above = std::exp(-std::max(0.0, lowest) / kScaleHeight_m);
    const double slant = upward_deg > 0.0 ? 1.0 / (std::sin(toRadians(upward_deg)) + 0.15) : 1.0 / 0.15;
    const double thickness = above * slant;

    const double day = std::clamp((sun_up + 0.12) / 0.32, 0.0, 1.0);
    const double dusk = std::clamp(1.0 - std::fabs(sun_up) / 0.25, 0.0, 1.0);
    const double haze = std::clamp(thickness / (1.0 / 0.15), 0.0, 1.0);
    SkyColor color;
    color.r = day * (0.20 + 0.50 * haze) + 0.25 * dusk * haze;
    color.g = day * (0.42 + 0.36 * haze) + 0.05 * dusk * haze;
    color.b = day * (0.80 + 0.15 * haze) + 0.03;
    color.a = std::clamp(1.0 - std::exp(-0.9 * thickness), 0.0, 1.0) * std::max(0.15, day);
    return color;
}

}  // namespace globe
