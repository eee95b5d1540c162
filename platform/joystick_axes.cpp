#include "platform/joystick_axes.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace platform {

namespace {

constexpr std::size_t kZ = 2;

// The whole axis that a gamepad's control is, -1 for a button, half an axis, or none of the device's.
int mappedAxis(std::string_view mapping, std::string_view control, int axes) {
    while (!mapping.empty()) {
        const std::size_t end = std::min(mapping.find(','), mapping.size());
        const std::string_view entry = mapping.substr(0, end);
        mapping.remove_prefix(std::min(end + 1, mapping.size()));
        const std::size_t colon = entry.find(':');
        if (colon == std::string_view::npos || entry.substr(0, colon) != control) {
            continue;
        }
        const std::string_view value = entry.substr(colon + 1);
        if (value.size() < 2 || value[0] != 'a' || value[1] < '0' || value[1] > '9') {
            return -1;
        }
        const int axis = value[1] - '0';
        return axis < axes && (value.size() == 2 || value[2] == '~') ? axis : -1;
    }
    return -1;
}

}  // namespace

bool JoystickAxes::has(int axis) const {
    return source[static_cast<std::size_t>(axis)] >= 0 || (axis == static_cast<int>(kZ) && left_trigger >= 0);
}

JoystickAxes joystickAxes(const char* mapping, int axes) {
    JoystickAxes result{};
    const std::string_view pad = mapping != nullptr ? mapping : "";
    const int left = mappedAxis(pad, "lefttrigger", axes);
    const int right = mappedAxis(pad, "righttrigger", axes);
    if (left >= 0 && right >= 0) {
        result.left_trigger = left;
        result.right_trigger = right;
        result.source = {mappedAxis(pad, "leftx", axes),  mappedAxis(pad, "lefty", axes),  -1,
                         mappedAxis(pad, "righty", axes), mappedAxis(pad, "rightx", axes), -1};
        return result;
    }
    for (int axis = 0; axis < kJoyAxes; ++axis) {
        result.source[static_cast<std::size_t>(axis)] = axis < axes ? axis : -1;
    }
    return result;
}

}  // namespace platform
