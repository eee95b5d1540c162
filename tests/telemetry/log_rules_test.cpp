#include "telemetry/log_rules.h"

#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cstring>
#include <string>

namespace sorvane {
namespace {

const CalendarTime kMorning = {2026, 3, 9, 7, 5, 2, 40};

TelemetryRecord numbered() {
    TelemetryRecord record;
    auto* bytes = reinterpret_cast<unsigned char*>(&record);
    for (std::size_t i = 0; i < kTelemetryRecordSize; ++i) {
        bytes[i] = static_cast<unsigned char>(i * 5);
    }
    return record;
}

TelemetryRecord angles() {
    TelemetryRecord record;
    record.frame_yaw = 12345;
    record.frame_pitch = -1234;
    record.frame_roll = -5;
    record.attitude_yaw = 32767;
    record.attitude_pitch = -32768;
    record.attitude_roll = 100;
    record.track_x = -128;
    record.track_y = 64;
    return record;
}

TEST(LogNames, TheDayGoesBehindTheRootWithOneSlash) {
    EXPECT_EQ(telemetryLogDirectory("/data/telem", kMorning), "/data/telem/20260309");
    EXPECT_EQ(telemetryLogDirectory("/data/telem/", kMorning), "/data/telem/20260309");
    EXPECT_EQ(telemetryLogDirectory("C:\\telem\\", kMorning), "C:\\telem\\20260309");
    EXPECT_EQ(telemetryLogDirectory("", kMorning), "/20260309");
}

TEST(LogNames, FilesAreNamedByTheTimeOfDay) {
    EXPECT_EQ(rawLogName(kMorning), "070502.dat");
    EXPECT_EQ(tableLogName(kMorning), "070502_params.csv");
    EXPECT_EQ(rawLogName({2026, 12, 31, 23, 59, 59, 999}), "235959.dat");
}

TEST(RawRow, HoldsTheTimeTheCountAndEveryByte) {
    EXPECT_EQ(rawLogRow(numbered(), kMorning),
              "2026 03 09 07:05:02.040(60): "
              "00 05 0a 0f 14 19 1e 23 28 2d 32 37 3c 41 46 4b 50 55 5a 5f "
              "64 69 6e 73 78 7d 82 87 8c 91 96 9b a0 a5 aa af b4 b9 be c3 "
              "c8 cd d2 d7 dc e1 e6 eb f0 f5 fa ff 04 09 0e 13 18 1d 22 27 \r\n");
}

TEST(TableHeading, IsGb2312WithAnEmptyColumnBeforeTheSecondAndThirdGroup) {
    const std::string lead = "\xd0\xf2\xba\xc5,\xca\xb1\xbc\xe4";
    const std::string frame =
        ", \xbf\xf2\xbc\xdc\xb7\xbd\xce\xbb\xbd\xc7, \xbf\xf2\xbc\xdc\xb8\xa9\xd1\xf6\xbd\xc7"
        ", \xbf\xf2\xbc\xdc\xba\xe1\xb9\xf6\xbd\xc7";
    const std::string attitude =
        ", ,\xd7\xcb\xcc\xac\xb7\xbd\xce\xbb\xbd\xc7, \xd7\xcb\xcc\xac\xb8\xa9\xd1\xf6\xbd\xc7"
        ", \xd7\xcb\xcc\xac\xba\xe1\xb9\xf6\xbd\xc7";
    const std::string deviation =
        ", ,\xb8\xfa\xd7\xd9\xbf\xed\xc6\xab\xb2\xee, \xb8\xfa\xd7\xd9\xb8\xdf\xc6\xab\xb2\xee";
    EXPECT_EQ(tableLogHeading(15), lead + frame + attitude + deviation + "\r\n");
    EXPECT_EQ(tableLogHeading(14), tableLogHeading(15));
    EXPECT_EQ(tableLogHeading(2), lead + frame + "\r\n");
    EXPECT_EQ(tableLogHeading(4), lead + attitude + "\r\n");
    EXPECT_EQ(tableLogHeading(8), lead + deviation + "\r\n");
    EXPECT_EQ(tableLogHeading(10), lead + frame + deviation + "\r\n");
    EXPECT_EQ(tableLogHeading(0), lead + "\r\n");
}

TEST(TableRow, HoldsTheGroupsThatTheOptionNames) {
    const std::string lead = "7, 2026 03 09 07:05:02.040";
    const std::string frame = ",123.45,-12.34,-0.05";
    const std::string attitude = ", ,327.67,-327.68,1.00";
    const std::string deviation = ", ,-128,64";
    EXPECT_EQ(tableLogRow(7, angles(), 15, kMorning), lead + frame + attitude + deviation + "\r\n");
    EXPECT_EQ(tableLogRow(7, angles(), 2, kMorning), lead + frame + "\r\n");
    EXPECT_EQ(tableLogRow(7, angles(), 4, kMorning), lead + attitude + "\r\n");
    EXPECT_EQ(tableLogRow(7, angles(), 8, kMorning), lead + deviation + "\r\n");
    EXPECT_EQ(tableLogRow(7, angles(), 12, kMorning), lead + attitude + deviation + "\r\n");
    EXPECT_EQ(tableLogRow(7, angles(), 1, kMorning), lead + "\r\n");
}

TEST(TableRow, EveryFieldPrintsAsItsHundredth) {
    for (int value = -32768; value <= 32767; ++value) {
        TelemetryRecord record;
        record.frame_yaw = static_cast<std::int16_t>(value);
        char expected[64];
        std::snprintf(expected, sizeof expected, "1, 2026 03 09 07:05:02.040,%.2f,0.00,0.00\r\n",
                      value / 100.0);
        ASSERT_EQ(tableLogRow(1, record, kLogFrameAngles, kMorning), expected) << value;
    }
}

// The toolkit takes the system's locale over at its start.
TEST(TableRow, ALocaleWithADecimalCommaChangesNothing) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    const std::string row = tableLogRow(1, angles(), 15, kMorning);
    for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8", "ru_RU.UTF-8"}) {
        std::setlocale(LC_ALL, name);
        EXPECT_EQ(tableLogRow(1, angles(), 15, kMorning), row) << name;
    }
    std::setlocale(LC_ALL, before.c_str());
}

TEST(LogRotation, IsTheIntervalWithinWhatATimerCanRun) {
    EXPECT_EQ(logRotationMs(1), 60000);
    EXPECT_EQ(logRotationMs(10), 600000);
    EXPECT_EQ(logRotationMs(30), 1800000);
    for (const int none : {0, -1, -30, INT_MIN}) {
        EXPECT_EQ(logRotationMs(none), 60000) << none;
    }
    for (const int huge : {INT_MAX / 60000, INT_MAX / 60000 + 1, 1000000, INT_MAX}) {
        EXPECT_EQ(logRotationMs(huge), INT_MAX / 60000 * 60000) << huge;
    }
}

}  // namespace
}  // namespace sorvane
