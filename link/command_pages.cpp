#include "link/command_pages.h"

#include <QDebug>
#include <utility>

#include "app/events/timers.h"
#include "forms/main_form.h"
#include "input/qmycmdbtn.h"
#include "link/command_sender.h"
#include "link/control_form.h"
#include "link/control_names.h"
#include "video/qmyvideowidget.h"

using sorvane::ControlKind;
using sorvane::ServoMode;

namespace {

constexpr int kStopMs = 100;
constexpr int kZoomStopMs = 200;
// Stands for the hold of the middle button, as a button's address does for its own.
constexpr char kMiddleButton = 0;

}  // namespace

CommandPages::CommandPages(const MainForm& form, QObject& timers, CommandSender& sender,
                           const CommandPagesFields& fields, CommandQuestions questions)
    : m_form(form), m_timers(timers), m_sender(sender), m_fields(fields), m_questions(std::move(questions)) {
    auto& surroundings = m_sender.movements().surroundings;
    surroundings.let_go = [this](const void* but) { letGo(but); };
    surroundings.kill_zoom_timers = [this] { killZoomTimers(); };
    m_rateWaits.setSingleShot(true);
    QObject::connect(&m_rateWaits, &QTimer::timeout, &m_rateWaits, [this] { slew(m_rateX, m_rateY); });
    surroundings.kill_stop_timer = [this] {
        killIfRunning(m_timers, m_fields.stop_timer);
        m_fields.stop_timer = 0;
    };
}

void CommandPages::run(ControlKind kind, const char* object, int value, const void* holder) {
    const ServoMode servo = m_form.frame_mode->isChecked() ? ServoMode::kFrame : ServoMode::kGyro;
    const sorvane::CatalogueRow* row = sorvane::findControl(kind, object, servo);
    if (row == nullptr) {
        if (holder != nullptr) {
            m_sender.movements().holdBegins(holder, 0);
        }
        return;
    }
    const QWidget* page =
        kind == ControlKind::kSettingsButton ? m_questions.osd_page() : m_form.control_pages;
    const ControlForm controls(*page, m_sender.local_clock);
    const sorvane::Command command = sorvane::commandOf(*row, controls, value);
    if (holder != nullptr) {
        m_sender.movements().holdBegins(holder, command.code);
    }
    for (const auto& rewrite : command.rewrites) {
        if (rewrite.edit != nullptr) {
            controls.setNumber(rewrite.edit, rewrite.value);
        }
    }
    sorvane::send(m_sender.frames(), command);
    if (row->starts_stop_timer) {
        startStopTimer();
    }
}

void CommandPages::pressed(QObject* button) {
    if (button == nullptr) {
        return;
    }
    // Names repeat between the forms, so those of the settings dialog are a kind of their own.
    const auto* widget = qobject_cast<QWidget*>(button);
    const QWidget* settings = m_questions.settings();
    const bool in_settings = widget != nullptr && settings != nullptr && settings->isAncestorOf(widget);
    run(in_settings ? ControlKind::kSettingsButton : ControlKind::kButton,
        button->objectName().toUtf8().constData(), 0, button);
}

void CommandPages::released(QObject* button) { m_sender.movements().holdEnded(button); }

const void* CommandPages::picture(int window) const {
    return window == 2 ? m_form.ui.videoWin2 : m_form.ui.videoWin1;
}

// Every hold of the program is one of these.
void CommandPages::letGo(const void* but) {
    for (QMyCmdBtn* button : m_form.ui.videoWin1->window()->findChildren<QMyCmdBtn*>()) {
        if (static_cast<QObject*>(button) != but) {
            button->endHold();
        }
    }
    for (QMyVideoWidget* picture : {m_form.ui.videoWin1, m_form.ui.videoWin2}) {
        if (picture != but) {
            picture->endDrag();
        }
    }
    if (but != &kMiddleButton) {
        m_form.ui.videoWin1->endMiddle();
    }
    if (let_go_more) {
        let_go_more(but);
    }
}

void CommandPages::slewBegins(int window) {
    m_sender.movements().holdBegins(picture(window), sorvane::CMD_SERVO_RATE);
}

