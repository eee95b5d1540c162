#include "telemetry/panel_rows.h"

#include <cstdio>
#include <cstdlib>

#include "telemetry/translation_mark.h"

namespace sorvane {

namespace {

using Source = const PanelSource&;

PanelText word(const char* text) {
    PanelText result;
    if (text != nullptr) {
        result.kind = PanelText::Kind::kWord;
        result.word = text;
    }
    return result;
}

PanelText integer(std::int32_t value) { return fixedPointText(value, 0); }

PanelText either(bool set, const char* when_set, const char* when_clear) {
    return word(set ? when_set : when_clear);
}

bool flagA(Source s, int bit) { return bitSet(s.record.status_word_a, bit); }

template <int Bit>
PanelText moduleHealth(Source s) {
    return either(bitSet(s.record.module_status, Bit), QT_TRANSLATE_NOOP("Korvath", "正常"),
                  QT_TRANSLATE_NOOP("Korvath", "异常"));
}

template <int Bit>
PanelText onOff(Source s) {
    return either(flagA(s, Bit), QT_TRANSLATE_NOOP("Korvath", "开"), QT_TRANSLATE_NOOP("Korvath", "关"));
}

// The translation tool reads texts only where they stand in its own macro, so the rows spell it out.
#define SHOW(expression) [](Source s) { return expression; }

constexpr bool kNewGroup = true;
constexpr bool kMayWrap = true;
constexpr PanelPage kAircraft = PanelPage::kAircraft;
constexpr PanelPage kPod = PanelPage::kPod;
constexpr PanelPage kHealth = PanelPage::kHealth;

// clang-format off
const PanelRow kRows[] = {
    {kAircraft, "label_nav_pitch_val", QT_TRANSLATE_NOOP("KorvathClass", "俯仰角："),
     SHOW(integer(s.nav.pitch))},
    {kAircraft, "label_nav_roll_val", QT_TRANSLATE_NOOP("KorvathClass", "滚转角："),
     SHOW(integer(s.nav.roll))},
    {kAircraft, "label_nav_heading_val", QT_TRANSLATE_NOOP("KorvathClass", "航向角："),
     SHOW(integer(s.nav.heading))},
    {kAircraft, "label_nav_year_val", QT_TRANSLATE_NOOP("KorvathClass", "GPS年："),
     SHOW(integer(s.nav.year)), kNewGroup},
    {kAircraft, "label_nav_month_val", QT_TRANSLATE_NOOP("KorvathClass", "GPS月："),
     SHOW(integer(s.nav.month))},
    {kAircraft, "label_nav_day_val", QT_TRANSLATE_NOOP("KorvathClass", "GPS日："),
     SHOW(integer(s.nav.day))},
    {kAircraft, "label_nav_hour_val", QT_TRANSLATE_NOOP("KorvathClass", "GPS时："),
     SHOW(integer(s.nav.hour))},
    {kAircraft, "label_nav_minute_val", QT_TRANSLATE_NOOP("KorvathClass", "GPS分："),
     SHOW(integer(s.nav.minute))},
    {kAircraft, "label_nav_second_val", QT_TRANSLATE_NOOP("KorvathClass", "GPS秒："),
     SHOW(integer(s.nav.second))},
    {kAircraft, "label_nav_hundredths_val", QT_TRANSLATE_NOOP("KorvathClass", "GPS百分秒："),
     SHOW(integer(s.nav.hundredths))},
    {kAircraft, "label_nav_longitude_val", QT_TRANSLATE_NOOP("KorvathClass", "GPS经度："),
     SHOW(fixedPointText(s.nav.longitude, 7)), kNewGroup},
    {kAircraft, "label_nav_latitude_val", QT_TRANSLATE_NOOP("KorvathClass", "GPS纬度："),
     SHOW(fixedPointText(s.nav.latitude, 7))},
    {kAircraft, "label_nav_satellites_val", QT_TRANSLATE_NOOP("KorvathClass", "定位星数："),
     SHOW(integer(s.nav.satellites))},
    {kAircraft, "label_nav_altitude_val", QT_TRANSLATE_NOOP("KorvathClass", "GPS高度："),
     SHOW(integer(s.nav.altitude))},
    {kAircraft, "label_nav_ground_speed_val", QT_TRANSLATE_NOOP("KorvathClass", "地速："),
     SHOW(integer(s.nav.ground_speed)), kNewGroup},
    {kAircraft, "label_nav_north_speed_val", QT_TRANSLATE_NOOP("KorvathClass", "北向速度："),
     SHOW(integer(s.nav.north_speed))},
    {kAircraft, "label_nav_east_speed_val", QT_TRANSLATE_NOOP("KorvathClass", "东向速度："),
     SHOW(integer(s.nav.east_speed))},

    {kPod, "m_fldTrackSource", QT_TRANSLATE_NOOP("KorvathClass", "跟踪源类型："),
     SHOW(either(bitSet(s.record.status_word_b, 1),
                 QT_TRANSLATE_NOOP("Korvath", "可见光"), QT_TRANSLATE_NOOP("Korvath", "红外")))},
    {kPod, "m_fldGestOriAng", QT_TRANSLATE_NOOP("KorvathClass", "姿态方位角："),
     SHOW(fixedPointText(s.record.attitude_yaw, 2, " deg"))},
    {kPod, "m_fldGestPitAng", QT_TRANSLATE_NOOP("KorvathClass", "姿态俯仰角："),
     SHOW(fixedPointText(s.record.attitude_pitch, 2, " deg"))},
    {kPod, "m_fldGestRollAng", QT_TRANSLATE_NOOP("KorvathClass", "姿态横滚角："),
     SHOW(fixedPointText(s.record.attitude_roll, 2, " deg"))},
    {kPod, "m_fldTrackX", QT_TRANSLATE_NOOP("KorvathClass", "中心点宽坐标："),
     SHOW(integer(s.record.track_x))},
    {kPod, "m_fldTrackY", QT_TRANSLATE_NOOP("KorvathClass", "中心点高坐标："),
     SHOW(integer(s.record.track_y))},
    {kPod, "m_fldVLFocus", QT_TRANSLATE_NOOP("KorvathClass", "可见光焦距："),
     SHOW(fixedPointText(s.record.vl_focal_length, 1)), kNewGroup},
    {kPod, "m_fldVLFov", QT_TRANSLATE_NOOP("KorvathClass", "可见光视场角："),
     SHOW(fixedPointText(s.record.vl_fov, 1))},
    {kPod, "m_fldIRFocus", QT_TRANSLATE_NOOP("KorvathClass", "红外焦距："),
     SHOW(fixedPointText(s.record.ir_focal_length, 1))},
    {kPod, "m_fldIRFov", QT_TRANSLATE_NOOP("KorvathClass", "红外视场角："),
     SHOW(fixedPointText(s.record.ir_fov, 1))},
    {kPod, "m_fldLaserDist", QT_TRANSLATE_NOOP("KorvathClass", "激光测距值："),
     SHOW(fixedPointText(s.record.laser_distance, 1))},
    {kPod, "m_fldRecvFdbk", QT_TRANSLATE_NOOP("KorvathClass", "命令反馈："),
     SHOW(integer(s.record.command_feedback))},
    {kPod, "m_fldRecvFdbk_3", QT_TRANSLATE_NOOP("KorvathClass", "红外电子变倍："),
     SHOW(fixedPointText(static_cast<std::int32_t>(bitRange(s.record.status_word_b, 2, 8)), 1))},
    {kPod, "m_fldRecvFdbk_4", QT_TRANSLATE_NOOP("KorvathClass", "可见光电子放大："),
     SHOW(word(visibleZoomText(static_cast<int>(bitRange(s.record.status_word_b, 10, 11)))))},
    {kPod, "m_fldRecvFdbk_5", QT_TRANSLATE_NOOP("KorvathClass", "吊舱框架方位角："),
     SHOW(fixedPointText(s.record.frame_yaw, 2)), kNewGroup},
    {kPod, "m_fldRecvFdbk_6", QT_TRANSLATE_NOOP("KorvathClass", "吊舱框架俯仰角："),
     SHOW(fixedPointText(s.record.frame_pitch, 2))},
    {kPod, "m_fldRecvFdbk_7", QT_TRANSLATE_NOOP("KorvathClass", "吊舱框架横滚角："),
     SHOW(fixedPointText(s.record.frame_roll, 2))},
    {kPod, "m_fldRecvFdbk_8", QT_TRANSLATE_NOOP("KorvathClass", "TF剩余百分比："),
     SHOW(integer(s.record.tf_free_percent)), kNewGroup},
    {kPod, "m_fldRecvFdbk_9", QT_TRANSLATE_NOOP("KorvathClass", "TF卡总容量："),
     SHOW(fixedPointText(s.record.tf_capacity, 1))},
    {kPod, "m_fldRecvFdbk_10", QT_TRANSLATE_NOOP("KorvathClass", "TF插卡状态："),
     SHOW(either(flagA(s, kCardInsertedBit),
                 QT_TRANSLATE_NOOP("Korvath", "TF已插入"), QT_TRANSLATE_NOOP("Korvath", "TF未插入")))},
    {kPod, "m_fldRecvFdbk_11", QT_TRANSLATE_NOOP("KorvathClass", "拍照："),
     SHOW(either(flagA(s, kPhotographingBit),
                 QT_TRANSLATE_NOOP("Korvath", "正在拍照"), QT_TRANSLATE_NOOP("Korvath", "未拍照")))},
    {kPod, "m_fldRecvFdbk_12", QT_TRANSLATE_NOOP("KorvathClass", "视频抓图："),
     SHOW(either(flagA(s, kSnapshotBit),
                 QT_TRANSLATE_NOOP("Korvath", "正在抓图"), QT_TRANSLATE_NOOP("Korvath", "未抓图")))},
    {kPod, "m_fldRecvFdbk_13", QT_TRANSLATE_NOOP("KorvathClass", "连拍："),
     SHOW(either(flagA(s, kBurstBit),
                 QT_TRANSLATE_NOOP("Korvath", "正在连拍"), QT_TRANSLATE_NOOP("Korvath", "未连拍")))},
    {kPod, "m_fldRecvFdbk_14", QT_TRANSLATE_NOOP("KorvathClass", "视频连续抓图："),
     SHOW(either(flagA(s, kContinuousSnapshotBit),
                 QT_TRANSLATE_NOOP("Korvath", "连续抓图"), QT_TRANSLATE_NOOP("Korvath", "未连续抓图")))},
    {kPod, "m_fldRecvFdbk_15", QT_TRANSLATE_NOOP("KorvathClass", "录像状态："),
     SHOW(either(flagA(s, kRecordingBit),
                 QT_TRANSLATE_NOOP("Korvath", "正在录像"), QT_TRANSLATE_NOOP("Korvath", "未录像")))},
    {kPod, "m_fldRecvFdbk_16", QT_TRANSLATE_NOOP("KorvathClass", "文件命名："),
     SHOW(either(flagA(s, kFileNamingBit),
                 QT_TRANSLATE_NOOP("Korvath", "导入完毕"), QT_TRANSLATE_NOOP("Korvath", "未成功导入")))},
    {kPod, "m_fldRecvFdbk_17", QT_TRANSLATE_NOOP("KorvathClass", "当前图像反馈："),
     SHOW(word(displayModeText(s.record.display_mode))), !kNewGroup, nullptr, kMayWrap},

    {kHealth, "m_fldLoadType", QT_TRANSLATE_NOOP("KorvathClass", "载荷类型："),
     SHOW(word(loadTypeText(s.record.load_type)))},
    {kHealth, "m_fldIRStat", QT_TRANSLATE_NOOP("KorvathClass", "红外机芯："),
     moduleHealth<0>},
    {kHealth, "m_fldVLStat", QT_TRANSLATE_NOOP("KorvathClass", "可见光机芯："),
     moduleHealth<1>},
    {kHealth, "m_fldGyroStat", QT_TRANSLATE_NOOP("KorvathClass", "陀螺仪："),
     moduleHealth<2>},
    {kHealth, "m_fldAngSensorStat", QT_TRANSLATE_NOOP("KorvathClass", "角度传感器："),
     moduleHealth<3>},
    {kHealth, "m_fldMotorStat", QT_TRANSLATE_NOOP("KorvathClass", "电机："),
     moduleHealth<4>},
    {kHealth, "m_fldCompressStat", QT_TRANSLATE_NOOP("KorvathClass", "压缩："),
     moduleHealth<5>},
    {kHealth, "m_fldMainCtrlStat", QT_TRANSLATE_NOOP("KorvathClass", "综合控制："),
     moduleHealth<6>},
    {kHealth, "m_fldEOTStat", QT_TRANSLATE_NOOP("KorvathClass", "吊舱准备状态："),
     SHOW(either(bitSet(s.record.module_status, 7),
                 QT_TRANSLATE_NOOP("Korvath", "已准备好"), QT_TRANSLATE_NOOP("Korvath", "未准备好")))},
    {kHealth, "m_fldIRPseudoColor", QT_TRANSLATE_NOOP("KorvathClass", "红外伪彩："),
     SHOW(integer(static_cast<std::int32_t>(bitRange(s.record.status_word_b, 12, 15)))), kNewGroup},
    {kHealth, "m_fldIRDde", QT_TRANSLATE_NOOP("KorvathClass", "红外图像增强："),
     SHOW(integer(static_cast<std::int32_t>(bitRange(s.record.status_word_a, 10, 13))))},
    {kHealth, "label_load_version_val", QT_TRANSLATE_NOOP("KorvathClass", "当前载荷版本："),
     SHOW(versionText(s.record.load_version))},
    {kHealth, "label_target_locate_lon_val", QT_TRANSLATE_NOOP("KorvathClass", "目标定位经度："),
     SHOW(fixedPointText(s.record.target_longitude, 7)), kNewGroup},
    {kHealth, "label_target_locate_lat_val", QT_TRANSLATE_NOOP("KorvathClass", "目标定位纬度："),
     SHOW(fixedPointText(s.record.target_latitude, 7))},
    {kHealth, "label_target_locate_alt_val", QT_TRANSLATE_NOOP("KorvathClass", "目标海拔高度："),
     SHOW(fixedPointText(s.record.target_altitude, 0, "m"))},
    {kHealth, "label_ztzswcfk_val", QT_TRANSLATE_NOOP("KorvathClass", "姿态指示完成反馈："),
     SHOW(word(guidanceText(s.record.attitude_guidance_feedback)))},
    {kHealth, "label_target_width_val", QT_TRANSLATE_NOOP("KorvathClass", "目标宽："),
     SHOW(integer(s.record.target_width))},
    {kHealth, "label_target_height_val", QT_TRANSLATE_NOOP("KorvathClass", "目标高："),
     SHOW(integer(s.record.target_height))},
    {kHealth, "label_target_type_val", QT_TRANSLATE_NOOP("KorvathClass", "目标类型："),
     SHOW(integer(s.record.target_type))},
    {kHealth, "label_track_state_val", QT_TRANSLATE_NOOP("KorvathClass", "跟踪状态："),
     SHOW(word(trackStateText(s.record.track_state)))},
    {kHealth, "label_max_temp_val", QT_TRANSLATE_NOOP("KorvathClass", "最高温："),
     SHOW(fixedPointText(s.record.max_temperature, 1, "℃"))},
    {kHealth, "label_save_config_val", QT_TRANSLATE_NOOP("KorvathClass", "配置保存："),
     SHOW(either(bitSet(s.record.status_word_b, 9),
                 QT_TRANSLATE_NOOP("Korvath", "保存成功"), QT_TRANSLATE_NOOP("Korvath", "未保存"))), kNewGroup},
    {kHealth, "label_servo_state_val", QT_TRANSLATE_NOOP("KorvathClass", "伺服状态："),
     SHOW(word(servoStateText(s.record.servo_state)))},
    {kHealth, "label_tf_val", "TF:",
     SHOW(either(flagA(s, kCardInsertedBit),
                 QT_TRANSLATE_NOOP("Korvath", "已插卡"), QT_TRANSLATE_NOOP("Korvath", "未插卡"))), !kNewGroup, "label_140"},
    {kHealth, "label_temp_warning_val", QT_TRANSLATE_NOOP("KorvathClass", "超温报警："),
     SHOW(either(flagA(s, kOverTemperatureBit),
                 QT_TRANSLATE_NOOP("Korvath", "超温"), QT_TRANSLATE_NOOP("Korvath", "未超温")))},
    {kHealth, "label_hdzs_val", QT_TRANSLATE_NOOP("KorvathClass", "红点指示："),
     onOff<kRedDotBit>},
    {kHealth, "label_ckcw_val", QT_TRANSLATE_NOOP("KorvathClass", "窗口除雾："),
     onOff<kDefogBit>},
    {kHealth, "label_qdq_temp", QT_TRANSLATE_NOOP("KorvathClass", "驱动器温度："),
     SHOW(fixedPointText(s.record.driver_temperature, 1, "℃"))},
};
// clang-format on

}  // namespace

PanelRows panelRows() { return {kRows, sizeof kRows / sizeof kRows[0]}; }

PanelText fixedPointText(std::int32_t value, int decimals, const char* suffix) {
    std::int64_t scale = 1;
    for (int i = 0; i < decimals; ++i) {
        scale *= 10;
    }
    const std::int64_t magnitude = std::llabs(static_cast<std::int64_t>(value));
    const char* sign = value < 0 ? "-" : "";
    PanelText result;
    result.kind = PanelText::Kind::kNumber;
    if (decimals == 0) {
        std::snprintf(result.number, sizeof result.number, "%s%lld%s", sign,
                      static_cast<long long>(magnitude), suffix);
    } else {
        std::snprintf(result.number, sizeof result.number, "%s%lld.%0*lld%s", sign,
                      static_cast<long long>(magnitude / scale), decimals,
                      static_cast<long long>(magnitude % scale), suffix);
    }
    return result;
}

PanelText versionText(std::uint8_t load_version) {
    PanelText result;
    result.kind = PanelText::Kind::kNumber;
    std::snprintf(result.number, sizeof result.number, "%d.%d", load_version >> 4, load_version & 0x0F);
    return result;
}

}  // namespace sorvane
