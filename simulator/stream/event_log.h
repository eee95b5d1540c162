// The record of what happened, for people and for tests: one line an event,
//   MONOTONIC_NS KIND KEY=VALUE ...
// Lines are whole in the file as soon as event() returns. Any thread may write.
#pragma once

#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>

namespace podsim {

class EventLog {
public:
    EventLog() = default;
    ~EventLog();
    EventLog(const EventLog&) = delete;
    EventLog& operator=(const EventLog&) = delete;

    // Truncates the file. False with a reason in errno when it cannot be written.
    bool open(const std::string& path);
    bool isOpen() const { return m_file != nullptr; }
    // `fields` is "key=value key=value"; the time is the present one.
    void event(const char* kind, const std::string& fields);
    void eventAt(std::int64_t time_ns, const char* kind, const std::string& fields);

private:
    std::mutex m_mutex;
    std::FILE* m_file = nullptr;
};

}  // namespace podsim
