// How much of a thread's time drawing may take.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>

namespace sorvane {

// After a frame the thread is left to others for as long as the frame took: drawing takes half of its time at
// most, however many views share the pace, and of two that both want to draw none goes twice in a row. A
// picture that is about to come finds the thread free. Times in microseconds of any steady clock; `who` tells
// views apart and is never looked into. One thread.
class FramePace {
public:
    // To be asked only by a view that has something to draw.
    bool mayDraw(const void* who, std::int64_t now_us) {
        const bool picture_first = pictureIsDue(now_us) && now_us - m_ended_us < kPicturesFirst_us;
        const bool other_waits =
            m_refused != nullptr && m_refused != who && now_us - m_refusedAt_us < kStillWaits_us;
        if (now_us < m_next_us || picture_first || (who == m_last && other_waits)) {
            if (who != m_last) {
                m_refused = who;
                m_refusedAt_us = now_us;
            }
            return false;
        }
        return true;
    }
    void drawn(const void* who, std::int64_t begin_us, std::int64_t end_us) {
        const std::int64_t took_us = end_us - begin_us;
        m_next_us = end_us + std::clamp<std::int64_t>(took_us, 0, kMostRest_us);
        m_ended_us = end_us;
        // Views differ, and the next frame may be the other one's.
        m_frame_us = std::min(std::max(took_us, m_frame_us * 7 / 8), kPicturesFirst_us / 2);
        m_last = who;
        if (m_refused == who) {
            m_refused = nullptr;
        }
    }

    // On the window of that number. From two of them on the next one is expected as long after the last.
    void pictureCame(int window, std::int64_t now_us) {
        Pictures& pictures = m_pictures[window];
        const std::int64_t gap_us = now_us - pictures.last_us;
        const bool steady = pictures.last_us != 0 && gap_us < kLongestPeriod_us;
        const std::int64_t known_us = pictures.period_us != 0 ? pictures.period_us : gap_us;
        pictures.period_us = steady ? known_us + (gap_us - known_us) / 4 : 0;
        pictures.last_us = now_us;
    }

private:
    struct Pictures {
        std::int64_t last_us = 0;
        std::int64_t period_us = 0;  // 0 while unknown
    };

    // A frame that began now would hold a picture up.
    bool pictureIsDue(std::int64_t now_us) const {
        return std::any_of(m_pictures.begin(), m_pictures.end(), [&](const auto& entry) {
            const Pictures& pictures = entry.second;
            const std::int64_t due_us = pictures.last_us + pictures.period_us;
            return pictures.period_us != 0 && now_us > due_us - m_frame_us && now_us < due_us + kLate_us;
        });
    }

    // However many pictures come, so long after a frame the next one is due too.
    static constexpr std::int64_t kPicturesFirst_us = 100000;
    // What a network's jitter makes of a period.
    static constexpr std::int64_t kLate_us = 5000;
    static constexpr std::int64_t kLongestPeriod_us = 150000;
    // A first frame may take seconds; nobody needs as long a rest.
    static constexpr std::int64_t kMostRest_us = 500000;
    // Who was refused asks again soon, or has nothing to draw any more.
    static constexpr std::int64_t kStillWaits_us = 200000;

    std::map<int, Pictures> m_pictures;
    std::int64_t m_next_us = 0;
    std::int64_t m_ended_us = 0;
    std::int64_t m_frame_us = 0;  // what a frame is expected to take
    const void* m_last = nullptr;
    const void* m_refused = nullptr;
    std::int64_t m_refusedAt_us = 0;
};

}  // namespace sorvane
