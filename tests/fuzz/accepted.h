// A fuzz run that never gets past the checksums proves nothing: each target counts what was accepted, and a
// run with none fails. Include it in one source of the target.
#pragma once

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace fuzz {

inline std::atomic<unsigned long long> accepted_count{0};

// Call for each frame, picture or unit that the code under test took for whole and good. Any thread.
inline void countAccepted() { accepted_count.fetch_add(1, std::memory_order_relaxed); }

namespace detail {

inline void reportAtExit() {
    const unsigned long long count = accepted_count.load();
    std::fprintf(stderr, "accepted: %llu\n", count);
    if (count == 0) {
        std::fprintf(stderr, "nothing was accepted: the run fails\n");
        std::_Exit(78);
    }
}

inline const int at_exit = std::atexit(reportAtExit);

}  // namespace detail
}  // namespace fuzz
