// The block that travels in the video as it stands on the wire, byte by byte, and what the dialog shall show
// of it.
#pragma once

#include "tests/telemetry/frames_by_hand.h"

// The bytes up to the checksum, clean. The identifier and the last fields hold what needs emulation
// prevention: 00 00 02, 00 00 03, 00 00 00 and 00 00 00 01.
inline Bytes seiPayload() {
    return {
        0x10, 0x11, 0x00, 0x00, 0x02, 0x15, 0x16, 0x17,  //  0 identifier
        0x18, 0x19, 0x1A, 0x1B, 0x1C, 0x1D, 0x1E, 0x1F,  //  8
        0xB1, 0xA0,                                      // 16 number 41137
        0x64,                                            // 18 battery 100
        0x2C, 0x01,                                      // 19 endurance 300
        0x41, 0x9C,                                      // 21 flown 40001
        0xC7, 0xCF,                                      // 23 heading -12345
        0xFB, 0xFF,                                      // 25 pitch -5
        0x50, 0x46,                                      // 27 roll 18000
        0x1A, 0x7B,                                      // 29 date 0x7B1A
        0xE3, 0x96, 0x98,                                // 31 time 10000099
        0x0B, 0x97, 0x33, 0x44,                          // 34 longitude 1144231691
        0x42, 0x1E, 0xD9, 0xED,                          // 38 latitude -304538046
        0x00, 0x01, 0x00, 0x00,                          // 42 altitude 256
        0x03, 0x00,                                      // 46 height 3
        0x00, 0x00,                                      // 48 horizontal speed 0
        0x40, 0x9C,                                      // 50 vertical speed 40000
        0xB0, 0xB9,                                      // 52 pod azimuth -18000
        0xD8, 0xDC,                                      // 54 pod pitch -9000
        0x07, 0x00,                                      // 56 pod roll 7
        0x00, 0xD2, 0x49, 0x6B,                          // 58 centre longitude 1800000000
        0xFF, 0xFF, 0xFF, 0xFF,                          // 62 centre latitude -1
        0x24, 0xFA, 0xFF, 0xFF,                          // 66 centre altitude -1500
        0x50, 0xC3,                                      // 70 distance 50000
        0x38, 0x18,                                      // 72 visible field 6200
        0xA0, 0x8C,                                      // 74 infrared field 36000
        0x02,                                            // 76 tracking mode 2
        0xEC, 0xFF,                                      // 77 box left -20
        0x2C, 0x01,                                      // 79 box top 300
        0x40, 0x9C,                                      // 81 box width 40000
        0x30, 0x00,                                      // 83 box height 48
        0x8F, 0x02,                                      // 85 threshold 655
        0x85, 0xFF,                                      // 87 centre temperature -123
        0x01,                                            // 89 over temperature
        0x00, 0x00, 0x00, 0x01, 0x00, 0x00,              // 90 not read
    };
}

// The same in a NAL unit of each codec, escaped and summed by hand; the last byte is what the stream library
// puts behind a run.
inline Bytes seiRunH264() {
    return {0x00, 0x00, 0x00, 0x01, 0x06, 0x05, 0x61, 0x10, 0x11, 0x00, 0x00, 0x03, 0x02, 0x15, 0x16, 0x17,
            0x18, 0x19, 0x1A, 0x1B, 0x1C, 0x1D, 0x1E, 0x1F, 0xB1, 0xA0, 0x64, 0x2C, 0x01, 0x41, 0x9C, 0xC7,
            0xCF, 0xFB, 0xFF, 0x50, 0x46, 0x1A, 0x7B, 0xE3, 0x96, 0x98, 0x0B, 0x97, 0x33, 0x44, 0x42, 0x1E,
            0xD9, 0xED, 0x00, 0x01, 0x00, 0x00, 0x03, 0x03, 0x00, 0x00, 0x03, 0x00, 0x40, 0x9C, 0xB0, 0xB9,
            0xD8, 0xDC, 0x07, 0x00, 0x00, 0xD2, 0x49, 0x6B, 0xFF, 0xFF, 0xFF, 0xFF, 0x24, 0xFA, 0xFF, 0xFF,
            0x50, 0xC3, 0x38, 0x18, 0xA0, 0x8C, 0x02, 0xEC, 0xFF, 0x2C, 0x01, 0x40, 0x9C, 0x30, 0x00, 0x8F,
            0x02, 0x85, 0xFF, 0x01, 0x00, 0x00, 0x03, 0x00, 0x01, 0x00, 0x00, 0xE6, 0x00, 0x80, 0x00};
}
inline Bytes seiRunH265() {
    return {0x00, 0x00, 0x00, 0x01, 0x4E, 0x01, 0x05, 0x61, 0x10, 0x11, 0x00, 0x00, 0x03, 0x02, 0x15, 0x16,
            0x17, 0x18, 0x19, 0x1A, 0x1B, 0x1C, 0x1D, 0x1E, 0x1F, 0xB1, 0xA0, 0x64, 0x2C, 0x01, 0x41, 0x9C,
            0xC7, 0xCF, 0xFB, 0xFF, 0x50, 0x46, 0x1A, 0x7B, 0xE3, 0x96, 0x98, 0x0B, 0x97, 0x33, 0x44, 0x42,
            0x1E, 0xD9, 0xED, 0x00, 0x01, 0x00, 0x00, 0x03, 0x03, 0x00, 0x00, 0x03, 0x00, 0x40, 0x9C, 0xB0,
            0xB9, 0xD8, 0xDC, 0x07, 0x00, 0x00, 0xD2, 0x49, 0x6B, 0xFF, 0xFF, 0xFF, 0xFF, 0x24, 0xFA, 0xFF,
            0xFF, 0x50, 0xC3, 0x38, 0x18, 0xA0, 0x8C, 0x02, 0xEC, 0xFF, 0x2C, 0x01, 0x40, 0x9C, 0x30, 0x00,
            0x8F, 0x02, 0x85, 0xFF, 0x01, 0x00, 0x00, 0x03, 0x00, 0x01, 0x00, 0x00, 0x2F, 0x00, 0x80, 0x00};
}

