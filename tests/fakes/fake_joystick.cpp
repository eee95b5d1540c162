#include "tests/fakes/fake_joystick.h"

namespace fake_joystick {

Stick& stick() {
    static Stick instance;
    return instance;
}

void reset() { stick() = {}; }

void plugIn(int buttons, int product, std::uint32_t caps) {
    Stick& s = stick();
    s.plugged = true;
    s.fails = false;
    s.caps = {};
    s.caps.wPid = static_cast<std::uint16_t>(product);
    s.caps.wNumButtons = static_cast<std::uint32_t>(buttons);
    s.caps.wCaps = caps;
    s.caps.wXmax = s.caps.wYmax = s.caps.wZmax = s.caps.wRmax = s.caps.wUmax = s.caps.wVmax = kFull;
    s.state = {};
    s.state.dwXpos = s.state.dwYpos = s.state.dwZpos = kMiddle;
    s.state.dwRpos = s.state.dwUpos = s.state.dwVpos = kMiddle;
}

void hold(std::uint32_t buttons) { stick().state.dwButtons = buttons; }

}  // namespace fake_joystick

namespace platform {

int joystickCaps(unsigned id, JoystickCaps& caps) {
    fake_joystick::Stick& s = fake_joystick::stick();
    s.polls += id == 0 ? 1 : 0;
    if (id != 0 || !s.plugged) {
        return 165;
    }
    caps = s.caps;
    return 0;
}

int joystickState(unsigned id, JoystickState& state) {
    const fake_joystick::Stick& s = fake_joystick::stick();
    if (id != 0 || !s.plugged || s.fails) {
        return 167;
    }
    state = s.state;
    return 0;
}

}  // namespace platform
