// A recording on the first picture: choosing it, its bar, pause, stop, countdown, and what may come between.
#include <QFileDialog>
#include <QTimer>

#include "app/events/stream_callbacks.h"
#include "recording_fixture.h"
#include "tests/fakes/pick_file.h"
#include "video/replay_panel.h"
#include "widgets/my_message_box.h"

namespace {

constexpr int kClip = 50;

class Replay : public RecordingTest {
protected:
    void startWithClip(const QMap<QString, QVariant>& more = {}) {
        startWith(more);
        ASSERT_TRUE(QDir().mkpath(recordBase()));
        library().clip_handle = kClip;
        library().clip_length_ms = 3725400;
    }
    QString makeClip(const QString& name) const {
        QFile file(QDir(recordBase()).filePath(name));
        file.open(QIODevice::WriteOnly);
        file.write("clip");
        return file.fileName();
    }
    QAction* action() const { return ui().action_fileOpenAvi; }
    ReplayPanel* panel() const { return static_cast<ReplayPanel*>(in().m_panePlayCtrl()); }

    // What the operator does with the modal dialogs that come while `press` runs.
    void answer(const std::function<void(QDialog&)>& operate, const std::function<void()>& press) {
        QTimer hand;
        int dialogs = 0;
        QObject::connect(&hand, &QTimer::timeout, &hand, [&] {
            if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
                ++dialogs;
                operate(*dialog);
            }
        });
        hand.start(20);
        press();
        EXPECT_GT(dialogs, 0);
    }
    void choose(const QString& path) {
        answer(
            [&](QDialog& dialog) {
                auto* chooser = qobject_cast<QFileDialog*>(&dialog);
                if (chooser == nullptr) {
                    ADD_FAILURE() << dialog.windowTitle().toStdString();
                    dialog.reject();  // else it would stand for ever
                    return;
                }
                pickFile(*chooser, path);
            },
            [this] { action()->trigger(); });
    }
    void hook(tavrik::ReplayHook what) const {
        ASSERT_NE(what, nullptr);
        what();
        QCoreApplication::sendPostedEvents(window.get());
    }
    // Chosen, opened, and the library plays.
    void play() {
        choose(makeClip("a.mp4"));
        hook(library().on_replay_start);
        ASSERT_EQ(in().m_replayState(), 1);
    }
    void end() const { hook(library().on_replay_end); }
    void expectNone() const {
        EXPECT_EQ(in().m_replayState(), 0);
        EXPECT_FALSE(action()->isChecked());
        EXPECT_FALSE(panel()->isVisible());
        EXPECT_EQ(in().replay_timer(), nullptr);
    }
    QString left() const { return panel()->m_labelPlayTime->text(); }
};

TEST_F(Replay, TheChosenFileIsOpenedOnTheFirstPicture) {
    startWithClip({{"decode/decode_method", 0}});
    const QString path = makeClip("070502_2.mp4");
    QString title;
    QString folder_shown;
    QStringList filters;
    answer(
        [&](QDialog& dialog) {
            auto& chooser = dynamic_cast<QFileDialog&>(dialog);
            title = chooser.windowTitle();
            folder_shown = chooser.directory().path();
            filters = chooser.nameFilters();
            pickFile(chooser, path);
        },
        [this] { action()->trigger(); });
    EXPECT_EQ(title, "选择录像文件");
    EXPECT_EQ(folder_shown, recordBase());
    EXPECT_EQ(filters, QStringList{"mp4 file (*.mp4)"});
    EXPECT_EQ(library().calls, (Calls{"hooks", "clip 50"}));
    EXPECT_EQ(library().clips.at(0).path, path.toLatin1().toStdString());
    EXPECT_NE(library().clips.at(0).path, path.toStdString()) << "the folder's name is beyond Latin-1";
    EXPECT_EQ(library().clips.at(0).decoder, 1);
    EXPECT_EQ(in().findSurface(win1())->player_handle, kClip);
    EXPECT_TRUE(action()->isChecked());
    EXPECT_EQ(in().m_replayState(), 0) << "until the library has begun";
    EXPECT_FALSE(panel()->isVisible());
    EXPECT_EQ(connection().pushButton_22->text(), "连接");
    EXPECT_EQ(in().m_videoCheckTimer(), 0) << "its stall is not watched";
}

