// Raw Annex B and PES payloads under any bytes in any pieces: codec detection, splitter, pictures.
#include <cstring>
#include <iterator>

#include "tavrik/picture_stream.h"
#include "tests/fuzz/accepted.h"
#include "tests/fuzz/telemetry_fuzz.h"
#include "tests/tavrik/nal_streams.h"

namespace {

using tavrik::AccessUnitPtr;
using tavrik::Codec;
using tavrik::PictureStream;

void check(const AccessUnitPtr& unit) {
    if (unit->size() < 5) {
        __builtin_trap();
    }
    const Codec codec = unit->codec;
    if (codec != Codec::kH264 && codec != Codec::kH265) {
        __builtin_trap();
    }
    fuzz::touch(unit->padded.data(), static_cast<std::int32_t>(unit->padded.size()));
    fuzz::touch(unit->sei.data(), static_cast<std::int32_t>(unit->sei.size()));
    fuzz::countAccepted();
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t max_size,
                                               unsigned seed) {
    using namespace tavrik::test;
    static const Bytes units[] = {
        joined({kSps264, kPps264, slice264(true, true, 1)}),
        joined({kVps265, kSps265, kPps265, slice265(true, true, 1)}, 3),
        joined({kSei264, slice264(true, false, 2, 8)}, 3),
        joined({kSei265, slice265(true, false, 2, 8), slice265(false, false, 2, 8), kSuffix265}),
        joined({kAud264, kRecovery264, slice264(true, false, 3, 5)}),
        joined({kSps264}),
        joined({kVps265}),
    };
    const Bytes& unit = units[seed % std::size(units)];
    const auto plant = [&unit](std::uint8_t* at, std::minstd_rand&) {
        std::memcpy(at, unit.data(), unit.size());
    };
    const auto nothing_to_mend = [](std::uint8_t*, std::size_t rest) { return rest; };
    return fuzz::mutate(data, size, max_size, seed, unit.size(), plant, nothing_to_mend);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    const Codec codecs[] = {Codec::kUnknown, Codec::kH264, Codec::kH265};
    PictureStream stream(codecs[data[0] / 16 % 3], check);
    fuzz::inPieces(data, size, [&](const std::uint8_t* piece, std::int32_t n) {
        stream.push(piece, static_cast<std::size_t>(n));
        if (piece[0] % 5 == 0) {
            stream.endOfPicture();
        }
        if (piece[0] % 7 == 0) {
            stream.lost();
        }
    });
    stream.finish();
    if (stream.pending()) {
        __builtin_trap();
    }
    return 0;
}
