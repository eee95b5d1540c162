// The block stream's reassembler under any bytes in any pieces with any header, against the rule by itself.
#include <string>

#include "tests/fuzz/accepted.h"
#include "tests/fuzz/telemetry_fuzz.h"
#include "video/block_reassembler.h"

namespace {

using sorvane::BlockReassembler;
using Bytes = std::vector<std::uint8_t>;

// The same, told plainly: bytes held, pieces appended, 256 taken wherever a header stands.
struct Plain {
    std::string header;
    Bytes held;
    Bytes payload;

    void take(const std::uint8_t* data, std::size_t size) {
        if (held.size() + size > 2048) {
            held.clear();
            return;
        }
        held.insert(held.end(), data, data + size);
        std::size_t p = 0;
        while (p + 256 <= held.size()) {
            const auto at = held.begin() + static_cast<std::ptrdiff_t>(p);
            const bool stands = header.size() <= 256 &&
                                std::string(at, at + static_cast<std::ptrdiff_t>(header.size())) == header;
            if (stands) {
                payload.insert(payload.end(), at + static_cast<std::ptrdiff_t>(header.size()), at + 256);
            }
            p += stands ? 256 : 1;
        }
        held.erase(held.begin(), held.begin() + static_cast<std::ptrdiff_t>(p));
    }
};

}  // namespace

// The first byte chooses the pieces, the second the header's length, the next ones are the header.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 3) {
        return 0;
    }
    const std::size_t wanted = data[1] < 250 ? data[1] % 6U : data[1] + 4U;
    const std::size_t length = std::min(wanted, size - 2);
    Plain plain;
    plain.header.assign(data + 2, data + 2 + length);
    Bytes stream(data + 1 + length, data + size);
    stream[0] = data[0];
    BlockReassembler blocks;
    Bytes payload;
    fuzz::inPieces(stream.data(), stream.size(), [&](const std::uint8_t* piece, std::int32_t n) {
        blocks.take(piece, static_cast<std::size_t>(n), plain.header,
                    [&](const std::uint8_t* p, std::size_t count) {
                        payload.insert(payload.end(), p, p + count);
                        fuzz::countAccepted();
                    });
        plain.take(piece, static_cast<std::size_t>(n));
        if (payload != plain.payload || blocks.heldBytes() != plain.held.size()) {
            __builtin_trap();
        }
    });
    return 0;
}
