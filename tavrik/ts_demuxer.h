// MPEG transport stream (ISO/IEC 13818-1): finds the first programme with video and hands out its elementary
// streams.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "tavrik/nal.h"

namespace tavrik {

// Not thread-safe. Takes any split and any noise; a table counts only with a good CRC.
class TsDemuxer {
public:
    static constexpr std::size_t kPacketBytes = 188;
    static constexpr std::uint8_t kSync = 0x47;

    class Handler {
    public:
        virtual ~Handler() = default;
        virtual void tsVideo(Codec codec, const std::uint8_t* data, std::size_t size) = 0;
        // The PES packet has ended: by its length, or because the next begins.
        virtual void tsPictureEnd() = 0;
        // One whole PES payload; stream_type as in the programme map (0x0F AAC, 0x03 MPEG ...).
        virtual void tsAudio(int stream_type, const std::uint8_t* data, std::size_t size) = 0;
    };

    explicit TsDemuxer(Handler& handler) : m_handler(handler) {}

    void push(const std::uint8_t* data, std::size_t size);
    void reset();
    // Bytes since the last good packet: large when this is no transport stream (any more).
    std::size_t bytesWithoutPacket() const { return m_lostBytes; }

private:
    struct Section {
        std::vector<std::uint8_t> bytes;
        bool open = false;
    };
    struct Pes {
        int pid = -1;
        int stream_type = 0;
        int counter = -1;  // continuity counter of the last packet
        std::array<std::uint8_t, kPacketBytes> last{};
        bool open = false;
        std::vector<std::uint8_t> header;  // until complete
        bool in_payload = false;
        bool bounded = false;
        std::size_t left = 0;               // payload bytes still to come, if bounded
        std::vector<std::uint8_t> payload;  // audio only
    };

    void packet(const std::uint8_t* p);
    void section(Section& s, const std::uint8_t* data, std::size_t size, bool starts);
    void sectionBytes(Section& s, const std::uint8_t* data, std::size_t size);
    void table(const std::vector<std::uint8_t>& bytes);
    void programmeAssociation(const std::uint8_t* p, std::size_t size);
    void programmeMap(const std::uint8_t* p, std::size_t size);
    void choose(Pes& pes, int pid, int stream_type);
    void pesData(Pes& pes, const std::uint8_t* data, std::size_t size, bool starts);
    void pesPayload(Pes& pes, const std::uint8_t* data, std::size_t size);
    void pesEnd(Pes& pes);
    bool pesHeaderComplete(Pes& pes);

    Handler& m_handler;
    std::vector<std::uint8_t> m_carry;
    bool m_synced = false;
    std::size_t m_lostBytes = 0;
    std::vector<int> m_mapPids;  // of all programmes, until one with video is found
    Section m_association, m_map;
    int m_mapSectionPid = -1;  // whose section m_map holds
    int m_chosenMapPid = -1;   // of the programme with our video
    Pes m_video, m_audio;
};

// CRC-32 of PSI sections (polynomial 0x04C11DB7, start all ones, not reflected); 0 over a section with its
// CRC.
std::uint32_t crc32Mpeg(const std::uint8_t* data, std::size_t size);

}  // namespace tavrik
