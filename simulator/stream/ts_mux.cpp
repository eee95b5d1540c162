#include "simulator/stream/ts_mux.h"

#include <algorithm>
#include <iterator>

namespace podsim {
namespace {

constexpr std::uint16_t kPatPid = 0;
constexpr std::uint16_t kPmtPid = 0x1000;
constexpr std::uint16_t kVideoPid = 0x100;
constexpr std::uint16_t kSoundPid = 0x101;
constexpr std::uint8_t kAdtsType = 0x0F;
constexpr std::uint8_t kVideoStreamId = 0xE0;
constexpr std::uint8_t kSoundStreamId = 0xC0;
constexpr std::uint16_t kProgram = 1;
constexpr std::int64_t kTableInterval_ns = 100'000'000;
// How far the clock reference runs behind the presentation times: room for a receiver that keeps the clock.
constexpr std::uint64_t kClockLead_90k = 3600;

std::uint8_t high(std::uint16_t v) { return static_cast<std::uint8_t>(v >> 8); }
std::uint8_t low(std::uint16_t v) { return static_cast<std::uint8_t>(v); }

bool startsWithDelimiter(Codec codec, const std::uint8_t* au, std::size_t n) {
    const std::size_t at = n > 4 && au[2] == 0 ? 4 : 3;
    if (n <= at) {
        return false;
    }
    return codec == Codec::kH264 ? (au[at] & 0x1F) == 9 : ((au[at] >> 1) & 0x3F) == 35;
}

// Data aligned, PTS alone.
std::vector<std::uint8_t> pesHead(std::uint8_t stream_id, std::uint64_t pts_90k) {
    std::vector<std::uint8_t> pes = {0, 0, 1, stream_id, 0, 0, 0x84, 0x80, 5};
    const std::uint64_t pts = pts_90k & 0x1FFFFFFFFULL;
    pes.push_back(static_cast<std::uint8_t>(0x21 | (pts >> 29 & 0x0E)));
    pes.push_back(static_cast<std::uint8_t>(pts >> 22));
    pes.push_back(static_cast<std::uint8_t>(0x01 | (pts >> 14 & 0xFE)));
    pes.push_back(static_cast<std::uint8_t>(pts >> 7));
    pes.push_back(static_cast<std::uint8_t>(0x01 | (pts << 1 & 0xFE)));
    return pes;
}

// 0 means "until the next one begins"; it is left for the pictures whose length does not fit.
void tellLength(std::vector<std::uint8_t>& pes) {
    const std::size_t length = pes.size() - 6;
    if (length <= 0xFFFF) {
        pes[4] = static_cast<std::uint8_t>(length >> 8);
        pes[5] = static_cast<std::uint8_t>(length);
    }
}

std::uint64_t ticks90k(std::int64_t ns) { return static_cast<std::uint64_t>(ns / 1000 * 9 / 100); }

}  // namespace

std::uint32_t mpegCrc32(const std::uint8_t* data, std::size_t n) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (std::size_t i = 0; i < n; ++i) {
        crc ^= static_cast<std::uint32_t>(data[i]) << 24;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 0x80000000u) ? (crc << 1) ^ 0x04C11DB7u : crc << 1;
        }
    }
    return crc;
}

void TsMuxer::writeSection(std::uint16_t pid, std::uint8_t& counter, std::vector<std::uint8_t> section,
                           std::vector<std::uint8_t>& out) {
    const std::uint32_t crc = mpegCrc32(section.data(), section.size());
    for (int shift = 24; shift >= 0; shift -= 8) {
        section.push_back(static_cast<std::uint8_t>(crc >> shift));
    }
    const std::size_t start = out.size();
    out.push_back(0x47);
    out.push_back(static_cast<std::uint8_t>(0x40 | high(pid)));
    out.push_back(low(pid));
    out.push_back(static_cast<std::uint8_t>(0x10 | (counter++ & 0x0F)));
    out.push_back(0);  // pointer: the section begins at once
    out.insert(out.end(), section.begin(), section.end());
    out.resize(start + kTsPacketSize, 0xFF);
}

void TsMuxer::writeTables(std::vector<std::uint8_t>& out) {
    const std::uint8_t type = m_codec == Codec::kH264 ? 0x1B : 0x24;
    // Section lengths count from behind the length field and include the checksum.
    writeSection(kPatPid, m_patCounter,
                 {0x00, 0xB0, 13, 0x00, 0x01, 0xC1, 0x00, 0x00, high(kProgram), low(kProgram),
                  static_cast<std::uint8_t>(0xE0 | high(kPmtPid)), low(kPmtPid)},
                 out);
    std::vector<std::uint8_t> map = {0x02,
                                     0xB0,
                                     static_cast<std::uint8_t>(m_sound ? 23 : 18),
                                     high(kProgram),
                                     low(kProgram),
                                     0xC1,
                                     0x00,
                                     0x00,
                                     static_cast<std::uint8_t>(0xE0 | high(kVideoPid)),
                                     low(kVideoPid),
                                     0xF0,
                                     0x00,
                                     type,
                                     static_cast<std::uint8_t>(0xE0 | high(kVideoPid)),
                                     low(kVideoPid),
                                     0xF0,
                                     0x00};
    if (m_sound) {
        map.insert(map.end(), {kAdtsType, static_cast<std::uint8_t>(0xE0 | high(kSoundPid)), low(kSoundPid),
                               0xF0, 0x00});
    }
    writeSection(kPmtPid, m_pmtCounter, std::move(map), out);
}

