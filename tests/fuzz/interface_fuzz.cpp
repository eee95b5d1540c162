// The interface reassembler under any bytes in any pieces.
#include "telemetry/interface_reassembler.h"
#include "tests/fuzz/accepted.h"
#include "tests/fuzz/telemetry_fuzz.h"

namespace {

// This path has no checksum: the end byte is all there is to mend.
std::size_t mend(std::uint8_t* frame, std::size_t rest) {
    if (rest < 44 || frame[0] != 0xFB || frame[1] != 0x2C) {
        return 0;
    }
    frame[43] = 0xF0;
    return 44;
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t max_size,
                                               unsigned seed) {
    const auto plant = [](std::uint8_t* frame, std::minstd_rand&) {
        frame[0] = 0xFB;
        frame[1] = 0x2C;
    };
    return fuzz::mutate(data, size, max_size, seed, 44, plant, mend);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    sorvane::InterfaceReassembler reassembler;
    fuzz::inPieces(data, size, [&](const std::uint8_t* piece, std::int32_t n) {
        reassembler.feed(piece, n, [](const std::uint8_t* block) {
            fuzz::touch(block, sorvane::InterfaceReassembler::kBlockSize);
            fuzz::countAccepted();
        });
        if (reassembler.held() < 0 || reassembler.held() >= sorvane::InterfaceReassembler::kBodySize) {
            __builtin_trap();
        }
    });
    return 0;
}
