// The sender and its two timers, without the window.
#include "link_parts_fixture.h"

namespace {

const QByteArray kVideoSwitch = variableFrame("310001020304");

bool isFixed(const QByteArray& f) {
    return f.size() == 44 && f.startsWith(hex("FB2C")) && f.endsWith('\xF0');
}

TEST_F(SenderPartTest, CommandsLeaveThroughTheLinksHandle) {
    openLink();
    sender.frames().sendCommand4(0x31, 1, 2, 3, 4);
    EXPECT_EQ(sent(), Frames{kVideoSwitch});
    EXPECT_EQ(last_code, 0x31);
}

TEST_F(SenderPartTest, TheModeIsAskedAnewForEachCommand) {
    openLink();
    single = false;
    sender.frames().sendCommand4(0x31, 1, 2, 3, 4);
    EXPECT_EQ(sent(), Frames{});
    EXPECT_EQ(frame.code, 0x31);
    EXPECT_FALSE(frame_release);
    single = true;
    sender.frames().sendCommand4(0x31, 1, 2, 3, 4);
    EXPECT_EQ(sent(), Frames{kVideoSwitch});
}

TEST_F(SenderPartTest, PeriodicModeRunsThePeriodAlone) {
    single = false;
    telemetry_stream = true;
    sender.applySendMode();
    EXPECT_EQ(timers.interval(period_timer), 70);
    EXPECT_EQ(nav_timer, -1);
    EXPECT_EQ(timers.count(), 1);
}

TEST_F(SenderPartTest, SingleModeRunsThePositionStreamOnlyWhereItIsWanted) {
    sender.applySendMode();
    EXPECT_EQ(timers.count(), 0);
    telemetry_stream = true;
    sender.applySendMode();
    EXPECT_EQ(timers.interval(nav_timer), 40);
    EXPECT_EQ(period_timer, -1);
    EXPECT_EQ(timers.count(), 1);
}

TEST_F(SenderPartTest, AChangeOfTheModeLeavesOneTimer) {
    single = false;
    sender.applySendMode();
    const int first = period_timer;
    period_ms = 90;
    sender.applySendMode();
    EXPECT_FALSE(timers.runs(first) && first != period_timer);
    EXPECT_EQ(timers.interval(period_timer), 90);
    EXPECT_EQ(timers.count(), 1);
    single = true;
    telemetry_stream = true;
    sender.applySendMode();
    EXPECT_EQ(period_timer, -1);
    EXPECT_EQ(timers.interval(nav_timer), 40);
    EXPECT_EQ(timers.count(), 1);
}

TEST_F(SenderPartTest, TheTimersExpireAndTheirTicksSend) {
    openLink();
    single = false;
    period_ms = 1;
    timers.on_timer = [this](int id) {
        if (id == period_timer) {
            EXPECT_TRUE(sender.onPeriodTick());
        }
    };
    sender.applySendMode();
    ASSERT_TRUE(waitFor([this] { return peer.count() >= 2; }));
    EXPECT_TRUE(isFixed(peer.frames()[0]));
    EXPECT_TRUE(isFixed(peer.frames()[1]));
}

TEST_F(SenderPartTest, APositionTickSendsTheBlock) {
    openLink();
    ins_handle = 5;
    nav.pitch = 0x0201;
    EXPECT_TRUE(sender.onNavTick());
    const Frames frames = sent();
    ASSERT_EQ(frames.size(), 1U);
    EXPECT_EQ(frames[0].size(), 37);
    EXPECT_TRUE(frames[0].startsWith(hex("FB2CAA2002040102")));
    EXPECT_EQ(last_code, 0) << "the stream is no command that a release could end";
}

TEST_F(SenderPartTest, TellsOfEveryFrameWhetherItWasTaken) {
    std::vector<bool> told;
    sender.pushed = [&told](bool taken) { told.push_back(taken); };
    sender.frames().sendCommand4(0x31, 1, 2, 3, 4);
    EXPECT_EQ(told, std::vector<bool>{false}) << "there is no link";
    openLink();
    sender.frames().sendCommand4(0x31, 1, 2, 3, 4);
    EXPECT_TRUE(sender.onPeriodTick());
    EXPECT_EQ(told, (std::vector<bool>{false, true, true}));
}

TEST_F(SenderPartTest, SaysWhetherItSendsByItself) {
    EXPECT_FALSE(sender.sendsByItself());
    telemetry_stream = true;
    EXPECT_TRUE(sender.sendsByItself()) << "positions";
    telemetry_stream = false;
    single = false;
    EXPECT_TRUE(sender.sendsByItself()) << "the periodic frame";
    sender.applySendMode();
    EXPECT_TRUE(sender.sendsByItself());
    sender.silence();
    EXPECT_FALSE(sender.sendsByItself()) << "silenced";
    sender.applySendMode();
    EXPECT_TRUE(sender.sendsByItself()) << "and no longer";
}

TEST_F(SenderPartTest, AClosedLinkKeepsTheIdsAndSendsNothing) {
    openLink();
    single = false;
    sender.applySendMode();
    const int id = period_timer;
    sender.linkClosed();
    EXPECT_EQ(period_timer, id);
    EXPECT_EQ(timers.count(), 0);
    EXPECT_FALSE(sender.onPeriodTick());
    EXPECT_FALSE(sender.onNavTick());
    EXPECT_EQ(sent(), Frames{});
    sender.applySendMode();
    EXPECT_EQ(timers.interval(period_timer), 70);
    EXPECT_TRUE(sender.onPeriodTick());
    EXPECT_EQ(sent().size(), 1U);
}

// The system gives the number of an ended timer to the next one.
TEST_F(SenderPartTest, AKeptIdThatBelongsToAnotherTimerIsLeftAlone) {
    single = false;
    sender.applySendMode();
    sender.linkClosed();
    const int others = timers.startTimer(60000);
    period_timer = others;
    sender.linkClosed();
    EXPECT_TRUE(timers.runs(others));
    sender.applySendMode();
    EXPECT_TRUE(timers.runs(others));
    EXPECT_NE(period_timer, others);
    timers.killTimer(others);
}

TEST_F(SenderPartTest, SilenceEndsBothTimersAndForgetsThem) {
    for (const bool is_single : {false, true}) {
        single = is_single;
        telemetry_stream = true;
        sender.applySendMode();
        ASSERT_EQ(timers.count(), 1);
        sender.silence();
        EXPECT_EQ(timers.count(), 0);
        EXPECT_EQ(period_timer, -1);
        EXPECT_EQ(nav_timer, -1);
    }
    sender.applySendMode();
    sender.linkClosed();
    sender.silence();
    EXPECT_EQ(nav_timer, -1);
}

TEST_F(SenderPartTest, ThePeriodicFrameHasTheLocalTimeWhileNobodyElseGivesIt) {
    openLink();
    sender.local_clock = [] { return sorvane::CalendarTime{2026, 11, 21, 7, 9, 45, 678}; };
    nav.hour = 23;
    const auto hourSent = [this] {
        sender.onPeriodTick();
        const Frames frames = sent();
        return frames.size() == 1 ? static_cast<int>(frames[0][16]) : -1;
    };
    EXPECT_EQ(hourSent(), 7);
    recv_telemetry = true;
    EXPECT_EQ(hourSent(), 23);
    recv_telemetry = false;
    ins_handle = 1;
    EXPECT_EQ(hourSent(), 23);
    ins_handle = -1;
    EXPECT_EQ(hourSent(), 7);
}

TEST_F(SenderPartTest, ADragTakesTheClockOfTheFields) {
    openLink();
    clock.start();
    ASSERT_TRUE(waitFor([this] { return clock.elapsed() >= 40; }));
    const qint64 before = clock.msecsSinceReference();
    sender.frames().sendCommand4(0x31, 1, 2, 3, 4);
    EXPECT_EQ(clock.msecsSinceReference(), before) << "without a drag nobody looks at it";
    drag = true;
    sender.frames().sendCommand4(0x31, 1, 2, 3, 4);
    EXPECT_NE(clock.msecsSinceReference(), before);
    EXPECT_EQ(sent(), (Frames{kVideoSwitch, kVideoSwitch}));
    // Once within the interval for certain, as a clock that began earlier says.
    const auto triedInTime = [this] {
        QElapsedTimer around;
        around.start();
        clock.start();
        const qint64 reference = clock.msecsSinceReference();
        sender.frames().sendCommand4(0x31, 1, 2, 3, 4);
        if (around.elapsed() >= 40) {
            return false;
        }
        EXPECT_EQ(clock.msecsSinceReference(), reference);
        return true;
    };
    sent();
    ASSERT_TRUE(waitFor(triedInTime));
}

// A line of 2400 bits a second carries a frame in 183 ms: three ticks of the period and more.
class SlowLine : public SenderPartTest {
protected:
    void SetUp() override {
        single = false;
        link_handle = oskel::dialSerial(line.name().toLatin1().constData(), 2400, {});
        ASSERT_GE(link_handle, 1);
        link_state = kLinkSerial;
    }
    // Codes of the frames that have come out of the line whole.
    QByteArray codes() {
        QByteArray list;
        for (int at = 0; at + 44 <= line.bytes().size(); at += 44) {
            EXPECT_TRUE(isFixed(line.bytes().mid(at, 44)));
            list.append(line.bytes().at(at + 2));
        }
        return list;
    }

