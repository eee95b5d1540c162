// NAL units of H.264 and H.265: kinds, beginnings of pictures, SEI. A NAL is given without its start code and
// with its emulation-prevention bytes in place. Free functions; any size is safe, an empty NAL is nothing.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavrik {

// Other: a codec whose packets are passed on as they come (Motion JPEG, MPEG-4 ...).
enum class Codec { kUnknown, kH264, kH265, kOther };

enum class NalRole {
    kPicture,     // a slice
    kSupplement,  // SEI
    kLeading,     // parameter sets, delimiters: what can only stand before a picture's first slice
    kTrailing,    // belongs to the picture before it (end of sequence, filler, suffix SEI)
};

struct NalInfo {
    NalRole role = NalRole::kTrailing;
    bool first_slice = false;  // a slice that begins a picture
    bool key = false;          // decoding can begin with the picture this NAL belongs to
    bool sei = false;          // handed to the SEI callback, prefix or suffix
};

// H.264: ITU-T H.264 table 7-1 and 7.4.1.2.3; H.265: ITU-T H.265 table 7-1 and 7.4.2.4.4.
NalInfo describeNal(Codec codec, const std::uint8_t* nal, std::size_t size);

// The codec whose stream this NAL opens: H.264 for a sequence parameter set with a known profile, H.265 for a
// base-layer video or sequence parameter set; Unknown for all else. The two never overlap.
Codec codecOfParameterSet(const std::uint8_t* nal, std::size_t size);

}  // namespace tavrik
