// Opening and closing both channels: what the stream library is asked for, the address history, the stall
// check, the status texts.
#include <QLabel>
#include <QMessageBox>
#include <thread>

#include "app/events/stream_callbacks.h"
#include "video/video_surface.h"
#include "video_fixture.h"

namespace {

const QStringList kHistory = {"rtsp://192.168.1.160:554/a", "rtsp://192.168.1.160:554/b", "239.1.1.1",
                              "rtsp://192.168.1.160:554/c", "http://192.168.1.160/d"};

class Channels : public VideoTest {
protected:
    void startWith(int stream_type, const QMap<QString, QVariant>& more = {}) {
        QMap<QString, QVariant> values = {
            {"connection/video1_play_address", kHistory},
            {"connection/video1_port", 18001},
            {"connection/video2_port", 24001},
            {"connection/video2_play_address", "rtsp://192.168.1.160:554/live/track1"},
            {"system_function/video_type", stream_type},
            {"decode/av_dict_set", "rtsp_transport=udp"},
            {"decode/decode_method", 0}};
        for (auto it = more.begin(); it != more.end(); ++it) {
            values[it.key()] = it.value();
        }
        start(values);
    }
    QStringList offered() const {
        QStringList texts;
        for (int i = 0; i < connection().comboBox_2->count(); ++i) {
            texts << connection().comboBox_2->itemText(i);
        }
        return texts;
    }
    QString videoStatus() const { return in().m_statusVideo()->text(); }
    void tickStallCheck() const {
        QTimerEvent e(in().m_videoCheckTimer());
        QCoreApplication::sendEvent(window.get(), &e);
    }
};

}  // namespace

TEST_F(Channels, OpenAsksForTheStreamAsConfigured) {
    startWith(0);
    connection().comboBox->addItem("127.0.0.1");
    connection().comboBox->setCurrentIndex(connection().comboBox->count() - 1);
    connection().pushButton_22->click();
    ASSERT_EQ(library().opens.size(), 1U);
    const fake_tavrik::Open& open = library().opens[0];
    EXPECT_EQ(open.url, kHistory[0].toStdString());
    EXPECT_EQ(open.port, 18001);
    EXPECT_EQ(open.local_ip, "127.0.0.1");
    EXPECT_TRUE(open.is_rtsp);
    EXPECT_EQ(open.av_options, "rtsp_transport=udp");
    EXPECT_EQ(open.decoder, 1);
    EXPECT_TRUE(open.has_audio);
    EXPECT_TRUE(in().playing1());
    EXPECT_FALSE(in().no_signal1());
    EXPECT_EQ(connection().pushButton_22->text(), "关闭");
    EXPECT_NE(in().m_videoCheckTimer(), 0);
    EXPECT_EQ(videoStatus(), "视频1已连接  ");
}

TEST_F(Channels, CloseGivesTheHandleBackAndTheTextsToo) {
    startWith(0);
    connection().pushButton_22->click();
    connection().pushButton_22->click();
    EXPECT_EQ(library().calls, (std::vector<std::string>{"open 1", "close 1"}));
    EXPECT_FALSE(in().playing1());
    EXPECT_TRUE(in().no_signal1());
    EXPECT_EQ(connection().pushButton_22->text(), "连接");
    EXPECT_EQ(in().m_videoCheckTimer(), 0);
    EXPECT_EQ(videoStatus(), "视频未连接");
}

// Whether a stream lives is judged by its pictures alone.
TEST_F(Channels, AFailureThatIsReportedByAnEventClosesAndShowsNothing) {
    startWith(0);
    connection().pushButton_22->click();
    connection().pushButton_23->click();
    const auto calls = library().calls;
    const QString status = videoStatus();
    const int timer = in().m_videoCheckTimer();
    Play_Fail_CallBack();
    QCoreApplication::processEvents();
    EXPECT_EQ(library().calls, calls);
    EXPECT_TRUE(in().playing1());
    EXPECT_TRUE(in().playing2());
    EXPECT_FALSE(in().no_signal1());
    EXPECT_EQ(in().m_videoCheckTimer(), timer);
    EXPECT_EQ(videoStatus(), status);
}

TEST_F(Channels, FailedOpenShowsNothingAndKeepsTheHandle) {
    startWith(0);
    library().next_handle = 0;
    connection().pushButton_22->click();
    EXPECT_FALSE(in().playing1());
    EXPECT_EQ(connection().pushButton_22->text(), "连接");
    EXPECT_EQ(in().m_videoCheckTimer(), 0);
    EXPECT_EQ(in().findSurface(win1())->player_handle, 0);
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
    EXPECT_EQ(window->config().video1_play_address, kHistory);
    library().next_handle = -1;
    connection().pushButton_22->click();
    EXPECT_EQ(in().findSurface(win1())->player_handle, -1);
}

