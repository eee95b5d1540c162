#include "widgets/common_dlg.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QPushButton>
#include <QScreen>
#include <QTest>

#include "wait.h"
#include "widgets/title_bar.h"
#include "x11_pointer.h"

namespace {

// A dialog of 300 x 200 with a strip of 36 along its top and a button at the strip's right end.
struct Dialog {
    explicit Dialog(bool with_title) {
        dialog.setGeometry(200, 150, 300, 200);
        strip = new title_bar(&dialog);
        strip->setGeometry(0, 0, 300, 36);
        close = new QPushButton(strip);
        close->setGeometry(264, 0, 36, 36);
        if (with_title) {
            dialog.setTitleWidget(strip);
        }
        dialog.show();
    }
    bool shown() { return QTest::qWaitForWindowActive(&dialog); }
    std::uintptr_t window() { return static_cast<std::uintptr_t>(dialog.winId()); }

    common_dlg dialog;
    title_bar* strip;
    QPushButton* close;
};

TEST(CommonDlg, HasNoFrame) {
    common_dlg dialog;
    EXPECT_TRUE(dialog.windowFlags().testFlag(Qt::FramelessWindowHint));
    EXPECT_EQ(dialog.windowType(), Qt::Dialog);
}

// Presses on the strip, drags by (80, 50) and releases. True when the dialog has followed exactly.
bool dragFollows(X11Pointer& pointer, Dialog& d, int button) {
    const auto before = pointer.position(d.window());
    const QPoint start = d.dialog.pos();
    // 100, 18 within the strip; the display may be scaled, the pointer's pixels are the server's.
    const std::pair<int, int> from(before.first + 100, before.second + 18);
    pointer.moveTo(from.first, from.second);
    pointer.press(button);
    if (!waitFor([&] { return pointer.moveRequests(d.window()) == 1; })) {
        pointer.release(button);
        return false;
    }
    // The window manager takes the pointer some time after the request and sees no motion before that, so the
    // pointer goes to and fro until the dialog has followed.
    int step = 0;
    const bool moved = waitFor([&] {
        ++step;
        pointer.moveTo(from.first + 60 + step % 2, from.second + 40);
        return pointer.position(d.window()) != before;
    });
    pointer.moveTo(from.first + 80, from.second + 50);
    const std::pair<int, int> target(before.first + 80, before.second + 50);
    const bool arrived = waitFor([&] { return pointer.position(d.window()) == target; });
    pointer.release(button);
    // The dialog itself is told at the end of the move.
    return moved && arrived && waitFor([&] { return d.dialog.pos() != start; });
}

TEST(CommonDlg, PressOfAnyButtonOnTheStripLetsTheSystemMoveTheDialog) {
    X11Pointer pointer;
    ASSERT_TRUE(pointer.available());
    for (const int button : {1, 2, 3}) {
        Dialog d(true);
        ASSERT_TRUE(d.shown());
        EXPECT_TRUE(dragFollows(pointer, d, button)) << "button " << button;
        EXPECT_EQ(pointer.lastButton(), button);
    }
}

TEST(CommonDlg, WithoutATitleWidgetAPressMovesNothing) {
    X11Pointer pointer;
    ASSERT_TRUE(pointer.available());
    Dialog d(false);
    ASSERT_TRUE(d.shown());
    const auto origin = pointer.position(d.window());
    pointer.moveTo(origin.first + 100, origin.second + 18);
    pointer.press(1);
    ASSERT_TRUE(waitFor([&] { return QGuiApplication::mouseButtons() == Qt::LeftButton; }));
    pointer.release(1);
    ASSERT_TRUE(waitFor([&] { return QGuiApplication::mouseButtons() == Qt::NoButton; }));
    EXPECT_EQ(pointer.moveRequests(d.window()), 0);
}

TEST(CommonDlg, PressOnAButtonOfTheStripMovesNothing) {
    X11Pointer pointer;
    ASSERT_TRUE(pointer.available());
    Dialog d(true);
    ASSERT_TRUE(d.shown());
    int clicks = 0;
    QObject::connect(d.close, &QPushButton::clicked, [&] { ++clicks; });
    const auto origin = pointer.position(d.window());
    pointer.moveTo(origin.first + 282, origin.second + 18);
    pointer.press(1);
    pointer.release(1);
    ASSERT_TRUE(waitFor([&] { return clicks == 1; }));
    EXPECT_EQ(pointer.moveRequests(d.window()), 0);
}

TEST(CommonDlg, APressThatIsOverMovesNothing) {
    X11Pointer pointer;
    ASSERT_TRUE(pointer.available());
    Dialog d(true);
    ASSERT_TRUE(d.shown());
    // An event without a button held on the display: a move begun now would never end.
    QTest::mousePress(d.strip, Qt::LeftButton, Qt::NoModifier, QPoint(100, 18));
    QTest::mouseRelease(d.strip, Qt::LeftButton, Qt::NoModifier, QPoint(100, 18));
    EXPECT_EQ(pointer.moveRequests(d.window()), 0);
}

TEST(CommonDlg, TheCloseButtonHasAnIconAndCloses) {
    Dialog d(true);
    ASSERT_TRUE(d.shown());
    EXPECT_TRUE(d.close->icon().isNull());
    d.dialog.setCloseButton(d.close);
    EXPECT_FALSE(d.close->icon().isNull());
    d.close->click();
    EXPECT_FALSE(d.dialog.isVisible());
}

TEST(CommonDlg, TheStripTakesItsGroundFromAStyleSheet) {
    title_bar strip;
    strip.setStyleSheet(QStringLiteral("title_bar { background: #123456; }"));
    strip.resize(20, 10);
    EXPECT_EQ(strip.grab().toImage().pixelColor(10, 5), QColor(0x12, 0x34, 0x56));
}

// In the middle of the window each time it opens, also after the window has moved, and never beyond the
// screen.
TEST(CommonDlg, OpensInTheMiddleOfItsWindowAndWholeOnTheScreen) {
    QWidget window;
    window.setWindowFlag(Qt::FramelessWindowHint);
    window.setGeometry(300, 200, 600, 400);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    common_dlg dialog(&window);
    dialog.resize(200, 100);
    const auto placed = [&](const QPoint& centre) {
        dialog.show();
        const bool there = QTest::qWaitForWindowExposed(&dialog) && waitFor([&] {
                               return (dialog.geometry().center() - centre).manhattanLength() <= 2;
                           });
        dialog.close();
        return there;
    };
    EXPECT_TRUE(placed({600, 400})) << dialog.geometry().center().y();
    window.move(500, 100);
    ASSERT_TRUE(waitFor([&] { return window.pos() == QPoint(500, 100); }));
    EXPECT_TRUE(placed({800, 300}));

    const QRect room = window.screen()->availableGeometry();
    for (const QPoint& corner : {room.topLeft() - QPoint(500, 300), room.bottomRight() - QPoint(50, 50)}) {
        window.move(corner);
        dialog.show();
        EXPECT_TRUE(room.contains(dialog.geometry()));
        dialog.close();
    }
}

}  // namespace
