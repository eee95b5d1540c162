// What an RTP datagram (RFC 3550) carries.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavrik {

struct RtpPayload {
    const std::uint8_t* data = nullptr;
    std::size_t size = 0;
    std::uint16_t sequence = 0;
    std::uint32_t source = 0;
    int type = 0;
};

// False if it is no RTP with a payload; half of all random datagrams are none. Control packets are none
// either.
bool readRtp(const std::uint8_t* data, std::size_t size, RtpPayload& to);

}  // namespace tavrik
