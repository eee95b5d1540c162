// The inertial unit's reassembler and the decoding of its body under any bytes in any pieces.
#include "base/checksum.h"
#include "telemetry/ins_decode.h"
#include "telemetry/ins_reassembler.h"
#include "tests/fuzz/accepted.h"
#include "tests/fuzz/telemetry_fuzz.h"

namespace {

// The received checksum takes no part; what a frame needs is its length and a sum that is not zero.
std::size_t mend(std::uint8_t* frame, std::size_t rest) {
    if (rest < 58 || frame[0] != 0xAA || frame[1] != 0x55) {
        return 0;
    }
    frame[3] = 58;
    if ((sorvane::frameSum(frame, 57) & 0xFFU) == 0) {
        ++frame[2];
    }
    return 58;
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t max_size,
                                               unsigned seed) {
    const auto plant = [](std::uint8_t* frame, std::minstd_rand&) {
        frame[0] = 0xAA;
        frame[1] = 0x55;
    };
    return fuzz::mutate(data, size, max_size, seed, 58, plant, mend);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    sorvane::InsReassembler reassembler;
    sorvane::NavBlock block;
    fuzz::inPieces(data, size, [&](const std::uint8_t* piece, std::int32_t n) {
        const sorvane::InsFeed result = reassembler.feed(piece, n, [&](const std::uint8_t* payload) {
            sorvane::decodeInsPayload(payload, block);
            sorvane::insFix(payload, block);
            fuzz::countAccepted();
        });
        const std::int32_t most =
            result == sorvane::InsFeed::kStuck ? sorvane::InsReassembler::kCapacity : 57;
        if (reassembler.held() < 0 || reassembler.held() > most) {
            __builtin_trap();
        }
    });
    return 0;
}
