#include "simulator/stream/event_log.h"

#include <cinttypes>

#include "simulator/stream/clock.h"

namespace podsim {

EventLog::~EventLog() {
    if (m_file) {
        std::fclose(m_file);
    }
}

bool EventLog::open(const std::string& path) {
    m_file = std::fopen(path.c_str(), "we");
    if (m_file) {
        std::setvbuf(m_file, nullptr, _IOLBF, 1 << 16);
    }
    return m_file != nullptr;
}

void EventLog::event(const char* kind, const std::string& fields) { eventAt(monotonicNs(), kind, fields); }

void EventLog::eventAt(std::int64_t time_ns, const char* kind, const std::string& fields) {
    if (!m_file) {
        return;
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::fprintf(m_file, "%" PRId64 " %s%s%s\n", time_ns, kind, fields.empty() ? "" : " ", fields.c_str());
}

}  // namespace podsim
