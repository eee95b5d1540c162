#include "tavrik/adts.h"

#include "tavrik/bit_reader.h"

namespace tavrik {
namespace {

constexpr std::size_t kHeadBytes = 7;
constexpr std::size_t kSumBytes = 2;
constexpr int kRates[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                          22050, 16000, 12000, 11025, 8000,  7350};
constexpr int kRateCount = 13;

// The header's frame length, 0 if it is no header.
std::size_t frameLength(const std::uint8_t* h) {
    const std::size_t length =
        (static_cast<std::size_t>(h[3] & 3) << 11) | (static_cast<std::size_t>(h[4]) << 3) | (h[5] >> 5);
    const bool good = h[0] == 0xFF && (h[1] & 0xF6) == 0xF0 && ((h[2] >> 2) & 15) < kRateCount;
    return good && length > kHeadBytes ? length : 0;
}

AdtsFrame frameOf(const std::uint8_t* h, std::size_t length) {
    const std::size_t head = (h[1] & 1) != 0 ? kHeadBytes : kHeadBytes + kSumBytes;
    AdtsFrame frame;
    if (length > head) {
        frame.data = h + head;
        frame.size = length - head;
    }
    frame.object_type = (h[2] >> 6) + 1;
    frame.rate_index = (h[2] >> 2) & 15;
    frame.sample_rate = kRates[frame.rate_index];
    frame.channels = ((h[2] & 1) << 2) | (h[3] >> 6);
    return frame;
}

}  // namespace

bool readAacConfiguration(const std::uint8_t* data, std::size_t size, AacConfiguration& out) {
    constexpr std::uint32_t kEscape = 31, kOwnRate = 15;
    BitReader r(data, size);
    if (r.bits(5) == kEscape) {
        r.skip(6);
    }
    const std::uint32_t index = r.bits(4);
    if (index >= kRateCount && index != kOwnRate) {
        return false;
    }
    out.sample_rate = index == kOwnRate ? static_cast<int>(r.bits(24)) : kRates[index];
    out.channels = static_cast<int>(r.bits(4));
    return r.ok() && out.sample_rate > 0;
}

void AdtsSplitter::push(const std::uint8_t* data, std::size_t size, const Sink& sink) {
    const std::size_t before = m_bytes.size();
    m_bytes.insert(m_bytes.end(), data, data + size);
    std::size_t at = 0;
    while (at + kHeadBytes <= m_bytes.size()) {
        const std::size_t length = frameLength(m_bytes.data() + at);
        if (length == 0) {
            ++at;
            continue;
        }
        if (at + length > m_bytes.size()) {
            break;
        }
        AdtsFrame frame = frameOf(m_bytes.data() + at, length);
        frame.begins_in_piece = at >= before;
        if (frame.size > 0 && frame.channels > 0) {
            sink(frame);
        }
        at += length;
    }
    m_bytes.erase(m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(at));
}

}  // namespace tavrik
