// Recording and single pictures without the window: what is asked for in which order, what is told, which
// timers run.
#include <gtest/gtest.h>

#include <QAbstractEventDispatcher>
#include <QAction>
#include <QDir>
#include <QFile>
#include <QPushButton>
#include <QTemporaryDir>

#include "app/config/my_app_config.h"
#include "tests/fakes/fake_tavrik.h"
#include "video/recorder.h"
#include "video/recording_rules.h"
#include "video/stills.h"

namespace {

using Calls = std::vector<std::string>;

QStringList* g_lines = nullptr;
void keepLines(QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& text) {
    g_lines->append(text);
}

// The debug lines that come while `act` runs.
template <class Act>
QStringList linesOf(Act act) {
    QStringList lines;
    g_lines = &lines;
    const QtMessageHandler before = qInstallMessageHandler(keepLines);
    act();
    qInstallMessageHandler(before);
    return lines;
}

class RecordingPart : public ::testing::Test {
protected:
    RecordingPart() {
        fake_tavrik::reset();
        config.default_video_saving_directory = folder.filePath("records");
        config.default_record_open_directory = folder.filePath("pictures");
        config.record_interval = 3;
        action.setCheckable(true);
        QObject::connect(&action, &QAction::triggered, [this] { recorder.onAction(); });
    }
    // The library's calls and what the window is told, as they come.
    static Calls& calls() { return fake_tavrik::state().calls; }
    Calls callsOf(const std::function<void()>& act) {
        calls().clear();
        act();
        return calls();
    }
    // "interval type" of a timer of the window; empty when it does not run.
    QString timer(int id) {
        for (const auto& info : QAbstractEventDispatcher::instance()->registeredTimers(&hub)) {
            if (info.timerId == id) {
                // The toolkit makes a coarse one of many seconds a very coarse one.
                const char* type = info.timerType != Qt::PreciseTimer ? "coarse" : "precise";
                return QStringLiteral("%1 %2").arg(info.interval).arg(QLatin1String(type));
            }
        }
        return QString();
    }
    QString timers() { return timer(split_timer) + ", " + timer(blink_timer); }
    // Nothing can be made beneath a file.
    void blockFolders() {
        for (const QString& path :
             {config.default_video_saving_directory, config.default_record_open_directory}) {
            QFile in_the_way(path);
            ASSERT_TRUE(in_the_way.open(QIODevice::WriteOnly));
        }
    }
    RecorderActions recorderActions() {
        return {[this] { return now; },
                [this] {
                    calls().emplace_back("tips");
                    at_tips = timers();
                },
                [] { calls().emplace_back("status"); },
                [this] {
                    calls().emplace_back("notice");
                    at_notice = timers();
                }};
    }

