// The two checksums of the pod's protocol.
#pragma once

#include <cstdint>

namespace sorvane {

// XOR of n bytes; 0 for none (n below 1).
inline std::uint8_t frameXor(const void* data, int n) {
    const auto* p = static_cast<const std::uint8_t*>(data);
    std::uint8_t x = 0;
    for (int i = 0; i < n; ++i)
        x = static_cast<std::uint8_t>(x ^ p[i]);
    return x;
}

// Sum of n bytes modulo 2^32; callers use the low 8 bits. 0 for none (n below 1).
inline std::uint32_t frameSum(const void* data, int n) {
    const auto* p = static_cast<const std::uint8_t*>(data);
    std::uint32_t sum = 0;
    for (int i = 0; i < n; ++i)
        sum += p[i];
    return sum;
}

}  // namespace sorvane
