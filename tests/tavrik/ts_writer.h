// Writes transport streams packet by packet for the tests, by the standard's tables.
#pragma once

#include <cstdint>
#include <vector>

namespace tavrik::test {

using Bytes = std::vector<std::uint8_t>;

class TsWriter {
public:
    static constexpr int kMapPid = 0x1000;
    static constexpr int kVideoPid = 0x100;
    static constexpr int kAudioPid = 0x101;

    // The two tables; stream types as in the programme map, 0 for no sound.
    void tables(int video_type, int audio_type = 0);
    // One PES packet; with_length: its length stands in it.
    void pes(int pid, const Bytes& payload, bool with_length, std::size_t header_stuffing = 0);
    const Bytes& bytes() const { return m_bytes; }
    Bytes take() { return std::move(m_bytes); }

private:
    void section(int pid, Bytes section);
    void packets(int pid, const Bytes& payload);

    Bytes m_bytes;
    int m_counters[8192] = {};
};

}  // namespace tavrik::test