TEST_F(Channels, PortThatIsNoNumberIsZero) {
    startWith(3);
    connection().le_ctrlVideoIpPort1->setText("12x");
    connection().pushButton_22->click();
    EXPECT_EQ(library().opens.at(0).port, 0);
    EXPECT_FALSE(library().opens[0].is_rtsp);
    EXPECT_EQ(library().opens[0].url, "239.1.1.1");
}

TEST_F(Channels, SecondChannelHasNeitherSoundNorStallCheck) {
    startWith(0);
    connection().pushButton_23->click();
    ASSERT_EQ(library().opens.size(), 1U);
    EXPECT_EQ(library().opens[0].url, "rtsp://192.168.1.160:554/live/track1");
    EXPECT_EQ(library().opens[0].port, 24001);
    EXPECT_FALSE(library().opens[0].has_audio);
    EXPECT_FALSE(library().opens[0].on_sei);
    EXPECT_TRUE(in().playing2());
    EXPECT_FALSE(in().no_signal2());
    EXPECT_EQ(connection().pushButton_23->text(), "关闭");
    EXPECT_EQ(in().m_videoCheckTimer(), 0);
    EXPECT_EQ(window->config().video1_play_address, kHistory);
    EXPECT_EQ(videoStatus(), "视频2已连接  ");
    connection().pushButton_22->click();
    EXPECT_EQ(videoStatus(), "视频1已连接  视频2已连接  ");
    connection().pushButton_23->click();
    EXPECT_EQ(library().calls.back(), "close 1");
    EXPECT_FALSE(in().playing2());
    EXPECT_TRUE(in().no_signal2());
    EXPECT_EQ(connection().pushButton_23->text(), "连接");
}

TEST_F(Channels, SecondChannelOpensThroughTheLibraryWithTheBlockTypeToo) {
    startWith(2);
    connection().pushButton_23->click();
    ASSERT_EQ(library().opens.size(), 1U);
    EXPECT_TRUE(library().pulls.empty());
    EXPECT_EQ(library().opens[0].url, "192.168.1.160");
    EXPECT_FALSE(library().opens[0].is_rtsp);
}

TEST_F(Channels, UnknownAddressGoesToTheHeadAndAKnownOneChangesPlaces) {
    startWith(0);
    connection().comboBox_2->setEditText("rtsp://10.0.0.9/new");
    connection().pushButton_22->click();
    QStringList expected = kHistory;
    expected.prepend("rtsp://10.0.0.9/new");
    EXPECT_EQ(window->config().video1_play_address, expected);
    EXPECT_EQ(connection().comboBox_2->currentIndex(), 0);
    EXPECT_EQ(connection().comboBox_2->currentText(), "rtsp://10.0.0.9/new");
    connection().pushButton_22->click();
    connection().comboBox_2->setEditText(kHistory[3]);  // the fifth entry by now
    connection().pushButton_22->click();
    EXPECT_EQ(window->config().video1_play_address,
              (QStringList{kHistory[3], kHistory[0], kHistory[1], kHistory[2], "rtsp://10.0.0.9/new",
                           kHistory[4]}));
}

TEST_F(Channels, StreamTypeFiltersTheHistoryAndCutsTheSecondAddress) {
    startWith(0);
    EXPECT_EQ(offered(), (QStringList{kHistory[0], kHistory[1], kHistory[3], kHistory[4]}));
    EXPECT_FALSE(connection().le_ctrlVideoIpPort1->isEnabled());
    EXPECT_FALSE(connection().le_ctrlVideoIpPort2->isEnabled());
    EXPECT_EQ(connection().le_ctrlVideoIpAddr2->text(), "rtsp://192.168.1.160:554/live/track1");
    for (int type : {1, 2, 3}) {
        connection().cbb_stream_type->setCurrentIndex(type);
        EXPECT_EQ(offered(), QStringList{"239.1.1.1"});
        EXPECT_EQ(connection().comboBox_2->currentIndex(), 0);
        EXPECT_TRUE(connection().le_ctrlVideoIpPort1->isEnabled());
        EXPECT_TRUE(connection().le_ctrlVideoIpPort2->isEnabled());
        EXPECT_EQ(connection().le_ctrlVideoIpAddr2->text(), "192.168.1.160");
    }
    connection().cbb_stream_type->setCurrentIndex(0);
    EXPECT_EQ(connection().le_ctrlVideoIpAddr2->text(), "rtsp://192.168.1.160:554/live/track1");
}

