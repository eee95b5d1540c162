#include "tavrik/rtp_payload.h"

namespace tavrik {
namespace {

constexpr std::size_t kHeadBytes = 12;
constexpr int kTransportStream = 33;
constexpr int kFirstDynamic = 96;

std::uint32_t word(const std::uint8_t* p, int bytes) {
    std::uint32_t value = 0;
    for (int i = 0; i < bytes; ++i) {
        value = (value << 8) | p[i];
    }
    return value;
}

}  // namespace

bool readRtp(const std::uint8_t* data, std::size_t size, RtpPayload& to) {
    if (size <= kHeadBytes || (data[0] & 0xC0) != 0x80) {
        return false;
    }
    to.type = data[1] & 0x7F;
    if (to.type != kTransportStream && to.type < kFirstDynamic) {
        return false;
    }
    std::size_t at = kHeadBytes + 4u * (data[0] & 0x0F);
    if ((data[0] & 0x10) != 0) {
        if (at + 4 > size) {
            return false;
        }
        at += 4 + 4u * word(data + at + 2, 2);
    }
    const std::size_t padding = (data[0] & 0x20) != 0 ? data[size - 1] : 0;
    if (at + padding >= size) {
        return false;
    }
    to.data = data + at;
    to.size = size - at - padding;
    to.sequence = static_cast<std::uint16_t>(word(data + 2, 2));
    to.source = word(data + 8, 4);
    return true;
}

}  // namespace tavrik
