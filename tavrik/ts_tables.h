// The programme tables of an MPEG transport stream: which packets hold the first programme with video.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tavrik/nal.h"

namespace tavrik {

// Sound by its stream type in the programme map. What comes as private data with a descriptor gets the number
// that others give it there.
constexpr int kSoundMpeg1 = 0x03, kSoundMpeg2 = 0x04, kSoundAac = 0x0F, kSoundLatm = 0x11, kSoundAc3 = 0x81,
              kSoundDts = 0x82, kSoundEac3 = 0x87;

struct TsStream {
    int pid = -1;  // -1: there is none
    int type = 0;
    bool operator==(const TsStream& o) const { return pid == o.pid && type == o.type; }
};

// Unknown for all but video.
Codec videoCodecOf(int stream_type);

// Not thread-safe. A table counts only with a good CRC.
class TsTables {
public:
    void reset() { *this = TsTables(); }
    // The payload of any packet; starts: its payload_unit_start_indicator. True if the table it ends gave the
    // streams, which may be as before.
    bool packet(int pid, const std::uint8_t* payload, std::size_t size, bool starts);
    const TsStream& video() const { return m_video; }
    const TsStream& audio() const { return m_audio; }

private:
    struct Section {
        std::vector<std::uint8_t> bytes;
        bool open = false;
    };

    bool section(Section& s, const std::uint8_t* data, std::size_t size, bool starts);
    bool sectionBytes(Section& s, const std::uint8_t* data, std::size_t size);
    bool table(const std::vector<std::uint8_t>& bytes);
    void programmeAssociation(const std::uint8_t* p, std::size_t size);
    bool programmeMap(const std::uint8_t* p, std::size_t size);

    std::vector<int> m_mapPids;  // of all programmes, until one with video is found
    Section m_association, m_map;
    int m_mapSectionPid = -1;  // whose section m_map holds
    int m_chosenMapPid = -1;   // of the programme with our video
    TsStream m_video, m_audio;
};

// CRC-32 of PSI sections (polynomial 0x04C11DB7, start all ones, not reflected); 0 over a section with its
// CRC.
std::uint32_t crc32Mpeg(const std::uint8_t* data, std::size_t size);

}  // namespace tavrik
