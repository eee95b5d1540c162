// The hold-to-send button by itself: one 1001 for each 1000, whatever ends the hold.
#include "input/qmycmdbtn.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QTouchEvent>
#include <functional>
#include <memory>

#include "app/events/event_receiver.h"
#include "hold_recorder.h"
#include "tests/widgets/wait.h"

namespace {

QStringList* g_log = nullptr;
void keepLog(QtMsgType, const QMessageLogContext&, const QString& text) {
    if (g_log != nullptr) {
        *g_log << text;
    }
}

class CmdBtnTest : public ::testing::Test {
protected:
    CmdBtnTest() {
        button.setCommand(7, &target);
        button.resize(80, 40);
        button.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&button));
        g_log = &log;
        m_previous = qInstallMessageHandler(keepLog);
    }
    ~CmdBtnTest() override {
        qInstallMessageHandler(m_previous);
        g_log = nullptr;
    }
    QStringList inputLog() const { return log.filter("zvdbg**"); }

    HoldRecorder target;
    QMyCmdBtn button;
    QStringList log;

private:
    QtMessageHandler m_previous;
};

TEST_F(CmdBtnTest, MousePressAndReleaseAreReported) {
    QTest::mousePress(&button, Qt::LeftButton);
    EXPECT_EQ(target.take(), kDown);
    EXPECT_EQ(target.sender, &button);
    EXPECT_TRUE(button.isDown());
    EXPECT_TRUE(button.isHeld());
    QTest::mouseRelease(&button, Qt::LeftButton);
    EXPECT_EQ(target.take(), kUp);
    EXPECT_EQ(inputLog(), (QStringList{"zvdbg**MouseButtonPress", "zvdbg**MouseButtonRelease"}));
    EXPECT_EQ(button.commandId(), 7);
}

TEST_F(CmdBtnTest, AKeySendsNothingAndDoesNotLightIt) {
    for (const Qt::Key key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter}) {
        QTest::keyPress(&button, key);
        EXPECT_FALSE(button.isDown()) << key;
        QTest::keyRelease(&button, key);
        EXPECT_FALSE(button.isDown()) << key;
    }
    EXPECT_TRUE(target.take().empty());
}

TEST_F(CmdBtnTest, RightButtonSendsNothing) {
    QTest::mousePress(&button, Qt::RightButton);
    QTest::mouseRelease(&button, Qt::RightButton);
    EXPECT_EQ(target.take(), Types());
    EXPECT_EQ(inputLog(), QStringList());
}

TEST_F(CmdBtnTest, DoubleClickIsTwoCommands) {
    QTest::mousePress(&button, Qt::LeftButton);
    QTest::mouseRelease(&button, Qt::LeftButton);
    QMouseEvent second(QEvent::MouseButtonDblClick, QPointF(5, 5), Qt::LeftButton, Qt::LeftButton,
                       Qt::NoModifier);
    QCoreApplication::sendEvent(&button, &second);
    QTest::mouseRelease(&button, Qt::LeftButton);
    EXPECT_EQ(target.take(), (Types{1000, 1001, 1000, 1001}));
}

TEST_F(CmdBtnTest, TouchIsReportedOnceWhateverTheSystemMakesOfIt) {
    touchPress(&button);
    EXPECT_EQ(target.take(), kDown);
    QTest::mousePress(&button, Qt::LeftButton);
    EXPECT_EQ(target.take(), Types()) << "made from the touch";
    touchRelease(&button, button.rect().center());
    EXPECT_EQ(target.take(), kUp);
    log.clear();
    QTest::mouseRelease(&button, Qt::LeftButton);
    EXPECT_EQ(target.take(), Types()) << "made from the touch";
    EXPECT_EQ(inputLog(), QStringList()) << "logs nothing";
    QTest::mousePress(&button, Qt::LeftButton);
    EXPECT_EQ(target.take(), kDown) << "the release made the mouse count again";
    QTest::mouseRelease(&button, Qt::LeftButton);
    EXPECT_EQ(target.take(), kUp);
}

