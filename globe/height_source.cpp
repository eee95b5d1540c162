#include "globe/height_source.h"

#include <algorithm>
#include <cmath>

namespace globe {
namespace {

Xyz between(const Xyz& a, const Xyz& b, double t) {
    return {a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t, a.z + (b.z - a.z) * t};
}

struct Sample {
    double above_m;    // of the line over the ground there
    double spacing_m;  // of the heights there
};

Sample sampleAt(const HeightSource& heights, const Xyz& point) {
    const Geodetic place = geocentricToGeodetic(point);
    const double spacing = toRadians(heights.spacingAt(place.lon, place.lat)) * kEquatorRadius_m;
    return {place.alt - heights.heightAt(place.lon, place.lat), spacing};
}

// Where the line crosses from above at `high` to below at `low`.
double refine(const HeightSource& heights, const Xyz& from, const Xyz& to, double high, double low) {
    for (int turn = 0; turn < 60 && low - high > 1e-16; ++turn) {
        const double middle = 0.5 * (high + low);
        (sampleAt(heights, between(from, to, middle)).above_m > 0.0 ? high : low) = middle;
    }
    return 0.5 * (high + low);
}

}  // namespace

bool intersectGround(const HeightSource& heights, const Xyz& from, const Xyz& to, Xyz* hit) {
    const double length = std::hypot(to.x - from.x, to.y - from.y, to.z - from.z);
    double enter = 0.0;
    double leave = 0.0;
    if (!(length > 0.0) ||
        !crossEllipsoid(from, to, std::max(heights.highest_m(), 0.0) + 1.0, &enter, &leave)) {
        return false;
    }
    // Below the lowest height the ground has been crossed for certain.
    double low_enter = 0.0;
    double low_leave = 0.0;
    double end = std::min(1.0, leave);
    const bool reaches_lowest =
        crossEllipsoid(from, to, std::min(heights.lowest_m(), 0.0) - 1.0, &low_enter, &low_leave);
    if (reaches_lowest && low_leave > 0.0) {
        end = std::min(end, std::max(low_enter, 0.0));
    }
    double at = std::max(0.0, enter);
    constexpr int kMaxSteps = 4096;
    const double least = std::max((end - at) / kMaxSteps, 1e-12);
    Sample here = sampleAt(heights, between(from, to, at));
    if (here.above_m < 0.0) {
        // From under the ground the far side is not to be hit.
        return false;
    }
    while (at < end) {
        // High above the ground steps may be long: the ground would have to be steeper than 60 degrees to be
        // missed.
        const double stride = std::max(here.spacing_m * 0.5, here.above_m * 0.5) / length;
        const double next = std::min(end, at + std::max(stride, least));
        const Sample there = sampleAt(heights, between(from, to, next));
        if (there.above_m <= 0.0) {
            *hit = between(from, to, refine(heights, from, to, at, next));
            return true;
        }
        at = next;
        here = there;
    }
    return false;
}

}  // namespace globe
