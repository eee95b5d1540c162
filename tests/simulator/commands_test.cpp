#include "simulator/wire/commands.h"

#include <gtest/gtest.h>

#include <set>

#include "tests/simulator/hex.h"

namespace podsim {
namespace {

struct Named {
    std::uint16_t code;
    const char* name;
};

// The whole catalogue.
constexpr Named kCatalogue[] = {
    {27, "CMD_GEO_GUIDE"},
    {28, "CMD_GEO_TRACK"},
    {32, "CMD_TIME_SYNC"},
    {33, "CMD_LOAD_ENABLE"},
    {34, "CMD_LOAD_SLEEP"},
    {35, "CMD_TRACK_TEMPLATE"},
    {36, "CMD_DUAL_SAME_FOV"},
    {37, "CMD_VIDEO_MODE"},
    {40, "CMD_WINDOW_DEFOG"},
    {41, "CMD_SET_IP"},
    {49, "CMD_VIDEO_SWITCH"},
    {50, "CMD_SNAPSHOT"},
    {51, "CMD_RECORD"},
    {53, "CMD_LASER_ILLUMINATOR"},
    {55, "CMD_OSD"},
    {58, "CMD_TRACK_POINT"},
    {59, "CMD_TRACK_STOP"},
    {61, "CMD_RANGE_SINGLE"},
    {62, "CMD_RANGE_CONTINUOUS"},
    {63, "CMD_RANGE_STOP"},
    {65, "CMD_VL_IMAGE"},
    {69, "CMD_VL_LENS"},
    {74, "CMD_FOG"},
    {75, "CMD_NIGHT_MODE"},
    {76, "CMD_VL_FOCAL_LENGTH"},
    {80, "CMD_IR_LENS"},
    {83, "CMD_IR_PALETTE"},
    {84, "CMD_IR_EZOOM"},
    {85, "CMD_IR_BACKGROUND_NUC"},
    {86, "CMD_IR_SHUTTER_NUC"},
    {87, "CMD_IR_DDE"},
    {88, "CMD_IR_DEFAULTS"},
    {89, "CMD_IR_BRIGHTNESS"},
    {90, "CMD_IR_CONTRAST"},
    {92, "CMD_IR_TEMP_ALARM"},
    {112, "CMD_SERVO_RATE"},
    {113, "CMD_SERVO_CENTRE"},
    {114, "CMD_DIGITAL_GUIDE"},
    {115, "CMD_LOOK_DOWN"},
    {116, "CMD_STOW"},
    {117, "CMD_SERVO_OFF"},
    {118, "CMD_GYRO_RATE"},
    {119, "CMD_SCAN_AZ"},
    {120, "CMD_SCAN_EL"},
    {121, "CMD_SCAN_RUN"},
    {122, "CMD_HEADING_LOCK"},
    {123, "CMD_HEADING_FOLLOW"},
    {124, "CMD_ATTITUDE_GUIDE"},
    {132, "CMD_LOCATE_MODE"},
    {144, "CMD_TRACK_STEP"},
    {145, "CMD_AI_BOX"},
    {147, "CMD_TRACK_BY_ID"},
    {149, "CMD_AUTO_TRACK"},
    {154, "CMD_AI_MODE"},
    {155, "CMD_AI_ROI"},
    {1026, "CMD_NAV_BLOCK"},
};
constexpr std::uint16_t kMaintenance[] = {17, 19, 25, 26, 54, 56, 57, 98, 12288};

TEST(Commands, EveryCodeOfTheCatalogueHasItsName) {
    for (const Named& each : kCatalogue) {
        EXPECT_STREQ(wireName(each.code), each.name);
    }
}

TEST(Commands, MaintenanceCodesHaveNames) {
    for (const std::uint16_t code : kMaintenance) {
        EXPECT_EQ(std::string(wireName(code)).substr(0, 4), "MNT_") << code;
    }
}

TEST(Commands, TableHoldsNothingElseAndIsSorted) {
    EXPECT_EQ(commandCount(), std::size(kCatalogue) + std::size(kMaintenance));
    std::set<std::string> names;
    for (std::size_t i = 0; i < commandCount(); ++i) {
        if (i > 0) {
            EXPECT_LT(commandTable()[i - 1].code, commandTable()[i].code);
        }
        EXPECT_TRUE(names.insert(commandTable()[i].name).second) << commandTable()[i].name;
    }
}

TEST(Commands, UnknownCode) {
    EXPECT_EQ(findCommand(999), nullptr);
    EXPECT_STREQ(wireName(999), "UNKNOWN");
    const std::uint8_t payload[] = {7};
    EXPECT_EQ(describePayload(999, payload, 1), "p1=7");
}

std::string described(std::uint16_t code, const char* hex) {
    const auto bytes = bytesOf(hex);
    return describePayload(code, bytes.data(), bytes.size());
}

TEST(Commands, PayloadsInWords) {
    EXPECT_EQ(described(69, "03 07 00 00"), "p1=3 p2=7 p3=0 p4=0");
    EXPECT_EQ(described(58, "88 FF 2D 00"), "a=-120 b=45");
    EXPECT_EQ(described(114, "9C FF 88 13"), "azimuth_deg=-1.00 pitch_deg=50.00");
    EXPECT_EQ(described(27, "40 50 3F 44 A0 C8 07 12 D2 04 00 00"),
              "longitude_deg=114.5000000 latitude_deg=30.2500000 altitude_m=123.4");
    EXPECT_EQ(described(32, "EA 07 06 0F 08 1E 3B 63 00"), "time=2026-06-15T08:30:59.99");
    EXPECT_EQ(described(59, "00 00 00 00"), "");
    EXPECT_EQ(described(12288, "01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E"),
              "p1=1 p2=2 p3=3 p4=4 p5=5 p6=6 p7=7 p8=8 p9=9 p10=10 p11=11 p12=12 more=2");
}

TEST(Commands, ShortPayloadsAreToldAsBytes) {
    for (const Named& each : kCatalogue) {
        for (std::size_t n = 0; n < 30; ++n) {
            const std::vector<std::uint8_t> bytes(n, 0x41);
            const std::string text = describePayload(each.code, bytes.data(), n);
            EXPECT_EQ(text.find('\n'), std::string::npos);
        }
    }
    EXPECT_EQ(described(58, "88 FF"), "p1=136 p2=255");
}

TEST(Commands, Hex) {
    const std::uint8_t bytes[] = {0xFB, 0x2C, 0x00, 0x9A};
    EXPECT_EQ(toHex(bytes, 4), "FB2C009A");
    EXPECT_EQ(toHex(bytes, 0), "");
}

}  // namespace
}  // namespace podsim
