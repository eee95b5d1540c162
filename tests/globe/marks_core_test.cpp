// Which points of a line matter, what the earth hides, which marks give way.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "globe/declutter.h"
#include "globe/horizon.h"
#include "globe/line_simplify.h"

namespace globe {
namespace {

double distanceToPiece(const Xyz& p, const Xyz& a, const Xyz& b) {
    const double dx = b.x - a.x, dy = b.y - a.y, dz = b.z - a.z;
    const double l2 = dx * dx + dy * dy + dz * dz;
    double t = l2 > 0.0 ? ((p.x - a.x) * dx + (p.y - a.y) * dy + (p.z - a.z) * dz) / l2 : 0.0;
    t = std::clamp(t, 0.0, 1.0);
    return std::hypot(p.x - a.x - t * dx, p.y - a.y - t * dy, p.z - a.z - t * dz);
}

TEST(LineSimplify, WhatIsLeftStaysWithinItsTolerance) {
    std::mt19937 random(7);
    std::normal_distribution<double> step(0.0, 3.0);
    std::vector<Xyz> points = {{0, 0, 0}};
    for (int i = 1; i < 500; ++i) {
        const Xyz& last = points.back();
        points.push_back({last.x + 5.0 + step(random), last.y + step(random), last.z + step(random)});
    }
    const std::vector<double> weights = pointWeights(points);
    std::size_t before = points.size() + 1;
    for (const double tolerance : {0.5, 2.0, 8.0, 32.0}) {
        std::vector<std::size_t> kept;
        for (std::size_t i = 0; i < points.size(); ++i) {
            if (weights[i] > tolerance) {
                kept.push_back(i);
            }
        }
        ASSERT_EQ(kept.front(), 0u);
        ASSERT_EQ(kept.back(), points.size() - 1);
        EXPECT_LT(kept.size(), before);
        before = kept.size();
        for (std::size_t k = 1; k < kept.size(); ++k) {
            for (std::size_t i = kept[k - 1]; i <= kept[k]; ++i) {
                EXPECT_LE(distanceToPiece(points[i], points[kept[k - 1]], points[kept[k]]),
                          tolerance * 1.000001);
            }
        }
    }
}

TEST(LineSimplify, StraightAndStandingLinesNeedTheirEndsOnly) {
    std::vector<Xyz> line;
    for (int i = 0; i < 100; ++i) {
        line.push_back({static_cast<double>(i), 2.0 * i, 0.0});
    }
    const std::vector<double> weights = pointWeights(line);
    EXPECT_EQ(std::count_if(weights.begin(), weights.end(), [](double w) { return w > 1e-9; }), 2);
    const std::vector<double> standing = pointWeights(std::vector<Xyz>(50, {1, 2, 3}));
    EXPECT_EQ(std::count_if(standing.begin(), standing.end(), [](double w) { return w > 0.0; }), 2);
    EXPECT_TRUE(pointWeights({}).empty());
    EXPECT_EQ(pointWeights({{1, 1, 1}}).size(), 1u);
}

// On the equator, a circle: an eye at height h sees the ground as far as acos(R / (R + h)), a point at height
// g farther by acos(R / (R + g)).
TEST(Horizon, IsWhereTheTangentTouches) {
    const auto degrees = [](double height) {
        return toDegrees(std::acos(kEquatorRadius_m / (kEquatorRadius_m + height)));
    };
    for (const double eye_height : {2.0, 400.0, 50000.0, 1e6, 6.0 * kEquatorRadius_m}) {
        for (const double height : {0.0, 3000.0}) {
            const double edge = degrees(eye_height) + degrees(height);
            const Xyz eye = geodeticToGeocentric({0.0, 0.0, eye_height});
            for (const double sign : {1.0, -1.0}) {
                EXPECT_FALSE(isBehindHorizon(eye, geodeticToGeocentric({sign * edge * 0.999, 0.0, height})));
                EXPECT_TRUE(isBehindHorizon(eye, geodeticToGeocentric({sign * edge * 1.001, 0.0, height})));
            }
            EXPECT_TRUE(isBehindHorizon(eye, geodeticToGeocentric({180.0, 0.0, height})));
        }
    }
}

TEST(Horizon, PolesStandNearerThanASphereSays) {
    // From above the equator at a height of one radius the tangent in the plane of the meridian touches the
    // ellipse at the geocentric x = a * a / (2 a), y = b * sqrt(1 - 1 / 4).
    const Xyz eye = {2.0 * kEquatorRadius_m, 0.0, 0.0};
    const double x = kEquatorRadius_m / 2.0;
    const double z = kPolarRadius_m * std::sqrt(0.75);
    const Geodetic touch = geocentricToGeodetic({x, 0.0, z});
    EXPECT_FALSE(isBehindHorizon(eye, geodeticToGeocentric({0.0, touch.lat - 0.01, 0.0})));
    EXPECT_TRUE(isBehindHorizon(eye, geodeticToGeocentric({0.0, touch.lat + 0.01, 0.0})));
}

TEST(Horizon, InADepressionWhatIsNearIsSeen) {
    const Xyz eye = geodeticToGeocentric({35.5, 31.5, -400.0});
    EXPECT_FALSE(isBehindHorizon(eye, geodeticToGeocentric({35.501, 31.5, -400.0})));
    EXPECT_TRUE(isBehindHorizon(eye, geodeticToGeocentric({-140.0, -31.5, 0.0})));
}

clutter_mark mark(float x, float y, double distance = 1000.0, unsigned long serial = 0) {
    clutter_mark made;
    made.icon = {x, y, x + 32, y + 32};
    made.all = {x, y, x + 132, y + 32};
    made.distance_m = distance;
    made.serial = serial;
    return made;
}

using Shown = std::vector<MarkShown>;
constexpr MarkShown kNo = MarkShown::kNothing;
constexpr MarkShown kIcon = MarkShown::kIcon;
constexpr MarkShown kAll = MarkShown::kAll;

TEST(Declutter, TheNearerStaysTheOtherLosesItsLabelThenItself) {
    EXPECT_EQ(declutter({mark(0, 0), mark(300, 0)}), (Shown{kAll, kAll}));
    EXPECT_EQ(declutter({mark(0, 0, 900), mark(-60, 0, 800)}), (Shown{kNo, kAll}));
    EXPECT_EQ(declutter({mark(0, 0, 800), mark(-60, 0, 900)}), (Shown{kAll, kIcon}));
    EXPECT_EQ(declutter({mark(0, 0, 800), mark(10, 10, 900)}), (Shown{kAll, kNo}));
    clutter_mark label = mark(-60, 0, 900);
    label.has_icon = false;
    EXPECT_EQ(declutter({mark(0, 0, 800), label}), (Shown{kAll, kNo}));
    EXPECT_TRUE(declutter({}).empty());
}

TEST(Declutter, PriorityGoesBeforeDistanceAndTheNewerBeforeTheOlder) {
    clutter_mark far = mark(10, 10, 5000);
    far.priority = 1.0;
    EXPECT_EQ(declutter({mark(0, 0, 100), far}), (Shown{kNo, kAll}));
    EXPECT_EQ(declutter({mark(0, 0, 100, 1), mark(0, 0, 100, 2)}), (Shown{kNo, kAll}));
    EXPECT_EQ(declutter({mark(0, 0, 100, 2), mark(0, 0, 100, 1)}), (Shown{kAll, kNo}));
}

// Two marks whose distances sway about each other do not take turns.
TEST(Declutter, WhatIsShownKeepsItsPlace) {
    std::vector<clutter_mark> marks = {mark(0, 0, 1000, 1), mark(10, 10, 1001, 2)};
    int changes = 0;
    Shown before = declutter(marks);
    for (int frame = 0; frame < 100; ++frame) {
        marks[0].distance_m = 1000.0 + 30.0 * std::sin(frame * 0.7);
        marks[1].distance_m = 1000.0 - 30.0 * std::sin(frame * 0.7);
        for (std::size_t i = 0; i < marks.size(); ++i) {
            marks[i].was_shown = before[i] != kNo;
        }
        const Shown now = declutter(marks);
        changes += now != before ? 1 : 0;
        before = now;
    }
    EXPECT_EQ(changes, 0);
    // What comes much nearer takes over all the same.
    marks[0].distance_m = before[0] == kNo ? 100.0 : 10000.0;
    EXPECT_NE(declutter(marks), before);
}

TEST(Declutter, NoTwoOfManyOverlap) {
    std::mt19937 random(3);
    std::uniform_real_distribution<float> x(-100.0f, 2000.0f);
    std::uniform_real_distribution<float> y(-50.0f, 1100.0f);
    std::vector<clutter_mark> marks;
    for (unsigned long i = 0; i < 3000; ++i) {
        marks.push_back(mark(x(random), y(random), 1000.0 + x(random), i));
    }
    const Shown shown = declutter(marks);
    std::vector<screen_box> boxes;
    for (std::size_t i = 0; i < marks.size(); ++i) {
        if (shown[i] != kNo) {
            boxes.push_back(shown[i] == kAll ? marks[i].all : marks[i].icon);
        }
    }
    EXPECT_GT(boxes.size(), 200u);
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            EXPECT_FALSE(boxes[i].left < boxes[j].right && boxes[j].left < boxes[i].right &&
                         boxes[i].bottom < boxes[j].top && boxes[j].bottom < boxes[i].top);
        }
    }
    // What is hidden has no room: neither for itself nor for its icon.
    for (std::size_t i = 0; i < marks.size(); ++i) {
        const screen_box& icon = marks[i].icon;
        const bool free = std::none_of(boxes.begin(), boxes.end(), [&](const screen_box& b) {
            return icon.left < b.right && b.left < icon.right && icon.bottom < b.top && b.bottom < icon.top;
        });
        EXPECT_FALSE(shown[i] == kNo && free);
    }
}

}  // namespace
}  // namespace globe
