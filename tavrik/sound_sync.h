// Keeps sound with the picture: says of each piece whether it is played now, later or never.
#pragma once

#include <chrono>
#include <cstdint>
#include <limits>
#include <mutex>

#include "tavrik/stamp.h"

namespace tavrik {

// Times in 1/90000 s on the stream's own clock; kNoTime where it tells none. Any thread.
class SoundSync {
public:
    using Clock = std::chrono::steady_clock;
    enum class Verdict { kPlay, kDrop, kWait };
    struct Answer {
        Verdict verdict = Verdict::kPlay;
        std::chrono::milliseconds wait{0};  // ask again then
    };

    void pictureReceived(std::int64_t pts);
    void pictureShown(std::int64_t pts, Clock::time_point now);
    void soundReceived(std::int64_t pts, Clock::time_point now);
    // Sound more than 300 ms behind the picture shown is dropped until it is with the picture again. What it
    // is behind already as it comes, for seconds on end, is the sender's own and not counted: sound would
    // never be heard. Sound up to 1 s ahead waits for its picture.
    Answer judge(std::int64_t pts, Clock::time_point arrival, Clock::time_point now);

private:
    static constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

    std::int64_t ownLag() const;
    Answer byArrival(Clock::time_point arrival, Clock::time_point now) const;

    std::mutex m_mutex;
    std::int64_t m_received = kNoTime;  // the latest picture's
    std::int64_t m_shown = kNoTime;
    Clock::time_point m_shownAt{};
    // How far the sound is behind the pictures when it arrives: the least in the present and in the last
    // window.
    Clock::time_point m_windowBegin{};
    std::int64_t m_leastLag = kNever, m_leastLagBefore = kNever;
    bool m_dropping = false;
};

}  // namespace tavrik
