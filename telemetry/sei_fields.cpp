#include "telemetry/sei_fields.h"

#include <cstdio>

#include "base/bytes.h"
#include "telemetry/translation_mark.h"

namespace sorvane {

namespace {

constexpr std::size_t kTrackModeOffset = 76;

PanelText word(const char* text) {
    PanelText result;
    result.kind = PanelText::Kind::kWord;
    result.word = text;
    return result;
}

PanelText noValue() {
    PanelText result;
    result.kind = PanelText::Kind::kNumber;
    std::snprintf(result.number, sizeof result.number, "--");
    return result;
}

// Day in bits 11 to 15, month in 7 to 10, years since 2000 below.
PanelText dateText(std::uint32_t bits, const SeiPayload& /*payload*/) {
    PanelText result;
    result.kind = PanelText::Kind::kNumber;
    std::snprintf(result.number, sizeof result.number, "%u/%u/%u", 2000 + (bits & 0x7FU), bits >> 7 & 0x0FU,
                  bits >> 11 & 0x1FU);
    return result;
}

// Hundredths of a second since midnight; beyond a day the hours go on.
PanelText timeText(std::uint32_t bits, const SeiPayload& /*payload*/) {
    const std::uint32_t seconds = bits / 100;
    PanelText result;
    result.kind = PanelText::Kind::kNumber;
    std::snprintf(result.number, sizeof result.number, "%02u:%02u:%02u", seconds / 3600, seconds % 3600 / 60,
                  seconds % 60);
    return result;
}

PanelText trackModeText(std::uint32_t bits, const SeiPayload& /*payload*/) {
    switch (bits) {
        case 1:
            return word(QT_TRANSLATE_NOOP("Korvath", "可见光"));
        case 2:
            return word(QT_TRANSLATE_NOOP("Korvath", "红外"));
        default:
            return noValue();
    }
}

// That it is not too hot is told only while nothing is tracked: the pod's own reading of its two bytes.
PanelText overTemperatureText(std::uint32_t bits, const SeiPayload& payload) {
    if (bits == 1) {
        return word(QT_TRANSLATE_NOOP("Korvath", "超温"));
    }
    return payload[kTrackModeOffset] == 0 ? word(QT_TRANSLATE_NOOP("Korvath", "未超温")) : noValue();
}

constexpr SeiType kU8 = SeiType::kU8;
constexpr SeiType kU16 = SeiType::kU16;
constexpr SeiType kI16 = SeiType::kI16;
constexpr SeiType kU24 = SeiType::kU24;
constexpr SeiType kI32 = SeiType::kI32;

// clang-format off
const SeiField kLeft[] = {
    {16, kU16, 0, QT_TRANSLATE_NOOP("sei_info", "无人机编号："), "val_uav_number"},
    {18, kU8,  0, QT_TRANSLATE_NOOP("sei_info", "飞机剩余电量（%）："), "val_battery"},
    {19, kU16, 0, QT_TRANSLATE_NOOP("sei_info", "剩余续航时间（分）："), "val_endurance_left"},
    {21, kU16, 0, QT_TRANSLATE_NOOP("sei_info", "已飞行时间（分）："), "val_flown_time"},
    {23, kI16, 2, QT_TRANSLATE_NOOP("sei_info", "载机航向角（°）："), "val_heading"},
    {25, kI16, 2, QT_TRANSLATE_NOOP("sei_info", "载机俯仰角（°）："), "val_pitch"},
    {27, kI16, 2, QT_TRANSLATE_NOOP("sei_info", "载机滚转角（°）："), "val_roll"},
    {52, kI16, 2, QT_TRANSLATE_NOOP("sei_info", "吊舱方位角（°）："), "val_pod_yaw"},
    {54, kI16, 2, QT_TRANSLATE_NOOP("sei_info", "吊舱俯仰角（°）："), "val_pod_pitch"},
    {56, kI16, 2, QT_TRANSLATE_NOOP("sei_info", "吊舱滚转角（°）："), "val_pod_roll"},
    {70, kU16, 0, QT_TRANSLATE_NOOP("sei_info", "目标距离（米）："), "val_target_distance"},
    {72, kU16, 2, QT_TRANSLATE_NOOP("sei_info", "可见光视场角（°）："), "val_vl_fov"},
    {74, kU16, 2, QT_TRANSLATE_NOOP("sei_info", "红外视场角（°）："), "val_ir_fov"},
    {76, kU8,  0, QT_TRANSLATE_NOOP("sei_info", "图像跟踪模式："), "val_track_mode", "", trackModeText},
    {85, kI16, 1, QT_TRANSLATE_NOOP("sei_info", "超温报警设置值（℃）："), "val_temp_alarm_set"},
    {89, kU8,  0, QT_TRANSLATE_NOOP("sei_info", "超温报警标志："), "val_temp_alarm", "", overTemperatureText},
};

const SeiField kRight[] = {
    {29, kU16, 0, QT_TRANSLATE_NOOP("sei_info", "日期："), "val_date", "", dateText},
    {31, kU24, 0, QT_TRANSLATE_NOOP("sei_info", "时间："), "val_time", "", timeText},
    {34, kI32, 7, QT_TRANSLATE_NOOP("sei_info", "载机经度（°）："), "val_longitude"},
    {38, kI32, 7, QT_TRANSLATE_NOOP("sei_info", "载机纬度（°）："), "val_latitude"},
    {42, kI32, 3, QT_TRANSLATE_NOOP("sei_info", "载机海拔高度（米）："), "val_altitude"},
    {46, kU16, 0, QT_TRANSLATE_NOOP("sei_info", "载机对地高度（米）："), "val_height"},
    {48, kU16, 2, QT_TRANSLATE_NOOP("sei_info", "载机水平速度（m/s）："), "val_horizontal_speed", "m/s"},
    {50, kU16, 2, QT_TRANSLATE_NOOP("sei_info", "载机垂直速度（m/s）："), "val_vertical_speed", "m/s"},
    {58, kI32, 7, QT_TRANSLATE_NOOP("sei_info", "图像中心经度（°）："), "val_center_longitude"},
    {62, kI32, 7, QT_TRANSLATE_NOOP("sei_info", "图像中心纬度（°）："), "val_center_latitude"},
    {66, kI32, 3, QT_TRANSLATE_NOOP("sei_info", "图像中心海拔高度（米）："), "val_center_altitude"},
    {77, kI16, 0, QT_TRANSLATE_NOOP("sei_info", "跟踪框左上角X坐标："), "val_track_left"},
    {79, kI16, 0, QT_TRANSLATE_NOOP("sei_info", "跟踪框左上角Y坐标："), "val_track_top"},
    {81, kU16, 0, QT_TRANSLATE_NOOP("sei_info", "跟踪框宽度："), "val_track_width"},
    {83, kU16, 0, QT_TRANSLATE_NOOP("sei_info", "跟踪框高度："), "val_track_height"},
    {87, kI16, 1, QT_TRANSLATE_NOOP("sei_info", "当前图像中心测温值（℃）："), "val_center_temp"},
};
// clang-format on

std::uint32_t bitsOf(const SeiField& field, const SeiPayload& payload) {
    const std::uint8_t* at = payload.data() + field.offset;
    switch (field.type) {
        case SeiType::kU8:
            return *at;
        case SeiType::kU16:
            return loadU16(at);
        case SeiType::kI16:
            return static_cast<std::uint32_t>(loadI16(at));
        case SeiType::kU24:
            return loadU16(at) | static_cast<std::uint32_t>(at[2]) << 16;
        case SeiType::kI32:
            return loadU32(at);
    }
    return 0;
}

}  // namespace

SeiFields seiLeftColumn() { return {kLeft, sizeof kLeft / sizeof kLeft[0]}; }
SeiFields seiRightColumn() { return {kRight, sizeof kRight / sizeof kRight[0]}; }

PanelText seiText(const SeiField& field, const SeiPayload& payload) {
    const std::uint32_t bits = bitsOf(field, payload);
    if (field.format != nullptr) {
        return field.format(bits, payload);
    }
    return fixedPointText(static_cast<std::int32_t>(bits), field.decimals, field.unit);
}

}  // namespace sorvane
