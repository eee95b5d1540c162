// What the fuzz targets of the reassemblers share: the cutting into pieces and the planting of whole frames.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t max_size);

namespace fuzz {

// The first byte of an input chooses the pieces, the rest is the stream. Each piece is a block of its own, so
// that a read beyond it is found.
template <typename Take>
void inPieces(const std::uint8_t* data, std::size_t size, Take&& take) {
    if (size < 2) {
        return;
    }
    std::minstd_rand random(data[0] + 1U);
    const std::size_t largest = 1U + (data[0] & 0x0FU) * 70U;
    for (std::size_t at = 1; at < size;) {
        const std::size_t piece = std::min<std::size_t>(1 + random() % largest, size - at);
        const std::vector<std::uint8_t> block(data + at, data + at + piece);
        take(block.data(), static_cast<std::int32_t>(piece));
        at += piece;
    }
}

// Reads every byte, so that a sanitizer sees a payload that is not all there.
inline void touch(const std::uint8_t* bytes, std::int32_t size) {
    volatile std::uint8_t sum = 0;
    for (std::int32_t i = 0; i < size; ++i) {
        sum = static_cast<std::uint8_t>(sum + bytes[i]);
    }
}

// Mutates as usual; then, two times in three, writes a frame's fixed bytes at a random place where
// `frame_size` bytes fit; then mends every frame that `mend` finds. `mend(bytes, rest)` returns the bytes of
// the frame it mended, or 0.
template <typename Plant, typename Mend>
std::size_t mutate(std::uint8_t* data, std::size_t size, std::size_t max_size, unsigned seed,
                   std::size_t frame_size, Plant&& plant, Mend&& mend) {
    std::minstd_rand random(seed);
    size = LLVMFuzzerMutate(data, size, max_size);
    if (random() % 3 != 0 && max_size > frame_size + 1) {
        const std::size_t at = 1 + random() % std::min(max_size - frame_size, size + 1);
        if (at + frame_size > size) {
            std::memset(data + size, 0x5A, at + frame_size - size);
            size = at + frame_size;
        }
        plant(data + at, random);
    }
    // One input in eight keeps its broken checksums.
    if (random() % 8 == 0) {
        return size;
    }
    for (std::size_t at = 1; at < size;) {
        at += std::max<std::size_t>(mend(data + at, size - at), 1);
    }
    return size;
}

}  // namespace fuzz
