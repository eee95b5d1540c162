#include "tavrik/clip_pace.h"

#include <algorithm>
#include <utility>

#include "tavrik/stamp.h"

namespace tavrik {

ClipPace::ClipPace(Now now) : m_now(std::move(now)), m_knownUs(kNoTime) {}

void ClipPace::next(std::int64_t position_us) {
    if (!m_begun) {
        m_begun = true;
        m_zero = m_held ? m_heldSince : m_now();
        m_knownUs = position_us;
        return;
    }
    const std::chrono::nanoseconds step = stepTo(position_us);
    m_offset += step;
    m_sinceKnown += step;
    if (position_us != kNoTime) {
        m_knownUs = position_us;
        m_sinceKnown = {};
    }
}

std::chrono::nanoseconds ClipPace::stepTo(std::int64_t position_us) {
    if (position_us == kNoTime || m_knownUs == kNoTime || position_us <= m_knownUs) {
        return m_usualStep;
    }
    // Unsigned, since stamps may lie at the two ends of their range.
    const std::uint64_t ahead_us =
        static_cast<std::uint64_t>(position_us) - static_cast<std::uint64_t>(m_knownUs);
    if (ahead_us > static_cast<std::uint64_t>(std::chrono::microseconds(kLongestGap).count())) {
        return m_usualStep;
    }
    // Pictures without a stamp may have taken the usual step once too often.
    return std::max(std::chrono::nanoseconds(std::chrono::microseconds(ahead_us)) - m_sinceKnown,
                    std::chrono::nanoseconds(0));
}

void ClipPace::hold() {
    if (!m_held) {
        m_held = true;
        m_heldSince = m_now();
    }
}

void ClipPace::resume() {
    if (m_held) {
        m_held = false;
        m_zero += m_now() - m_heldSince;
    }
}

}  // namespace tavrik
