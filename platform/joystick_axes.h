// Which axis of a device stands for which of the six that the records have.
#pragma once

#include <array>
#include <cstdint>

namespace platform {

// Order of the records: X, Y, Z, R, U, V.
constexpr int kJoyAxes = 6;

// Indices of the device's own axes, -1 for none.
struct JoystickAxes {
    std::array<int, kJoyAxes> source;
    // Both or none: two triggers share the Z axis, whose own source is -1 then.
    int left_trigger = -1;
    int right_trigger = -1;

    bool has(int axis) const;
};

// `mapping` is SDL's description of a device as a gamepad ("...,leftx:a0,lefttrigger:a2,..."), null for a
// device that is none; `axes` is the number of its axes. A gamepad with two analogue triggers gets the axes
// that it has on Windows: left stick X and Y, right stick U and R, both triggers on Z. Every other device
// gets its axes in order.
JoystickAxes joystickAxes(const char* mapping, int axes);

// -32768..32767 to 0..65535.
constexpr std::uint32_t joystickPosition(int value) { return static_cast<std::uint32_t>(value + 32768); }
// The middle with both triggers at rest, 65535 with the left one pulled, 0 with the right one.
constexpr std::uint32_t joystickTriggers(int left, int right) {
    return static_cast<std::uint32_t>((65535 + left - right) / 2);
}

}  // namespace platform
