#include "pulse/pulse.h"

#include <algorithm>
#include <cmath>

namespace sorvane {

void Pulse::startAnew(std::int64_t now_ms) {
    m_sinceMs = now_ms;
    m_first = 0;
    m_count = 0;
}

void Pulse::follow(bool in_use, bool by_itself, std::int64_t now_ms) {
    if (in_use && !m_inUse) {
        startAnew(now_ms);
        m_counts = PulseCounts();
        m_lastFailed = false;
        m_broken = false;
    } else if (by_itself && !m_byItself) {
        // What came on demand has no rhythm, and its age is no delay.
        startAnew(now_ms);
    }
    m_inUse = in_use;
    m_byItself = by_itself;
}

bool Pulse::came(std::int64_t now_ms) {
    if (!m_inUse) {
        return false;
    }
    const std::int64_t gap_ms = last() != kNever ? now_ms - last() : 0;
    const bool paused = m_byItself && late(gap_ms);
    if (paused) {
        noteGap(gap_ms);
    }
    ++m_counts.came;
    m_lastFailed = false;
    if (m_count == kArrivals) {
        m_first = (m_first + 1) % kArrivals;
        --m_count;
    }
    m_arrivals[(m_first + m_count) % kArrivals] = now_ms;
    ++m_count;
    return paused;
}

void Pulse::noteGap(std::int64_t gap_ms) {
    ++m_counts.pauses;
    m_counts.longest_pause_ms = std::max(m_counts.longest_pause_ms, gap_ms);
    m_lastPauseMs = gap_ms;
    const double usual = usualMs();
    if (usual > 0.0) {
        m_counts.missing += std::max<std::int64_t>(std::llround(static_cast<double>(gap_ms) / usual) - 1, 0);
    }
}

void Pulse::failed() {
    if (m_inUse) {
        ++m_counts.failed;
        m_lastFailed = true;
    }
}

// The short gaps are looked at without the sum: most arrivals are in time.
bool Pulse::late(std::int64_t age_ms) const {
    if (age_ms <= kLeastWarnMs) {
        return false;
    }
    const double usual = age_ms <= kDangerMs ? usualMs() : 0.0;
    return age_ms > kDangerMs || (usual >= 0.0 && static_cast<double>(age_ms) > kUsualIntervals * usual);
}

PulseReading Pulse::read(std::int64_t now_ms) const {
    if (!m_inUse) {
        return {};
    }
    const bool any = m_count > 0;
    PulseReading reading;
    reading.age_ms = now_ms - (any ? last() : m_sinceMs);
    if (!m_byItself) {
        reading.state = m_broken || m_lastFailed ? PulseState::kDanger : PulseState::kOk;
        if (!any) {
            reading.age_ms = kNever;
        }
    } else if (m_broken || reading.age_ms > kDangerMs) {
        reading.state = PulseState::kDanger;
    } else {
        reading.state = !any || late(reading.age_ms) ? PulseState::kWarn : PulseState::kOk;
    }
    return reading;
}

double Pulse::usualMs() const {
    constexpr std::size_t kLeastGaps = 3;
    constexpr std::size_t kManyGaps = 8;
    if (m_count < kLeastGaps + 1) {
        return -1.0;
    }
    const std::size_t gaps = m_count - 1;
    std::int64_t longest = 0;
    std::int64_t second = 0;
    for (std::size_t i = 1; i < m_count; ++i) {
        const std::int64_t gap_ms = arrival(i) - arrival(i - 1);
        second = std::max(second, std::min(gap_ms, longest));
        longest = std::max(longest, gap_ms);
    }
    const bool many = gaps >= kManyGaps;
    const std::int64_t rest_ms = last() - arrival(0) - longest - (many ? second : 0);
    return static_cast<double>(rest_ms) / static_cast<double>(gaps - (many ? 2 : 1));
}

double Pulse::rate(std::int64_t now_ms) const {
    constexpr std::int64_t kSpanMs = 2000;
    std::size_t recent = 0;
    while (recent < m_count && now_ms - arrival(m_count - 1 - recent) < kSpanMs) {
        ++recent;
    }
    if (recent == 0) {
        return 0.0;
    }
    // With more of them than are remembered, or a use that began just now, the span is that of those known.
    const std::int64_t oldest = arrival(m_count - recent);
    const bool whole = recent < m_count || now_ms - m_sinceMs >= kSpanMs;
    if (recent < kArrivals && whole) {
        return static_cast<double>(recent) * 1000.0 / kSpanMs;
    }
    const std::int64_t span_ms = now_ms - oldest;
    return span_ms > 0 ? static_cast<double>(recent - 1) * 1000.0 / static_cast<double>(span_ms) : 0.0;
}

}  // namespace sorvane
