// The telemetry block that travels inside the video: a user-data message in every picture.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace podsim {

enum class Codec { kH264, kH265 };

constexpr std::size_t kSeiPayloadSize = 97;

// The block's fields in physical units. Angles in degrees, lengths in metres, speeds in m/s.
struct SeiFields {
    int aircraft_number = 0;
    int battery_percent = 0;
    int endurance_min = 0;
    int flown_min = 0;
    double aircraft_heading_deg = 0;
    double aircraft_pitch_deg = 0;
    double aircraft_roll_deg = 0;
    int year = 2000;  // 2000 to 2127
    int month = 1;
    int day = 1;
    double second_of_day = 0;
    double aircraft_longitude_deg = 0;
    double aircraft_latitude_deg = 0;
    double aircraft_altitude_m = 0;
    double aircraft_height_m = 0;  // above ground
    double horizontal_speed_mps = 0;
    double vertical_speed_mps = 0;  // travels unsigned: its magnitude
    double pod_azimuth_deg = 0;
    double pod_pitch_deg = 0;
    double pod_roll_deg = 0;
    double centre_longitude_deg = 0;
    double centre_latitude_deg = 0;
    double centre_altitude_m = 0;
    double target_distance_m = 0;
    double visible_fov_deg = 0;
    double infrared_fov_deg = 0;
    int tracking_source = 0;  // 1 visible, 2 infrared, else none
    double box_left_px = 0;   // upper left corner of the tracking box, from the picture's upper left
    double box_top_px = 0;
    double box_width_px = 0;
    double box_height_px = 0;
    double alarm_threshold_c = 0;
    double centre_temperature_c = 0;
    bool over_temperature = false;
};

using SeiPayload = std::array<std::uint8_t, kSeiPayloadSize>;

// The payload: 16 bytes of identifier, the fields, and a place for the checksum (0).
SeiPayload encodeSeiPayload(const SeiFields& fields);
// A whole NAL unit with a 4-byte start code, checksum, trailer and emulation prevention.
std::vector<std::uint8_t> buildSeiNal(Codec codec, const SeiPayload& payload);

// Copies n bytes of a NAL unit behind its start code, with a 3 wherever two zeros would be followed by a
// byte below 4.
void appendEscaped(std::vector<std::uint8_t>& out, const std::uint8_t* data, std::size_t n);

// The offset in an Annex B access unit at which the message belongs: behind delimiter and parameter sets,
// ahead of the first message of the encoder or the first slice. At a start code; the end when none is there.
std::size_t seiInsertOffset(Codec codec, const std::uint8_t* au, std::size_t n);

}  // namespace podsim
