// Controllers of SDL, plugged in by SDL's own virtual ones, as the records tell them.
#include <SDL.h>
#include <gtest/gtest.h>

#include <string>

#include "platform/joystick.h"

namespace platform {
namespace {

class Plugged {
public:
    Plugged(int axes, int buttons, int hats, int product,
            SDL_JoystickType type = SDL_JOYSTICK_TYPE_FLIGHT_STICK) {
        SDL_VirtualJoystickDesc desc{};
        desc.version = SDL_VIRTUAL_JOYSTICK_DESC_VERSION;
        desc.type = static_cast<Uint16>(type);
        desc.naxes = static_cast<Uint16>(axes);
        desc.nbuttons = static_cast<Uint16>(buttons);
        desc.nhats = static_cast<Uint16>(hats);
        desc.vendor_id = 0x044F;
        desc.product_id = static_cast<Uint16>(product);
        desc.name = "A stick with a name that is longer than the record has room for";
        const int index = SDL_JoystickAttachVirtualEx(&desc);
        handle = SDL_JoystickOpen(index);
    }
    ~Plugged() { pull(); }
    Plugged(const Plugged&) = delete;
    Plugged& operator=(const Plugged&) = delete;

    void pull() {
        for (int index = 0; handle != nullptr && index < SDL_NumJoysticks(); ++index) {
            if (SDL_JoystickGetDeviceInstanceID(index) == SDL_JoystickInstanceID(handle)) {
                SDL_JoystickDetachVirtual(index);
                SDL_JoystickClose(handle);
                handle = nullptr;
            }
        }
    }
    void axis(int number, int value) const {
        SDL_JoystickSetVirtualAxis(handle, number, static_cast<Sint16>(value));
    }
    void button(int number, bool down) const {
        SDL_JoystickSetVirtualButton(handle, number, down ? SDL_PRESSED : SDL_RELEASED);
    }
    void hat(int value) const { SDL_JoystickSetVirtualHat(handle, 0, static_cast<Uint8>(value)); }

