// The video groups of the connection dialog, and what opens from them, without the window.
#include <QDialog>
#include <QLabel>

#include "forms/connection_form.h"
#include "tests/fakes/built_form.h"
#include "video/block_stream.h"
#include "video/channel_sound.h"
#include "video/stream_panel.h"
#include "video/stream_rules.h"
#include "video/video_channel.h"
#include "video_parts_fixture.h"

namespace {

using Calls = std::vector<std::string>;

const QStringList kHistory = {"rtsp://192.168.1.160:554/a", "rtsp://192.168.1.160:554/b", "239.1.1.1",
                              "rtsp://192.168.1.160:554/c", "http://192.168.1.160/d"};

class StreamPanelPart : public PicturePartTest {
protected:
    StreamPanelPart() {
        config.video1_play_address = kHistory;
        config.video1_port = 18001;
        config.video2_port = 24001;
        config.video2_play_address = "rtsp://192.168.1.160:554/live/track1";
        config.av_dict_set = "rtsp_transport=udp";
        form.local_address->addItem("127.0.0.1");
    }
    void build(int stream_type) {
        config.video_type = stream_type;
        panel = std::make_unique<StreamPanel>(form, config, [this] { return decoder; });
    }
    QStringList offered() const {
        QStringList texts;
        for (int i = 0; i < form.video1_address->count(); ++i) {
            texts << form.video1_address->itemText(i);
        }
        return texts;
    }

    QDialog dialog;
    Ui::connection ui = builtForm<Ui::connection>(dialog);
    ConnectionForm form{ui};
    std::uint8_t decoder = 1;
    std::unique_ptr<StreamPanel> panel;
};

TEST_F(StreamPanelPart, IsFilledFromTheConfiguration) {
    build(3);
    QStringList names;
    for (int i = 0; i < form.stream_type->count(); ++i) {
        names << form.stream_type->itemText(i);
    }
    EXPECT_EQ(names, (QStringList{"RTSP", "UDP Raw", "UDP 422", "UDP TS"}));
    EXPECT_EQ(panel->streamType(), sorvane::kStreamUdpTs);
    EXPECT_EQ(form.video1_port->text(), "18001");
    EXPECT_EQ(form.video2_port->text(), "24001");
    EXPECT_EQ(offered(), QStringList{"239.1.1.1"});
    EXPECT_TRUE(form.video1_port->isEnabled());
}

TEST_F(StreamPanelPart, AStoredTypeThatIsNoneCountsAsTheFirst) {
    build(4);
    EXPECT_EQ(panel->streamType(), 0);
    form.stream_type->clear();
    build(-1);
    EXPECT_EQ(panel->streamType(), 0);
}

TEST_F(StreamPanelPart, TheTypeDecidesWhatIsOffered) {
    build(0);
    EXPECT_EQ(offered(), (QStringList{kHistory[0], kHistory[1], kHistory[3], kHistory[4]}));
    EXPECT_FALSE(form.video1_port->isEnabled());
    EXPECT_FALSE(form.video2_port->isEnabled());
    EXPECT_EQ(form.video2_address->text(), "rtsp://192.168.1.160:554/live/track1");
    for (const int type : {1, 2, 3}) {
        form.stream_type->setCurrentIndex(type);
        EXPECT_EQ(offered(), QStringList{"239.1.1.1"}) << type;
        EXPECT_EQ(form.video1_address->currentIndex(), 0);
        EXPECT_TRUE(form.video1_port->isEnabled());
        EXPECT_TRUE(form.video2_port->isEnabled());
        EXPECT_EQ(form.video2_address->text(), "192.168.1.160");
    }
}

TEST_F(StreamPanelPart, ARequestIsWhatTheDialogSaysNow) {
    build(0);
    form.video1_address->setEditText("rtsp://10.0.0.9/x");
    StreamRequest request = panel->request(1);
    EXPECT_EQ(request.url, "rtsp://10.0.0.9/x");
    EXPECT_EQ(request.port, 18001);
    EXPECT_EQ(request.local_ip, "127.0.0.1");
    EXPECT_EQ(request.type, 0);
    EXPECT_EQ(request.decoder, 1);
    decoder = 4;
    form.stream_type->setCurrentIndex(1);
    form.video1_address->setEditText(QStringLiteral("rtsp://10.0.0.9/\u00E9\u5F55"));
    EXPECT_EQ(panel->request(1).url, "rtsp://10.0.0.9/\xE9?") << "Latin-1";
    form.video2_port->setText("24x");
    request = panel->request(2);
    EXPECT_EQ(request.url, "192.168.1.160");
    EXPECT_EQ(request.port, 0) << "no number";
    EXPECT_EQ(request.type, 1);
    EXPECT_EQ(request.decoder, 4);
}

TEST_F(StreamPanelPart, AnOpenedAddressGoesToTheHead) {
    build(0);
    form.video1_address->setEditText("rtsp://10.0.0.9/new");
    panel->noteOpened();
    QStringList expected = kHistory;
    expected.prepend("rtsp://10.0.0.9/new");
    EXPECT_EQ(config.video1_play_address, expected);
    EXPECT_EQ(form.video1_address->currentText(), "rtsp://10.0.0.9/new");
    form.video1_address->setEditText(kHistory[3]);
    panel->noteOpened();
    std::swap(expected[0], expected[4]);
    EXPECT_EQ(config.video1_play_address, expected);
}

TEST_F(StreamPanelPart, TheButtonsSayWhatTheyDo) {
    build(0);
    panel->showOpen(true, false);
    EXPECT_EQ(form.video1_open->text(), "关闭");
    EXPECT_EQ(form.video2_open->text(), "连接");
    panel->showOpen(false, true);
    EXPECT_EQ(form.video1_open->text(), "连接");
    EXPECT_EQ(form.video2_open->text(), "关闭");
}

TEST_F(StreamPanelPart, StoreTakesWhatTheEditsHold) {
    build(0);
    form.stream_type->setCurrentIndex(3);
    form.video1_port->setText("1");
    form.video2_port->setText("2");
    form.video2_address->setText("192.0.2.1");
    panel->store();
    EXPECT_EQ(config.video_type, 3);
    EXPECT_EQ(config.video1_port, 1);
    EXPECT_EQ(config.video2_port, 2);
    EXPECT_EQ(config.video2_play_address, "192.0.2.1");
    EXPECT_EQ(config.video1_play_address, kHistory);
}

// --- both channels ---

class Channels : public StreamPanelPart {
protected:
    ~Channels() override {
        sound.stop();
        blocks.close();
        delete[] data;
    }
    void SetUp() override {
        build(0);
        const ChannelActions actions = {[this] { panel->showOpen(playing1, playing2); },
                                        [this] {
                                            ++recordings_ended;
                                            EXPECT_FALSE(recording1 || recording2);
                                        },
                                        [this] { ++state_changes; }};
        const FirstChannel beyond = {
            sound, blocks, check_timer, video_alive, hub, [this](void* run, int size, int kind) {
                runs.push_back(std::to_string(*static_cast<std::uint8_t*>(run)) + " " + std::to_string(size) +
                               " " + std::to_string(kind));
            }};
        first = std::make_unique<VideoChannel>(1, ChannelParts{win1, *panel, *presenter, config, hub},
                                               ChannelFields{playing1, recording1, snapping1, no_signal1},
                                               actions, &beyond);
        second = std::make_unique<VideoChannel>(2, ChannelParts{win2, *panel, *presenter, config, hub},
                                                ChannelFields{playing2, recording2, snapping2, no_signal2},
                                                actions);
    }
    fake_tavrik::State& library() const { return fake_tavrik::state(); }
    int handleOf(const QMyVideoWidget& widget) { return presenter->findSurface(&widget)->player_handle; }

