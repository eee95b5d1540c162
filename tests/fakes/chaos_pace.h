// When the next bytes of a direction may go out: the rate and the pauses of a proxy.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <utility>
#include <vector>

#include "tests/fakes/chaos_proxy.h"

namespace chaos {

class Pace {
public:
    using Clock = std::chrono::steady_clock;

    void setPauses(std::vector<Pause> pauses) {
        m_pauses.assign(pauses.begin(), pauses.end());
        m_passed = 0;
    }
    // 0: no pause is left.
    std::size_t bytesUntilPause() const {
        return m_pauses.empty() ? 0 : std::max<std::size_t>(1, m_pauses.front().after_bytes - m_passed);
    }
    Clock::time_point free() const { return m_free; }

    // Takes note of what goes out now.
    void pass(std::size_t size, std::size_t rate) {
        const auto now = Clock::now();
        if (rate > 0) {
            // A thread that came late makes up for a little of it, never for all in one burst.
            m_free = std::max(m_free, now - kCatchUp) + std::chrono::nanoseconds(size * 1000000000ull / rate);
        }
        m_passed += size;
        while (!m_pauses.empty() && m_passed >= m_pauses.front().after_bytes) {
            m_free = std::max(m_free, now + m_pauses.front().length);
            m_passed -= m_pauses.front().after_bytes;
            m_pauses.pop_front();
            ++begun;
        }
    }

    std::uint64_t begun = 0;

private:
    static constexpr std::chrono::milliseconds kCatchUp{5};

    std::deque<Pause> m_pauses;
    std::size_t m_passed = 0;
    Clock::time_point m_free{};
};

}  // namespace chaos
