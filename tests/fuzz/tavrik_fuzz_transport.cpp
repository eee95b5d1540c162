// A stream of unknown form under any bytes in any pieces: form detection, transport packets, tables, PES,
// pictures.
#include <cstring>
#include <iterator>

#include "tavrik/byte_stream.h"
#include "tests/fuzz/accepted.h"
#include "tests/fuzz/telemetry_fuzz.h"
#include "tests/tavrik/nal_streams.h"
#include "tests/tavrik/ts_writer.h"

namespace {

using tavrik::test::Bytes;
using tavrik::test::TsWriter;

// Tables and two pictures, of either codec, with and without PES lengths.
Bytes sample(unsigned kind) {
    using namespace tavrik::test;
    const bool h265 = (kind & 1) != 0;
    const bool with_length = (kind & 2) != 0;
    TsWriter writer;
    writer.tables(h265 ? 0x24 : 0x1B, 0x0F);
    writer.pes(TsWriter::kVideoPid,
               h265 ? joined({kVps265, kSps265, kPps265, slice265(true, true, 1)})
                    : joined({kSps264, kPps264, slice264(true, true, 1, 300)}),
               with_length);
    writer.pes(TsWriter::kAudioPid, Bytes(30, 7), true);
    writer.pes(TsWriter::kVideoPid, joined({h265 ? slice265(true, false, 2) : slice264(true, false, 2)}),
               with_length);
    return writer.take();
}

// A table behind a packet head at `p` gets a good sum, if one fits.
std::size_t mendPacket(std::uint8_t* p, std::size_t rest) {
    constexpr std::size_t kPacket = tavrik::kTsPacketBytes;
    if (rest < kPacket || p[0] != tavrik::kTsSync) {
        return 0;
    }
    const bool table = (p[1] & 0x40) != 0 && (p[3] & 0x30) == 0x10 && p[4] == 0 && (p[5] == 0 || p[5] == 2);
    const std::size_t length = 3u + ((p[6] & 0x0Fu) << 8) + p[7];
    if (table && length >= 12 && length <= kPacket - 5) {
        const std::uint32_t sum = tavrik::crc32Mpeg(p + 5, length - 4);
        for (int i = 0; i < 4; ++i) {
            p[5 + length - 4 + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(sum >> (24 - 8 * i));
        }
    }
    return kPacket;
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t max_size,
                                               unsigned seed) {
    static const Bytes samples[] = {sample(0), sample(1), sample(2), sample(3)};
    const Bytes& planted = samples[seed % std::size(samples)];
    const auto plant = [&planted](std::uint8_t* at, std::minstd_rand& random) {
        std::memcpy(at, planted.data(), planted.size());
        for (unsigned hits = random() % 4; hits > 0; --hits) {
            at[random() % planted.size()] = static_cast<std::uint8_t>(random());
        }
    };
    return fuzz::mutate(data, size, max_size, seed, planted.size(), plant, mendPacket);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tavrik::ByteStream stream(
        [](const tavrik::AccessUnitPtr& unit) {
            fuzz::touch(unit->padded.data(), static_cast<std::int32_t>(unit->padded.size()));
            fuzz::countAccepted();
        },
        [](int, const tavrik::Stamp&, const std::uint8_t* sound, std::size_t n) {
            fuzz::touch(sound, static_cast<std::int32_t>(n));
        });
    fuzz::inPieces(data, size, [&](const std::uint8_t* piece, std::int32_t n) {
        stream.push(piece, static_cast<std::size_t>(n));
        if (piece[0] % 11 == 0) {
            stream.idle();
        }
    });
    stream.finish();
    if (stream.pending()) {
        __builtin_trap();
    }
    return 0;
}
