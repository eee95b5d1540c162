// The pod's state report, its bit fields and the texts of its enumerations.
#pragma once

#include <cstddef>
#include <cstdint>

namespace sorvane {

// 60 bytes, little-endian, no padding, multi-byte fields at odd offsets. The structure has alignment 1, so
// reading a field by name is safe anywhere; never take a pointer or reference to a multi-byte field. All zero
// until the first report; always replaced whole.
#pragma pack(push, 1)
struct TelemetryRecord {
    std::uint8_t load_type = 0;           // payload type 1..5; never 0x55, which is another frame's mark
    std::uint8_t module_status = 0;       // health bits 0..6, bit 7 pod ready
    std::uint16_t status_word_a = 0;      // camera, storage and flag bits
    std::uint16_t status_word_b = 0;      // tracker source, zooms, pseudo colour
    std::uint8_t servo_state = 0;         // servo mode 0..15
    std::int16_t frame_yaw = 0;           // pod frame azimuth, 0.01 degree
    std::int16_t frame_pitch = 0;         // 0.01 degree
    std::int16_t frame_roll = 0;          // 0.01 degree
    std::uint8_t load_version = 0;        // high nibble major, low nibble minor
    std::uint16_t ir_fov = 0;             // infrared field of view, 0.1 degree
    std::uint8_t tf_free_percent = 0;     // storage card space left, percent
    std::uint16_t vl_fov = 0;             // visible-light field of view, 0.1 degree
    std::uint16_t tf_capacity = 0;        // storage card capacity, 0.1 of an unstated unit
    std::uint16_t ir_focal_length = 0;    // 0.1 of an unstated unit
    std::uint16_t vl_focal_length = 0;    // 0.1 of an unstated unit
    std::uint16_t laser_distance = 0;     // 0.1 metre
    std::int32_t target_longitude = 0;    // 1e-7 degree
    std::int32_t target_latitude = 0;     // 1e-7 degree
    std::int16_t target_altitude = 0;     // metres above sea level
    std::int16_t driver_temperature = 0;  // 0.1 degree Celsius
    std::int16_t attitude_yaw = 0;        // 0.01 degree
    std::int16_t attitude_pitch = 0;      // 0.01 degree
    std::int16_t attitude_roll = 0;       // 0.01 degree
    std::uint8_t display_mode = 0;        // current picture 0..6
    std::uint8_t command_feedback = 0;    // last command code, raw
    std::uint8_t attitude_guidance_feedback = 0;  // 18 in progress, 19 complete
    std::int16_t track_x = 0;                     // tracker centre, pixels of deviation
    std::int16_t track_y = 0;                     // pixels
    std::uint16_t target_width = 0;               // raw
    std::uint16_t target_height = 0;              // raw
    std::uint8_t target_type = 0;                 // raw
    std::uint8_t track_state = 0;                 // tracker state 0..5
    std::int16_t max_temperature = 0;             // highest measured temperature, 0.1 degree Celsius
};
#pragma pack(pop)

constexpr std::size_t kTelemetryRecordSize = 60;
static_assert(sizeof(TelemetryRecord) == kTelemetryRecordSize && alignof(TelemetryRecord) == 1);
static_assert(offsetof(TelemetryRecord, frame_yaw) == 7 && offsetof(TelemetryRecord, load_version) == 13);
static_assert(offsetof(TelemetryRecord, target_longitude) == 27 &&
              offsetof(TelemetryRecord, target_latitude) == 31);
static_assert(offsetof(TelemetryRecord, display_mode) == 45 && offsetof(TelemetryRecord, track_x) == 48);
static_assert(offsetof(TelemetryRecord, track_state) == 57 &&
              offsetof(TelemetryRecord, max_temperature) == 58);

// servo_state while the pod follows a target.
constexpr std::uint8_t kServoTracking = 7;

// Bits of status_word_a.
enum StatusWordABit : int {
    kPhotographingBit = 0,
    kSnapshotBit = 1,
    kBurstBit = 2,
    kContinuousSnapshotBit = 3,
    kRecordingBit = 4,
    kFileNamingBit = 5,
    kCardInsertedBit = 6,
    kOverTemperatureBit = 7,
    kRedDotBit = 8,
    kDefogBit = 9,
};

// Bits low..high of a value, both inclusive, shifted down to bit 0. An inverted range returns the value
// unchanged. Bits are numbered 0..31.
constexpr std::uint32_t bitRange(std::uint32_t value, int low, int high) {
    if (low > high) {
        return value;
    }
    const std::uint32_t mask = high - low >= 31 ? ~0U : (1U << (high - low + 1)) - 1U;
    return (value >> low) & mask;
}

constexpr bool bitSet(std::uint32_t value, int bit) { return bitRange(value, bit, bit) != 0; }

// Texts of the enumerations, UTF-8, to be translated in context "Korvath". Null where the value has no text:
// the label then keeps what it shows.
const char* loadTypeText(int load_type);
const char* servoStateText(int servo_state);
const char* displayModeText(int display_mode);
const char* trackStateText(int track_state);
const char* visibleZoomText(int zoom_bits);
const char* guidanceText(int attitude_guidance_feedback);

}  // namespace sorvane
