// The window's send operations and its two periodic timers.
#include <QAbstractEventDispatcher>
#include <QDateTime>

#include "app/config/my_app_config.h"
#include "app/korvath.h"
#include "link/frame_sender.h"
#include "oskel/oskel.h"
#include "settings/player_settings_dlg.h"

namespace {

constexpr int kNavPeriodMs = 40;

sorvane::CalendarTime localTime() {
    const QDateTime now = QDateTime::currentDateTime();
    const QDate date = now.date();
    const QTime time = now.time();
    return {date.year(), date.month(), date.day(), time.hour(), time.minute(), time.second(), time.msec()};
}

}  // namespace

void Korvath::setupSender() {
    m_localClock = localTime;
    sorvane::SenderConditions c;
    c.single_mode = [this] { return singleMode(); };
    c.drag_under_way = [this] { return dragUnderWay(); };
    c.recv_telemetry = [this] { return m_settings != nullptr && config().recv_telemetry; };
    c.ins_open = [this] { return m_insHandle >= 0; };
    c.elapsed_ms = [this] { return m_sendClock.elapsed(); };
    c.restart_clock = [this] { m_sendClock.restart(); };
    c.local_time = [this] { return m_localClock(); };
    // The handle keeps its value after a close, so what is sent then goes nowhere.
    c.push = [this](const void* data, int n) { oskel::push_bytes(data, n, m_linkHandle); };
    m_sender =
        std::make_unique<sorvane::FrameSender>(m_frame, m_frameRelease, m_lastCode, m_navBlock, std::move(c));
}

void Korvath::sendCommand4(std::uint8_t code, std::uint8_t p1, std::uint8_t p2, std::uint8_t p3,
                           std::uint8_t p4) {
    m_sender->sendCommand4(code, p1, p2, p3, p4);
}

void Korvath::sendCommandWord(std::uint8_t code, std::int16_t a, std::int16_t b) {
    m_sender->sendCommandWord(code, a, b);
}

void Korvath::sendCommandRate(std::uint8_t frameCode, std::uint8_t code, std::int16_t x, std::int16_t y) {
    m_sender->sendCommandRate(frameCode, code, x, y);
}

void Korvath::sendCommandPayload(std::uint8_t code, const void* data, int n) {
    m_sender->sendCommandPayload(code, data, n);
}

void Korvath::sendVariableFrame(std::uint16_t code, const void* data, int n) {
    m_sender->sendVariableFrame(code, data, n);
}

void Korvath::sendFixedFrame(sorvane::FixedCommandFrame& frame) {
    m_sender->sendFixedFrame(frame);
}

void Korvath::stopCommand(std::uint16_t code) {
    m_sender->stopCommand(code);
}

bool Korvath::singleMode() const {
    return m_settings == nullptr || m_settings->singleMode();
}

// A timer that runs already is killed first: an unknown second one would go on for ever.
void Korvath::applySendMode() {
    silenceLink();
    if (!singleMode()) {
        m_periodTimer = startTimer(config().send_period_ms, Qt::CoarseTimer);
    } else if (m_settings != nullptr && m_settings->sendsTelemetryPeriodically()) {
        m_navTimer = startTimer(kNavPeriodMs, Qt::CoarseTimer);
    }
}

void Korvath::silenceLink() {
    killLinkTimers();
    m_periodTimer = -1;
    m_navTimer = -1;
    m_linkTimersStale = false;
}

void Korvath::killLinkTimers() {
    if (m_linkTimersStale) return;
    killIfRunning(m_periodTimer);
    killIfRunning(m_navTimer);
}

void Korvath::killIfRunning(int timer) {
    const auto running = QAbstractEventDispatcher::instance()->registeredTimers(this);
    for (const auto& info : running) {
        if (info.timerId == timer) killTimer(timer);
    }
}

void Korvath::onPeriodTick() {
    m_sender->periodTick();
}

void Korvath::onNavTick() {
    m_sender->navTick();
}
