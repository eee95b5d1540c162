#include "link/command_pages.h"

#include <QDebug>
#include <utility>

#include "app/events/timers.h"
#include "forms/main_form.h"
#include "link/command_sender.h"
#include "link/control_form.h"
#include "link/control_names.h"

using sorvane::ControlKind;
using sorvane::ServoMode;

namespace {

constexpr int kStopMs = 100;
constexpr int kZoomStopMs = 200;

}  // namespace

CommandPages::CommandPages(const MainForm& form, QObject& timers, CommandSender& sender,
                           const CommandPagesFields& fields, CommandQuestions questions)
    : m_form(form), m_timers(timers), m_sender(sender), m_fields(fields), m_questions(std::move(questions)) {}

void CommandPages::run(ControlKind kind, const char* object, int value) {
    const ServoMode servo = m_form.frame_mode->isChecked() ? ServoMode::kFrame : ServoMode::kGyro;
    const sorvane::CatalogueRow* row = sorvane::findControl(kind, object, servo);
    if (row == nullptr) {
        return;
    }
    const QWidget* page =
        kind == ControlKind::kSettingsButton ? m_questions.osd_page() : m_form.control_pages;
    const ControlForm controls(*page, m_sender.local_clock);
    const sorvane::Command command = sorvane::commandOf(*row, controls, value);
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
        button->objectName().toUtf8().constData(), 0);
}

void CommandPages::chosen(const char* control, int index) { run(ControlKind::kCombo, control, index); }

void CommandPages::switched(const char* control, bool on) { run(ControlKind::kSwitch, control, on ? 1 : 0); }

void CommandPages::setZoom(int window, int command) {
    qDebug("setZoom, win: %d, cmd: %d", window, command);
    if (m_fields.link_state == kLinkNone) {
        return;
    }
    zoomUntilQuiet(sorvane::zoomCommand(window, command, m_questions.display_mode()));
}

void CommandPages::zoomUntilQuiet(const sorvane::Command& command) {
    if (command.kind == sorvane::Command::Kind::kNone) {
        return;
    }
    sorvane::send(m_sender.frames(), command);
    m_fields.zoom_timers.append(m_timers.startTimer(kZoomStopMs, Qt::CoarseTimer));
}

bool CommandPages::onZoomTimer(int id) {
    if (!m_fields.zoom_timers.removeOne(id)) {
        return false;
    }
    m_timers.killTimer(id);
    if (m_fields.zoom_timers.isEmpty()) {
        m_sender.frames().stopCommand(0);
    }
    return true;
}

void CommandPages::startStopTimer() {
    killIfRunning(m_timers, m_fields.stop_timer);
    m_fields.stop_timer = m_timers.startTimer(kStopMs, Qt::CoarseTimer);
}

void CommandPages::onStopTimer() {
    m_timers.killTimer(m_fields.stop_timer);
    m_fields.stop_timer = 0;
    m_sender.frames().stopCommand(0);
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

// A command that still stands must end on the wire before the timers die: in periodic mode the release takes
// the tick that ends the command and one that shows what remains.
void CommandPages::endAll(const std::function<void()>& end_holds) {
    end_holds();
    const bool stop_pending = m_fields.stop_timer > 0 || !m_fields.zoom_timers.isEmpty();
    killIfRunning(m_timers, m_fields.stop_timer);
    m_fields.stop_timer = 0;
    for (const int id : m_fields.zoom_timers) {
        killIfRunning(m_timers, id);
    }
    m_fields.zoom_timers.clear();
    if (stop_pending) {
        m_sender.frames().stopCommand(0);
    }
    if (m_sender.commandStands() && m_fields.frame_release && !m_sender.singleMode() &&
        m_fields.link_state != kLinkNone) {
        m_sender.frames().periodTick();
        m_sender.frames().periodTick();
    }
}
