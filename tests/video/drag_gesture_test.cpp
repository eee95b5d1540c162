#include "video/drag_gesture.h"

#include <gtest/gtest.h>

#include <vector>

using sorvane::DragGesture;
using sorvane::DragStep;
using sorvane::PixelPoint;

namespace {

constexpr int kWidth = 800;
constexpr int kHeight = 600;

// A gesture that is already past the dead radius, begun at the point.
DragGesture draggingFrom(PixelPoint start) {
    DragGesture drag;
    drag.move(start, kWidth, kHeight);
    drag.move({start.x + 11, start.y}, kWidth, kHeight);
    return drag;
}

DragStep dragBy(int dx, int dy) {
    DragGesture drag = draggingFrom({100, 100});
    return drag.move({100 + dx, 100 + dy}, kWidth, kHeight);
}

}  // namespace

TEST(DragGesture, PressAndReleaseWithoutAMoveIsAClick) {
    DragGesture drag;
    EXPECT_FALSE(drag.pressed);
    EXPECT_FALSE(drag.release());  // nothing to stop: the widget treats it as a click
}

TEST(DragGesture, FirstMoveArmsAtItsPoint) {
    DragGesture drag;
    EXPECT_EQ(drag.move({7, 9}, kWidth, kHeight).kind, DragStep::kArmed);
    EXPECT_TRUE(drag.pressed);
    EXPECT_FALSE(drag.dragging);
    EXPECT_EQ(drag.start_pos.x, 7);
    EXPECT_EQ(drag.start_pos.y, 9);
}

TEST(DragGesture, ExactlyTenPixelsDoNotStartADrag) {
    const std::vector<PixelPoint> at_ten = {{10, 0}, {-10, 0}, {0, 10}, {0, -10}, {6, 8}, {-8, 6}};
    for (const PixelPoint& p : at_ten) {
        DragGesture drag;
        drag.move({50, 50}, kWidth, kHeight);
        EXPECT_EQ(drag.move({50 + p.x, 50 + p.y}, kWidth, kHeight).kind, DragStep::kNothing);
        EXPECT_FALSE(drag.release()) << p.x << "," << p.y;
    }
}

TEST(DragGesture, JustBeyondTenPixelsStartsWithoutARate) {
    DragGesture drag;
    drag.move({50, 50}, kWidth, kHeight);
    const DragStep step = drag.move({58, 57}, kWidth, kHeight);  // sqrt(113)
    EXPECT_EQ(step.kind, DragStep::kStarted);
    EXPECT_EQ(step.rate_x, 0);
    EXPECT_TRUE(drag.dragging);
}

TEST(DragGesture, RightIsPositiveAzimuthAndUpIsPositivePitch) {
    EXPECT_EQ(dragBy(400, 0).rate_x, 20);
    EXPECT_EQ(dragBy(-400, 0).rate_x, -20);
    EXPECT_EQ(dragBy(0, -300).rate_y, 20);
    EXPECT_EQ(dragBy(0, 300).rate_y, -20);
}

TEST(DragGesture, FullWidthGivesForty) {
    EXPECT_EQ(dragBy(800, -600).rate_x, 40);
    EXPECT_EQ(dragBy(800, -600).rate_y, 40);
}

TEST(DragGesture, RatesAreTruncatedTowardZero) {
    EXPECT_EQ(dragBy(19, 14).rate_x, 0);  // 0.95
    EXPECT_EQ(dragBy(39, 29).rate_x, 1);  // 1.95
    EXPECT_EQ(dragBy(-39, 29).rate_x, -1);
    EXPECT_EQ(dragBy(-39, 29).rate_y, -1);  // 1.93
}

TEST(DragGesture, OnePixelTurnsToItsOwnSide) {
    DragGesture drag = draggingFrom({100, 100});
    const auto rates = [&drag](int dx, int dy) {
        const DragStep step = drag.move({100 + dx, 100 + dy}, 20, 20);
        return std::vector<int>{step.rate_x, step.rate_y};
    };
    EXPECT_EQ(rates(1, 1), (std::vector<int>{2, -2}));
    EXPECT_EQ(rates(-1, -1), (std::vector<int>{-2, 2}));
    EXPECT_EQ(rates(0, 0), (std::vector<int>{0, 0}));
}

TEST(DragGesture, PureVerticalDragLeavesAzimuthAtZero) {
    const DragStep step = dragBy(0, -150);
    EXPECT_EQ(step.kind, DragStep::kRate);
    EXPECT_EQ(step.rate_x, 0);
    EXPECT_EQ(step.rate_y, 10);
}

TEST(DragGesture, ADragGoesOnInsideTheDeadRadius) {
    DragGesture drag = draggingFrom({100, 100});
    const DragStep back = drag.move({100, 100}, kWidth, kHeight);
    EXPECT_EQ(back.kind, DragStep::kRate);
    EXPECT_EQ(back.rate_x, 0);
    EXPECT_EQ(back.rate_y, 0);
}

TEST(DragGesture, StopIsAskedForExactlyOnce) {
    DragGesture drag = draggingFrom({100, 100});
    drag.move({5000, -5000}, kWidth, kHeight);  // over a bar, even outside the widget
    EXPECT_TRUE(drag.release());
    EXPECT_FALSE(drag.release());
    EXPECT_FALSE(drag.pressed);
    EXPECT_FALSE(drag.dragging);
}

TEST(DragGesture, AHoldThatGoesOnAfterAReleaseArmsAnew) {
    DragGesture drag = draggingFrom({100, 100});
    drag.release();
    EXPECT_EQ(drag.move({300, 300}, kWidth, kHeight).kind, DragStep::kArmed);
    EXPECT_EQ(drag.start_pos.x, 300);
}

TEST(DragGesture, CollapsedWidgetGivesNoRate) {
    DragGesture drag = draggingFrom({100, 100});
    const DragStep step = drag.move({400, 100}, 0, 0);  // dx / 0 and 0 / 0
    EXPECT_EQ(step.kind, DragStep::kRate);
    EXPECT_EQ(step.rate_x, 0);
    EXPECT_EQ(step.rate_y, 0);
}
