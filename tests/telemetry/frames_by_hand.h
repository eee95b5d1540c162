// Frames as they stand on the wire, written out byte by byte, and the collectors of what comes out.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

inline Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

inline Bytes slice(const Bytes& bytes, std::size_t from, std::size_t count) {
    return Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(from),
                 bytes.begin() + static_cast<std::ptrdiff_t>(from + count));
}

// What a reassembler gave: one entry a frame, in order. `kind` is the event number.
struct Given {
    int kind;
    Bytes bytes;
    bool operator==(const Given& other) const { return kind == other.kind && bytes == other.bytes; }
};
inline void PrintTo(const Given& given, std::ostream* os) {
    *os << given.kind << "[" << given.bytes.size() << " bytes]";
}
using GivenList = std::vector<Given>;

struct LinkSink {
    GivenList& list;
    void telemetry(const std::uint8_t* record) { list.push_back({1004, Bytes(record, record + 60)}); }
    void linkFrame(const std::uint8_t* payload, std::int32_t size) {
        list.push_back({1007, Bytes(payload, payload + size)});
    }
};

// A record as the pod sends it in a fixed frame: longitude 114.5 and latitude 30.25 degrees as floats at 27
// and 31. Every field differs from its neighbours, so that a shifted read shows.
inline Bytes recordWithFloats() {
    return {
        0x02,                    //  0 load_type 2
        0xC5,                    //  1 module_status
        0x52, 0x19,              //  2 status_word_a 0x1952
        0x06, 0xA6,              //  4 status_word_b 0xA606
        0x07,                    //  6 servo_state 7
        0x39, 0x30,              //  7 frame_yaw 12345
        0x2E, 0xFB,              //  9 frame_pitch -1234
        0xF6, 0xFF,              // 11 frame_roll -10
        0x23,                    // 13 load_version 2.3
        0xFA, 0x00,              // 14 ir_fov 250
        0x4B,                    // 16 tf_free_percent 75
        0x5E, 0x01,              // 17 vl_fov 350
        0x80, 0x02,              // 19 tf_capacity 640
        0xEE, 0x02,              // 21 ir_focal_length 750
        0x2C, 0x01,              // 23 vl_focal_length 300
        0x39, 0x30,              // 25 laser_distance 12345
        0x00, 0x00, 0xE5, 0x42,  // 27 target_longitude 114.5F
        0x00, 0x00, 0xF2, 0x41,  // 31 target_latitude 30.25F
        0xFB, 0xFF,              // 35 target_altitude -5
        0x63, 0x01,              // 37 driver_temperature 355
        0x10, 0x27,              // 39 attitude_yaw 10000
        0xFF, 0xFF,              // 41 attitude_pitch -1
        0x05, 0x00,              // 43 attitude_roll 5
        0x03,                    // 45 display_mode 3
        0x45,                    // 46 command_feedback 69
        0x12,                    // 47 attitude_guidance_feedback 18
        0x80, 0xFF,              // 48 track_x -128
        0x40, 0x00,              // 50 track_y 64
        0x20, 0x00,              // 52 target_width 32
        0x21, 0x00,              // 54 target_height 33
        0x0B,                    // 56 target_type 11
        0x01,                    // 57 track_state 1
        0xF1, 0xFF,              // 58 max_temperature -15
    };
}

// The same record as it is handed on: 1145000000 and 302500000 in place of the floats.
inline Bytes recordWithIntegers() {
    Bytes record = recordWithFloats();
    const Bytes positions = {0x40, 0x50, 0x3F, 0x44, 0xA0, 0xC8, 0x07, 0x12};
    for (std::size_t i = 0; i < positions.size(); ++i) {
        record[27 + i] = positions[i];
    }
    return record;
}

// XOR of the record above, worked out apart from the code under test.
constexpr std::uint8_t kRecordXor = 0x57;

inline Bytes fixedFrame() { return Bytes{0xFC, 0x2C} + recordWithFloats() + Bytes{kRecordXor, 0xF0}; }

// Code 0x0102, data AA BB CC: XOR of 05 02 01 AA BB CC is DB.
inline Bytes variableFrame() { return {0xFC, 0x2C, 0x55, 0x05, 0x02, 0x01, 0xAA, 0xBB, 0xCC, 0xDB}; }
inline Bytes variablePayload() { return {0x02, 0x01, 0xAA, 0xBB, 0xCC}; }

// Week 2393 from 2025-11-16, 388,805,670,123 us into it: 2025-11-20 12:00:05.670. The sum of the first 57
// bytes is not zero; the checksum byte is wrong on purpose, since it takes no part.
inline Bytes insPayload() {
    return {
        0x59, 0x09,                                      //  0 week 2393
        0xEB, 0xB4, 0x9F, 0x86, 0x5A, 0x00, 0x00, 0x00,  //  2 time of week, us
        0x00, 0x40, 0xB3, 0x43,                          // 10 heading 358.5
        0x00, 0x00, 0x28, 0xC1,                          // 14 pitch -10.5
        0x00, 0x00, 0x10, 0x40,                          // 18 roll 2.25
        0xA0, 0xC8, 0x07, 0x12,                          // 22 latitude 302500000
        0x40, 0x50, 0x3F, 0x44,                          // 26 longitude 1145000000
        0x40, 0xE2, 0x01, 0x00,                          // 30 altitude 123456 mm
        0x00, 0x00, 0xC0, 0x3F,                          // 34 east 1.5 m/s
        0x00, 0x00, 0x20, 0xC0,                          // 38 north -2.5 m/s
        0x00, 0x00, 0x40, 0x40,                          // 42 ground 3 m/s
        0x11, 0x22, 0x33, 0x44,                          // 46 not read
        0x07, 0x05,                                      // 50 satellites 7 and 5
        0x66,                                            // 52 not read
    };
}
inline Bytes insFrame() { return Bytes{0xAA, 0x55, 0x01, 58} + insPayload() + Bytes{0x00}; }

inline Bytes navBytes() {
    Bytes block;
    for (int i = 0; i < 30; ++i) {
        block.push_back(static_cast<std::uint8_t>(0x40 + i));
    }
    return block;
}
inline Bytes interfaceFrame() {
    return Bytes{0xFB, 0x2C, 1, 2, 3, 4, 5} + navBytes() + Bytes{6, 7, 8, 9, 10, 11, 0xF0};
}
