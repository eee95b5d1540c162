#include "tavrik/ts_tables.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace tavrik {
namespace {

constexpr std::size_t kMaxSectionBytes = 1024;
constexpr std::size_t kMaxProgrammes = 64;
constexpr int kAssociationTable = 0;
constexpr int kMapTable = 2;
constexpr int kPrivateData = 0x06;
constexpr int kHevc = 0x24;
constexpr int kRegistration = 0x05;

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

bool isAudio(int stream_type) {
    return stream_type == kSoundMpeg1 || stream_type == kSoundMpeg2 || stream_type == kSoundAac ||
           stream_type == kSoundLatm || stream_type == kSoundAc3 || stream_type == kSoundEac3;
}

int typeOfRegistration(const std::uint8_t* name) {
    static constexpr struct {
        char name[5];
        int type;
    } kNames[] = {{"AC-3", kSoundAc3}, {"EAC3", kSoundEac3}, {"DTS1", kSoundDts},
                  {"DTS2", kSoundDts}, {"DTS3", kSoundDts},  {"HEVC", kHevc}};
    for (const auto& known : kNames) {
        if (std::memcmp(name, known.name, 4) == 0) {
            return known.type;
        }
    }
    return kPrivateData;
}

// The type of a stream of private data, by its descriptors.
int typeOfPrivateData(const std::uint8_t* p, std::size_t size) {
    while (size >= 2) {
        const std::size_t length = p[1];
        if (length + 2 > size) {
            break;
        }
        int type = kPrivateData;
        if (p[0] == 0x6A) {
            type = kSoundAc3;
        } else if (p[0] == 0x7A) {
            type = kSoundEac3;
        } else if (p[0] == 0x7B) {
            type = kSoundDts;
        } else if (p[0] == 0x7C) {
            type = kSoundAac;
        } else if (p[0] == kRegistration && length >= 4) {
            type = typeOfRegistration(p + 2);
        }
        if (type != kPrivateData) {
            return type;
        }
        p += length + 2;
        size -= length + 2;
    }
    return kPrivateData;
}

}  // namespace

Codec videoCodecOf(int stream_type) {
    switch (stream_type) {
        case 0x01:
        case 0x02:
            return Codec::kMpegVideo;
        case 0x1B:
            return Codec::kH264;
        case kHevc:
            return Codec::kH265;
        default:
            return Codec::kUnknown;
    }
}

std::uint32_t crc32Mpeg(const std::uint8_t* data, std::size_t size) {
    static const std::array<std::uint32_t, 256> table = makeCrcTable();
    std::uint32_t crc = 0xFFFFFFFFu;
    for (std::size_t i = 0; i < size; ++i) {
        crc = (crc << 8) ^ table[((crc >> 24) ^ data[i]) & 0xFF];
    }
    return crc;
}

bool TsTables::packet(int pid, const std::uint8_t* payload, std::size_t size, bool starts) {
    if (pid == 0) {
        section(m_association, payload, size, starts);
        return false;
    }
    if (std::find(m_mapPids.begin(), m_mapPids.end(), pid) == m_mapPids.end()) {
        return false;
    }
    if (m_mapSectionPid != pid) {
        if (!starts) {
            return false;
        }
        m_map = Section{};
        m_mapSectionPid = pid;
    }
    return section(m_map, payload, size, starts);
}

bool TsTables::section(Section& s, const std::uint8_t* data, std::size_t size, bool starts) {
    if (!starts) {
        if (s.open) {
            return sectionBytes(s, data, size);
        }
        return false;
    }
    const std::size_t pointer = data[0];
    ++data;
    --size;
    if (pointer > size) {
        s.open = false;
        return false;
    }
    const bool ended = s.open && sectionBytes(s, data, pointer);
    s.bytes.clear();
    s.open = true;
    return sectionBytes(s, data + pointer, size - pointer) || ended;
}

bool TsTables::sectionBytes(Section& s, const std::uint8_t* data, std::size_t size) {
    bool found = false;
    s.bytes.insert(s.bytes.end(), data, data + size);
    while (s.open && s.bytes.size() >= 3) {
        const std::size_t length = 3u + (static_cast<std::size_t>(s.bytes[1] & 0x0F) << 8) + s.bytes[2];
        if (s.bytes[0] == 0xFF || length > kMaxSectionBytes) {
            s.open = false;
            break;
        }
        if (s.bytes.size() < length) {
            return found;
        }
        const std::vector<std::uint8_t> whole(s.bytes.begin(),
                                              s.bytes.begin() + static_cast<std::ptrdiff_t>(length));
        s.bytes.erase(s.bytes.begin(), s.bytes.begin() + static_cast<std::ptrdiff_t>(length));
        found = table(whole) || found;
    }
    return found;
}

bool TsTables::table(const std::vector<std::uint8_t>& bytes) {
    // 8 bytes of head, 4 of CRC; not-yet-applicable tables are left out.
    if (bytes.size() < 12 || crc32Mpeg(bytes.data(), bytes.size()) != 0 || (bytes[5] & 1) == 0) {
        return false;
    }
    if (bytes[0] == kAssociationTable) {
        programmeAssociation(bytes.data() + 8, bytes.size() - 12);
    }
    return bytes[0] == kMapTable && programmeMap(bytes.data() + 8, bytes.size() - 12);
}

void TsTables::programmeAssociation(const std::uint8_t* p, std::size_t size) {
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

bool TsTables::programmeMap(const std::uint8_t* p, std::size_t size) {
    if (size < 4) {
        return false;
    }
    const std::size_t info = (static_cast<std::size_t>(p[2] & 0x0F) << 8) | p[3];
    if (info > size - 4) {
        return false;
    }
    p += 4 + info;
    size -= 4 + info;
    TsStream video, audio;
    while (size >= 5) {
        const std::size_t step = 5u + ((static_cast<std::size_t>(p[3] & 0x0F) << 8) | p[4]);
        const std::size_t here = std::min(step, size);
        const int told = p[0];
        const int type = told == kPrivateData ? typeOfPrivateData(p + 5, here - 5) : told;
        if (video.pid < 0 && videoCodecOf(type) != Codec::kUnknown) {
            video = {pidAt(p + 1), type};
        }
        if (audio.pid < 0 && (isAudio(type) || (told == kPrivateData && type == kSoundDts))) {
            audio = {pidAt(p + 1), type};
        }
        p += here;
        size -= here;
    }
    if (video.pid < 0) {
        return false;
    }
    m_video = video;
    m_audio = audio;
    m_chosenMapPid = m_mapSectionPid;
    m_mapPids.assign(1, m_chosenMapPid);
    return true;
}

}  // namespace tavrik
