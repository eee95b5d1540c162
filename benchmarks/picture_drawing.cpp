// What it costs to bring a decoded picture to the screen: pictures of one size drawn on a widget of another,
// as fast as it goes.
//   picture_drawing [WIDTH HEIGHT [WIDGET_WIDTH WIDGET_HEIGHT [PICTURES]]]
// Prints the time that the processor spent on one picture, in this process and in the X server (the sibling
// process that scripts/with_display has started). Nothing is asserted.
#include <sys/resource.h>
#include <unistd.h>

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QScreen>
#include <QTemporaryDir>
#include <cstdio>
#include <memory>
#include <vector>

#include "app/config/my_app_config.h"
#include "video/picture_presenter.h"
#include "video/qmyvideowidget.h"
#include "video/video_output.h"

extern "C" {
#include <libavutil/frame.h>
}

namespace {

double ownMs() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto ms = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_usec) / 1e3;
    };
    return ms(usage.ru_utime) + ms(usage.ru_stime);
}

QStringList statOf(const QString& pid) {
    QFile stat("/proc/" + pid + "/stat");
    const QString line = stat.open(QIODevice::ReadOnly) ? QString::fromLatin1(stat.readAll()) : QString();
    return line.mid(line.lastIndexOf(')') + 2).split(' ');
}

QString serverPid() {
    const QString parent = QString::number(getppid());
    for (const QString& pid : QDir("/proc").entryList(QDir::Dirs)) {
        QFile name("/proc/" + pid + "/comm");
        if (name.open(QIODevice::ReadOnly) && name.readAll().trimmed() == "Xvfb" &&
            statOf(pid).value(1) == parent) {
            return pid;
        }
    }
    return {};
}

double serverMs(const QString& pid) {
    const QStringList fields = statOf(pid);
    return (fields.value(11).toDouble() + fields.value(12).toDouble()) * 1e3 /
           static_cast<double>(sysconf(_SC_CLK_TCK));
}

AVFrame* makePicture(int width, int height, int phase) {
    AVFrame* frame = av_frame_alloc();
    frame->width = width;
    frame->height = height;
    frame->format = AV_PIX_FMT_YUV420P;
    av_frame_get_buffer(frame, 0);
    for (int plane = 0; plane < 3; ++plane) {
        const int rows = plane == 0 ? height : (height + 1) / 2;
        for (int i = 0; i < rows * frame->linesize[plane]; ++i) {
            frame->data[plane][i] = static_cast<unsigned char>(16 + (i * 37 / 5 + phase * 11) % 220);
        }
    }
    return frame;
}

}  // namespace

int main(int argc, char* argv[]) {
    const QApplication app(argc, argv);
    const QStringList words = QApplication::arguments();
    const auto number = [&](int index, int otherwise) {
        return words.value(index).isEmpty() ? otherwise : words[index].toInt();
    };
    const int count = number(5, 500);
    QTemporaryDir folder;
    const MyAppConfig config(folder.filePath("appCfg.ini"));
    video_output::init({});
    QMyVideoWidget widget;
    widget.setGeometry(0, 0, number(3, 1795), number(4, 1010));
    widget.show();
    bool alive = false;
    int width = 0, height = 0, timer = 0;
    float rate = 0.0F;
    std::list<FrameParcel*> cache;
    PicturePresenter presenter(
        widget, {alive, width, height, cache, timer, rate}, [] { return 1.0; },
        [&config] { return &config; });
    QApplication::processEvents();
    if (presenter.findOrCreateSurface(widget) == nullptr) {
        return 1;
    }
    std::vector<std::unique_ptr<FrameParcel>> pictures;
    for (int i = 0; i < 8; ++i) {
        pictures.push_back(std::make_unique<FrameParcel>());
        pictures.back()->frame = makePicture(number(1, 1280), number(2, 720), i);
        pictures.back()->widget = &widget;
    }
    const QString server = serverPid();
    double own = 0.0, other = 0.0;
    for (int i = -20; i < count; ++i) {
        if (i == 0) {
            own = ownMs();
            other = serverMs(server);
        }
        presenter.render(*pictures[static_cast<std::size_t>(i + 20) % pictures.size()]);
        QApplication::processEvents();
    }
    own = (ownMs() - own) / count;
    other = (serverMs(server) - other) / count;
    std::printf("%dx%d on %dx%d: own %.3f ms, X server %.3f ms, both %.3f ms a picture\n", width, height,
                widget.width(), widget.height(), own, other, own + other);
    return 0;
}
