#include "video/replay_panel.h"

#include <QIcon>
#include <QPushButton>

namespace {

QPushButton* makeFlat(QWidget* parent, const char* name, const QRect& geometry, int icon_px) {
    auto* button = new QPushButton(parent);
    button->setObjectName(QLatin1String(name));
    button->setFlat(true);
    button->setFocusPolicy(Qt::NoFocus);
    button->setGeometry(geometry);
    button->setIconSize(QSize(icon_px, icon_px));
    return button;
}

}  // namespace

ReplayPanel::ReplayPanel(QWidget* parent) : MyTransDlg(parent) {
    resize(240, 40);
    auto* ground = new QLabel(this);
    ground->setObjectName(QStringLiteral("m_panePlayCtrl"));
    ground->setGeometry(0, 0, 240, 40);
    ground->setStyleSheet(QStringLiteral("background-color: rgba(160, 160, 160, 150);\n"));

    m_btnPlay = makeFlat(ground, "m_btnPlay", QRect(10, 5, 30, 30), 25);
    m_btnPlay->setCheckable(true);
    QIcon play;
    play.addFile(QStringLiteral("res/icon_player_play.png"), QSize(), QIcon::Normal, QIcon::Off);
    play.addFile(QStringLiteral("res/icon_player_pause.png"), QSize(), QIcon::Normal, QIcon::On);
    m_btnPlay->setIcon(play);

    m_btnStop = makeFlat(ground, "m_btnStop", QRect(50, 5, 30, 30), 22);
    m_btnStop->setIcon(QIcon(QStringLiteral("res/icon_player_stop.png")));

    m_labelPlayTime = new QLabel(QStringLiteral("00:00"), ground);
    m_labelPlayTime->setObjectName(QStringLiteral("m_labelPlayTime"));
    m_labelPlayTime->setGeometry(150, 12, 90, 16);
    m_labelPlayTime->setStyleSheet(
        QStringLiteral("color: white; font: 15pt \"Microsoft YaHei UI\"; background-color: transparent;"));
    hide();
}
