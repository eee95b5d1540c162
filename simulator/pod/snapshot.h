// The state of the simulated pod at one instant, as plain values.
//
// Units throughout: degrees, metres, metres per second, seconds, degrees Celsius, unless a field says
// otherwise. Angles: azimuth positive to the right, elevation positive upward, roll positive right side down;
// headings and earth azimuths clockwise from north. Pixels are those of the encoded main picture.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <utility>

namespace podsim {

enum class ServoState : std::uint8_t {
    kStandby = 0,
    kOff = 1,
    kManual = 2,
    kStowed = 3,
    kDigitalGuide = 4,
    kHeadingLock = 5,
    kScan = 6,
    kTracking = 7,
    kLookDown = 8,
    kGyroAutoDrift = 9,
    kGyroTemperatureDrift = 10,
    kHeadingFollow = 11,
    kCentring = 12,
    kGyroManualDrift = 13,
    kAttitudeGuide = 14,
};

enum class TrackState : std::uint8_t { kIdle = 0, kStable = 1, kCoasting = 2, kLost = 3, kCapturing = 4 };

// The video output; the values are those of the report's display_mode.
enum class DisplayMode : std::uint8_t {
    kInfrared = 0,
    kVisibleWide = 1,
    kTopBottom = 2,
    kPipInfrared = 3,  // infrared picture, visible inset
    kPipVisible = 4,   // visible picture, infrared inset
    kLeftRight = 5,
    kVisibleTele = 6,
};

constexpr std::array<std::uint8_t, 10> kFactorySbus = {0, 2, 1, 3, 5, 4, 6, 9, 7, 8};

struct Snapshot {
    // Time.
    double time_s = 0;        // since the pod was switched on
    std::int64_t utc_ms = 0;  // the pod's clock

    // Aircraft.
    int aircraft_number = 0;
    double battery_percent = 0, endurance_min = 0, flown_min = 0;
    double latitude_deg = 0, longitude_deg = 0, altitude_m = 0;  // above sea level
    double height_m = 0;                                         // above ground
    double heading_deg = 0, pitch_deg = 0, roll_deg = 0;
    double ground_speed_mps = 0, vertical_speed_mps = 0;  // vertical positive upward
    int satellites = 0;
    bool nav_external = false;  // position and attitude come from the station

    // Position in the simulated landscape, metres from its origin.
    double east_m = 0, north_m = 0;

    // Pod: frame angles relative to the aircraft, attitude angles relative to the earth.
    ServoState servo_state = ServoState::kStandby;
    double frame_yaw_deg = 0, frame_pitch_deg = 0, frame_roll_deg = 0;           // yaw -180..180
    double attitude_yaw_deg = 0, attitude_pitch_deg = 0, attitude_roll_deg = 0;  // yaw -180..180
    double rate_az_dps = 0, rate_el_dps = 0;  // present speed of the axes, degrees per second
    int attitude_guidance_feedback = 0;       // 18 under way, 19 complete, else 0

    // Movements by hand, of rate, gyro rate and lens commands. The speeds are those of the axes while they
    // move, else what is still commanded; what tracking, a guide or a scan moves is not told here.
    double hand_az_dps = 0, hand_el_dps = 0;
    int vl_zoom_direction = 0, ir_zoom_direction = 0;    // +1 longer, -1 wider, 0 none
    int vl_focus_direction = 0, ir_focus_direction = 0;  // +1 away from sharp, -1 back, 0 none
    // Since the start, aircraft's blocks sent alone aside: all frames taken, those that were not idle, and
    // those that asked for such a movement.
    std::uint64_t frames = 0, commands = 0, movements = 0;
    // Of the latest periodic frame: its code, else its rate code if the rate is not zero; 0 idle.
    int standing_code = 0;

    // Cameras. Fields of view are horizontal and include the electronic zoom.
    double vl_fov_deg = 0, ir_fov_deg = 0, tele_fov_deg = 0;
    double vl_focal_mm = 0, ir_focal_mm = 0;
    double vl_zoom = 1, ir_zoom = 1;    // optical, 1 = widest
    double ir_ezoom = 1;                // 1, 2, 4
    int vl_ezoom_index = 0;             // 0 = 1x, 1 = 2x, 2 = 4x
    double vl_focus = 1, ir_focus = 1;  // sharpness 0..1
    DisplayMode display_mode = DisplayMode::kVisibleWide;

