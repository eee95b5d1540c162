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
    struct Stream {
        int type, pid;
        Bytes descriptors;
    };
    // Programmes with the map PIDs kMapPid, kMapPid + 1 ...
    void programmes(const std::vector<std::vector<Stream>>& all);
    // One PES packet; with_length: its length stands in it.
    void pes(int pid, const Bytes& payload, bool with_length, std::size_t header_stuffing = 0);
    // Of the next PES packets; below 0: none.
    void times(std::int64_t pts, std::int64_t dts = -1) {
        m_pts = pts;
        m_dts = dts;
    }
    // Each packet that begins a PES packet carries a clock in its adaptation field.
    void clocks(bool on) { m_clocks = on; }
    // A packet of nothing.
    void null();
    // Leaves so many packets of the PID out.
    void skip(int pid, int packets) { m_counters[pid] += packets; }
    // The bytes as packets of the PID, each of them stuffed.
    void stuffedPackets(int pid, const Bytes& payload, bool starts);
    const Bytes& bytes() const { return m_bytes; }
    Bytes take() { return std::move(m_bytes); }

private:
    void section(int pid, Bytes section);
    void packets(int pid, const Bytes& payload);

    Bytes m_bytes;
    int m_counters[8192] = {};
    std::int64_t m_pts = 0x8000, m_dts = -1;
    bool m_clocks = false;
};

// The packets with a time code of 4 bytes before, or 16 check bytes behind each.
Bytes in192(const Bytes& packets);
Bytes in204(const Bytes& packets);
// Datagrams of RTP with so many bytes each; long heads have two sources and an extension, and padding at the
// end.
std::vector<Bytes> inRtp(const Bytes& bytes, std::size_t piece, bool long_heads = false);

}  // namespace tavrik::test
