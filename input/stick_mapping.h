// What the buttons and axes of a game controller can be given, and what an axis's deflection means.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace sorvane {

// One row of the functions that a button can have; configurations store the row.
struct ButtonFunction {
    enum class Action {
        kNone,
        kCommand,  // `code` with four zero bytes
        kTrack,    // starts tracking at the picture's centre, or ends it
        kZoomIn,
        kZoomOut,
        kOsdNext,
    };

    const char* name;  // in the language of the source
    Action action;
    std::uint8_t code;
};
constexpr std::size_t kButtonFunctions = 12;
extern const std::array<ButtonFunction, kButtonFunctions> kButtonFunctionTable;

// The same for an axis.
enum class AxisRole { kNone = 0, kAzimuth = 1, kPitch = 2 };
constexpr std::size_t kAxisRoles = 3;
extern const std::array<const char*, kAxisRoles> kAxisRoleNames;

// `stored` as it came from the configuration; a value beyond the table counts as row 0.
std::size_t functionRow(int stored);
std::size_t roleRow(int stored);

// The page has so many rows for axes and for buttons, half of them in either column.
constexpr int kAxisRowsAColumn = 3;
constexpr int kButtonRowsAColumn = 13;
// How many of `count` stand in the two columns.
struct Columns {
    int first;
    int second;
    int rows() const { return first + second; }
};
Columns columnsOf(int count, int rows_a_column);

// Letters of the axes that a controller offers, in the order of their rows. X and Y are offered only by one
// whose hat tells four directions: odd, and meant.
std::string axisLetters(std::uint32_t caps);
// The letter of an axis number, 0 X to 5 V; 0 for any other.
char axisLetter(int axis);

// A list of a product as it stands in the configuration: what `row` has, 0 beyond its end.
int storedAt(const std::vector<int>& list, int row);
// Sets a row; a list that ends before it grows with zeros.
void storeAt(std::vector<int>& list, int row, int value);

// How the page of the stick stands.
struct StickSettings {
    bool enabled = false;
    bool yaw_reverse = false;
    bool pitch_reverse = false;
    float sensitivity = 0.0F;  // 0 to 1

    float speed() const { return sensitivity * 50.0F; }
};

struct ServoRate {
    std::int16_t x;  // azimuth
    std::int16_t y;  // pitch
    bool zero() const { return x == 0 && y == 0; }
};
// The rate that an axis asks for, which has one component; `offset` as joystick_device.h tells it.
ServoRate servoRate(AxisRole role, float offset, bool yaw_reverse, bool pitch_reverse, float speed);

}  // namespace sorvane