std::vector<std::uint8_t> TsMuxer::picturePes(const std::uint8_t* au, std::size_t n,
                                              std::uint64_t pts_90k) const {
    static constexpr std::uint8_t kDelimiter264[] = {0, 0, 0, 1, 0x09, 0xF0};
    static constexpr std::uint8_t kDelimiter265[] = {0, 0, 0, 1, 0x46, 0x01, 0x50};
    std::vector<std::uint8_t> pes = pesHead(kVideoStreamId, pts_90k);
    if (!startsWithDelimiter(m_codec, au, n)) {
        if (m_codec == Codec::kH264) {
            pes.insert(pes.end(), std::begin(kDelimiter264), std::end(kDelimiter264));
        } else {
            pes.insert(pes.end(), std::begin(kDelimiter265), std::end(kDelimiter265));
        }
    }
    pes.insert(pes.end(), au, au + n);
    tellLength(pes);
    return pes;
}

void TsMuxer::write(const std::uint8_t* au, std::size_t n, bool key_frame, std::int64_t time_ns,
                    std::vector<std::uint8_t>& out) {
    if (!m_started) {
        m_firstNs = time_ns;
    }
    if (!m_started || key_frame || time_ns - m_tablesNs >= kTableInterval_ns) {
        writeTables(out);
        m_tablesNs = time_ns;
    }
    m_started = true;
    const std::uint64_t clock_90k = ticks90k(time_ns - m_firstNs);
    writePackets(kVideoPid, m_videoCounter, picturePes(au, n, clock_90k + kClockLead_90k),
                 static_cast<std::int64_t>(clock_90k & 0x1FFFFFFFFULL), key_frame, out);
}

void TsMuxer::writeSound(const std::uint8_t* adts, std::size_t n, std::int64_t time_ns,
                         std::vector<std::uint8_t>& out) {
    if (!m_sound || !m_started || time_ns < m_firstNs) {
        return;
    }
    std::vector<std::uint8_t> pes = pesHead(kSoundStreamId, ticks90k(time_ns - m_firstNs) + kClockLead_90k);
    pes.insert(pes.end(), adts, adts + n);
    tellLength(pes);
    writePackets(kSoundPid, m_soundCounter, pes, -1, true, out);
}

void TsMuxer::writePackets(std::uint16_t pid, std::uint8_t& counter, const std::vector<std::uint8_t>& pes,
                           std::int64_t clock_90k, bool random_access, std::vector<std::uint8_t>& out) {
    const bool tells_clock = clock_90k >= 0;
    bool first = true;
    for (std::size_t at = 0; at < pes.size(); first = false) {
        const std::size_t start = out.size();
        const std::size_t left = pes.size() - at;
        // The adaptation field holds the clock in the first packet and fills up the last one.
        const std::size_t flagged = tells_clock ? 8 : 2;
        std::size_t adaptation = first ? flagged : 0;
        const std::size_t room = kTsPacketSize - 4;
        if (left < room - adaptation) {
            adaptation = room - left;
        }
        out.push_back(0x47);
        out.push_back(static_cast<std::uint8_t>((first ? 0x40 : 0) | high(pid)));
        out.push_back(low(pid));
        out.push_back(static_cast<std::uint8_t>((adaptation ? 0x30 : 0x10) | (counter++ & 0x0F)));
        if (adaptation > 0) {
            out.push_back(static_cast<std::uint8_t>(adaptation - 1));
        }
        if (adaptation > 1) {
            const int flags = (random_access ? 0x40 : 0) | (tells_clock ? 0x10 : 0);
            out.push_back(static_cast<std::uint8_t>(first ? flags : 0));
        }
        if (first && tells_clock) {
            const auto base = static_cast<std::uint64_t>(clock_90k);
            out.push_back(static_cast<std::uint8_t>(base >> 25));
            out.push_back(static_cast<std::uint8_t>(base >> 17));
            out.push_back(static_cast<std::uint8_t>(base >> 9));
            out.push_back(static_cast<std::uint8_t>(base >> 1));
            out.push_back(static_cast<std::uint8_t>((base & 1) << 7 | 0x7E));
            out.push_back(0);
        }
        out.resize(start + 4 + adaptation, 0xFF);
        const std::size_t take = std::min(left, room - adaptation);
        out.insert(out.end(), pes.begin() + static_cast<std::ptrdiff_t>(at),
                   pes.begin() + static_cast<std::ptrdiff_t>(at + take));
        at += take;
    }
}

}  // namespace podsim
