// What the game controller does to the pod: its events become commands, and none of them is left standing.
#pragma once

#include <cstdint>
#include <functional>

#include "input/joystick_device.h"
#include "input/stick_mapping.h"

// What the stick asks of the window. All must be set.
struct StickActions {
    // The page of the stick: how it stands; a press is shown there and gives the button's function; an axis
    // is shown there and gives its role, -1 without a row.
    std::function<sorvane::StickSettings()> settings;
    std::function<sorvane::ButtonFunction(int button)> press_feedback;
    std::function<int(int axis, float offset)> axis_feedback;
    std::function<void(bool is_connect, int button_count, int product_id, int caps)> connect_change;

    std::function<bool()> tracking;                  // as reported
    std::function<std::uint8_t(bool in)> zoom_code;  // of the lens that zoom() moves
    std::function<std::uint16_t()> last_code;        // of the last variable frame
    std::function<void(std::uint8_t code)> command;  // with four zero bytes
    std::function<void(std::int16_t x, std::int16_t y)> rate;
    std::function<void()> toggle_tracking;
    std::function<void()> stop_tracking;
    std::function<void(bool in)> zoom;
    std::function<void()> osd_next;
    std::function<void()> start_stop_timer;
    std::function<void(std::uint16_t code)> stop;  // 0: of the last command
    // The same in the protocol mode in which the movement began, without a look at any widget.
    std::function<void(std::uint16_t code)> end;
    // A button holds a movement of that code; the hold ends with the stop of its own.
    std::function<void(const void* who, std::uint16_t code)> hold_begins;
    std::function<void(const void* who)> hold_ended;
    std::function<bool(const void* who)> holds;
};

// The window's handlers, which go on to the operations of the same meaning below.
struct StickHandlers {
    std::function<void(int button, bool plain)> button_down;
    std::function<void(int button)> button_up;
    std::function<void(int axis, float offset, bool yaw_reverse, bool pitch_reverse, float speed)> direction;
    std::function<void(int axis)> direction_reset;
};

// The one controller of the process, looked at by tick(). GUI thread.
class StickPanel {
public:
    StickPanel(StickActions actions, StickHandlers handlers);
    ~StickPanel();
    StickPanel(const StickPanel&) = delete;
    StickPanel& operator=(const StickPanel&) = delete;

    // Polls the controller if it is enabled, with the settings of this moment; one that has just been
    // disabled leaves nothing running.
    void tick();

    void buttonDown(int button, bool plain);
    void buttonUp(int button);
    void direction(int axis, float offset, bool yaw_reverse, bool pitch_reverse, float speed);
    void directionReset(int axis);

    // If an axis is out or a button held, one stop goes out; what is out still begins anew with the next
    // poll. Touches no widget.
    void release();
    // The same, and the controller is not looked at any more.
    void close();

private:
    void poll(const sorvane::StickSettings& settings);
    void connectChange(bool is_connect, int button_count, int product_id, int caps);
    void run(const sorvane::ButtonFunction& function);
    void hold(std::uint8_t code);
    void endRate();
    void centreFeedback(std::uint32_t axes);

    StickActions m_actions;
    StickHandlers m_handlers;
    std::uint32_t m_out = 0;       // axes whose reset is still to come, a bit each
    std::uint32_t m_steering = 0;  // those among them that have a role
    bool m_held = false;           // a button is down
    bool m_rateStands = false;     // the last rate was not zero and no stop has followed
    bool m_closed = false;
};
