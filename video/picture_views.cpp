#include "video/picture_views.h"

#include <QCoreApplication>
#include <QSplitter>

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Korvath)
};

}  // namespace

void layOutPictures(QSplitter& pictures, int mode) {
    if (mode <= 1) {
        pictures.setHandleWidth(0);
        pictures.setSizes(mode == 0 ? QList<int>{1, 0} : QList<int>{0, 1});
    } else {
        pictures.setHandleWidth(5);
        pictures.setOrientation(mode == 2 ? Qt::Horizontal : Qt::Vertical);
        pictures.setSizes({1, 1});
    }
}

QString pictureStateText(const PictureStates& states) {
    QString text;
    const auto add = [&text](bool state, const QString& words) {
        if (state) {
            text += words;
        }
    };
    add(states.playing1, Texts::tr("视频1已连接  "));
    add(states.replay == 1, Texts::tr("录像重放中  "));
    add(states.replay == 2, Texts::tr("录像重放暂停  "));
    add(states.recording1, Texts::tr("视频1录制中  "));
    add(states.playing2, Texts::tr("视频2已连接  "));
    add(states.recording2, Texts::tr("视频2录制中"));
    return text.isEmpty() ? Texts::tr("视频未连接") : text;
}

QString pictureStateTone(const PictureStates& states) {
    if (states.recording1 || states.recording2) {
        return QStringLiteral("danger");
    }
    const bool plays = states.playing1 || states.playing2 || states.replay != 0;
    return plays ? QStringLiteral("ok") : QStringLiteral("warn");
}
