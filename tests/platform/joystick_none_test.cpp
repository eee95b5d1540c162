// The system's own controllers where none is plugged in, as on every machine that builds.
#include <gtest/gtest.h>

#include <cstdlib>

#include "platform/joystick.h"

namespace platform {
namespace {

TEST(NoJoystick, NoIdAnswers) {
    for (unsigned id = 0; id < 20; ++id) {
        JoystickCaps caps{};
        EXPECT_NE(joystickCaps(id, caps), 0) << id;
        JoystickState state{};
        state.dwSize = sizeof state;
        state.dwFlags = kJoyReturnAll;
        EXPECT_NE(joystickState(id, state), 0) << id;
    }
}

TEST(NoJoystick, AStateOfAnotherSizeIsRefused) {
    JoystickState state{};
    EXPECT_NE(joystickState(0, state), 0);
}

}  // namespace
}  // namespace platform
