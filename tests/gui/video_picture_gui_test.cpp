// Pictures on the widgets' native windows, read back from the X server.
#include <QPainter>

#include "video_fixture.h"

namespace {

class Picture : public VideoTest {
protected:
    void startPlaying(const QMap<QString, QVariant>& more = {}) {
        QMap<QString, QVariant> values = {{"common/video_display_mode", 2},
                                          {"common/check_video_ms", 600000}};
        for (auto it = more.begin(); it != more.end(); ++it) {
            values[it.key()] = it.value();
        }
        start(values);
        foldStatusPane();
        window->OnOpenVideo1();
        ASSERT_TRUE(in().playing1());
    }
    // The pixel at a fraction of the widget.
    QRgb at(QWidget* widget, double fx, double fy) const {
        const QImage image = onScreen(widget);
        return image.pixel(static_cast<int>(fx * (image.width() - 1)),
                           static_cast<int>(fy * (image.height() - 1)));
    }
    // Delivers the picture until the condition holds, as a stream would.
    bool deliverUntil(int w, int h, Yuv colour, Yuv corner, const std::function<bool()>& condition) const {
        return waitFor([&] {
            deliver(w, h, colour, corner);
            QCoreApplication::processEvents();
            return condition();
        });
    }
    // A picture of the widget's own shape, so that there are no bars to speak of.
    QSize shapeOf(QWidget* w) const { return {w->width() & ~1, w->height() & ~1}; }
    static int litPixels(const QImage& image, const QRect& where, const std::function<bool(QRgb)>& lit) {
        int n = 0;
        for (int y = where.top(); y <= where.bottom(); ++y) {
            for (int x = where.left(); x <= where.right(); ++x) {
                n += lit(image.pixel(x, y)) ? 1 : 0;
            }
        }
        return n;
    }
    // "No Signal" is grey (150, 150, 150) on black.
    bool noSignalShown(QWidget* widget) const {
        const QImage image = onScreen(widget);
        return litPixels(image, image.rect(), [](QRgb p) { return isAbout(p, 150, 150, 150); }) > 100;
    }
};

const auto kIsGreen = [](QRgb p) { return qGreen(p) > 140 && qRed(p) < 110 && qBlue(p) < 110; };

}  // namespace

TEST_F(Picture, NoSignalStandsWhereNothingPlays) {
    start({{"common/video_display_mode", 2}});
    foldStatusPane();
    EXPECT_TRUE(waitFor([this] { return noSignalShown(win1()) && noSignalShown(win2()); }));
    EXPECT_FALSE(window->noSignalTest(1));
    EXPECT_FALSE(window->noSignalTest(2));
    EXPECT_FALSE(window->noSignalTest(3));
    // The text's base line begins where the centred box would: it stands above the middle.
    // A folded pane may still be fading out over the picture.
    const auto grey = [](QRgb p) { return isAbout(p, 150, 150, 150); };
    const auto lit = [&](bool above) {
        const QImage image = onScreen(win1());
        const int half = image.height() / 2;
        return litPixels(
            image, above ? QRect(0, 0, image.width(), half) : QRect(0, half + 20, image.width(), half - 20),
            grey);
    };
    EXPECT_TRUE(waitFor([&] { return lit(true) > 100 && lit(false) == 0; }))
        << lit(true) << ", " << lit(false);
}

TEST_F(Picture, DeliveredPictureAppearsOnItsWidgetAlone) {
    startPlaying();
    const QSize size = shapeOf(win1());
    EXPECT_TRUE(deliverUntil(size.width(), size.height(), kWhite, kRed, [this] {
        return isAbout(at(win1(), 0.25, 0.25), 255, 0, 0) && isAbout(at(win1(), 0.75, 0.25), 255, 255, 255) &&
               isAbout(at(win1(), 0.25, 0.75), 255, 255, 255);
    }));
    EXPECT_TRUE(noSignalShown(win2()));
    EXPECT_EQ(in().frame_width(), size.width());
    EXPECT_EQ(in().frame_height(), size.height());
}

TEST_F(Picture, BothChannelsShowTheirOwn) {
    startPlaying();
    window->OnOpenVideo2();
    EXPECT_TRUE(waitFor([this] {
        deliver(library().opens[0].on_frame, makeFrame(640, 512, kWhite, kWhite));
        deliver(library().opens[1].on_frame, makeFrame(640, 512, kRed, kRed));
        QCoreApplication::processEvents();
        return isAbout(at(win1(), 0.5, 0.5), 255, 255, 255) && isAbout(at(win2(), 0.5, 0.5), 255, 0, 0);
    }));
}

