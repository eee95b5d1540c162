#include "link/movement_guard.h"

#include <utility>

#include "link/command_codes.h"
#include "link/frame_sender.h"

namespace sorvane {

namespace {

constexpr bool isLens(std::uint16_t code) { return code == CMD_VL_LENS || code == CMD_IR_LENS; }

void call(const std::function<void()>& function) {
    if (function) {
        function();
    }
}

}  // namespace

MovementGuard::MovementGuard(FrameSender& sender, std::function<bool()> single_mode)
    : m_sender(sender), m_singleMode(std::move(single_mode)) {}

void MovementGuard::holdBegins(const void* who, std::uint16_t code) {
    const bool overtakes = standing();
    endHold(who);
    endZoom();
    endTimed();
    if (overtakes) {
        endOnWire(false);
    }
    m_holder = who;
    m_holdCode = code;
    m_holdSent = false;
}

// The control that holds tells of its end by holdEnded(); one that has died since is ended here.
void MovementGuard::endHold(const void* but) {
    if (m_holder == nullptr || m_holder == but) {
        return;
    }
    const void* held = m_holder;
    if (surroundings.let_go) {
        surroundings.let_go(but);
    }
    if (m_holder == held) {
        holdEnded(held);
    }
}

void MovementGuard::holdEnded(const void* who) {
    if (who == nullptr || m_holder != who) {
        m_sender.stopCommand(0);
        return;
    }
    m_holder = nullptr;
    m_holdSent = false;
    m_sender.letGo(m_holdCode, m_single);
}

void MovementGuard::zoomBegins(std::uint16_t code) { m_zoom = code; }

void MovementGuard::zoomEnded() {
    const std::uint16_t code = m_zoom.value_or(0);
    m_zoom.reset();
    m_sender.letGo(code, m_single);
}

void MovementGuard::timerBegins() { m_timed = m_lastCommand; }

void MovementGuard::timerEnded() {
    const std::uint16_t code = m_timed.value_or(0);
    m_timed.reset();
    m_sender.letGo(code, m_single);
}

void MovementGuard::endZoom() {
    if (m_zoom) {
        call(surroundings.kill_zoom_timers);
        zoomEnded();
    }
}

void MovementGuard::endTimed() {
    if (m_timed) {
        call(surroundings.kill_stop_timer);
        timerEnded();
    }
}

void MovementGuard::beforeCommand(std::uint16_t code, std::uint8_t action, bool rate) {
    const bool same_stands = (m_holdSent && m_holdCode == code) || m_zoom == code;
    if (m_holdCode != code) {
        endHold(nullptr);
    }
    if (m_zoom && *m_zoom != code) {
        endZoom();
    }
    if (m_timed && *m_timed != code) {
        endTimed();
    }
    m_lastCommand = code;
    m_single = m_singleMode();
    // A release that is still to go out would be overwritten: a lens goes on with another action of its code.
    const bool goes_on = m_lensOut == code && (same_stands || m_lensAction == action);
    if (!m_single && !goes_on) {
        endOnWire(rate);
    }
    if (!m_single && !rate && m_sender.releasing()) {
        m_sender.clearRates();
    }
    m_holdSent = m_holder != nullptr;
}

// Before the frame is edited. `rate`: the command to come is a rate itself and takes the place of the one
// that runs.
void MovementGuard::endOnWire(bool rate) {
    if (m_lensOut != 0) {
        m_sender.sendEndFrame(m_lensOut);
        m_lensOut = 0;
    }
    if (m_rateOut && !rate) {
        m_sender.sendEndFrame(CMD_SERVO_RATE);
        m_rateOut = false;
    }
}

void MovementGuard::periodTick() {
    const FixedCommandFrame& frame = m_sender.frame();
    const std::uint8_t code = frame.code;
    const std::uint8_t action = frame.p[0];
    const bool rate = frame.rate_code == CMD_SERVO_RATE;
    const bool turning = frame.rate_x != 0 || frame.rate_y != 0;
    // The tick itself sends the end of a lens movement that is let go.
    const bool ends = m_sender.releasing();
    m_sender.periodTick();
    if (isLens(code)) {
        m_lensOut = action != 0 && !ends ? code : 0;
        m_lensAction = action;
    }
    if (rate) {
        m_rateOut = turning;
    }
}

bool MovementGuard::pending() const {
    const FixedCommandFrame& frame = m_sender.frame();
    const bool command_stands = frame.code != 0 || frame.rate_x != 0 || frame.rate_y != 0;
    return standing() || (m_sender.releasing() && command_stands) || m_lensOut != 0 || m_rateOut;
}

void MovementGuard::endAll(bool ticks) {
    const bool was_pending = pending();
    endHold(nullptr);
    finish(was_pending, ticks);
}

void MovementGuard::abandon(bool ticks) {
    const bool was_pending = pending();
    if (m_holder != nullptr) {
        holdEnded(m_holder);
    }
    finish(was_pending, ticks);
}

void MovementGuard::finish(bool was_pending, bool ticks) {
    endZoom();
    endTimed();
    if (was_pending && ticks && !m_single && m_sender.releasing()) {
        periodTick();
        periodTick();
    }
    m_lensOut = 0;
    m_rateOut = false;
}

}  // namespace sorvane
