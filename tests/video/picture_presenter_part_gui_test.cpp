// Pictures on native windows without the main window: where they appear, in which order, and who frees them.
#include "video_parts_fixture.h"

namespace {

class Presenter : public PicturePartTest {
protected:
    // Delivers the picture until the condition holds, as a stream would.
    bool deliverUntil(int w, int h, Yuv colour, Yuv corner, const std::function<bool()>& condition) {
        return waitFor([&] {
            post(makeFrame(w, h, colour, corner), win1);
            deliver();
            return condition();
        });
    }
};

TEST_F(Presenter, APictureAppearsOnItsWidgetAlone) {
    showStage();
    EXPECT_TRUE(deliverUntil(320, 256, kWhite, kRed, [this] {
        return isAbout(at(win1, 0.25, 0.25), 255, 0, 0) && isAbout(at(win1, 0.75, 0.25), 255, 255, 255) &&
               isAbout(at(win1, 0.25, 0.75), 255, 255, 255);
    }));
    EXPECT_TRUE(isAbout(at(win2, 0.05, 0.05), 0, 0, 0));
    EXPECT_TRUE(video_alive);
    EXPECT_EQ(frame_width, 320);
    EXPECT_EQ(frame_height, 256);
}

TEST_F(Presenter, APictureOfAnotherShapeHasBars) {
    showStage();
    EXPECT_TRUE(deliverUntil(160, 256, kWhite, kWhite, [this] {
        return isAbout(at(win1, 0.5, 0.5), 255, 255, 255) && isAbout(at(win1, 0.3, 0.5), 255, 255, 255) &&
               isAbout(at(win1, 0.2, 0.5), 0, 0, 0) && isAbout(at(win1, 0.8, 0.5), 0, 0, 0);
    }));
}

TEST_F(Presenter, TheStreamsOwnMatrixGivesTheColours) {
    showStage();
    constexpr Yuv kRed709{63, 102, 240};
    EXPECT_TRUE(waitFor([&] {
        AVFrame* frame = makeFrame(320, 256, kRed709, kRed709);
        frame->colorspace = AVCOL_SPC_BT709;
        post(frame, win1);
        deliver();
        return isAbout(at(win1, 0.5, 0.5), 255, 0, 0);
    }));
    EXPECT_TRUE(
        deliverUntil(320, 256, kRed, kRed, [this] { return isAbout(at(win1, 0.5, 0.5), 255, 0, 0); }));
}

TEST_F(Presenter, FollowsAResizeOfTheWidget) {
    showStage();
    ASSERT_TRUE(deliverUntil(320, 256, kWhite, kWhite,
                             [this] { return isAbout(at(win1, 0.5, 0.5), 255, 255, 255); }));
    win1.resize(200, 160);
    presenter->resizeSurface(&win1);
    presenter->resizeSurface(&stage);
    EXPECT_TRUE(deliverUntil(200, 160, kWhite, kRed, [this] {
        return isAbout(at(win1, 0.02, 0.02), 255, 0, 0) && isAbout(at(win1, 0.97, 0.97), 255, 255, 255);
    }));
}

TEST_F(Presenter, ANewNativeWindowIsDrawnOnToo) {
    showStage();
    ASSERT_TRUE(
        deliverUntil(320, 256, kGrey, kGrey, [this] { return isAbout(at(win1, 0.5, 0.5), 128, 128, 128); }));
    const WId before = win1.winId();
    struct Opener : QWidget {
        using QWidget::destroy;
    };
    win1.hide();
    (win1.*static_cast<void (QWidget::*)(bool, bool)>(&Opener::destroy))(true, true);
    EXPECT_EQ(presenter->findSurface(&win1)->sdl_window, nullptr);
    win1.show();
    ASSERT_NE(win1.winId(), before);
    EXPECT_TRUE(deliverUntil(320, 256, kWhite, kWhite,
                             [this] { return isAbout(at(win1, 0.5, 0.5), 255, 255, 255); }));
}

TEST_F(Presenter, TheStatisticsLineStandsWhenItIsConfigured) {
    presenter->start(fontFile(), win1);
    ASSERT_NE(presenter->findSurface(&win1), nullptr) << "the first widget has its surface from the start";
    showStage();
    const auto greenPixels = [this] {
        const QImage image = stage.screen()->grabWindow(win1.winId()).toImage();
        int green = 0;
        for (int y = 10; y < 50; ++y) {
            for (int x = 10; x < 300; ++x) {
                const QRgb p = image.pixel(x, y);
                green += qGreen(p) > 140 && qRed(p) < 110 && qBlue(p) < 110 ? 1 : 0;
            }
        }
        return green;
    };
    config.show_fps = true;
    EXPECT_TRUE(deliverUntil(320, 256, kRed, kRed, [&] { return greenPixels() > 200; }));
    config.show_fps = false;
    EXPECT_TRUE(deliverUntil(320, 256, kRed, kRed, [&] { return greenPixels() == 0; }));
    config_exists = false;
    EXPECT_TRUE(deliverUntil(320, 256, kWhite, kWhite,
                             [this] { return isAbout(at(win1, 0.5, 0.5), 255, 255, 255); }));
}

TEST_F(Presenter, OneSurfaceAWidget) {
    EXPECT_EQ(presenter->findSurface(&win1), nullptr);
    showStage();
    VideoSurface* first = presenter->findOrCreateSurface(win1);
    EXPECT_EQ(first->widget, &win1);
    EXPECT_EQ(first->player_handle, 0);
    EXPECT_EQ(presenter->findOrCreateSurface(win1), first);
    VideoSurface* second = presenter->findOrCreateSurface(win2);
    EXPECT_NE(second, first);
    EXPECT_EQ(presenter->findSurface(&win1), first);
    EXPECT_EQ(presenter->findSurface(&win2), second);
    EXPECT_EQ(presenter->findSurface(&stage), nullptr);
}

TEST_F(Presenter, APictureOfAWidgetWithoutASurfaceIsFreedUnseen) {
    showStage();
    post(makeCountedFrame(64, 64, freed), win2);
    deliver();
    EXPECT_EQ(freed, 1);
    EXPECT_FALSE(video_alive);
    EXPECT_EQ(frame_width, 1920);
    EXPECT_TRUE(win2.updatesEnabled());
}

TEST_F(Presenter, WhatCannotBeScaledIsSkipped) {
    showStage();
    AVFrame* odd = makeCountedFrame(64, 64, freed);
    odd->format = AV_PIX_FMT_NONE;
    post(odd, win1);
    deliver();
    EXPECT_EQ(freed, 1);
    EXPECT_TRUE(deliverUntil(320, 256, kWhite, kWhite,
                             [this] { return isAbout(at(win1, 0.5, 0.5), 255, 255, 255); }));
}

TEST_F(Presenter, AnEventWithoutAPictureDoesNothing) {
    showStage();
    QMyEvent empty(EVT_VIDEO_FRAME, nullptr, nullptr, 0);
    presenter->take(empty, false);
    presenter->take(empty, true);
    EXPECT_TRUE(frame_cache.empty());
    EXPECT_FALSE(video_alive);
}

TEST_F(Presenter, QtPaintsAgainASecondAfterTheLastPicture) {
    showStage();
    post(64, 64, win1);
    deliver();
    EXPECT_FALSE(win1.updatesEnabled());
    EXPECT_EQ(presenter->findSurface(&win1)->idle_timer->interval(), 1000);
    EXPECT_TRUE(waitFor([this] { return win1.updatesEnabled(); }));
    EXPECT_FALSE(presenter->findSurface(&win1)->idle_timer->isActive());
}

// Pictures that come faster than they can be drawn must leave room for input and timers.
TEST_F(Presenter, OneTurnOfTheEventLoopDrawsOnePicture) {
    showStage();
    for (int i = 0; i < 4; ++i) {
        post(makeCountedFrame(64 + 2 * i, 64, freed), win1);
    }
    deliver();
    EXPECT_EQ(frame_width, 64);
    EXPECT_EQ(freed, 1);
    std::vector<int> widths;
    EXPECT_TRUE(waitFor([&] {
        if (widths.empty() || widths.back() != frame_width) {
            widths.push_back(frame_width);
        }
        return freed == 4;
    }));
    EXPECT_EQ(frame_width, 70);
    EXPECT_TRUE(std::is_sorted(widths.begin(), widths.end()));
    // The next one is at once again, when the turn's timer has seen that nothing waits.
    EXPECT_TRUE(waitFor([&] {
        post(makeCountedFrame(90, 64, freed), win1);
        deliver();
        return frame_width == 90;
    }));
}

TEST_F(Presenter, TheOneTimerOfTheTurnsEndsWhenNothingWaits) {
    showStage();
    post(64, 64, win1);
    deliver();
    const auto timers = [this] {
        return QAbstractEventDispatcher::instance()->registeredTimers(presenter.get()).size();
    };
    EXPECT_EQ(timers(), 1);
    EXPECT_TRUE(waitFor([&] { return timers() == 0; }));
}

TEST_F(Presenter, ClosingDrawsNothingMoreAndClosesEveryStream) {
    showStage();
    presenter->findSurface(&win1)->player_handle = 11;
    presenter->findOrCreateSurface(win2)->player_handle = 12;
    for (int i = 0; i < 3; ++i) {
        post(makeCountedFrame(64 + 2 * i, 64, freed), win1);
    }
    deliver();
    presenter->closeStreams();
    EXPECT_EQ(fake_tavrik::state().calls, (std::vector<std::string>{"close 11", "close 12", "close 0"}));
    EXPECT_TRUE(QAbstractEventDispatcher::instance()->registeredTimers(presenter.get()).isEmpty());
    presenter->dropPictures();
    EXPECT_EQ(freed, 3);
    EXPECT_EQ(frame_width, 64);
    for (const bool cache : {false, true}) {
        cached = cache;
        post(makeCountedFrame(66, 64, freed), win1);
        deliver();
    }
    EXPECT_EQ(freed, 5) << "pictures that were still under way";
    EXPECT_TRUE(frame_cache.empty());
    EXPECT_EQ(frame_timer, 0);
    EXPECT_EQ(frame_width, 64);
}

TEST_F(Presenter, TheEndFreesWhatStillWaits) {
    showStage();
    for (int i = 0; i < 3; ++i) {
        post(makeCountedFrame(64, 64, freed), win1);
    }
    deliver();
    cached = true;
    post(makeCountedFrame(64, 64, freed), win1);
    deliver();
    EXPECT_EQ(freed, 1);
    presenter.reset();
    EXPECT_EQ(freed, 4);
    EXPECT_TRUE(frame_cache.empty());
}

// --- the cache ---

class Cache : public Presenter {
protected:
    Cache() {
        cached = true;
        config.cache_frame_count_start = 2;
        config.show_fps_modify = 1.5F;
        config.show_fps_min = 39;
        config.cache_frame_count_max = 3;
        config.show_fps_init = 41.0F;
    }
    void cache(int pictures) {
        for (int i = 0; i < pictures; ++i) {
            post(64 + 2 * static_cast<int>(frame_cache.size()), 64, win1);
            deliver();
        }
    }
};

TEST_F(Cache, ThatNobodyDrainsIsBounded) {
    showStage();
    config.cache_frame_count_start = 0;
    cache(260);
    EXPECT_EQ(frame_timer, 0);
    EXPECT_EQ(frame_cache.size(), 250U);
}

TEST_F(Cache, KeepsPicturesUntilExactlyTheStartCount) {
    showStage();
    cache(1);
    EXPECT_EQ(frame_cache.size(), 1U);
    EXPECT_EQ(frame_timer, 0);
    EXPECT_EQ(frame_width, 1920);
    cache(1);
    EXPECT_EQ(hub.interval(frame_timer), 25);
    EXPECT_TRUE(hub.isOfType(frame_timer, Qt::PreciseTimer));
    const int running = frame_timer;
    cache(1);
    EXPECT_EQ(frame_timer, running);
    // Beyond the start count no timer begins by itself.
    hub.killTimer(frame_timer);
    frame_timer = 0;
    cache(1);
    EXPECT_EQ(frame_timer, 0);
}

TEST_F(Cache, WithoutASettingNoTimerStarts) {
    showStage();
    config_exists = false;
    cache(3);
    EXPECT_EQ(frame_cache.size(), 3U);
    EXPECT_EQ(frame_timer, 0);
}

TEST_F(Cache, ATickDrawsTheOldestAndStartsAnew) {
    showStage();
    cache(2);
    const int first = frame_timer;
    presenter->onFrameTimer();
    EXPECT_EQ(frame_width, 64);
    EXPECT_EQ(frame_cache.size(), 1U);
    EXPECT_FLOAT_EQ(show_fps, 40.0F);
    EXPECT_EQ(hub.interval(frame_timer), 25);
    EXPECT_TRUE(hub.isOfType(frame_timer, Qt::PreciseTimer));
    presenter->onFrameTimer();
    EXPECT_EQ(frame_width, 66);
    EXPECT_EQ(QAbstractEventDispatcher::instance()->registeredTimers(&hub).size(), 1) << first;
}

TEST_F(Cache, AnEmptyCacheSlowsDownAndAFullOneSpeedsUp) {
    showStage();
    presenter->onFrameTimer();
    EXPECT_FLOAT_EQ(show_fps, 39.0F) << "no slower than the least";
    EXPECT_EQ(hub.interval(frame_timer), 25);
    cache(4);
    presenter->onFrameTimer();
    EXPECT_FLOAT_EQ(show_fps, 39.0F) << "three may wait";
    cache(2);
    presenter->onFrameTimer();
    EXPECT_FLOAT_EQ(show_fps, 40.5F);
    EXPECT_EQ(hub.interval(frame_timer), 24);
}

TEST_F(Cache, TheTailIsDrawnAtTheClose) {
    showStage();
    cache(3);
    show_fps = 50.0F;
    presenter->drawCachedTail();
    EXPECT_TRUE(frame_cache.empty());
    EXPECT_EQ(frame_width, 68);
    EXPECT_EQ(frame_timer, 0);
    EXPECT_TRUE(QAbstractEventDispatcher::instance()->registeredTimers(&hub).isEmpty());
    EXPECT_FLOAT_EQ(show_fps, 41.0F);
}

TEST_F(Cache, TheTimerOfTheFieldDrivesIt) {
    showStage();
    hub.on_timer = [this](int id) {
        if (id == frame_timer) {
            presenter->onFrameTimer();
        }
    };
    cache(2);
    EXPECT_TRUE(waitFor([this] { return frame_cache.empty(); }));
    EXPECT_EQ(frame_width, 66);
    presenter->closeStreams();
    EXPECT_EQ(frame_timer, 0);
    EXPECT_TRUE(QAbstractEventDispatcher::instance()->registeredTimers(&hub).isEmpty());
}

}  // namespace
