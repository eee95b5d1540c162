#include "simulator/wire/report.h"

#include <cmath>

#include "simulator/pod/calendar.h"
#include "simulator/pod/views.h"
#include "simulator/world/world.h"

namespace podsim {
namespace {

using wire::toI16;
using wire::toU16;
using wire::toU8;

std::uint16_t bit(int index, bool on) { return static_cast<std::uint16_t>(on ? 1u << index : 0u); }

std::uint16_t field(int low_bit, int bits, int value) {
    const int mask = (1 << bits) - 1;
    return static_cast<std::uint16_t>((value & mask) << low_bit);
}

std::uint16_t statusWordA(const Snapshot& s) {
    const unsigned word = bit(0, s.photographing) | bit(1, s.snapshotting) | bit(2, s.burst) |
                          bit(3, s.continuous_snapshot) | bit(4, s.recording) | bit(5, s.file_naming_ok) |
                          bit(6, s.tf_inserted) | bit(7, s.over_temperature) | bit(8, s.red_dot) |
                          bit(9, s.window_defog) | field(10, 4, s.ir_enhancement);
    return static_cast<std::uint16_t>(word);
}

std::uint16_t statusWordB(const Snapshot& s) {
    const unsigned word =
        bit(1, s.track_source_visible) | field(2, 7, static_cast<int>(std::lround(s.ir_ezoom * 10))) |
        bit(9, s.config_saved) | field(10, 2, s.vl_ezoom_index) | field(12, 4, s.ir_palette);
    return static_cast<std::uint16_t>(word);
}

// North and east parts of the ground speed: the carrier flies where it points.
double northSpeed(const Snapshot& s) { return s.ground_speed_mps * std::cos(s.heading_deg * kDeg); }
double eastSpeed(const Snapshot& s) { return s.ground_speed_mps * std::sin(s.heading_deg * kDeg); }

}  // namespace

wire::Report reportOf(const Snapshot& s) {
    wire::Report r;
    r.load_type = toU8(s.load_type);
    r.module_status = s.module_bits;
    r.status_word_a = statusWordA(s);
    r.status_word_b = statusWordB(s);
    r.servo_state = static_cast<std::uint8_t>(s.servo_state);
    r.frame_yaw = toI16(s.frame_yaw_deg * 100);
    r.frame_pitch = toI16(s.frame_pitch_deg * 100);
    r.frame_roll = toI16(s.frame_roll_deg * 100);
    r.load_version =
        static_cast<std::uint8_t>((s.load_version_major & 15) << 4 | (s.load_version_minor & 15));
    r.ir_fov = toU16(s.ir_fov_deg * 10);
    r.tf_free_percent = toU8(s.tf_free_percent);
    r.vl_fov = toU16((s.display_mode == DisplayMode::kVisibleTele ? s.tele_fov_deg : s.vl_fov_deg) * 10);
    r.tf_capacity = toU16(s.tf_capacity_gb * 10);
    r.ir_focal_length = toU16(s.ir_focal_mm * 10);
    r.vl_focal_length = toU16(s.vl_focal_mm * 10);
    r.laser_distance = toU16(s.laser_range_m * 10);
    if (s.target_valid) {
        r.target_longitude_deg = s.target_longitude_deg;
        r.target_latitude_deg = s.target_latitude_deg;
        r.target_altitude = toI16(s.target_altitude_m);
    }
    r.driver_temperature = toI16(s.driver_temperature_c * 10);
    r.attitude_yaw = toI16(s.attitude_yaw_deg * 100);
    r.attitude_pitch = toI16(s.attitude_pitch_deg * 100);
    r.attitude_roll = toI16(s.attitude_roll_deg * 100);
    r.display_mode = static_cast<std::uint8_t>(s.display_mode);
    r.command_feedback = s.command_feedback;
    r.attitude_guidance_feedback = toU8(s.attitude_guidance_feedback);
    r.track_x = toI16(s.track_x_px);
    r.track_y = toI16(s.track_y_px);
    r.target_width = toU16(s.target_width_px);
    r.target_height = toU16(s.target_height_px);
    r.target_type = toU8(s.target_type);
    r.track_state = static_cast<std::uint8_t>(s.track_state);
    r.max_temperature = toI16(s.max_temperature_c * 10);
    return r;
}

wire::Bytes answerTo(const wire::Bytes& asked, const Snapshot& snapshot) {
    constexpr std::uint8_t kOfDisplay = 1, kChannels = 2, kItems = 3;
    wire::Bytes payload;
    if (!asked.empty() && asked[0] == kItems) {
        payload = {kOfDisplay, kItems};
        for (int bits = 0; bits < 32; bits += 8) {
            payload.push_back(static_cast<std::uint8_t>(snapshot.osd_word >> bits));
        }
    } else if (!asked.empty() && asked[0] == kChannels) {
        payload = {kChannels};
        payload.insert(payload.end(), snapshot.sbus.begin(), snapshot.sbus.end());
    } else {
        return {};
    }
    return wire::buildVariableFrame(wire::kAnswerCode, payload.data(), payload.size());
}

SeiFields seiFieldsOf(const Snapshot& s) {
    SeiFields f;
    const CalendarTime t = toCalendar(s.utc_ms);
    f.aircraft_number = s.aircraft_number;
    f.battery_percent = static_cast<int>(std::lround(s.battery_percent));
    f.endurance_min = static_cast<int>(std::lround(s.endurance_min));
    f.flown_min = static_cast<int>(std::lround(s.flown_min));
    f.aircraft_heading_deg = s.heading_deg;
    f.aircraft_pitch_deg = s.pitch_deg;
    f.aircraft_roll_deg = s.roll_deg;
    f.year = t.year;
    f.month = t.month;
    f.day = t.day;
    f.second_of_day = t.hour * 3600 + t.minute * 60 + t.second + t.millisecond * 0.001;
    f.aircraft_longitude_deg = s.longitude_deg;
    f.aircraft_latitude_deg = s.latitude_deg;
    f.aircraft_altitude_m = s.altitude_m;
    f.aircraft_height_m = s.height_m;
    f.horizontal_speed_mps = s.ground_speed_mps;
    f.vertical_speed_mps = s.vertical_speed_mps;
    f.pod_azimuth_deg = s.frame_yaw_deg;
    f.pod_pitch_deg = s.frame_pitch_deg;
    f.pod_roll_deg = s.frame_roll_deg;
    f.centre_longitude_deg = s.centre_longitude_deg;
    f.centre_latitude_deg = s.centre_latitude_deg;
    f.centre_altitude_m = s.centre_altitude_m;
    f.target_distance_m = s.laser_range_m > 0 ? s.laser_range_m : s.slant_m;
    f.visible_fov_deg = s.vl_fov_deg;
    f.infrared_fov_deg = s.ir_fov_deg;
    if (s.track_state != TrackState::kIdle) {
        const BoxCentre centre = boxCentreOf(s);
        f.tracking_source = s.track_source_visible ? 1 : 2;
        f.box_left_px = centre.x - s.target_width_px / 2;
        f.box_top_px = centre.y - s.target_height_px / 2;
        f.box_width_px = s.target_width_px;
        f.box_height_px = s.target_height_px;
    }
    f.alarm_threshold_c = s.temperature_alarm_c;
    f.centre_temperature_c = s.centre_temperature_c;
    f.over_temperature = s.over_temperature;
    return f;
}

wire::InsState insStateOf(const Snapshot& s, std::int64_t utc_us) {
    wire::InsState i;
    i.utc_us = utc_us;
    i.heading_deg = s.heading_deg;
    i.pitch_deg = s.pitch_deg;
    i.roll_deg = s.roll_deg;
    i.latitude_deg = s.latitude_deg;
    i.longitude_deg = s.longitude_deg;
    i.altitude_m = s.altitude_m;
    i.north_mps = northSpeed(s);
    i.east_mps = eastSpeed(s);
    i.ground_mps = s.ground_speed_mps;
    i.satellites_first = s.satellites / 2;
    i.satellites_second = s.satellites - s.satellites / 2;
    return i;
}

wire::NavBlock navBlockOf(const Snapshot& s) {
    wire::NavBlock n;
    const CalendarTime t = toCalendar(s.utc_ms);
    n.pitch_deg = s.pitch_deg;
    n.roll_deg = s.roll_deg;
    n.heading_deg = s.heading_deg;
    n.year = t.year % 100;
    n.month = t.month;
    n.day = t.day;
    n.hour = t.hour;
    n.minute = t.minute;
    n.second = t.second;
    n.hundredths = t.millisecond / 10;
    n.longitude_deg = s.longitude_deg;
    n.latitude_deg = s.latitude_deg;
    n.satellites = s.satellites;
    n.altitude_m = s.altitude_m;
    n.north_speed_mps = northSpeed(s);
    n.east_speed_mps = eastSpeed(s);
    n.ground_speed_mps = s.ground_speed_mps;
    return n;
}

NavInput navInputOf(const wire::NavBlock& b) {
    NavInput n;
    n.pitch_deg = b.pitch_deg;
    n.roll_deg = b.roll_deg;
    n.heading_deg = b.heading_deg;
    n.latitude_deg = b.latitude_deg;
    n.longitude_deg = b.longitude_deg;
    n.altitude_m = b.altitude_m;
    n.north_speed_mps = b.north_speed_mps;
    n.east_speed_mps = b.east_speed_mps;
    n.ground_speed_mps = b.ground_speed_mps;
    n.satellites = b.satellites;
    n.year = 2000 + b.year;
    n.month = b.month;
    n.day = b.day;
    n.hour = b.hour;
    n.minute = b.minute;
    n.second = b.second;
    n.hundredths = b.hundredths;
    return n;
}

}  // namespace podsim
