// Splits the byte stream of the external inertial unit into its frames.
//
//   58 bytes: 0xAA 0x55 | any | 58 | 53-byte payload | checksum byte
//
// The received checksum byte takes no part: a frame counts when the 8-bit sum of its first 57 bytes is not
// zero.
#pragma once

#include <cstdint>
#include <cstring>

#include "base/checksum.h"

namespace sorvane {

enum class InsFeed {
    kReady,  // takes the next bytes
    // The byte behind a whole frame's magic is not its length: the scan stays at that frame for good. The
    // caller decodes nothing further from this port until it is closed; the bytes held stay for the next one.
    kStuck,
};

// One per stream; not locked, so one thread at a time. Nothing is allocated here.
class InsReassembler {
public:
    static constexpr std::int32_t kCapacity = 120;
    static constexpr std::int32_t kFrameSize = 58;
    static constexpr std::int32_t kPayloadSize = 53;

    // Takes `n` bytes and calls sink(payload) with a const std::uint8_t* to the 53 bytes of each frame, in
    // order; valid during the call only. More bytes than fit beside those held (120 in all) are dropped with
    // those held.
    template <typename Sink>
    InsFeed feed(const std::uint8_t* data, std::int32_t n, Sink&& sink);

    std::int32_t held() const { return m_held; }

private:
    std::uint8_t m_buffer[kCapacity] = {};
    std::int32_t m_held = 0;
};

template <typename Sink>
InsFeed InsReassembler::feed(const std::uint8_t* data, std::int32_t n, Sink&& sink) {
    if (n <= 0) {
        return InsFeed::kReady;
    }
    if (n > kCapacity - m_held) {
        m_held = 0;
        return InsFeed::kReady;
    }
    std::memcpy(m_buffer + m_held, data, static_cast<std::size_t>(n));
    m_held += n;
    std::int32_t p = 0;
    while (m_held - p >= kFrameSize) {
        const std::uint8_t* frame = m_buffer + p;
        if (frame[0] != 0xAA || frame[1] != 0x55) {
            ++p;
            continue;
        }
        // Nothing is taken out of the buffer, frames before this one included: they come again when a
        // reopened port goes on with these bytes. That is meant.
        if (frame[3] != kFrameSize) {
            return InsFeed::kStuck;
        }
        if ((frameSum(frame, kFrameSize - 1) & 0xFFU) != 0) {
            sink(frame + 4);
        }
        p += kFrameSize;
    }
    m_held -= p;
    std::memmove(m_buffer, m_buffer + p, static_cast<std::size_t>(m_held));
    return InsFeed::kReady;
}

}  // namespace sorvane
