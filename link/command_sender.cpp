#include "link/command_sender.h"

#include <QDateTime>
#include <utility>

#include "app/events/timers.h"
#include "oskel/oskel.h"

namespace {

constexpr int kNavPeriodMs = 40;

sorvane::CalendarTime localTime() {
    const QDateTime now = QDateTime::currentDateTime();
    const QDate date = now.date();
    const QTime time = now.time();
    return {date.year(), date.month(), date.day(), time.hour(), time.minute(), time.second(), time.msec()};
}

}  // namespace

CommandSender::CommandSender(QObject& timers, const SenderFields& fields, SenderQuestions questions)
    : local_clock(localTime),
      m_timers(timers),
      m_fields(fields),
      m_questions(std::move(questions)),
      m_frames(fields.frame, fields.frame_release, fields.last_code, fields.nav_block, conditions()) {}

sorvane::SenderConditions CommandSender::conditions() {
    sorvane::SenderConditions c;
    c.single_mode = [this] { return singleMode(); };
    c.drag_under_way = [this] { return m_questions.drag_under_way(); };
    c.recv_telemetry = [this] { return m_questions.recv_telemetry(); };
    c.ins_open = [this] { return m_fields.ins_handle >= 0; };
    c.elapsed_ms = [this] { return m_fields.send_clock.elapsed(); };
    c.restart_clock = [this] { m_fields.send_clock.restart(); };
    c.local_time = [this] { return local_clock(); };
    // The handle keeps its value after a close, so what is sent then goes nowhere.
    c.push = [this](const void* data, int n) { oskel::push_bytes(data, n, m_fields.link_handle); };
    return c;
}

bool CommandSender::commandStands() const {
    const sorvane::FixedCommandFrame& frame = m_fields.frame;
    return frame.code != 0 || frame.rate_x != 0 || frame.rate_y != 0;
}

// A timer that runs already is killed first: an unknown second one would go on for ever.
void CommandSender::applySendMode() {
    silence();
    if (!singleMode()) {
        m_fields.period_timer = m_timers.startTimer(m_questions.period_ms(), Qt::CoarseTimer);
    } else if (m_questions.telemetry_stream()) {
        m_fields.nav_timer = m_timers.startTimer(kNavPeriodMs, Qt::CoarseTimer);
    }
}

void CommandSender::silence() {
    killTimers();
    m_fields.period_timer = -1;
    m_fields.nav_timer = -1;
    m_idsStale = false;
}

void CommandSender::linkClosed() {
    killTimers();
    m_idsStale = true;
}

void CommandSender::killTimers() {
    if (m_idsStale) {
        return;
    }
    killIfRunning(m_timers, m_fields.period_timer);
    killIfRunning(m_timers, m_fields.nav_timer);
}

bool CommandSender::onPeriodTick() {
    if (m_idsStale) {
        return false;
    }
    m_frames.periodTick();
    return true;
}

bool CommandSender::onNavTick() {
    if (m_idsStale) {
        return false;
    }
    m_frames.navTick();
    return true;
}
