// The block in the video under any bytes: what is found is what the steps of the search give when they are
// taken one by one, and every field of it can be shown.
#include <algorithm>
#include <array>
#include <iterator>
#include <string>

#include "telemetry/sei_block.h"
#include "telemetry/sei_fields.h"
#include "tests/fuzz/accepted.h"
#include "tests/fuzz/telemetry_fuzz.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes headOf(int kind) { return kind == 0 ? Bytes{0, 0, 0, 1, 0x06} : Bytes{0, 0, 0, 1, 0x4E, 0x01}; }

// Where the payload of the block begins in `bytes`, which are cleaned here in place; -1 for none.
long searched(Bytes& bytes, int kind) {
    const Bytes head = headOf(kind);
    const long m = static_cast<long>(head.size()) + 4;
    for (long i = 0; i < static_cast<long>(bytes.size()) - 3;) {
        if (bytes[i] == 0 && bytes[i + 1] == 0 && bytes[i + 2] == 3) {
            bytes.erase(bytes.begin() + i + 2);
            i += 2;
        } else {
            i += 1;
        }
    }
    const long n = static_cast<long>(bytes.size());
    for (long j = 0; j + m < n; ++j) {
        if (!std::equal(head.begin(), head.end(), bytes.begin() + j)) {
            continue;
        }
        const long length = static_cast<long>(head.size());
        const long size = bytes[j + length + 1];
        if (bytes[j + length] != 5 || j + m + size >= n) {
            return -1;
        }
        std::uint8_t sum = 0;
        for (long k = 0; k < length + size + 1; ++k) {
            sum = static_cast<std::uint8_t>(sum + bytes[j + k]);
        }
        const long at = j + length + size + 1;
        const bool good = sum == bytes[at] && bytes[at + 1] == 0 && bytes[at + 2] == 0x80 && size == 97;
        return good ? j + length + 2 : -1;
    }
    return -1;
}

void showAll(const sorvane::SeiPayload& payload) {
    for (const sorvane::SeiFields& column : {sorvane::seiLeftColumn(), sorvane::seiRightColumn()}) {
        for (const sorvane::SeiField& field : column) {
            const sorvane::PanelText text = sorvane::seiText(field, payload);
            const bool is_word = text.kind == sorvane::PanelText::Kind::kWord;
            if (is_word ? text.word == nullptr : std::string(text.number).empty()) {
                __builtin_trap();
            }
        }
    }
}

// A whole message with whatever bytes stand there: sizes, sum and escapes mended. 0 where none begins.
std::size_t mend(std::uint8_t* at, std::size_t rest) {
    for (const int kind : {0, 1}) {
        const Bytes head = headOf(kind);
        const std::size_t whole = head.size() + 2 + 96 + 3;
        if (rest <= whole || !std::equal(head.begin(), head.end(), at)) {
            continue;
        }
        at[head.size()] = 5;
        at[head.size() + 1] = 97;
        // The sum is over the clean bytes, so this one holds where none is an emulation byte.
        std::uint8_t sum = 0;
        for (std::size_t i = 0; i < whole - 3; ++i) {
            sum = static_cast<std::uint8_t>(sum + at[i]);
        }
        at[whole - 3] = sum;
        at[whole - 2] = 0;
        at[whole - 1] = 0x80;
        return whole;
    }
    return 0;
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t max_size,
                                               unsigned seed) {
    constexpr std::size_t kLongest = 6 + 2 + 96 + 3 + 1;
    const auto plant = [](std::uint8_t* at, std::minstd_rand& random) {
        const Bytes head = headOf(static_cast<int>(random() % 2));
        std::copy(head.begin(), head.end(), at);
    };
    return fuzz::mutate(data, size, max_size, seed, kLongest, plant, mend);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1) {
        return 0;
    }
    const int kind = data[0] % 2;
    // A block of its own, so that a read beyond it is found.
    Bytes run(data + 1, data + size);
    const auto block = sorvane::findSeiBlock(run.data(), static_cast<int>(run.size()), kind);
    const long at = searched(run, kind);
    if (block.has_value() != (at >= 0)) {
        __builtin_trap();
    }
    if (block) {
        if (!std::equal(block->begin(), block->end(), run.begin() + at)) {
            __builtin_trap();
        }
        showAll(*block);
        fuzz::countAccepted();
    }
    return 0;
}
