#include "telemetry/telemetry_record.h"

#include <gtest/gtest.h>

#include "link/command_catalogue.h"

#include <cstring>

#include "tests/telemetry/frames_by_hand.h"

namespace sorvane {
namespace {

TelemetryRecord recordByHand() {
    TelemetryRecord record;
    std::memcpy(&record, recordWithIntegers().data(), kTelemetryRecordSize);
    return record;
}

TEST(TelemetryRecord, IsAllZeroBeforeTheFirstReport) {
    const TelemetryRecord record;
    Bytes bytes(kTelemetryRecordSize, 1);
    std::memcpy(bytes.data(), &record, kTelemetryRecordSize);
    EXPECT_EQ(bytes, Bytes(kTelemetryRecordSize, 0));
}

TEST(TelemetryRecord, EveryFieldStandsAtItsWireOffset) {
    const TelemetryRecord r = recordByHand();
    EXPECT_EQ(+r.load_type, 2);
    EXPECT_EQ(+r.module_status, 0xC5);
    EXPECT_EQ(+r.status_word_a, 0x1952);
    EXPECT_EQ(+r.status_word_b, 0xA606);
    EXPECT_EQ(+r.servo_state, 7);
    EXPECT_EQ(+r.frame_yaw, 12345);
    EXPECT_EQ(+r.frame_pitch, -1234);
    EXPECT_EQ(+r.frame_roll, -10);
    EXPECT_EQ(+r.load_version, 0x23);
    EXPECT_EQ(+r.ir_fov, 250);
    EXPECT_EQ(+r.tf_free_percent, 75);
    EXPECT_EQ(+r.vl_fov, 350);
    EXPECT_EQ(+r.tf_capacity, 640);
    EXPECT_EQ(+r.ir_focal_length, 750);
    EXPECT_EQ(+r.vl_focal_length, 300);
    EXPECT_EQ(+r.laser_distance, 12345);
    EXPECT_EQ(+r.target_longitude, 1145000000);
    EXPECT_EQ(+r.target_latitude, 302500000);
    EXPECT_EQ(+r.target_altitude, -5);
    EXPECT_EQ(+r.driver_temperature, 355);
    EXPECT_EQ(+r.attitude_yaw, 10000);
    EXPECT_EQ(+r.attitude_pitch, -1);
    EXPECT_EQ(+r.attitude_roll, 5);
    EXPECT_EQ(+r.display_mode, 3);
    EXPECT_EQ(+r.command_feedback, 69);
    EXPECT_EQ(+r.attitude_guidance_feedback, 18);
    EXPECT_EQ(+r.track_x, -128);
    EXPECT_EQ(+r.track_y, 64);
    EXPECT_EQ(+r.target_width, 32);
    EXPECT_EQ(+r.target_height, 33);
    EXPECT_EQ(+r.target_type, 11);
    EXPECT_EQ(+r.track_state, 1);
    EXPECT_EQ(+r.max_temperature, -15);
}

TEST(TelemetryRecord, ReadsTheSameAtEveryAlignment) {
    alignas(8) std::uint8_t room[80] = {};
    for (std::size_t shift = 0; shift < 8; ++shift) {
        std::memcpy(room + shift, recordWithIntegers().data(), kTelemetryRecordSize);
        const auto* record = reinterpret_cast<const TelemetryRecord*>(room + shift);
        EXPECT_EQ(+record->target_longitude, 1145000000);
        EXPECT_EQ(+record->max_temperature, -15);
    }
}

TEST(BitRange, TakesBothEnds) {
    EXPECT_EQ(bitRange(0x1952, 10, 13), 6U);
    EXPECT_EQ(bitRange(0xA606, 2, 8), 1U);
    EXPECT_EQ(bitRange(0xA606, 12, 15), 10U);
    EXPECT_EQ(bitRange(0xFFFF, 5, 5), 1U);
    EXPECT_EQ(bitRange(0xDEADBEEF, 0, 31), 0xDEADBEEFU);
    EXPECT_EQ(bitRange(0x80000000, 31, 31), 1U);
}

// At compile time and at run time: a shift by the whole width is undefined, and a compiler may hide it.
TEST(BitRange, OfAllBitsIsTheValueHoweverItIsComputed) {
    static_assert(bitRange(0xDEADBEEF, 0, 31) == 0xDEADBEEF);
    const volatile int high = 31;
    EXPECT_EQ(bitRange(0xDEADBEEF, 0, high), 0xDEADBEEFU);
    EXPECT_EQ(bitRange(0xDEADBEEF, 1, high), 0x6F56DF77U);
}

TEST(BitRange, AnInvertedRangeReturnsTheValueUnchanged) { EXPECT_EQ(bitRange(0x1952, 8, 2), 0x1952U); }

TEST(RecordTexts, LoadTypeZeroAndAboveFiveAreInvalid) {
    EXPECT_STREQ(loadTypeText(0), "非法值");
    EXPECT_STREQ(loadTypeText(1), "白光");
    EXPECT_STREQ(loadTypeText(2), "红外");
    EXPECT_STREQ(loadTypeText(3), "双光");
    EXPECT_STREQ(loadTypeText(4), "三光");
    EXPECT_STREQ(loadTypeText(5), "四光");
    EXPECT_STREQ(loadTypeText(6), "非法值");
    EXPECT_STREQ(loadTypeText(255), "非法值");
}

TEST(RecordTexts, ServoStateFifteenShowsTheTextOfFourteen) {
    const char* const texts[] = {"待命",     "关伺服",       "手动",         "收藏",
                                 "数引",     "航向锁定",     "扫描",         "跟踪",
                                 "垂直下视", "陀螺自动较漂", "陀螺温度较漂", "航向随动",
                                 "归中",     "手动陀螺较漂", "姿态指引",     "姿态指引"};
    for (int value = 0; value < 16; ++value) {
        EXPECT_STREQ(servoStateText(value), texts[value]) << value;
    }
    EXPECT_EQ(servoStateText(16), nullptr);
    EXPECT_EQ(servoStateText(255), nullptr);
}

TEST(RecordTexts, DisplayModeSevenShowsDashes) {
    const char* const texts[] = {"红外",
                                 "可见光（广角）",
                                 "可见/红外上下分屏",
                                 "红外显示，可见光小窗口画中画",
                                 "可见光显示，红外小窗口画中画",
                                 "红外/可见光左右分屏",
                                 "可见光（长焦）"};
    for (int value = 0; value < 7; ++value) {
        EXPECT_STREQ(displayModeText(value), texts[value]) << value;
    }
    EXPECT_STREQ(displayModeText(7), "-----");
    EXPECT_STREQ(displayModeText(255), "-----");
}

TEST(RecordTexts, TrackStateFiveShowsTheTextOfFourAndSixNone) {
    const char* const texts[] = {"空闲状态", "稳定跟踪", "记忆跟踪", "目标丢失", "截获状态", "截获状态"};
    for (int value = 0; value < 6; ++value) {
        EXPECT_STREQ(trackStateText(value), texts[value]) << value;
    }
    EXPECT_EQ(trackStateText(6), nullptr);
    EXPECT_EQ(trackStateText(255), nullptr);
}

TEST(RecordTexts, GuidanceFeedbackEighteenNineteenAndOthers) {
    EXPECT_STREQ(guidanceText(18), "姿态指示中");
    EXPECT_STREQ(guidanceText(19), "姿态指示完成");
    for (const int value : {0, 17, 20, 255}) {
        EXPECT_STREQ(guidanceText(value), "-----");
    }
}

TEST(RecordTexts, VisibleZoomThreeHasNoText) {
    EXPECT_STREQ(visibleZoomText(0), "1x");
    EXPECT_STREQ(visibleZoomText(1), "2x");
    EXPECT_STREQ(visibleZoomText(2), "4x");
    EXPECT_EQ(visibleZoomText(3), nullptr);
}

TEST(RecordTexts, DisplayModesZeroAndThreeShowInfraredFirst) {
    for (int mode = 0; mode < 256; ++mode) {
        EXPECT_EQ(infraredShown(mode), mode == 0 || mode == 3);
    }
}

}  // namespace
}  // namespace sorvane
