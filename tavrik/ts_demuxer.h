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

    explicit TsDemuxer(Handler& handler) : handler_(handler) {}

    void push(const std::uint8_t* data, std::size_t size);
    void reset();
    // Bytes since the last good packet: large when this is no transport stream (any more).
    std::size_t bytesWithoutPacket() const { return lost_bytes_; }

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

    Handler& handler_;
    std::vector<std::uint8_t> carry_;
    bool synced_ = false;
    std::size_t lost_bytes_ = 0;
    std::vector<int> map_pids_;  // of all programmes, until one with video is found
    Section association_, map_;
    int map_section_pid_ = -1;  // whose section map_ holds
    int chosen_map_pid_ = -1;   // of the programme with our video
    Pes video_, audio_;
};

// CRC-32 of PSI sections (polynomial 0x04C11DB7, start all ones, not reflected); 0 over a section with its
// CRC.
std::uint32_t crc32Mpeg(const std::uint8_t* data, std::size_t size);

}  // namespace tavrik
