// The pod's side of the wire: what the station sends is parsed here, what the pod sends is built here.
//
// All multi-byte fields are little-endian. Nothing in this file blocks, allocates beyond the frames it
// hands out, or keeps state outside its objects.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace podsim::wire {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kFixedCommandSize = 44;
constexpr std::size_t kFixedReportSize = 64;
constexpr std::size_t kReportPayloadSize = 60;
constexpr std::size_t kNavBlockSize = 30;
constexpr std::size_t kInsFrameSize = 58;
constexpr std::size_t kInterfaceFrameSize = 44;
constexpr std::size_t kVariableMaxPayload = 253;  // the length byte also counts the two bytes of the code
constexpr std::uint8_t kRateCode = 0x70;
constexpr std::uint16_t kReportCode = 20;
constexpr std::uint16_t kNavBlockCode = 1026;
constexpr std::uint16_t kRelayCode = 19;
constexpr std::uint16_t kAskCode = 56;
constexpr std::uint16_t kAnswerCode = 18;

// XOR of n bytes.
std::uint8_t xorOf(const std::uint8_t* data, std::size_t n);

// The aircraft's block as the station sends it, in physical units.
struct NavBlock {
    double pitch_deg = 0;
    double roll_deg = 0;
    double heading_deg = 0;  // 0 to 655.35, normally 0 to 360
    int year = 0;            // two digits
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int hundredths = 0;
    double longitude_deg = 0;
    double latitude_deg = 0;
    int satellites = 0;
    double altitude_m = 0;
    double north_speed_mps = 0;
    double east_speed_mps = 0;
    double ground_speed_mps = 0;
};

// How longitude and latitude stand in a block: as 32-bit floats in degrees inside fixed command frames,
// as 32-bit integers of 1e-7 degree everywhere else.
enum class PositionForm { kFloatDegrees, kInteger };

// `block` holds 30 bytes.
NavBlock decodeNavBlock(const std::uint8_t* block, PositionForm form);
void encodeNavBlock(const NavBlock& nav, PositionForm form, std::uint8_t* block);

// One command frame that passed its checksum.
struct Command {
    enum class Frame { kFixed, kVariable };
    Frame frame = Frame::kFixed;
    std::uint16_t code = 0;
    // Fixed frame: the four parameters, or 9 or 12 bytes for the three codes with a longer payload.
    Bytes payload;
    std::uint8_t rate_code = 0;  // fixed frame only: kRateCode when the rates are valid
    std::int16_t rate_azimuth = 0;
    std::int16_t rate_pitch = 0;
    bool has_nav = false;  // nav holds the aircraft's block of this frame
    NavBlock nav;
    Bytes raw;  // the whole frame
};

// Finds command frames in a byte stream that may be cut anywhere and may hold rubbish. After a frame that
// fails its test the search goes on one byte further, so that a good frame hidden by a bad one is found.
class CommandParser {
public:
    using Sink = std::function<void(const Command&)>;

    struct Counters {
        std::uint64_t frames = 0;         // good ones
        std::uint64_t bad_frames = 0;     // right start, wrong checksum, length or trailer
        std::uint64_t skipped_bytes = 0;  // bytes that belonged to no good frame
    };

    void feed(const std::uint8_t* data, std::size_t n, const Sink& sink);
    // Nothing more came for a while: what is held is no beginning of a frame, look for frames inside it.
    // Without this a damaged length byte would hold back the good frames behind it.
    void giveUpPartial(const Sink& sink);
    void reset();
    std::size_t held() const { return m_buffer.size(); }
    const Counters& counters() const { return m_counters; }

private:
    void scan(const Sink& sink, bool final);

    Bytes m_buffer;
    Counters m_counters;
};

// The 60-byte report, in the raw units of the wire save for the target's position.
struct Report {
    std::uint8_t load_type = 4;
    std::uint8_t module_status = 0;
    std::uint16_t status_word_a = 0;
    std::uint16_t status_word_b = 0;
    std::uint8_t servo_state = 0;
    std::int16_t frame_yaw = 0;  // 0.01 degree, as all angles here
    std::int16_t frame_pitch = 0;
    std::int16_t frame_roll = 0;
    std::uint8_t load_version = 0;  // high nibble major, low nibble minor
    std::uint16_t ir_fov = 0;       // 0.1 degree
    std::uint8_t tf_free_percent = 0;
    std::uint16_t vl_fov = 0;  // 0.1 degree
    std::uint16_t tf_capacity = 0;
    std::uint16_t ir_focal_length = 0;
    std::uint16_t vl_focal_length = 0;
    std::uint16_t laser_distance = 0;  // 0.1 metre
    double target_longitude_deg = 0;
    double target_latitude_deg = 0;
    std::int16_t target_altitude = 0;     // metre
    std::int16_t driver_temperature = 0;  // 0.1 degree Celsius
    std::int16_t attitude_yaw = 0;
    std::int16_t attitude_pitch = 0;
    std::int16_t attitude_roll = 0;
    std::uint8_t display_mode = 0;
    std::uint8_t command_feedback = 0;
    std::uint8_t attitude_guidance_feedback = 0;
    std::int16_t track_x = 0;
    std::int16_t track_y = 0;
    std::uint16_t target_width = 0;
    std::uint16_t target_height = 0;
    std::uint8_t target_type = 0;
    std::uint8_t track_state = 0;
    std::int16_t max_temperature = 0;  // 0.1 degree Celsius
};

// The 64-byte frame; the target's position travels in it as 32-bit floats in degrees. A load type of 0x55
// would be read as another kind of frame and is sent as 0.
Bytes buildFixedReport(const Report& report);
// The same report as a variable frame of code 20; there the position is in integers of 1e-7 degree.
Bytes buildVariableReport(const Report& report);
// A variable frame of any code. Empty when the payload is longer than kVariableMaxPayload.
Bytes buildVariableFrame(std::uint16_t code, const std::uint8_t* payload, std::size_t n);

// What the external inertial unit measures. Time is UTC in microseconds since 1970.
struct InsState {
    std::int64_t utc_us = 0;
    double heading_deg = 0;
    double pitch_deg = 0;
    double roll_deg = 0;
    double latitude_deg = 0;
    double longitude_deg = 0;
    double altitude_m = 0;
    double east_mps = 0;
    double north_mps = 0;
    double ground_mps = 0;
    int satellites_first = 0;
    int satellites_second = 0;
};

// 58 bytes. Receivers drop a frame whose first 57 bytes add up to 0 modulo 256, so that sum never occurs.
Bytes buildInsFrame(const InsState& state);
// 44 bytes: the block of an external flight system, positions in integers.
Bytes buildInterfaceFrame(const NavBlock& nav);

// Rounds to the nearest and holds at the ends of the target type; NaN gives 0.
std::int16_t toI16(double value);
std::uint16_t toU16(double value);
std::uint8_t toU8(double value);
std::int32_t toI32(double value);

}  // namespace podsim::wire
