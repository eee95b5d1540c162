// Puts NAL units together to access units: what belongs to one picture.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "tavrik/nal.h"

namespace tavrik {

struct AccessUnit {
    std::vector<std::uint8_t> bytes;  // Annex B, each NAL with a 4-byte start code
    std::vector<std::uint8_t> sei;    // its SEI NALs alone, in the same form
    bool has_picture = false;
    bool key = false;  // decoding can begin here

    void clear();
};

// Not thread-safe. A unit is complete when a NAL arrives that only the next one can hold, or at flush().
class AccessUnitAssembler {
public:
    using Sink = std::function<void(const AccessUnit&)>;
    // Above this a unit is no picture but a fault: it is thrown away.
    static constexpr std::size_t kMaxUnitBytes = 16u << 20;

    AccessUnitAssembler(Codec codec, Sink sink) : m_codec(codec), m_sink(std::move(sink)) {}

    void add(const std::uint8_t* nal, std::size_t size);
    // Hands out the unit if it holds a picture; parameter sets and SEI without one wait for theirs.
    void flush();
    void reset() { m_unit.clear(); }

    bool pending() const { return m_unit.has_picture; }
    // True once after a unit has begun with a slice that is not a picture's first: the unit before was cut
    // short, or a piece was lost.
    bool takeContinued();

private:
    Codec m_codec;
    Sink m_sink;
    AccessUnit m_unit;
    bool m_continued = false;
};

}  // namespace tavrik
