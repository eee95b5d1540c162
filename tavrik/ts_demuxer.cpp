#include "tavrik/ts_demuxer.h"

#include <algorithm>
#include <cstring>

namespace tavrik {
namespace {

constexpr std::size_t kMaxSectionBytes = 1024;
constexpr std::size_t kMaxAudioBytes = 256u << 10;
constexpr std::size_t kMaxProgrammes = 64;
constexpr int kAssociationTable = 0;
constexpr int kMapTable = 2;

std::array<std::uint32_t, 256> makeCrcTable() {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t i = 0; i < 256; ++i) {
        std::uint32_t value = i << 24;
        for (int bit = 0; bit < 8; ++bit) {
            value = (value << 1) ^ ((value & 0x80000000u) != 0 ? 0x04C11DB7u : 0u);
        }
        table[i] = value;
    }
    return table;
}

int pidAt(const std::uint8_t* p) { return ((p[0] & 0x1F) << 8) | p[1]; }

Codec videoCodec(int stream_type) {
    if (stream_type == 0x1B) {
        return Codec::kH264;
    }
    if (stream_type == 0x24) {
        return Codec::kH265;
    }
    return Codec::kUnknown;
}

bool isAudio(int stream_type) {
    return stream_type == 0x03 || stream_type == 0x04 || stream_type == 0x0F || stream_type == 0x11 ||
           stream_type == 0x81;
}

}  // namespace

std::uint32_t crc32Mpeg(const std::uint8_t* data, std::size_t size) {
    static const std::array<std::uint32_t, 256> table = makeCrcTable();
    std::uint32_t crc = 0xFFFFFFFFu;
    for (std::size_t i = 0; i < size; ++i) {
        crc = (crc << 8) ^ table[((crc >> 24) ^ data[i]) & 0xFF];
    }
    return crc;
}

void TsDemuxer::reset() {
    m_carry.clear();
    m_synced = false;
    m_lostBytes = 0;
    m_mapPids.clear();
    m_association = m_map = Section{};
    m_mapSectionPid = m_chosenMapPid = -1;
    m_video = m_audio = Pes{};
}

void TsDemuxer::push(const std::uint8_t* data, std::size_t size) {
    m_carry.insert(m_carry.end(), data, data + size);
    std::size_t at = 0;
    while (m_carry.size() - at >= kPacketBytes) {
        const std::size_t next = at + kPacketBytes;
        // In step a packet is taken at once, without waiting for the next one's sync byte; out of step it
        // must be seen.
        const bool next_known = next < m_carry.size();
        if (m_carry[at] == kSync && (m_synced || (next_known && m_carry[next] == kSync))) {
            packet(m_carry.data() + at);
            m_synced = true;
            m_lostBytes = 0;
            at = next;
        } else if (m_carry[at] == kSync && !next_known) {
            break;
        } else {
            m_synced = false;
            const auto* from = m_carry.data() + at + 1;
            const void* hit = std::memchr(from, kSync, m_carry.size() - at - 1);
            const std::size_t to =
                hit != nullptr
                    ? static_cast<std::size_t>(static_cast<const std::uint8_t*>(hit) - m_carry.data())
                    : m_carry.size();
            m_lostBytes += to - at;
            at = to;
        }
    }
    m_carry.erase(m_carry.begin(), m_carry.begin() + static_cast<std::ptrdiff_t>(at));
}

