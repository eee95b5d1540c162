// How much of a thread's time drawing may take.
#pragma once

#include <algorithm>
#include <cstdint>

namespace sorvane {

// After a frame the thread is left to others for as long as the frame took: drawing takes half of its time at
// most, however many views share the pace. Times in microseconds of any steady clock. One thread.
class FramePace {
public:
    bool mayDraw(std::int64_t now_us) const { return now_us >= m_next_us; }
    void drawn(std::int64_t begin_us, std::int64_t end_us) {
        m_next_us = end_us + std::clamp<std::int64_t>(end_us - begin_us, 0, kMostRest_us);
    }

private:
    // A first frame may take seconds; nobody needs as long a rest.
    static constexpr std::int64_t kMostRest_us = 500000;
    std::int64_t m_next_us = 0;
};

}  // namespace sorvane
