// The command pages without the window: from the button of the form to the far end.
#include <QTest>

#include "app/events/event_receiver.h"
#include "link/control_names.h"
#include "pages_fixture.h"
#include "tests/fakes/event_catcher.h"

namespace {

class CommandPagesPart : public PagesPartTest {
protected:
    CommandPagesPart() {
        hub.on_event = [this](int number, QMyEvent& e) {
            if (number == EVT_CMD_BTN_DOWN) {
                pages.pressed(e.sender);
            } else if (number == EVT_CMD_BTN_UP) {
                pages.released(e.sender);
            }
        };
        setEventReceiver(&hub);
    }
    ~CommandPagesPart() override { setEventReceiver(nullptr); }

    void SetUp() override { openLink(); }

    EventCatcher hub;
};

TEST_F(CommandPagesPart, APressedButtonReachesThePeerByTheCatalogue) {
    QTest::mousePress(button("pushButton_131"), Qt::LeftButton);
    EXPECT_EQ(sent(), Frames{variableFrame("310000000000")});
    QTest::mouseRelease(button("pushButton_131"), Qt::LeftButton);
    EXPECT_EQ(sent(), Frames{}) << "a switch of the video has no stop";
    QTest::mousePress(button("pushButton_118"), Qt::LeftButton);
    EXPECT_EQ(sent(), Frames{variableFrame("450001000000")});
    QTest::mouseRelease(button("pushButton_118"), Qt::LeftButton);
    EXPECT_EQ(sent(), Frames{variableFrame("450000000000")});
}

TEST_F(CommandPagesPart, APressStandsInThePeriodicFrameUntilTheRelease) {
    single = false;
    form.rate->setMaximum(40);
    form.rate->setValue(21);
    QTest::mousePress(button("pushButton_114"), Qt::LeftButton);
    EXPECT_EQ(frame.rate_code, 0x70);
    EXPECT_EQ(+frame.rate_y, -21);
    EXPECT_FALSE(frame_release);
    QTest::mouseRelease(button("pushButton_114"), Qt::LeftButton);
    EXPECT_TRUE(frame_release);
    EXPECT_EQ(sent(), Frames{}) << "the timer alone sends in this mode";
}

TEST_F(CommandPagesPart, TheArrowsFollowTheServoMode) {
    form.rate->setMaximum(40);
    form.rate->setValue(20);
    form.gyro_speed->addItems({"1", "2", "3"});
    form.gyro_speed->setCurrentIndex(2);
    pages.pressed(button("pushButton_112"));
    EXPECT_EQ(sent(), Frames{variableFrame("700014000000")});
    form.gyro_mode->setChecked(true);
    pages.pressed(button("pushButton_112"));
    EXPECT_EQ(sent(), Frames{variableFrame("760003030000")});
}

TEST_F(CommandPagesPart, UnknownNamesAndNullSendNothing) {
    QPushButton stranger(form.control_pages);
    stranger.setObjectName("pushButton_9999");
    pages.pressed(&stranger);
    pages.pressed(nullptr);
    pages.chosen("comboBox_99", 1);
    pages.switched("widget_99", true);
    pages.chosen(sorvane::control::kAzimuthMode, 1);
    EXPECT_EQ(sent(), Frames{});
    EXPECT_EQ(timers.count(), 0);
}

TEST_F(CommandPagesPart, ButtonsOfTheSettingsAreAKindOfTheirOwn) {
    QPushButton* same_name = settingsButton("pushButton_24");
    ASSERT_NE(same_name, nullptr);
    pages.pressed(same_name);
    EXPECT_EQ(sent(), Frames{});
    pages.pressed(button("pushButton_24"));
    EXPECT_EQ(sent(), Frames{variableFrame("710000000000")});
    // Before the dialog exists nothing can lie in it.
    settings_exist = false;
    pages.pressed(same_name);
    EXPECT_EQ(sent(), Frames{variableFrame("710000000000")});
}

TEST_F(CommandPagesPart, ButtonsOfTheSettingsReadTheirOwnPage) {
    settings_form.osd_colour->clear();
    settings_form.osd_colour->addItems({"0", "1", "2"});
    settings_form.osd_colour->setCurrentIndex(2);
    settings_form.osd_language->clear();
    settings_form.osd_language->addItems({"0", "1"});
    settings_form.osd_language->setCurrentIndex(1);
    form.locate_mode->addItems({"0", "1"});
    form.locate_mode->setCurrentIndex(0);
    ASSERT_EQ(form.locate_mode->objectName(), settings_form.osd_language->objectName());
    pages.pressed(settingsButton("pushButton_14"));
    EXPECT_EQ(sent(), Frames{variableFrame("3700040A0000")});
}

TEST_F(CommandPagesPart, WhatWasHeldToItsRangeStandsInTheEdits) {
    form.template_width->setText("300");
    form.template_height->setText("-7");
    pages.pressed(button("pushButton_153"));
    EXPECT_EQ(sent(), Frames{variableFrame("23000000FF00")});
    EXPECT_EQ(form.template_width->text(), "255");
    EXPECT_EQ(form.template_height->text(), "0");
}

TEST_F(CommandPagesPart, TheTimeOfACommandIsTheSendersClock) {
    sender.local_clock = [] { return sorvane::CalendarTime{2026, 11, 21, 7, 9, 45, 670}; };
    pages.pressed(button("pushButton_22"));
    EXPECT_EQ(sent(), Frames{variableFrame("2000EA070B1507092D4300")});
}

TEST_F(CommandPagesPart, AChoiceEndsByItselfATenthOfASecondLater) {
    routeTimers();
    single = false;
    pages.chosen(sorvane::control::kPalette, 3);
    EXPECT_EQ(frame.code, 0x53);
    EXPECT_EQ(frame.p[1], 3);
    EXPECT_EQ(timers.interval(stop_timer), 100);
    EXPECT_FALSE(frame_release);
    EXPECT_TRUE(waitFor([this] { return stop_timer == 0; }));
    EXPECT_TRUE(frame_release);
    EXPECT_EQ(timers.count(), 0);
}

TEST_F(CommandPagesPart, ASecondChoiceBeginsTheTimeAnew) {
    const auto remaining = [this] { return QAbstractEventDispatcher::instance()->remainingTime(stop_timer); };
    pages.chosen(sorvane::control::kPalette, 3);
    EXPECT_TRUE(waitFor([&] {
        const int before = remaining();
        if (before >= 60) {
            return false;
        }
        pages.switched(sorvane::control::kStabilisation, true);
        return remaining() > before;
    }));
    EXPECT_EQ(timers.interval(stop_timer), 100);
    EXPECT_EQ(timers.count(), 1);
}

TEST_F(CommandPagesPart, SwitchesAndBoxesSendTheirValue) {
    pages.chosen(sorvane::control::kPalette, 3);
    pages.switched(sorvane::control::kStabilisation, true);
    pages.switched(sorvane::control::kStabilisation, false);
    EXPECT_EQ(sent(), (Frames{variableFrame("530001030000"), variableFrame("410004010000"),
                              variableFrame("410004020000")}));
}

TEST_F(CommandPagesPart, TheTemplatesBoxSendsWhatItsItemStandsFor) {
    form.template_size->addItem("16 * 16", 1);
    form.template_size->addItem("128 * 128", 4);
    form.template_size->setCurrentIndex(1);
    pages.chosen(sorvane::control::kTemplateSize, 1);
    EXPECT_EQ(sent(), Frames{variableFrame("230004000000")});
}

TEST_F(CommandPagesPart, AButtonWithoutAnEndOfItsOwnStartsNoTimer) {
    pages.pressed(button("pushButton_131"));
    EXPECT_EQ(timers.count(), 0);
    pages.pressed(button("pushButton_157"));
    EXPECT_EQ(timers.interval(stop_timer), 100);
}

TEST_F(CommandPagesPart, WithoutALinkTheWheelDoesNothing) {
    link_state = kLinkNone;
    pages.setZoom(1, 1);
    EXPECT_EQ(sent(), Frames{});
    EXPECT_TRUE(zoom_timers.isEmpty());
    EXPECT_EQ(timers.count(), 0);
}

TEST_F(CommandPagesPart, TheWheelSteersTheCameraOfItsPicture) {
    pages.setZoom(1, 1);
    pages.setZoom(2, 2);
    display_mode = 3;
    pages.setZoom(1, 2);
    // The lens of the first picture stops before that of the second begins.
    EXPECT_EQ(sent(), (Frames{variableFrame("450001070000"), variableFrame("450000000000"),
                              variableFrame("500002070000"), variableFrame("500010000000")}));
    EXPECT_EQ(zoom_timers.size(), 2);
    pages.setZoom(3, 1);
    EXPECT_EQ(sent(), Frames{});
    EXPECT_EQ(zoom_timers.size(), 2);
}

TEST_F(CommandPagesPart, TheZoomStopsBehindTheLastNotch) {
    pages.setZoom(1, 1);
    pages.setZoom(1, 1);
    sent();
    const CommandTimerList both = zoom_timers;
    ASSERT_EQ(both.size(), 2);
    EXPECT_EQ(timers.interval(both[0]), 200);
    EXPECT_TRUE(pages.onZoomTimer(both[0]));
    EXPECT_FALSE(timers.runs(both[0]));
    EXPECT_EQ(sent(), Frames{}) << "another notch is still on its way";
    EXPECT_FALSE(pages.onZoomTimer(both[0]));
    EXPECT_TRUE(timers.runs(both[1]));
    // The other one expires by itself.
    routeTimers();
    EXPECT_TRUE(waitFor([this] { return zoom_timers.isEmpty(); }));
    EXPECT_EQ(sent(), Frames{variableFrame("450000000000")});
    EXPECT_EQ(timers.count(), 0);
}

TEST_F(CommandPagesPart, TrackingByPointAndItsEnd) {
    pages.trackPoint(-2, 300);
    EXPECT_EQ(sent(), Frames{variableFrame("3A00FEFF2C01")});
    EXPECT_EQ(timers.count(), 0);
    pages.stopTracking();
    EXPECT_EQ(sent(), Frames{variableFrame("3B0000000000")});
    EXPECT_EQ(timers.interval(stop_timer), 100);
    pages.toggleTracking();
    EXPECT_EQ(sent(), Frames{variableFrame("3A0000000000")});
    tracking = true;
    pages.toggleTracking();
    EXPECT_EQ(sent(), Frames{variableFrame("3B0000000000")});
}

TEST_F(CommandPagesPart, ZoomBySourceAsksForThePicture) {
    pages.zoomBySource(true);
    display_mode = 0;
    pages.zoomBySource(false);
    EXPECT_EQ(sent(), (Frames{variableFrame("450001000000"), variableFrame("500010000000")}));
    EXPECT_TRUE(zoom_timers.isEmpty());
}

// The counter belongs to the process: whole rounds leave it where it was.
TEST_F(CommandPagesPart, TheDisplaysChoiceGoesRound) {
    form.osd_mode->clear();
    for (int i = 0; i < 3; ++i) {
        pages.osdNext();
    }
    EXPECT_EQ(sent(), Frames{}) << "nothing to choose from";
    form.osd_mode->addItems({"a", "b", "c"});
    for (int i = 0; i < 6; ++i) {
        pages.osdNext();
    }
    const Frames round = {variableFrame("370000000000"), variableFrame("370001000000"),
                          variableFrame("370002000000")};
    Frames twice = round;
    twice.insert(twice.end(), round.begin(), round.end());
    EXPECT_EQ(sent(), twice);
}

class EndOfAll : public CommandPagesPart {};

TEST_F(EndOfAll, HoldsEndFirstAndTheZoomStops) {
    QTest::mousePress(button("pushButton_118"), Qt::LeftButton);
    pages.setZoom(1, 1);
    pages.setZoom(1, 1);
    sent();
    pages.endAll();
    EXPECT_FALSE(button("pushButton_118")->isHeld());
    EXPECT_EQ(timers.count(), 0);
    EXPECT_EQ(stop_timer, 0);
    EXPECT_TRUE(zoom_timers.isEmpty());
    EXPECT_EQ(sent(), (Frames{variableFrame("450000000000"), variableFrame("450000000000")}));
}

TEST_F(EndOfAll, AZoomAloneEnds) {
    pages.setZoom(1, 1);
    pages.endAll();
    EXPECT_EQ(sent(), (Frames{variableFrame("450001070000"), variableFrame("450000000000")}));
}

TEST_F(EndOfAll, AChoiceAloneEnds) {
    single = false;
    pages.chosen(sorvane::control::kPalette, 1);
    pages.endAll();
    EXPECT_TRUE(frame_release);
    EXPECT_EQ(timers.count(), 0);
    EXPECT_EQ(sent().size(), 2U);
    EXPECT_EQ(frame.code, 0);
}

// What stands in the frame from the periodic mode is nobody's command any more.
TEST_F(EndOfAll, InSingleModeNoPeriodicFrameLeaves) {
    frame.code = 0x45;
    frame_release = true;
    pages.endAll();
    EXPECT_EQ(sent(), Frames{});
}

TEST_F(EndOfAll, WithNothingUnderWayNothingIsSent) {
    last_code = 0x45;
    pages.endAll();
    single = false;
    pages.endAll();
    EXPECT_EQ(sent(), Frames{});
}

TEST_F(EndOfAll, AReleasedCommandEndsOnTheWireInPeriodicMode) {
    single = false;
    QTest::mousePress(button("pushButton_118"), Qt::LeftButton);
    QTest::mouseRelease(button("pushButton_118"), Qt::LeftButton);
    pages.endAll();
    const Frames frames = sent();
    // The command once more, its end, and what remains.
    ASSERT_EQ(frames.size(), 3U);
    EXPECT_TRUE(frames[0].startsWith(hex("FB2C4501")));
    EXPECT_TRUE(frames[1].startsWith(hex("FB2C4500")));
    EXPECT_TRUE(frames[2].startsWith(hex("FB2C0000")));
}

TEST_F(EndOfAll, WithoutALinkThePeriodicFrameStaysForTheNextOpening) {
    single = false;
    QTest::mousePress(button("pushButton_118"), Qt::LeftButton);
    link_state = kLinkNone;
    pages.endAll();
    EXPECT_EQ(sent(), Frames{});
    EXPECT_EQ(frame.code, 0x45);
    EXPECT_TRUE(frame_release);
}

TEST_F(EndOfAll, AbandonedNoControlIsAsked) {
    QTest::mousePress(button("pushButton_118"), Qt::LeftButton);
    sent();
    pages.abandon();
    EXPECT_EQ(sent(), Frames{variableFrame("450000000000")});
    EXPECT_TRUE(button("pushButton_118")->isHeld());
}

// A change of the protocol mode ends what stands in the mode in which it began; other changes end nothing.
TEST_F(EndOfAll, AChangeOfTheModeEndsHoldsInTheOldOne) {
    QTest::mousePress(button("pushButton_118"), Qt::LeftButton);
    sent();
    pages.modeChanged();
    EXPECT_EQ(sent(), Frames{});
    single = false;
    pages.modeChanged();
    EXPECT_EQ(sent(), Frames{variableFrame("450000000000")});
    EXPECT_FALSE(button("pushButton_118")->isHeld());
    QTest::mousePress(button("pushButton_118"), Qt::LeftButton);
    single = true;
    pages.modeChanged();
    EXPECT_EQ(sent().size(), 3U);
    EXPECT_EQ(frame.code, 0);
}

class Overtaken : public CommandPagesPart {
protected:
    Overtaken() { routeTimers(); }
};

TEST_F(Overtaken, AClickWithinTheWheelsTimeStopsTheLensFirst) {
    pages.setZoom(1, 1);
    pages.trackPoint(5, 0);
    EXPECT_EQ(sent(), (Frames{variableFrame("450001070000"), variableFrame("450000000000"),
                              variableFrame("3A0005000000")}));
    EXPECT_EQ(timers.count(), 0);
}

TEST_F(Overtaken, TheMiddleButtonWithinTheWheelsTimeToo) {
    pages.setZoom(2, 1);
    pages.videoSwitchPressed();
    EXPECT_EQ(sent(), (Frames{variableFrame("500001070000"), variableFrame("500000000000"),
                              variableFrame("310000000000")}));
    pages.videoSwitchReleased();
    EXPECT_EQ(sent(), Frames{});
}

TEST_F(Overtaken, ADragEndsTheHeldButton) {
    QTest::mousePress(button("pushButton_118"), Qt::LeftButton);
    pages.slewBegins(2);
    pages.slew(3, 0);
    EXPECT_FALSE(button("pushButton_118")->isHeld());
    EXPECT_EQ(sent(), (Frames{variableFrame("450001000000"), variableFrame("450000000000"),
                              variableFrame("700003000000")}));
    pages.slewEnded(2);
    EXPECT_EQ(sent(), Frames{variableFrame("700000000000")});
}

TEST_F(Overtaken, AChoiceDoesNotEndTheHoldThatFollows) {
    single = false;
    form.rate->setMaximum(40);
    form.rate->setValue(20);
    pages.chosen(sorvane::control::kPalette, 3);
    QTest::mousePress(button("pushButton_115"), Qt::LeftButton);
    EXPECT_EQ(timers.count(), 0) << "its timer would end the arrow";
    EXPECT_EQ(frame.rate_code, 0x70);
    EXPECT_FALSE(frame_release);
}

TEST_F(Overtaken, WhatTheSettingsEndLeavesAHoldAlone) {
    single = false;
    pages.endUnlessHeld(0);
    EXPECT_TRUE(frame_release);
    QTest::mousePress(button("pushButton_118"), Qt::LeftButton);
    pages.endUnlessHeld(0);
    EXPECT_FALSE(frame_release);
}

// The hand may stand still behind its last move: what is newest leaves once the line takes it.
TEST_F(CommandPagesPart, TheNewestRateOfADragIsSentOnceASlowLineIsFree) {
    SerialPeer line;
    oskel::hang_up(link_handle);
    link_handle = oskel::dialSerial(line.name().toLatin1().constData(), 2400, {});
    ASSERT_GE(link_handle, 1);
    pages.slewBegins(1);
    for (int i = 0; i < 2; ++i) {
        sender.frames().sendVariableFrame(sorvane::CMD_NAV_BLOCK, &nav, sorvane::kNavBlockSize);
    }
    pages.slew(9, 0);
    pages.slew(2, 0);
    ASSERT_TRUE(waitFor([&] { return line.bytes().contains(variableFrame("700002000000")); }));
    EXPECT_FALSE(line.bytes().contains(variableFrame("700009000000")));
    sender.frames().sendVariableFrame(sorvane::CMD_NAV_BLOCK, &nav, sorvane::kNavBlockSize);
    sender.frames().sendVariableFrame(sorvane::CMD_NAV_BLOCK, &nav, sorvane::kNavBlockSize);
    pages.slew(9, 0);
    pages.slewEnded(1);
    ASSERT_TRUE(waitFor([&] { return line.bytes().contains(variableFrame("700000000000")); }));
    EXPECT_FALSE(waitFor([&] { return line.bytes().contains(variableFrame("700009000000")); }, 400));
}

}  // namespace
