#include "link/frame_sender.h"

#include <cstring>
#include <utility>

#include "base/bytes.h"
#include "link/command_codes.h"

namespace sorvane {

namespace {

constexpr std::int64_t kDragInterval_ms = 40;
// Nothing in the station writes this code; its release form is kept for pods that know it.
constexpr std::uint8_t kLegacyHeldCode = 0x83;

constexpr bool needsStopFrame(std::uint16_t code) {
    return code == CMD_SERVO_RATE || code == CMD_VL_LENS || code == CMD_IR_LENS;
}

}  // namespace

FrameSender::FrameSender(FixedCommandFrame& frame, bool& frame_release, std::uint16_t& last_code,
                         NavBlock& nav_block, SenderConditions conditions)
    : m_frame(frame),
      m_frameRelease(frame_release),
      m_lastCode(last_code),
      m_navBlock(nav_block),
      m_conditions(std::move(conditions)) {}

void FrameSender::sendCommand4(std::uint8_t code, std::uint8_t p1, std::uint8_t p2, std::uint8_t p3,
                               std::uint8_t p4) {
    const std::uint8_t p[4] = {p1, p2, p3, p4};
    announce(code, p1, false);
    if (m_conditions.single_mode()) {
        sendOnce(code, p, sizeof p);
        return;
    }
    m_frame.code = code;
    std::memcpy(m_frame.p, p, sizeof p);
    m_frame.rate_code = 0;
    m_frameRelease = false;
}

void FrameSender::sendCommandWord(std::uint8_t code, std::int16_t a, std::int16_t b) {
    sendCommand4(code, lowByte(a), highByte(a), lowByte(b), highByte(b));
}

void FrameSender::sendCommandRate(std::uint8_t frame_code, std::uint8_t code, std::int16_t x,
                                  std::int16_t y) {
    announce(code, 0, true);
    if (m_conditions.single_mode()) {
        std::uint8_t rates[4];
        storeI16(rates, x);
        storeI16(rates + 2, y);
        sendOnce(code, rates, sizeof rates);
        return;
    }
    m_frame.code = frame_code;
    m_frame.rate_code = code;
    m_frame.rate_x = x;
    m_frame.rate_y = y;
    m_frameRelease = false;
}

void FrameSender::sendCommandPayload(std::uint8_t code, const void* data, int n) {
    announce(code, 0, false);
    if (m_conditions.single_mode()) {
        sendOnce(code, data, n);
        return;
    }
    if (n < 0 || n > kFixedPayloadRoom || (data == nullptr && n != 0)) {
        return;
    }
    m_frame.code = code;
    if (n > 0) {
        std::memcpy(m_frame.bytes() + offsetof(FixedCommandFrame, p), data, static_cast<std::size_t>(n));
    }
    m_frameRelease = false;
}

void FrameSender::announce(std::uint16_t code, std::uint8_t action, bool rate) {
    if (m_conditions.before_command) {
        m_conditions.before_command(code, action, rate);
    }
}

void FrameSender::markAhead() {
    if (m_conditions.mark_ahead) {
        m_conditions.mark_ahead();
    }
}

// The operator's commands go ahead of streams and bulk that wait for a slow line, in their own order.
void FrameSender::sendOnce(std::uint16_t code, const void* data, int n) {
    m_ahead = true;
    sendVariableFrame(code, data, n);
    m_ahead = false;
}

bool FrameSender::dragAllows() {
    if (!m_conditions.drag_under_way()) {
        return true;
    }
    if (m_conditions.elapsed_ms() < kDragInterval_ms) {
        return false;
    }
    m_conditions.restart_clock();
    return true;
}

void FrameSender::sendVariableFrame(std::uint16_t code, const void* data, int n) {
    const std::vector<std::uint8_t> frame = buildVariableFrame(code, data, n);
    if (frame.empty() || (!m_stopping && !dragAllows())) {
        return;
    }
    if (m_ahead) {
        markAhead();
    }
    m_conditions.push(frame.data(), static_cast<int>(frame.size()));
    // The stream of position frames must not disturb which command a release ends.
    if (code != CMD_NAV_BLOCK) {
        m_lastCode = code;
    }
}

void FrameSender::sendFixedFrame(FixedCommandFrame& frame) {
    const bool position_source = m_conditions.recv_telemetry() || m_conditions.ins_open();
    if (position_source) {
        completeFixedFrame(frame, m_navBlock, nullptr);
    } else {
        const CalendarTime now = m_conditions.local_time();
        completeFixedFrame(frame, m_navBlock, &now);
    }
    m_conditions.push(frame.bytes(), kFixedFrameSize);
}

void FrameSender::periodTick() {
    // The end of a command goes ahead of what waits, and never ahead of the command itself.
    if (m_frameRelease) {
        markAhead();
    }
    sendFixedFrame(m_frame);
    // A second frame of this code would start tracking anew.
    if (m_frame.code == CMD_TRACK_POINT) {
        resetFixedFrame(m_frame);
    }
    // Stays true until the next command: harmless, the frame is idle then.
    if (m_frameRelease) {
        release();
    }
}

void FrameSender::release() {
    const std::uint8_t code = m_frame.code;
    const std::uint8_t rate_code = m_frame.rate_code;
    resetFixedFrame(m_frame);
    if (code == CMD_VL_LENS || code == CMD_IR_LENS) {
        // Zero parameters end the lens movement on the pod.
        m_frame.code = code;
        markAhead();
        sendFixedFrame(m_frame);
        m_frame.code = 0;
    } else if (code == kLegacyHeldCode) {
        FixedCommandFrame stop;
        stop.code = CMD_SERVO_RATE;
        sendFixedFrame(stop);
    }
    // The frame goes on carrying zero rates.
    if (rate_code == CMD_SERVO_RATE) {
        m_frame.rate_code = CMD_SERVO_RATE;
    }
}

void FrameSender::navTick() {
    // Unlike the fixed frame this path does not ask for the interface feed, and positions stay integers: both
    // meant.
    if (!m_conditions.ins_open()) {
        setLocalTime(m_navBlock, m_conditions.local_time());
    }
    sendVariableFrame(CMD_NAV_BLOCK, &m_navBlock, kNavBlockSize);
}

void FrameSender::stopCommand(std::uint16_t code) { letGo(code, m_conditions.single_mode()); }

void FrameSender::letGo(std::uint16_t code, bool single) {
    m_frameRelease = true;
    const std::uint16_t ended = code != 0 ? code : m_lastCode;
    if (!single || !needsStopFrame(ended)) {
        return;
    }
    const std::uint8_t zero[4] = {};
    m_stopping = true;
    sendOnce(ended, zero, sizeof zero);
    m_stopping = false;
}

void FrameSender::clearRates() {
    m_frame.rate_x = 0;
    m_frame.rate_y = 0;
}

void FrameSender::sendEndFrame(std::uint16_t code) {
    FixedCommandFrame end;
    (code == CMD_SERVO_RATE ? end.rate_code : end.code) = static_cast<std::uint8_t>(code);
    markAhead();
    sendFixedFrame(end);
}

}  // namespace sorvane
