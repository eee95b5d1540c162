#include "oskel/line_pace.h"

#include <algorithm>

namespace oskel {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kBitsPerByte = 10;
// What a timer is late by on a quiet machine and, at most, on a loaded one. The former is less on fast lines,
// where a frame is shorter than that, and one byte on slow ones.
constexpr LinePace::Duration kUsualLead = 2ms;
constexpr LinePace::Duration kLongestLead = 40ms;
constexpr std::size_t kShortRun = 44;

}  // namespace

LinePace::LinePace(unsigned int baud)
    : m_baud(baud),
      m_leastLead(std::max(timeOf(1), std::min(kUsualLead, timeOf(kShortRun)))),
      m_lead(m_leastLead) {}

LinePace::Duration LinePace::timeOf(std::size_t bytes) const {
    return Duration(bytes * kBitsPerByte * std::chrono::nanoseconds(1s).count() / m_baud);
}

void LinePace::handedOver(std::size_t bytes, TimePoint now) {
    m_freeAt = std::max(m_freeAt, now) + timeOf(bytes);
}

LinePace::Duration LinePace::left(std::size_t unsent, TimePoint now) const {
    return std::max({Duration(m_freeAt - now), timeOf(unsent), Duration::zero()});
}

LinePace::Duration LinePace::untilNext(std::size_t unsent, TimePoint now) const {
    return std::max(left(unsent, now) - m_lead, Duration::zero());
}

void LinePace::woke(bool too_late) {
    m_lead = too_late ? std::min(2 * m_lead, kLongestLead) : std::max(m_lead - m_lead / 64, m_leastLead);
}

}  // namespace oskel
