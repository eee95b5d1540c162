#include "simulator/wire/sei.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/simulator/hex.h"

namespace podsim {
namespace {

SeiFields goldenFields() {
    SeiFields f;
    f.aircraft_number = 1234;
    f.battery_percent = 87;
    f.endurance_min = 95;
    f.flown_min = 41;
    f.aircraft_heading_deg = 270;
    f.aircraft_pitch_deg = 2.5;
    f.aircraft_roll_deg = -1.25;
    f.year = 2026;
    f.month = 6;
    f.day = 15;
    f.second_of_day = 8 * 3600 + 30 * 60 + 59.25;
    f.aircraft_longitude_deg = 114.4231691;
    f.aircraft_latitude_deg = 30.4538046;
    f.aircraft_altitude_m = 1234.567;
    f.aircraft_height_m = 800;
    f.horizontal_speed_mps = 45.5;
    f.vertical_speed_mps = -1.25;
    f.pod_azimuth_deg = -179.5;
    f.pod_pitch_deg = -45;
    f.pod_roll_deg = 0.12;
    f.centre_longitude_deg = 114.43;
    f.centre_latitude_deg = 30.46;
    f.centre_altitude_m = 35.25;
    f.target_distance_m = 1450;
    f.visible_fov_deg = 32.1;
    f.infrared_fov_deg = 14.8;
    f.tracking_source = 1;
    f.box_left_px = -20;
    f.box_top_px = 300;
    f.box_width_px = 64;
    f.box_height_px = 48;
    f.alarm_threshold_c = 65.5;
    f.centre_temperature_c = -12.3;
    f.over_temperature = true;
    return f;
}

const char* const kBlock =
    "05 61 53 6F 72 76 61 6E 65 20 70 6F 64 20 62 6C 6B 31 D2 04 57 5F 00 29 00 D8 DC FA 00 83 FF 1A 7B 45 "
    "C8 2E "
    "0B 97 33 44 BE E1 26 12 87 D6 12 00 20 03 C6 11 7D 00 E2 B9 6C EE 0C 00 E0 A1 34 44 C0 D3 27 12 B2 89 "
    "00 00 "
    "AA 05 8A 0C C8 05 01 EC FF 2C 01 40 00 30 00 8F 02 85 FF 01 00 00 03 00 00 03 00 00 ";

// What a receiver does: takes the emulation bytes out and tests the message.
bool readBack(const std::vector<std::uint8_t>& nal, std::size_t header, std::vector<std::uint8_t>& payload) {
    std::vector<std::uint8_t> plain;
    int zeros = 0;
    for (const std::uint8_t b : nal) {
        if (zeros >= 2 && b == 3) {
            zeros = 0;
            continue;
        }
        plain.push_back(b);
        zeros = b == 0 ? zeros + 1 : 0;
    }
    const std::size_t start = 4 + header;
    if (plain.size() != start + 2 + 97 + 2 || plain[start] != 5 || plain[start + 1] != 97) {
        return false;
    }
    unsigned sum = 0;
    for (std::size_t i = 0; i < start + 2 + 96; ++i) {
        sum += plain[i];
    }
    payload.assign(plain.begin() + static_cast<long>(start) + 2,
                   plain.begin() + static_cast<long>(start) + 98);
    return plain[start + 98] == (sum & 255) && plain[start + 99] == 0 && plain[start + 100] == 0x80;
}

TEST(Sei, GoldenH264) {
    EXPECT_EQ(buildSeiNal(Codec::kH264, encodeSeiPayload(goldenFields())),
              bytesOf(std::string("00 00 00 01 06 ") + kBlock + "75 00 80"));
}

TEST(Sei, GoldenH265) {
    EXPECT_EQ(buildSeiNal(Codec::kH265, encodeSeiPayload(goldenFields())),
              bytesOf(std::string("00 00 00 01 4E 01 ") + kBlock + "BE 00 80"));
}

TEST(Sei, AnyPayloadSurvivesEmulationPrevention) {
    std::mt19937 random(3);
    for (int round = 0; round < 2000; ++round) {
        SeiPayload payload{};
        // Many zeros, ones, twos and threes: what emulation prevention is about.
        for (auto& b : payload) {
            b = static_cast<std::uint8_t>(random() % 8 < 6 ? random() % 4 * (random() % 2) : random());
        }
        for (const Codec codec : {Codec::kH264, Codec::kH265}) {
            const auto nal = buildSeiNal(codec, payload);
            for (std::size_t i = 4; i + 2 < nal.size(); ++i) {
                ASSERT_FALSE(nal[i] == 0 && nal[i + 1] == 0 && nal[i + 2] < 3) << "a false start code";
            }
            std::vector<std::uint8_t> back;
            ASSERT_TRUE(readBack(nal, codec == Codec::kH264 ? 1 : 2, back));
            EXPECT_TRUE(std::equal(back.begin(), back.end(), payload.begin()));
        }
    }
}

TEST(Sei, Escaping) {
    const auto escaped = [](const char* hex) {
        std::vector<std::uint8_t> out;
        const auto in = bytesOf(hex);
        appendEscaped(out, in.data(), in.size());
        return out;
    };
    EXPECT_EQ(escaped("00 00 00"), bytesOf("00 00 03 00"));
    EXPECT_EQ(escaped("00 00 01"), bytesOf("00 00 03 01"));
    EXPECT_EQ(escaped("00 00 03"), bytesOf("00 00 03 03"));
    EXPECT_EQ(escaped("00 00 04"), bytesOf("00 00 04"));
    EXPECT_EQ(escaped("00 00 00 00 00 80"), bytesOf("00 00 03 00 00 03 00 80"));
    EXPECT_EQ(escaped("00 01 00 02"), bytesOf("00 01 00 02"));
}

TEST(Sei, ValuesBeyondTheirFieldsAreHeld) {
    SeiFields f;
    f.aircraft_heading_deg = 359.99;
    f.target_distance_m = 1e6;
    f.year = 1999;
    f.second_of_day = 1e9;
    const SeiPayload p = encodeSeiPayload(f);
    EXPECT_EQ(p[23] | p[24] << 8, 0xFFFF);  // -0.01 degree
    EXPECT_EQ(p[70] | p[71] << 8, 0xFFFF);
    EXPECT_EQ(p[29] & 0x7F, 0);
    EXPECT_EQ(p[31] | p[32] << 8 | p[33] << 16, 0xFFFFFF);
}

std::size_t offsetIn(Codec codec, const char* hex) {
    const auto au = bytesOf(hex);
    return seiInsertOffset(codec, au.data(), au.size());
}

TEST(SeiPlace, AheadOfTheFirstMessageOrSlice) {
    // Delimiter, parameter sets, message, slice.
    EXPECT_EQ(offsetIn(Codec::kH264,
                       "00 00 00 01 09 F0 00 00 00 01 67 42 00 00 00 01 68 CE 00 00 01 06 05 00 00 01 65 88"),
              18u);
    EXPECT_EQ(offsetIn(Codec::kH264, "00 00 00 01 67 42 00 00 00 01 68 CE 00 00 00 01 65 88"), 12u);
    EXPECT_EQ(offsetIn(Codec::kH264, "00 00 00 01 41 9A 00"), 0u);
    EXPECT_EQ(offsetIn(Codec::kH264, "00 00 01 41 9A 00"), 0u);
    EXPECT_EQ(
        offsetIn(Codec::kH265,
                 "00 00 00 01 40 01 00 00 00 01 42 01 00 00 00 01 44 01 00 00 00 01 4E 01 05 00 00 01 26 01"),
        18u);
    EXPECT_EQ(offsetIn(Codec::kH265, "00 00 00 01 02 01 D0"), 0u);
}

TEST(SeiPlace, AtTheEndWhenThereIsNoPicture) {
    EXPECT_EQ(offsetIn(Codec::kH264, "00 00 00 01 67 42"), 6u);
    EXPECT_EQ(offsetIn(Codec::kH264, ""), 0u);
    EXPECT_EQ(offsetIn(Codec::kH265, "00 00 01"), 3u);
}

}  // namespace
}  // namespace podsim
