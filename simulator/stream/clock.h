// The clocks of the machine. The pod's own time passes by Pod::step alone.
#pragma once

#include <cstdint>

namespace podsim {

// Since some start, never set back: nanoseconds. The clock of std::chrono::steady_clock.
std::int64_t monotonicNs();
// Since 1970, microseconds; may be set by the system.
std::int64_t utcMicroseconds();

}  // namespace podsim
