// Recording by the action, the key and the raw button; the roll-over; the tips that blink; the notice.

#include "event_watch.h"
#include "recording_fixture.h"
#include "tests/widgets/x11_pointer.h"

namespace {

class Recording : public RecordingTest {
protected:
    void expectCapture(std::size_t index, const QString& file, int handle, int format) const {
        ASSERT_LT(index, library().captures.size());
        const fake_tavrik::Capture& capture = library().captures[index];
        EXPECT_EQ(capture.path, (recordBase() + "/" + file).toStdString());
        EXPECT_EQ(capture.handle, handle);
        EXPECT_EQ(capture.format, format);
    }
    void expectNothingRecords() const {
        EXPECT_FALSE(in().recording1() || in().recording2());
        EXPECT_FALSE(record()->isChecked());
    }
};

TEST_F(Recording, EachOpenChannelGetsADatedFile) {
    startWith();
    open1();
    open2();
    forgetCalls();
    in().record_seconds() = 99;
    record()->trigger();
    EXPECT_EQ(library().calls, (Calls{"captureBegin 1", "captureBegin 2"}));
    expectCapture(0, "20260309/070502_2.mp4", 1, 1);
    expectCapture(1, "20260309/070502_3.mp4", 2, 1);
    EXPECT_TRUE(QDir(recordBase() + "/20260309").exists());
    EXPECT_EQ(in().record_dir(), recordBase() + "/20260309");
    EXPECT_EQ(in().record_file(), recordBase() + "/20260309/070502_3.mp4");
    EXPECT_TRUE(in().recording1() && in().recording2());
    EXPECT_EQ(in().record_seconds(), 0);
    EXPECT_TRUE(record()->isChecked());
    EXPECT_EQ(status(), "视频1已连接  视频1录制中  视频2已连接  视频2录制中");
    EXPECT_EQ(interval(in().m_recSplitTimer()), 600000);
    EXPECT_EQ(interval(in().m_blinkTimer()), 1000);
}

TEST_F(Recording, OnlyTheOpenChannelRecords) {
    startWith();
    open2();
    forgetCalls();
    record()->trigger();
    EXPECT_EQ(library().calls, Calls{"captureBegin 1"});
    EXPECT_FALSE(in().recording1());
    EXPECT_TRUE(in().recording2());
}

TEST_F(Recording, WithoutAnOpenChannelOrDuringAReplayTheActionSpringsBack) {
    startWith();
    record()->trigger();
    expectNothingRecords();
    EXPECT_TRUE(library().calls.empty());
    open1();
    forgetCalls();
    for (const int state : {1, 2}) {
        in().m_replayState() = state;
        record()->trigger();
        expectNothingRecords();
        EXPECT_TRUE(library().calls.empty()) << state;
    }
    in().m_replayState() = 0;
    EXPECT_EQ(in().m_blinkTimer(), 0);
    EXPECT_EQ(in().m_recSplitTimer(), 0);
}

TEST_F(Recording, EndingItShowsTheLastFileStarted) {
    startWith();
    open1();
    open2();
    record()->trigger();
    forgetCalls();
    record()->trigger();
    EXPECT_EQ(library().calls, (Calls{"captureEnd 1", "captureEnd 2"}));
    expectNothingRecords();
    EXPECT_EQ(in().m_recSplitTimer(), 0);
    EXPECT_EQ(status(), "视频1已连接  视频2已连接  ");
    const MyCompNotifyDlg* notice = in().rec_notice();
    ASSERT_TRUE(shown(notice));
    EXPECT_EQ(message(notice), recordBase() + "/20260309/070502_3.mp4");
    EXPECT_FALSE(notice->findChild<QWidget*>("pushButton_openDir")->isVisible());
    EXPECT_TRUE(notice->findChild<QWidget*>("pushButton_openRecDir")->isVisible());
    EXPECT_TRUE(notice->findChild<QWidget*>("pushButton_openFile")->isVisible());
    EXPECT_EQ(in().snap_notice(), nullptr);
    EXPECT_EQ(in().m_blinkTimer() != 0, true) << "the blinking ends with its next tick";
    tick(in().m_blinkTimer());
    EXPECT_EQ(in().m_blinkTimer(), 0);
    record()->trigger();
    record()->trigger();
    EXPECT_EQ(in().rec_notice(), notice) << "kept";
}

TEST_F(Recording, ARollOverBeginsTheNextFilesAndShowsNothing) {
    startWith();
    now = {2026, 12, 31, 23, 55, 0, 0};
    open1();
    open2();
    record()->trigger();
    const int timer = in().m_recSplitTimer();
    forgetCalls();
    now = {2027, 1, 1, 0, 5, 0, 0};
    tick(timer);
    EXPECT_EQ(library().calls, (Calls{"captureEnd 1", "captureBegin 1", "captureEnd 2", "captureBegin 2"}));
    expectCapture(0, "20270101/000500_2.mp4", 1, 1);
    expectCapture(1, "20270101/000500_3.mp4", 2, 1);
    EXPECT_TRUE(QDir(recordBase() + "/20270101").exists());
    EXPECT_EQ(in().record_dir(), recordBase() + "/20270101");
    EXPECT_EQ(in().m_recSplitTimer(), timer) << "it goes on";
    EXPECT_FALSE(shown(in().rec_notice()));
    EXPECT_TRUE(in().recording1() && in().recording2() && record()->isChecked());
}

TEST_F(Recording, TheStallCheckEndsARecordingWithoutANotice) {
    startWith();
    open1();
    record()->trigger();
    forgetCalls();
    tick(in().m_videoCheckTimer());
    EXPECT_EQ(library().calls, (Calls{"captureEnd 1", "close 1", "open 2"}));
    expectNothingRecords();
    EXPECT_TRUE(in().playing1());
    EXPECT_FALSE(shown(in().rec_notice()));
    const int timer = in().m_recSplitTimer();
    EXPECT_EQ(interval(timer), 600000) << "it runs until its next tick";
    forgetCalls();
    tick(timer);
    EXPECT_EQ(in().m_recSplitTimer(), 0);
    EXPECT_EQ(interval(timer), -1);
    EXPECT_TRUE(library().calls.empty());
    tick(in().m_blinkTimer());
    EXPECT_EQ(in().m_blinkTimer(), 0);
}

TEST_F(Recording, TheOtherChannelGoesOnWhenOneCloses) {
    startWith();
    open1();
    open2();
    record()->trigger();
    open1();
    EXPECT_TRUE(record()->isChecked());
    EXPECT_TRUE(in().recording2());
    forgetCalls();
    tick(in().m_recSplitTimer());
    EXPECT_EQ(library().calls, (Calls{"captureEnd 2", "captureBegin 2"}));
    EXPECT_NE(in().m_recSplitTimer(), 0);
}

TEST_F(Recording, WithoutADirectoryItGoesOnAllTheSame) {
    QFile in_the_way(recordBase());
    ASSERT_TRUE(in_the_way.open(QIODevice::WriteOnly));
    startWith();
    open1();
    forgetCalls();
    record()->trigger();
    EXPECT_TRUE(library().calls.empty());
    EXPECT_TRUE(in().recording1());
    EXPECT_TRUE(record()->isChecked());
    EXPECT_NE(in().m_blinkTimer(), 0);
    EXPECT_EQ(in().m_recSplitTimer(), 0);
    EXPECT_EQ(in().record_file(), "");
    EXPECT_EQ(window->RecAvi(1, 1), -1);
    tick(in().m_blinkTimer());
    EXPECT_TRUE(shown(in().m_tip1()));
    record()->trigger();
    EXPECT_TRUE(shown(in().rec_notice()));
}

TEST_F(Recording, AnIntervalThatIsNoneStaysHarmless) {
    for (const int minutes : {0, -5, INT_MIN, 71583, INT_MAX}) {
        startWith({{"dataSave/record_interval", minutes}});
        open1();
        record()->trigger();
        const int period = interval(in().m_recSplitTimer());
        EXPECT_EQ(minutes <= 0 ? period == 60000 : period > 2000000000, true) << minutes << " " << period;
        forgetCalls();
        for (int turn = 0; turn < 50; ++turn) {
            QCoreApplication::processEvents();
        }
        EXPECT_TRUE(library().calls.empty()) << minutes;
        record()->trigger();
        stop();
        fake_tavrik::reset();
    }
}

TEST_F(Recording, TheTipsBlinkAndTheFirstTellsTheTime) {
    startWith();
    open1();
    open2();
    ui().action_videoWinLR->trigger();
    record()->trigger();
    EXPECT_FALSE(shown(in().m_tip1()) || shown(in().m_tip2()));
    EXPECT_EQ(in().m_tip1()->pos(), win1()->mapToGlobal(QPoint(0, 5)));
    EXPECT_EQ(in().m_tip2()->pos(), win2()->mapToGlobal(QPoint(0, 5)));
    tick(in().m_blinkTimer());
    EXPECT_TRUE(shown(in().m_tip1()) && shown(in().m_tip2()));
    EXPECT_EQ(text(in().m_tip1()), "record 00:00:01");
    tick(in().m_blinkTimer());
    EXPECT_FALSE(shown(in().m_tip1()) || shown(in().m_tip2()));
    in().record_seconds() = 3600 + 5 * 60 - 1;
    tick(in().m_blinkTimer());
    EXPECT_EQ(text(in().m_tip1()), "record 01:65:00") << "the minutes are not reduced";
    EXPECT_EQ(text(in().m_tip2()), "") << "never a time";
    EXPECT_FALSE(in().m_tip1()->findChild<QLabel*>("label_rec")->isHidden());
    EXPECT_TRUE(in().m_tip1()->findChild<QLabel*>("label_snap")->isHidden());
}

TEST_F(Recording, TheTipsFollowTheirPictures) {
    startWith();
    open1();
    open2();
    record()->trigger();
    for (QAction* view : {ui().action_videoWinLR, ui().action_videoWinTB}) {
        view->trigger();
        EXPECT_TRUE(waitFor([this] {
            return in().m_tip1()->pos() == win1()->mapToGlobal(QPoint(0, 5)) &&
                   in().m_tip2()->pos() == win2()->mapToGlobal(QPoint(0, 5));
        }));
    }
}

TEST_F(Recording, AnIdleChannelsTipHidesWhileTheOtherBlinks) {
    startWith();
    open1();
    open2();
    record()->trigger();
    tick(in().m_blinkTimer());
    open1();
    tick(in().m_blinkTimer());
    EXPECT_FALSE(shown(in().m_tip1()) || shown(in().m_tip2()));
    tick(in().m_blinkTimer());
    EXPECT_FALSE(shown(in().m_tip1()));
    EXPECT_TRUE(shown(in().m_tip2()));
    open2();
    tick(in().m_blinkTimer());
    EXPECT_FALSE(shown(in().m_tip2()));
    EXPECT_EQ(in().m_blinkTimer(), 0);
}

TEST_F(Recording, ATipBlinksOnForPicturesInARow) {
    startWith();
    open1();
    record()->trigger();
    in().snapping1() = true;
    record()->trigger();
    EXPECT_FALSE(in().m_tip1()->findChild<QLabel*>("label_snap")->isHidden());
    EXPECT_TRUE(in().m_tip1()->findChild<QLabel*>("label_rec")->isHidden());
    for (const bool visible : {true, false, true}) {
        tick(in().m_blinkTimer());
        EXPECT_EQ(shown(in().m_tip1()), visible);
    }
    in().snapping1() = false;
    tick(in().m_blinkTimer());
    EXPECT_FALSE(shown(in().m_tip1()));
    EXPECT_EQ(in().m_blinkTimer(), 0);
}

TEST_F(Recording, TheRealTimerBlinks) {
    startWith();
    open1();
    record()->trigger();
    EXPECT_TRUE(waitFor([this] { return shown(in().m_tip1()); }, 20000));
    EXPECT_TRUE(waitFor([this] { return !shown(in().m_tip1()); }, 20000));
    EXPECT_GE(in().record_seconds(), 2);
}

TEST_F(Recording, TipsAndNoticesTakeNoActivation) {
    startWith({{"common/check_video_ms", 600000}});
    open1();
    X11Pointer pointer;
    ASSERT_TRUE(pointer.available());
    const auto click = [&](const QWidget* on, const QPoint& at) {
        EXPECT_TRUE(on->testAttribute(Qt::WA_ShowWithoutActivating));
        const QPoint where = on->mapToGlobal(at);
        pointer.moveTo(where.x(), where.y());
        ASSERT_TRUE(waitFor([&] { return QCursor::pos() == where; }, 20000));
        PressWatch watch;
        on->windowHandle()->installEventFilter(&watch);
        pointer.press(1);
        pointer.release(1);
        EXPECT_TRUE(waitFor([&] { return watch.presses == 1; }, 20000)) << on->isVisible();
    };
    record()->trigger();
    tick(in().m_blinkTimer());
    // A tip that blinked away would not be clicked.
    HeldTimer steady(*window, in().m_blinkTimer());
    ASSERT_TRUE(QTest::qWaitForWindowExposed(in().m_tip1(), 20000));
    click(in().m_tip1(), QPoint(10, 25));
    record()->trigger();
    ASSERT_NE(in().rec_notice(), nullptr);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(in().rec_notice(), 20000));
    click(in().rec_notice(), QPoint(60, 90));
    // By the time that the window manager shows another window it has dealt with what came before.
    QWidget later(nullptr, Qt::Window | Qt::WindowDoesNotAcceptFocus);
    later.setAttribute(Qt::WA_ShowWithoutActivating);
    later.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&later, 20000));
    EXPECT_TRUE(window->isActiveWindow());
    for (int turn = 0; turn < 200; ++turn) {
        QTest::qWait(1);
        ASSERT_EQ(QGuiApplication::focusWindow(), window->windowHandle()) << turn;
    }
}

