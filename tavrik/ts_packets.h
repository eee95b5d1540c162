// Finds the packets of an MPEG transport stream in its bytes: 188 apart, or 192 (a time code of 4 bytes
// before each) or 204 (16 check bytes behind each).
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace tavrik {

constexpr std::size_t kTsPacketBytes = 188;
constexpr std::uint8_t kTsSync = 0x47;

// Where packets begin and how far apart; stride 0: nowhere.
struct TsStep {
    std::size_t offset = 0;
    std::size_t stride = 0;
};

// The first step of which four packet heads are seen.
TsStep findTsStep(const std::uint8_t* data, std::size_t size);
// True if the data is nothing but whole packets.
bool wholeTsPackets(const std::uint8_t* data, std::size_t size);

// Not thread-safe. Takes any split and any noise. In step a packet is handed out with its last byte.
class TsPackets {
public:
    // Of kTsPacketBytes, valid during the call.
    using Sink = std::function<void(const std::uint8_t* packet)>;

    explicit TsPackets(Sink sink) : m_sink(std::move(sink)) {}

    void push(const std::uint8_t* data, std::size_t size);
    void reset();
    // Bytes since the last packet: large when this is no transport stream (any more).
    std::size_t bytesWithoutPacket() const { return m_lostBytes; }

private:
    bool findStride();
    bool isPacket(std::size_t at, std::size_t old) const;
    std::size_t nextSync(std::size_t at);
    void drop(std::size_t count);

    Sink m_sink;
    std::vector<std::uint8_t> m_carry;
    std::size_t m_stride = 0;  // 0: not known yet
    std::size_t m_skip = 0;    // bytes between two packets that are still to come
    bool m_synced = false;
    std::size_t m_lostBytes = 0;
};

}  // namespace tavrik
