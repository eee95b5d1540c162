// The control-link reassembler under any bytes in any pieces.
#include "base/checksum.h"
#include "telemetry/control_link_reassembler.h"
#include "tests/fuzz/accepted.h"
#include "tests/fuzz/telemetry_fuzz.h"

namespace {

struct Sink {
    void telemetry(const std::uint8_t* record) {
        fuzz::touch(record, 60);
        fuzz::countAccepted();
    }
    void linkFrame(const std::uint8_t* payload, std::int32_t size) {
        fuzz::touch(payload, size);
        fuzz::countAccepted();
    }
};

std::size_t mend(std::uint8_t* frame, std::size_t rest) {
    if (rest < 64 || frame[0] != 0xFC || frame[1] != 0x2C) {
        return 0;
    }
    if (frame[2] == 0x55) {
        const std::size_t length = frame[3];
        if (rest < length + 5) {
            return 0;
        }
        frame[4 + length] = sorvane::frameXor(frame + 3, static_cast<int>(length) + 1);
        return length + 5;
    }
    frame[62] = sorvane::frameXor(frame + 2, 60);
    frame[63] = 0xF0;
    return 64;
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t max_size,
                                               unsigned seed) {
    const auto plant = [](std::uint8_t* frame, std::minstd_rand& random) {
        frame[0] = 0xFC;
        frame[1] = 0x2C;
        frame[2] = random() % 2 == 0 ? 0x55 : static_cast<std::uint8_t>(random());
        if (frame[2] == 0x55) {
            frame[3] = static_cast<std::uint8_t>(random() % 60);
        }
    };
    return fuzz::mutate(data, size, max_size, seed, 64, plant, mend);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    sorvane::ControlLinkReassembler reassembler;
    fuzz::inPieces(data, size, [&](const std::uint8_t* piece, std::int32_t n) {
        reassembler.feed(piece, n, Sink());
        // A frame is at most 260 bytes, so less than one is ever held.
        if (reassembler.held() < 0 || reassembler.held() > 259) {
            __builtin_trap();
        }
    });
    return 0;
}
