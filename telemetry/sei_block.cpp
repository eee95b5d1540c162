#include "telemetry/sei_block.h"

#include <algorithm>
#include <vector>

#include "base/checksum.h"

namespace sorvane {

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t kUserDataUnregistered = 5;

// Start code and unit header.
struct Head {
    std::array<std::uint8_t, 6> bytes;
    std::size_t size;
};
constexpr Head kHeads[] = {{{0, 0, 0, 1, 0x06}, 5}, {{0, 0, 0, 1, 0x4E, 0x01}, 6}};

// The three is taken out of each 0, 0, 3 that begins ahead of the last three bytes.
Bytes withoutEmulation(const std::uint8_t* run, std::size_t size) {
    Bytes plain;
    plain.reserve(size);
    std::size_t i = 0;
    while (i + 3 < size) {
        if (run[i] == 0 && run[i + 1] == 0 && run[i + 2] == 3) {
            plain.insert(plain.end(), {0, 0});
            i += 3;
        } else {
            plain.push_back(run[i]);
            ++i;
        }
    }
    plain.insert(plain.end(), run + i, run + size);
    return plain;
}

// `message` begins with the head; `rest` bytes can be read from it, more than the head and 4.
std::optional<SeiPayload> payloadOf(const std::uint8_t* message, std::size_t rest, const Head& head) {
    const std::uint8_t type = message[head.size];
    const std::size_t payload_size = message[head.size + 1];
    const std::size_t sum_at = head.size + payload_size + 1;
    if (type != kUserDataUnregistered || head.size + 4 + payload_size >= rest) {
        return std::nullopt;
    }
    const std::uint32_t sum = frameSum(message, static_cast<int>(sum_at));
    const bool whole = static_cast<std::uint8_t>(sum) == message[sum_at] && message[sum_at + 1] == 0x00 &&
                       message[sum_at + 2] == 0x80;
    if (!whole || payload_size != kSeiPayloadSize) {
        return std::nullopt;
    }
    SeiPayload payload;
    std::copy_n(message + head.size + 2, kSeiPayloadSize, payload.begin());
    return payload;
}

}  // namespace

std::optional<SeiPayload> findSeiBlock(const std::uint8_t* run, int size, int kind) {
    if (run == nullptr || size <= 0 || (kind != kSeiOfH264 && kind != kSeiOfH265)) {
        return std::nullopt;
    }
    const Head& head = kHeads[kind];
    const Bytes plain = withoutEmulation(run, static_cast<std::size_t>(size));
    for (std::size_t at = 0; at + head.size + 4 < plain.size(); ++at) {
        if (std::equal(head.bytes.begin(), head.bytes.begin() + static_cast<std::ptrdiff_t>(head.size),
                       plain.begin() + static_cast<std::ptrdiff_t>(at))) {
            return payloadOf(plain.data() + at, plain.size() - at, head);
        }
    }
    return std::nullopt;
}

}  // namespace sorvane
