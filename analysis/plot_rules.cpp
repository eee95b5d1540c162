#include "analysis/plot_rules.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace sorvane {
namespace {

constexpr double kMargin = 0.2;     // beyond a value, of its size
constexpr double kFarShare = 0.65;  // of an end: a value below it leaves the end far out
constexpr int kEqualEnds = 2;       // pixels
constexpr double kLeastSpan = 1;    // on both sides of nothing
// A refresh may take up a third of the time.
constexpr std::int64_t kPeriodCosts = 3;
// After a single long one (the first, a resize) the chart goes on within a quarter of a second.
constexpr std::int64_t kLongestPeriod_ns = 250'000'000;

double above(double value) { return value + std::fabs(value) * kMargin; }
double below(double value) { return value - std::fabs(value) * kMargin; }

template <typename Number>
bool extend(PlotRange<Number> range, double value, int limit) {
    if (value > range.max) {
        range.max = static_cast<Number>(std::min<double>(above(value), limit));
        return true;
    }
    if (value < range.min) {
        range.min = static_cast<Number>(std::max<double>(below(value), -limit));
        return true;
    }
    if (value > range.seen_max) {
        range.seen_max = static_cast<Number>(value);
    } else if (value < range.seen_min) {
        range.seen_min = static_cast<Number>(value);
    }
    return false;
}

template <typename Number>
void shrinkUpper(PlotRange<Number> range) {
    if (std::fabs(range.max) * kFarShare > std::fabs(range.seen_max)) {
        range.max = static_cast<Number>(above(range.seen_max));
    }
}
template <typename Number>
void shrinkLower(PlotRange<Number> range) {
    if (std::fabs(range.min) * kFarShare > std::fabs(range.seen_min)) {
        range.min = static_cast<Number>(below(range.seen_min));
    }
}

template <typename Number>
void reset(PlotRange<Number> range, int limit) {
    range.seen_max = static_cast<Number>(-limit);
    range.seen_min = static_cast<Number>(limit);
}

}  // namespace

int plotCurves(int category) {
    if (category == kPlotFrameAngles || category == kPlotAttitudeAngles) {
        return 3;
    }
    return category == kPlotDeviation ? 2 : 0;
}

std::int16_t plotField(const TelemetryRecord& r, int category, int position) {
    switch (category) {
        case kPlotFrameAngles:
            return position == 0 ? r.frame_yaw : position == 1 ? r.frame_pitch : r.frame_roll;
        case kPlotAttitudeAngles:
            return position == 0 ? r.attitude_yaw : position == 1 ? r.attitude_pitch : r.attitude_roll;
        default:
            return position == 0 ? r.track_x : r.track_y;
    }
}

double plottedValue(int category, int field) { return category == kPlotDeviation ? field : field / 100.0; }

void resetSeen(AngleRange range) { reset(range, kAngleLimit); }
void resetSeen(DeviationRange range) { reset(range, kDeviationLimit); }

bool extendRange(AngleRange range, double value) { return extend(range, value, kAngleLimit); }
bool extendRange(DeviationRange range, int value) { return extend(range, value, kDeviationLimit); }

void shrinkRange(AngleRange range) {
    shrinkUpper(range);
    shrinkLower(range);
}

void shrinkRange(DeviationRange range) {
    shrinkUpper(range);
    if (range.max == range.seen_max) {
        range.max += kEqualEnds;
    }
    shrinkLower(range);
    if (range.min == range.seen_min) {
        range.max -= kEqualEnds;
    }
}

AxisSpan drawnSpan(double min, double max) {
    if (max > min) {
        return {min, max};
    }
    return {max - kLeastSpan, min + kLeastSpan};
}

AxisSpan newestWindow(std::uint32_t samples) {
    const double last = samples > kWindowSamples ? samples : kWindowSamples;
    return {last - kWindowSamples, last};
}

int newestScroll(std::uint32_t samples, int maximum) {
    if (samples <= kWindowSamples) {
        return 0;
    }
    return static_cast<int>(
        std::min<std::int64_t>(static_cast<std::int64_t>(samples) - kWindowSamples, maximum));
}

AxisSpan scrolledWindow(std::uint32_t samples, int value) {
    const double oldest = samples < kKeptSamples ? 0 : static_cast<double>(samples) - kKeptSamples;
    return {oldest + value, oldest + value + kWindowSamples};
}

int samplesToDrop(int kept, int batch) { return kept >= kKeptSamples ? std::min(kept, batch) : 0; }

std::int64_t RefreshPace::waitNs(std::int64_t now) const { return std::max<std::int64_t>(0, m_next - now); }

void RefreshPace::refreshed(std::int64_t began, std::int64_t took) {
    m_next = began + std::min(std::max<std::int64_t>(took, 0) * kPeriodCosts, kLongestPeriod_ns);
}

}  // namespace sorvane
