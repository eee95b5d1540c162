// A stand-in for the system's game controllers: one that a test plugs in, moves and pulls. Linked into a test
// it takes their place.
#pragma once

#include "platform/joystick.h"

namespace fake_joystick {

struct Stick {
    bool plugged = false;
    bool fails = false;  // it exists, but its state cannot be read
    platform::JoystickCaps caps{};
    platform::JoystickState state{};
    int polls = 0;  // so many searches for a controller have begun
};

constexpr std::uint32_t kMiddle = 32767;
constexpr std::uint32_t kFull = 65535;

Stick& stick();
// Before each test: nothing is plugged in, nobody has asked.
void reset();
// Plugs one in, every axis in its middle.
void plugIn(int buttons, int product = 0x1111, std::uint32_t caps = 0x3F);
void hold(std::uint32_t buttons);

}  // namespace fake_joystick
