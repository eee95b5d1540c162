// Hand-made NAL units for the tests of the cores: right in what the cores look at, without real pictures.
#pragma once

#include <cstdint>
#include <vector>

#include "tavrik/nal.h"

namespace tavrik::test {

using Bytes = std::vector<std::uint8_t>;

// H.264 (first byte: nal_ref_idc and type) and H.265 (two bytes: type << 1, temporal id 1).
inline const Bytes kSps264{0x67, 0x42, 0xC0, 0x1E, 0xDA, 0x02};
inline const Bytes kPps264{0x68, 0xCE, 0x3C, 0x80};
inline const Bytes kAud264{0x09, 0xF0};
inline const Bytes kSei264{0x06, 0x05, 0x03, 0x11, 0x22, 0x33, 0x80};
inline const Bytes kRecovery264{0x06, 0x06, 0x01, 0xC4, 0x80};
inline const Bytes kVps265{0x40, 0x01, 0x0C, 0x01, 0xFF};
inline const Bytes kSps265{0x42, 0x01, 0x01, 0x01, 0x60};
inline const Bytes kPps265{0x44, 0x01, 0xC1, 0x72};
inline const Bytes kAud265{0x46, 0x01, 0x50};
inline const Bytes kSei265{0x4E, 0x01, 0x05, 0x03, 0x11, 0x22, 0x33, 0x80};
inline const Bytes kSuffix265{0x50, 0x01, 0x84, 0x02, 0x11, 0x22, 0x80};

// A slice with `first` telling whether it begins the picture; `mark` makes it distinguishable.
inline Bytes slice264(bool first, bool key, std::uint8_t mark, std::size_t size = 40) {
    Bytes nal{static_cast<std::uint8_t>(key ? 0x65 : 0x41), static_cast<std::uint8_t>(first ? 0x88 : 0x48)};
    while (nal.size() < size) {
        nal.push_back(static_cast<std::uint8_t>(mark | 0x80));
    }
    return nal;
}
inline Bytes slice265(bool first, bool key, std::uint8_t mark, std::size_t size = 40) {
    Bytes nal{static_cast<std::uint8_t>((key ? 19 : 1) << 1), 0x01,
              static_cast<std::uint8_t>(first ? 0xAF : 0x2F)};
    while (nal.size() < size) {
        nal.push_back(static_cast<std::uint8_t>(mark | 0x80));
    }
    return nal;
}

inline Bytes joined(const std::vector<Bytes>& nals, std::size_t start_code = 4) {
    Bytes out;
    for (const Bytes& nal : nals) {
        out.insert(out.end(), start_code - 1, 0);
        out.push_back(1);
        out.insert(out.end(), nal.begin(), nal.end());
    }
    return out;
}

}  // namespace tavrik::test