TEST_F(Channels, StreamTypesHaveTheirNamesAndTheConfiguredOneIsSelected) {
    startWith(3);
    const QStringList names = {"RTSP", "UDP Raw", "UDP 422", "UDP TS"};
    ASSERT_EQ(connection().cbb_stream_type->count(), 4);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(connection().cbb_stream_type->itemText(i), names[i]);
    }
    EXPECT_EQ(connection().cbb_stream_type->currentIndex(), 3);
}

TEST_F(Channels, TwoStalledTicksAreTwoCyclesEachWithAFreshPeriod) {
    startWith(0);
    connection().pushButton_22->click();
    for (int cycle = 1; cycle <= 2; ++cycle) {
        const int timer = in().m_videoCheckTimer();
        ASSERT_NE(timer, 0);
        tickStallCheck();
        EXPECT_EQ(library().opens.size(), 1U + static_cast<std::size_t>(cycle));
        EXPECT_TRUE(in().playing1());
        EXPECT_NE(in().m_videoCheckTimer(), 0);
    }
    EXPECT_EQ(library().calls,
              (std::vector<std::string>{"open 1", "close 1", "open 2", "close 2", "open 3"}));
}

TEST_F(Channels, PictureSinceTheLastTickKeepsTheStreamOpen) {
    startWith(0);
    connection().pushButton_22->click();
    deliver(320, 256, kGrey);
    ASSERT_TRUE(waitFor([this] { return in().m_videoAlive(); }));
    tickStallCheck();
    EXPECT_EQ(library().opens.size(), 1U);
    EXPECT_FALSE(in().m_videoAlive());
    tickStallCheck();
    EXPECT_EQ(library().opens.size(), 2U);
}

TEST_F(Channels, StalledChannelThatCannotReopenStaysClosed) {
    startWith(0);
    connection().pushButton_22->click();
    library().next_handle = 0;
    tickStallCheck();
    EXPECT_FALSE(in().playing1());
    EXPECT_EQ(in().m_videoCheckTimer(), 0);
    EXPECT_EQ(connection().pushButton_22->text(), "连接");
}

TEST_F(Channels, RecordingAndSnapshotEndWithTheChannel) {
    startWith(0);
    connection().pushButton_22->click();
    connection().pushButton_23->click();
    window->form().action_ctrlRec->setCheckable(true);
    window->form().action_ctrlRec->setChecked(true);
    in().recording1() = in().recording2() = true;
    in().snapping1() = true;
    connection().pushButton_22->click();
    EXPECT_TRUE(window->form().action_ctrlRec->isChecked());  // the second channel still records
    connection().pushButton_23->click();
    EXPECT_FALSE(window->form().action_ctrlRec->isChecked());
    EXPECT_EQ(library().calls, (std::vector<std::string>{"open 1", "open 2", "captureEnd 1", "close 1",
                                                         "StillEnd 1", "captureEnd 2", "close 2"}));
    EXPECT_FALSE(in().recording1() || in().recording2() || in().snapping1());
}

TEST_F(Channels, BlockTypeKeepsNoHandle) {
    startWith(0);
    connection().pushButton_22->click();
    connection().pushButton_22->click();
    connection().cbb_stream_type->setCurrentIndex(2);
    connection().comboBox_2->setEditText("127.0.0.1");
    connection().le_ctrlVideoIpPort1->setText("0");
    connection().pushButton_22->click();
    ASSERT_EQ(library().pulls.size(), 1U);
    EXPECT_TRUE(in().playing1());
    EXPECT_EQ(in().m_videoCheckTimer(), 0);
    EXPECT_EQ(in().findSurface(win1())->player_handle, 1);
    connection().pushButton_22->click();
    EXPECT_EQ(library().calls, (std::vector<std::string>{"open 1", "close 1", "pull", "close 1"}));
}

TEST_F(Channels, BlockTypeWithoutAPortEndsAtOnce) {
    startWith(2);
    connection().le_ctrlVideoIpPort1->setText("70000");
    connection().pushButton_22->click();
    EXPECT_TRUE(library().pulls.empty());
    EXPECT_FALSE(in().playing1());
}

TEST_F(Channels, CachedPicturesOfTheBlockTypeAreDrawnAtTheClose) {
    startWith(0, {{"decode/cache_frame_count_start", 3}});
    connection().pushButton_23->click();
    connection().pushButton_22->click();
    connection().cbb_stream_type->setCurrentIndex(2);
    // The test of the type holds for every channel.
    const auto second = library().opens[0].on_frame;
    for (int i = 0; i < 2; ++i) {
        deliver(second, makeFrame(320 + 2 * i, 256, kGrey, kGrey));
    }
    ASSERT_TRUE(waitFor([this] { return in().frame_cache().size() == 2; }));
    EXPECT_EQ(in().m_frameTimer(), 0);
    EXPECT_EQ(in().frame_width(), 1920);
    connection().pushButton_22->click();
    EXPECT_TRUE(in().frame_cache().empty());
    EXPECT_EQ(in().frame_width(), 322);
    EXPECT_EQ(in().m_showFps(), window->config().show_fps_init);
}

