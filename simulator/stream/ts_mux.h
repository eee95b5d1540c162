// A small MPEG transport stream for one video stream, made for little delay: one PES per picture with its
// length told where it fits (a receiver then need not wait for the next picture), and no buffering. A stream
// of AAC may go beside it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "simulator/wire/sei.h"

namespace podsim {

constexpr std::size_t kTsPacketSize = 188;

class TsMuxer {
public:
    explicit TsMuxer(Codec codec, bool sound = false) : m_codec(codec), m_sound(sound) {}

    // Appends whole 188-byte packets: tables when due (every key frame, else every 100 ms of stream time),
    // then the picture. `au` is an Annex B access unit; an access unit delimiter is put before it when it has
    // none. `time_ns` is the picture's time on any steady clock.
    void write(const std::uint8_t* au, std::size_t n, bool key_frame, std::int64_t time_ns,
               std::vector<std::uint8_t>& out);
    // One AAC frame in an ADTS header, on the same clock. Nothing before the first picture, nor for a muxer
    // without sound.
    void writeSound(const std::uint8_t* adts, std::size_t n, std::int64_t time_ns,
                    std::vector<std::uint8_t>& out);

private:
    void writeTables(std::vector<std::uint8_t>& out);
    void writeSection(std::uint16_t pid, std::uint8_t& counter, std::vector<std::uint8_t> section,
                      std::vector<std::uint8_t>& out);
    std::vector<std::uint8_t> picturePes(const std::uint8_t* au, std::size_t n, std::uint64_t pts_90k) const;
    // clock: of the first packet, 1/90000 s; below 0: none.
    void writePackets(std::uint16_t pid, std::uint8_t& counter, const std::vector<std::uint8_t>& pes,
                      std::int64_t clock_90k, bool random_access, std::vector<std::uint8_t>& out);

    Codec m_codec;
    bool m_sound;
    std::uint8_t m_patCounter = 0;
    std::uint8_t m_pmtCounter = 0;
    std::uint8_t m_videoCounter = 0;
    std::uint8_t m_soundCounter = 0;
    bool m_started = false;
    std::int64_t m_firstNs = 0;
    std::int64_t m_tablesNs = 0;
};

// CRC-32 of the tables (polynomial 0x04C11DB7, start all ones, not reflected).
std::uint32_t mpegCrc32(const std::uint8_t* data, std::size_t n);

}  // namespace podsim
