#include "platform/joystick_axes.h"

#include <gtest/gtest.h>

namespace platform {
namespace {

using Sources = std::array<int, kJoyAxes>;

TEST(JoystickAxes, OfAPlainDeviceInTheirOrder) {
    EXPECT_EQ(joystickAxes(nullptr, 6).source, (Sources{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(joystickAxes(nullptr, 9).source, (Sources{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(joystickAxes(nullptr, 4).source, (Sources{0, 1, 2, 3, -1, -1}));
    EXPECT_EQ(joystickAxes(nullptr, 0).source, (Sources{-1, -1, -1, -1, -1, -1}));
    const JoystickAxes three = joystickAxes(nullptr, 3);
    EXPECT_TRUE(three.has(2));
    EXPECT_FALSE(three.has(3));
}

TEST(JoystickAxes, OfAGamepadAsOnWindows) {
    const JoystickAxes pad = joystickAxes(
        "0300,A pad,a:b0,dpup:h0.1,lefttrigger:a2,leftx:a0,lefty:a1,rightstick:b9,righttrigger:a5,"
        "rightx:a3,righty:a4,platform:Linux,",
        6);
    EXPECT_EQ(pad.source, (Sources{0, 1, -1, 4, 3, -1}));
    EXPECT_EQ(pad.left_trigger, 2);
    EXPECT_EQ(pad.right_trigger, 5);
    EXPECT_TRUE(pad.has(2)) << "both triggers";
    EXPECT_FALSE(pad.has(5));
}

TEST(JoystickAxes, OfAGamepadWhoseTriggersAreNoAxesInTheirOrder) {
    for (const char* mapping :
         {"id,name,leftx:a0,lefty:a1,rightx:a2,righty:a3,lefttrigger:b6,righttrigger:b7",
          "id,name,leftx:a0,lefty:a1,rightx:a2,righty:a3", "id,name,lefttrigger:+a2,righttrigger:-a2",
          "id,name,lefttrigger:a2,righttrigger:b7", "id,name,lefttrigger:a2,righttrigger:a9", "", ",,:,a,:a1",
          "lefttrigger:a", "lefttrigger:,righttrigger:"}) {
        const JoystickAxes axes = joystickAxes(mapping, 4);
        EXPECT_EQ(axes.source, (Sources{0, 1, 2, 3, -1, -1})) << mapping;
        EXPECT_EQ(axes.left_trigger, -1) << mapping;
    }
}

TEST(JoystickAxes, PositionsFromNoughtTo65535) {
    EXPECT_EQ(joystickPosition(-32768), 0U);
    EXPECT_EQ(joystickPosition(0), 32768U);
    EXPECT_EQ(joystickPosition(32767), 65535U);
    EXPECT_EQ(joystickTriggers(-32768, -32768), 32767U);
    EXPECT_EQ(joystickTriggers(32767, -32768), 65535U);
    EXPECT_EQ(joystickTriggers(-32768, 32767), 0U);
    EXPECT_EQ(joystickTriggers(32767, 32767), 32767U);
}

}  // namespace
}  // namespace platform