    SDL_Joystick* handle = nullptr;
};

// What a search and a look at id 0 tell.
struct Told {
    int caps_result = -1;
    int state_result = -1;
    JoystickCaps caps{};
    JoystickState state{};
};
Told look(unsigned id = 0) {
    Told told;
    JoystickCaps first{};
    joystickCaps(0, first);
    told.caps_result = joystickCaps(id, told.caps);
    told.state.dwSize = sizeof told.state;
    told.state.dwFlags = kJoyReturnAll;
    told.state_result = joystickState(id, told.state);
    return told;
}

class JoystickLinuxTest : public ::testing::Test {
protected:
    // SDL's part begins with the first question.
    void SetUp() override { ASSERT_NE(look().caps_result, 0); }
};

TEST_F(JoystickLinuxTest, CapsOfAFullStick) {
    const Plugged stick(6, 12, 1, 0x1234);
    const Told told = look();
    ASSERT_EQ(told.caps_result, 0);
    EXPECT_EQ(told.caps.wMid, 0x044F);
    EXPECT_EQ(told.caps.wPid, 0x1234);
    EXPECT_EQ(std::string(told.caps.szPname), "A stick with a name that is lon");
    EXPECT_EQ(told.caps.wNumButtons, 12U);
    EXPECT_EQ(told.caps.wNumAxes, 6U);
    EXPECT_EQ(told.caps.wCaps, kJoyHasZ | kJoyHasR | kJoyHasU | kJoyHasV | kJoyHasPov | kJoyPov4Dir);
    for (const std::uint32_t most : {told.caps.wXmax, told.caps.wYmax, told.caps.wZmax, told.caps.wRmax,
                                     told.caps.wUmax, told.caps.wVmax}) {
        EXPECT_EQ(most, 65535U);
    }
    EXPECT_EQ(told.caps.wXmin, 0U);
}

TEST_F(JoystickLinuxTest, WhatItLacksHasNoRangeAndNoFlag) {
    const Plugged stick(3, 40, 0, 1);
    const Told told = look();
    ASSERT_EQ(told.caps_result, 0);
    EXPECT_EQ(told.caps.wCaps, kJoyHasZ);
    EXPECT_EQ(told.caps.wZmax, 65535U);
    EXPECT_EQ(told.caps.wRmax, 0U);
    EXPECT_EQ(told.state.dwRpos, 0U);
    EXPECT_EQ(told.caps.wNumButtons, 32U) << "as many as the mask has bits";
}

TEST_F(JoystickLinuxTest, AxesFromNoughtTo65535) {
    const Plugged stick(6, 1, 0, 1);
    for (const int value : {-32768, -1, 0, 32767}) {
        for (int axis = 0; axis < 6; ++axis) {
            stick.axis(axis, value);
            const Told told = look();
            ASSERT_EQ(told.state_result, 0);
            const std::uint32_t positions[] = {told.state.dwXpos, told.state.dwYpos, told.state.dwZpos,
                                               told.state.dwRpos, told.state.dwUpos, told.state.dwVpos};
            EXPECT_EQ(positions[axis], static_cast<std::uint32_t>(value + 32768)) << axis;
        }
    }
}

TEST_F(JoystickLinuxTest, ButtonsAreBits) {
    const Plugged stick(2, 32, 0, 1);
    for (const int number : {0, 5, 31}) {
        stick.button(number, true);
        EXPECT_EQ(look().state.dwButtons, 1U << static_cast<unsigned>(number));
        stick.button(number, false);
    }
    stick.button(1, true);
    stick.button(8, true);
    EXPECT_EQ(look().state.dwButtons, 0x102U);
}

TEST_F(JoystickLinuxTest, TheHatIsAnAngle) {
    const Plugged stick(2, 1, 1, 1);
    EXPECT_EQ(look().state.dwPOV, 0xFFFFU);
    const std::pair<int, std::uint32_t> kAngles[] = {{1, 0},     {3, 4500},   {2, 9000},  {6, 13500},
                                                     {4, 18000}, {12, 22500}, {8, 27000}, {9, 31500}};
    for (const auto& [hat, angle] : kAngles) {
        stick.hat(hat);
        EXPECT_EQ(look().state.dwPOV, angle) << hat;
    }
}

TEST_F(JoystickLinuxTest, AGamepadHasBothTriggersOnZ) {
    const Plugged pad(6, 15, 0, 7, SDL_JOYSTICK_TYPE_GAMECONTROLLER);
    Told told = look();
    ASSERT_EQ(told.caps_result, 0);
    EXPECT_EQ(told.caps.wCaps & 0xFU, kJoyHasZ | kJoyHasR | kJoyHasU);
    // SDL's order of a gamepad's axes: left stick, right stick, left trigger, right trigger.
    pad.axis(SDL_CONTROLLER_AXIS_TRIGGERLEFT, -32768);
    pad.axis(SDL_CONTROLLER_AXIS_TRIGGERRIGHT, -32768);
    EXPECT_EQ(look().state.dwZpos, 32767U);
    pad.axis(SDL_CONTROLLER_AXIS_TRIGGERLEFT, 32767);
    EXPECT_EQ(look().state.dwZpos, 65535U);
    pad.axis(SDL_CONTROLLER_AXIS_RIGHTX, 32767);
    pad.axis(SDL_CONTROLLER_AXIS_RIGHTY, -32768);
    told = look();
    EXPECT_EQ(told.state.dwUpos, 65535U);
    EXPECT_EQ(told.state.dwRpos, 0U);
}

TEST_F(JoystickLinuxTest, PulledAndPluggedInAgain) {
    for (int product = 1; product <= 20; ++product) {
        Plugged stick(6, 12, 1, product);
        stick.axis(0, 32767);
        Told told = look();
        ASSERT_EQ(told.state_result, 0);
        EXPECT_EQ(told.caps.wPid, product);
        EXPECT_EQ(told.state.dwXpos, 65535U);
        stick.pull();
        // Between the search and the look.
        JoystickState state{};
        state.dwSize = sizeof state;
        EXPECT_NE(joystickState(0, state), 0);
        EXPECT_NE(look().caps_result, 0);
    }
}

TEST_F(JoystickLinuxTest, ASecondOneTakesThePlaceOfTheFirst) {
    Plugged first(6, 12, 1, 1);
    const Plugged second(2, 3, 0, 2);
    EXPECT_EQ(look(0).caps.wPid, 1);
    EXPECT_EQ(look(1).caps.wPid, 2);
    EXPECT_NE(look(2).caps_result, 0);
    first.pull();
    EXPECT_EQ(look(0).caps.wPid, 2);
    EXPECT_NE(look(1).caps_result, 0);
}

}  // namespace
}  // namespace platform