TEST_F(Recording, TheNoticeStandsInTheCornerAndHidesByItself) {
    startWith();
    open1();
    record()->trigger();
    record()->trigger();
    const MyCompNotifyDlg* notice = in().rec_notice();
    ASSERT_TRUE(shown(notice));
    EXPECT_EQ(notice->size(), QSize(359, 201));
    const QPoint corner(window->x() + window->width() - 359, window->y() + window->height() - 201);
    EXPECT_TRUE(waitFor([&] { return notice->pos() == corner; })) << notice->x() << " " << notice->y();
    EXPECT_EQ(notice->windowFlags() & (Qt::WindowContextHelpButtonHint | Qt::WindowMinMaxButtonsHint), 0);
    EXPECT_TRUE(waitFor([&] { return !shown(notice); }, 30000));
}

TEST_F(Recording, TheNoticesTextIsBrokenAtItsWidth) {
    startWith({{"dataSave/default_video_saving_directory", folder.filePath(QString(120, 'W'))}});
    open1();
    record()->trigger();
    record()->trigger();
    const auto* label = in().rec_notice()->findChild<QLabel*>("label_msg");
    EXPECT_EQ(label->geometry(), QRect(20, 10, 321, 71));
    EXPECT_EQ(message(in().rec_notice()), in().record_file());
    const QStringList lines = label->text().split('\n');
    ASSERT_GT(lines.size(), 2);
    for (int i = 0; i < lines.size(); ++i) {
        EXPECT_LE(label->fontMetrics().horizontalAdvance(lines[i]), 321) << i;
        if (i + 1 < lines.size()) {
            EXPECT_GT(label->fontMetrics().horizontalAdvance(lines[i] + lines[i + 1].at(0)), 321) << i;
        }
    }
}

