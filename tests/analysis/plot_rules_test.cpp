#include "analysis/plot_rules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <deque>
#include <random>

namespace sorvane {
namespace {

struct Angles {
    float min = -90, max = 90, seen_min = 180, seen_max = -180;
    AngleRange range() { return {min, max, seen_min, seen_max}; }
};
struct Pixels {
    int min = -300, max = 300, seen_min = 960, seen_max = -960;
    DeviationRange range() { return {min, max, seen_min, seen_max}; }
};

// --- fields ---

TEST(PlotField, EachCurveHasItsField) {
    TelemetryRecord record;
    record.frame_yaw = 11;
    record.frame_pitch = 12;
    record.frame_roll = -13;
    record.attitude_yaw = 21;
    record.attitude_pitch = 22;
    record.attitude_roll = 23;
    record.track_x = 31;
    record.track_y = -32;
    const int expected[3][3] = {{11, 12, -13}, {21, 22, 23}, {31, -32, 0}};
    for (int category = 1; category <= 3; ++category) {
        ASSERT_EQ(plotCurves(category), category == 3 ? 2 : 3);
        for (int position = 0; position < plotCurves(category); ++position) {
            EXPECT_EQ(plotField(record, category, position), expected[category - 1][position]);
        }
    }
    EXPECT_EQ(plotCurves(0), 0);
    EXPECT_EQ(plotCurves(4), 0);
}

TEST(PlotField, AnglesAreHundredthsAndDeviationsPixels) {
    EXPECT_EQ(plottedValue(kPlotFrameAngles, -5), -0.05);
    EXPECT_EQ(plottedValue(kPlotAttitudeAngles, 32767), 327.67);
    EXPECT_EQ(plottedValue(kPlotDeviation, -128), -128);
}

// --- growing ---

TEST(ExtendRange, AValueBeyondTheMaximumGrowsItByAFifthUpToTheLimit) {
    Pixels p;
    EXPECT_TRUE(extendRange(p.range(), 500));
    EXPECT_EQ(p.max, 600);
    EXPECT_TRUE(extendRange(p.range(), 900));
    EXPECT_EQ(p.max, 960);
    EXPECT_TRUE(extendRange(p.range(), -301));
    EXPECT_EQ(p.min, -361);
    EXPECT_TRUE(extendRange(p.range(), -30000));
    EXPECT_EQ(p.min, -960);
    // At the limit it goes on counting as growth.
    EXPECT_TRUE(extendRange(p.range(), 961));
    EXPECT_EQ(p.max, 960);
    Angles a;
    EXPECT_TRUE(extendRange(a.range(), 100.0));
    EXPECT_EQ(a.max, 120);
    EXPECT_TRUE(extendRange(a.range(), -327.68));
    EXPECT_EQ(a.min, -180);
}

TEST(ExtendRange, AValueThatGrewItIsNoneOfThoseSeen) {
    Pixels p;
    extendRange(p.range(), 500);
    extendRange(p.range(), -400);
    EXPECT_EQ(p.seen_max, -960);
    EXPECT_EQ(p.seen_min, 960);
}

TEST(ExtendRange, AValueOfExactlyTheMaximumIsSeenAndGrowsNothing) {
    Pixels p;
    EXPECT_FALSE(extendRange(p.range(), 300));
    EXPECT_EQ(p.max, 300);
    EXPECT_EQ(p.seen_max, 300);
    EXPECT_FALSE(extendRange(p.range(), -300));
    EXPECT_EQ(p.seen_min, -300);
    Angles a;
    EXPECT_FALSE(extendRange(a.range(), 90.0));
    EXPECT_EQ(a.max, 90);
    EXPECT_EQ(a.seen_max, 90);
}

TEST(ExtendRange, AValueAboveTheHighestSeenIsNotTestedAgainstTheLowest) {
    Pixels p;
    extendRange(p.range(), 5);
    EXPECT_EQ(p.seen_max, 5);
    EXPECT_EQ(p.seen_min, 960);
    extendRange(p.range(), 5);
    EXPECT_EQ(p.seen_min, 5);
}

// --- shrinking ---

TEST(ShrinkRange, AnEndFarOutComesInToAFifthBeyondTheValueSeen) {
    Angles a;
    a.seen_max = 50;
    a.seen_min = -70;
    shrinkRange(a.range());
    EXPECT_EQ(a.max, 60);
    EXPECT_EQ(a.min, -90);  // 0.65 of it is 58.5
}

TEST(ShrinkRange, WithNothingSeenNothingShrinks) {
    Angles a;
    shrinkRange(a.range());
    EXPECT_EQ(a.max, 90);
    EXPECT_EQ(a.min, -90);
    a.max = 180;
    a.min = -180;
    shrinkRange(a.range());
    EXPECT_EQ(a.max, 180);
    EXPECT_EQ(a.min, -180);
    Pixels p;
    p.max = 960;
    p.min = -960;
    shrinkRange(p.range());
    EXPECT_EQ(p.max, 960);
    EXPECT_EQ(p.min, -960);
}

TEST(ShrinkRange, OfTheDeviationEqualEndsMoveTheMaximumBothTimes) {
    Pixels p;
    p.seen_max = 0;
    p.seen_min = -100;
    shrinkRange(p.range());
    EXPECT_EQ(p.max, 2);
    EXPECT_EQ(p.min, -120);
    Pixels lower;
    lower.seen_max = 250;
    lower.seen_min = 0;
    shrinkRange(lower.range());
    EXPECT_EQ(lower.max, 298);
    EXPECT_EQ(lower.min, 0);
    // Also without a step of the end itself.
    Pixels still;
    still.seen_max = 300;
    still.seen_min = -300;
    shrinkRange(still.range());
    EXPECT_EQ(still.max, 300);
    still.seen_min = -299;
    shrinkRange(still.range());
    EXPECT_EQ(still.max, 302);
    EXPECT_EQ(still.min, -300);
}

TEST(Rescale, LooksAtTheRangeOnceTheCountdownIsBelowZero) {
    Pixels p;
    p.seen_max = 50;
    int countdown = 0;
    EXPECT_FALSE(rescale(false, p.range(), countdown));
    EXPECT_EQ(p.max, 300);
    countdown = -1;
    EXPECT_TRUE(rescale(false, p.range(), countdown));
    EXPECT_EQ(p.max, 60);
    EXPECT_EQ(countdown, 100);
}

TEST(Rescale, AGrowthIsShownAtOnceAndDoesNotShrink) {
    Pixels p;
    p.seen_max = 50;
    int countdown = 60;
    EXPECT_TRUE(rescale(true, p.range(), countdown));
    EXPECT_EQ(p.max, 300);
    EXPECT_EQ(countdown, 100);
}

// What the rules say, written down once more with nothing shared.
struct Model {
    bool pixels = false;
    double min = 0, max = 0, seen_min = 0, seen_max = 0;
    int left = 100;
    int rescaled = 0;

