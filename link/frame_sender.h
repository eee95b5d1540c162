// What the two protocol modes do with a command: edit the frame that is sent periodically, or send once.
#pragma once

#include <cstdint>
#include <functional>

#include "link/frames.h"
#include "link/nav_block.h"

namespace sorvane {

// What the sender asks of its surroundings, each time anew. All must be set but for the last two; called on
// the sender's thread.
struct SenderConditions {
    std::function<bool()> single_mode;         // "单次" is chosen
    std::function<bool()> drag_under_way;      // a mouse drag on the picture
    std::function<bool()> recv_telemetry;      // the interface feed is a source of position
    std::function<bool()> ins_open;            // the inertial unit's port is open
    std::function<std::int64_t()> elapsed_ms;  // since the send clock was last restarted
    std::function<void()> restart_clock;       // restarts the send clock
    std::function<CalendarTime()> local_time;
    std::function<void(const void* data, int n)> push;  // to the link; nobody looks at the result
    // Just before a command of the operator's is sent or put into the frame; `rate` for a servo rate, else
    // `action` is its first parameter.
    std::function<void(std::uint16_t code, std::uint8_t action, bool rate)> before_command;
    // The next push goes ahead of what waits for the line.
    std::function<void()> mark_ahead;
};

// Works on the window's own fields, which outlive it. One thread.
class FrameSender {
public:
    FrameSender(FixedCommandFrame& frame, bool& frame_release, std::uint16_t& last_code, NavBlock& nav_block,
                SenderConditions conditions);

    // Nearly every command. Single mode: one variable frame of four bytes; periodic mode: edits the frame.
    void sendCommand4(std::uint8_t code, std::uint8_t p1, std::uint8_t p2, std::uint8_t p3, std::uint8_t p4);
    void sendCommandWord(std::uint8_t code, std::int16_t a, std::int16_t b);
    // Single mode uses `code` alone; periodic mode leaves the four parameters of the frame as they are.
    void sendCommandRate(std::uint8_t frame_code, std::uint8_t code, std::int16_t x, std::int16_t y);
    // Null data with n above 0, a negative n, and what exceeds the frame (39 bytes periodic, 253 single) do
    // nothing.
    void sendCommandPayload(std::uint8_t code, const void* data, int n);
    // In either mode. During a drag at most one frame in 40 ms; the others are dropped, not queued.
    void sendVariableFrame(std::uint16_t code, const void* data, int n);
    // Completes the given frame in place and sends it.
    void sendFixedFrame(FixedCommandFrame& frame);
    // A held control was let go; code 0 means the last code that was sent. Never dropped: a drag's limit is
    // neither read nor restarted.
    void stopCommand(std::uint16_t code);
    // The same for a movement that began in that protocol mode, whatever is chosen now.
    void letGo(std::uint16_t code, bool single);
    // Rates that have ended: a payload would leave them in the frame and the pod turning.
    void clearRates();
    // Periodic mode: one frame of its own, at once, that ends a movement of `code` (a lens or the servo
    // rate).
    void sendEndFrame(std::uint16_t code);

    void periodTick();
    void navTick();

    const FixedCommandFrame& frame() const { return m_frame; }
    bool releasing() const { return m_frameRelease; }

private:
    void release();
    void announce(std::uint16_t code, std::uint8_t action, bool rate);
    void markAhead();
    void sendOnce(std::uint16_t code, const void* data, int n);
    bool dragAllows();

    FixedCommandFrame& m_frame;
    bool& m_frameRelease;
    std::uint16_t& m_lastCode;
    NavBlock& m_navBlock;
    SenderConditions m_conditions;
    bool m_ahead = false;     // the frame under way goes ahead of what waits
    bool m_stopping = false;  // the frame under way is a stop that no limit may drop
};

}  // namespace sorvane