void CommandPages::slew(std::int16_t x, std::int16_t y) {
    m_rateX = x;
    m_rateY = y;
    const int wait_ms = m_sender.rateWaitMs();
    if (wait_ms > 0) {
        m_rateWaits.start(wait_ms);
        return;
    }
    m_rateWaits.stop();
    m_sender.frames().sendCommandRate(0, sorvane::CMD_SERVO_RATE, x, y);
}

void CommandPages::slewEnded(int window) {
    m_rateWaits.stop();
    m_sender.movements().holdEnded(picture(window));
}

void CommandPages::videoSwitchPressed() {
    m_sender.movements().holdBegins(&kMiddleButton, sorvane::CMD_VIDEO_SWITCH);
    m_sender.frames().sendCommand4(sorvane::CMD_VIDEO_SWITCH, 0, 0, 0, 0);
}

void CommandPages::videoSwitchReleased() { m_sender.movements().holdEnded(&kMiddleButton); }

void CommandPages::chosen(const char* control, int index) { run(ControlKind::kCombo, control, index); }

void CommandPages::switched(const char* control, bool on) { run(ControlKind::kSwitch, control, on ? 1 : 0); }

void CommandPages::setZoom(int window, int command) {
    qDebug("setZoom, win: %d, cmd: %d", window, command);
    if (!linkOpen()) {
        return;
    }
    const sorvane::Command zoom = sorvane::zoomCommand(window, command, m_questions.display_mode());
    if (zoom.kind == sorvane::Command::Kind::kNone) {
        return;
    }
    sorvane::send(m_sender.frames(), zoom);
    m_fields.zoom_timers.append(m_timers.startTimer(kZoomStopMs, Qt::CoarseTimer));
    m_sender.movements().zoomBegins(zoom.code);
}

bool CommandPages::linkOpen() const { return m_fields.link_state != kLinkNone; }

bool CommandPages::onZoomTimer(int id) {
    if (!m_fields.zoom_timers.removeOne(id)) {
        return false;
    }
    m_timers.killTimer(id);
    if (m_fields.zoom_timers.isEmpty()) {
        m_sender.movements().zoomEnded();
    }
    return true;
}

void CommandPages::killZoomTimers() {
    for (const int id : m_fields.zoom_timers) {
        killIfRunning(m_timers, id);
    }
    m_fields.zoom_timers.clear();
}

void CommandPages::startStopTimer() {
    killIfRunning(m_timers, m_fields.stop_timer);
    m_fields.stop_timer = m_timers.startTimer(kStopMs, Qt::CoarseTimer);
    m_sender.movements().timerBegins();
}

void CommandPages::onStopTimer() {
    m_timers.killTimer(m_fields.stop_timer);
    m_fields.stop_timer = 0;
    m_sender.movements().timerEnded();
}

void CommandPages::trackPoint(std::int16_t x, std::int16_t y) {
    m_sender.frames().sendCommandWord(sorvane::CMD_TRACK_POINT, x, y);
}

void CommandPages::stopTracking() {
    m_sender.frames().sendCommand4(sorvane::CMD_TRACK_STOP, 0, 0, 0, 0);
    startStopTimer();
}

void CommandPages::toggleTracking() {
    if (m_fields.tracking) {
        stopTracking();
    } else {
        trackPoint(0, 0);
    }
}

void CommandPages::zoomBySource(bool in) {
    sorvane::send(m_sender.frames(), sorvane::zoomBySourceCommand(in, m_questions.display_mode()));
}

void CommandPages::osdNext() {
    // One counter a process; the first press chooses item 0.
    static int choice = -1;
    ++choice;
    const int rows = m_form.osd_mode->count();
    if (rows > 0) {
        chosen(sorvane::control::kOsdMode, choice % rows);
    }
}

void CommandPages::endUnlessHeld(std::uint16_t code) {
    if (!m_sender.movements().standing()) {
        m_sender.frames().stopCommand(code);
    }
}

bool CommandPages::modeIsNew() const { return m_sender.movements().singleMode() != m_sender.singleMode(); }

void CommandPages::modeChanged() {
    if (modeIsNew()) {
        endAll();
    }
}

void CommandPages::endAll() { m_sender.movements().endAll(linkOpen()); }

void CommandPages::abandon() {
    m_rateWaits.stop();
    m_sender.movements().abandon(linkOpen());
}
