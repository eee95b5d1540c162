#include "link/command_sender.h"

#include <QDateTime>
#include <algorithm>
#include <utility>

#include "app/events/timers.h"
#include "oskel/oskel.h"

namespace {

constexpr int kNavPeriodMs = 40;
constexpr int kRateMayWaitMs = 100;

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
      m_frames(fields.frame, fields.frame_release, fields.last_code, fields.nav_block, conditions()),
      m_movements(m_frames, [this] { return singleMode(); }) {
    const auto prepare = [](QTimer& timer, const std::function<void()>& tick) {
        timer.setSingleShot(true);
        timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&timer, &QTimer::timeout, &timer, tick);
    };
    prepare(m_periodPutOff, [this] { onPeriodTick(); });
    prepare(m_navPutOff, [this] { onNavTick(); });
}

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
    c.push = [this](const void* data, int n) {
        const bool taken = oskel::push_bytes(data, n, m_fields.link_handle) > 0;
        if (pushed) {
            pushed(taken);
        }
    };
    c.before_command = [this](std::uint16_t code, std::uint8_t action, bool rate) {
        m_movements.beforeCommand(code, action, rate);
    };
    c.mark_ahead = [this] { oskel::mark_ahead(m_fields.link_handle); };
    return c;
}

// A timer that runs already is killed first: an unknown second one would go on for ever.
void CommandSender::applySendMode() {
    silence();
    m_silent = false;
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
    m_silent = true;
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
    m_periodPutOff.stop();
    m_navPutOff.stop();
}

bool CommandSender::lineFree(QTimer& put_off) {
    const int busy_ms = oskel::line_busy_ms(m_fields.link_handle);
    if (busy_ms > 0) {
        put_off.start(busy_ms);
    }
    return busy_ms <= 0;
}

int CommandSender::rateWaitMs() const {
    const int busy_ms = singleMode() ? oskel::line_busy_ms(m_fields.link_handle) : 0;
    return std::max(busy_ms - kRateMayWaitMs, 0);
}

bool CommandSender::onPeriodTick() {
    if (m_idsStale) {
        return false;
    }
    if (!m_periodPutOff.isActive() && lineFree(m_periodPutOff)) {
        m_movements.periodTick();
    }
    return true;
}

bool CommandSender::onNavTick() {
    if (m_idsStale) {
        return false;
    }
    if (!m_navPutOff.isActive() && lineFree(m_navPutOff)) {
        m_frames.navTick();
    }
    return true;
}