TEST_F(Recording, ClosingTheWindowEndsItWithoutANotice) {
    startWith();
    open1();
    open2();
    record()->trigger();
    tick(in().m_blinkTimer());
    forgetCalls();
    window->close();
    EXPECT_EQ(library().calls, (Calls{"captureEnd 1", "captureEnd 2", "close 1", "close 2", "close 0"}));
    EXPECT_EQ(in().m_recSplitTimer(), 0);
    EXPECT_EQ(in().m_blinkTimer(), 0);
    EXPECT_FALSE(shown(in().m_tip1()) || shown(in().m_tip2()) || shown(in().rec_notice()));
}

TEST_F(Recording, TheRawButtonRecordsWhatIsReceived) {
    startWith();
    open1();
    open2();
    forgetCalls();
    in().m_replayState() = 1;
    EXPECT_EQ(raw()->text(), "录制视频流");
    raw()->click();
    EXPECT_EQ(raw()->text(), "停止录制");
    expectCapture(0, "20260309/070502_2.dat", 1, 0);
    expectCapture(1, "20260309/070502_3.dat", 2, 0);
    EXPECT_TRUE(in().recording1() && in().recording2());
    EXPECT_FALSE(record()->isChecked());
    EXPECT_EQ(status(), "视频1已连接  视频2已连接  ") << "the status bar does not hear of it";
    EXPECT_NE(in().m_blinkTimer(), 0);
    EXPECT_NE(in().m_recSplitTimer(), 0);
    in().m_replayState() = 0;
    forgetCalls();
    raw()->click();
    EXPECT_EQ(raw()->text(), "录制视频流");
    EXPECT_EQ(library().calls, (Calls{"captureEnd 1", "captureEnd 2"}));
    EXPECT_FALSE(in().recording1() || in().recording2());
    EXPECT_EQ(in().m_recSplitTimer(), 0);
    ASSERT_TRUE(shown(in().rec_notice()));
    EXPECT_EQ(message(in().rec_notice()), recordBase() + "/20260309/070502_3.dat");
}

