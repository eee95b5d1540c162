// The parts of the pictures on two bare widgets, with a stand-in for the stream library.
#pragma once

#include <gtest/gtest.h>

#include <QAbstractEventDispatcher>
#include <QScreen>
#include <QTemporaryDir>
#include <QTest>
#include <QTimerEvent>
#include <algorithm>
#include <memory>

#include "app/config/my_app_config.h"
#include "tests/fakes/event_catcher.h"
#include "tests/fakes/fake_tavrik.h"
#include "tests/fakes/pictures.h"
#include "tests/widgets/wait.h"
#include "video/frame_post.h"
#include "video/picture_presenter.h"
#include "video/qmyvideowidget.h"
#include "video/video_output.h"

// Receives the pictures as the window does, and owns the timers whose ids the fields hold.
class PictureHub : public EventCatcher {
public:
    std::function<void(int id)> on_timer;

    int interval(int id) const {
        const auto timers =
            QAbstractEventDispatcher::instance()->registeredTimers(const_cast<PictureHub*>(this));
        for (const auto& info : timers) {
            if (info.timerId == id) {
                return info.interval;
            }
        }
        return -1;
    }
    bool isOfType(int id, Qt::TimerType type) const {
        const auto timers =
            QAbstractEventDispatcher::instance()->registeredTimers(const_cast<PictureHub*>(this));
        return std::any_of(timers.begin(), timers.end(),
                           [&](const auto& info) { return info.timerId == id && info.timerType == type; });
    }

protected:
    void timerEvent(QTimerEvent* e) override {
        if (on_timer) {
            on_timer(e->timerId());
        }
    }
};

inline bool isAbout(QRgb pixel, int r, int g, int b) {
    return qAbs(qRed(pixel) - r) < 24 && qAbs(qGreen(pixel) - g) < 24 && qAbs(qBlue(pixel) - b) < 24;
}

class PicturePartTest : public ::testing::Test {
protected:
    PicturePartTest() {
        fake_tavrik::reset();
        video_output::init(fontFile());
        stage.resize(660, 280);
        win1.setObjectName("videoWin1");
        win1.setGeometry(10, 10, 320, 256);
        win2.setObjectName("videoWin2");
        win2.setGeometry(335, 10, 320, 256);
        hub.on_event = [this](int number, QMyEvent& e) {
            ASSERT_EQ(number, EVT_VIDEO_FRAME);
            presenter->take(e, cached);
        };
    }
    static QString fontFile() { return QCoreApplication::applicationDirPath() + "/fonts/msyh.ttc"; }
    void showStage() {
        stage.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&stage));
        ASSERT_NE(presenter->findOrCreateSurface(win1), nullptr);
    }

    // A parcel on its way, as the decoder's thread posts it.
    void post(AVFrame* frame, QMyVideoWidget& widget) {
        frameCallback(&hub, &widget)(frame, 25.0F, 1234);
        av_frame_free(&frame);
    }
    void post(int width, int height, QMyVideoWidget& widget) {
        post(makeFrame(width, height, kGrey, kGrey), widget);
    }
    // All that has been posted, without a turn of the event loop.
    void deliver() { QCoreApplication::sendPostedEvents(&hub); }

    // The pixel at a fraction of the widget, as the X server has it.
    QRgb at(QMyVideoWidget& widget, double fx, double fy) const {
        const QImage image = stage.screen()->grabWindow(widget.winId()).toImage();
        return image.pixel(static_cast<int>(fx * (image.width() - 1)),
                           static_cast<int>(fy * (image.height() - 1)));
    }

    QTemporaryDir folder;
    MyAppConfig config{folder.filePath("appCfg.ini")};
    bool config_exists = true;
    PictureHub hub;
    QWidget stage;
    QMyVideoWidget win1{&stage};
    QMyVideoWidget win2{&stage};

    int freed = 0;  // pictures made with makeCountedFrame
    bool cached = false;
    bool video_alive = false;
    int frame_width = 1920;
    int frame_height = 1080;
    std::list<FrameParcel*> frame_cache;
    int frame_timer = 0;
    float show_fps = 40.0F;
    std::unique_ptr<PicturePresenter> presenter = std::make_unique<PicturePresenter>(
        hub, PictureFields{video_alive, frame_width, frame_height, frame_cache, frame_timer, show_fps},
        [] { return 1.0; }, [this]() -> const MyAppConfig* { return config_exists ? &config : nullptr; });
};
