// The two frame kinds in which everything leaves for the pod.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "link/command_codes.h"
#include "link/nav_block.h"

namespace sorvane {

constexpr std::uint8_t kFrameMagic0 = 0xFB;
constexpr std::uint8_t kFrameMagic1 = 0x2C;
constexpr std::uint8_t kFixedFrameEnd = 0xF0;

// The frame of the periodic mode. 44 bytes, little-endian, no padding, alignment 1: use fields by name only,
// never through a pointer or reference to a multi-byte field. Default-constructed in idle form.
#pragma pack(push, 1)
struct FixedCommandFrame {
    std::uint8_t magic0 = kFrameMagic0;
    std::uint8_t magic1 = kFrameMagic1;
    std::uint8_t code = 0;       // 0 = none
    std::uint8_t p[4] = {};      // parameters; first bytes of the payload for the codes of carriesLongPayload
    NavBlock nav;                // rewritten at each send, but for those codes
    std::uint8_t rate_code = 0;  // CMD_SERVO_RATE when the rates are valid, else 0
    std::int16_t rate_x = 0;     // azimuth rate
    std::int16_t rate_y = 0;     // pitch rate
    std::uint8_t check = 0;      // XOR of bytes 2 to 41, valid once sent
    std::uint8_t end = kFixedFrameEnd;

    std::uint8_t* bytes() { return reinterpret_cast<std::uint8_t*>(this); }
    const std::uint8_t* bytes() const { return reinterpret_cast<const std::uint8_t*>(this); }
};
#pragma pack(pop)

constexpr int kFixedFrameSize = 44;
// Bytes from the first parameter up to the checksum: what a payload may fill.
constexpr int kFixedPayloadRoom = 39;
static_assert(sizeof(FixedCommandFrame) == kFixedFrameSize && alignof(FixedCommandFrame) == 1);
static_assert(offsetof(FixedCommandFrame, nav) == 7 && offsetof(FixedCommandFrame, rate_code) == 37);
static_assert(offsetof(FixedCommandFrame, check) == 42);

void resetFixedFrame(FixedCommandFrame& frame);

// Codes whose payload is longer than the four parameters and takes the place of the NavBlock.
constexpr bool carriesLongPayload(std::uint8_t code) {
    return code == CMD_TIME_SYNC || code == CMD_GEO_GUIDE || code == CMD_GEO_TRACK;
}

// Makes a frame ready to leave, in place: the NavBlock (unless the payload is long), then the checksum.
// Longitude and latitude of `nav` (1e-7 degree) go in as 32-bit floats in degrees. `local_time`, when not
// null, replaces the time.
void completeFixedFrame(FixedCommandFrame& frame, const NavBlock& nav, const CalendarTime* local_time);

// The frame of the single mode: 0xFB 0x2C 0xAA, n + 2, 16-bit code, n payload bytes, XOR of the n + 3 bytes
// from offset 3. No end byte.
constexpr int kVariableFrameOverhead = 7;
constexpr int kMaxVariablePayload = 253;

// Empty when n is outside 0..253, or when data is null and n is not 0.
std::vector<std::uint8_t> buildVariableFrame(std::uint16_t code, const void* data, int n);

}  // namespace sorvane
