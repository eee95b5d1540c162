// Which decoders this machine has.
#pragma once

#include <cstdint>

#include "tavrik/ffmpeg_ptr.h"

namespace tavrik {

// The values are those of feedOpen's `decoder`.
enum class DecoderKind : std::uint8_t { kSoftware = 1, kCuda = 2, kQuickSync = 4 };

// Any other value than those of the enumeration is Software.
DecoderKind decoderKind(std::uint8_t value);
// A reference on the process-wide device of that kind, created at its first use; null if the machine has
// none. Any thread.
BufferPtr hardwareDevice(DecoderKind kind);
// See list_decoders.
int availableDecoders();

}  // namespace tavrik