    // Tracker. The box centre's deviation is in pixels of the encoded main picture: origin at the picture's
    // centre, x to the right, y upward.
    TrackState track_state = TrackState::kIdle;
    bool track_source_visible = true;
    double track_x_px = 0, track_y_px = 0;
    double target_width_px = 0, target_height_px = 0;
    int target_type = 0;       // 0 none or ground point, 1 car, 2 truck, 3 bus, 4 boat
    int locked_object_id = 0;  // 0: none, or a point of the ground
    int template_width_px = 64, template_height_px = 64;
    int template_step = 0;  // steps to the right by the operator
    bool auto_track = false;

    // Detection.
    bool ai_box = true;
    int ai_source = 0;  // 0 infrared, 1 visible
    int ai_method = 0;  // 0 whole picture, 1 region of interest, 2 tiles
    int ai_roi_x_px = 0, ai_roi_y_px = 0;

    // Laser and target.
    double laser_range_m = 0;  // 0: no valid range
    bool laser_continuous = false;
    int laser_period_s = 1;
    bool laser_firing = false;
    bool illuminator = false;
    double illuminator_hz = 0;
    bool target_valid = false;
    double target_latitude_deg = 0, target_longitude_deg = 0, target_altitude_m = 0;
    // Where the line of sight meets the ground, whether ranged or not; slant 0 above the horizon.
    double centre_latitude_deg = 0, centre_longitude_deg = 0, centre_altitude_m = 0, slant_m = 0;
    int locate_mode = 0;  // 0 guide, 1 track

    // Picture settings. Levels are steps around 0 unless told.
    int ir_palette = 0;      // 0..11
    int ir_enhancement = 0;  // 0..7
    int ir_brightness = 0, ir_contrast = 0;
    int vl_brightness = 0, vl_contrast = 0, vl_gain = 0;
    bool vl_auto_gain = true;
    bool stabilisation = true;
    bool night_mode = false;
    int fog_level = 0;  // 0..3
    bool window_defog = false;
    double nuc_s = 0;          // seconds left of a shutter or background compensation, 0: none
    bool nuc_shutter = false;  // which of the two
    bool same_fov = false;     // both cameras were set to one field of view

    // On-screen display.
    int osd_level = 2;            // 0 hidden, 1 part, 2 all
    std::uint32_t osd_word = 0;   // item switches as commanded, raw
    std::uint32_t osd_style = 1;  // bits 0..2 colour (0 white, 1 green, 2 yellow), bit 3 English
    bool custom_text_on = false;
    int custom_text_x = 0, custom_text_y = 0;
    std::string custom_text;  // UTF-8
    std::string notice;       // the latest change of state, shown for a few seconds; empty otherwise

    // Storage.
    bool photographing = false, snapshotting = false, burst = false, continuous_snapshot = false;
    bool recording = false;
    double record_s = 0;
    int snapshot_count = 0;
    bool file_naming_ok = true, tf_inserted = true, config_saved = false;
    int tf_free_percent = 0;
    double tf_capacity_gb = 0;

    // Health.
    int load_type = 4;  // 4: three sensors
    int load_version_major = 1, load_version_minor = 2;
    std::uint8_t module_bits = 0xFF;                            // bit set = good; the order of the report
    bool laser_on = true, tracker_on = true, cooler_on = true;  // power of the loads without a module bit
    bool over_temperature = false, red_dot = false;
    double driver_temperature_c = 0, centre_temperature_c = 0, max_temperature_c = 0;
    bool temperature_alarm_on = false;
    double temperature_alarm_c = 0;

    // What each lever of the remote control is assigned to: channel in bits 0 to 3, bit 4 reversed.
    std::array<std::uint8_t, 10> sbus = kFactorySbus;

    std::uint8_t command_feedback = 0;  // low byte of the latest command code
    std::array<std::uint8_t, 4> ip = {192, 168, 1, 160};
    int encoder_codec = -1;        // as commanded: 0 H.264, 1 H.265, -1 not commanded
    int encoder_bitrate_kbps = 0;  // as commanded, 0 not commanded
    int reboot_count = 0;
    // Firmware that runs, major and minor: of the main control, of the servo.
    std::array<std::pair<int, int>, 2> firmware_version = {{{1, 2}, {1, 0}}};

    // Size of the encoded main picture, in pixels.
    int frame_width = 1280, frame_height = 720;
};

}  // namespace podsim