    SerialPeer line;
};

TEST_F(SlowLine, ABusyLinePutsTheWholeTickOffAndItSendsWhatIsNewestThen) {
    sender.frames().sendCommandWord(sorvane::CMD_TRACK_POINT, 1, 2);
    sender.onPeriodTick();
    EXPECT_EQ(frame.code, 0) << "the point goes out once";
    sender.frames().sendCommand4(sorvane::CMD_IR_PALETTE, 1, 2, 0, 0);
    sender.frames().stopCommand(0);
    sender.onPeriodTick();
    sender.onPeriodTick();
    EXPECT_EQ(frame.code, sorvane::CMD_IR_PALETTE) << "neither sent nor released";
    sender.frames().sendCommand4(sorvane::CMD_IR_DDE, 1, 2, 0, 0);
    sender.frames().stopCommand(0);
    ASSERT_TRUE(waitFor([this] { return codes().size() == 2; }));
    EXPECT_EQ(codes(), QByteArray("\x3A\x57"));
    EXPECT_EQ(frame.code, 0) << "released by the tick that was put off";
    EXPECT_TRUE(frame_release);
}

TEST_F(SlowLine, TicksThatArePutOffAreOne) {
    sender.onPeriodTick();
    for (int i = 0; i < 5; ++i) {
        sender.onPeriodTick();
    }
    ASSERT_TRUE(waitFor([this] { return codes().size() == 2; }));
    EXPECT_FALSE(waitFor([this] { return codes().size() > 2; }, 400));
}

TEST_F(SlowLine, WhatIsPutOffDiesWithTheLink) {
    sender.onPeriodTick();
    sender.onPeriodTick();
    sender.linkClosed();
    ASSERT_TRUE(waitFor([this] { return codes().size() == 1; }));
    EXPECT_FALSE(waitFor([this] { return codes().size() > 1; }, 400));
}

TEST_F(SlowLine, PositionsArePutOffTooAndACommandGoesAheadOfThem) {
    single = true;
    sender.onNavTick();
    sender.onNavTick();
    sender.frames().sendVariableFrame(sorvane::CMD_NAV_BLOCK, &nav, sorvane::kNavBlockSize);
    sender.frames().sendCommand4(0x31, 1, 2, 3, 4);
    ASSERT_TRUE(waitFor([this] { return line.bytes().size() >= 37 + kVideoSwitch.size() + 37; }));
    EXPECT_EQ(line.bytes().mid(37, kVideoSwitch.size()), kVideoSwitch);
}

TEST_F(SlowLine, ADragsRatesWaitForNoQueue) {
    single = true;
    EXPECT_EQ(sender.rateWaitMs(), 0);
    sender.frames().sendVariableFrame(sorvane::CMD_NAV_BLOCK, &nav, sorvane::kNavBlockSize);
    EXPECT_GT(sender.rateWaitMs(), 0);
    EXPECT_TRUE(waitFor([this] { return sender.rateWaitMs() == 0; }));
    single = false;
    sender.onPeriodTick();
    EXPECT_EQ(sender.rateWaitMs(), 0) << "the periodic frame carries the newest by itself";
}

}  // namespace
