// Splits the byte stream of the pod's control link into its two frame kinds.
//
//   fixed frame, 64 bytes:       0xFC 0x2C | 60-byte telemetry record | XOR of the record | 0xF0
//   variable frame, L + 5 bytes: 0xFC 0x2C 0x55 | L | L bytes | XOR of length and payload
//
// The byte behind the magic decides: 0x55 is a variable frame, anything else (the record's first byte) a
// fixed one. A frame with a bad checksum or end byte is skipped whole: nothing inside it is searched.
#pragma once

#include <cstdint>
#include <cstring>

#include "base/bytes.h"
#include "base/checksum.h"
#include "base/numbers.h"
#include "telemetry/byte_scan.h"
#include "telemetry/telemetry_record.h"

namespace sorvane {

// One per stream; not locked, so one thread at a time. Nothing is allocated here.
class ControlLinkReassembler {
public:
    static constexpr std::int32_t kCapacity = 1024;
    static constexpr std::int32_t kFixedFrameSize = 64;

    // Takes `n` bytes, any part of the stream, and calls for each whole good frame, in order,
    //   sink.telemetry(record): const std::uint8_t* to 60 bytes with integer positions;
    //   sink.linkFrame(payload, size): const std::uint8_t*, std::int32_t 0..255.
    // Both pointers are valid during the call only. More bytes than fit beside those held (1024 in all) are
    // dropped together with those held.
    template <typename Sink>
    void feed(const std::uint8_t* data, std::int32_t n, Sink&& sink);

    std::int32_t held() const { return m_held; }

private:
    // Both return the bytes to skip, or 0 while the frame at `frame` is not whole in the `rest` bytes left.
    template <typename Sink>
    static std::int32_t takeVariable(const std::uint8_t* frame, std::int32_t rest, Sink& sink);
    template <typename Sink>
    static std::int32_t takeFixed(std::uint8_t* frame, std::int32_t rest, Sink& sink);

    std::uint8_t m_buffer[kCapacity] = {};
    std::int32_t m_held = 0;
};

// The fixed frame carries the two positions as floats in degrees; the record holds integers of 1e-7 degree.
// The variable frame carries integers already: the difference between the two is meant.
inline void positionsToInteger(std::uint8_t* record) {
    constexpr int kPositionOffsets[] = {27, 31};
    for (const int offset : kPositionOffsets) {
        const double degrees = loadF32(record + offset);
        storeI32(record + offset, truncateToI32(degrees * 1e7));
    }
}

template <typename Sink>
std::int32_t ControlLinkReassembler::takeVariable(const std::uint8_t* frame, std::int32_t rest, Sink& sink) {
    if (rest < 4) {
        return 0;
    }
    const std::int32_t length = frame[3];
    if (rest < length + 5) {
        return 0;
    }
    if (frame[4 + length] == frameXor(frame + 3, length + 1)) {
        sink.linkFrame(frame + 4, length);
    }
    return length + 5;
}

template <typename Sink>
std::int32_t ControlLinkReassembler::takeFixed(std::uint8_t* frame, std::int32_t rest, Sink& sink) {
    if (rest < kFixedFrameSize) {
        return 0;
    }
    if (frame[62] == frameXor(frame + 2, 60) && frame[63] == 0xF0) {
        // In place: the bytes of a frame are never looked at again once it is taken.
        positionsToInteger(frame + 2);
        sink.telemetry(static_cast<const std::uint8_t*>(frame + 2));
    }
    return kFixedFrameSize;
}

template <typename Sink>
void ControlLinkReassembler::feed(const std::uint8_t* data, std::int32_t n, Sink&& sink) {
    if (n <= 0) {
        return;
    }
    if (n > kCapacity - m_held) {
        m_held = 0;
        return;
    }
    std::memcpy(m_buffer + m_held, data, static_cast<std::size_t>(n));
    m_held += n;
    std::int32_t p = 0;
    // Three bytes tell the kind of a frame; with fewer nothing can be decided.
    while (m_held - p >= 3) {
        std::uint8_t* frame = m_buffer + p;
        if (frame[0] != 0xFC || frame[1] != 0x2C) {
            p = static_cast<std::int32_t>(findPair(m_buffer, static_cast<std::size_t>(p) + 1,
                                                   static_cast<std::size_t>(m_held) - 2, 0xFC, 0x2C));
            continue;
        }
        const std::int32_t rest = m_held - p;
        const std::int32_t taken =
            frame[2] == 0x55 ? takeVariable(frame, rest, sink) : takeFixed(frame, rest, sink);
        if (taken == 0) {
            break;
        }
        p += taken;
    }
    m_held -= p;
    std::memmove(m_buffer, m_buffer + p, static_cast<std::size_t>(m_held));
}

}  // namespace sorvane
