// A replay without the window: what it asks for and tells, in which order.
#include <QAction>
#include <QPointer>
#include <QPushButton>

#include "app/events/stream_callbacks.h"
#include "video/replay.h"
#include "video/replay_panel.h"
#include "video_parts_fixture.h"

namespace {

using Calls = std::vector<std::string>;

class ReplayPart : public PicturePartTest {
protected:
    ReplayPart() {
        action.setCheckable(true);
        QObject::connect(&action, &QAction::triggered, [this] { replay.onAction(); });
        QObject::connect(bar.m_btnPlay, &QPushButton::clicked, [this] { replay.onPlayButton(); });
        QObject::connect(bar.m_btnStop, &QPushButton::clicked, [this] { replay.onStopButton(); });
        fake_tavrik::state().clip_handle = 50;
        fake_tavrik::state().clip_length_ms = 61000;
    }
    ~ReplayPart() override { replay.close(); }

    static void note(const std::string& what) { fake_tavrik::state().calls.push_back(what); }
    static Calls callsOf(const std::function<void()>& act) {
        fake_tavrik::state().calls.clear();
        act();
        return fake_tavrik::state().calls;
    }
    void play() {
        action.trigger();
        replay.onStarted();
        ASSERT_EQ(state, 1);
    }
    ReplayActions actions() {
        return {[this] { return chosen; },
                [] { note("refuse"); },
                [this] { note(playing || recording ? "buttons too early" : "buttons"); },
                [this] { note(bar.isVisible() ? "place too late" : "place"); },
                [this] { note("status " + std::to_string(state)); },
                [this] { note(bar.m_btnPlay->isChecked() ? "activate, playing" : "activate"); },
                [] { return std::uint8_t{4}; },
                [this] { replay.onTick(); }};
    }

    QAction action;
    int state = 0;
    QTimer* timer = nullptr;
    std::int64_t left_ms = 0;
    bool playing = false;
    bool recording = false;
    ReplayPanel bar{nullptr};
    MyTransDlg* panel = &bar;
    QString chosen = "/records/a.mp4";
    Replay replay{ReplayParts{action, win1, *presenter, hub},
                  ReplayFields{state, timer, left_ms, playing, recording, panel}, actions()};
};

TEST_F(ReplayPart, OpeningTellsTheButtonsThenHooksThenOpens) {
    recording = true;
    EXPECT_EQ(callsOf([this] { action.trigger(); }), (Calls{"buttons", "hooks", "clip 50"}));
    EXPECT_FALSE(recording);
    EXPECT_EQ(fake_tavrik::state().on_replay_start, &Replay_Start_Callback);
    EXPECT_EQ(fake_tavrik::state().on_replay_end, &Replay_End_Callback);
    EXPECT_EQ(fake_tavrik::state().clips.at(0).path, "/records/a.mp4");
    EXPECT_EQ(fake_tavrik::state().clips.at(0).decoder, 4);
    EXPECT_EQ(presenter->findSurface(&win1)->player_handle, 50);
}

TEST_F(ReplayPart, WhatIsNotOpenedChangesNothing) {
    chosen.clear();
    EXPECT_EQ(callsOf([this] { action.trigger(); }), Calls{});
    EXPECT_FALSE(action.isChecked());
    chosen = "/records/a.mp4";
    playing = true;
    EXPECT_EQ(callsOf([this] { action.trigger(); }), Calls{"refuse"});
    EXPECT_FALSE(action.isChecked());
    EXPECT_TRUE(playing);
    EXPECT_EQ(presenter->findSurface(&win1), nullptr);
}

TEST_F(ReplayPart, AStartsStepsComeInTheirOrder) {
    action.trigger();
    EXPECT_EQ(callsOf([this] { replay.onStarted(); }), (Calls{"place", "status 1", "activate, playing"}));
    EXPECT_TRUE(bar.isVisible());
    ASSERT_NE(timer, nullptr);
    EXPECT_EQ(timer->interval(), 1000);
    EXPECT_TRUE(timer->isActive());
    EXPECT_EQ(left_ms, 61000);
    EXPECT_EQ(bar.m_labelPlayTime->text(), "00:01:01");
    const QPointer<QTimer> first = timer;
    replay.onStarted();
    EXPECT_TRUE(first.isNull()) << "one countdown at a time";
    EXPECT_NE(timer, nullptr);
}

TEST_F(ReplayPart, PauseAndGoingOnTellTheStatusAndActivateTheWindow) {
    play();
    EXPECT_EQ(callsOf([this] { bar.m_btnPlay->click(); }), (Calls{"hold 50", "status 2", "activate"}));
    EXPECT_EQ(timer, nullptr);
    EXPECT_EQ(left_ms, 60500);
    const Calls calls = callsOf([this] { bar.m_btnPlay->click(); });
    ASSERT_GE(calls.size(), 3U);
    EXPECT_EQ(Calls(calls.begin(), calls.begin() + 3), (Calls{"resume 50", "status 1", "activate, playing"}));
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "place"), 0);
    EXPECT_NE(timer, nullptr);
    EXPECT_EQ(left_ms, 60500);
}

TEST_F(ReplayPart, StopActivatesTheWindowAndTheEndTellsTheStatus) {
    play();
    EXPECT_EQ(callsOf([this] { bar.m_btnStop->click(); }), (Calls{"close 50", "activate, playing"}));
    EXPECT_EQ(callsOf([this] { action.trigger(); }), Calls{}) << "closed once";
    EXPECT_EQ(callsOf([this] { replay.onEnded(); }), Calls{"status 0"});
    EXPECT_FALSE(bar.isVisible());
    EXPECT_EQ(timer, nullptr);
    EXPECT_EQ(callsOf([this] { bar.m_btnPlay->click(); }), Calls{}) << "nothing plays";
    EXPECT_EQ(callsOf([this] { bar.m_btnStop->click(); }).size(), 1U) << "activated, and nothing is closed";
}

TEST_F(ReplayPart, APausedOneEndsWithoutATimer) {
    play();
    bar.m_btnPlay->click();
    action.setChecked(true);
    EXPECT_EQ(callsOf([this] { replay.onEnded(); }), Calls{"status 0"});
    EXPECT_FALSE(action.isChecked());
    EXPECT_EQ(state, 0);
    EXPECT_FALSE(bar.isVisible());
}

}  // namespace
