// Game controllers through SDL.
#include "platform/joystick.h"

#include <SDL.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <map>

#include "platform/joystick_axes.h"

namespace platform {

namespace {

constexpr int kNoDriver = 6;     // MMSYSERR_NODRIVER
constexpr int kBadId = 165;      // JOYERR_PARMS
constexpr int kUnplugged = 167;  // JOYERR_UNPLUGGED
constexpr unsigned kIds = 16;
constexpr int kMostButtons = 32;
constexpr std::uint32_t kAxisMost = 65535;
constexpr std::uint32_t kHatAtRest = 0xFFFF;

struct Device {
    SDL_Joystick* handle = nullptr;
    JoystickAxes axes{};
};

// Opened at their first use, under the number that SDL gives each plugging in.
std::map<SDL_JoystickID, Device>& devices() {
    static std::map<SDL_JoystickID, Device> open;
    return open;
}

// SDL's own part begins at the first question, so that nobody pays for it who has no stick enabled.
bool ready() {
    static const bool begun = [] {
        SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
        // The window is not SDL's: without it everything would be taken for input to another program.
        SDL_SetHint(SDL_HINT_JOYSTICK_ALLOW_BACKGROUND_EVENTS, "1");
        // Looked at here alone, never by the presentation of pictures; and by the kernel's driver, as its own
        // would go through every device of the bus again and again.
        SDL_SetHint(SDL_HINT_AUTO_UPDATE_JOYSTICKS, "0");
        SDL_SetHint(SDL_HINT_JOYSTICK_HIDAPI, "0");
        if (SDL_InitSubSystem(SDL_INIT_GAMECONTROLLER) != 0) {
            return false;
        }
        // Nobody takes events from a queue.
        SDL_JoystickEventState(SDL_IGNORE);
        SDL_GameControllerEventState(SDL_IGNORE);
        return true;
    }();
    return begun;
}

void look() {
    SDL_JoystickUpdate();
    auto& open = devices();
    for (auto it = open.begin(); it != open.end();) {
        if (SDL_JoystickGetAttached(it->second.handle) == SDL_TRUE) {
            ++it;
        } else {
            SDL_JoystickClose(it->second.handle);
            it = open.erase(it);
        }
    }
}

// Null where no controller is, or one that this user may not open.
Device* deviceAt(unsigned id) {
    const int index = static_cast<int>(id);
    if (id >= kIds || index >= SDL_NumJoysticks()) {
        return nullptr;
    }
    const SDL_JoystickID instance = SDL_JoystickGetDeviceInstanceID(index);
    auto& open = devices();
    if (const auto found = open.find(instance); found != open.end()) {
        return &found->second;
    }
    SDL_Joystick* handle = SDL_JoystickOpen(index);
    if (handle == nullptr) {
        return nullptr;
    }
    char* mapping = SDL_GameControllerMappingForDeviceIndex(index);
    Device& device = open[instance];
    device = {handle, joystickAxes(mapping, SDL_JoystickNumAxes(handle))};
    SDL_free(mapping);
    return &device;
}

std::uint32_t hatAngle(std::uint8_t hat) {
    switch (hat) {
        case SDL_HAT_UP:
            return 0;
        case SDL_HAT_RIGHTUP:
            return 4500;
        case SDL_HAT_RIGHT:
            return 9000;
        case SDL_HAT_RIGHTDOWN:
            return 13500;
        case SDL_HAT_DOWN:
            return 18000;
        case SDL_HAT_LEFTDOWN:
            return 22500;
        case SDL_HAT_LEFT:
            return 27000;
        case SDL_HAT_LEFTUP:
            return 31500;
        default:
            return kHatAtRest;
    }
}

void fillCaps(const Device& device, JoystickCaps& caps) {
    const auto most = [&device](int axis) { return device.axes.has(axis) ? kAxisMost : 0; };
    caps.wMid = SDL_JoystickGetVendor(device.handle);
    caps.wPid = SDL_JoystickGetProduct(device.handle);
    if (const char* name = SDL_JoystickName(device.handle)) {
        std::strncpy(caps.szPname, name, sizeof caps.szPname - 1);
    }
    caps.wXmax = most(0);
    caps.wYmax = most(1);
    caps.wZmax = most(2);
    caps.wRmax = most(3);
    caps.wUmax = most(4);
    caps.wVmax = most(5);
    caps.wNumButtons =
        static_cast<std::uint32_t>(std::clamp(SDL_JoystickNumButtons(device.handle), 0, kMostButtons));
    caps.wMaxButtons = kMostButtons;
    caps.wMaxAxes = kJoyAxes;
    constexpr std::array<std::uint32_t, kJoyAxes> kFlags = {0, 0, kJoyHasZ, kJoyHasR, kJoyHasU, kJoyHasV};
    for (int axis = 0; axis < kJoyAxes; ++axis) {
        if (device.axes.has(axis)) {
            caps.wCaps |= kFlags[static_cast<std::size_t>(axis)];
            ++caps.wNumAxes;
        }
    }
    if (SDL_JoystickNumHats(device.handle) > 0) {
        caps.wCaps |= kJoyHasPov | kJoyPov4Dir;
    }
}

std::uint32_t position(const Device& device, int axis) {
    const int source = device.axes.source[static_cast<std::size_t>(axis)];
    if (source >= 0) {
        return joystickPosition(SDL_JoystickGetAxis(device.handle, source));
    }
    return device.axes.has(axis)
               ? joystickTriggers(SDL_JoystickGetAxis(device.handle, device.axes.left_trigger),
                                  SDL_JoystickGetAxis(device.handle, device.axes.right_trigger))
               : 0;
}

void fillState(const Device& device, JoystickState& state) {
    state.dwXpos = position(device, 0);
    state.dwYpos = position(device, 1);
    state.dwZpos = position(device, 2);
    state.dwRpos = position(device, 3);
    state.dwUpos = position(device, 4);
    state.dwVpos = position(device, 5);
    const int buttons = std::min(SDL_JoystickNumButtons(device.handle), kMostButtons);
    for (int button = 0; button < buttons; ++button) {
        if (SDL_JoystickGetButton(device.handle, button) != 0) {
            state.dwButtons |= 1U << static_cast<unsigned>(button);
            ++state.dwButtonNumber;
        }
    }
    state.dwPOV =
        SDL_JoystickNumHats(device.handle) > 0 ? hatAngle(SDL_JoystickGetHat(device.handle, 0)) : kHatAtRest;
}

}  // namespace

int joystickCaps(unsigned id, JoystickCaps& caps) {
    if (!ready()) {
        return kNoDriver;
    }
    if (id == 0) {
        look();
    }
    caps = {};
    const Device* device = deviceAt(id);
    if (device == nullptr) {
        return kBadId;
    }
    fillCaps(*device, caps);
    return 0;
}

int joystickState(unsigned id, JoystickState& state) {
    if (!ready()) {
        return kNoDriver;
    }
    if (state.dwSize < sizeof state) {
        return kBadId;
    }
    state = {state.dwSize, state.dwFlags, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    const Device* device = deviceAt(id);
    if (device == nullptr || SDL_JoystickGetAttached(device->handle) != SDL_TRUE) {
        return kUnplugged;
    }
    fillState(*device, state);
    return 0;
}

}  // namespace platform