TEST_F(Picture, LetterboxBarsAreBlack) {
    startPlaying();
    const int h = win1()->height() & ~1;
    const int w = (win1()->width() / 2) & ~1;  // half as wide as the widget: bars of a quarter at each side
    EXPECT_TRUE(deliverUntil(w, h, kWhite, kWhite, [this] {
        return isAbout(at(win1(), 0.5, 0.5), 255, 255, 255) && isAbout(at(win1(), 0.3, 0.5), 255, 255, 255) &&
               isAbout(at(win1(), 0.2, 0.5), 0, 0, 0) && isAbout(at(win1(), 0.8, 0.5), 0, 0, 0);
    }));
}

TEST_F(Picture, FollowsAResizeAndKeepsItsPlace) {
    startPlaying();
    deliverUntil(640, 512, kGrey, kGrey, [this] { return isAbout(at(win1(), 0.5, 0.5), 128, 128, 128); });
    window->showNormal();
    ASSERT_TRUE(waitFor([this] { return !window->isMaximized(); }));
    for (const QSize& size : {QSize(1200, 700), QSize(1500, 900)}) {
        window->resize(size);
        ASSERT_TRUE(waitFor([&] { return window->size() == size; }));
        const QRect place = win1()->geometry();
        const QSize shape = shapeOf(win1());
        EXPECT_TRUE(deliverUntil(shape.width(), shape.height(), kWhite, kRed, [this] {
            return isAbout(at(win1(), 0.02, 0.02), 255, 0, 0) &&
                   isAbout(at(win1(), 0.97, 0.97), 255, 255, 255);
        })) << size.width();
        EXPECT_EQ(win1()->geometry(), place);
    }
}

TEST_F(Picture, ChangedResolutionIsTakenOverWithTheNextPicture) {
    startPlaying();
    deliver(640, 512, kGrey);
    ASSERT_TRUE(waitFor([this] { return in().frame_width() == 640; }));
    deliver(1280, 720, kGrey);
    ASSERT_TRUE(waitFor([this] { return in().frame_width() == 1280; }));
    EXPECT_EQ(in().frame_height(), 720);
    EXPECT_EQ(window->frameWidth(), 1280);
}

// Both channels play at different sizes: what is clicked is a point of the picture under the pointer,
// whichever was drawn last.
TEST_F(Picture, AClickOnTheFirstPictureIsAPointOfThatPicture) {
    Pod pod;
    ASSERT_TRUE(pod.bind());
    startPlaying({{"common/send_single", true},
                  {"connection/destination_address", "127.0.0.1"},
                  {"connection/destination_port", pod.port()},
                  {"connection/local_bind_port", 0}});
    connection().comboBox->addItem("127.0.0.1");
    connection().comboBox->setCurrentIndex(connection().comboBox->count() - 1);
    window->OnUdpConnect();
    ASSERT_EQ(window->linkState(), kLinkUdp);
    window->OnOpenVideo2();
    const QSize shape = shapeOf(win1());
    deliver(library().opens[0].on_frame, makeFrame(shape.width() * 2, shape.height() * 2, kWhite, kWhite));
    ASSERT_TRUE(waitFor([&] { return in().frame_width() == shape.width() * 2; }));
    deliver(library().opens[1].on_frame, makeFrame(320, 256, kRed, kRed));
    ASSERT_TRUE(waitFor([this] { return in().frame_width() == 320; }));
    pod.take();
    QTest::mouseClick(win1()->windowHandle(), Qt::LeftButton, Qt::NoModifier,
                      QPoint(win1()->width() / 2 + 100, win1()->height() / 2));
    QByteArray sent;
    ASSERT_TRUE(waitFor([&] {
        for (const QByteArray& frame : pod.take()) {
            sent = frame.mid(4, 1) == QByteArray("\x3a") ? frame : sent;
        }
        return !sent.isEmpty();
    }));
    const int x = static_cast<std::int16_t>(static_cast<unsigned char>(sent[6]) |
                                            (static_cast<unsigned char>(sent[7]) << 8));
    EXPECT_NEAR(x, 200, 4);
}

TEST_F(Picture, QtPaintsNothingWhilePicturesRunAndLeavesTheLastOne) {
    startPlaying();
    ASSERT_TRUE(deliverUntil(640, 512, kWhite, kWhite,
                             [this] { return isAbout(at(win1(), 0.5, 0.5), 255, 255, 255); }));
    EXPECT_FALSE(win1()->updatesEnabled());
    win1()->update();
    win1()->repaint();
    QCoreApplication::processEvents();
    EXPECT_TRUE(isAbout(at(win1(), 0.5, 0.5), 255, 255, 255));
    // Pictures stop: painting returns, the last picture stays since the stream is still open.
    ASSERT_TRUE(waitFor([this] { return win1()->updatesEnabled(); }));
    win1()->update();
    window->update();
    QCoreApplication::processEvents();
    EXPECT_TRUE(isAbout(at(win1(), 0.5, 0.5), 255, 255, 255));
    EXPECT_FALSE(noSignalShown(win1()));
}

