// The widget under a picture with an owner of the test's: gestures, the no-signal text, who owns the pixels.
#include <gtest/gtest.h>

#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QTest>
#include <QWheelEvent>

#include "tests/widgets/wait.h"
#include "video/picture_owner.h"
#include "video/qmyvideowidget.h"

namespace {

// Notes what it is asked for.
class FakeOwner : public PictureOwner {
public:
    virtual ~FakeOwner() = default;

    bool noSignalTest(int window_id) const override { return window_id == open_window; }
    int frameWidth() const override { return frame.width(); }
    int frameHeight() const override { return frame.height(); }
    bool edgeResizing() const override { return resizing; }
    bool edgeGesture(const QPoint& /*global*/) const override { return edge_gesture; }
    void setZoom(int window_id, int cmd) override { calls << QString("zoom %1 %2").arg(window_id).arg(cmd); }
    void trackPoint(std::int16_t x, std::int16_t y) override {
        calls << QString("track %1 %2").arg(x).arg(y);
    }
    void stopTracking() override { calls << "stop tracking"; }
    void slew(std::int16_t x, std::int16_t y) override { calls << QString("slew %1 %2").arg(x).arg(y); }
    void beginSlew(int window_id) override { calls << QString("slew begins %1").arg(window_id); }
    void stopSlew(int /*window_id*/) override { calls << "stop slew"; }
    void middlePressed() override { calls << "middle pressed"; }
    void middleReleased() override { calls << "middle released"; }
    void showDragRing(const QPoint& centre) override {
        calls << "ring";
        ring = centre;
    }
    void showDragDot(const QPoint& centre) override {
        calls << "dot";
        dot = centre;
    }
    void hideDragMarks() override { calls << "hide marks"; }
    void placeTips() override { ++tips_placed; }

    int open_window = 0;
    QSize frame{640, 512};
    bool resizing = false;
    bool edge_gesture = false;
    QStringList calls;
    QPoint ring;
    QPoint dot;
    int tips_placed = 0;
};

const QStringList kStart = {"slew begins 1", "ring"};
const QStringList kStop = {"stop slew", "hide marks"};

class VideoFace : public ::testing::Test {
protected:
    VideoFace() {
        stage.resize(700, 560);
        widget.setGeometry(20, 10, 640, 512);
        widget.setObjectName("videoWin1");
        widget.setOwner(&owner);
    }
    void showStage() {
        stage.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&stage));
        stage.activateWindow();
        ASSERT_TRUE(waitFor([this] { return stage.isActiveWindow(); }));
        owner.calls.clear();
    }
    void mouse(QEvent::Type type, const QPoint& p, Qt::MouseButton button) {
        if (type == QEvent::MouseButtonPress) {
            held |= button;
        } else if (type == QEvent::MouseButtonRelease) {
            held &= ~Qt::MouseButtons(button);
        }
        QMouseEvent e(type, p, widget.mapToGlobal(p), button, held, Qt::NoModifier);
        QCoreApplication::sendEvent(&widget, &e);
    }
    void press(const QPoint& p, Qt::MouseButton b = Qt::LeftButton) { mouse(QEvent::MouseButtonPress, p, b); }
    void move(const QPoint& p) { mouse(QEvent::MouseMove, p, Qt::NoButton); }
    void release(const QPoint& p, Qt::MouseButton b = Qt::LeftButton) {
        mouse(QEvent::MouseButtonRelease, p, b);
    }
    void click(const QPoint& p, Qt::MouseButton b = Qt::LeftButton) {
        press(p, b);
        release(p, b);
    }
    void wheel(int delta) {
        QWheelEvent e(QPointF(50, 50), widget.mapToGlobal(QPoint(50, 50)), QPoint(), QPoint(0, delta),
                      Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&widget, &e);
        EXPECT_TRUE(e.isAccepted());
    }
    QStringList taken() {
        QStringList calls;
        calls.swap(owner.calls);
        return calls;
    }
    // From the middle past the dead radius; the calls of that are taken away.
    void beginDrag() {
        press({320, 256});
        move({320, 256});
        move({331, 256});
        ASSERT_EQ(taken(), kStart);
        ASSERT_TRUE(widget.dragUnderWay());
    }
    bool noSignalShown() {
        const QImage image = stage.screen()->grabWindow(widget.winId()).toImage();
        int grey = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                grey += image.pixelColor(x, y) == QColor(150, 150, 150) ? 1 : 0;
            }
        }
        return grey > 100;
    }

    FakeOwner owner;
    QWidget stage;
    QMyVideoWidget widget{&stage};
    Qt::MouseButtons held = Qt::NoButton;
};

