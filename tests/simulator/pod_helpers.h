// Shorthand for tests of the simulated pod.
#pragma once

#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <vector>

#include "simulator/pod/pod.h"
#include "simulator/pod/renderer.h"
#include "simulator/pod/views.h"

namespace podsim {

constexpr double kTick = 0.04;

inline std::vector<std::uint8_t> words16(std::initializer_list<int> values) {
    std::vector<std::uint8_t> bytes;
    for (const int v : values) {
        bytes.push_back(static_cast<std::uint8_t>(v & 0xFF));
        bytes.push_back(static_cast<std::uint8_t>(v >> 8 & 0xFF));
    }
    return bytes;
}

inline std::vector<std::uint8_t> dwords(std::initializer_list<std::int32_t> values) {
    std::vector<std::uint8_t> bytes;
    for (const std::int32_t v : values) {
        for (int shift = 0; shift < 32; shift += 8) {
            bytes.push_back(static_cast<std::uint8_t>(static_cast<std::uint32_t>(v) >> shift & 0xFF));
        }
    }
    return bytes;
}

// A command that comes alone.
inline void send(Pod& pod, std::uint16_t code, std::vector<std::uint8_t> payload = {}) {
    if (payload.size() < 4) {
        payload.resize(4);
    }
    pod.apply(code, payload.data(), payload.size(), -1, 0, 0);
}

// One of the periodic frames.
inline void frame(Pod& pod, std::uint16_t code, std::vector<std::uint8_t> payload = {}, int rate_code = 0,
                  int az = 0, int el = 0) {
    payload.resize(4);
    pod.apply(code, payload.data(), payload.size(), rate_code, static_cast<std::int16_t>(az),
              static_cast<std::int16_t>(el));
}

inline void run(Pod& pod, double seconds) {
    for (double t = 0; t < seconds - kTick / 2; t += kTick) {
        pod.step(kTick);
    }
}

inline double turned(double from_deg, double to_deg) { return std::remainder(to_deg - from_deg, 360); }

}  // namespace podsim
