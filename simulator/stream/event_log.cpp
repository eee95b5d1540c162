#include "simulator/stream/event_log.h"

#include <cinttypes>

#include "simulator/stream/clock.h"

namespace podsim {

EventLog::~EventLog() {
    if (file_) std::fclose(file_);
}

bool EventLog::open(const std::string& path) {
    file_ = std::fopen(path.c_str(), "we");
    if (file_) std::setvbuf(file_, nullptr, _IOLBF, 1 << 16);
    return file_ != nullptr;
}

void EventLog::event(const char* kind, const std::string& fields) {
    eventAt(monotonicNs(), kind, fields);
}

void EventLog::eventAt(std::int64_t time_ns, const char* kind, const std::string& fields) {
    if (!file_) return;
    const std::lock_guard<std::mutex> lock(mutex_);
    std::fprintf(file_, "%" PRId64 " %s%s%s\n", time_ns, kind, fields.empty() ? "" : " ", fields.c_str());
}

}  // namespace podsim
