// The line around a picture that stands still: when it is there, and that it touches nothing.
#include "video/frozen_frame.h"
#include "video_fixture.h"

namespace {

class Frozen : public VideoTest {
protected:
    // Both windows side by side, the first one playing.
    void play() {
        start({{"common/video_display_mode", 2}, {"common/check_video_ms", 600000}});
        foldStatusPane();
        connection().pushButton_22->click();
        ASSERT_TRUE(in().playing1());
    }
    FrozenFrame* frame(int window_id) const {
        return find<FrozenFrame>(window_id == 1 ? "videoWin1_frozen" : "videoWin2_frozen");
    }
    QRect global(const QWidget* widget) const { return {widget->mapToGlobal(QPoint(0, 0)), widget->size()}; }
};

TEST_F(Frozen, TheLineIsThereWhileNoPictureComes) {
    play();
    EXPECT_FALSE(frame(1)->isVisible());
    deliver(640, 360, kRed);
    ASSERT_TRUE(waitFor([&] { return frame(1)->isVisible(); }));
    EXPECT_FALSE(frame(2)->isVisible());
    deliver(640, 360, kRed);
    EXPECT_TRUE(waitFor([&] { return !frame(1)->isVisible(); }));
    ASSERT_TRUE(waitFor([&] { return frame(1)->isVisible(); }));
    connection().pushButton_22->click();
    EXPECT_TRUE(waitFor([&] { return !frame(1)->isVisible(); })) << "a closed channel has no picture";
}

TEST_F(Frozen, PicturesThatComeHaveNoLine) {
    play();
    bool seen = false;
    QElapsedTimer since;
    since.start();
    EXPECT_TRUE(waitFor([&] {
        deliver(640, 360, kRed);
        seen = seen || frame(1)->isVisible();
        return since.elapsed() > 1500;
    }));
    EXPECT_FALSE(seen);
}

TEST_F(Frozen, BeforeTheFirstPictureThereIsNone) {
    play();
    QElapsedTimer since;
    since.start();
    EXPECT_TRUE(waitFor([&] { return since.elapsed() > 1500; }));
    EXPECT_FALSE(frame(1)->isVisible());
}

TEST_F(Frozen, ItLiesAroundThePixelsAndOnNoneOfThem) {
    play();
    deliver(640, 360, kRed);
    ASSERT_TRUE(waitFor([&] { return frame(1)->isVisible(); }));
    const QRegion line = frame(1)->mask().translated(frame(1)->geometry().topLeft());
    const QRect widget = global(win1());
    // The picture fills the width and has bars above and below.
    const int height = widget.width() * 360 / 640;
    const QRect picture(widget.x(), widget.y() + (widget.height() - height) / 2, widget.width(), height - 1);
    EXPECT_FALSE(line.intersects(picture));
    EXPECT_TRUE(line.contains(QPoint(picture.center().x(), picture.top() - 2)));
    EXPECT_TRUE(line.contains(QPoint(picture.right() + 2, picture.center().y())));
    const QImage pixels = onScreen(win1());
    const QPoint top = picture.topLeft() - widget.topLeft();
    EXPECT_TRUE(isAbout(pixels.pixel(top.x() + 5, top.y() + 3), 255, 0, 0));
    EXPECT_TRUE(isAbout(pixels.pixel(pixels.width() / 2, pixels.height() / 2), 255, 0, 0));
}

TEST_F(Frozen, ItTakesNeitherMouseNorActivation) {
    play();
    deliver(640, 360, kRed);
    ASSERT_TRUE(waitFor([&] { return frame(1)->isVisible(); }));
    EXPECT_TRUE(window->isActiveWindow());
    const Qt::WindowFlags flags = frame(1)->windowFlags();
    EXPECT_TRUE(flags.testFlag(Qt::WindowTransparentForInput));
    EXPECT_TRUE(flags.testFlag(Qt::WindowDoesNotAcceptFocus));
}

TEST_F(Frozen, OtherWindowsOfTheProgramKeepTheirPixels) {
    play();
    window->OnButtonStatPaneClicked();
    ASSERT_TRUE(waitFor([&] { return in().m_statPane()->isVisible(); }));
    deliver(640, 360, kRed);
    ASSERT_TRUE(waitFor([&] { return frame(1)->isVisible(); }));
    const QRegion line = frame(1)->mask().translated(frame(1)->geometry().topLeft());
    EXPECT_FALSE(line.intersects(in().m_statPane()->geometry()));
    EXPECT_FALSE(line.isEmpty());
}

// Nobody sends a new picture: the one that stands there is drawn at the new size, and the line around it.
TEST_F(Frozen, AResizeDrawsThePictureAnew) {
    play();
    window->showNormal();
    ASSERT_TRUE(waitFor([this] { return !window->isMaximized(); }));
    // Red, its upper left quarter white: a wrong place or an old size shows.
    deliver(640, 360, kRed, kWhite);
    ASSERT_TRUE(waitFor([&] { return frame(1)->isVisible(); }));
    for (const QSize& size : {QSize(1700, 900), QSize(1100, 640), QSize(1400, 950)}) {
        window->resize(size);
        ASSERT_TRUE(waitFor([&] { return window->size() == size && win1()->updatesEnabled(); }));
        const auto is_whole = [this] {
            const QImage pixels = onScreen(win1());
            const QSize fitted = QSize(640, 360).scaled(win1()->size(), Qt::KeepAspectRatio);
            const int top = (win1()->height() - fitted.height()) / 2;
            const int left = (win1()->width() - fitted.width()) / 2;
            const auto at = [&](int x, int y) { return pixels.pixel(left + x, top + y); };
            const int right = fitted.width() - 6;
            const int bottom = fitted.height() - 6;
            return isAbout(at(6, 6), 255, 255, 255) && isAbout(at(right, 6), 255, 0, 0) &&
                   isAbout(at(right, bottom), 255, 0, 0) && isAbout(at(6, bottom), 255, 0, 0) &&
                   (top < 8 || (isAbout(at(right, -6), 0, 0, 0) && isAbout(at(6, bottom + 12), 0, 0, 0))) &&
                   (left < 8 || (isAbout(at(-6, 6), 0, 0, 0) && isAbout(at(right + 12, bottom), 0, 0, 0)));
        };
        EXPECT_TRUE(waitFor(is_whole)) << size.width();
        EXPECT_TRUE(waitFor([&] {
            return frame(1)->isVisible() &&
                   frame(1)->geometry().adjusted(2, 2, -2, -2).width() ==
                       QSize(640, 360).scaled(win1()->size(), Qt::KeepAspectRatio).width();
        })) << size.width();
    }
}

// Closed and opened again, with the words of an idle window between: the old picture is gone for good.
TEST_F(Frozen, APictureOfAClosedStreamIsNotDrawnAnew) {
    play();
    deliver(640, 360, kRed);
    ASSERT_TRUE(waitFor([&] { return frame(1)->isVisible(); }));
    connection().pushButton_22->click();
    ASSERT_TRUE(waitFor([&] { return isAbout(onScreen(win1()).pixel(20, win1()->height() / 2), 0, 0, 0); }));
    connection().pushButton_22->click();
    ASSERT_TRUE(in().playing1());
    window->showNormal();
    window->resize(1200, 800);
    ASSERT_TRUE(waitFor([&] { return window->size() == QSize(1200, 800); }));
    win1()->repaint();
    QElapsedTimer since;
    since.start();
    EXPECT_TRUE(waitFor([&] { return since.elapsed() > 300; }));
    EXPECT_FALSE(isAbout(onScreen(win1()).pixel(win1()->width() / 4, win1()->height() / 2), 255, 0, 0));
}

}  // namespace
