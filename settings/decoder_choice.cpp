#include "settings/decoder_choice.h"

namespace sorvane {

namespace {

constexpr int kDecoders = 3;

}  // namespace

std::vector<int> decoderItems(int mask) {
    std::vector<int> items;
    for (int bit = 0; bit < kDecoders; ++bit) {
        if (((mask >> bit) & 1) != 0) {
            items.push_back(bit);
        }
    }
    return items;
}

int decoderRow(int stored, int rows) { return stored >= 0 && stored < rows ? stored : 0; }

std::uint8_t decoderMask(int item) {
    return static_cast<std::uint8_t>(1U << (item >= 0 && item < kDecoders ? item : 0));
}

}  // namespace sorvane
