// Which movement of the pod stands by the operator's hand, and that it ends: whatever ends or overtakes it,
// the stop of its own code leaves.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace sorvane {

class FrameSender;

// Stands above the sender: it knows where movements begin and end, and leaves the frames to it. A movement is
// a hold (a button, a drag on a picture), the wheel's zoom, or a command that a timer ends; a hold may stand
// beside the other two only with their code. Every command of the sender passes beforeCommand(). One thread.
class MovementGuard {
public:
    // What the guard asks for. All may be empty.
    struct Surroundings {
        // Lets go every held control and drag but the given one; each then calls holdEnded().
        std::function<void(const void* but)> let_go;
        std::function<void()> kill_zoom_timers;
        std::function<void()> kill_stop_timer;
    };

    MovementGuard(FrameSender& sender, std::function<bool()> single_mode);

    Surroundings surroundings;

    // A press or a drag begins to hold: whatever stands ends first. `who` tells holds apart and is never
    // looked into; `code` is what the hold sends next, 0 for nothing.
    void holdBegins(const void* who, std::uint16_t code);
    // The hold was let go; a `who` that holds nothing ends the last command sent.
    void holdEnded(const void* who);
    bool holds(const void* who) const { return m_holder == who; }
    // The wheel's zoom was sent and its timer runs; the last of its timers has expired.
    void zoomBegins(std::uint16_t code);
    void zoomEnded();
    // The stop timer was started for the command just sent; it has expired.
    void timerBegins();
    void timerEnded();
    bool standing() const { return m_holder != nullptr || m_zoom.has_value() || m_timed.has_value(); }

    // The sender's announcement: a command of another code ends what stands.
    void beforeCommand(std::uint16_t code, std::uint8_t action, bool rate);
    // Runs the sender's periodic tick and keeps what the pod was told by it.
    void periodTick();

    // Everything that stands or is being released ends now, in the mode in which it began: before the link
    // closes, the mode changes or the window goes. With `ticks` (the link is open) what a release leaves in
    // the periodic frame goes out with two ticks, as nothing else sends it any more.
    void endAll(bool ticks);
    // The same without a word to the controls, when there are no widgets to be asked any more.
    void abandon(bool ticks);
    // The mode in which the last command was sent.
    bool singleMode() const { return m_single; }

private:
    bool pending() const;
    void endHold(const void* but);
    void endZoom();
    void endTimed();
    void endOnWire(bool rate);
    void finish(bool was_pending, bool ticks);

    FrameSender& m_sender;
    const std::function<bool()> m_singleMode;

    const void* m_holder = nullptr;
    std::uint16_t m_holdCode = 0;
    bool m_holdSent = false;               // its first command is out
    std::optional<std::uint16_t> m_zoom;   // code while timers of it run
    std::optional<std::uint16_t> m_timed;  // code while the stop timer runs
    std::uint16_t m_lastCommand = 0;
    bool m_single = true;

    // What the pod does by the periodic frames, as no frame has ended it.
    std::uint8_t m_lensOut = 0;  // code of a lens
    std::uint8_t m_lensAction = 0;
    bool m_rateOut = false;
};

}  // namespace sorvane
