// What the game controller sends: each function and both roles in both protocol modes, and that nothing of it
// is left standing.
#include <QDir>
#include <QTemporaryFile>

#include "stick_fixture.h"

namespace {

struct Function {
    int row;
    QByteArray frame;  // in single mode, display mode 1
    int code;
    const char* parameters;
};

// By the row of the page's list; the zoom follows the shown picture, so it stands twice.
const Function kFunctions[] = {
    {1, fourBytes(113, "00000000"), 113, "00000000"}, {2, fourBytes(116, "00000000"), 116, "00000000"},
    {3, fourBytes(50, "00000000"), 50, "00000000"},   {4, fourBytes(51, "00000000"), 51, "00000000"},
    {5, fourBytes(49, "00000000"), 49, "00000000"},   {6, fourBytes(115, "00000000"), 115, "00000000"},
    {7, fourBytes(58, "00000000"), 58, "00000000"},   {8, fourBytes(61, "00000000"), 61, "00000000"},
    {9, fourBytes(69, "01000000"), 69, "01000000"},   {10, fourBytes(69, "02000000"), 69, "02000000"},
};

const QString kStop112 = QString::fromLatin1(rateFrame(0, 0).toHex());
const QString kStop69 = QString::fromLatin1(fourBytes(69, "00000000").toHex());

QString text(const QByteArray& frame) { return QString::fromLatin1(frame.toHex()); }

// Code, parameters and rates of a fixed frame.
QString fixedPart(const QByteArray& frame) {
    return frame.size() == 44 ? text(frame.mid(2, 5)) + ' ' + text(frame.mid(37, 5)) : text(frame);
}
QStringList fixedParts(const std::vector<QByteArray>& frames) {
    QStringList parts;
    for (const QByteArray& frame : frames) {
        parts << fixedPart(frame);
    }
    return parts;
}

class StickSends : public StickTest {
protected:
    void begin(bool single = true) {
        startStick({{"common/send_single", single}});
        link();
        plugIn();
        in().m_telemetry().display_mode = 1;
    }
};

TEST_F(StickSends, EachFunctionInSingleMode) {
    begin();
    for (const Function& f : kFunctions) {
        give(0, f.row);
        hold(1);
        EXPECT_EQ(sent(), QStringList(text(f.frame))) << f.row;
        hold(0);
        // Of these only a lens has a stop.
        EXPECT_EQ(sent(), f.code == 69 ? QStringList(kStop69) : QStringList()) << f.row;
    }
}

TEST_F(StickSends, EachFunctionInPeriodicMode) {
    begin(false);
    for (const Function& f : kFunctions) {
        give(0, f.row);
        hold(1);
        EXPECT_EQ(sent(), QStringList());
        const QString held = QStringLiteral("%1%2 0000000000")
                                 .arg(f.code, 2, 16, QLatin1Char('0'))
                                 .arg(QLatin1String(f.parameters));
        EXPECT_EQ(fixedParts(tick()), QStringList(held)) << f.row;
        hold(0);
        const QStringList after = fixedParts(tick());
        ASSERT_FALSE(after.isEmpty()) << f.row;
        // Tracking goes out once; everything else once more before its end.
        EXPECT_EQ(after.front(), f.code == 58 ? QStringLiteral("0000000000 0000000000") : held) << f.row;
        EXPECT_EQ(after.mid(1), f.code == 69 ? QStringList("4500000000 0000000000") : QStringList()) << f.row;
        EXPECT_EQ(fixedParts(tick()), QStringList("0000000000 0000000000")) << f.row;
    }
}

TEST_F(StickSends, ZoomMovesTheLensOfTheShownPicture) {
    begin();
    for (const int infrared : {0, 3}) {
        in().m_telemetry().display_mode = static_cast<std::uint8_t>(infrared);
        give(0, 9);
        hold(1);
        hold(0);
        EXPECT_EQ(sent(), (QStringList{text(fourBytes(80, "0f000000")), text(fourBytes(80, "00000000"))}));
        give(0, 10);
        hold(1);
        hold(0);
        EXPECT_EQ(sent(), (QStringList{text(fourBytes(80, "10000000")), text(fourBytes(80, "00000000"))}));
    }
    for (const int visible : {1, 2, 4, 5, 6}) {
        in().m_telemetry().display_mode = static_cast<std::uint8_t>(visible);
        hold(1);
        EXPECT_EQ(sent(), QStringList(text(fourBytes(69, "02000000")))) << visible;
        hold(0);
        sent();
    }
}

TEST_F(StickSends, TrackStartsAtTheCentreAndTheSameButtonStopsIt) {
    begin();
    give(3, 7);
    hold(8);
    EXPECT_EQ(sent(), QStringList(text(fourBytes(58, "00000000"))));
    hold(0);
    EXPECT_EQ(sent(), QStringList());
    reportTracking(true);
    hold(8);
    EXPECT_EQ(sent(), QStringList(text(fourBytes(59, "00000000"))));
    EXPECT_GT(in().m_stopTimer(), 0);
    hold(0);
    reportTracking(false);
    hold(8);
    EXPECT_EQ(sent(), QStringList(text(fourBytes(58, "00000000"))));
}

TEST_F(StickSends, TheOsdCounterIsNotResetByTheComboBox) {
    begin();
    give(0, 11);
    // The counter belongs to the process: where it stands is seen at the first press.
    hold(1);
    const std::vector<QByteArray> first = take();
    ASSERT_EQ(first.size(), 1U);
    const int at = static_cast<unsigned char>(first[0][6]);
    ASSERT_EQ(first[0], variableFrame(55, QByteArray(1, static_cast<char>(at)) + hex("000000")));
    hold(0);
    take();
    // The operator chooses by hand what comes next anyway, then something else.
    for (int press = 1; press <= 4; ++press) {
        ui().comboBox_11->setCurrentIndex(press % 3);
        emit ui().comboBox_11->activated(press % 3);
        take();
        hold(1);
        EXPECT_EQ(sent(), QStringList(text(variableFrame(
                              55, QByteArray(1, static_cast<char>((at + press) % 3)) + hex("000000")))));
        EXPECT_EQ(ui().comboBox_11->currentIndex(), press % 3) << "the box is not touched";
        hold(0);
        take();
    }
}

TEST_F(StickSends, BothRolesInSingleMode) {
    begin();
    steer(1, 2);
    moveX(1.0);
    EXPECT_EQ(sent(), QStringList(text(rateFrame(25, 0))));
    poll();
    EXPECT_EQ(sent(), QStringList(text(rateFrame(25, 0)))) << "at every poll";
    moveX(-1.0);
    EXPECT_EQ(sent(), QStringList(text(rateFrame(-25, 0))));
    // A diagonal alternates within a poll.
    moveY(0.5);
    EXPECT_EQ(sent(), (QStringList{text(rateFrame(-25, 0)), text(rateFrame(0, 12))}));
    moveX(0.0);
    EXPECT_EQ(sent(), (QStringList{kStop112, text(rateFrame(0, 12))}));
    moveY(0.0);
    EXPECT_EQ(sent(), QStringList(kStop112));
    poll();
    EXPECT_EQ(sent(), QStringList());
}

TEST_F(StickSends, BothRolesInPeriodicMode) {
    begin(false);
    steer(1, 2);
    moveX(1.0);
    EXPECT_EQ(sent(), QStringList());
    EXPECT_EQ(fixedParts(tick()), QStringList("0000000000 7019000000"));
    moveX(0.0);
    moveY(-1.0);
    EXPECT_EQ(fixedParts(tick()), QStringList("0000000000 700000e7ff"));
    EXPECT_EQ(fixedParts(tick()), QStringList("0000000000 700000e7ff"));
    moveY(0.0);
    EXPECT_EQ(fixedParts(tick()), QStringList("0000000000 700000e7ff"));
    EXPECT_EQ(fixedParts(tick()), QStringList("0000000000 7000000000")) << "the next tick stands";
}

TEST_F(StickSends, ReversalsAreReadAtEveryPoll) {
    begin();
    steer(1, 2);
    form().checkBox_13->setChecked(true);
    moveX(1.0);
    EXPECT_EQ(sent(), QStringList(text(rateFrame(-25, 0))));
    form().checkBox_13->setChecked(false);
    form().checkBox_14->setChecked(true);
    poll();
    EXPECT_EQ(sent(), QStringList(text(rateFrame(25, 0))));
    moveX(0.0);
    moveY(1.0);
    EXPECT_EQ(sent(), (QStringList{kStop112, text(rateFrame(0, -25))}));
}

TEST_F(StickSends, SensitivityFromNoughtToTwenty) {
    begin();
    steer(1, 0);
    form().horizontalSlider->setValue(0);
    moveX(1.0);
    poll();
    EXPECT_EQ(sent(), (QStringList{kStop112, kStop112})) << "rates of nought still go out at each poll";
    form().horizontalSlider->setValue(20);
    poll();
    EXPECT_EQ(sent(), QStringList(text(rateFrame(50, 0))));
    moveX(-1.0);
    EXPECT_EQ(sent(), QStringList(text(rateFrame(-50, 0))));
}

TEST_F(StickSends, AnAxisAtRestSendsNothing) {
    begin();
    steer(1, 2);
    for (const double part : {0.0, 0.12, -0.12, 0.05}) {
        moveX(part);
        moveY(-part);
    }
    EXPECT_EQ(sent(), QStringList());
}

TEST_F(StickSends, AnUnassignedAxisSendsNothingButItsStop) {
    begin();
    window->sendCommand4(69, 1, 0, 0, 0);
    sent();
    moveZ(1.0);
    EXPECT_EQ(sent(), QStringList());
    moveZ(0.0);
    EXPECT_EQ(sent(), QStringList(kStop69));
}

TEST_F(StickSends, AMovedStickLeavesTrackingAndItsReturnSendsNoStop) {
    begin();
    steer(1, 0);
    reportTracking(true);
    const QString stop_tracking = text(fourBytes(59, "00000000"));
    moveX(1.0);
    poll();
    EXPECT_EQ(sent(), (QStringList{stop_tracking, stop_tracking}));
    // An axis without a role leaves the pod tracking.
    moveX(0.0);
    moveZ(1.0);
    moveZ(0.0);
    EXPECT_EQ(sent(), QStringList());
}

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
