// The checksums of the pod's protocol: their one home.
#pragma once

#include <cstdint>

#include "base/bytes.h"

namespace sorvane {

// XOR of the eight bytes of a word; their order does not matter.
constexpr std::uint8_t foldXor(std::uint64_t word) {
    word ^= word >> 32;
    word ^= word >> 16;
    word ^= word >> 8;
    return static_cast<std::uint8_t>(word);
}

// XOR of n bytes; 0 for none (n below 1). Eight bytes a step; with a length known to the compiler no loop
// remains.
inline std::uint8_t frameXor(const void* data, int n) {
    const auto* p = static_cast<const std::uint8_t*>(data);
    std::uint64_t words = 0;
    int i = 0;
    for (; i + 8 <= n; i += 8) {
        words ^= loadWord(p + i);
    }
    if (i + 4 <= n) {
        words ^= loadHalfWord(p + i);
        i += 4;
    }
    for (; i < n; ++i) {
        words ^= p[i];
    }
    return foldXor(words);
}

// Sum of n bytes modulo 2^32; callers use the low 8 bits. 0 for none (n below 1).
inline std::uint32_t frameSum(const void* data, int n) {
    const auto* p = static_cast<const std::uint8_t*>(data);
    std::uint32_t sum = 0;
    for (int i = 0; i < n; ++i) {
        sum += p[i];
    }
    return sum;
}

}  // namespace sorvane
