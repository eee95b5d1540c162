// Little-endian reading and writing at unaligned places, for the pod's own records.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace podsim {

inline std::uint16_t getU16(const std::uint8_t* p) { return static_cast<std::uint16_t>(p[0] | p[1] << 8); }
inline std::int16_t getI16(const std::uint8_t* p) { return static_cast<std::int16_t>(getU16(p)); }
inline std::uint32_t getU32(const std::uint8_t* p) {
    return static_cast<std::uint32_t>(getU16(p)) | static_cast<std::uint32_t>(getU16(p + 2)) << 16;
}
inline std::int32_t getI32(const std::uint8_t* p) { return static_cast<std::int32_t>(getU32(p)); }
inline float getF32(const std::uint8_t* p) {
    const std::uint32_t bits = getU32(p);
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

inline void putU16(std::uint8_t* p, std::uint16_t v) {
    p[0] = static_cast<std::uint8_t>(v);
    p[1] = static_cast<std::uint8_t>(v >> 8);
}
inline void putI16(std::uint8_t* p, std::int16_t v) { putU16(p, static_cast<std::uint16_t>(v)); }
inline void putU32(std::uint8_t* p, std::uint32_t v) {
    putU16(p, static_cast<std::uint16_t>(v));
    putU16(p + 2, static_cast<std::uint16_t>(v >> 16));
}
inline void putI32(std::uint8_t* p, std::int32_t v) { putU32(p, static_cast<std::uint32_t>(v)); }
inline void putU64(std::uint8_t* p, std::uint64_t v) {
    putU32(p, static_cast<std::uint32_t>(v));
    putU32(p + 4, static_cast<std::uint32_t>(v >> 32));
}
inline void putF32(std::uint8_t* p, float v) {
    std::uint32_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    putU32(p, bits);
}

}  // namespace podsim