TEST_F(CmdBtnTest, TouchThatEndsOffTheButtonStillSendsTheRelease) {
    touchPress(&button);
    touchRelease(&button, QPoint(5000, 5000));
    EXPECT_EQ(target.take(), (Types{1000, 1001}));
    EXPECT_EQ(inputLog(), (QStringList{"zvdbg**TouchBegin", "zvdbg**TouchEnd"}));
}

TEST_F(CmdBtnTest, MousePressAfterATouchWithoutMouseEventsIsIgnoredOnce) {
    touchPress(&button);
    touchRelease(&button, button.rect().center());
    target.take();
    QTest::mousePress(&button, Qt::LeftButton);
    QTest::mouseRelease(&button, Qt::LeftButton);
    EXPECT_EQ(target.take(), Types());
    QTest::mousePress(&button, Qt::LeftButton);
    QTest::mouseRelease(&button, Qt::LeftButton);
    EXPECT_EQ(target.take(), (Types{1000, 1001}));
}

TEST_F(CmdBtnTest, TouchWhileTheMouseHoldsEndsTheFirstHold) {
    QTest::mousePress(&button, Qt::LeftButton);
    touchPress(&button);
    EXPECT_EQ(target.take(), (Types{1000, 1001, 1000}));
    touchRelease(&button, button.rect().center());
    QTest::mouseRelease(&button, Qt::LeftButton);
    EXPECT_EQ(target.take(), kUp);
}

TEST_F(CmdBtnTest, SecondPressWithoutAReleaseEndsTheFirst) {
    QTest::mousePress(&button, Qt::LeftButton);
    QTest::mousePress(&button, Qt::LeftButton);
    QTest::mouseRelease(&button, Qt::LeftButton);
    QTest::mouseRelease(&button, Qt::LeftButton);
    EXPECT_EQ(target.take(), (Types{1000, 1001, 1000, 1001}));
}

TEST_F(CmdBtnTest, DisabledButtonSendsNothing) {
    button.setEnabled(false);
    QTest::mousePress(&button, Qt::LeftButton);
    QTest::mouseRelease(&button, Qt::LeftButton);
    touchPress(&button);
    touchRelease(&button, button.rect().center());
    EXPECT_EQ(target.take(), Types());
}

TEST_F(CmdBtnTest, TargetThatDiesWhileHeldIsLeftAlone) {
    auto mortal = std::make_unique<HoldRecorder>();
    button.setCommand(0, mortal.get());
    QTest::mousePress(&button, Qt::LeftButton);
    mortal.reset();
    QTest::mouseRelease(&button, Qt::LeftButton);
    EXPECT_FALSE(button.isHeld());
    EXPECT_EQ(target.take(), Types());
}

TEST_F(CmdBtnTest, WithoutTargetAndWindowNothingHappens) {
    button.setCommand(0, nullptr);
    QTest::mousePress(&button, Qt::LeftButton);
    QTest::mouseRelease(&button, Qt::LeftButton);
    EXPECT_FALSE(button.isHeld());
}

TEST_F(CmdBtnTest, ReleaseThatAnotherWidgetGetsEndsTheHold) {
    QWidget popup;
    QTest::mousePress(&button, Qt::LeftButton);
    QTest::mouseRelease(&popup, Qt::LeftButton);
    EXPECT_EQ(target.take(), (Types{1000, 1001}));
}

TEST_F(CmdBtnTest, WithoutATargetTheReceiverOfTheProcessGetsBoth) {
    HoldRecorder hub;
    setEventReceiver(&hub);
    button.setCommand(3, nullptr);
    QTest::mousePress(&button, Qt::LeftButton);
    EXPECT_EQ(hub.take(), kDown);
    EXPECT_EQ(hub.sender, &button);
    QTest::mouseRelease(&button, Qt::LeftButton);
    EXPECT_EQ(hub.take(), kUp);
    EXPECT_EQ(target.take(), Types());
    setEventReceiver(nullptr);
}

