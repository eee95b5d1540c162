#include "tavrik/ts_packets.h"

#include <algorithm>
#include <cstring>

namespace tavrik {
namespace {

constexpr std::size_t kStrides[] = {188, 192, 204};
constexpr std::size_t kTimeCodeBytes = 4;
constexpr std::size_t kHeadsWanted = 4;
// Out of step for so long, the sender may have changed its packets' size.
constexpr std::size_t kMaxBytesOfOldStride = 4096;

// A sync byte alone stands everywhere in a picture; a packet also has a payload or an adaptation field.
bool isHead(const std::uint8_t* data, std::size_t size, std::size_t at) {
    return data[at] == kTsSync && (at + 3 >= size || (data[at + 3] & 0x30) != 0);
}

// Heads from the offset on, as far as the data goes; 0 where one is missing.
std::size_t headsFrom(const std::uint8_t* data, std::size_t size, std::size_t offset, std::size_t stride) {
    std::size_t count = 0;
    for (; offset < size && count < kHeadsWanted; offset += stride, ++count) {
        if (!isHead(data, size, offset)) {
            return 0;
        }
    }
    return count;
}

}  // namespace

TsStep findTsStep(const std::uint8_t* data, std::size_t size) {
    for (std::size_t offset = 0; offset + (kHeadsWanted - 1) * kTsPacketBytes < size; ++offset) {
        if (data[offset] != kTsSync) {
            continue;
        }
        for (const std::size_t stride : kStrides) {
            if (headsFrom(data, size, offset, stride) == kHeadsWanted) {
                return {offset, stride};
            }
        }
    }
    return {};
}

bool wholeTsPackets(const std::uint8_t* data, std::size_t size) {
    for (const std::size_t stride : kStrides) {
        if (size == 0 || size % stride != 0) {
            continue;
        }
        std::size_t at = stride == kTsPacketBytes + kTimeCodeBytes ? kTimeCodeBytes : 0;
        while (at < size && isHead(data, size, at)) {
            at += stride;
        }
        if (at >= size) {
            return true;
        }
    }
    return false;
}

void TsPackets::reset() {
    m_carry = {};
    m_stride = m_skip = m_lostBytes = 0;
    m_synced = false;
}

void TsPackets::push(const std::uint8_t* data, std::size_t size) {
    const std::size_t skipped = std::min(size, m_skip);
    m_skip -= skipped;
    data += skipped;
    size -= skipped;
    const std::size_t old = m_carry.size();
    m_carry.insert(m_carry.end(), data, data + size);
    if (m_stride == 0 && !findStride()) {
        return;
    }
    std::size_t at = 0;
    while (at < m_carry.size() && m_carry.size() - at >= kTsPacketBytes) {
        if (isPacket(at, old)) {
            m_sink(m_carry.data() + at);
            m_synced = true;
            m_lostBytes = 0;
            at += m_stride;
        } else if (!m_synced && m_carry[at] == kTsSync && at + m_stride >= m_carry.size()) {
            break;
        } else {
            m_synced = false;
            const std::size_t next = nextSync(at + 1);
            m_lostBytes += next - at;
            at = next;
        }
    }
    m_skip = at > m_carry.size() ? at - m_carry.size() : 0;
    drop(std::min(at, m_carry.size()));
    if (m_lostBytes > kMaxBytesOfOldStride) {
        m_stride = 0;
    }
}

// In step a packet is taken at once, without waiting for the next one's sync byte; out of step that must be
// seen. One that is made of two pushes with something missing between them shows by the next being out of
// step. `old`: bytes in hand before this push.
bool TsPackets::isPacket(std::size_t at, std::size_t old) const {
    const auto sync = [this](std::size_t where, bool if_unknown) {
        return where < m_carry.size() ? m_carry[where] == kTsSync : if_unknown;
    };
    if (m_carry[at] != kTsSync) {
        return false;
    }
    if (!m_synced) {
        return sync(at + m_stride, false);
    }
    return at >= old || sync(at + m_stride, true) || sync(at + 2 * m_stride, false);
}

std::size_t TsPackets::nextSync(std::size_t at) {
    const auto hit = std::find(m_carry.begin() + static_cast<std::ptrdiff_t>(at), m_carry.end(), kTsSync);
    return static_cast<std::size_t>(hit - m_carry.begin());
}

// Looks for a step; what can be none is dropped.
bool TsPackets::findStride() {
    const TsStep step = findTsStep(m_carry.data(), m_carry.size());
    constexpr std::size_t kKeep = kHeadsWanted * kStrides[2];
    if (step.stride == 0) {
        const std::size_t excess = m_carry.size() > kKeep ? m_carry.size() - kKeep : 0;
        m_lostBytes += excess;
        drop(excess);
        return false;
    }
    m_stride = step.stride;
    m_synced = true;
    drop(step.offset);
    return true;
}

void TsPackets::drop(std::size_t count) {
    m_carry.erase(m_carry.begin(), m_carry.begin() + static_cast<std::ptrdiff_t>(count));
    constexpr std::size_t kKeepBytes = 256u << 10;
    if (m_carry.capacity() > kKeepBytes) {
        std::vector<std::uint8_t>(m_carry).swap(m_carry);
    }
}

}  // namespace tavrik