TEST_F(Replay, WithoutAFileTheActionSpringsBack) {
    startWithClip();
    answer([](QDialog& dialog) { dialog.reject(); }, [this] { action()->trigger(); });
    EXPECT_FALSE(action()->isChecked());
    EXPECT_TRUE(library().calls.empty());
}

TEST_F(Replay, AnOpenFirstChannelRefusesIt) {
    startWithClip();
    open1();
    forgetCalls();
    const QString path = makeClip("a.mp4");
    QString title;
    QString text;
    answer(
        [&](QDialog& dialog) {
            if (auto* chooser = qobject_cast<QFileDialog*>(&dialog)) {
                pickFile(*chooser, path);
            } else if (auto* box = qobject_cast<MyMessageBox*>(&dialog)) {
                title = box->windowTitle();
                text = box->findChild<QLabel*>("textLabel")->text();
                box->findChild<QAbstractButton*>()->click();
            }
        },
        [this] { action()->trigger(); });
    EXPECT_EQ(title, "提示");
    EXPECT_EQ(text, "请先关闭视频流！");
    EXPECT_FALSE(action()->isChecked());
    EXPECT_TRUE(library().calls.empty());
    EXPECT_TRUE(in().playing1());
}

TEST_F(Replay, AnOpenSecondChannelDoesNot) {
    startWithClip();
    open2();
    play();
    EXPECT_EQ(status(), "录像重放中  视频2已连接  ");
}

TEST_F(Replay, AStartShowsTheBarAndTheTimeLeft) {
    startWithClip();
    play();
    ASSERT_TRUE(panel()->isVisible());
    EXPECT_EQ(panel()->pos(), QPoint(window->x() + ui().centralWidget->x() + (win1()->width() - 240) / 2,
                                     window->y() + ui().centralWidget->y() + win1()->height() - 40 - 2));
    EXPECT_EQ(status(), "录像重放中  ");
    EXPECT_TRUE(panel()->m_btnPlay->isChecked());
    EXPECT_EQ(in().replay_left_ms(), 3725400);
    EXPECT_EQ(left(), "01:02:05");
    ASSERT_NE(in().replay_timer(), nullptr);
    EXPECT_TRUE(in().replay_timer()->isActive());
    EXPECT_EQ(in().replay_timer()->interval(), 1000);
    EXPECT_TRUE(waitFor([this] { return window->isActiveWindow(); }));
    EXPECT_EQ(QGuiApplication::focusWindow(), window->windowHandle());
}

TEST_F(Replay, TheCountdownStandsAtItsLastTimeThatIsNotNegative) {
    startWithClip();
    library().clip_length_ms = 2500;
    play();
    EXPECT_EQ(left(), "00:00:02");
    for (const char* text : {"00:00:01", "00:00:00", "00:00:00", "00:00:00"}) {
        window->OnReplayRefreshTimeout();
        EXPECT_EQ(left(), text);
    }
    EXPECT_EQ(in().replay_left_ms(), -1500);
    in().replay_left_ms() = 10000;
    EXPECT_TRUE(waitFor([this] { return left() == "00:00:09"; }, 20000)) << "its own timer ticks";
}

TEST_F(Replay, PauseTakesHalfASecondAndGoingOnKeepsTheTime) {
    startWithClip();
    play();
    forgetCalls();
    panel()->m_btnPlay->click();
    EXPECT_EQ(library().calls, Calls{"hold 50"});
    EXPECT_EQ(in().m_replayState(), 2);
    EXPECT_EQ(in().replay_left_ms(), 3724900);
    EXPECT_EQ(in().replay_timer(), nullptr);
    EXPECT_FALSE(panel()->m_btnPlay->isChecked());
    EXPECT_TRUE(panel()->isVisible());
    EXPECT_EQ(status(), "录像重放暂停  ");
    library().clip_length_ms = 1;
    panel()->move(3, 4);
    panel()->m_btnPlay->click();
    EXPECT_EQ(library().calls, (Calls{"hold 50", "resume 50"}));
    EXPECT_EQ(in().m_replayState(), 1);
    EXPECT_EQ(in().replay_left_ms(), 3724900);
    EXPECT_NE(in().replay_timer(), nullptr);
    EXPECT_TRUE(panel()->m_btnPlay->isChecked());
    EXPECT_EQ(panel()->pos(), QPoint(3, 4)) << "placed at the start and at moves of the window alone";
    EXPECT_EQ(status(), "录像重放中  ");
}