TEST_F(CmdBtnTest, ATargetComesBeforeTheReceiver) {
    HoldRecorder hub;
    setEventReceiver(&hub);
    QTest::mousePress(&button, Qt::LeftButton);
    QTest::mouseRelease(&button, Qt::LeftButton);
    EXPECT_EQ(hub.take(), Types());
    EXPECT_EQ(target.take(), (Types{1000, 1001}));
    setEventReceiver(nullptr);
}

TEST_F(CmdBtnTest, WhoGotThePressGetsTheRelease) {
    HoldRecorder hub;
    HoldRecorder next;
    setEventReceiver(&hub);
    button.setCommand(0, nullptr);
    QTest::mousePress(&button, Qt::LeftButton);
    setEventReceiver(&next);
    button.setCommand(0, &target);
    QTest::mouseRelease(&button, Qt::LeftButton);
    EXPECT_EQ(hub.take(), (Types{1000, 1001}));
    EXPECT_EQ(next.take(), Types());
    EXPECT_EQ(target.take(), Types());
    setEventReceiver(nullptr);
}

// Each way to take a hold away: one release then, and none when the operator lets go.
class HoldIsTaken : public CmdBtnTest {
protected:
    void by(const std::function<void()>& fault) {
        QTest::mousePress(&button, Qt::LeftButton);
        EXPECT_EQ(target.take(), kDown);
        fault();
        EXPECT_EQ(target.take(), kUp);
        EXPECT_FALSE(button.isHeld());
        EXPECT_FALSE(button.isDown());
        button.setEnabled(true);
        QTest::mouseRelease(&button, Qt::LeftButton);
        EXPECT_EQ(target.take(), Types());
    }
};

TEST_F(HoldIsTaken, ByItsOwner) {
    by([this] { button.endHold(); });
}

TEST_F(HoldIsTaken, ByAnotherApplication) {
    by([] { emit qApp->applicationStateChanged(Qt::ApplicationInactive); });
    QTest::mousePress(&button, Qt::LeftButton);
    emit qApp->applicationStateChanged(Qt::ApplicationActive);
    EXPECT_EQ(target.take(), kDown);
    QTest::mouseRelease(&button, Qt::LeftButton);
}

TEST_F(HoldIsTaken, ByHidingTheButton) {
    by([this] { button.hide(); });
}

TEST_F(HoldIsTaken, ByDisablingTheButton) {
    by([this] { button.setEnabled(false); });
}

TEST_F(HoldIsTaken, ByAModalBox) {
    QDialog box;
    box.setModal(true);
    by([&] {
        box.show();
        EXPECT_TRUE(waitFor([this] { return !target.types.empty(); }));
    });
}

TEST_F(HoldIsTaken, ByACancelledTouch) {
    touchPress(&button);
    EXPECT_EQ(target.take(), kDown);
    QTouchEvent cancel(QEvent::TouchCancel, touchScreen());
    QCoreApplication::sendEvent(&button, &cancel);
    EXPECT_EQ(target.take(), kUp);
    EXPECT_FALSE(button.isDown());
    QTest::mousePress(&button, Qt::LeftButton);
    EXPECT_EQ(target.take(), kDown) << "the mouse counts again at once";
    QTest::mouseRelease(&button, Qt::LeftButton);
}

TEST_F(HoldIsTaken, ByTheButtonsEnd) {
    auto mortal = std::make_unique<QMyCmdBtn>(QStringLiteral("text"));
    EXPECT_EQ(mortal->text(), "text");
    mortal->setCommand(0, &target);
    QTest::mousePress(mortal.get(), Qt::LeftButton);
    mortal.reset();
    EXPECT_EQ(target.take(), (Types{1000, 1001}));
}

}  // namespace
