// When the pictures of a replay are due: at the pace that their time stamps tell.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

namespace tavrik {

// One thread at a time.
class ClipPace {
public:
    using Time = std::chrono::steady_clock::time_point;
    // Tells the present time; never goes back.
    using Now = std::function<Time()>;

    // Two stamps further apart than this are no pause to sit through.
    static constexpr std::chrono::seconds kLongestGap{10};

    explicit ClipPace(Now now);

    // From one picture to the next where their stamps do not tell; above 0. 40 ms until it is set.
    void setUsualStep(std::chrono::nanoseconds step) { m_usualStep = step; }
    // The next picture in the order of display, with its stamp in microseconds or kNoTime. The first is due
    // at once, each further one as much later as its stamp is; where that is absent, not later than the one
    // before, or beyond kLongestGap, by the usual step.
    void next(std::int64_t position_us);
    // When the latest picture told to next() is due; nothing is due while held().
    Time due() const { return m_zero + m_offset; }
    bool isDue() const { return !m_held && m_now() >= due(); }

    // Time stands from hold() to resume(); the second of two in a row does nothing.
    void hold();
    void resume();
    bool held() const { return m_held; }

private:
    std::chrono::nanoseconds stepTo(std::int64_t position_us);

    Now m_now;
    std::chrono::nanoseconds m_usualStep = std::chrono::milliseconds(40);
    bool m_begun = false;
    bool m_held = false;
    Time m_heldSince{};
    Time m_zero{};                            // when the first picture was due, later by what was held
    std::chrono::nanoseconds m_offset{};      // of the latest picture from the first
    std::int64_t m_knownUs;                   // the latest stamp, or kNoTime
    std::chrono::nanoseconds m_sinceKnown{};  // from its picture to the latest one
};

}  // namespace tavrik
