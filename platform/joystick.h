// The game controllers of the system, by the two operations of the Windows multimedia interface.
#pragma once

#include "platform/joystick_records.h"

// Both return 0, or one of the interface's error numbers; what the record holds then is not to be used. Never
// wait. One thread, that of the window.
namespace platform {

// Ids run from 0 to 15. 0: there is a controller with that id. On Linux asking for id 0 looks for controllers
// that have come and gone.
int joystickCaps(unsigned id, JoystickCaps& caps);
// `state` carries its own size and the flags of what is asked for.
int joystickState(unsigned id, JoystickState& state);

}  // namespace platform