    bool playing1 = false, recording1 = false, snapping1 = false, no_signal1 = true;
    bool playing2 = false, recording2 = false, snapping2 = false, no_signal2 = true;
    int check_timer = 0;
    std::vector<std::string> runs;  // first byte, size and kind of each run of user data
    int recordings_ended = 0;
    int state_changes = 0;
    QAudioOutput* audio_output = nullptr;
    QIODevice* audio_device = nullptr;
    ChannelSound sound{SoundFields{audio_output, audio_device}};
    int udp_port = 0;
    unsigned char* data = nullptr;
    int capacity = 0;
    int size = 0;
    std::mutex mutex;
    BlockStream blocks{udp_port, sorvane::BlockBufferFields{data, capacity, size, mutex}};
    std::unique_ptr<VideoChannel> first;
    std::unique_ptr<VideoChannel> second;
};

TEST_F(Channels, OpeningAsksForTheStreamAsConfigured) {
    config.check_video_ms = 4321;
    first->toggle();
    ASSERT_EQ(library().opens.size(), 1U);
    const fake_tavrik::Open& open = library().opens[0];
    EXPECT_EQ(open.url, kHistory[0].toStdString());
    EXPECT_EQ(open.port, 18001);
    EXPECT_EQ(open.local_ip, "127.0.0.1");
    EXPECT_TRUE(open.is_rtsp);
    EXPECT_EQ(open.av_options, "rtsp_transport=udp");
    EXPECT_EQ(open.decoder, 1);
    EXPECT_TRUE(open.has_audio);
    std::uint8_t byte = 0x5A;
    ASSERT_TRUE(open.on_sei);
    open.on_sei(&byte, 1, 7);
    EXPECT_EQ(runs, (std::vector<std::string>{"90 1 7"}));
    EXPECT_TRUE(playing1);
    EXPECT_FALSE(no_signal1);
    EXPECT_EQ(handleOf(win1), 1);
    EXPECT_EQ(hub.interval(check_timer), 4321);
    EXPECT_TRUE(hub.isOfType(check_timer, Qt::CoarseTimer));
    EXPECT_EQ(form.video1_open->text(), "关闭");
    EXPECT_EQ(state_changes, 1);
}

TEST_F(Channels, ClosingGivesTheHandleBack) {
    first->toggle();
    first->toggle();
    EXPECT_EQ(library().calls, (Calls{"open 1", "close 1"}));
    EXPECT_FALSE(playing1);
    EXPECT_TRUE(no_signal1);
    EXPECT_EQ(check_timer, 0);
    EXPECT_TRUE(QAbstractEventDispatcher::instance()->registeredTimers(&hub).isEmpty());
    EXPECT_EQ(form.video1_open->text(), "连接");
    EXPECT_EQ(state_changes, 2);
    EXPECT_EQ(recordings_ended, 0);
}

TEST_F(Channels, AFailedOpenKeepsTheResultAndNothingElse) {
    library().next_handle = 0;
    first->toggle();
    EXPECT_FALSE(playing1);
    EXPECT_TRUE(no_signal1);
    EXPECT_EQ(check_timer, 0);
    EXPECT_EQ(config.video1_play_address, kHistory);
    EXPECT_EQ(handleOf(win1), 0);
    EXPECT_EQ(state_changes, 1);
    library().next_handle = -1;
    first->toggle();
    EXPECT_EQ(handleOf(win1), -1);
    EXPECT_FALSE(playing1);
}

TEST_F(Channels, TheSecondHasNeitherSoundNorCheckNorHistory) {
    form.video1_address->setEditText("rtsp://10.0.0.9/new");
    second->toggle();
    ASSERT_EQ(library().opens.size(), 1U);
    EXPECT_EQ(library().opens[0].url, "rtsp://192.168.1.160:554/live/track1");
    EXPECT_EQ(library().opens[0].port, 24001);
    EXPECT_FALSE(library().opens[0].has_audio);
    EXPECT_FALSE(library().opens[0].on_sei);
    EXPECT_TRUE(playing2);
    EXPECT_FALSE(no_signal2);
    EXPECT_FALSE(playing1);
    EXPECT_EQ(check_timer, 0);
    EXPECT_EQ(config.video1_play_address, kHistory);
    EXPECT_EQ(form.video2_open->text(), "关闭");
    second->onCheck();
    EXPECT_EQ(library().calls, Calls{"open 1"}) << "no check of its own";
    second->toggle();
    EXPECT_EQ(library().calls, (Calls{"open 1", "close 1"}));
    EXPECT_TRUE(no_signal2);
}

TEST_F(Channels, ACheckReopensAStreamWithoutPictures) {
    first->toggle();
    video_alive = true;
    first->onCheck();
    EXPECT_EQ(library().calls, Calls{"open 1"});
    EXPECT_FALSE(video_alive);
    config.check_video_ms = 5678;
    first->onCheck();
    EXPECT_EQ(library().calls, (Calls{"open 1", "close 1", "open 2"}));
    EXPECT_TRUE(playing1);
    EXPECT_EQ(hub.interval(check_timer), 5678) << "a fresh period";
    EXPECT_EQ(QAbstractEventDispatcher::instance()->registeredTimers(&hub).size(), 1);
    library().next_handle = 0;
    first->onCheck();
    EXPECT_FALSE(playing1);
    EXPECT_EQ(check_timer, 0);
}

TEST_F(Channels, PicturesOfAStreamReachItsWidget) {
    showStage();
    first->toggle();
    second->toggle();
    AVFrame* frame = makeFrame(96, 64, kGrey, kGrey);
    library().opens[0].on_frame(frame, 25.0F, 1);
    av_frame_free(&frame);
    deliver();
    EXPECT_TRUE(video_alive);
    EXPECT_EQ(frame_width, 96);
    EXPECT_FALSE(win1.updatesEnabled());
    EXPECT_TRUE(win2.updatesEnabled());
}

TEST_F(Channels, RecordingAndStillsEndInTheirOrder) {
    first->toggle();
    recording1 = snapping1 = true;
    first->toggle();
    EXPECT_EQ(library().calls, (Calls{"open 1", "captureEnd 1", "close 1", "StillEnd 1"}));
    EXPECT_FALSE(recording1 || snapping1);
    EXPECT_EQ(recordings_ended, 1);
    second->toggle();
    snapping2 = true;
    second->toggle();
    EXPECT_EQ(library().calls.back(), "StillEnd 2");
    EXPECT_EQ(recordings_ended, 1);
}

TEST_F(Channels, SoundIsTurnedAwayBeforeTheStreamCloses) {
    first->toggle();
    const auto on_audio = library().opens[0].on_audio;
    unsigned char packet[4] = {};
    on_audio(packet, sizeof packet, 48000, 2);
    EXPECT_NE(audio_output, nullptr);
    bool closing = false;
    library().at_close = [&] {
        closing = true;
        sound.stop();
        // Not yet closed by itself, only by the gate.
        sound.player()(packet, sizeof packet, 48000, 2);
        EXPECT_EQ(audio_output, nullptr) << "the gate was open while the library waits for its threads";
    };
    first->toggle();
    library().at_close = nullptr;
    EXPECT_TRUE(closing);
    first->toggle();
    library().opens.back().on_audio(packet, sizeof packet, 48000, 2);
    EXPECT_NE(audio_output, nullptr);
    first->toggle();
    EXPECT_EQ(audio_output, nullptr);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

TEST_F(Channels, TheBlockTypePullsAndKeepsNoHandle) {
    first->toggle();
    first->toggle();
    form.stream_type->setCurrentIndex(sorvane::kStreamUdp422);
    form.video1_address->setEditText("127.0.0.1");
    form.video1_port->setText("0");
    decoder = 2;
    state_changes = 0;
    first->toggle();
    ASSERT_EQ(library().pulls.size(), 1U);
    EXPECT_EQ(library().pulls[0].decoder, 2);
    EXPECT_TRUE(playing1);
    EXPECT_FALSE(no_signal1);
    EXPECT_GT(udp_port, 0);
    EXPECT_EQ(check_timer, 0);
    EXPECT_EQ(handleOf(win1), 1);
    EXPECT_EQ(state_changes, 0) << "the status bar does not hear of it";
    EXPECT_EQ(config.video1_play_address.first(), "127.0.0.1");
    // Port and buffer outlast the pull.
    bool closing = false;
    library().at_close = [&] {
        closing = true;
        EXPECT_GT(udp_port, 0);
        EXPECT_NE(data, nullptr);
        EXPECT_TRUE(playing1);
    };
    // What is cached is drawn behind that.
    cached = true;
    post(96, 64, win1);
    deliver();
    QObject::connect(presenter.get(), &PicturePresenter::pictureCame, [this] { EXPECT_EQ(udp_port, 0); });
    first->toggle();
    library().at_close = nullptr;
    EXPECT_TRUE(closing);
    EXPECT_EQ(frame_width, 96);
    EXPECT_EQ(library().calls, (Calls{"open 1", "close 1", "pull", "close 1"}));
    EXPECT_EQ(udp_port, 0);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(state_changes, 1);
}

TEST_F(Channels, TheBlockTypeWithoutItsPortChangesNothing) {
    form.stream_type->setCurrentIndex(sorvane::kStreamUdp422);
    form.video1_port->setText("70000");
    first->toggle();
    EXPECT_TRUE(library().calls.empty());
    EXPECT_FALSE(playing1);
    EXPECT_TRUE(no_signal1);
    EXPECT_EQ(state_changes, 0);
}

TEST_F(Channels, TheSecondOpensThroughTheLibraryWithTheBlockTypeToo) {
    form.stream_type->setCurrentIndex(sorvane::kStreamUdp422);
    second->toggle();
    ASSERT_EQ(library().opens.size(), 1U);
    EXPECT_TRUE(library().pulls.empty());
    EXPECT_FALSE(library().opens[0].is_rtsp);
    EXPECT_EQ(state_changes, 1);
}

TEST_F(Channels, ClosingTheFirstDrawsTheCachedTail) {
    showStage();
    first->toggle();
    cached = true;
    config.cache_frame_count_start = 9;
    post(96, 64, win1);
    deliver();
    ASSERT_EQ(frame_cache.size(), 1U);
    second->toggle();
    second->toggle();
    EXPECT_EQ(frame_cache.size(), 1U);
    bool closing = false;
    library().at_close = [&] {
        closing = true;
        EXPECT_EQ(frame_cache.size(), 1U) << "drawn once the stream has ended";
    };
    first->toggle();
    library().at_close = nullptr;
    EXPECT_TRUE(closing);
    EXPECT_TRUE(frame_cache.empty());
    EXPECT_EQ(frame_width, 96);
}

}  // namespace