// The other picture may be of another size; it does not matter here.
TEST_F(VideoFace, AClickIsConvertedWithTheSizeLastDrawnHere) {
    const QPoint at(320 + 100, 256);
    click(at);
    EXPECT_EQ(taken(), QStringList{"track 100 0"}) << "the owner's size before the first picture";
    widget.pictureDrawn({1280, 1024});
    owner.frame = {320, 256};
    click(at);
    EXPECT_EQ(taken(), QStringList{"track 200 0"});
    widget.pictureDrawn({320, 256});
    click(at);
    EXPECT_EQ(taken(), QStringList{"track 50 0"});
}

TEST_F(VideoFace, TakesItsNumberFromItsName) {
    EXPECT_EQ(widget.windowId(), 1);
    QMyVideoWidget other;
    EXPECT_EQ(other.windowId(), 1);
    other.setObjectName("videoWin2");
    other.setOwner(&owner);
    EXPECT_EQ(other.windowId(), 2);
    other.setObjectName("anything");
    other.setOwner(&owner);
    EXPECT_EQ(other.windowId(), 1);
}

TEST_F(VideoFace, AClickIsAPointRightOfAndAboveTheCentre) {
    click({320, 256});
    click({330, 250});
    click({1, 511});
    EXPECT_EQ(taken(), (QStringList{"track 0 0", "track 10 6", "track -319 -255"}));
    owner.frame = {1280, 1024};
    click({330, 250});
    EXPECT_EQ(taken(), QStringList{"track 20 12"});
}

TEST_F(VideoFace, AClickBesideThePictureIsNone) {
    owner.frame = {512, 512};  // bars of 64 pixels left and right
    click({64, 256});
    click({576, 256});
    EXPECT_EQ(taken(), QStringList{});
    click({320, 256});
    EXPECT_EQ(taken(), QStringList{"track 0 0"});
}

TEST_F(VideoFace, TheRightButtonStopsTrackingAndTheMiddleOneIsHeld) {
    click({320, 256}, Qt::RightButton);
    EXPECT_EQ(taken(), QStringList{"stop tracking"});
    press({320, 256}, Qt::MiddleButton);
    EXPECT_EQ(taken(), QStringList{"middle pressed"});
    release({320, 256}, Qt::MiddleButton);
    EXPECT_EQ(taken(), QStringList{"middle released"});
}

// The left button is still down: what it does after the cut is neither a drag nor a click.
TEST_F(VideoFace, WhatCutsADragLeavesNoClickBehind) {
    for (const Qt::MouseButton other : {Qt::MiddleButton, Qt::RightButton}) {
        beginDrag();
        widget.endDrag();
        EXPECT_EQ(taken(), kStop);
        click({320, 256}, other);
        taken();
        move({400, 256});
        release({400, 256});
        EXPECT_EQ(taken(), QStringList{}) << other;
        click({320, 256});
        EXPECT_EQ(taken(), QStringList{"track 0 0"});
    }
    beginDrag();
    click({320, 256}, Qt::RightButton);
    EXPECT_EQ(taken(), kStop) << "any release ends a drag";
    release({331, 256});
}

// Its own release went elsewhere.
TEST_F(VideoFace, ARightClickAfterACutDragStopsTracking) {
    beginDrag();
    widget.endDrag();
    held = Qt::NoButton;
    taken();
    click({320, 256}, Qt::RightButton);
    EXPECT_EQ(taken(), QStringList{"stop tracking"});
}

TEST_F(VideoFace, AGestureOnTheWindowsEdgeIsNoClick) {
    press({320, 256});
    owner.edge_gesture = true;
    release({320, 256});
    EXPECT_EQ(taken(), QStringList{});
    owner.edge_gesture = false;
    click({320, 256});
    EXPECT_EQ(taken(), QStringList{"track 0 0"});
}

TEST_F(VideoFace, ADragLeavesTheMiddleButtonAloneAndTheOtherWayRound) {
    press({320, 256}, Qt::MiddleButton);
    taken();
    widget.endDrag();
    EXPECT_EQ(taken(), QStringList{});
    widget.endMiddle();
    EXPECT_EQ(taken(), QStringList{"middle released"});
    release({320, 256}, Qt::MiddleButton);
    EXPECT_EQ(taken(), QStringList{}) << "it was let go already";
}

