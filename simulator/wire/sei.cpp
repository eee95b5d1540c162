#include "simulator/wire/sei.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "simulator/wire/bytes.h"
#include "simulator/wire/wire.h"

namespace podsim {
namespace {

using wire::toI16;
using wire::toI32;
using wire::toU16;
using wire::toU8;

// "Sorvane pod blk1": tells our block from other user data.
constexpr std::uint8_t kIdentifier[16] = {'S', 'o', 'r', 'v', 'a', 'n', 'e', ' ',
                                          'p', 'o', 'd', ' ', 'b', 'l', 'k', '1'};
constexpr std::uint8_t kUserDataUnregistered = 5;

bool isSeiOrSlice(Codec codec, std::uint8_t header) {
    if (codec == Codec::kH264) {
        const int type = header & 0x1F;
        return (type >= 1 && type <= 5) || type == 6;
    }
    const int type = (header >> 1) & 0x3F;
    return type < 32 || type == 39 || type == 40;
}

// Into -180 to 180, the only angles a signed field of 0.01 degree has room for.
double wrap180(double angle_deg) { return std::remainder(angle_deg, 360.0); }

std::uint16_t dateWord(const SeiFields& f) {
    const unsigned year = static_cast<unsigned>(std::clamp(f.year - 2000, 0, 127));
    const unsigned month = static_cast<unsigned>(std::clamp(f.month, 0, 15));
    const unsigned day = static_cast<unsigned>(std::clamp(f.day, 0, 31));
    return static_cast<std::uint16_t>(day << 11 | month << 7 | year);
}

}  // namespace

SeiPayload encodeSeiPayload(const SeiFields& f) {
    SeiPayload block{};
    std::uint8_t* p = block.data();
    std::copy(std::begin(kIdentifier), std::end(kIdentifier), p);
    putU16(p + 16, toU16(f.aircraft_number));
    p[18] = toU8(f.battery_percent);
    putU16(p + 19, toU16(f.endurance_min));
    putU16(p + 21, toU16(f.flown_min));
    putI16(p + 23, toI16(wrap180(f.aircraft_heading_deg) * 100));
    putI16(p + 25, toI16(f.aircraft_pitch_deg * 100));
    putI16(p + 27, toI16(f.aircraft_roll_deg * 100));
    putU16(p + 29, dateWord(f));
    const auto hundredths = static_cast<std::uint32_t>(std::clamp(f.second_of_day * 100, 0.0, 16777215.0));
    putU16(p + 31, static_cast<std::uint16_t>(hundredths));
    p[33] = static_cast<std::uint8_t>(hundredths >> 16);
    putI32(p + 34, toI32(f.aircraft_longitude_deg * 1e7));
    putI32(p + 38, toI32(f.aircraft_latitude_deg * 1e7));
    putI32(p + 42, toI32(f.aircraft_altitude_m * 1000));
    putU16(p + 46, toU16(f.aircraft_height_m));
    putU16(p + 48, toU16(f.horizontal_speed_mps * 100));
    putU16(p + 50, toU16(std::fabs(f.vertical_speed_mps) * 100));
    putI16(p + 52, toI16(wrap180(f.pod_azimuth_deg) * 100));
    putI16(p + 54, toI16(f.pod_pitch_deg * 100));
    putI16(p + 56, toI16(f.pod_roll_deg * 100));
    putI32(p + 58, toI32(f.centre_longitude_deg * 1e7));
    putI32(p + 62, toI32(f.centre_latitude_deg * 1e7));
    putI32(p + 66, toI32(f.centre_altitude_m * 1000));
    putU16(p + 70, toU16(f.target_distance_m));
    putU16(p + 72, toU16(f.visible_fov_deg * 100));
    putU16(p + 74, toU16(f.infrared_fov_deg * 100));
    p[76] = toU8(f.tracking_source);
    putI16(p + 77, toI16(f.box_left_px));
    putI16(p + 79, toI16(f.box_top_px));
    putU16(p + 81, toU16(f.box_width_px));
    putU16(p + 83, toU16(f.box_height_px));
    putI16(p + 85, toI16(f.alarm_threshold_c * 10));
    putI16(p + 87, toI16(f.centre_temperature_c * 10));
    p[89] = f.over_temperature ? 1 : 0;
    return block;
}

std::vector<std::uint8_t> buildSeiNal(Codec codec, const SeiPayload& payload) {
    std::vector<std::uint8_t> plain;
    if (codec == Codec::kH264) {
        plain = {0x06};
    } else {
        plain = {0x4E, 0x01};
    }
    plain.push_back(kUserDataUnregistered);
    plain.push_back(static_cast<std::uint8_t>(kSeiPayloadSize));
    plain.insert(plain.end(), payload.begin(), payload.end() - 1);
    // The sum also covers the start code, whose only byte that counts is its 1.
    unsigned sum = 1;
    for (const std::uint8_t b : plain) {
        sum += b;
    }
    plain.push_back(static_cast<std::uint8_t>(sum));
    plain.push_back(0x00);
    plain.push_back(0x80);

    std::vector<std::uint8_t> nal = {0, 0, 0, 1};
    appendEscaped(nal, plain.data(), plain.size());
    return nal;
}

void appendEscaped(std::vector<std::uint8_t>& out, const std::uint8_t* data, std::size_t n) {
    int zeros = 0;
    for (std::size_t i = 0; i < n; ++i) {
        if (zeros >= 2 && data[i] <= 3) {
            out.push_back(3);
            zeros = 0;
        }
        out.push_back(data[i]);
        zeros = data[i] == 0 ? zeros + 1 : 0;
    }
}

std::size_t seiInsertOffset(Codec codec, const std::uint8_t* au, std::size_t n) {
    for (std::size_t i = 0; i + 3 < n; ++i) {
        if (au[i] != 0 || au[i + 1] != 0 || au[i + 2] != 1) {
            continue;
        }
        if (isSeiOrSlice(codec, au[i + 3])) {
            return i > 0 && au[i - 1] == 0 ? i - 1 : i;
        }
        i += 2;
    }
    return n;
}

}  // namespace podsim
