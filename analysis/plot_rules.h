// Rules of the live plots: which value of a report a curve takes, how the range of an axis follows the
// values, when it is looked at, and which samples the window shows.
#pragma once

#include <cstdint>

#include "telemetry/telemetry_record.h"

namespace sorvane {

// What is plotted together. The curves of a category have positions: yaw or width 0, pitch or height 1,
// roll 2.
enum PlotCategory : int {
    kPlotNothing = 0,
    kPlotFrameAngles = 1,
    kPlotAttitudeAngles = 2,
    kPlotDeviation = 3,
};
// 3 for angles, 2 for the deviation, 0 for anything else.
int plotCurves(int category);

// The field of a curve as it was reported: 0.01 degree, or pixels.
std::int16_t plotField(const TelemetryRecord& record, int category, int position);
// The value on the axis, degrees or pixels, for a field that has been divided.
double plottedValue(int category, int field);

// The range of a category's axis and the values seen since the last reset that did not grow it: the fields of
// whoever keeps them. Angles are kept as float, in degrees; the deviation in whole pixels.
template <typename Number>
struct PlotRange {
    Number& min;
    Number& max;
    Number& seen_min;
    Number& seen_max;
};
using AngleRange = PlotRange<float>;
using DeviationRange = PlotRange<int>;

constexpr int kAngleLimit = 180;      // degrees to either side
constexpr int kDeviationLimit = 960;  // pixels to either side

// No value seen: both beyond every value, so that nothing shrinks.
void resetSeen(AngleRange range);
void resetSeen(DeviationRange range);
// Takes a value: true when it lay outside and the range grew, by a fifth of the value's size beyond it, up to
// the limit. Such a value is none of those seen. A value above what was seen is not tested against the
// lowest.
bool extendRange(AngleRange range, double value);
bool extendRange(DeviationRange range, int value);
// Draws an end in that lies far out (the value seen there is below 0.65 of it), to a fifth beyond the value
// seen. Of the deviation, an end equal to the value seen there then moves the maximum by 2, outwards for the
// upper end and inwards for the lower; meant, and tested at each shrink.
void shrinkRange(AngleRange range);
void shrinkRange(DeviationRange range);

// Records from one look at the range to the next.
constexpr int kRescaleRecords = 100;
// After a record: whether the axis is to be set. It is when a value grew the range, or when `countdown` is
// used up, and then the range shrinks first. The countdown begins anew.
template <typename Number>
bool rescale(bool grew, PlotRange<Number> range, int& countdown) {
    if (!grew && countdown >= 0) {
        return false;
    }
    if (!grew) {
        shrinkRange(range);
    }
    countdown = kRescaleRecords;
    return true;
}

// An axis needs a span. One unit is added on both sides of a range that has none, or whose ends have crossed.
struct AxisSpan {
    double low;
    double high;
};
AxisSpan drawnSpan(double min, double max);

// Samples are numbered from 1; the window is 100 wide, and a curve keeps about the last 1000.
constexpr int kWindowSamples = 100;
constexpr int kKeptSamples = 1000;
// The newest window, and where the scroll bar stands then, up to its maximum.
AxisSpan newestWindow(std::uint32_t samples);
int newestScroll(std::uint32_t samples, int maximum);
// The window at a value of the scroll bar.
AxisSpan scrolledWindow(std::uint32_t samples, int value);
// How many of the oldest samples go before a batch joins `kept` ones.
int samplesToDrop(int kept, int batch);

// How often a chart may be drawn anew, so that the thread that draws keeps most of its time whatever the rate
// of the samples and the cost of a picture. Times in ns of one steady clock.
class RefreshPace {
public:
    // How long a refresh asked for now has to wait; 0: not at all.
    std::int64_t waitNs(std::int64_t now) const;
    // A refresh began and took so long, all in all.
    void refreshed(std::int64_t began, std::int64_t took);

private:
    std::int64_t m_next = 0;
};

}  // namespace sorvane