// A run with a message around any payload: escaped, with its sum (changed by `wrong`) and the trailer.
inline Bytes seiRun(int kind, const Bytes& payload, int wrong = 0) {
    Bytes head = kind == 0 ? Bytes{0, 0, 0, 1, 0x06} : Bytes{0, 0, 0, 1, 0x4E, 0x01};
    const Bytes plain = Bytes{5, static_cast<std::uint8_t>(payload.size() + 1)} + payload;
    int sum = wrong;
    for (const std::uint8_t byte : head + plain) {
        sum += byte;
    }
    int zeros = 0;
    for (const std::uint8_t byte : plain + Bytes{static_cast<std::uint8_t>(sum), 0x00, 0x80}) {
        if (zeros == 2 && byte <= 3) {
            head.push_back(3);
            zeros = 0;
        }
        head.push_back(byte);
        zeros = byte == 0 ? zeros + 1 : 0;
    }
    head.push_back(0);
    return head;
}

struct ExpectedSei {
    const char* object_name;
    const char* caption;
    const char* text;  // of the block by hand
};

const ExpectedSei kSeiLeft[] = {
    {"val_uav_number", "无人机编号：", "41137"},
    {"val_battery", "飞机剩余电量（%）：", "100"},
    {"val_endurance_left", "剩余续航时间（分）：", "300"},
    {"val_flown_time", "已飞行时间（分）：", "40001"},
    {"val_heading", "载机航向角（°）：", "-123.45"},
    {"val_pitch", "载机俯仰角（°）：", "-0.05"},
    {"val_roll", "载机滚转角（°）：", "180.00"},
    {"val_pod_yaw", "吊舱方位角（°）：", "-180.00"},
    {"val_pod_pitch", "吊舱俯仰角（°）：", "-90.00"},
    {"val_pod_roll", "吊舱滚转角（°）：", "0.07"},
    {"val_target_distance", "目标距离（米）：", "50000"},
    {"val_vl_fov", "可见光视场角（°）：", "62.00"},
    {"val_ir_fov", "红外视场角（°）：", "360.00"},
    {"val_track_mode", "图像跟踪模式：", "红外"},
    {"val_temp_alarm_set", "超温报警设置值（℃）：", "65.5"},
    {"val_temp_alarm", "超温报警标志：", "超温"},
};

const ExpectedSei kSeiRight[] = {
    {"val_date", "日期：", "2026/6/15"},
    {"val_time", "时间：", "27:46:40"},
    {"val_longitude", "载机经度（°）：", "114.4231691"},
    {"val_latitude", "载机纬度（°）：", "-30.4538046"},
    {"val_altitude", "载机海拔高度（米）：", "0.256"},
    {"val_height", "载机对地高度（米）：", "3"},
    {"val_horizontal_speed", "载机水平速度（m/s）：", "0.00m/s"},
    {"val_vertical_speed", "载机垂直速度（m/s）：", "400.00m/s"},
    {"val_center_longitude", "图像中心经度（°）：", "180.0000000"},
    {"val_center_latitude", "图像中心纬度（°）：", "-0.0000001"},
    {"val_center_altitude", "图像中心海拔高度（米）：", "-1.500"},
    {"val_track_left", "跟踪框左上角X坐标：", "-20"},
    {"val_track_top", "跟踪框左上角Y坐标：", "300"},
    {"val_track_width", "跟踪框宽度：", "40000"},
    {"val_track_height", "跟踪框高度：", "48"},
    {"val_center_temp", "当前图像中心测温值（℃）：", "-12.3"},
};
