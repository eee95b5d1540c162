// Splits what an external flight system sends to the interface port into its frames.
//
//   44 bytes: 0xFB 0x2C | 5 any | 30-byte NavBlock | 6 any | 0xF0; no checksum
//
// Two oddities are meant. A frame is judged as soon as 42 bytes are there, so its end byte may be read from
// beyond the bytes held, where an earlier frame's bytes still stand. And it is skipped by 42 bytes, its last
// two being left to the byte-wise search.
#pragma once

#include <cstdint>
#include <cstring>

namespace sorvane {

// One per stream; not locked, so one thread at a time. Nothing is allocated here.
class InterfaceReassembler {
public:
    static constexpr std::int32_t kCapacity = 1024;
    static constexpr std::int32_t kBodySize = 42;
    static constexpr std::int32_t kBlockSize = 30;

    // Takes `n` bytes and calls sink(block) with a const std::uint8_t* to the 30 bytes of each frame's
    // NavBlock, in order; valid during the call only. More bytes than fit beside those held (1024 in all) are
    // dropped with those held.
    template <typename Sink>
    void feed(const std::uint8_t* data, std::int32_t n, Sink&& sink);

    std::int32_t held() const { return m_held; }

private:
    // Two bytes of padding for the end byte that is read beyond a full buffer.
    std::uint8_t m_buffer[kCapacity + 2] = {};
    std::int32_t m_held = 0;
};

template <typename Sink>
void InterfaceReassembler::feed(const std::uint8_t* data, std::int32_t n, Sink&& sink) {
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
    while (m_held - p >= 2) {
        const std::uint8_t* frame = m_buffer + p;
        if (frame[0] != 0xFB || frame[1] != 0x2C) {
            ++p;
            continue;
        }
        if (m_held - p < kBodySize) {
            break;
        }
        if (frame[43] == 0xF0) {
            sink(frame + 7);
        }
        p += kBodySize;
    }
    m_held -= p;
    std::memmove(m_buffer, m_buffer + p, static_cast<std::size_t>(m_held));
}

}  // namespace sorvane
