// That nothing of what the game controller sends is left standing: releases, its loss, and what else takes
// the stick out of the operator's hand.
#include <QDir>
#include <QTemporaryFile>

#include "stick_sends.h"

namespace {

TEST_F(StickSends, EveryReleaseOfAButtonStopsTheLastCommand) {
    begin();
    window->sendCommandRate(0, 112, 9, 0);
    sent();
    hold(1);  // no function
    EXPECT_EQ(sent(), QStringList());
    hold(0);
    EXPECT_EQ(sent(), QStringList(kStop112));
}

TEST_F(StickSends, AButtonAmongOthersStartsTheStopTimer) {
    begin();
    give(0, 9);
    give(1, 3);
    hold(1);
    EXPECT_EQ(in().m_stopTimer(), 0);
    EXPECT_EQ(sent(), QStringList(text(fourBytes(69, "01000000"))));
    hold(3);
    EXPECT_GT(in().m_stopTimer(), 0);
    // The second takes the place of the first, whose movement ends.
    EXPECT_EQ(sent(), (QStringList{kStop69, text(fourBytes(50, "00000000"))}));
    ASSERT_TRUE(waitFor([this] { return in().m_stopTimer() == 0; }));
    hold(2);
    hold(0);
    EXPECT_EQ(sent(), QStringList());
}

TEST_F(StickSends, ButtonsTwelveToFifteenAreChordsOfTheirOwn) {
    startStick();
    link();
    plugIn(16);
    in().m_telemetry().display_mode = 1;
    box("btn", 18)->setCurrentIndex(9);  // the thirteenth: eight rows, then five from the fourteenth on
    hold(1);
    hold(1 | (1U << 12));
    EXPECT_EQ(sent(), QStringList(text(fourBytes(69, "01000000"))));
    EXPECT_EQ(in().m_stopTimer(), 0);
    hold(3 | (1U << 12));
    ASSERT_TRUE(waitFor([this] { return in().m_stopTimer() == 0; }));
    sent();
    hold(3);
    EXPECT_EQ(sent(), QStringList(kStop69));
}

// --- nothing is left standing ---

TEST_F(StickSends, AButtonPressedJustBeforeTheStickCameBackLeavesNoRate) {
    begin();
    steer(1, 0);
    give(0, 3);
    moveX(1.0);
    sent();
    // Between two polls: the button goes down, then the stick comes back.
    window->sendCommand4(50, 0, 0, 0, 0);
    moveX(0.0);
    EXPECT_EQ(sent(), (QStringList{text(fourBytes(50, "00000000")), kStop112}));
    // Both in one poll.
    moveX(1.0);
    sent();
    fake_joystick::hold(1);
    moveX(0.0);
    EXPECT_EQ(sent(), (QStringList{text(fourBytes(50, "00000000")), kStop112}));
    hold(0);
    // A rate of nought needs none.
    form().horizontalSlider->setValue(0);
    moveX(1.0);
    window->sendCommand4(50, 0, 0, 0, 0);
    sent();
    moveX(0.0);
    EXPECT_EQ(sent(), QStringList());
}

TEST_F(StickSends, ARateEndsTheZoomOfAHeldButton) {
    begin();
    steer(1, 0);
    give(0, 9);
    hold(1);
    sent();
    moveX(1.0);
    EXPECT_EQ(sent(), (QStringList{kStop69, text(rateFrame(25, 0))}));
    moveX(0.0);
    EXPECT_EQ(sent(), QStringList(kStop112));
    hold(0);
    EXPECT_EQ(sent(), QStringList(kStop112));
}

TEST_F(StickSends, PulledWithAnAxisOutOneStopGoesOut) {
    begin();
    steer(1, 2);
    moveX(1.0);
    window->sendCommand4(50, 0, 0, 0, 0);
    sent();
    pull();
    EXPECT_EQ(sent(), QStringList(kStop112));
    poll();
    EXPECT_EQ(sent(), QStringList());
}

TEST_F(StickSends, PulledWithAButtonHeldOneStopGoesOut) {
    begin();
    give(0, 9);
    hold(1);
    sent();
    pull();
    EXPECT_EQ(sent(), QStringList(kStop69));
    // A state that cannot be read is the same.
    plugIn();
    hold(0);
    hold(1);
    sent();
    fake_joystick::stick().fails = true;
    poll();
    EXPECT_EQ(sent(), QStringList(kStop69));
}

TEST_F(StickSends, PulledWithAButtonHeldThatSendsNothingTheLastCommandEnds) {
    begin();
    hold(2);
    window->sendCommand4(69, 1, 0, 0, 0);
    sent();
    pull();
    EXPECT_EQ(sent(), QStringList(kStop69));
    // It is plugged in again with the button down and let go.
    plugIn();
    hold(0);
    sent();
    pull();
    EXPECT_EQ(sent(), QStringList());
}

TEST_F(StickSends, PulledWithAnAxisOutThatHasNoRoleTheLastCommandEnds) {
    begin();
    moveZ(1.0);
    window->sendCommand4(69, 1, 0, 0, 0);
    sent();
    pull();
    EXPECT_EQ(sent(), QStringList(kStop69)) << "as its return would have sent";
}

TEST_F(StickSends, PulledAtRestNothingGoesOut) {
    begin();
    steer(1, 2);
    moveX(1.0);
    moveX(0.0);
    hold(1);
    hold(0);
    window->sendCommand4(69, 1, 0, 0, 0);
    sent();
    pull();
    EXPECT_EQ(sent(), QStringList());
}

TEST_F(StickSends, PulledInPeriodicModeTheNextTickStands) {
    begin(false);
    steer(1, 2);
    moveY(1.0);
    EXPECT_EQ(fixedParts(tick()), QStringList("0000000000 7000001900"));
    pull();
    EXPECT_EQ(fixedParts(tick()), QStringList("0000000000 7000001900"));
    EXPECT_EQ(fixedParts(tick()), QStringList("0000000000 7000000000"));
    plugIn();
    give(0, 9);
    hold(1);
    EXPECT_EQ(fixedParts(tick()), QStringList("4501000000 0000000000"));
    pull();
    EXPECT_EQ(fixedParts(tick()), (QStringList{"4501000000 0000000000", "4500000000 0000000000"}));
}

TEST_F(StickSends, DisabledWithAnAxisOutOneStopGoesOutAndNobodyPollsAnyMore) {
    begin();
    steer(1, 2);
    moveX(1.0);
    sent();
    form().checkBox_12->setChecked(false);
    const int polls = fake_joystick::stick().polls;
    poll();
    EXPECT_EQ(sent(), QStringList(kStop112));
    poll();
    EXPECT_EQ(sent(), QStringList());
    EXPECT_EQ(fake_joystick::stick().polls, polls);
    // Enabled again with the axis still out it steers again, without a second connect.
    form().checkBox_12->setChecked(true);
    poll();
    EXPECT_EQ(sent(), QStringList(text(rateFrame(25, 0))));
}

TEST_F(StickSends, ClosedWithTheStickOutTheStopGoesOutFirst) {
    for (const bool single : {true, false}) {
        begin(single);
        steer(1, 2);
        moveX(1.0);
        if (single) {
            window->sendCommand4(50, 0, 0, 0, 0);
        } else {
            tick();
        }
        take();
        window->close();
        ASSERT_TRUE(waitFor([&] { return peer.count() >= (single ? 1U : 2U); }));
        const std::vector<QByteArray> last = peer.take();
        if (single) {
            EXPECT_EQ(inHex(last), QStringList(kStop112));
        } else {
            EXPECT_EQ(fixedParts(last), (QStringList{"0000000000 7019000000", "0000000000 7000000000"}));
        }
        const int polls = fake_joystick::stick().polls;
        poll();
        EXPECT_EQ(fake_joystick::stick().polls, polls) << "a closed window polls no more";
        setInstance(nullptr);
        window.reset();
    }
}

TEST_F(StickSends, ALinkThatClosesTakesTheStopWithIt) {
    begin();
    steer(1, 2);
    moveX(1.0);
    take();
    dialog().pushButton_26->click();
    ASSERT_EQ(in().m_linkState(), kLinkNone);
    ASSERT_TRUE(waitFor([this] { return peer.count() > 0; }));
    EXPECT_EQ(inHex(peer.take()), QStringList(kStop112));
}

// As a firmware upgrade does it.
TEST_F(StickSends, ALineThatIsSilencedTakesTheStopWithIt) {
    begin(false);
    steer(1, 2);
    moveX(1.0);
    tick();
    emit in().m_settings()->silenceRequested();
    EXPECT_EQ(fixedParts(take()), (QStringList{"0000000000 7019000000", "0000000000 7000000000"}));
}

TEST_F(StickSends, AChangeOfTheProtocolModeEndsTheRateInTheOldOne) {
    begin();
    steer(1, 2);
    moveX(1.0);
    take();
    choosePeriodic();
    EXPECT_EQ(sent(), QStringList(kStop112));
    poll();
    EXPECT_FALSE(in().m_frameRelease()) << "it is still out, and steers in the new mode";
}

// From its start on no tick leaves that would carry the stop.
TEST_F(StickSends, AFirmwareUpgradeThatBeginsEndsTheRate) {
    QTemporaryFile firmware(QDir::tempPath() + "/XXXXXX.bin");
    ASSERT_TRUE(firmware.open());
    for (const bool single : {true, false}) {
        begin(single);
        steer(1, 2);
        moveX(1.0);
        if (!single) {
            EXPECT_EQ(fixedParts(tick()), QStringList("0000000000 7019000000"));
        }
        take();
        form().lineEdit_9->setText(firmware.fileName());
        form().pushButton_20->click();
        QStringList left = fixedParts(take());
        ASSERT_GE(left.size(), 2) << "the name is the last";
        left.removeLast();
        EXPECT_EQ(left.last(), single ? kStop112 : QString("0000000000 7000000000"));
        stop();
    }
}

TEST_F(StickSends, ARateThatTrackingHasCoveredEndsBehindIt) {
    begin();
    steer(1, 2);
    moveX(1.0);
    reportTracking(true);
    moveX(0.0);
    sent();
    poll();
    EXPECT_EQ(sent(), QStringList()) << "no stop while the pod tracks";
    reportTracking(false);
    poll();
    EXPECT_EQ(sent(), QStringList(kStop112));
    poll();
    EXPECT_EQ(sent(), QStringList());
}

TEST_F(StickSends, AnAxisThatLosesItsRoleWhileItIsOutStops) {
    begin();
    steer(1, 2);
    moveX(1.0);
    sent();
    steer(0, 2);
    poll();
    EXPECT_EQ(sent(), QStringList(kStop112));
}

// --- the driving ---

TEST_F(StickTest, TheWindowsOwnTimerPollsWhileItIsEnabledAndOnlyThen) {
    start({{"common/js_enable", false}});
    fake_joystick::plugIn(4);
    poll();
    poll();
    EXPECT_EQ(fake_joystick::stick().polls, 0);
    form().checkBox_12->setChecked(true);
    EXPECT_TRUE(waitFor([] { return fake_joystick::stick().polls >= 3; }));
    EXPECT_EQ(rows("btn").size(), 4);
}

}  // namespace