void TsDemuxer::packet(const std::uint8_t* p) {
    const bool damaged = (p[1] & 0x80) != 0;
    const bool starts = (p[1] & 0x40) != 0;
    const int pid = pidAt(p + 1);
    const bool scrambled = (p[3] & 0xC0) != 0;
    const bool has_payload = (p[3] & 0x10) != 0;
    const int counter = p[3] & 0x0F;
    std::size_t offset = 4;
    if ((p[3] & 0x20) != 0) {
        offset += 1u + p[4];
    }
    if (damaged || scrambled || !has_payload || offset >= kPacketBytes) {
        return;
    }
    const std::uint8_t* payload = p + offset;
    const std::size_t size = kPacketBytes - offset;
    if (pid == 0) {
        section(m_association, payload, size, starts);
        return;
    }
    for (Pes* pes : {&m_video, &m_audio}) {
        if (pes->pid != pid) {
            continue;
        }
        // A packet may be sent twice in a row; the second is dropped.
        if (counter == pes->counter && std::equal(p, p + kPacketBytes, pes->last.begin())) {
            return;
        }
        pes->counter = counter;
        std::copy(p, p + kPacketBytes, pes->last.begin());
        pesData(*pes, payload, size, starts);
        return;
    }
    if (std::find(m_mapPids.begin(), m_mapPids.end(), pid) == m_mapPids.end()) {
        return;
    }
    if (m_mapSectionPid != pid) {
        if (!starts) {
            return;
        }
        m_map = Section{};
        m_mapSectionPid = pid;
    }
    section(m_map, payload, size, starts);
}

void TsDemuxer::section(Section& s, const std::uint8_t* data, std::size_t size, bool starts) {
    if (!starts) {
        if (s.open) {
            sectionBytes(s, data, size);
        }
        return;
    }
    const std::size_t pointer = data[0];
    ++data;
    --size;
    if (pointer > size) {
        s.open = false;
        return;
    }
    if (s.open) {
        sectionBytes(s, data, pointer);
    }
    s.bytes.clear();
    s.open = true;
    sectionBytes(s, data + pointer, size - pointer);
}

void TsDemuxer::sectionBytes(Section& s, const std::uint8_t* data, std::size_t size) {
    s.bytes.insert(s.bytes.end(), data, data + size);
    while (s.open && s.bytes.size() >= 3) {
        const std::size_t length = 3u + (static_cast<std::size_t>(s.bytes[1] & 0x0F) << 8) + s.bytes[2];
        if (s.bytes[0] == 0xFF || length > kMaxSectionBytes) {
            s.open = false;
            break;
        }
        if (s.bytes.size() < length) {
            return;
        }
        const std::vector<std::uint8_t> whole(s.bytes.begin(),
                                              s.bytes.begin() + static_cast<std::ptrdiff_t>(length));
        s.bytes.erase(s.bytes.begin(), s.bytes.begin() + static_cast<std::ptrdiff_t>(length));
        table(whole);
    }
}

void TsDemuxer::table(const std::vector<std::uint8_t>& bytes) {
    // 8 bytes of head, 4 of CRC; not-yet-applicable tables are left out.
    if (bytes.size() < 12 || crc32Mpeg(bytes.data(), bytes.size()) != 0 || (bytes[5] & 1) == 0) {
        return;
    }
    if (bytes[0] == kAssociationTable) {
        programmeAssociation(bytes.data() + 8, bytes.size() - 12);
    }
    if (bytes[0] == kMapTable) {
        programmeMap(bytes.data() + 8, bytes.size() - 12);
    }
}

void TsDemuxer::programmeAssociation(const std::uint8_t* p, std::size_t size) {
    m_mapPids.clear();
    for (; size >= 4 && m_mapPids.size() < kMaxProgrammes; p += 4, size -= 4) {
        const bool network = p[0] == 0 && p[1] == 0;
        if (!network) {
            m_mapPids.push_back(pidAt(p + 2));
        }
    }
    if (std::find(m_mapPids.begin(), m_mapPids.end(), m_chosenMapPid) != m_mapPids.end()) {
        m_mapPids.assign(1, m_chosenMapPid);
    }
}

