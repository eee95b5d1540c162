// From the raw state of a game controller, polled, to what happens: connected, pressed, released, an axis
// out, an axis back.
#pragma once

#include <cstdint>
#include <functional>

#include "platform/joystick_records.h"

namespace sorvane {

// The system's two operations; both return 0 for success.
struct JoystickOperations {
    std::function<int(unsigned id, platform::JoystickCaps& caps)> caps;
    std::function<int(unsigned id, platform::JoystickState& state)> state;
};

// What a poll tells. Buttons count from 0; -1 where several changed at once. Axes: 0 X, 1 Y, 2 Z, 3 R, 4 U, 5
// V.
struct JoystickCallbacks {
    // `plain` is false for a change among several held buttons.
    std::function<void(int button, bool plain)> on_btn_down;
    std::function<void(int button, bool plain)> on_btn_up;
    // At every poll while the axis is out of its rest zone. `offset` is position by maximum: 0 one end, about
    // 0.5 the middle, 1 the other end; infinite for an axis without a range.
    std::function<void(int axis, float offset)> on_direction;
    // Once, when it is back.
    std::function<void(int axis)> on_reset;
    // The numbers are those of the controller's caps; of one that has vanished what is left of them.
    std::function<void(bool is_connect, int button_count, int product_id, int caps)> on_connect_change;
};

// The exponent of an exact power of two, else -1.
int log2exact(std::uint32_t value);

// Knows no pod. One thread.
class JoystickDevice {
public:
    explicit JoystickDevice(JoystickOperations operations);

    // One poll. The first id that exists is the controller; a failing one counts as unplugged.
    void poll(const JoystickCallbacks& callbacks);
    bool isConnected() const { return connected; }

private:
    bool find(platform::JoystickCaps& caps, platform::JoystickState& state) const;
    void pollButtons(std::uint32_t now, const JoystickCallbacks& callbacks) const;
    void pollAxes(const platform::JoystickCaps& caps, const platform::JoystickState& state,
                  const JoystickCallbacks& callbacks) const;

    JoystickOperations m_operations;
    platform::JoystickState last{};  // of the poll before
    std::uint32_t rest_buttons = 0;  // the mask that counts as none held
    bool connected = false;
};

}  // namespace sorvane
