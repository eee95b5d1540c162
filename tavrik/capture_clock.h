// The times of a recording's pictures, whatever the stream says of them.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "tavrik/stamp.h"

namespace tavrik {

// From the file's beginning, 1/90000 s; dts rises from picture to picture and is never above pts.
struct CaptureTimes {
    std::int64_t pts = 0;
    std::int64_t dts = 0;
};

// Not thread-safe. Times that are absent, contradict the pictures' order or jump are replaced by the times at
// which the pictures came.
class CaptureClock {
public:
    using Clock = std::chrono::steady_clock;
    struct Picture {
        Stamp stamp;
        std::int64_t order = 0;  // of showing, told by the picture itself
        bool has_order = false;
    };

    // A run of pictures in the order of decoding; everything in it is shown before what follows it.
    std::vector<CaptureTimes> run(const std::vector<Picture>& pictures);
    // Where sound of that time belongs, kNoTime if it is not known; below 0: before the file.
    std::int64_t sound(const Stamp& stamp) const;

private:
    using Ranks = std::vector<std::size_t>;  // pictures in the order of showing

    std::vector<std::int64_t> byStamps(const std::vector<Picture>& pictures, const Ranks& ranks);
    std::vector<std::int64_t> byArrival(const std::vector<Picture>& pictures, const Ranks& ranks) const;
    std::vector<CaptureTimes> withDecodingTimes(std::vector<std::int64_t> shown, const Ranks& ranks);

    bool m_begun = false;
    bool m_told = false;         // the latest run's times were its stamps
    bool m_stamped = false;      // m_offset is known
    std::int64_t m_offset = 0;   // from the stream's time to the file's
    std::int64_t m_lastPts = 0;  // the latest of all
    Clock::time_point m_lastArrival{};
    std::int64_t m_lastDts = -1;
    std::int64_t m_delay = 0;  // how far pictures come before they are shown
};

}  // namespace tavrik