TEST_F(VideoFace, TheSecondWindowHasNoClicks) {
    widget.setObjectName("videoWin2");
    widget.setOwner(&owner);
    click({320, 256});
    click({320, 256}, Qt::RightButton);
    EXPECT_EQ(taken(), QStringList{});
    wheel(120);
    EXPECT_EQ(taken(), QStringList{"zoom 2 1"});
}

TEST_F(VideoFace, TheWheelZooms) {
    wheel(120);
    wheel(1);
    wheel(0);
    wheel(-120);
    EXPECT_EQ(taken(), (QStringList{"zoom 1 1", "zoom 1 1", "zoom 1 2", "zoom 1 2"}));
}

TEST_F(VideoFace, ADragSlewsAndStopsOnce) {
    beginDrag();
    EXPECT_EQ(owner.ring, widget.mapToGlobal(QPoint(320, 256)));
    move({480, 256});
    EXPECT_EQ(taken(), (QStringList{"dot", "slew 10 0"}));
    EXPECT_EQ(owner.dot, widget.mapToGlobal(QPoint(480, 256)));
    move({320, 128});
    move({0, 512});
    EXPECT_EQ(taken(), (QStringList{"dot", "slew 0 10", "dot", "slew -20 -20"}));
    release({0, 512});
    EXPECT_EQ(taken(), kStop);
    EXPECT_FALSE(widget.dragUnderWay());
    widget.endHold();
    move({100, 100});
    EXPECT_EQ(taken(), QStringList{});
    click({320, 256});
    EXPECT_EQ(taken(), QStringList{"track 0 0"});
}

TEST_F(VideoFace, TenPixelsStayAClick) {
    press({320, 256});
    move({320, 256});
    move({326, 264});
    EXPECT_FALSE(widget.dragUnderWay());
    release({326, 264});
    EXPECT_EQ(taken(), QStringList{"track 6 -8"});
}

TEST_F(VideoFace, ADragBehindAClickBeginsAtItsOwnPress) {
    press({100, 100});
    move({100, 100});
    release({100, 100});
    ASSERT_EQ(taken().size(), 1);
    beginDrag();
    EXPECT_EQ(owner.ring, widget.mapToGlobal(QPoint(320, 256)));
}

TEST_F(VideoFace, AResizeOfTheWindowHoldsTheDragBack) {
    owner.resizing = true;
    press({320, 256});
    move({320, 256});
    move({400, 256});
    EXPECT_EQ(taken(), QStringList{});
    EXPECT_FALSE(widget.dragUnderWay());
    owner.resizing = false;
    move({400, 256});
    move({420, 256});
    EXPECT_EQ(taken(), kStart);
    EXPECT_EQ(owner.ring, widget.mapToGlobal(QPoint(400, 256)));
}

// Whatever takes the hold away: the stop is sent once, the release that follows says nothing more, and the
// button still held drags no further.
class HoldEnds : public VideoFace {
protected:
    void expectEndedBy(const std::function<void()>& end) {
        beginDrag();
        end();
        EXPECT_EQ(taken(), kStop);
        EXPECT_FALSE(widget.dragUnderWay());
        move({420, 256});
        move({460, 256});
        release({460, 256});
        EXPECT_EQ(taken(), QStringList{});
        click({320, 256});
        EXPECT_EQ(taken(), QStringList{"track 0 0"}) << "a new press is a new hold";
    }
    void sendToWindow(QEvent::Type type) {
        QEvent e(type);
        QCoreApplication::sendEvent(&stage, &e);
    }
};

TEST_F(HoldEnds, ByItsOwner) {
    expectEndedBy([this] { widget.endHold(); });
}

TEST_F(HoldEnds, WithTheWidgetHidden) {
    showStage();
    expectEndedBy([this] { widget.hide(); });
}

TEST_F(HoldEnds, WithTheWidgetDisabled) {
    expectEndedBy([this] {
        widget.setEnabled(false);
        widget.setEnabled(true);
    });
}

TEST_F(HoldEnds, WithTheWindowClosing) {
    expectEndedBy([this] { sendToWindow(QEvent::Close); });
}

TEST_F(HoldEnds, WithAModalBox) {
    expectEndedBy([this] { sendToWindow(QEvent::WindowBlocked); });
}

TEST_F(HoldEnds, WithAnotherApplicationsActivation) {
    expectEndedBy([] { emit qApp->applicationStateChanged(Qt::ApplicationInactive); });
}

