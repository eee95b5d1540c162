#include "input/stick_mapping.h"

#include <algorithm>

#include "base/numbers.h"
#include "link/command_codes.h"
#include "platform/joystick_records.h"
#include "telemetry/translation_mark.h"

namespace sorvane {

using Action = ButtonFunction::Action;

// clang-format off
const std::array<ButtonFunction, kButtonFunctions> kButtonFunctionTable = {{
    {QT_TRANSLATE_NOOP("StickPage", "未指定"), Action::kNone, 0},
    {QT_TRANSLATE_NOOP("StickPage", "归中"), Action::kCommand, CMD_SERVO_CENTRE},
    {QT_TRANSLATE_NOOP("StickPage", "收藏"), Action::kCommand, CMD_STOW},
    {QT_TRANSLATE_NOOP("StickPage", "拍照"), Action::kCommand, CMD_SNAPSHOT},
    {QT_TRANSLATE_NOOP("StickPage", "录像"), Action::kCommand, CMD_RECORD},
    {QT_TRANSLATE_NOOP("StickPage", "视频切换"), Action::kCommand, CMD_VIDEO_SWITCH},
    {QT_TRANSLATE_NOOP("StickPage", "垂直下视"), Action::kCommand, CMD_LOOK_DOWN},
    {QT_TRANSLATE_NOOP("StickPage", "跟踪"), Action::kTrack, 0},
    {QT_TRANSLATE_NOOP("StickPage", "激光测距"), Action::kCommand, CMD_RANGE_SINGLE},
    {QT_TRANSLATE_NOOP("StickPage", "变倍+"), Action::kZoomIn, 0},
    {QT_TRANSLATE_NOOP("StickPage", "变倍-"), Action::kZoomOut, 0},
    {QT_TRANSLATE_NOOP("StickPage", "OSD"), Action::kOsdNext, 0},
}};
// clang-format on

const std::array<const char*, kAxisRoles> kAxisRoleNames = {QT_TRANSLATE_NOOP("StickPage", "未指定"),
                                                            QT_TRANSLATE_NOOP("StickPage", "方位角"),
                                                            QT_TRANSLATE_NOOP("StickPage", "俯仰角")};

namespace {

constexpr std::size_t rowWithin(int stored, std::size_t rows) {
    return stored >= 0 && static_cast<std::size_t>(stored) < rows ? static_cast<std::size_t>(stored) : 0;
}

}  // namespace

std::size_t functionRow(int stored) { return rowWithin(stored, kButtonFunctions); }

std::size_t roleRow(int stored) { return rowWithin(stored, kAxisRoles); }

Columns columnsOf(int count, int rows_a_column) {
    const int all = std::max(count, 0);
    return {std::min(all / 2, rows_a_column), std::min(all - all / 2, rows_a_column)};
}

std::string axisLetters(std::uint32_t caps) {
    std::string letters;
    constexpr std::uint32_t kHat = platform::kJoyHasPov | platform::kJoyPov4Dir;
    if ((caps & kHat) == kHat) {
        letters = "XY";
    }
    constexpr struct {
        std::uint32_t bit;
        char letter;
    } kFurther[] = {{platform::kJoyHasZ, 'Z'},
                    {platform::kJoyHasR, 'R'},
                    {platform::kJoyHasU, 'U'},
                    {platform::kJoyHasV, 'V'}};
    for (const auto& axis : kFurther) {
        if ((caps & axis.bit) != 0) {
            letters += axis.letter;
        }
    }
    return letters;
}

char axisLetter(int axis) {
    constexpr char kLetters[] = "XYZRUV";
    return axis >= 0 && axis < 6 ? kLetters[axis] : '\0';
}

int storedAt(const std::vector<int>& list, int row) {
    return row >= 0 && static_cast<std::size_t>(row) < list.size() ? list[static_cast<std::size_t>(row)] : 0;
}

void storeAt(std::vector<int>& list, int row, int value) {
    if (row < 0) {
        return;
    }
    const auto at = static_cast<std::size_t>(row);
    list.resize(std::max(list.size(), at + 1), 0);
    list[at] = value;
}

ServoRate servoRate(AxisRole role, float offset, bool yaw_reverse, bool pitch_reverse, float speed) {
    const double part = (static_cast<double>(offset) - 0.5) / 0.5;
    const std::int32_t full = truncateToI32(static_cast<double>(speed) * part);
    const auto rate = [full](bool reverse) {
        const auto bits = static_cast<std::uint32_t>(full);
        return static_cast<std::int16_t>(static_cast<std::uint16_t>(reverse ? 0U - bits : bits));
    };
    switch (role) {
        case AxisRole::kAzimuth:
            return {rate(yaw_reverse), 0};
        case AxisRole::kPitch:
            return {0, rate(pitch_reverse)};
        default:
            return {0, 0};
    }
}

}  // namespace sorvane
