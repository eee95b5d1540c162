// When a picture is to be shown and when its first byte came.
#pragma once

#include <chrono>
#include <cstdint>
#include <limits>

namespace tavrik {

constexpr std::int64_t kNoTime = std::numeric_limits<std::int64_t>::min();

struct Stamp {
    std::int64_t pts = kNoTime;  // 1/90000 s, as the container says it; kNoTime: not said
    std::int64_t dts = kNoTime;
    std::chrono::steady_clock::time_point arrival{};
};

}  // namespace tavrik
