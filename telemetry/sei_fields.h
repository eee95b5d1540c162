// The fields of the block that travels in the video, as one table: where each stands, what it means, how it
// is shown.
#pragma once

#include <cstddef>
#include <cstdint>

#include "telemetry/panel_rows.h"
#include "telemetry/sei_block.h"

namespace sorvane {

// Little-endian; kU24 is three bytes.
enum class SeiType : std::uint8_t { kU8, kU16, kI16, kU24, kI32 };

struct SeiField {
    std::uint8_t offset;  // in the payload, bytes
    SeiType type;
    std::uint8_t decimals;    // one of the field is 10^-decimals of the caption's unit
    const char* caption;      // UTF-8, to be translated in context "sei_info"
    const char* object_name;  // of the value label
    const char* unit = "";    // behind the number
    // In place of the number, where the field is none.
    PanelText (*format)(std::uint32_t bits, const SeiPayload& payload) = nullptr;
};

struct SeiFields {
    const SeiField* fields;
    std::size_t count;
    const SeiField* begin() const { return fields; }
    const SeiField* end() const { return fields + count; }
};

// The dialog's two columns, from top to bottom.
SeiFields seiLeftColumn();
SeiFields seiRightColumn();

// What the label of a field shows. Words are to be translated in context "Korvath"; never kKeep.
PanelText seiText(const SeiField& field, const SeiPayload& payload);

}  // namespace sorvane