void TsDemuxer::programmeMap(const std::uint8_t* p, std::size_t size) {
    if (size < 4) {
        return;
    }
    const std::size_t info = (static_cast<std::size_t>(p[2] & 0x0F) << 8) | p[3];
    if (info > size - 4) {
        return;
    }
    p += 4 + info;
    size -= 4 + info;
    int video_pid = -1, video_type = 0, audio_pid = -1, audio_type = 0;
    while (size >= 5) {
        const int type = p[0];
        const int pid = pidAt(p + 1);
        const std::size_t step = 5u + ((static_cast<std::size_t>(p[3] & 0x0F) << 8) | p[4]);
        if (video_pid < 0 && videoCodec(type) != Codec::kUnknown) {
            video_pid = pid;
            video_type = type;
        }
        if (audio_pid < 0 && isAudio(type)) {
            audio_pid = pid;
            audio_type = type;
        }
        if (step > size) {
            break;
        }
        p += step;
        size -= step;
    }
    if (video_pid < 0) {
        return;
    }
    choose(m_video, video_pid, video_type);
    choose(m_audio, audio_pid, audio_type);
    m_chosenMapPid = m_mapSectionPid;
    m_mapPids.assign(1, m_chosenMapPid);
}

void TsDemuxer::choose(Pes& pes, int pid, int stream_type) {
    if (pes.pid == pid && pes.stream_type == stream_type) {
        return;
    }
    pes = Pes{};
    pes.pid = pid;
    pes.stream_type = stream_type;
}

void TsDemuxer::pesData(Pes& pes, const std::uint8_t* data, std::size_t size, bool starts) {
    if (starts) {
        pesEnd(pes);
        pes.open = true;
        pes.in_payload = false;
        pes.header.clear();
    }
    if (!pes.open) {
        return;
    }
    if (!pes.in_payload) {
        pes.header.insert(pes.header.end(), data, data + size);
        if (!pesHeaderComplete(pes)) {
            return;
        }
        const std::vector<std::uint8_t> head = std::move(pes.header);
        pes.header.clear();
        const std::size_t skip = 9u + head[8];
        pesPayload(pes, head.data() + skip, head.size() - skip);
        return;
    }
    pesPayload(pes, data, size);
}

// False while bytes are missing, or when it is no PES header: then the packet is closed.
bool TsDemuxer::pesHeaderComplete(Pes& pes) {
    const auto& h = pes.header;
    if (h.size() < 9) {
        return false;
    }
    if (h[0] != 0 || h[1] != 0 || h[2] != 1 || (h[6] & 0xC0) != 0x80) {
        pes.open = false;
        return false;
    }
    if (h.size() < 9u + h[8]) {
        return false;
    }
    const std::size_t length = (static_cast<std::size_t>(h[4]) << 8) | h[5];
    const std::size_t after = 3u + h[8];
    pes.bounded = length > after;
    pes.left = pes.bounded ? length - after : 0;
    pes.in_payload = true;
    return true;
}

void TsDemuxer::pesPayload(Pes& pes, const std::uint8_t* data, std::size_t size) {
    if (pes.bounded) {
        size = std::min(size, pes.left);
    }
    const bool video = &pes == &m_video;
    if (video) {
        if (size > 0) {
            m_handler.tsVideo(videoCodec(pes.stream_type), data, size);
        }
    } else if (pes.payload.size() + size <= kMaxAudioBytes) {
        pes.payload.insert(pes.payload.end(), data, data + size);
    }
    if (!pes.bounded) {
        return;
    }
    pes.left -= size;
    if (pes.left == 0) {
        pesEnd(pes);
    }
}

void TsDemuxer::pesEnd(Pes& pes) {
    if (!pes.open) {
        return;
    }
    pes.open = false;
    if (!pes.in_payload) {
        return;
    }
    if (&pes == &m_video) {
        m_handler.tsPictureEnd();
    } else if (!pes.payload.empty()) {
        m_handler.tsAudio(pes.stream_type, pes.payload.data(), pes.payload.size());
        pes.payload.clear();
    }
}

}  // namespace tavrik
