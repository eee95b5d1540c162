#include "platform/joystick.h"

#include <windows.h>

#include <cstddef>
#include <cstring>

#include <mmsystem.h>

namespace platform {

static_assert(sizeof(JOYCAPSA) == sizeof(JoystickCaps));
static_assert(offsetof(JOYCAPSA, wNumButtons) == offsetof(JoystickCaps, wNumButtons));
static_assert(offsetof(JOYCAPSA, wVmax) == offsetof(JoystickCaps, wVmax));
static_assert(offsetof(JOYCAPSA, wCaps) == offsetof(JoystickCaps, wCaps));
static_assert(sizeof(JOYINFOEX) == sizeof(JoystickState));
static_assert(offsetof(JOYINFOEX, dwVpos) == offsetof(JoystickState, dwVpos));
static_assert(offsetof(JOYINFOEX, dwButtons) == offsetof(JoystickState, dwButtons));
static_assert(JOYCAPS_HASPOV == kJoyHasPov && JOYCAPS_POV4DIR == kJoyPov4Dir);
static_assert(JOYCAPS_HASZ == kJoyHasZ && JOYCAPS_HASV == kJoyHasV);
static_assert(JOY_RETURNALL == kJoyReturnAll);

int joystickCaps(unsigned id, JoystickCaps& caps) {
    JOYCAPSA native{};
    const MMRESULT result = joyGetDevCapsA(id, &native, sizeof native);
    std::memcpy(&caps, &native, sizeof caps);
    return static_cast<int>(result);
}

int joystickState(unsigned id, JoystickState& state) {
    JOYINFOEX native{};
    native.dwSize = state.dwSize;
    native.dwFlags = state.dwFlags;
    const MMRESULT result = joyGetPosEx(id, &native);
    std::memcpy(&state, &native, sizeof state);
    return static_cast<int>(result);
}

}  // namespace platform
