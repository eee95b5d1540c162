// The status pages as one table of rows: which label shows which value in which form.
#pragma once

#include <cstddef>
#include <cstdint>

#include "link/nav_block.h"
#include "telemetry/telemetry_record.h"

namespace sorvane {

// Pages of the status pane, in their order on the screen.
enum class PanelPage : std::uint8_t {
    kAircraft,  // page_3: the navigation block
    kPod,       // page: picture, servo and storage
    kHealth,    // page_2: module health, target and temperatures
};

// What a value label is to show.
struct PanelText {
    enum class Kind : std::uint8_t {
        kKeep,    // the value has no text: the label keeps what it shows
        kNumber,  // `number`, UTF-8, as it stands in every language
        kWord,    // `word`, UTF-8, to be translated in context "Korvath"
    };
    Kind kind = Kind::kKeep;
    const char* word = nullptr;
    char number[24] = {};
};

// Where the rows read from; both must outlive the call only.
struct PanelSource {
    const TelemetryRecord& record;
    const NavBlock& nav;
};

struct PanelRow {
    PanelPage page;
    const char* object_name;  // of the value label
    const char* caption;      // UTF-8, to be translated in context "KorvathClass"
    PanelText (*format)(const PanelSource&);
    bool starts_group = false;  // set apart from the row above
    const char* caption_object =
        nullptr;            // the caption's own object name; such a caption is never translated
    bool may_wrap = false;  // its longest texts may take two lines where the column is narrow
};

struct PanelRows {
    const PanelRow* rows;
    std::size_t count;
    const PanelRow* begin() const { return rows; }
    const PanelRow* end() const { return rows + count; }
};

// Every row of the three pages, page by page from top to bottom.
PanelRows panelRows();

// value / 10^decimals with exactly that many decimals (0 to 7) and `suffix` (up to 8 bytes) behind it. The
// same in every locale, and exact: no floating point takes part.
PanelText fixedPointText(std::int32_t value, int decimals, const char* suffix = "");

// "%d.%d" of the high and the low nibble.
PanelText versionText(std::uint8_t load_version);

}  // namespace sorvane
