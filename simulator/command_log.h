// Writes the commands that arrive into the event log. Periodic frames repeat themselves 25 times a second:
// a run of equal ones is one line when it begins and one with its count when it ends.
#pragma once

#include <cstdint>

#include "simulator/stream/event_log.h"
#include "simulator/wire/wire.h"

namespace podsim {

class CommandLog {
public:
    explicit CommandLog(EventLog& log) : log_(log) {}

    void onCommand(const wire::Command& command, const char* line);
    // The end of the session: the counts that are still open.
    void finish();

private:
    void closeRun();

    EventLog& log_;
    bool running_ = false;       // a run of fixed frames is open
    wire::Command current_;      // its first frame
    std::uint64_t repeats_ = 0;  // further equal frames
    std::uint64_t nav_blocks_ = 0;
};

}  // namespace podsim
