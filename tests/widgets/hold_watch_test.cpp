// What takes a hold away although the control sees no release: by the real pointer where it matters.
#include "widgets/hold_watch.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QMenu>
#include <QMouseEvent>
#include <QTest>
#include <QVBoxLayout>
#include <memory>

#include "tests/widgets/wait.h"
#include "tests/widgets/x11_pointer.h"

namespace {

class Watch : public ::testing::Test {
protected:
    Watch() {
        // A control takes its own mouse events.
        held.setAttribute(Qt::WA_NoMousePropagation);
        window.setLayout(new QVBoxLayout);
        window.layout()->addWidget(&held);
        window.layout()->addWidget(&other);
        window.resize(400, 300);
        window.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
        window.activateWindow();
        EXPECT_TRUE(waitFor([this] { return window.isActiveWindow(); }));
        watch.begin(Qt::LeftButton);
    }
    ~Watch() override {
        held.setParent(nullptr);
        other.setParent(nullptr);
    }
    static void send(QObject& to, QEvent::Type type, Qt::MouseButton button, Qt::MouseButtons buttons) {
        QMouseEvent e(type, QPointF(5, 5), QPointF(5, 5), QPointF(5, 5), button, buttons, Qt::NoModifier);
        QCoreApplication::sendEvent(&to, &e);
    }
    void expectOver(int times = 1) {
        EXPECT_EQ(over, times);
        EXPECT_EQ(watch.active(), times == 0);
    }

    QWidget window;
    QWidget held;
    QWidget other;
    int over = 0;
    HoldWatch watch{held, [this] { ++over; }};
};

TEST_F(Watch, APopupTakesTheMouse) {
    QMenu menu;
    menu.addAction("a");
    menu.popup(window.mapToGlobal(QPoint(10, 10)));
    expectOver();
    menu.close();
}

TEST_F(Watch, AToolTipAndAToolWindowDoNot) {
    QWidget tool(&window, Qt::Tool | Qt::WindowDoesNotAcceptFocus);
    tool.setAttribute(Qt::WA_ShowWithoutActivating);
    tool.show();
    QWidget tip(&window, Qt::ToolTip);
    tip.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&tool));
    expectOver(0);
}

TEST_F(Watch, AReleaseThatAnotherWidgetGets) {
    send(held, QEvent::MouseButtonRelease, Qt::LeftButton, Qt::NoButton);
    expectOver(0);
    send(other, QEvent::MouseButtonRelease, Qt::RightButton, Qt::LeftButton);
    expectOver(0);
    send(other, QEvent::MouseButtonRelease, Qt::LeftButton, Qt::NoButton);
    expectOver();
    send(other, QEvent::MouseButtonRelease, Qt::LeftButton, Qt::NoButton);
    expectOver();
}

TEST_F(Watch, AMoveAnywhereWithoutTheButton) {
    send(other, QEvent::MouseMove, Qt::NoButton, Qt::LeftButton);
    expectOver(0);
    send(*window.windowHandle(), QEvent::MouseMove, Qt::NoButton, Qt::RightButton);
    expectOver();
}

// The control's own press is handed on to its parents; the window sees the next one before any widget.
TEST_F(Watch, APressOfTheSameButtonMeansThatTheReleaseWasLost) {
    send(window, QEvent::MouseButtonPress, Qt::LeftButton, Qt::LeftButton);
    send(*window.windowHandle(), QEvent::MouseButtonPress, Qt::RightButton, Qt::LeftButton | Qt::RightButton);
    expectOver(0);
    send(*window.windowHandle(), QEvent::MouseButtonPress, Qt::LeftButton, Qt::LeftButton);
    expectOver();
}

TEST_F(Watch, AFingerKnowsNoMouse) {
    watch.end();
    watch.begin(Qt::NoButton);
    send(*window.windowHandle(), QEvent::MouseMove, Qt::NoButton, Qt::NoButton);
    send(other, QEvent::MouseButtonRelease, Qt::LeftButton, Qt::NoButton);
    expectOver(0);
    held.hide();
    expectOver();
}

TEST_F(Watch, HidingDisablingBlockingMinimisingClosing) {
    const auto ended = [this](const std::function<void()>& by) {
        over = 0;
        watch.begin(Qt::LeftButton);
        by();
        expectOver();
        window.show();
    };
    ended([this] { held.hide(); });
    held.show();
    ended([this] { window.setEnabled(false); });
    window.setEnabled(true);
    ended([this] {
        QDialog box(&window);
        box.setModal(true);
        box.show();
        EXPECT_TRUE(waitFor([this] { return over > 0; }));
    });
    ended([this] { window.close(); });
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    ended([this] {
        window.showMinimized();
        EXPECT_TRUE(waitFor([this] { return over > 0; }));
        window.showNormal();
    });
}

TEST_F(Watch, OthersOfThatKindDoNot) {
    other.hide();
    other.setEnabled(false);
    QWidget second;
    second.show();
    second.close();
    expectOver(0);
}

TEST_F(Watch, AnotherApplication) {
    emit qApp->applicationStateChanged(Qt::ApplicationActive);
    expectOver(0);
    emit qApp->applicationStateChanged(Qt::ApplicationInactive);
    expectOver();
}

TEST_F(Watch, ACancelledTouch) {
    QEvent cancel(QEvent::TouchCancel);
    QCoreApplication::sendEvent(window.windowHandle(), &cancel);
    expectOver();
}

TEST_F(Watch, AtRestItSaysNothing) {
    watch.end();
    window.close();
    emit qApp->applicationStateChanged(Qt::ApplicationInactive);
    EXPECT_EQ(over, 0);
}

// Pressed on the control, a list opened by the keyboard, released over it: the server's own events.
TEST_F(Watch, AReleaseOverAPopupByTheRealPointer) {
    X11Pointer pointer;
    ASSERT_TRUE(pointer.available());
    const QPoint centre = held.mapToGlobal(held.rect().center());
    pointer.moveTo(centre.x(), centre.y());
    pointer.press(1);
    QMenu menu;
    menu.addAction("a long enough entry");
    menu.popup(centre);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&menu));
    expectOver();
    pointer.release(1);
    QTest::qWait(50);
    expectOver();
    menu.close();
}

// Another program has the pointer: no event of the mouse reaches this one.
TEST_F(Watch, AReleaseThatOnlyAnotherProgramHears) {
    X11Pointer pointer;
    ASSERT_TRUE(pointer.takeGrab());
    watch.end();
    pointer.press(1);
    watch.begin(Qt::LeftButton);
    QTest::qWait(200);
    expectOver(0);
    pointer.release(1);
    EXPECT_TRUE(waitFor([this] { return over > 0; }));
    expectOver();
    pointer.dropGrab();
}

TEST_F(Watch, APressMadeOfAFingerIsNotLookedForAtTheMouse) {
    watch.end();
    watch.begin(Qt::LeftButton);
    QTest::qWait(200);
    expectOver(0);
}

}  // namespace
