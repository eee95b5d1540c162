// The parameter sets of a stream as they stand, to begin a file with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "tavrik/nal.h"

namespace tavrik {

// Not thread-safe. Of H.264 and H.265; other codecs have none.
class ParameterSets {
public:
    explicit ParameterSets(Codec codec = Codec::kUnknown) : m_codec(codec) {}

    Codec codec() const { return m_codec; }
    // One picture in Annex B: the sets before its slices replace those of their numbers. True if one was
    // there.
    bool learn(const std::uint8_t* unit, std::size_t size);
    // In Annex B with 4-byte start codes: video, sequence and picture sets in this order.
    std::vector<std::uint8_t> bytes() const;

private:
    static constexpr std::size_t kMaxSetBytes = 16u << 10;

    Codec m_codec;
    std::map<std::pair<int, std::uint32_t>, std::vector<std::uint8_t>> m_sets;  // by NAL type and number
};

// A picture of H.265 that is shown before the key picture which it follows, and needs pictures before that
// one.
bool needsPicturesBeforeKey(Codec codec, const std::uint8_t* unit, std::size_t size);

}  // namespace tavrik
