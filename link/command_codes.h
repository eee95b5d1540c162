// The codes of the commands to the pod.
#pragma once

#include <cstdint>

namespace sorvane {

// name, code
#define SORVANE_COMMANDS(X)        \
    X(CMD_GEO_GUIDE, 0x1B)         \
    X(CMD_GEO_TRACK, 0x1C)         \
    X(CMD_TIME_SYNC, 0x20)         \
    X(CMD_LOAD_ENABLE, 0x21)       \
    X(CMD_LOAD_SLEEP, 0x22)        \
    X(CMD_TRACK_TEMPLATE, 0x23)    \
    X(CMD_DUAL_SAME_FOV, 0x24)     \
    X(CMD_VIDEO_MODE, 0x25)        \
    X(CMD_WINDOW_DEFOG, 0x28)      \
    X(CMD_SET_IP, 0x29)            \
    X(CMD_VIDEO_SWITCH, 0x31)      \
    X(CMD_SNAPSHOT, 0x32)          \
    X(CMD_RECORD, 0x33)            \
    X(CMD_LASER_ILLUMINATOR, 0x35) \
    X(CMD_OSD, 0x37)               \
    X(CMD_TRACK_POINT, 0x3A)       \
    X(CMD_TRACK_STOP, 0x3B)        \
    X(CMD_RANGE_SINGLE, 0x3D)      \
    X(CMD_RANGE_CONTINUOUS, 0x3E)  \
    X(CMD_RANGE_STOP, 0x3F)        \
    X(CMD_VL_IMAGE, 0x41)          \
    X(CMD_VL_LENS, 0x45)           \
    X(CMD_FOG, 0x4A)               \
    X(CMD_NIGHT_MODE, 0x4B)        \
    X(CMD_VL_FOCAL_LENGTH, 0x4C)   \
    X(CMD_IR_LENS, 0x50)           \
    X(CMD_IR_PALETTE, 0x53)        \
    X(CMD_IR_EZOOM, 0x54)          \
    X(CMD_IR_BACKGROUND_NUC, 0x55) \
    X(CMD_IR_SHUTTER_NUC, 0x56)    \
    X(CMD_IR_DDE, 0x57)            \
    X(CMD_IR_DEFAULTS, 0x58)       \
    X(CMD_IR_BRIGHTNESS, 0x59)     \
    X(CMD_IR_CONTRAST, 0x5A)       \
    X(CMD_IR_TEMP_ALARM, 0x5C)     \
    X(CMD_SERVO_RATE, 0x70)        \
    X(CMD_SERVO_CENTRE, 0x71)      \
    X(CMD_DIGITAL_GUIDE, 0x72)     \
    X(CMD_LOOK_DOWN, 0x73)         \
    X(CMD_STOW, 0x74)              \
    X(CMD_SERVO_OFF, 0x75)         \
    X(CMD_GYRO_RATE, 0x76)         \
    X(CMD_SCAN_AZ, 0x77)           \
    X(CMD_SCAN_EL, 0x78)           \
    X(CMD_SCAN_RUN, 0x79)          \
    X(CMD_HEADING_LOCK, 0x7A)      \
    X(CMD_HEADING_FOLLOW, 0x7B)    \
    X(CMD_ATTITUDE_GUIDE, 0x7C)    \
    X(CMD_LOCATE_MODE, 0x84)       \
    X(CMD_TRACK_STEP, 0x90)        \
    X(CMD_AI_BOX, 0x91)            \
    X(CMD_TRACK_BY_ID, 0x93)       \
    X(CMD_AUTO_TRACK, 0x95)        \
    X(CMD_AI_MODE, 0x9A)           \
    X(CMD_AI_ROI, 0x9B)            \
    X(CMD_NAV_BLOCK, 0x0402)

enum CommandCode : std::uint16_t {
#define SORVANE_COMMAND_ENUM(name, code) name = code,
    SORVANE_COMMANDS(SORVANE_COMMAND_ENUM)
#undef SORVANE_COMMAND_ENUM
};

// "CMD_..." of a code; null for one that is not in the list.
const char* commandName(std::uint16_t code);

}  // namespace sorvane
