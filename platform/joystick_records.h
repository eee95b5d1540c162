// What is known of a game controller, in the form in which Windows tells it.
//
// Sizes, places and names of the fields are those of the Windows multimedia interface, so that both systems'
// layers fill the same records and what stands above runs on either.
#pragma once

#include <cstdint>

namespace platform {

// Bits of wCaps.
constexpr std::uint32_t kJoyHasZ = 1;
constexpr std::uint32_t kJoyHasR = 2;
constexpr std::uint32_t kJoyHasU = 4;
constexpr std::uint32_t kJoyHasV = 8;
constexpr std::uint32_t kJoyHasPov = 0x10;   // a hat
constexpr std::uint32_t kJoyPov4Dir = 0x20;  // which tells at least four directions

// What a controller has. An axis that it lacks has minimum and maximum 0.
struct JoystickCaps {
    std::uint16_t wMid;  // maker
    std::uint16_t wPid;  // product
    char szPname[32];
    std::uint32_t wXmin, wXmax, wYmin, wYmax, wZmin, wZmax;
    std::uint32_t wNumButtons;
    std::uint32_t wPeriodMin, wPeriodMax;
    std::uint32_t wRmin, wRmax, wUmin, wUmax, wVmin, wVmax;
    std::uint32_t wCaps;
    std::uint32_t wMaxAxes, wNumAxes, wMaxButtons;
    char szRegKey[32];
    char szOEMVxD[260];
};
static_assert(sizeof(JoystickCaps) == 404, "JOYCAPSA");

// How it stands at this moment.
struct JoystickState {
    std::uint32_t dwSize;   // of this record, set by the caller
    std::uint32_t dwFlags;  // which fields are asked for, set by the caller
    std::uint32_t dwXpos, dwYpos, dwZpos, dwRpos, dwUpos, dwVpos;
    std::uint32_t dwButtons;  // a bit a button that is held
    std::uint32_t dwButtonNumber;
    std::uint32_t dwPOV;  // hundredths of a degree clockwise from forward; 0xFFFF at rest
    std::uint32_t dwReserved1, dwReserved2;
};
static_assert(sizeof(JoystickState) == 52, "JOYINFOEX");

constexpr std::uint32_t kJoyReturnAll = 255;  // dwFlags

}  // namespace platform
