// The status pages as they shall stand on the screen for the record and the block by hand: order, names,
// captions, texts.
#pragma once

#include <cstring>

#include "link/nav_block.h"
#include "telemetry/telemetry_record.h"
#include "tests/telemetry/frames_by_hand.h"

struct ExpectedRow {
    const char* object_name;
    const char* caption;
    const char* text;  // of the record or block by hand
};

const ExpectedRow kAircraftPage[] = {
    {"label_nav_pitch_val", "俯仰角：", "-1050"},
    {"label_nav_roll_val", "滚转角：", "225"},
    {"label_nav_heading_val", "航向角：", "35850"},
    {"label_nav_year_val", "GPS年：", "25"},
    {"label_nav_month_val", "GPS月：", "11"},
    {"label_nav_day_val", "GPS日：", "20"},
    {"label_nav_hour_val", "GPS时：", "28"},
    {"label_nav_minute_val", "GPS分：", "1"},
    {"label_nav_second_val", "GPS秒：", "5"},
    {"label_nav_hundredths_val", "GPS百分秒：", "67"},
    {"label_nav_longitude_val", "GPS经度：", "114.4231691"},
    {"label_nav_latitude_val", "GPS纬度：", "-30.4538046"},
    {"label_nav_satellites_val", "定位星数：", "12"},
    {"label_nav_altitude_val", "GPS高度：", "-123"},
    {"label_nav_ground_speed_val", "地速：", "108"},
    {"label_nav_north_speed_val", "北向速度：", "-90"},
    {"label_nav_east_speed_val", "东向速度：", "54"},
};

const ExpectedRow kPodPage[] = {
    {"m_fldTrackSource", "跟踪源类型：", "可见光"},
    {"m_fldGestOriAng", "姿态方位角：", "100.00 deg"},
    {"m_fldGestPitAng", "姿态俯仰角：", "-0.01 deg"},
    {"m_fldGestRollAng", "姿态横滚角：", "0.05 deg"},
    {"m_fldTrackX", "中心点宽坐标：", "-128"},
    {"m_fldTrackY", "中心点高坐标：", "64"},
    {"m_fldVLFocus", "可见光焦距：", "30.0"},
    {"m_fldVLFov", "可见光视场角：", "35.0"},
    {"m_fldIRFocus", "红外焦距：", "75.0"},
    {"m_fldIRFov", "红外视场角：", "25.0"},
    {"m_fldLaserDist", "激光测距值：", "1234.5"},
    {"m_fldRecvFdbk", "命令反馈：", "69"},
    {"m_fldRecvFdbk_3", "红外电子变倍：", "0.1"},
    {"m_fldRecvFdbk_4", "可见光电子放大：", "2x"},
    {"m_fldRecvFdbk_5", "吊舱框架方位角：", "123.45"},
    {"m_fldRecvFdbk_6", "吊舱框架俯仰角：", "-12.34"},
    {"m_fldRecvFdbk_7", "吊舱框架横滚角：", "-0.10"},
    {"m_fldRecvFdbk_8", "TF剩余百分比：", "75"},
    {"m_fldRecvFdbk_9", "TF卡总容量：", "64.0"},
    {"m_fldRecvFdbk_10", "TF插卡状态：", "TF已插入"},
    {"m_fldRecvFdbk_11", "拍照：", "未拍照"},
    {"m_fldRecvFdbk_12", "视频抓图：", "正在抓图"},
    {"m_fldRecvFdbk_13", "连拍：", "未连拍"},
    {"m_fldRecvFdbk_14", "视频连续抓图：", "未连续抓图"},
    {"m_fldRecvFdbk_15", "录像状态：", "正在录像"},
    {"m_fldRecvFdbk_16", "文件命名：", "未成功导入"},
    {"m_fldRecvFdbk_17", "当前图像反馈：", "红外显示，可见光小窗口画中画"},
};

const ExpectedRow kHealthPage[] = {
    {"m_fldLoadType", "载荷类型：", "红外"},
    {"m_fldIRStat", "红外机芯：", "正常"},
    {"m_fldVLStat", "可见光机芯：", "异常"},
    {"m_fldGyroStat", "陀螺仪：", "正常"},
    {"m_fldAngSensorStat", "角度传感器：", "异常"},
    {"m_fldMotorStat", "电机：", "异常"},
    {"m_fldCompressStat", "压缩：", "异常"},
    {"m_fldMainCtrlStat", "综合控制：", "正常"},
    {"m_fldEOTStat", "吊舱准备状态：", "已准备好"},
    {"m_fldIRPseudoColor", "红外伪彩：", "10"},
    {"m_fldIRDde", "红外图像增强：", "6"},
    {"label_load_version_val", "当前载荷版本：", "2.3"},
    {"label_target_locate_lon_val", "目标定位经度：", "114.5000000"},
    {"label_target_locate_lat_val", "目标定位纬度：", "30.2500000"},
    {"label_target_locate_alt_val", "目标海拔高度：", "-5m"},
    {"label_ztzswcfk_val", "姿态指示完成反馈：", "姿态指示中"},
    {"label_target_width_val", "目标宽：", "32"},
    {"label_target_height_val", "目标高：", "33"},
    {"label_target_type_val", "目标类型：", "11"},
    {"label_track_state_val", "跟踪状态：", "稳定跟踪"},
    {"label_max_temp_val", "最高温：", "-1.5℃"},
    {"label_save_config_val", "配置保存：", "保存成功"},
    {"label_servo_state_val", "伺服状态：", "跟踪"},
    {"label_tf_val", nullptr, "已插卡"},
    {"label_temp_warning_val", "超温报警：", "未超温"},
    {"label_hdzs_val", "红点指示：", "开"},
    {"label_ckcw_val", "窗口除雾：", "关"},
    {"label_qdq_temp", "驱动器温度：", "35.5℃"},
};

inline sorvane::TelemetryRecord recordByHand() {
    sorvane::TelemetryRecord record;
    std::memcpy(&record, recordWithIntegers().data(), sizeof record);
    return record;
}

inline sorvane::NavBlock navByHand() {
    sorvane::NavBlock nav;
    nav.pitch = -1050;
    nav.roll = 225;
    nav.heading = 35850;
    nav.year = 25;
    nav.month = 11;
    nav.day = 20;
    nav.hour = 28;
    nav.minute = 1;
    nav.second = 5;
    nav.hundredths = 67;
    nav.longitude = 1144231691;
    nav.latitude = -304538046;
    nav.satellites = 12;
    nav.altitude = -123;
    nav.north_speed = -90;
    nav.east_speed = 54;
    nav.ground_speed = 108;
    return nav;
}
