// Walks over the NAL units of one picture's bytes.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "tavrik/nal.h"

namespace tavrik {

// Calls take(nal, size) for each NAL before the first slice; returns where that slice's NAL begins, null if
// there is none. What lies behind it is not looked at.
template <class Take>
const std::uint8_t* leadingNals(Codec codec, const std::uint8_t* data, std::size_t size, Take take) {
    constexpr std::size_t kHeadBytes = 3;
    const std::uint8_t* nal = nullptr;
    const auto pass = [&](const std::uint8_t* end) {
        while (nal != nullptr && end > nal && end[-1] == 0) {
            --end;
        }
        if (nal != nullptr && end > nal) {
            take(nal, static_cast<std::size_t>(end - nal));
        }
    };
    for (std::size_t i = 0; i + 3 < size; ++i) {
        if (data[i] != 0 || data[i + 1] != 0 || data[i + 2] != 1) {
            continue;
        }
        pass(data + i);
        nal = data + i + 3;
        if (describeNal(codec, nal, std::min(size - i - 3, kHeadBytes)).role == NalRole::kPicture) {
            return nal;
        }
        i += 2;
    }
    pass(data + size);
    return nullptr;
}

}  // namespace tavrik
