#include "tavrik/nal.h"

#include <algorithm>
#include <iterator>

namespace tavrik {
namespace {

constexpr int kRecoveryPoint = 6;
constexpr int kLargestNumber = 1 << 24;

// Whether one of the messages in the payload is of the type. Emulation-prevention bytes are left out, since a
// message's size does not count them.
bool holdsMessage(const std::uint8_t* payload, std::size_t size, int wanted) {
    std::size_t at = 0;
    int zeros = 0;
    const auto next = [&]() -> int {
        if (at < size && zeros >= 2 && payload[at] == 3) {
            ++at;
            zeros = 0;
        }
        if (at >= size) {
            return -1;
        }
        zeros = payload[at] == 0 ? zeros + 1 : 0;
        return payload[at++];
    };
    const auto number = [&]() -> int {
        int sum = 0;
        for (int byte = 0xFF; byte == 0xFF;) {
            byte = next();
            if (byte < 0 || sum > kLargestNumber) {
                return -1;
            }
            sum += byte;
        }
        return sum;
    };
    // The last byte is the stop bit.
    while (at + 1 < size) {
        const int type = number();
        int left = number();
        if (type < 0 || left < 0) {
            return false;
        }
        if (type == wanted) {
            return true;
        }
        while (left > 0 && next() >= 0) {
            --left;
        }
    }
    return false;
}

NalInfo describeH264(const std::uint8_t* nal, std::size_t size) {
    NalInfo info;
    const int type = nal[0] & 0x1F;
    switch (type) {
        case 1:
        case 2:
        case 5:
            info.role = NalRole::kPicture;
            // first_mb_in_slice is the first Exp-Golomb code: a leading 1 bit is 0.
            info.first_slice = size > 1 && (nal[1] & 0x80) != 0;
            info.random_access = type == 5;
            break;
        case 3:
        case 4:
            info.role = NalRole::kPicture;
            break;
        case 6:
            info.role = NalRole::kLeading;
            info.sei = true;
            info.recovery_point = holdsMessage(nal + 1, size - 1, kRecoveryPoint);
            break;
        case 9:
            info.role = NalRole::kDelimiter;
            break;
        case 7:
        case 8:
        case 14:
        case 15:
        case 16:
        case 17:
        case 18:
            info.role = NalRole::kLeading;
            info.parameter_set = type == 7 ? kSequenceSet : type == 8 ? kPictureSet : 0;
            break;
        default:
            break;
    }
    return info;
}

NalInfo describeH265(const std::uint8_t* nal, std::size_t size) {
    NalInfo info;
    if (size < 2) {
        return info;
    }
    const int type = (nal[0] >> 1) & 0x3F;
    const bool base_layer = (nal[0] & 1) == 0 && (nal[1] & 0xF8) == 0;
    if (type <= 31) {
        info.role = NalRole::kPicture;
        info.first_slice = base_layer && size > 2 && (nal[2] & 0x80) != 0;
        info.random_access = type >= 16 && type <= 23;
    } else if (type == 39) {
        info.role = NalRole::kLeading;
        info.sei = true;
        info.recovery_point = holdsMessage(nal + 2, size - 2, kRecoveryPoint);
    } else if (type == 40) {
        info.sei = true;
    } else if (type <= 35 || (type >= 41 && type <= 44) || (type >= 48 && type <= 55)) {
        info.role = !base_layer ? NalRole::kTrailing : type == 35 ? NalRole::kDelimiter : NalRole::kLeading;
        if (base_layer && type <= 34) {
            info.parameter_set = type == 32 ? kVideoSet : type == 33 ? kSequenceSet : kPictureSet;
        }
    }
    return info;
}

}  // namespace

NalInfo describeNal(Codec codec, const std::uint8_t* nal, std::size_t size) {
    if (size == 0) {
        return NalInfo{};
    }
    if (codec == Codec::kH264) {
        return describeH264(nal, size);
    }
    if (codec == Codec::kH265) {
        return describeH265(nal, size);
    }
    return NalInfo{};
}

Codec codecOfParameterSet(const std::uint8_t* nal, std::size_t size) {
    if (size < 4) {
        return Codec::kUnknown;
    }
    if ((nal[0] == 0x40 || nal[0] == 0x42) && nal[1] == 0x01) {
        return Codec::kH265;
    }
    static constexpr std::uint8_t kProfiles[] = {66, 77, 88,  100, 110, 122, 244, 44,
                                                 83, 86, 118, 128, 138, 139, 134, 135};
    const bool sequence_set = (nal[0] & 0x9F) == 7 && (nal[0] & 0x60) != 0;
    if (sequence_set &&
        std::find(std::begin(kProfiles), std::end(kProfiles), nal[1]) != std::end(kProfiles)) {
        return Codec::kH264;
    }
    return Codec::kUnknown;
}

}  // namespace tavrik
