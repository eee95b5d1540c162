// Finding the pod's telemetry block in the user data that travels with the pictures.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace sorvane {

// Kinds of stream, as the stream library tells them.
constexpr int kSeiOfH264 = 0;
constexpr int kSeiOfH265 = 1;

// What follows the size byte: 16 bytes of an identifier that is not looked at, the fields (sei_fields.h), and
// the checksum as the last byte.
constexpr std::size_t kSeiPayloadSize = 97;
using SeiPayload = std::array<std::uint8_t, kSeiPayloadSize>;

// The block of a run of `size` bytes of SEI NAL units with 4-byte start codes, emulation prevention in place.
// Only the first unit of the stream's kind is looked at, whatever it holds; and a byte must follow the
// message. Nothing when a test fails, for an unknown kind, and for no bytes. Any thread.
std::optional<SeiPayload> findSeiBlock(const std::uint8_t* run, int size, int kind);

}  // namespace sorvane
