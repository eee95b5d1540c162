// The one way in which the station turns floating point into integers.
#pragma once

#include <cstdint>
#include <limits>

namespace sorvane {

// Truncates toward zero. NaN and what does not fit give 0x80000000, as the conversion instruction of the
// processors in use does; the language leaves that case undefined, so it is spelled out. Narrower fields take
// the low bits.
inline std::int32_t truncateToI32(double value) {
    // False for NaN too. Both bounds are exact in double.
    if (value > -2147483649.0 && value < 2147483648.0) {
        return static_cast<std::int32_t>(value);
    }
    return std::numeric_limits<std::int32_t>::min();
}

inline std::int16_t truncateToI16(double value) {
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(truncateToI32(value)));
}
inline std::uint16_t truncateToU16(double value) { return static_cast<std::uint16_t>(truncateToI32(value)); }

}  // namespace sorvane