    QTemporaryDir folder;
    MyAppConfig config{folder.filePath("appCfg.ini")};
    QObject hub;
    QAction action;
    QPushButton raw;
    sorvane::CalendarTime now{2026, 3, 9, 7, 5, 2, 0};
    bool open1 = true, open2 = true;
    bool recording1 = false, recording2 = false;
    bool snapping = false;
    MyTipDialog* tip = nullptr;
    int split_timer = 0, blink_timer = 0, seconds = 0, replay_state = 0;
    QString dir, file, snap_dir;
    QString at_tips, at_notice;  // the timers of that moment
    Recorder recorder{hub,
                      Recorder::Channels{RecordedChannel{open1, recording1, snapping, tip, [] { return 3; }},
                                         RecordedChannel{open2, recording2, snapping, tip, [] { return 4; }}},
                      RecorderFields{split_timer, blink_timer, seconds, dir, file, replay_state},
                      RecorderControls{action, raw},
                      config,
                      recorderActions()};
    Stills stills{
        Stills::Channels{PicturedChannel{open1, [] { return 3; }}, PicturedChannel{open2, [] { return 4; }}},
        snap_dir, config,
        StillsActions{
            [this] { return now; },
            [](const QString& path) { calls().push_back("taken " + QDir(path).dirName().toStdString()); }}};
};

TEST_F(RecordingPart, TheActionsStepsComeInTheirOrder) {
    EXPECT_EQ(callsOf([this] { action.trigger(); }),
              (Calls{"captureBegin 3", "captureBegin 4", "tips", "status"}));
    EXPECT_EQ(at_tips, "180000 coarse, ") << "the blinking begins behind it";
    EXPECT_EQ(timers(), "180000 coarse, 1000 coarse");
    EXPECT_EQ(callsOf([this] { action.trigger(); }),
              (Calls{"captureEnd 3", "captureEnd 4", "tips", "notice", "status"}));
    EXPECT_EQ(at_tips, ", 1000 coarse") << "no roll-over any more";
    EXPECT_EQ(at_notice, at_tips);
}

// Nor is the status bar told, neither of its beginning nor of its end.
TEST_F(RecordingPart, TheRawButtonsStepsLeaveActionAndStatusAlone) {
    replay_state = 2;
    open2 = false;
    EXPECT_EQ(callsOf([this] { raw.click(); }), (Calls{"captureBegin 3", "tips"}));
    EXPECT_FALSE(action.isChecked());
    EXPECT_EQ(timers(), "180000 coarse, 1000 coarse");
    EXPECT_EQ(callsOf([this] { raw.click(); }), (Calls{"captureEnd 3", "tips", "notice"}));
    open1 = false;
    EXPECT_EQ(callsOf([this] { raw.click(); }), Calls{});
    action.setChecked(true);
    EXPECT_EQ(callsOf([this] { raw.click(); }), (Calls{"tips", "notice"}));
    EXPECT_TRUE(action.isChecked());
}

TEST_F(RecordingPart, TimersThatRunGoOn) {
    action.trigger();
    const int split = split_timer;
    const int blink = blink_timer;
    seconds = 77;
    raw.click();
    EXPECT_EQ(split_timer, split);
    EXPECT_EQ(blink_timer, blink);
    EXPECT_EQ(seconds, 0) << "counted from the later beginning";
    EXPECT_EQ(QAbstractEventDispatcher::instance()->registeredTimers(&hub).size(), 2);
}

TEST_F(RecordingPart, WhatBeganAndWhatCouldNotIsTold) {
    QStringList lines = linesOf([this] { EXPECT_EQ(recorder.begin(3, sorvane::kCaptureMp4), 0); });
    EXPECT_EQ(lines, QStringList());
    EXPECT_EQ(dir, folder.filePath("records/20260309"));
    EXPECT_EQ(file, dir + "/070502_4.mp4");
    QDir(folder.filePath("records")).removeRecursively();
    QDir(folder.filePath("pictures")).removeRecursively();
    blockFolders();
    now.day = 10;
    lines = linesOf([this] { EXPECT_EQ(recorder.begin(3, sorvane::kCaptureMp4), -1); });
    EXPECT_EQ(lines, QStringList{"RecAvi: Create dir failed!"});
    EXPECT_EQ(dir, folder.filePath("records/20260309")) << "of the latest that began";
    EXPECT_EQ(calls(), Calls{"captureBegin 3"});
}

// The base folder is the station's to make, whatever it is named; in it nothing is made.
TEST_F(RecordingPart, APictureNeedsItsFolder) {
    EXPECT_EQ(callsOf([this] { stills.takeSingle(); }),
              (Calls{"StillBegin 3", "StillBegin 4", "taken 070502_2.jpg"}));
    EXPECT_TRUE(QDir(folder.filePath("pictures")).isEmpty());
    QDir(folder.filePath("pictures")).removeRecursively();
    blockFolders();
    snap_dir = "before";
    const QStringList lines =
        linesOf([this] { EXPECT_EQ(callsOf([this] { stills.takeSingle(); }), Calls{}); });
    EXPECT_EQ(lines, QStringList{"OnSingleSnap: Create dir failed!"});
    EXPECT_EQ(snap_dir, "before");
}

}  // namespace
