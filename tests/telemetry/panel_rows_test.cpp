#include "telemetry/panel_rows.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstring>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/telemetry/frames_by_hand.h"

namespace sorvane {
namespace {

// What the label named so would show; "(keep)" where it would keep its text.
std::string shown(const char* object_name, const TelemetryRecord& record, const NavBlock& nav = {}) {
    for (const PanelRow& row : panelRows()) {
        if (std::strcmp(row.object_name, object_name) != 0) continue;
        const PanelText text = row.format({record, nav});
        if (text.kind == PanelText::Kind::kKeep) return "(keep)";
        return text.kind == PanelText::Kind::kWord ? text.word : text.number;
    }
    return "(no row)";
}

struct Expected {
    const char* object_name;
    const char* caption;
    const char* text;  // of the record or block by hand
};

// Order, captions and texts as they shall stand on the screen, for the record and the block by hand.
const Expected kAircraftPage[] = {
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

const Expected kPodPage[] = {
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

const Expected kHealthPage[] = {
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

TelemetryRecord recordByHand() {
    TelemetryRecord record;
    std::memcpy(&record, recordWithIntegers().data(), kTelemetryRecordSize);
    return record;
}

NavBlock navByHand() {
    NavBlock nav;
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

template <std::size_t N>
void expectPage(PanelPage page, const Expected (&expected)[N]) {
    std::vector<const PanelRow*> rows;
    for (const PanelRow& row : panelRows()) {
        if (row.page == page) rows.push_back(&row);
    }
    ASSERT_EQ(rows.size(), N);
    for (std::size_t i = 0; i < N; ++i) {
        EXPECT_STREQ(rows[i]->object_name, expected[i].object_name);
        if (expected[i].caption != nullptr) {
            EXPECT_STREQ(rows[i]->caption, expected[i].caption);
        }
        EXPECT_EQ(shown(expected[i].object_name, recordByHand(), navByHand()), expected[i].text)
            << expected[i].object_name;
    }
}

TEST(PanelRows, AircraftPageInOrder) {
    expectPage(PanelPage::kAircraft, kAircraftPage);
}
TEST(PanelRows, PodPageInOrder) {
    expectPage(PanelPage::kPod, kPodPage);
}
TEST(PanelRows, HealthPageInOrder) {
    expectPage(PanelPage::kHealth, kHealthPage);
}

TEST(PanelRows, NamesAreUniqueAndPagesFollowEachOther) {
    std::set<std::string> names;
    PanelPage last = PanelPage::kAircraft;
    for (const PanelRow& row : panelRows()) {
        EXPECT_TRUE(names.insert(row.object_name).second) << row.object_name;
        EXPECT_GE(row.page, last);
        last = row.page;
    }
    EXPECT_EQ(names.size(), 17U + 27U + 28U);
}

TEST(PanelRows, OnlyTheCardsCaptionHasAnOwnName) {
    for (const PanelRow& row : panelRows()) {
        if (std::strcmp(row.object_name, "label_tf_val") == 0) {
            EXPECT_STREQ(row.caption_object, "label_140");
        } else {
            EXPECT_EQ(row.caption_object, nullptr) << row.object_name;
        }
    }
}

TEST(PanelRows, LoadVersionShowsItsNibbles) {
    EXPECT_STREQ(versionText(0x23).number, "2.3");
    EXPECT_STREQ(versionText(0xA1).number, "10.1");
    EXPECT_STREQ(versionText(0xFF).number, "15.15");
    EXPECT_STREQ(versionText(0x00).number, "0.0");
}

TEST(PanelRows, ATargetAltitudeOfMinusFiveReadsMinusFiveMetres) {
    TelemetryRecord record;
    record.target_altitude = -5;
    EXPECT_EQ(shown("label_target_locate_alt_val", record), "-5m");
}

TEST(PanelRows, AMaxTemperatureOfMinusFifteenShowsMinusOnePointFive) {
    TelemetryRecord record;
    record.max_temperature = -15;
    EXPECT_EQ(shown("label_max_temp_val", record), "-1.5℃");
}

TEST(PanelRows, ValuesWithoutATextKeepTheLabel) {
    TelemetryRecord record;
    record.status_word_b = 0x0C00;
    record.servo_state = 16;
    record.track_state = 6;
    EXPECT_EQ(shown("m_fldRecvFdbk_4", record), "(keep)");
    EXPECT_EQ(shown("label_servo_state_val", record), "(keep)");
    EXPECT_EQ(shown("label_track_state_val", record), "(keep)");
}

TEST(PanelRows, FoldedAndGuardedValues) {
    TelemetryRecord record;
    record.servo_state = 15;
    record.track_state = 5;
    record.display_mode = 7;
    record.load_type = 6;
    EXPECT_EQ(shown("label_servo_state_val", record), "姿态指引");
    EXPECT_EQ(shown("label_track_state_val", record), "截获状态");
    EXPECT_EQ(shown("m_fldRecvFdbk_17", record), "-----");
    EXPECT_EQ(shown("m_fldLoadType", record), "非法值");
    EXPECT_EQ(shown("label_ztzswcfk_val", record), "-----");
}

// Each bit of the status words, set alone, changes exactly the rows that show it.
std::set<std::string> rowsChangedBy(const TelemetryRecord& record) {
    std::set<std::string> changed;
    for (const PanelRow& row : panelRows()) {
        if (shown(row.object_name, record) != shown(row.object_name, TelemetryRecord{}))
            changed.insert(row.object_name);
    }
    return changed;
}

TEST(PanelRows, EachBitShowsInItsRowsAlone) {
    using Names = std::set<std::string>;
    const Names module_rows[8] = {{"m_fldIRStat"},        {"m_fldVLStat"},    {"m_fldGyroStat"},
                                  {"m_fldAngSensorStat"}, {"m_fldMotorStat"}, {"m_fldCompressStat"},
                                  {"m_fldMainCtrlStat"},  {"m_fldEOTStat"}};
    const Names a_rows[16] = {{"m_fldRecvFdbk_11"},
                              {"m_fldRecvFdbk_12"},
                              {"m_fldRecvFdbk_13"},
                              {"m_fldRecvFdbk_14"},
                              {"m_fldRecvFdbk_15"},
                              {"m_fldRecvFdbk_16"},
                              {"m_fldRecvFdbk_10", "label_tf_val"},
                              {"label_temp_warning_val"},
                              {"label_hdzs_val"},
                              {"label_ckcw_val"},
                              {"m_fldIRDde"},
                              {"m_fldIRDde"},
                              {"m_fldIRDde"},
                              {"m_fldIRDde"},
                              {},
                              {}};
    Names b_rows[16];
    b_rows[1] = {"m_fldTrackSource"};
    for (int bit = 2; bit <= 8; ++bit)
        b_rows[bit] = {"m_fldRecvFdbk_3"};
    b_rows[9] = {"label_save_config_val"};
    b_rows[10] = b_rows[11] = {"m_fldRecvFdbk_4"};
    for (int bit = 12; bit <= 15; ++bit)
        b_rows[bit] = {"m_fldIRPseudoColor"};
    for (int bit = 0; bit < 16; ++bit) {
        TelemetryRecord a;
        a.status_word_a = static_cast<std::uint16_t>(1U << bit);
        EXPECT_EQ(rowsChangedBy(a), a_rows[bit]) << "word a, bit " << bit;
        TelemetryRecord b;
        b.status_word_b = static_cast<std::uint16_t>(1U << bit);
        EXPECT_EQ(rowsChangedBy(b), b_rows[bit]) << "word b, bit " << bit;
        if (bit < 8) {
            TelemetryRecord module;
            module.module_status = static_cast<std::uint8_t>(1U << bit);
            EXPECT_EQ(rowsChangedBy(module), module_rows[bit]) << "module, bit " << bit;
        }
    }
}

TEST(FixedPointText, AgreesWithPrintfOverTheRangeOfAField) {
    char expected[32];
    for (int value = -32768; value <= 65535; ++value) {
        std::snprintf(expected, sizeof expected, "%.2f deg", value / 100.0);
        EXPECT_STREQ(fixedPointText(value, 2, " deg").number, expected);
        std::snprintf(expected, sizeof expected, "%.1f", value / 10.0);
        EXPECT_STREQ(fixedPointText(value, 1).number, expected);
    }
}

TEST(FixedPointText, TheEndsOfThe32BitRangeFit) {
    EXPECT_STREQ(fixedPointText(std::numeric_limits<std::int32_t>::min(), 7).number, "-214.7483648");
    EXPECT_STREQ(fixedPointText(std::numeric_limits<std::int32_t>::max(), 7).number, "214.7483647");
    EXPECT_STREQ(fixedPointText(std::numeric_limits<std::int32_t>::min(), 0, "m").number, "-2147483648m");
    EXPECT_STREQ(fixedPointText(-1, 7).number, "-0.0000001");
}

TEST(FixedPointText, TakesNoNoticeOfTheLocale) {
    // Where the system has no such locale the call changes nothing and the assertion holds all the same.
    std::setlocale(LC_NUMERIC, "de_DE.UTF-8");
    EXPECT_STREQ(fixedPointText(1234567, 3).number, "1234.567");
    std::setlocale(LC_NUMERIC, "C");
}

}  // namespace
}  // namespace sorvane