TEST_F(Channels, PacingStartsAtExactlyTheStartCount) {
    startWith(0, {{"decode/cache_frame_count_start", 2}});
    connection().pushButton_22->click();
    connection().cbb_stream_type->setCurrentIndex(2);
    deliver(320, 256, kGrey);
    ASSERT_TRUE(waitFor([this] { return in().frame_cache().size() == 1; }));
    EXPECT_EQ(in().m_frameTimer(), 0);
    deliver(320, 256, kGrey);
    ASSERT_TRUE(waitFor([this] { return in().m_frameTimer() != 0; }));
    EXPECT_TRUE(waitFor([this] { return in().frame_cache().empty() && in().frame_width() == 320; }));
    connection().pushButton_22->click();
    EXPECT_EQ(in().m_frameTimer(), 0);
}

TEST_F(Channels, SoundNeverHoldsTheCloseUpWithOrWithoutADevice) {
    startWith(0);
    connection().pushButton_22->click();
    const auto on_audio = library().opens[0].on_audio;
    std::atomic<int> packets{0};
    std::atomic<bool> stop{false};
    // More sound than any device takes in the time: with one, the thread is waiting for it when the close
    // comes.
    std::thread sound([&] {
        std::vector<unsigned char> packet(1 << 16);
        while (!stop) {
            on_audio(packet.data(), static_cast<int>(packet.size()), 48000, 2);
            ++packets;
            std::this_thread::yield();
        }
        packets = -1;
    });
    EXPECT_TRUE(waitFor([&] { return packets > 0; }));
    library().at_close = [&] {
        stop = true;
        const QDeadlineTimer deadline(5000);
        while (packets >= 0 && !deadline.hasExpired()) {
            std::this_thread::yield();
        }
        EXPECT_EQ(packets, -1);
    };
    connection().pushButton_22->click();
    library().at_close = nullptr;
    stop = true;
    sound.join();
    EXPECT_EQ(library().calls.back(), "close 1");
    // A late packet of a stream that is closed is turned away.
    unsigned char late[4] = {};
    on_audio(late, sizeof late, 48000, 2);
    EXPECT_FALSE(in().playing1());
}

// Two seconds behind the first show the station opens what is still closed, picture and link.
namespace {

class StartUp : public Channels {
protected:
    // `open` runs before the event loop can.
    void startAnd(const std::function<void()>& open) {
        stop();
        fake_tavrik::reset();
        writeConfig({{"common/play_video_on_start", true},
                     {"common/check_video_ms", 600000},
                     {"connection/destination_address", "127.0.0.1"},
                     {"connection/local_bind_port", 0},
                     {"connection/video1_play_address", kHistory}});
        window = std::make_unique<Korvath>();
        setInstance(window.get());
        window->initFirstStage();
        window->initSecondStage();
        EXPECT_FALSE(in().playing1() || linkIsOpen());
        open();
    }
    bool linkIsOpen() const { return in().m_linkState() == kLinkUdp; }
    bool opensTheRest() {
        return waitFor([this] { return in().playing1() && linkIsOpen(); }, 60000);
    }
};

}  // namespace

TEST_F(StartUp, OpensWhatIsStillClosed) {
    startAnd([this] { window->OnOpenVideo1(); });
    EXPECT_TRUE(opensTheRest());
    EXPECT_EQ(library().calls, std::vector<std::string>{"open 1"}) << "what is open stays";
    startAnd([this] { window->OnUdpConnect(); });
    ASSERT_TRUE(linkIsOpen());
    EXPECT_TRUE(opensTheRest());
    EXPECT_EQ(library().calls, std::vector<std::string>{"open 1"}) << "channel 1 alone";
}

TEST_F(Channels, ClosingTheWindowClosesEveryStream) {
    startWith(0);
    connection().pushButton_22->click();
    connection().pushButton_23->click();
    for (int i = 0; i < 5; ++i) {
        deliver(320, 256, kGrey);
    }
    window->close();
    EXPECT_EQ(std::count(library().calls.begin(), library().calls.end(), "close 1"), 1);
    EXPECT_EQ(std::count(library().calls.begin(), library().calls.end(), "close 2"), 1);
}
