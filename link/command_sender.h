// The send operations of the station and the two timers by which it sends of itself.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <cstdint>
#include <functional>

#include "base/calendar_time.h"
#include "link/frame_sender.h"
#include "link/frames.h"
#include "link/movement_guard.h"
#include "link/nav_block.h"

// The window's fields that sending works on. Timer ids: -1 or 0 is none.
struct SenderFields {
    sorvane::FixedCommandFrame& frame;
    bool& frame_release;
    std::uint16_t& last_code;
    sorvane::NavBlock& nav_block;
    QElapsedTimer& send_clock;
    int& period_timer;
    int& nav_timer;
    const int& link_handle;
    const int& ins_handle;
};

// What sending asks of its surroundings, each time anew. All must be set.
struct SenderQuestions {
    std::function<bool()> single_mode;       // "单次" is chosen
    std::function<bool()> telemetry_stream;  // the position goes out every 40 ms in single mode
    std::function<int()> period_ms;          // of the periodic frame
    std::function<bool()> drag_under_way;    // a mouse drag on the first picture
    std::function<bool()> recv_telemetry;    // the interface feed is a source of position
};

// Fields and `timers` (the object whose timer ids the fields hold) outlive the sender. GUI thread.
class CommandSender {
public:
    CommandSender(QObject& timers, const SenderFields& fields, SenderQuestions questions);

    // The only ways to the pod.
    sorvane::FrameSender& frames() { return m_frames; }
    // What moves the pod by the operator's hand.
    sorvane::MovementGuard& movements() { return m_movements; }
    bool singleMode() const { return m_questions.single_mode(); }

    // Starts what the protocol mode asks for; after an opening and after a change of the mode.
    void applySendMode();
    // Ends both timers, so that nothing leaves the station by itself.
    void silence();
    // The link closes: both timers end, their ids are kept until the next opening.
    void linkClosed();

    // Expiry of the two timers; false for an id that was only kept and may belong to another timer by now. A
    // line that is still busy with what was sent before puts the whole tick off until it is free.
    bool onPeriodTick();
    bool onNavTick();
    // Single mode: until a rate of a drag can leave soon after it is sent; 0 now. Rates in a queue would be
    // old.
    int rateWaitMs() const;

    // Frames leave without the operator's doing: in periodic mode, and with the stream of positions, unless
    // silenced.
    bool sendsByItself() const { return !m_silent && (!singleMode() || m_questions.telemetry_stream()); }
    // Told of every frame that was handed to the system for the link: taken or not. May be empty.
    std::function<void(bool taken)> pushed;

    // The local time as all commands see it; a test sets its own.
    std::function<sorvane::CalendarTime()> local_clock;

private:
    sorvane::SenderConditions conditions();
    void killTimers();
    // False when the line is busy: the timer then runs out as soon as it is free.
    bool lineFree(QTimer& put_off);

    QObject& m_timers;
    SenderFields m_fields;
    SenderQuestions m_questions;
    sorvane::FrameSender m_frames;
    sorvane::MovementGuard m_movements;
    QTimer m_periodPutOff;  // runs while a tick waits for the line
    QTimer m_navPutOff;
    bool m_idsStale = false;
    bool m_silent = false;  // until applySendMode()
};
