// The clocks of the machine. The pod's own time passes by Pod::step alone.
#pragma once

#include <cstdint>

namespace podsim {

// Since some start, never set back: nanoseconds. The clock of std::chrono::steady_clock.
std::int64_t monotonicNs();
// Since 1970, microseconds; may be set by the system.
std::int64_t utcMicroseconds();
// The next beat after `now`, all in nanoseconds; beats that were missed are left out.
std::int64_t nextBeat(std::int64_t last, std::int64_t period, std::int64_t now);

}  // namespace podsim