TEST_F(HoldEnds, AndItsReleaseMayGoElsewhere) {
    beginDrag();
    widget.endHold();
    EXPECT_EQ(taken(), kStop);
    held = Qt::NoButton;
    beginDrag();
    release({331, 256});
    EXPECT_EQ(taken(), kStop);
}

TEST_F(HoldEnds, WithAMoveWithoutTheButton) {
    widget.setMouseTracking(true);
    beginDrag();
    held = Qt::NoButton;
    move({400, 256});
    EXPECT_EQ(taken(), kStop);
}

TEST_F(HoldEnds, ButNotWithTheApplicationsReturn) {
    beginDrag();
    emit qApp->applicationStateChanged(Qt::ApplicationActive);
    sendToWindow(QEvent::WindowUnblocked);
    EXPECT_EQ(taken(), QStringList{});
    EXPECT_TRUE(widget.dragUnderWay());
    release({331, 256});
    EXPECT_EQ(taken(), kStop);
    sendToWindow(QEvent::Close);
    EXPECT_EQ(taken(), QStringList{});
}

TEST_F(VideoFace, TheNoSignalTextStandsWhileNoStreamIsOpen) {
    showStage();
    EXPECT_TRUE(waitFor([this] { return noSignalShown(); }));
    // An open stream owns the pixels: Qt paints nothing.
    owner.open_window = 1;
    widget.streamStateChanged();
    EXPECT_TRUE(widget.testAttribute(Qt::WA_PaintOnScreen));
    EXPECT_EQ(widget.paintEngine(), nullptr);
    owner.open_window = 2;
    widget.streamStateChanged();
    EXPECT_FALSE(widget.testAttribute(Qt::WA_PaintOnScreen));
    EXPECT_TRUE(waitFor([this] { return noSignalShown(); }));
}

TEST_F(VideoFace, AChangeOfTheStreamsStatePaintsAnew) {
    class Paints : public QObject {
    public:
        int count = 0;
        bool eventFilter(QObject*, QEvent* e) override {
            count += e->type() == QEvent::Paint ? 1 : 0;
            return false;
        }
    } paints;
    showStage();
    ASSERT_TRUE(waitFor([this] { return noSignalShown(); }));
    QCoreApplication::sendPostedEvents();
    widget.installEventFilter(&paints);
    widget.streamStateChanged();
    EXPECT_TRUE(waitFor([&] { return paints.count > 0; }));
}

TEST_F(VideoFace, AnOpenStreamsPixelsAreLeftAlone) {
    QImage image(widget.size(), QImage::Format_RGB32);
    image.fill(Qt::red);
    owner.open_window = 1;
    widget.render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    EXPECT_EQ(image.pixelColor(10, 10), QColor(Qt::red));
    owner.open_window = 0;
    widget.render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    EXPECT_EQ(image.pixelColor(10, 10), QColor(Qt::black));
}

TEST_F(VideoFace, AMoveOfThePicturePlacesTheTips) {
    showStage();
    const int before = owner.tips_placed;
    widget.move(25, 15);
    EXPECT_EQ(owner.tips_placed, before + 1);
}

TEST_F(VideoFace, TellsOfANewNativeWindow) {
    showStage();
    int changes = 0;
    QObject::connect(&widget, &QMyVideoWidget::nativeWindowChanged, [&] { ++changes; });
    struct Opener : QWidget {
        using QWidget::destroy;
    };
    widget.hide();
    (widget.*static_cast<void (QWidget::*)(bool, bool)>(&Opener::destroy))(true, true);
    EXPECT_GT(changes, 0);
}

TEST(VideoFaceAlone, WithoutAnOwnerNothingIsAskedOf) {
    QWidget stage;
    QMyVideoWidget widget(&stage);
    widget.resize(320, 256);
    stage.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&stage));
    widget.move(5, 5);
    for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseMove, QEvent::MouseMove}) {
        QMouseEvent e(type, QPointF(10 + 40 * (type == QEvent::MouseMove), 9), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
        QCoreApplication::sendEvent(&widget, &e);
    }
    QMouseEvent release(QEvent::MouseButtonRelease, QPointF(9, 9), Qt::LeftButton, Qt::NoButton,
                        Qt::NoModifier);
    QCoreApplication::sendEvent(&widget, &release);
    widget.streamStateChanged();
    widget.endHold();
    EXPECT_FALSE(widget.dragUnderWay());
    EXPECT_FALSE(widget.testAttribute(Qt::WA_PaintOnScreen));
}

}  // namespace
