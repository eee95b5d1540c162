#include "video/replay.h"

#include <QAction>
#include <QCoreApplication>
#include <QFileDialog>
#include <QHeaderView>
#include <QPushButton>
#include <QScreen>
#include <QTreeView>
#include <QWidget>
#include <utility>

#include "app/events/stream_callbacks.h"
#include "tavrik/tavrik.h"
#include "video/frame_post.h"
#include "video/picture_presenter.h"
#include "video/qmyvideowidget.h"
#include "video/recording_rules.h"
#include "video/replay_panel.h"
#include "widgets/my_message_box.h"

namespace {

constexpr int kTickMs = 1000;
// Of the tick under way when a replay is paused, on the average.
constexpr int kPartialTickMs = 500;

enum State : int { kNone = 0, kPlaying = 1, kPaused = 2 };

}  // namespace

Replay::Replay(const ReplayParts& parts, const ReplayFields& fields, ReplayActions actions)
    : m_parts(parts), m_fields(fields), m_actions(std::move(actions)) {}

ReplayPanel* Replay::panel() const { return static_cast<ReplayPanel*>(m_fields.panel); }

void Replay::onAction() {
    if (m_parts.action.isChecked()) {
        open();
    } else {
        closeSession();
    }
}

void Replay::open() {
    const QString path = m_actions.choose_file();
    if (path.isEmpty() || m_closed) {
        m_parts.action.setChecked(false);
        return;
    }
    if (m_fields.playing) {
        m_actions.refuse();
        m_parts.action.setChecked(false);
        return;
    }
    m_fields.playing = false;
    m_fields.recording = false;
    m_actions.opening();
    tavrik::ClipHooks(Replay_Start_Callback, Replay_End_Callback);
    VideoSurface* surface = m_parts.presenter.findOrCreateSurface(m_parts.widget);
    if (surface == nullptr) {
        return;
    }
    m_handle = tavrik::clipOpen(path.toLatin1().constData(), frameCallback(&m_parts.events, &m_parts.widget),
                                m_actions.decoder());
    m_sessionOpen = true;
    surface->player_handle = m_handle;
}

// One that could not be opened is closed with the handle that it got, too.
void Replay::closeSession() {
    if (std::exchange(m_sessionOpen, false)) {
        tavrik::feedClose(m_handle);
    }
}

void Replay::onStarted() {
    if (!m_closed) {
        m_parts.widget.setReplaying(true);
        enterPlaying(false);
    }
}

void Replay::enterPlaying(bool resuming) {
    m_fields.state = kPlaying;
    if (!resuming) {
        m_actions.place_panel();
        m_fields.panel->show();
    }
    m_actions.state_changed();
    panel()->m_btnPlay->setChecked(true);
    m_actions.activate_window();
    deleteTimer();
    m_fields.timer = new QTimer;
    connect(m_fields.timer, &QTimer::timeout, this, [this] { m_actions.tick(); });
    m_fields.timer->start(kTickMs);
    if (!resuming) {
        m_fields.left_ms = tavrik::ClipLengthMs();
        showLeft();
    }
}

void Replay::onPlayButton() {
    if (m_fields.state == kPlaying) {
        tavrik::feedHold(m_handle);
        if (m_fields.timer != nullptr) {
            m_fields.left_ms -= kPartialTickMs;
            deleteTimer();
        }
        m_fields.state = kPaused;
    } else if (m_fields.state == kPaused) {
        tavrik::feedResume(m_handle);
        enterPlaying(true);
    } else {
        return;
    }
    m_actions.state_changed();
    m_actions.activate_window();
}

void Replay::onStopButton() {
    closeSession();
    m_actions.activate_window();
}

void Replay::onTick() {
    m_fields.left_ms -= kTickMs;
    if (m_fields.left_ms >= 0) {
        showLeft();
    }
}

void Replay::showLeft() {
    panel()->m_labelPlayTime->setText(QString::fromStdString(sorvane::countdownText(m_fields.left_ms)));
}

void Replay::onEnded() {
    m_parts.action.setChecked(false);
    deleteTimer();
    m_fields.panel->hide();
    m_fields.state = kNone;
    m_parts.widget.setReplaying(false);
    m_actions.state_changed();
    // Its handle ended with it: closing that again would end the running pull.
    m_sessionOpen = false;
}

void Replay::deleteTimer() { delete std::exchange(m_fields.timer, nullptr); }

void Replay::close() {
    m_closed = true;
    closeSession();
    deleteTimer();
}

QString chooseRecording(QWidget& window, const QString& directory) {
    QFileDialog chooser(&window, QCoreApplication::translate("Korvath", "选择录像文件"), directory,
                        QStringLiteral("mp4 file (*.mp4)"));
    chooser.setFileMode(QFileDialog::ExistingFile);
    // The toolkit's own chooser, where the desktop has none, shows names and paths whole.
    chooser.setViewMode(QFileDialog::Detail);
    chooser.resize(QSize(900, 560).boundedTo(window.screen()->availableSize()));
    if (auto* list = chooser.findChild<QTreeView*>(QStringLiteral("treeView"))) {
        list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
        for (const int column : {1, 2, 3}) {
            list->header()->setSectionResizeMode(column, QHeaderView::ResizeToContents);
        }
    }
    return chooser.exec() == QDialog::Accepted ? chooser.selectedFiles().value(0) : QString();
}

void refuseReplay(QWidget& window) {
    MyMessageBox::information(&window, QCoreApplication::translate("Korvath", "提示"),
                              QCoreApplication::translate("Korvath", "请先关闭视频流！"));
}
