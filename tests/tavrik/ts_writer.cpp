#include "ts_writer.h"

#include <algorithm>

namespace tavrik::test {
namespace {

// Bit by bit, to be independent of the table in the code under test.
std::uint32_t crc(const Bytes& bytes) {
    std::uint32_t value = 0xFFFFFFFF;
    for (const std::uint8_t byte : bytes) {
        for (int bit = 7; bit >= 0; --bit) {
            const bool top = ((value >> 31) != 0) != (((byte >> bit) & 1) != 0);
            value = (value << 1) ^ (top ? 0x04C11DB7u : 0);
        }
    }
    return value;
}

std::uint8_t low(int value) { return static_cast<std::uint8_t>(value & 0xFF); }
std::uint8_t pidHigh(int pid) { return static_cast<std::uint8_t>(0xE0 | (pid >> 8)); }

}  // namespace

void TsWriter::tables(int video_type, int audio_type) {
    section(0, {0x00, 0xB0, 13, 0, 1, 0xC1, 0, 0, 0, 1, pidHigh(kMapPid), low(kMapPid)});
    Bytes map{0x02, 0xB0, 0, 0, 1, 0xC1, 0, 0, pidHigh(kVideoPid), low(kVideoPid), 0xF0, 0};
    map.insert(map.end(), {low(video_type), pidHigh(kVideoPid), low(kVideoPid), 0xF0, 0});
    if (audio_type != 0) {
        map.insert(map.end(), {low(audio_type), pidHigh(kAudioPid), low(kAudioPid), 0xF0, 0});
    }
    map[2] = static_cast<std::uint8_t>(map.size() + 4 - 3);
    section(kMapPid, map);
}

void TsWriter::section(int pid, Bytes s) {
    const std::uint32_t sum = crc(s);
    for (int shift = 24; shift >= 0; shift -= 8) {
        s.push_back(static_cast<std::uint8_t>(sum >> shift));
    }
    Bytes packet{0x47, static_cast<std::uint8_t>(0x40 | (pid >> 8)), low(pid),
                 static_cast<std::uint8_t>(0x10 | (m_counters[pid]++ & 15)), 0};
    packet.insert(packet.end(), s.begin(), s.end());
    packet.resize(188, 0xFF);
    m_bytes.insert(m_bytes.end(), packet.begin(), packet.end());
}

void TsWriter::pes(int pid, const Bytes& payload, bool with_length, std::size_t stuffing) {
    const std::size_t head = 5 + stuffing;
    const std::size_t length = with_length ? payload.size() + 3 + head : 0;
    Bytes out{0,
              0,
              1,
              static_cast<std::uint8_t>(pid == kVideoPid ? 0xE0 : 0xC0),
              static_cast<std::uint8_t>(length >> 8),
              static_cast<std::uint8_t>(length),
              0x80,
              0x80,
              static_cast<std::uint8_t>(head),
              0x21,
              0,
              1,
              0,
              1};
    out.insert(out.end(), stuffing, 0xFF);
    out.insert(out.end(), payload.begin(), payload.end());
    packets(pid, out);
}

void TsWriter::packets(int pid, const Bytes& payload) {
    bool first = true;
    for (std::size_t at = 0; at < payload.size();) {
        const std::size_t size = std::min<std::size_t>(184, payload.size() - at);
        Bytes packet{0x47, static_cast<std::uint8_t>((first ? 0x40 : 0) | (pid >> 8)), low(pid),
                     static_cast<std::uint8_t>((size < 184 ? 0x30 : 0x10) | (m_counters[pid]++ & 15))};
        if (size < 184) {
            const std::size_t field = 183 - size;
            packet.push_back(static_cast<std::uint8_t>(field));
            if (field > 0) {
                packet.push_back(0);
                packet.insert(packet.end(), field - 1, 0xFF);
            }
        }
        packet.insert(packet.end(), payload.begin() + static_cast<std::ptrdiff_t>(at),
                      payload.begin() + static_cast<std::ptrdiff_t>(at + size));
        m_bytes.insert(m_bytes.end(), packet.begin(), packet.end());
        at += size;
        first = false;
    }
}

}  // namespace tavrik::test
