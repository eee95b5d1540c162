// The tables of the stick: what rows mean, how many there are, what a deflection asks for.
#include "input/stick_mapping.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace sorvane {
namespace {

using Action = ButtonFunction::Action;

TEST(ButtonFunctions, InOrderWithTheirCodes) {
    const std::vector<std::tuple<std::string, Action, int>> expected = {
        {"未指定", Action::kNone, 0},        {"归中", Action::kCommand, 113},
        {"收藏", Action::kCommand, 116},     {"拍照", Action::kCommand, 50},
        {"录像", Action::kCommand, 51},      {"视频切换", Action::kCommand, 49},
        {"垂直下视", Action::kCommand, 115}, {"跟踪", Action::kTrack, 0},
        {"激光测距", Action::kCommand, 61},  {"变倍+", Action::kZoomIn, 0},
        {"变倍-", Action::kZoomOut, 0},      {"OSD", Action::kOsdNext, 0},
    };
    ASSERT_EQ(kButtonFunctionTable.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(kButtonFunctionTable[i].name, std::get<0>(expected[i]));
        EXPECT_EQ(kButtonFunctionTable[i].action, std::get<1>(expected[i])) << i;
        EXPECT_EQ(kButtonFunctionTable[i].code, std::get<2>(expected[i])) << i;
    }
}

TEST(AxisRoles, InOrder) {
    ASSERT_EQ(kAxisRoleNames.size(), 3U);
    EXPECT_STREQ(kAxisRoleNames[0], "未指定");
    EXPECT_STREQ(kAxisRoleNames[1], "方位角");
    EXPECT_STREQ(kAxisRoleNames[2], "俯仰角");
}

TEST(StoredRows, AValueOutsideTheTableIsRowNought) {
    for (const int beyond : {-1, 12, 100, std::numeric_limits<int>::min()}) {
        EXPECT_EQ(functionRow(beyond), 0U) << beyond;
        EXPECT_EQ(roleRow(beyond), 0U) << beyond;
    }
    EXPECT_EQ(functionRow(11), 11U);
    EXPECT_EQ(roleRow(2), 2U);
    EXPECT_EQ(roleRow(3), 0U);
}

TEST(StoredRows, AListGrowsWithZerosWhenARowBeyondItIsSet) {
    std::vector<int> list = {7};
    EXPECT_EQ(storedAt(list, 0), 7);
    EXPECT_EQ(storedAt(list, 1), 0);
    EXPECT_EQ(storedAt(list, -1), 0);
    storeAt(list, 3, 9);
    EXPECT_EQ(list, (std::vector<int>{7, 0, 0, 9}));
    storeAt(list, 0, 1);
    EXPECT_EQ(list, (std::vector<int>{1, 0, 0, 9}));
    storeAt(list, -1, 5);
    EXPECT_EQ(list.size(), 4U);
}

TEST(PageRows, HalfInEitherColumnAndNoMoreThanThereAre) {
    const auto columns = [](int count) {
        const Columns c = columnsOf(count, kButtonRowsAColumn);
        return std::make_pair(c.first, c.second);
    };
    EXPECT_EQ(columns(0), std::make_pair(0, 0));
    EXPECT_EQ(columns(1), std::make_pair(0, 1));
    EXPECT_EQ(columns(12), std::make_pair(6, 6));
    EXPECT_EQ(columns(13), std::make_pair(6, 7));
    EXPECT_EQ(columns(26), std::make_pair(13, 13));
    EXPECT_EQ(columns(27), std::make_pair(13, 13));
    EXPECT_EQ(columns(32), std::make_pair(13, 13));
    EXPECT_EQ(columns(-4), std::make_pair(0, 0));
    EXPECT_EQ(columnsOf(5, kAxisRowsAColumn).rows(), 5);
    EXPECT_EQ(columnsOf(5, kAxisRowsAColumn).first, 2);
    EXPECT_EQ(columnsOf(6, kAxisRowsAColumn).rows(), 6);
}

TEST(AxisLetters, XAndYOnlyWithBothBitsOfTheHat) {
    EXPECT_EQ(axisLetters(0x3F), "XYZRUV");
    EXPECT_EQ(axisLetters(0x30), "XY");
    EXPECT_EQ(axisLetters(0x70), "XY");
    EXPECT_EQ(axisLetters(0x10), "");
    EXPECT_EQ(axisLetters(0x20), "");
    EXPECT_EQ(axisLetters(0x1F), "ZRUV");
    EXPECT_EQ(axisLetters(0x2F), "ZRUV");
    EXPECT_EQ(axisLetters(0), "");
}

TEST(AxisLetters, TheFurtherOnesAreMasksInOrder) {
    EXPECT_EQ(axisLetters(1), "Z");
    EXPECT_EQ(axisLetters(2), "R");
    EXPECT_EQ(axisLetters(3), "ZR");
    EXPECT_EQ(axisLetters(4), "U");
    EXPECT_EQ(axisLetters(8), "V");
    EXPECT_EQ(axisLetters(0x39), "XYZV");
    EXPECT_EQ(axisLetter(0), 'X');
    EXPECT_EQ(axisLetter(3), 'R');
    EXPECT_EQ(axisLetter(5), 'V');
    EXPECT_EQ(axisLetter(6), '\0');
    EXPECT_EQ(axisLetter(-1), '\0');
}

ServoRate azimuth(float offset, float speed, bool reverse = false) {
    return servoRate(AxisRole::kAzimuth, offset, reverse, false, speed);
}

TEST(ServoRates, OneComponentByRoleTheOtherNought) {
    const ServoRate az = servoRate(AxisRole::kAzimuth, 1.0F, false, false, 25.0F);
    EXPECT_EQ(az.x, 25);
    EXPECT_EQ(az.y, 0);
    const ServoRate el = servoRate(AxisRole::kPitch, 0.0F, false, false, 25.0F);
    EXPECT_EQ(el.x, 0);
    EXPECT_EQ(el.y, -25);
    EXPECT_TRUE(servoRate(AxisRole::kNone, 1.0F, false, false, 25.0F).zero());
}

TEST(ServoRates, TruncatedTowardNought) {
    // 0.75 is half way out: 12.5.
    EXPECT_EQ(azimuth(0.75F, 25.0F).x, 12);
    EXPECT_EQ(azimuth(0.25F, 25.0F).x, -12);
    EXPECT_EQ(azimuth(0.5F, 25.0F).x, 0);
    EXPECT_EQ(azimuth(0.519F, 25.0F).x, 0);
    EXPECT_EQ(azimuth(0.481F, 25.0F).x, 0);
}

TEST(ServoRates, EachReversalConcernsItsOwnRole) {
    EXPECT_EQ(servoRate(AxisRole::kAzimuth, 1.0F, true, false, 25.0F).x, -25);
    EXPECT_EQ(servoRate(AxisRole::kAzimuth, 1.0F, false, true, 25.0F).x, 25);
    EXPECT_EQ(servoRate(AxisRole::kPitch, 1.0F, true, false, 25.0F).y, 25);
    EXPECT_EQ(servoRate(AxisRole::kPitch, 1.0F, false, true, 25.0F).y, -25);
}

TEST(ServoRates, SensitivityGivesTheSpeed) {
    StickSettings settings;
    settings.sensitivity = 0.5F;
    EXPECT_EQ(settings.speed(), 25.0F);
    settings.sensitivity = 1.0F;
    EXPECT_EQ(azimuth(1.0F, settings.speed()).x, 50);
    EXPECT_EQ(azimuth(0.0F, settings.speed()).x, -50);
    settings.sensitivity = 0.0F;
    EXPECT_TRUE(azimuth(1.0F, settings.speed()).zero());
}

TEST(ServoRates, WhatIsNoNumberIsNought) {
    const float infinite = std::numeric_limits<float>::infinity();
    EXPECT_TRUE(azimuth(infinite, 25.0F).zero());
    EXPECT_TRUE(azimuth(infinite, 0.0F).zero());
    EXPECT_TRUE(azimuth(std::nanf(""), 25.0F, true).zero());
}

}  // namespace
}  // namespace sorvane
