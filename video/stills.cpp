#include "video/stills.h"

#include <QDebug>
#include <QDir>
#include <QTextCodec>
#include <utility>

#include "app/config/my_app_config.h"
#include "tavrik/tavrik.h"
#include "video/recording_rules.h"

namespace {

// The stream library takes the paths of pictures in this encoding.
QByteArray toGbk(const QString& text) {
    const QTextCodec* codec = QTextCodec::codecForName("gbk");
    return codec != nullptr ? codec->fromUnicode(text) : text.toUtf8();
}

}  // namespace

Stills::Stills(Channels channels, QString& dir, const MyAppConfig& config, StillsActions actions)
    : m_channels(std::move(channels)), m_dir(dir), m_config(config), m_actions(std::move(actions)) {}

void Stills::takeSingle() {
    if (!m_channels[0].open && !m_channels[1].open) {
        return;
    }
    const QString base = m_config.default_record_open_directory;
    if (!QDir(base).exists() && !QDir().mkpath(base)) {
        qDebug("OnSingleSnap: Create dir failed!");
        return;
    }
    const sorvane::CalendarTime now = m_actions.local_clock();
    m_dir = QString::fromStdString(sorvane::datedDirectory(base.toStdString(), now));
    const QByteArray base_bytes = toGbk(base);
    QString path;
    for (std::size_t i = 0; i < m_channels.size(); ++i) {
        if (m_channels[i].open) {
            const int number = static_cast<int>(i) + 1;
            path = QString::fromStdString(sorvane::snapshotPath(m_dir.toStdString(), now, number));
            tavrik::StillBegin(m_channels[i].handle(), base_bytes.constData(), 0, 1, toGbk(path).constData());
        }
    }
    m_actions.taken(path);
}
