// The main window with a stand-in for the stream library, pictures made by the test, and a pod that is a
// socket.
#pragma once

#include <QAction>
#include <QElapsedTimer>
#include <QScreen>
#include <QUdpSocket>
#include <QWindow>
#include <vector>

#include "korvath_fixture.h"
#include "tests/fakes/fake_tavrik.h"
#include "tests/fakes/pictures.h"
#include "video/qmyvideowidget.h"
#include "video/video_surface.h"
#include "widgets/my_trans_dlg.h"

class VideoTest : public KorvathTest {
protected:
    void SetUp() override { fake_tavrik::reset(); }

    QMyVideoWidget* win1() const { return ui().videoWin1; }
    QMyVideoWidget* win2() const { return ui().videoWin2; }
    fake_tavrik::State& library() const { return fake_tavrik::state(); }
    Ui::connection& connection() const { return *in().ui_connection(); }

    // What the stream library's decoder thread does with a picture.
    void deliver(const tavrik::FrameCallback& on_frame, AVFrame* frame, float fps = 25.0F,
                 int bitrate = 1234) const {
        on_frame(frame, fps, bitrate);
        av_frame_free(&frame);
    }
    void deliver(int width, int height, Yuv colour, Yuv corner) const {
        deliver(library().opens.back().on_frame, makeFrame(width, height, colour, corner));
    }
    void deliver(int width, int height, Yuv colour) const { deliver(width, height, colour, colour); }

    // Without a compositor the server has the floating pane's pixels in the picture's place.
    void foldStatusPane() const {
        if (ui().widget_stat->isVisible()) {
            window->OnButtonStatPaneClicked();
        }
        ASSERT_TRUE(waitFor([this] { return !in().m_statPane()->isVisible(); }));
    }
    // The widget's pixels as the X server has them.
    QImage onScreen(QWidget* widget) const {
        return window->screen()->grabWindow(widget->winId()).toImage().convertToFormat(QImage::Format_RGB32);
    }
    static bool isAbout(QRgb pixel, int r, int g, int b) {
        return qAbs(qRed(pixel) - r) < 24 && qAbs(qGreen(pixel) - g) < 24 && qAbs(qBlue(pixel) - b) < 24;
    }
};

// The pod's end of a UDP link on loopback.
class Pod {
public:
    bool bind() { return socket.bind(QHostAddress(QHostAddress::LocalHost)); }
    int port() const { return socket.localPort(); }
    // Everything received since the last call.
    std::vector<QByteArray> take() {
        std::vector<QByteArray> result;
        while (socket.hasPendingDatagrams()) {
            QByteArray bytes(static_cast<int>(socket.pendingDatagramSize()), 0);
            socket.readDatagram(bytes.data(), bytes.size());
            result.push_back(bytes);
        }
        return result;
    }

private:
    QUdpSocket socket;
};
