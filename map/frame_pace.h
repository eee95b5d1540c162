// How much of a thread's time drawing may take.
#pragma once

#include <algorithm>
#include <cstdint>

namespace sorvane {

// After a frame the thread is left to others for as long as the frame took: drawing takes half of its time at
// most, however many views share the pace, and of two that both want to draw none goes twice in a row. Times
// in microseconds of any steady clock; `who` tells views apart and is never looked into. One thread.
class FramePace {
public:
    // To be asked only by a view that has something to draw.
    bool mayDraw(const void* who, std::int64_t now_us) {
        const bool other_waits =
            m_refused != nullptr && m_refused != who && now_us - m_refusedAt_us < kStillWaits_us;
        if (now_us < m_next_us || (who == m_last && other_waits)) {
            if (who != m_last) {
                m_refused = who;
                m_refusedAt_us = now_us;
            }
            return false;
        }
        return true;
    }
    void drawn(const void* who, std::int64_t begin_us, std::int64_t end_us) {
        m_next_us = end_us + std::clamp<std::int64_t>(end_us - begin_us, 0, kMostRest_us);
        m_last = who;
        if (m_refused == who) {
            m_refused = nullptr;
        }
    }

private:
    // A first frame may take seconds; nobody needs as long a rest.
    static constexpr std::int64_t kMostRest_us = 500000;
    // Who was refused asks again soon, or has nothing to draw any more.
    static constexpr std::int64_t kStillWaits_us = 50000;

    std::int64_t m_next_us = 0;
    const void* m_last = nullptr;
    const void* m_refused = nullptr;
    std::int64_t m_refusedAt_us = 0;
};

}  // namespace sorvane
