// Little-endian reading and writing at unaligned places: the byte order of every wire and file record of the
// station. Pointers must have the full width of the value behind them; nothing is checked here.
#pragma once

#include <cstdint>
#include <cstring>

namespace sorvane {

// Eight or four bytes at any place, in the machine's own order: for scans to which order does not matter.
inline std::uint64_t loadWord(const std::uint8_t* bytes) {
    std::uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}
inline std::uint32_t loadHalfWord(const std::uint8_t* bytes) {
    std::uint32_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

inline std::uint16_t loadU16(const void* at) {
    const auto* p = static_cast<const std::uint8_t*>(at);
    return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}

inline std::uint32_t loadU32(const void* at) {
    const auto* p = static_cast<const std::uint8_t*>(at);
    return static_cast<std::uint32_t>(loadU16(p)) | (static_cast<std::uint32_t>(loadU16(p + 2)) << 16);
}

inline std::uint64_t loadU64(const void* at) {
    const auto* p = static_cast<const std::uint8_t*>(at);
    return static_cast<std::uint64_t>(loadU32(p)) | (static_cast<std::uint64_t>(loadU32(p + 4)) << 32);
}

inline std::int16_t loadI16(const void* at) { return static_cast<std::int16_t>(loadU16(at)); }
inline std::int32_t loadI32(const void* at) { return static_cast<std::int32_t>(loadU32(at)); }

inline float loadF32(const void* at) {
    const std::uint32_t bits = loadU32(at);
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

inline void storeU16(void* at, std::uint16_t value) {
    auto* p = static_cast<std::uint8_t*>(at);
    p[0] = static_cast<std::uint8_t>(value);
    p[1] = static_cast<std::uint8_t>(value >> 8);
}

inline void storeU32(void* at, std::uint32_t value) {
    auto* p = static_cast<std::uint8_t*>(at);
    storeU16(p, static_cast<std::uint16_t>(value));
    storeU16(p + 2, static_cast<std::uint16_t>(value >> 16));
}

inline void storeU64(void* at, std::uint64_t value) {
    auto* p = static_cast<std::uint8_t*>(at);
    storeU32(p, static_cast<std::uint32_t>(value));
    storeU32(p + 4, static_cast<std::uint32_t>(value >> 32));
}

inline void storeI16(void* at, std::int16_t value) { storeU16(at, static_cast<std::uint16_t>(value)); }
inline void storeI32(void* at, std::int32_t value) { storeU32(at, static_cast<std::uint32_t>(value)); }

inline void storeF32(void* at, float value) {
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    storeU32(at, bits);
}

constexpr std::uint8_t lowByte(int value) { return static_cast<std::uint8_t>(value & 0xFF); }
constexpr std::uint8_t highByte(int value) { return static_cast<std::uint8_t>((value >> 8) & 0xFF); }

}  // namespace sorvane
