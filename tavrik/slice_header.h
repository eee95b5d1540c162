// Tells by the heads of two slices whether they are of one picture, also when the slice that begins a picture
// was lost or comes late.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "tavrik/nal.h"

namespace tavrik {

struct SliceHead {
    bool known = false;  // false: parameter sets not seen, or the bytes end within the head
    // What all slices of a picture have in common and two pictures in a row do not.
    std::array<std::uint32_t, 8> mark{};
    bool has_mark = false;      // false: a dependent slice segment repeats nothing
    std::uint32_t address = 0;  // first block
    bool ordered = true;        // addresses rise within a picture
};

// True if the two cannot be of one picture; `later` came after `earlier`.
bool ofAnotherPicture(const SliceHead& earlier, const SliceHead& later);

// Remembers the parameter sets of one stream. H.264: ITU-T H.264 7.3.2.1, 7.3.2.2, 7.3.3, 7.4.1.2.4; H.265:
// ITU-T H.265 7.3.2.2, 7.3.2.3, 7.3.6.1.
class SliceHeads {
public:
    explicit SliceHeads(Codec codec) : m_codec(codec) {}

    // A parameter set is remembered; any other NAL is none of its business.
    void learn(const std::uint8_t* nal, std::size_t size);
    // Of a slice, whole or only its beginning.
    SliceHead read(const std::uint8_t* nal, std::size_t size) const;

private:
    struct Sequence {
        bool known = false;
        bool ordered = true;
        bool separate_planes = false;
        int frame_num_bits = 0;
        std::uint32_t order_type = 0;
        int order_bits = 0;
        bool delta_always_zero = false;
        bool frames_only = true;
        int address_bits = 0;
    };
    struct Picture {
        bool known = false;
        std::uint32_t sequence = 0;
        bool bottom_order = false;
        bool dependent_slices = false;
        bool output_flag = false;
        int extra_bits = 0;
    };

    void learnSequence264(const std::uint8_t* nal, std::size_t size);
    void learnPicture264(const std::uint8_t* nal, std::size_t size);
    SliceHead read264(const std::uint8_t* nal, std::size_t size) const;
    void learnSequence265(const std::uint8_t* nal, std::size_t size);
    void learnPicture265(const std::uint8_t* nal, std::size_t size);
    SliceHead read265(const std::uint8_t* nal, std::size_t size) const;
    const Picture* picture(std::uint32_t id) const;

    static constexpr std::uint32_t kSequences = 32, kPictures = 256;
    Codec m_codec;
    std::array<Sequence, kSequences> m_sequences{};
    std::array<Picture, kPictures> m_pictures{};
};

}  // namespace tavrik
