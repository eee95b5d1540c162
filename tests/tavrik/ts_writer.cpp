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
    std::vector<Stream> streams{{video_type, kVideoPid, {}}};
    if (audio_type != 0) {
        streams.push_back({audio_type, kAudioPid, {}});
    }
    programmes({streams});
}

void TsWriter::programmes(const std::vector<std::vector<Stream>>& all) {
    Bytes association{0x00, 0xB0, 0, 0, 1, 0xC1, 0, 0};
    for (std::size_t i = 0; i < all.size(); ++i) {
        const int pid = kMapPid + static_cast<int>(i);
        association.insert(association.end(), {0, low(static_cast<int>(i) + 1), pidHigh(pid), low(pid)});
    }
    association[2] = static_cast<std::uint8_t>(association.size() + 4 - 3);
    section(0, association);
    for (std::size_t i = 0; i < all.size(); ++i) {
        Bytes map{0x02, 0xB0, 0, 0, low(static_cast<int>(i) + 1), 0xC1, 0, 0, 0xE1, 0, 0xF0, 0};
        for (const Stream& stream : all[i]) {
            map.insert(map.end(), {low(stream.type), pidHigh(stream.pid), low(stream.pid), 0xF0,
                                   static_cast<std::uint8_t>(stream.descriptors.size())});
            map.insert(map.end(), stream.descriptors.begin(), stream.descriptors.end());
        }
        map[2] = static_cast<std::uint8_t>(map.size() + 4 - 3);
        section(kMapPid + static_cast<int>(i), map);
    }
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
    Bytes fields;
    const auto time = [&fields](int prefix, std::int64_t t) {
        fields.push_back(static_cast<std::uint8_t>((prefix << 4) | (((t >> 30) & 7) << 1) | 1));
        fields.push_back(static_cast<std::uint8_t>(t >> 22));
        fields.push_back(static_cast<std::uint8_t>((((t >> 15) & 0x7F) << 1) | 1));
        fields.push_back(static_cast<std::uint8_t>(t >> 7));
        fields.push_back(static_cast<std::uint8_t>(((t & 0x7F) << 1) | 1));
    };
    if (m_pts >= 0) {
        time(m_dts >= 0 ? 3 : 2, m_pts);
    }
    if (m_dts >= 0) {
        time(1, m_dts);
    }
    fields.insert(fields.end(), stuffing, 0xFF);
    const std::size_t length = with_length ? payload.size() + 3 + fields.size() : 0;
    Bytes out{0, 0, 1};
    out.push_back(static_cast<std::uint8_t>(pid == kAudioPid ? 0xC0 : 0xE0));
    out.push_back(static_cast<std::uint8_t>(length >> 8));
    out.push_back(static_cast<std::uint8_t>(length));
    out.push_back(0x80);
    out.push_back(static_cast<std::uint8_t>((m_pts >= 0 ? 0x80 : 0) | (m_dts >= 0 ? 0x40 : 0)));
    out.push_back(static_cast<std::uint8_t>(fields.size()));
    out.insert(out.end(), fields.begin(), fields.end());
    out.insert(out.end(), payload.begin(), payload.end());
    packets(pid, out);
}

void TsWriter::packets(int pid, const Bytes& payload) {
    bool first = true;
    for (std::size_t at = 0; at < payload.size();) {
        const Bytes clock = m_clocks && first ? Bytes{0x50, 1, 2, 3, 4, 0x7E, 5} : Bytes{};
        const std::size_t room = 184 - (clock.empty() ? 0 : 1 + clock.size());
        const std::size_t size = std::min(room, payload.size() - at);
        const bool field_there = size < 184;
        Bytes packet{0x47, static_cast<std::uint8_t>((first ? 0x40 : 0) | (pid >> 8)), low(pid),
                     static_cast<std::uint8_t>((field_there ? 0x30 : 0x10) | (m_counters[pid]++ & 15))};
        if (field_there) {
            Bytes field = clock;
            if (field.empty() && size < 183) {
                field.push_back(0);
            }
            field.resize(183 - size, 0xFF);
            packet.push_back(static_cast<std::uint8_t>(field.size()));
            packet.insert(packet.end(), field.begin(), field.end());
        }
        packet.insert(packet.end(), payload.begin() + static_cast<std::ptrdiff_t>(at),
                      payload.begin() + static_cast<std::ptrdiff_t>(at + size));
        m_bytes.insert(m_bytes.end(), packet.begin(), packet.end());
        at += size;
        first = false;
    }
}

void TsWriter::stuffedPackets(int pid, const Bytes& payload, bool starts) {
    constexpr std::size_t kPiece = 100;
    for (std::size_t at = 0; at < payload.size(); at += kPiece) {
        const std::size_t size = std::min(kPiece, payload.size() - at);
        Bytes packet{0x47,
                     static_cast<std::uint8_t>((starts && at == 0 ? 0x40 : 0) | (pid >> 8)),
                     low(pid),
                     static_cast<std::uint8_t>(0x30 | (m_counters[pid]++ & 15)),
                     static_cast<std::uint8_t>(183 - size),
                     0};
        packet.resize(188 - size, 0xFF);
        packet.insert(packet.end(), payload.begin() + static_cast<std::ptrdiff_t>(at),
                      payload.begin() + static_cast<std::ptrdiff_t>(at + size));
        m_bytes.insert(m_bytes.end(), packet.begin(), packet.end());
    }
}

void TsWriter::null() {
    Bytes packet{0x47, 0x1F, 0xFF, 0x10};
    packet.resize(188, 0xFF);
    m_bytes.insert(m_bytes.end(), packet.begin(), packet.end());
}

namespace {

Bytes padded(const Bytes& packets, std::size_t before, std::size_t behind) {
    Bytes out;
    for (std::size_t at = 0; at + 188 <= packets.size(); at += 188) {
        out.insert(out.end(), before, static_cast<std::uint8_t>(at * 7));
        out.insert(out.end(), packets.begin() + static_cast<std::ptrdiff_t>(at),
                   packets.begin() + static_cast<std::ptrdiff_t>(at + 188));
        out.insert(out.end(), behind, static_cast<std::uint8_t>(at * 11));
    }
    return out;
}

}  // namespace

Bytes in192(const Bytes& packets) { return padded(packets, 4, 0); }
Bytes in204(const Bytes& packets) { return padded(packets, 0, 16); }

std::vector<Bytes> inRtp(const Bytes& bytes, std::size_t piece, bool long_heads) {
    std::vector<Bytes> out;
    std::uint16_t sequence = 65530;
    for (std::size_t at = 0; at < bytes.size(); at += piece, ++sequence) {
        Bytes datagram{static_cast<std::uint8_t>(long_heads ? 0xB2 : 0x80),
                       33,
                       low(sequence >> 8),
                       low(sequence),
                       1,
                       2,
                       3,
                       4,
                       0x47,
                       0x47,
                       0x47,
                       9};
        if (long_heads) {
            datagram.insert(datagram.end(), {1, 1, 1, 1, 2, 2, 2, 2, 0xBE, 0xDE, 0, 1, 0x47, 0, 0, 0});
        }
        datagram.insert(datagram.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at),
                        bytes.begin() + static_cast<std::ptrdiff_t>(std::min(bytes.size(), at + piece)));
        if (long_heads) {
            datagram.insert(datagram.end(), {0, 0, 3});
        }
        out.push_back(datagram);
    }
    return out;
}

}  // namespace tavrik::test