TEST_F(Recording, TheRawButtonsTextSwapsFirstWhateverComesOfIt) {
    startWith();
    raw()->click();
    EXPECT_EQ(raw()->text(), "停止录制");
    EXPECT_TRUE(library().calls.empty()) << "no channel is open";
    EXPECT_EQ(in().m_blinkTimer(), 0);
    open1();
    forgetCalls();
    raw()->click();
    EXPECT_EQ(raw()->text(), "录制视频流");
    EXPECT_TRUE(library().calls.empty()) << "the second click stops";
    EXPECT_TRUE(shown(in().rec_notice()));
}

TEST_F(Recording, TheRawButtonLeavesTheActionAlone) {
    startWith();
    open1();
    record()->trigger();
    raw()->click();
    EXPECT_TRUE(record()->isChecked());
    raw()->click();
    EXPECT_TRUE(record()->isChecked());
    EXPECT_FALSE(in().recording1());
    EXPECT_EQ(status(), "视频1已连接  视频1录制中  ") << "nor does the status bar hear of the end";
}

TEST_F(Recording, TheRawButtonsTextSurvivesALanguage) {
    startWith();
    raw()->click();
    in().m_settings()->ui->cbb_selLang->setCurrentIndex(1);
    EXPECT_TRUE(waitFor([this] { return raw()->text() == "Stop recording"; })) << qPrintable(raw()->text());
    raw()->click();
    EXPECT_EQ(raw()->text(), "Record stream");
    in().m_settings()->ui->cbb_selLang->setCurrentIndex(0);
    EXPECT_TRUE(waitFor([this] { return raw()->text() == "录制视频流"; }));
}