    explicit Model(bool of_pixels) : pixels(of_pixels) {
        max = pixels ? 300 : 90;
        min = -max;
        forget();
    }
    double limit() const { return pixels ? 960 : 180; }
    void forget() {
        seen_max = -limit();
        seen_min = limit();
    }
    double kept(double x) const {
        return pixels ? std::trunc(x) : static_cast<double>(static_cast<float>(x));
    }
    bool value(double v) {
        if (v > max) {
            max = kept(std::fmin(v + std::fabs(v) * 0.2, limit()));
            return true;
        }
        if (v < min) {
            min = kept(std::fmax(v - std::fabs(v) * 0.2, -limit()));
            return true;
        }
        if (v > seen_max) {
            seen_max = kept(v);
        } else if (v < seen_min) {
            seen_min = kept(v);
        }
        return false;
    }
    void record(const std::vector<double>& values) {
        --left;
        bool grew = false;
        for (const double v : values) {
            grew = value(v) || grew;
        }
        if (!grew && left >= 0) {
            return;
        }
        if (!grew) {
            if (std::fabs(max) * 0.65 > std::fabs(seen_max)) {
                max = kept(seen_max + std::fabs(seen_max) * 0.2);
            }
            if (pixels && max == seen_max) {
                max += 2;
            }
            if (std::fabs(min) * 0.65 > std::fabs(seen_min)) {
                min = kept(seen_min - std::fabs(seen_min) * 0.2);
            }
            if (pixels && min == seen_min) {
                max -= 2;
            }
        }
        left = 100;
        ++rescaled;
    }
};

// Values that wander, jump, rest and leave the limits, as reports of a pod do.
class Walk {
public:
    explicit Walk(unsigned seed) : m_random(seed) {}
    std::int16_t next() {
        const auto among = [this](int low, int high) {
            return std::uniform_int_distribution<int>(low, high)(m_random);
        };
        if (among(0, 299) == 0) {
            const int sizes[] = {0, 3, 60, 700, 9000, 32767};
            m_size = sizes[among(0, 5)];
            m_centre = among(-m_size, m_size);
        }
        const int value = m_centre + among(-m_size / 4 - 1, m_size / 4 + 1);
        return static_cast<std::int16_t>(std::clamp(value, -32768, 32767));
    }

private:
    std::mt19937 m_random;
    int m_size = 100;
    int m_centre = 0;
};

template <typename Kept>
void runAgainstModel(int category, unsigned seed) {
    Kept kept;
    int countdown = kRescaleRecords;
    int rescaled = 0;
    Model model(category == kPlotDeviation);
    std::vector<Walk> walks;
    for (int i = 0; i < plotCurves(category); ++i) {
        walks.emplace_back(seed * 10 + static_cast<unsigned>(i));
    }
    std::mt19937 random(seed);
    for (int n = 0; n < 100000; ++n) {
        std::vector<double> values;
        bool grew = false;
        --countdown;
        for (Walk& walk : walks) {
            const std::int16_t field = walk.next();
            values.push_back(category == kPlotDeviation ? field : field / 100.0);
            if constexpr (std::is_same_v<Kept, Pixels>) {
                grew = extendRange(kept.range(), field) || grew;
            } else {
                grew = extendRange(kept.range(), plottedValue(category, field)) || grew;
            }
        }
        rescaled += rescale(grew, kept.range(), countdown) ? 1 : 0;
        model.record(values);
        ASSERT_EQ(static_cast<double>(kept.max), model.max) << "record " << n;
        ASSERT_EQ(static_cast<double>(kept.min), model.min) << "record " << n;
        ASSERT_EQ(static_cast<double>(kept.seen_max), model.seen_max) << "record " << n;
        ASSERT_EQ(static_cast<double>(kept.seen_min), model.seen_min) << "record " << n;
        ASSERT_EQ(countdown, model.left) << "record " << n;
        ASSERT_EQ(rescaled, model.rescaled) << "record " << n;
        if (random() % 5000 == 0) {
            resetSeen(kept.range());
            model.forget();
        }
    }
    EXPECT_GT(rescaled, 100);
}

TEST(PlotRanges, FollowAPlainModelOverRandomRunsOfEachCategory) {
    for (const unsigned seed : {1U, 2U, 3U}) {
        runAgainstModel<Angles>(kPlotFrameAngles, seed);
        runAgainstModel<Angles>(kPlotAttitudeAngles, seed + 100);
        runAgainstModel<Pixels>(kPlotDeviation, seed + 200);
    }
}

// --- what is drawn ---

TEST(DrawnSpan, IsTheRangeWhereItHasOne) {
    EXPECT_EQ(drawnSpan(-90, 90).low, -90);
    EXPECT_EQ(drawnSpan(-90, 90).high, 90);
}

TEST(DrawnSpan, IsWiderThanARangeWithoutASpanAndHoldsBothItsEnds) {
    for (const auto& [min, max] : {std::pair<double, double>{0, 0}, {-1, -2}, {180, 180}}) {
        const AxisSpan span = drawnSpan(min, max);
        EXPECT_LT(span.low, std::min(min, max));
        EXPECT_GT(span.high, std::max(min, max));
    }
}

TEST(PlotWindow, FollowsTheNewestSampleAndScrollsOverTheLastThousand) {
    EXPECT_EQ(newestScroll(0, 900), 0);
    EXPECT_EQ(newestScroll(100, 900), 0);
    EXPECT_EQ(newestScroll(101, 900), 1);
    EXPECT_EQ(newestScroll(1000, 900), 900);
    EXPECT_EQ(newestScroll(4000000000U, 900), 900);
    EXPECT_EQ(newestScroll(500, 300), 300);
    EXPECT_EQ(newestWindow(101).low, 1);
    EXPECT_EQ(newestWindow(4000000000U).high, 4000000000.0);
    EXPECT_EQ(scrolledWindow(999, 42).low, 42);
    EXPECT_EQ(scrolledWindow(999, 42).high, 142);
    EXPECT_EQ(scrolledWindow(1000, 0).low, 0);
    EXPECT_EQ(scrolledWindow(5000, 0).low, 4000);
    EXPECT_EQ(scrolledWindow(5000, 900).low, 4900);
    // The newest view is the one at the bar's own place for it.
    for (const std::uint32_t samples : {101U, 555U, 999U, 1000U, 1001U, 70000U}) {
        EXPECT_EQ(scrolledWindow(samples, newestScroll(samples, 900)).low, newestWindow(samples).low)
            << samples;
    }
}

TEST(KeptSamples, AreAboutAThousandAndTheNewest) {
    for (const int batch : {1, 5, 10}) {
        std::deque<int> kept;
        int sample = 0;
        for (int flush = 0; flush < 3000; ++flush) {
            const int drop = samplesToDrop(static_cast<int>(kept.size()), batch);
            kept.erase(kept.begin(), kept.begin() + drop);
            for (int i = 0; i < batch; ++i) {
                kept.push_back(++sample);
            }
            ASSERT_LE(static_cast<int>(kept.size()), 1000);
        }
        EXPECT_EQ(kept.size(), 1000U);
        EXPECT_EQ(kept.back(), sample);
        EXPECT_EQ(kept.front(), sample - 999);
    }
    EXPECT_EQ(samplesToDrop(999, 10), 0);
}

// --- the pace ---

constexpr std::int64_t kMs = 1'000'000;

TEST(RefreshPace, ACheapRefreshMayComeWithEveryReport) {
    RefreshPace pace;
    EXPECT_EQ(pace.waitNs(0), 0);
    pace.refreshed(0, 5 * kMs);
    EXPECT_EQ(pace.waitNs(20 * kMs), 0);
}

TEST(RefreshPace, ADearOneLeavesTwoThirdsOfTheTime) {
    RefreshPace pace;
    pace.refreshed(100 * kMs, 30 * kMs);
    EXPECT_EQ(pace.waitNs(140 * kMs), 50 * kMs);
    EXPECT_EQ(pace.waitNs(190 * kMs), 0);
}

TEST(RefreshPace, AReportEveryTwoMillisecondsTakesUpAThirdAtMost) {
    RefreshPace pace;
    std::int64_t now = 0;
    std::int64_t busy = 0;
    for (int report = 0; report < 5000; ++report, now += 2 * kMs) {
        if (pace.waitNs(now) == 0) {
            pace.refreshed(now, 7 * kMs);
            busy += 7 * kMs;
        }
    }
    EXPECT_LE(busy, now / 3 + 7 * kMs);
    EXPECT_GT(busy, now / 4);
}

TEST(RefreshPace, ASingleLongOneIsNoRestForSeconds) {
    RefreshPace pace;
    pace.refreshed(0, 2000 * kMs);
    EXPECT_EQ(pace.waitNs(2000 * kMs), 0);
    EXPECT_EQ(pace.waitNs(0), 250 * kMs);
}

}  // namespace
}  // namespace sorvane