// Each pause takes half a second off, also where less has been played: the display bears it.
TEST_F(Replay, PausesAtOnceRunAheadOfThePictureAndHarmNothing) {
    startWithClip();
    library().clip_length_ms = 2200;
    play();
    EXPECT_EQ(left(), "00:00:02");
    for (int pause = 0; pause < 4; ++pause) {
        panel()->m_btnPlay->click();
        panel()->m_btnPlay->click();
        EXPECT_EQ(left(), "00:00:02") << "shown anew by a tick alone";
    }
    EXPECT_EQ(in().replay_left_ms(), 200);
    panel()->m_btnPlay->click();
    EXPECT_EQ(in().replay_left_ms(), -300);
    panel()->m_btnPlay->click();
    window->OnReplayRefreshTimeout();
    EXPECT_EQ(left(), "00:00:02");
    EXPECT_EQ(in().m_replayState(), 1);
    end();
    expectNone();
}

TEST_F(Replay, StopWaitsForTheLibrarysEnd) {
    startWithClip();
    play();
    forgetCalls();
    panel()->m_btnStop->click();
    EXPECT_EQ(library().calls, Calls{"close 50"});
    EXPECT_EQ(in().m_replayState(), 1);
    EXPECT_TRUE(panel()->isVisible());
    EXPECT_TRUE(action()->isChecked());
    end();
    expectNone();
    EXPECT_EQ(status(), "视频未连接");
    EXPECT_EQ(library().calls, Calls{"close 50"}) << "a closed handle would stand for the running pull";
}

TEST_F(Replay, APausedOneEndsByTheActionToo) {
    startWithClip();
    play();
    panel()->m_btnPlay->click();
    forgetCalls();
    action()->trigger();
    EXPECT_FALSE(action()->isChecked());
    EXPECT_EQ(library().calls, Calls{"close 50"});
    end();
    expectNone();
    EXPECT_EQ(library().calls, Calls{"close 50"});
}

TEST_F(Replay, OneThatEndsByItselfIsNotClosedAgain) {
    startWithClip();
    for (int round = 0; round < 2; ++round) {
        play();
        forgetCalls();
        in().replay_left_ms() = 4321;
        end();
        expectNone();
        EXPECT_TRUE(library().calls.empty()) << "an ended handle stands for the running pull";
    }
    panel()->m_btnStop->click();
    EXPECT_TRUE(library().calls.empty());
}

TEST_F(Replay, OneThatCannotBeOpenedLeavesTheActionChecked) {
    startWithClip();
    library().clip_handle = 0;
    choose(makeClip("a.mp4"));
    EXPECT_TRUE(action()->isChecked());
    EXPECT_FALSE(panel()->isVisible());
    EXPECT_EQ(in().m_replayState(), 0);
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
    forgetCalls();
    action()->trigger();
    EXPECT_FALSE(action()->isChecked());
    EXPECT_EQ(library().calls, Calls{"close 0"}) << "with the handle that it got";
    library().clip_handle = kClip;
    play();
}

TEST_F(Replay, NeitherRecordsNorTakesPictures) {
    startWithClip();
    play();
    forgetCalls();
    ui().action_ctrlRec->trigger();
    EXPECT_FALSE(ui().action_ctrlRec->isChecked());
    ui().action_ctrlSingleSnap->trigger();
    EXPECT_TRUE(library().calls.empty());
    EXPECT_FALSE(in().playing1());
}

TEST_F(Replay, TheFirstChannelMayOpenMeanwhileAndEachEndsByItself) {
    startWithClip();
    play();
    open1();
    EXPECT_TRUE(in().playing1());
    EXPECT_EQ(in().findSurface(win1())->player_handle, 1);
    EXPECT_EQ(status(), "视频1已连接  录像重放中  ");
    forgetCalls();
    panel()->m_btnPlay->click();
    panel()->m_btnPlay->click();
    panel()->m_btnStop->click();
    EXPECT_EQ(library().calls, (Calls{"hold 50", "resume 50", "close 50"}));
    end();
    expectNone();
    EXPECT_TRUE(in().playing1());
    open1();
    EXPECT_EQ(library().calls.back(), "close 1");
}