TEST_F(Recording, ARawRecordingTurnsIntoMp4AtItsFirstRollOver) {
    startWith();
    open1();
    raw()->click();
    forgetCalls();
    now.minute = 15;
    tick(in().m_recSplitTimer());
    EXPECT_EQ(library().calls, (Calls{"captureEnd 1", "captureBegin 1"}));
    expectCapture(0, "20260309/071502_2.mp4", 1, 1);
}

// What becomes of the file under way is the stream library's.
TEST_F(Recording, OneKindOverTheOtherBeginsAnewOnTheSameHandle) {
    startWith();
    open1();
    forgetCalls();
    raw()->click();
    const int timer = in().m_recSplitTimer();
    now.second = 30;
    record()->trigger();
    EXPECT_EQ(library().calls, (Calls{"captureBegin 1", "captureBegin 1"}));
    expectCapture(0, "20260309/070502_2.dat", 1, 0);
    expectCapture(1, "20260309/070530_2.mp4", 1, 1);
    EXPECT_EQ(in().m_recSplitTimer(), timer);
    record()->trigger();
    EXPECT_EQ(raw()->text(), "停止录制") << "it swaps at its own clicks alone";
    raw()->click();
    forgetCalls();
    record()->trigger();
    raw()->click();
    EXPECT_EQ(library().calls, (Calls{"captureBegin 1", "captureBegin 1"}));
}

TEST_F(Recording, TheKeysWorkInTheWindowAndInFullScreen) {
    startWith();
    open1();
    X11Pointer keys;
    ASSERT_TRUE(keys.available());
    const auto press = [&keys](const char* name) {
        ASSERT_TRUE(keys.keyPress(name));
        ASSERT_TRUE(keys.keyRelease(name));
    };
    for (const bool full : {false, true}) {
        if (full) {
            press("F8");
            ASSERT_TRUE(waitFor([this] {
                return window->isFullScreen() && window->geometry() == window->screen()->geometry() &&
                       !ui().title->isVisible();
            }));
            ASSERT_TRUE(waitFor([this] { return window->isActiveWindow(); }));
        }
        press("F9");
        EXPECT_TRUE(waitFor([this] { return in().recording1(); })) << full;
        forgetCalls();
        press("F10");
        EXPECT_TRUE(waitFor([this] { return library().stills.size() == 1; })) << full;
        press("F9");
        EXPECT_TRUE(waitFor([this] { return !in().recording1(); })) << full;
        EXPECT_EQ(library().calls, (Calls{"StillBegin 1", "captureEnd 1"})) << full;
    }
}

}  // namespace
