#include "input/joystick_device.h"

#include <array>
#include <cstddef>
#include <utility>

namespace sorvane {

namespace {

constexpr unsigned kIds = 16;
// Told as pressed and released also while others are held.
constexpr int kFirstChordButton = 12;
constexpr int kLastChordButton = 15;

struct Change {
    int button = -1;
    bool released = false;
};

Change changedButton(std::uint32_t before, std::uint32_t now) {
    if (before == now) {
        return {};
    }
    if ((now & ~before) == 0) {
        return {log2exact(before & ~now), true};
    }
    return {log2exact(now & ~before), false};
}

struct Axis {
    std::uint32_t minimum;
    std::uint32_t maximum;
    std::uint32_t value;
    std::uint32_t before;

    // An eighth of half the range to either side of the middle is rest.
    bool outside(std::uint32_t position) const {
        const std::uint32_t middle = (minimum + maximum) / 2;
        const std::uint64_t distance = position > middle ? position - middle : middle - position;
        return distance * 8 > middle;
    }
};

}  // namespace

int log2exact(std::uint32_t value) {
    if (value == 0 || (value & (value - 1)) != 0) {
        return -1;
    }
    int exponent = 0;
    while (value > 1) {
        value >>= 1U;
        ++exponent;
    }
    return exponent;
}

JoystickDevice::JoystickDevice(JoystickOperations operations) : m_operations(std::move(operations)) {}

bool JoystickDevice::find(platform::JoystickCaps& caps, platform::JoystickState& state) const {
    for (unsigned id = 0; id < kIds; ++id) {
        if (m_operations.caps(id, caps) == 0) {
            // A later id is not tried, even where this one fails.
            return m_operations.state(id, state) == 0;
        }
    }
    return false;
}

void JoystickDevice::poll(const JoystickCallbacks& callbacks) {
    platform::JoystickCaps caps{};
    platform::JoystickState state{};
    state.dwSize = sizeof state;
    state.dwFlags = platform::kJoyReturnAll;
    const bool found = find(caps, state);
    if (found != connected) {
        // What is held already is no press.
        if (found) {
            last = state;
        }
        callbacks.on_connect_change(found, static_cast<int>(caps.wNumButtons), caps.wPid,
                                    static_cast<int>(caps.wCaps));
    }
    connected = found;
    if (!connected) {
        return;
    }
    pollButtons(state.dwButtons, callbacks);
    pollAxes(caps, state, callbacks);
    last = state;
}

void JoystickDevice::pollButtons(std::uint32_t now, const JoystickCallbacks& callbacks) const {
    const std::uint32_t before = last.dwButtons;
    if (now > 0 && log2exact(now) == -1) {
        const Change change = changedButton(before, now);
        if (change.button >= kFirstChordButton && change.button <= kLastChordButton) {
            (change.released ? callbacks.on_btn_up : callbacks.on_btn_down)(change.button, true);
            return;
        }
        if (change.button != -1) {
            // A release among others is told as a press, too: meant.
            callbacks.on_btn_down(change.button, false);
        }
    }
    if (before == rest_buttons && now != rest_buttons) {
        callbacks.on_btn_down(log2exact(now), true);
    }
    if (before != rest_buttons && now == rest_buttons) {
        callbacks.on_btn_up(log2exact(before), true);
    }
}

void JoystickDevice::pollAxes(const platform::JoystickCaps& caps, const platform::JoystickState& state,
                              const JoystickCallbacks& callbacks) const {
    const std::array<Axis, 6> axes = {{{caps.wXmin, caps.wXmax, state.dwXpos, last.dwXpos},
                                       {caps.wYmin, caps.wYmax, state.dwYpos, last.dwYpos},
                                       {caps.wZmin, caps.wZmax, state.dwZpos, last.dwZpos},
                                       {caps.wRmin, caps.wRmax, state.dwRpos, last.dwRpos},
                                       {caps.wUmin, caps.wUmax, state.dwUpos, last.dwUpos},
                                       {caps.wVmin, caps.wVmax, state.dwVpos, last.dwVpos}}};
    for (std::size_t i = 0; i < axes.size(); ++i) {
        const Axis& axis = axes[i];
        if (axis.outside(axis.value)) {
            callbacks.on_direction(static_cast<int>(i),
                                   static_cast<float>(axis.value) / static_cast<float>(axis.maximum));
        } else if (axis.outside(axis.before)) {
            callbacks.on_reset(static_cast<int>(i));
        }
    }
}

}  // namespace sorvane
