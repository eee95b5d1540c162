#include "map/camera_rules.h"

#include <gtest/gtest.h>

#include "map/frame_pace.h"

namespace sorvane {
namespace {

constexpr double kMost = 7 * 6378137.0;

TEST(ZoomBand, StepsThatWouldLeaveItAreDropped) {
    EXPECT_FALSE(zoomAllowed(401, 399.0 / 401 - 1, kMost));
    EXPECT_TRUE(zoomAllowed(401, 0.5, kMost));
    EXPECT_TRUE(zoomAllowed(1000, -0.5, kMost));
    EXPECT_FALSE(zoomAllowed(800, -0.5, kMost)) << "exactly 400";
    EXPECT_TRUE(zoomAllowed(kMost / 2, 0.9999, kMost));
    EXPECT_FALSE(zoomAllowed(kMost / 2, 1.0, kMost)) << "exactly seven radii";
    EXPECT_FALSE(zoomAllowed(kMost, 0.1, kMost));
}

// A flight may have left the camera outside: only the step back in is taken.
TEST(ZoomBand, LeadsBackIn) {
    EXPECT_FALSE(zoomAllowed(100, 0.5, kMost));
    EXPECT_TRUE(zoomAllowed(100, 4, kMost));
    EXPECT_TRUE(zoomAllowed(2 * kMost, -0.6, kMost));
}

TEST(CompassHeading, IsNormalised) {
    EXPECT_EQ(normalisedDegrees(0), 0);
    EXPECT_EQ(normalisedDegrees(360), 0);
    EXPECT_EQ(normalisedDegrees(725), 5);
    EXPECT_EQ(normalisedDegrees(-90), 270);
    EXPECT_EQ(normalisedDegrees(-1e-20), 0);
    EXPECT_EQ(compassHeading(-450), 270);
}

TEST(CompassHeading, SnapsToNorth) {
    EXPECT_EQ(compassHeading(359.995), 0);
    EXPECT_EQ(headingText(compassHeading(359.995)), "0.00");
    EXPECT_EQ(compassHeading(0.005), 0);
    EXPECT_EQ(compassHeading(359.98), 359.98);
    EXPECT_EQ(compassHeading(0.02), 0.02);
    EXPECT_EQ(headingText(123.456), "123.46");
}

TEST(CompassHeading, SmallTurnsLeaveTheFace) {
    EXPECT_FALSE(faceTurns(-90, 90.009));
    EXPECT_TRUE(faceTurns(-90, 90.011));
    EXPECT_FALSE(faceTurns(0, 0));
    EXPECT_TRUE(faceTurns(0, 180));
}

constexpr char kOne = 0;
constexpr char kOther = 1;

TEST(FramePace, LeavesAsMuchTimeAsAFrameTook) {
    FramePace pace;
    EXPECT_TRUE(pace.mayDraw(&kOne, 0));
    pace.drawn(&kOne, 1000, 31000);
    EXPECT_FALSE(pace.mayDraw(&kOne, 31000));
    EXPECT_FALSE(pace.mayDraw(&kOne, 60999));
    EXPECT_TRUE(pace.mayDraw(&kOne, 61000));
    pace.drawn(&kOne, 61000, 61500);
    EXPECT_TRUE(pace.mayDraw(&kOne, 62000));
}

TEST(FramePace, IsSharedByAllViews) {
    FramePace pace;
    pace.drawn(&kOne, 1000, 31000);
    EXPECT_FALSE(pace.mayDraw(&kOther, 60999));
    EXPECT_TRUE(pace.mayDraw(&kOther, 61000));
}

// The one that drew last may ask first each time.
TEST(FramePace, ViewsThatBothWantToDrawTakeTurns) {
    FramePace pace;
    pace.drawn(&kOne, 0, 10000);
    EXPECT_FALSE(pace.mayDraw(&kOther, 15000));
    EXPECT_FALSE(pace.mayDraw(&kOne, 20000));
    EXPECT_TRUE(pace.mayDraw(&kOther, 21000));
    pace.drawn(&kOther, 21000, 31000);
    EXPECT_FALSE(pace.mayDraw(&kOne, 40000));
    EXPECT_FALSE(pace.mayDraw(&kOther, 41000));
    EXPECT_TRUE(pace.mayDraw(&kOne, 42000));
}

TEST(FramePace, AViewThatAsksNoMoreIsNotWaitedFor) {
    FramePace pace;
    pace.drawn(&kOne, 0, 10000);
    EXPECT_FALSE(pace.mayDraw(&kOther, 15000));
    EXPECT_FALSE(pace.mayDraw(&kOne, 214999));
    EXPECT_TRUE(pace.mayDraw(&kOne, 215000));
}

TEST(FramePace, APictureThatIsDueFindsTheThreadFree) {
    FramePace pace;
    const int view = 0;
    for (const std::int64_t at : {1000, 41000, 81000}) {
        pace.pictureCame(1, at);
    }
    pace.drawn(&view, 82000, 92000);
    // The next one comes at 121 ms, and a frame takes 10.
    EXPECT_TRUE(pace.mayDraw(&view, 110000));
    for (const std::int64_t at : {112000, 121000, 125000}) {
        EXPECT_FALSE(pace.mayDraw(&view, at)) << at;
    }
    // It does not come.
    EXPECT_TRUE(pace.mayDraw(&view, 127000));
    // A second window counts for itself.
    pace.pictureCame(2, 90000);
    pace.pictureCame(2, 130000);
    EXPECT_TRUE(pace.mayDraw(&view, 150000));
    EXPECT_FALSE(pace.mayDraw(&view, 165000));
    // After a pause nothing is known of the next one.
    pace.pictureCame(1, 400000);
    pace.drawn(&view, 380000, 390000);
    EXPECT_TRUE(pace.mayDraw(&view, 435000));
}

TEST(FramePace, PicturesWithoutEndLeaveTheMapSomeFrames) {
    FramePace pace;
    const int view = 0;
    std::int64_t now = 1000;
    for (int i = 0; i < 10; ++i) {
        pace.pictureCame(1, now += 10000);
    }
    pace.drawn(&view, now, now + 20000);
    int refused = 0;
    for (now += 20000; !pace.mayDraw(&view, now) && refused < 100; now += 1000) {
        ++refused;
        if (refused % 10 == 0) {
            pace.pictureCame(1, now);
        }
    }
    EXPECT_GT(refused, 50);
    EXPECT_LT(refused, 101);
    EXPECT_TRUE(pace.mayDraw(&view, now));
}

// However many pictures come, and whichever asks first.
TEST(FramePace, PicturesWithoutEndLeaveEachOfTwoViewsItsTurn) {
    FramePace pace;
    int frames_of_one = 0;
    int frames_of_other = 0;
    for (std::int64_t now = 1000; now < 3000000; now += 10000) {
        pace.pictureCame(1, now);
        for (const auto& [view, frames] : {std::pair{&kOther, &frames_of_other}, {&kOne, &frames_of_one}}) {
            if (pace.mayDraw(view, now)) {
                pace.drawn(view, now, now + 20000);
                ++*frames;
            }
        }
    }
    EXPECT_GT(frames_of_one, 5);
    EXPECT_NEAR(frames_of_one, frames_of_other, 2);
}

TEST(FramePace, ASlowFrameDoesNotStopTheMap) {
    FramePace pace;
    pace.drawn(&kOne, 0, 30000000);
    EXPECT_FALSE(pace.mayDraw(&kOne, 30400000));
    EXPECT_TRUE(pace.mayDraw(&kOne, 30500000));
}

}  // namespace
}  // namespace sorvane
