// The rows of the remote control page: which channel of an SBUS receiver does what.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace sorvane {

struct SbusRow {
    // Widgets of the page, by object name.
    const char* channel_box;
    const char* reverse_box;  // null for a lever that has none
    const char* strip;
    // What the low and the high end of the lever do, in the language of the source.
    const char* text_a;
    const char* text_b;
    int channel;  // at first, from 0
};
constexpr std::size_t kSbusRows = 10;
// In the order of the bytes on the wire.
extern const std::array<SbusRow, kSbusRows> kSbusRowTable;

constexpr int kSbusChannels = 16;

// One byte a row: the channel in bits 0 to 3, the reverse flag in bit 4. A channel beyond the four bits loses
// what is above them.
constexpr std::uint8_t sbusByte(int channel, bool reversed) {
    return static_cast<std::uint8_t>((static_cast<unsigned>(channel) & 15U) | (reversed ? 16U : 0U));
}
constexpr int sbusChannel(std::uint8_t byte) { return byte & 15; }
constexpr bool sbusReversed(std::uint8_t byte) { return (byte & 16U) != 0; }

}  // namespace sorvane
