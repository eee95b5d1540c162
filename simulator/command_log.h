// Writes the commands that arrive into the event log. Periodic frames repeat themselves 25 times a second:
// a run of equal ones is one line when it begins and one with its count when it ends.
#pragma once

#include <cstdint>
#include <string>

#include "simulator/stream/event_log.h"
#include "simulator/wire/wire.h"

namespace podsim {

class CommandLog {
public:
    explicit CommandLog(EventLog& log) : m_log(log) {}

    void onCommand(const wire::Command& command, const char* line);
    // The end of the session: the counts that are still open.
    void finish();

private:
    void closeRun();
    void onNav(const wire::Command& command, const char* line);

    EventLog& m_log;
    bool m_running = false;       // a run of fixed frames is open
    wire::Command m_current;      // its first frame
    std::uint64_t m_repeats = 0;  // further equal frames
    std::uint64_t m_navBlocks = 0;
    std::string m_nav;  // the aircraft's block as last told
};

}  // namespace podsim
