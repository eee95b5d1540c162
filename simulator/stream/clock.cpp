#include "simulator/stream/clock.h"

#include <ctime>

namespace podsim {

std::int64_t monotonicNs() {
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return t.tv_sec * 1'000'000'000LL + t.tv_nsec;
}

std::int64_t utcMicroseconds() {
    timespec t{};
    clock_gettime(CLOCK_REALTIME, &t);
    return t.tv_sec * 1'000'000LL + t.tv_nsec / 1000;
}

std::int64_t nextBeat(std::int64_t last, std::int64_t period, std::int64_t now) {
    const std::int64_t next = last + period;
    return next > now - period ? next : now;
}

}  // namespace podsim
