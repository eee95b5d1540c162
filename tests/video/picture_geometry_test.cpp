#include "video/picture_geometry.h"

#include <gtest/gtest.h>

#include <climits>

using sorvane::fitPicture;
using sorvane::FitSize;
using sorvane::ImagePoint;
using sorvane::PictureRect;
using sorvane::placePicture;
using sorvane::widgetToImage;
using sorvane::YuvMatrix;

namespace {

PictureRect fitted(int sw, int sh, int tw, int th) {
    return placePicture(fitPicture(sw, sh, tw, th), tw, th);
}

void expectRect(const PictureRect& r, int x, int y, int w, int h) {
    EXPECT_EQ(r.x, x);
    EXPECT_EQ(r.y, y);
    EXPECT_EQ(r.width, w);
    EXPECT_EQ(r.height, h);
}

void expectPoint(const ImagePoint& p, int x, int y) {
    EXPECT_EQ(p.x, x);
    EXPECT_EQ(p.y, y);
}

}  // namespace

TEST(Fit, WideTargetGetsBarsLeftAndRight) { expectRect(fitted(640, 512, 1000, 512), 180, 0, 640, 512); }

TEST(Fit, TallTargetGetsBarsAboveAndBelow) { expectRect(fitted(640, 320, 640, 640), 0, 160, 640, 320); }

TEST(Fit, SameAspectTakesTheWidthAndGetsNoBars) {
    expectRect(fitted(640, 512, 320, 256), 0, 0, 320, 256);
    // 16:9 has no exact float: the height truncates to a row less, still without an offset.
    const FitSize fit = fitPicture(1920, 1080, 1280, 720);
    EXPECT_EQ(fit.width, 1280.0);
    EXPECT_LT(fit.height, 720.0);
    expectRect(placePicture(fit, 1280, 720), 0, 0, 1280, 719);
}

TEST(Fit, CollapsedWidgetMakesItZeroSized) {
    expectRect(fitted(1920, 1080, 800, 0), 400, 0, 0, 0);
    expectRect(fitted(1920, 1080, 0, 600), 0, 300, 0, 0);
    expectRect(fitted(1920, 1080, 0, 0), 0, 0, 0, 0);
    expectRect(fitted(0, 1080, 800, 600), 400, 300, 0, 0);
    expectRect(fitted(1920, 0, 800, 600), 400, 300, 0, 0);
}

TEST(Fit, ResolutionChangeFollowsAtTheNextPicture) {
    expectRect(fitted(1280, 1024, 640, 640), 0, 64, 640, 512);
    expectRect(fitted(512, 1024, 640, 640), 160, 0, 320, 640);
}

TEST(Fit, HighPixelRatioScalesTheTarget) {
    // A widget of 333 x 250 at a ratio of 1.5: 499 x 375 device pixels.
    expectRect(fitted(640, 512, static_cast<int>(333 * 1.5), static_cast<int>(250 * 1.5)), 15, 0, 468, 375);
}

TEST(WidgetToImage, CentreIsTheOrigin) {
    expectPoint(widgetToImage(480, 300, 1920, 1080, 960, 600), 0, 0);
    expectPoint(widgetToImage(500, 270, 1920, 1080, 1000, 540), 0, 0);
}

TEST(WidgetToImage, RightAndUpArePositive) {
    // 960 x 600: the picture is 960 x 540 with bars of 30.
    expectPoint(widgetToImage(720, 165, 1920, 1080, 960, 600), 480, 270);
    expectPoint(widgetToImage(240, 435, 1920, 1080, 960, 600), -480, -270);
}

TEST(WidgetToImage, BarsAboveAndBelowAreOutside) {
    for (int y : {0, 29, 30, 570, 571, 599}) {
        EXPECT_FALSE(widgetToImage(480, y, 1920, 1080, 960, 600).inside()) << y;
    }
    expectPoint(widgetToImage(480, 31, 1920, 1080, 960, 600), 0, 538);
    expectPoint(widgetToImage(480, 569, 1920, 1080, 960, 600), 0, -538);
}

TEST(WidgetToImage, BarsLeftAndRightAreOutside) {
    // 1000 x 540: the picture is 960 x 540 with bars of 20.
    for (int x : {0, 20, 980, 999}) {
        EXPECT_FALSE(widgetToImage(x, 270, 1920, 1080, 1000, 540).inside()) << x;
    }
    expectPoint(widgetToImage(21, 270, 1920, 1080, 1000, 540), -958, 0);
    expectPoint(widgetToImage(979, 270, 1920, 1080, 1000, 540), 958, 0);
}

TEST(WidgetToImage, OutsideKeepsBothSentinels) {
    const ImagePoint p = widgetToImage(480, 0, 1920, 1080, 960, 600);
    EXPECT_EQ(p.x, 16777215);
    EXPECT_EQ(p.y, 16777215);
}

TEST(WidgetToImage, FullAxisUsesIntegerDivision) {
    // (640 * 1) / 799 = 0 and (640 * 2) / 799 = 1.
    expectPoint(widgetToImage(1, 401, 640, 512, 799, 801), -320, 0);
    expectPoint(widgetToImage(2, 401, 640, 512, 799, 801), -319, 0);
}

TEST(WidgetToImage, ChangedResolutionConvertsWithTheNewSize) {
    expectPoint(widgetToImage(300, 100, 1280, 1024, 640, 512), -40, 312);
    expectPoint(widgetToImage(300, 100, 640, 512, 640, 512), -20, 156);
}

TEST(WidgetToImage, ReleaseBeyondTheWidgetOnTheFullAxisGoesThrough) {
    expectPoint(widgetToImage(-48, 300, 1920, 1080, 960, 600), -1056, 0);
}

TEST(WidgetToImage, EmptySizesAreOutside) {
    EXPECT_FALSE(widgetToImage(1, 1, 1920, 1080, 0, 600).inside());
    EXPECT_FALSE(widgetToImage(1, 1, 1920, 1080, 600, 0).inside());
    EXPECT_FALSE(widgetToImage(1, 1, 0, 1080, 600, 600).inside());
    EXPECT_FALSE(widgetToImage(1, 1, 1920, 0, 600, 600).inside());
    EXPECT_FALSE(widgetToImage(1, 1, INT_MAX, 1, 600, 600).inside());  // a picture of no height
}

TEST(YuvMatrix, StatementOfTheStreamWins) {
    EXPECT_EQ(sorvane::yuvMatrix(1, 480), YuvMatrix::kBt709);
    EXPECT_EQ(sorvane::yuvMatrix(5, 1080), YuvMatrix::kBt601);
    EXPECT_EQ(sorvane::yuvMatrix(6, 1080), YuvMatrix::kBt601);
}

TEST(YuvMatrix, WithoutAStatementTheHeightDecides) {
    EXPECT_EQ(sorvane::yuvMatrix(2, 577), YuvMatrix::kBt709);
    EXPECT_EQ(sorvane::yuvMatrix(2, 576), YuvMatrix::kBt601);
}
