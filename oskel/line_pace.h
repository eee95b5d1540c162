// How long a serial line is busy with what it was given.
#pragma once

#include <chrono>
#include <cstddef>

namespace oskel {

// A device may take bytes long before they are on the wire, and only some say how many are not: the line is
// reckoned at 10 bits a byte, and the system's count of unsent bytes counts where it says more. Time comes in
// as an argument. One thread at a time.
class LinePace {
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    using Duration = std::chrono::nanoseconds;

    // Bits per second, at least 1.
    explicit LinePace(unsigned int baud = 115200);

    Duration timeOf(std::size_t bytes) const;
    void handedOver(std::size_t bytes, TimePoint now);
    // Until all that was handed over is on the wire; 0 on a silent line.
    Duration left(std::size_t unsent, TimePoint now) const;
    // Until the next run is to be handed over: so little before the line falls silent that hardly anything
    // more is out of reach for a run that goes ahead.
    Duration untilNext(std::size_t unsent, TimePoint now) const;
    // A run that waited is about to be handed over; too_late: the line had fallen silent before. A machine
    // whose timers are late needs more lead, as long as they are.
    void woke(bool too_late);

private:
    unsigned int m_baud;
    Duration m_leastLead;
    Duration m_lead;
    TimePoint m_freeAt{};
};

}  // namespace oskel
