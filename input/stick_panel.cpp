#include "input/stick_panel.h"

#include <QDebug>
#include <utility>

#include "link/command_codes.h"
#include "platform/joystick.h"

using sorvane::AxisRole;
using sorvane::ButtonFunction;
using sorvane::JoystickDevice;

namespace {

// The one object of the process.
JoystickDevice& device() {
    static JoystickDevice instance({platform::joystickCaps, platform::joystickState});
    return instance;
}

std::uint32_t bitOf(int axis) { return 1U << (static_cast<unsigned>(axis) & 31U); }

}  // namespace

StickPanel::StickPanel(StickActions actions, StickHandlers handlers)
    : m_actions(std::move(actions)), m_handlers(std::move(handlers)) {}

// A window that is built later in the same process gets to know the controller anew.
StickPanel::~StickPanel() { device() = JoystickDevice({platform::joystickCaps, platform::joystickState}); }

void StickPanel::tick() {
    if (m_closed) {
        return;
    }
    const sorvane::StickSettings settings = m_actions.settings();
    if (!settings.enabled) {
        const std::uint32_t out = m_out;
        release();
        centreFeedback(out);
        return;
    }
    poll(settings);
    // A reset while the pod tracks sends no stop; the rate before it must not come to life behind the
    // tracking.
    if (m_rateStands && m_steering == 0 && !m_actions.tracking()) {
        endRate();
    }
}

void StickPanel::poll(const sorvane::StickSettings& settings) {
    const float speed = settings.speed();
    sorvane::JoystickCallbacks callbacks;
    callbacks.on_btn_down = [this](int button, bool plain) { m_handlers.button_down(button, plain); };
    callbacks.on_btn_up = [this](int button, bool /*plain*/) { m_handlers.button_up(button); };
    callbacks.on_direction = [this, &settings, speed](int axis, float offset) {
        m_handlers.direction(axis, offset, settings.yaw_reverse, settings.pitch_reverse, speed);
    };
    callbacks.on_reset = [this](int axis) { m_handlers.direction_reset(axis); };
    callbacks.on_connect_change = [this](bool is_connect, int button_count, int product_id, int caps) {
        connectChange(is_connect, button_count, product_id, caps);
    };
    device().poll(callbacks);
}

void StickPanel::connectChange(bool is_connect, int button_count, int product_id, int caps) {
    if (!is_connect) {
        release();
    }
    m_actions.connect_change(is_connect, button_count, product_id, caps);
}

void StickPanel::buttonDown(int button, bool plain) {
    qDebug("zvdbg**%d down", button);
    m_held = true;
    run(m_actions.press_feedback(button));
    if (!plain) {
        m_actions.start_stop_timer();
    }
}

// The code of the hold is that of the command that follows it at once.
void StickPanel::run(const ButtonFunction& function) {
    switch (function.action) {
        case ButtonFunction::Action::kNone:
            break;
        case ButtonFunction::Action::kCommand:
            hold(function.code);
            m_actions.command(function.code);
            break;
        case ButtonFunction::Action::kTrack:
            hold(m_actions.tracking() ? sorvane::CMD_TRACK_STOP : sorvane::CMD_TRACK_POINT);
            m_actions.toggle_tracking();
            break;
        case ButtonFunction::Action::kZoomIn:
        case ButtonFunction::Action::kZoomOut: {
            const bool in = function.action == ButtonFunction::Action::kZoomIn;
            hold(m_actions.zoom_code(in));
            m_actions.zoom(in);
            break;
        }
        case ButtonFunction::Action::kOsdNext:
            hold(sorvane::CMD_OSD);
            m_actions.osd_next();
            break;
    }
}

// A second button takes the place of the first, whose movement ends.
void StickPanel::hold(std::uint8_t code) {
    if (m_actions.holds(this)) {
        m_actions.hold_ended(this);
    }
    m_actions.hold_begins(this, code);
}

void StickPanel::buttonUp(int button) {
    qDebug("zvdbg**%d up", button);
    m_held = false;
    m_actions.hold_ended(this);
}

void StickPanel::direction(int axis, float offset, bool yaw_reverse, bool pitch_reverse, float speed) {
    qDebug("zvdbg**index = %d, offset = %.2f", axis, static_cast<double>(offset));
    m_out |= bitOf(axis);
    const int role = m_actions.axis_feedback(axis, offset);
    if (role < 1) {
        m_steering &= ~bitOf(axis);
        return;
    }
    m_steering |= bitOf(axis);
    if (m_actions.tracking()) {
        m_actions.stop_tracking();
        return;
    }
    const sorvane::ServoRate rate =
        sorvane::servoRate(static_cast<AxisRole>(role), offset, yaw_reverse, pitch_reverse, speed);
    m_actions.rate(rate.x, rate.y);
    m_rateStands = !rate.zero();
}

void StickPanel::directionReset(int axis) {
    qDebug("zvdbg**direction reset");
    m_out &= ~bitOf(axis);
    m_steering &= ~bitOf(axis);
    m_actions.axis_feedback(axis, 0.5F);
    if (m_actions.tracking()) {
        return;
    }
    m_actions.stop(0);
    // A command that came between, of a button say, has taken the last code, and the servo would go on.
    if (m_rateStands && m_actions.last_code() != sorvane::CMD_SERVO_RATE) {
        m_actions.stop(sorvane::CMD_SERVO_RATE);
    }
    m_rateStands = false;
}

void StickPanel::endRate() {
    m_actions.end(sorvane::CMD_SERVO_RATE);
    m_rateStands = false;
}

void StickPanel::release() {
    const bool stands = m_out != 0 || m_held;
    const bool held = m_actions.holds(this);
    m_out = m_steering = 0;
    m_held = false;
    if (m_rateStands) {
        endRate();
    } else if (stands && !held) {
        m_actions.end(0);
    }
    // A lens that a button moves beside the servo has a stop of its own.
    if (held) {
        m_actions.hold_ended(this);
    }
}

void StickPanel::close() {
    m_closed = true;
    release();
}

void StickPanel::centreFeedback(std::uint32_t axes) {
    for (int axis = 0; axis < 6; ++axis) {
        if ((axes & bitOf(axis)) != 0) {
            m_actions.axis_feedback(axis, 0.5F);
        }
    }
}