TEST_F(Replay, ClosingTheWindowEndsBothSessions) {
    startWithClip();
    play();
    open1();
    forgetCalls();
    window->close();
    EXPECT_EQ(library().calls, (Calls{"close 50", "close 1", "close 0"}));
    EXPECT_EQ(in().replay_timer(), nullptr);
}

TEST_F(Replay, HooksThatComeWhileTheWindowCloses) {
    startWithClip();
    choose(makeClip("a.mp4"));
    int closes = 0;
    library().at_close = [&] {
        if (++closes == 1) {
            library().on_replay_start();
        }
    };
    window->close();
    EXPECT_GE(closes, 1);
    EXPECT_EQ(in().m_replayState(), 0);
    EXPECT_EQ(in().replay_timer(), nullptr);
    EXPECT_FALSE(panel()->isVisible());
    library().at_close = nullptr;
    hook(library().on_replay_end);
    expectNone();
}

TEST_F(Replay, AWindowThatGoesWithoutClosingTakesTheTimerAlong) {
    startWithClip();
    play();
    const QPointer<QTimer> timer = in().replay_timer();
    ASSERT_FALSE(timer.isNull());
    const QPointer<QWidget> others[] = {in().m_statusVideo(), in().m_statPane(), in().m_settings(),
                                        in().m_panePlayCtrl(), in().m_tip1()};
    int there = 0;
    QObject::connect(timer, &QObject::destroyed, [&] {
        for (const QPointer<QWidget>& other : others) {
            there += other.isNull() ? 0 : 1;
        }
    });
    setInstance(nullptr);
    window.reset();
    EXPECT_TRUE(timer.isNull());
    EXPECT_EQ(there, 5) << "it goes first";
}

TEST_F(Replay, ItsBarFollowsTheLayoutAndTheWindow) {
    startWithClip();
    play();
    const auto place = [this] {
        return QPoint(window->x() + ui().centralWidget->x() + (win1()->width() - 240) / 2,
                      window->y() + ui().centralWidget->y() + win1()->height() - 40 - 2);
    };
    const auto follows = [&](const QPoint& before) {
        return waitFor([&] { return panel()->pos() == place() && place() != before; }, 30000);
    };
    QPoint before = place();
    ui().action_videoWinLR->trigger();
    EXPECT_TRUE(follows(before)) << "half the width";
    before = place();
    window->showNormal();
    window->resize(1000, 640);
    EXPECT_TRUE(follows(before));
    before = place();
    window->move(window->x() + 40, window->y() + 30);
    EXPECT_TRUE(follows(before));
}

// The type of the dialog holds for every picture that comes.
TEST_F(Replay, ItsPicturesWaitInTheCacheWhileTheBlockTypeIsSelected) {
    startWithClip();
    play();
    const auto& on_frame = library().clips.at(0).on_frame;
    connection().cbb_stream_type->setCurrentIndex(2);
    deliver(on_frame, makeFrame(320, 256, kRed, kRed));
    EXPECT_TRUE(waitFor([this] { return in().frame_cache().size() == 1; }));
    EXPECT_NE(in().frame_width(), 320);
    connection().cbb_stream_type->setCurrentIndex(0);
    deliver(on_frame, makeFrame(322, 256, kRed, kRed));
    EXPECT_TRUE(waitFor([this] { return in().frame_width() == 322; }));
    EXPECT_EQ(in().frame_cache().size(), 1U);
}

TEST_F(Replay, ItsPicturesAreDrawnAndStayWhileItIsPaused) {
    startWithClip();
    foldStatusPane();
    play();
    deliver(library().clips.at(0).on_frame, makeFrame(320, 256, kRed, kRed));
    const auto red = [this] {
        const QImage image = onScreen(win1());
        return isAbout(image.pixel(image.width() / 2, image.height() / 3), 254, 0, 0);
    };
    ASSERT_TRUE(waitFor(red));
    panel()->m_btnPlay->click();
    ASSERT_TRUE(waitFor([this] { return win1()->updatesEnabled(); }, 20000)) << "Qt may paint again";
    win1()->repaint();
    QCoreApplication::processEvents();
    EXPECT_TRUE(red());
    panel()->m_btnStop->click();
    end();
    EXPECT_TRUE(waitFor([&] { return !red(); }, 20000)) << "no signal";
}

}  // namespace
