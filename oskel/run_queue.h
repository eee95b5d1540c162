// Runs of bytes that wait for their line.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <utility>
#include <vector>

namespace oskel {

// In the order in which they were added, those that go ahead before all others. One thread at a time.
class RunQueue {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    bool empty() const { return m_ahead.empty() && m_ordinary.empty(); }
    std::size_t bytes() const { return m_bytes; }

    void add(const std::uint8_t* data, std::size_t size, bool ahead, TimePoint now) {
        (ahead ? m_ahead : m_ordinary).push_back({{data, data + size}, now});
        m_bytes += size;
    }

    // Of a queue that is not empty: when the run that has waited longest was added, and the next run.
    TimePoint oldest() const {
        if (m_ahead.empty() || m_ordinary.empty()) {
            return (m_ahead.empty() ? m_ordinary : m_ahead).front().added;
        }
        return std::min(m_ahead.front().added, m_ordinary.front().added);
    }
    std::vector<std::uint8_t> take() {
        auto& runs = m_ahead.empty() ? m_ordinary : m_ahead;
        std::vector<std::uint8_t> bytes = std::move(runs.front().bytes);
        runs.pop_front();
        m_bytes -= bytes.size();
        return bytes;
    }

    void clear() { *this = {}; }

private:
    struct Run {
        std::vector<std::uint8_t> bytes;
        TimePoint added;
    };

    std::deque<Run> m_ahead;
    std::deque<Run> m_ordinary;
    std::size_t m_bytes = 0;
};

}  // namespace oskel
