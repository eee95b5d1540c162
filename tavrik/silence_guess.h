// How long a silence must be to mean that a picture has ended, in a stream whose form does not tell: learned
// from the pauses inside pictures and from the time between pictures.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

namespace tavrik {

// Not thread-safe. Positions are bytes from the stream's beginning; times are arrivals and never go back.
class SilenceGuess {
public:
    using Time = std::chrono::steady_clock::time_point;
    using Duration = std::chrono::steady_clock::duration;
    // Pictures before the first guess, and in one window of remembered pauses.
    static constexpr int kPictures = 200;
    static constexpr std::chrono::minutes kRest{5};

    // Bytes from the position on came at the time.
    void pushed(std::uint64_t position, Time arrival);
    // A picture from begin to end (one behind its last byte); its first byte came at the time.
    void picture(std::uint64_t begin, std::uint64_t end, Time arrival);
    // A guess has cut a picture in two: none is made until kRest after this, and it is logged.
    void wrong();
    // Milliseconds; -1: nothing is guessed.
    int silenceMs() const { return m_silenceMs; }

private:
    struct Pause {
        std::uint64_t position;
        Duration length;
    };
    void closeWindow();
    void decide();

    static constexpr std::size_t kWindows = 8;
    static constexpr std::size_t kMostPauses = 4096;
    std::deque<Pause> m_pauses;  // not yet known to be inside a picture or between two
    Time m_lastPush{}, m_lastPicture{}, m_restUntil{};
    bool m_pushedBefore = false, m_pictureBefore = false, m_resting = false;
    std::array<Duration, kWindows> m_longest{};  // pause inside a picture, of each window
    std::size_t m_window = 0;
    std::size_t m_windowsFull = 0;
    std::vector<Duration> m_intervals;  // of the present window
    Duration m_interval{};              // between pictures, the last full window's median
    int m_silenceMs = -1;
};

}  // namespace tavrik
