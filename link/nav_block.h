// Attitude, time and position of the aircraft, as the station keeps them and sends them to the pod.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/calendar_time.h"

namespace sorvane {

// 30 bytes, little-endian, no padding, multi-byte fields at odd offsets. The structure has alignment 1, so
// reading or writing a field by name is safe anywhere; never take a pointer or reference to a multi-byte
// field.
#pragma pack(push, 1)
struct NavBlock {
    std::int16_t pitch = 0;     // 0.01 degree
    std::int16_t roll = 0;      // 0.01 degree
    std::uint16_t heading = 0;  // 0.01 degree
    std::uint8_t year =
        0;  // from the local clock modulo 1000 (low 8 bits), from the inertial unit minus 2000
    std::uint8_t month = 0;
    std::uint8_t day = 0;
    std::uint8_t hour = 0;
    std::uint8_t minute = 0;
    std::uint8_t second = 0;
    std::uint8_t hundredths = 0;    // of a second
    std::int32_t longitude = 0;     // 1e-7 degree; degrees as a 32-bit float on the fixed frame
    std::int32_t latitude = 0;      // the same
    std::uint8_t satellites = 0;    // in use
    std::int16_t altitude = 0;      // metres
    std::int16_t north_speed = 0;   // 0.1 km/h
    std::int16_t east_speed = 0;    // 0.1 km/h
    std::int16_t ground_speed = 0;  // 0.1 km/h
};
#pragma pack(pop)

constexpr std::size_t kNavBlockSize = 30;
static_assert(sizeof(NavBlock) == kNavBlockSize && alignof(NavBlock) == 1);
static_assert(offsetof(NavBlock, year) == 6 && offsetof(NavBlock, longitude) == 13);
static_assert(offsetof(NavBlock, latitude) == 17 && offsetof(NavBlock, altitude) == 22);
static_assert(offsetof(NavBlock, ground_speed) == 28);

// Writes the seven time fields and leaves the others alone.
inline void setLocalTime(NavBlock& block, const CalendarTime& now) {
    block.year = static_cast<std::uint8_t>(now.year % 1000);
    block.month = static_cast<std::uint8_t>(now.month);
    block.day = static_cast<std::uint8_t>(now.day);
    block.hour = static_cast<std::uint8_t>(now.hour);
    block.minute = static_cast<std::uint8_t>(now.minute);
    block.second = static_cast<std::uint8_t>(now.second);
    block.hundredths = static_cast<std::uint8_t>(now.millisecond / 10);
}

}  // namespace sorvane