TEST_F(Picture, NoSignalComesBackAfterTheClose) {
    startPlaying();
    ASSERT_TRUE(deliverUntil(640, 512, kWhite, kWhite,
                             [this] { return isAbout(at(win1(), 0.5, 0.5), 255, 255, 255); }));
    window->OnOpenVideo1();
    EXPECT_TRUE(waitFor([this] { return noSignalShown(win1()); }));
}

TEST_F(Picture, ReplayHidesTheTextWhilePicturesComeAndShowsItAfter) {
    start({{"common/video_display_mode", 2}});
    foldStatusPane();
    ASSERT_TRUE(waitFor([this] { return noSignalShown(win1()); }));
    // A replay leaves the no-signal state set.
    const auto replay = [this] {
        auto* parcel = new FrameParcel;
        parcel->frame = makeFrame(640, 512, kWhite, kWhite);
        parcel->widget = win1();
        QCoreApplication::postEvent(window.get(), new QMyEvent(EVT_VIDEO_FRAME, nullptr, parcel, 0));
        QCoreApplication::processEvents();
    };
    // Without the font at the start the surface would be missing; the first open makes it in any case.
    ASSERT_NE(in().findSurface(win1()), nullptr);
    ASSERT_TRUE(waitFor([&] {
        replay();
        return isAbout(at(win1(), 0.5, 0.5), 255, 255, 255);
    }));
    EXPECT_TRUE(in().no_signal1());
    EXPECT_FALSE(noSignalShown(win1()));
    EXPECT_TRUE(waitFor([this] { return noSignalShown(win1()); }));
}

TEST_F(Picture, StatisticsLineStandsAtTheTargetsCorner) {
    startPlaying({{"decode/show_fps", true}});
    // Bars left and right: the line is on the bar, at the corner of the widget.
    EXPECT_TRUE(deliverUntil(200, 800, kRed, kRed, [this] {
        return litPixels(onScreen(win1()), QRect(10, 10, 300, 40), kIsGreen) > 200;
    }));
    const QImage image = onScreen(win1());
    EXPECT_EQ(litPixels(image, QRect(0, 0, 9, image.height()), kIsGreen), 0);
    EXPECT_EQ(litPixels(image, QRect(0, 0, image.width(), 9), kIsGreen), 0);
}

TEST_F(Picture, WithoutTheKeyThereIsNoStatisticsLine) {
    startPlaying({{"decode/show_fps", false}});
    ASSERT_TRUE(deliverUntil(640, 512, kWhite, kWhite,
                             [this] { return isAbout(at(win1(), 0.5, 0.5), 255, 255, 255); }));
    EXPECT_EQ(litPixels(onScreen(win1()), QRect(0, 0, 320, 60), kIsGreen), 0);
}

TEST_F(Picture, CollapsedWidgetsStreamKeepsRunning) {
    startPlaying({{"common/video_display_mode", 1}});
    EXPECT_EQ(ui().splitter->sizes().first(), 0);
    deliver(640, 512, kGrey);
    EXPECT_TRUE(waitFor([this] { return in().m_videoAlive() && in().frame_width() == 640; }));
    EXPECT_TRUE(in().playing1());
    window->applyViewMode(0);
    EXPECT_TRUE(deliverUntil(640, 512, kWhite, kWhite,
                             [this] { return isAbout(at(win1(), 0.5, 0.5), 255, 255, 255); }));
}

TEST_F(Picture, PictureThatCannotBeScaledIsSkipped) {
    startPlaying();
    AVFrame* odd = makeFrame(64, 64, kGrey, kGrey);
    odd->format = AV_PIX_FMT_NONE;
    deliver(library().opens[0].on_frame, odd);
    EXPECT_TRUE(deliverUntil(640, 512, kWhite, kWhite,
                             [this] { return isAbout(at(win1(), 0.5, 0.5), 255, 255, 255); }));
}

TEST_F(Picture, NewNativeWindowIsDrawnOnToo) {
    startPlaying();
    ASSERT_TRUE(deliverUntil(640, 512, kGrey, kGrey,
                             [this] { return isAbout(at(win1(), 0.5, 0.5), 128, 128, 128); }));
    const WId before = win1()->winId();
    // What a change of screens or flags does: the toolkit gives the widget another native window.
    struct Opener : QWidget {
        using QWidget::destroy;
    };
    win1()->hide();
    (win1()->*static_cast<void (QWidget::*)(bool, bool)>(&Opener::destroy))(true, true);
    win1()->show();
    ASSERT_NE(win1()->winId(), before);
    EXPECT_TRUE(deliverUntil(640, 512, kWhite, kWhite,
                             [this] { return isAbout(at(win1(), 0.5, 0.5), 255, 255, 255); }));
}
