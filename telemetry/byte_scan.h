// Word-wise searching for the reassemblers: eight bytes a step, portable, no alignment needed.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/bytes.h"

namespace sorvane {

// First position q in [from, limit) with bytes[q] == first and bytes[q + 1] == second, else `limit`.
// bytes[limit] must be readable. Searches for the pair rather than the first byte, so that a stream full of
// first bytes costs no more than noise.
inline std::size_t findPair(const std::uint8_t* bytes, std::size_t from, std::size_t limit,
                            std::uint8_t first, std::uint8_t second) {
    constexpr std::uint64_t kOnes = 0x0101010101010101U;
    constexpr std::uint64_t kHighBits = 0x8080808080808080U;
    const std::uint64_t firsts = kOnes * first;
    const std::uint64_t seconds = kOnes * second;
    std::size_t q = from;
    for (; q + 8 <= limit; q += 8) {
        // A byte of `miss` is zero exactly where the pair stands; the classic test then finds if any byte is.
        const std::uint64_t miss = (loadWord(bytes + q) ^ firsts) | (loadWord(bytes + q + 1) ^ seconds);
        if (((miss - kOnes) & ~miss & kHighBits) != 0) {
            break;
        }
    }
    for (; q < limit; ++q) {
        if (bytes[q] == first && bytes[q + 1] == second) {
            return q;
        }
    }
    return limit;
}

}  // namespace sorvane
