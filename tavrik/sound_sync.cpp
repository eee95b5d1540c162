#include "tavrik/sound_sync.h"

#include <algorithm>

namespace tavrik {
namespace {

using std::chrono::milliseconds;

constexpr std::int64_t kTicksPerMs = 90;
constexpr std::int64_t kMaxLate = 300 * kTicksPerMs;
constexpr std::int64_t kInStep = 40 * kTicksPerMs;
constexpr std::int64_t kMaxAhead = 1000 * kTicksPerMs;
// Further apart the two have nothing to do with each other.
constexpr std::int64_t kUnrelated = 10000 * kTicksPerMs;
constexpr auto kWindow = std::chrono::seconds(3);
// A picture stays the present one for so long; then the stream stands.
constexpr auto kPictureLasts = milliseconds(200);
constexpr auto kPictureCounts = std::chrono::seconds(1);
constexpr auto kMaxWaiting = std::chrono::seconds(1);
constexpr auto kLongestWait = milliseconds(50);

std::int64_t ticks(SoundSync::Clock::duration time) {
    return std::chrono::duration_cast<milliseconds>(time).count() * kTicksPerMs;
}

}  // namespace

void SoundSync::pictureReceived(std::int64_t pts) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (pts != kNoTime) {
        m_received = pts;
    }
}

void SoundSync::pictureShown(std::int64_t pts, Clock::time_point now) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_shown = pts;
    m_shownAt = now;
}

void SoundSync::soundReceived(std::int64_t pts, Clock::time_point now) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (now - m_windowBegin > kWindow) {
        m_windowBegin = now;
        m_leastLagBefore = m_leastLag;
        m_leastLag = kNever;
    }
    if (pts != kNoTime && m_received != kNoTime) {
        m_leastLag = std::min(m_leastLag, m_received - pts);
    }
}

std::int64_t SoundSync::ownLag() const {
    const std::int64_t least = std::min(m_leastLag, m_leastLagBefore);
    return least != kNever && m_leastLagBefore != kNever && least < kUnrelated
               ? std::max<std::int64_t>(least, 0)
               : 0;
}

// Without times all that can be known is how long a piece has waited for a receiver that blocks.
SoundSync::Answer SoundSync::byArrival(Clock::time_point arrival, Clock::time_point now) const {
    const bool beside_pictures = m_shownAt != Clock::time_point{};
    return {beside_pictures && now - arrival > kMaxWaiting ? Verdict::kDrop : Verdict::kPlay};
}

SoundSync::Answer SoundSync::judge(std::int64_t pts, Clock::time_point arrival, Clock::time_point now) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (pts == kNoTime || m_shown == kNoTime || now - m_shownAt > kPictureCounts) {
        return byArrival(arrival, now);
    }
    const std::int64_t late = m_shown - pts;
    if (late > kUnrelated || -late > kUnrelated) {
        return byArrival(arrival, now);
    }
    m_dropping = late - ownLag() > (m_dropping ? kInStep : kMaxLate);
    if (m_dropping) {
        return {Verdict::kDrop};
    }
    const std::int64_t ahead = -late - ticks(std::min<Clock::duration>(now - m_shownAt, kPictureLasts));
    // Pictures whose times stand still would let sound wait for ever.
    if (ahead <= kInStep || ahead > kMaxAhead || now - arrival > kMaxWaiting) {
        return {Verdict::kPlay};
    }
    const milliseconds wait((ahead - kInStep) / kTicksPerMs + 1);
    return {Verdict::kWait, std::min<milliseconds>(wait, kLongestWait)};
}

}  // namespace tavrik
