// Which control of the two command pages sends which command: one table, in order.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "link/command_codes.h"
#include "link/nav_block.h"

namespace sorvane {

class FrameSender;

// What the commands read from the controls, by object name. Unknown names give 0 or false.
class ControlReader {
public:
    virtual ~ControlReader() = default;
    virtual bool checked(const char* object) const = 0;  // radio button or switch
    virtual int sliderValue(const char* object) const = 0;
    virtual int index(const char* object) const = 0;      // combo box; -1 when nothing is chosen
    virtual int itemData(const char* object) const = 0;   // of the chosen item
    virtual int number(const char* object) const = 0;     // text as a whole number; 0 when it is none
    virtual float decimal(const char* object) const = 0;  // text as a decimal number; 0 when it is none
    virtual CalendarTime localTime() const = 0;
};

// A command ready for the send operations.
struct Command {
    enum class Kind { kNone, kFour, kRate, kPayload };
    // Texts that the command puts back into its edits: the values as they were held to their range.
    struct Rewrite {
        const char* edit = nullptr;
        int value = 0;
    };

    Kind kind = Kind::kNone;
    std::uint8_t code = 0;
    std::array<std::uint8_t, 12> bytes{};  // four parameters, or `size` bytes of payload
    int size = 0;
    std::int16_t x = 0;  // rates
    std::int16_t y = 0;
    std::array<Rewrite, 2> rewrites{};
};

// kSettingsButton: the buttons of the settings dialog's display page, which pass through here too; their
// controls are those of that page.
enum class ControlKind { kButton, kCombo, kSwitch, kSettingsButton };
enum class ServoMode { kAny, kFrame, kGyro };

// `value` is the new index of a combo box or 1 and 0 for a switch; buttons ignore it.
using BuildCommand = Command (*)(const ControlReader& controls, int value);

struct CatalogueRow {
    const char* object = nullptr;
    ControlKind kind = ControlKind::kButton;
    ServoMode servo = ServoMode::kAny;  // the row holds in this mode only
    std::uint8_t code = 0;              // 0 with no `build`: the control sends nothing
    std::uint8_t p1 = 0;
    std::uint8_t p2 = 0;
    BuildCommand build = nullptr;    // where the command depends on what the controls hold
    bool starts_stop_timer = false;  // stopCommand(0) runs 100 ms later
    // What the operator reads on the control or beside it, in the language of the source; for a control with
    // a picture its accessible name or tip.
    const char* caption = "";
};

// The table as a run of rows.
struct CatalogueView {
    const CatalogueRow* rows;
    std::size_t count;
    const CatalogueRow* begin() const { return rows; }
    const CatalogueRow* end() const { return rows + count; }
};
CatalogueView commandCatalogue();

// The first row of that kind and name which holds in the servo mode (kFrame or kGyro); null when there is
// none.
const CatalogueRow* findControl(ControlKind kind, std::string_view object, ServoMode servo);

Command commandOf(const CatalogueRow& row, const ControlReader& controls, int value);
void send(FrameSender& sender, const Command& command);

// Style of the pod's on-screen display: colour 0 white, 1 green, 2 yellow; language 0 Chinese, 1 English. -1
// (nothing selected) counts as 0.
Command osdStyleCommand(int colour, int language);

// Zoom by the wheel on video window 1 or 2; cmd 1 zooms in, 2 out. Window 1 steers the camera whose picture
// is shown (display_mode of the telemetry). kNone for any other window.
Command zoomCommand(int window, int cmd, int display_mode);
// Zoom of the shown picture's camera by a button or key.
Command zoomBySourceCommand(bool in, int display_mode);
// Pictures 0 and 3 come from the infrared camera.
constexpr bool infraredShown(int display_mode) { return display_mode == 0 || display_mode == 3; }

}  // namespace sorvane
