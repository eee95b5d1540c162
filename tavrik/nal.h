// NAL units of H.264 and H.265: kinds, beginnings of pictures, SEI. A NAL is given without its start code and
// with its emulation-prevention bytes in place. Free functions; any size is safe, an empty NAL is nothing.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavrik {

// MpegVideo: MPEG-1 and MPEG-2. Other: a codec that the container names (Motion JPEG, MPEG-4 ...). The
// packets of these two are passed on as they come.
enum class Codec { kUnknown, kH264, kH265, kMpegVideo, kOther };

enum class NalRole {
    kPicture,    // a slice
    kDelimiter,  // begins an access unit
    kLeading,    // parameter sets, SEI: stands before a picture's slice, mostly its first
    kTrailing,   // belongs to the picture before it (end of sequence, filler, suffix SEI)
};

// Bits of NalInfo::parameter_set.
constexpr unsigned kVideoSet = 1, kSequenceSet = 2, kPictureSet = 4;

struct NalInfo {
    NalRole role = NalRole::kTrailing;
    bool first_slice = false;     // a slice that begins a picture
    bool random_access = false;   // a slice of a picture that needs none before it
    bool recovery_point = false;  // SEI: decoding may begin with the picture this belongs to
    bool sei = false;             // handed to the SEI callback, prefix or suffix
    unsigned parameter_set = 0;
};

// H.264: ITU-T H.264 table 7-1 and 7.4.1.2.3; H.265: ITU-T H.265 table 7-1 and 7.4.2.4.4.
NalInfo describeNal(Codec codec, const std::uint8_t* nal, std::size_t size);

// The codec whose stream this NAL opens: H.264 for a sequence parameter set with a known profile, H.265 for a
// base-layer video or sequence parameter set; Unknown for all else. The two never overlap.
Codec codecOfParameterSet(const std::uint8_t* nal, std::size_t size);

}  // namespace tavrik
