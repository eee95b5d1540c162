#include "telemetry/ins_decode.h"

#include <gtest/gtest.h>

#include <limits>

#include "base/bytes.h"
#include "tests/telemetry/frames_by_hand.h"

namespace sorvane {
namespace {

NavBlock decode(const Bytes& payload) {
    NavBlock block;
    decodeInsPayload(payload.data(), block);
    return block;
}

NavBlock decodeAt(std::uint16_t week, std::uint64_t time_us) {
    Bytes payload = insPayload();
    storeU16(&payload[0], week);
    storeU64(&payload[2], time_us);
    return decode(payload);
}

NavBlock decodeFloat(std::size_t offset, float value) {
    Bytes payload = insPayload();
    storeF32(&payload[offset], value);
    return decode(payload);
}

TEST(InsDecode, GoldenPayload) {
    const NavBlock b = decode(insPayload());
    EXPECT_EQ(+b.pitch, -1050);
    EXPECT_EQ(+b.roll, 225);
    EXPECT_EQ(+b.heading, 35850);
    EXPECT_EQ(+b.year, 25);
    EXPECT_EQ(+b.month, 11);
    EXPECT_EQ(+b.day, 20);
    EXPECT_EQ(+b.hour, 20);
    EXPECT_EQ(+b.minute, 0);
    EXPECT_EQ(+b.second, 5);
    EXPECT_EQ(+b.hundredths, 67);
    EXPECT_EQ(+b.longitude, 1145000000);
    EXPECT_EQ(+b.latitude, 302500000);
    EXPECT_EQ(+b.satellites, 12);
    EXPECT_EQ(+b.altitude, 123);
    EXPECT_EQ(+b.north_speed, -90);
    EXPECT_EQ(+b.east_speed, 54);
    EXPECT_EQ(+b.ground_speed, 108);
}

TEST(InsDecode, FixKeepsTheRawHeading) {
    const NavBlock block = decode(insPayload());
    const AircraftFix fix = insFix(insPayload().data(), block);
    EXPECT_DOUBLE_EQ(fix.longitude_deg, 114.5);
    EXPECT_DOUBLE_EQ(fix.latitude_deg, 30.25);
    EXPECT_DOUBLE_EQ(fix.altitude_m, 123.0);
    EXPECT_DOUBLE_EQ(fix.heading_deg, 358.5);
}

TEST(InsDecode, HoursRunTo31WithoutCarryIntoTheDay) {
    constexpr std::uint64_t kHour = 3600000000U;
    for (std::uint64_t hour = 0; hour < 24; ++hour) {
        const NavBlock b = decodeAt(2393, hour * kHour);
        EXPECT_EQ(+b.hour, static_cast<int>(hour) + 8);
        EXPECT_EQ(+b.day, 16);
    }
}

TEST(InsDecode, DatesAcrossMonthsLeapDaysAndCenturies) {
    constexpr std::uint64_t kDay = 86400000000U;
    const auto date = [](const NavBlock& b) { return Bytes{b.year, b.month, b.day}; };
    // Years count from 2000 and keep their low eight bits.
    EXPECT_EQ(date(decodeAt(0, 0)), (Bytes{static_cast<std::uint8_t>(-20), 1, 6}));
    EXPECT_EQ(date(decodeAt(1042, 6 * kDay)), (Bytes{0, 1, 1}));   // 1999-12-26 plus 6 days
    EXPECT_EQ(date(decodeAt(1051, 2 * kDay)), (Bytes{0, 2, 29}));  // 2000-02-27 plus 2
    EXPECT_EQ(date(decodeAt(1051, 3 * kDay)), (Bytes{0, 3, 1}));
    EXPECT_EQ(date(decodeAt(2303, 4 * kDay)), (Bytes{24, 2, 29}));  // 2024-02-25 plus 4
    EXPECT_EQ(date(decodeAt(2399, 4 * kDay)), (Bytes{26, 1, 1}));   // 2025-12-28 plus 4
    EXPECT_EQ(date(decodeAt(6269, 1 * kDay)), (Bytes{100, 3, 1}));  // 2100-02-28 plus 1: no leap year
}

TEST(InsDecode, TheTimeOfWeekMayRunOverTheWeek) {
    constexpr std::uint64_t kWeek = 7 * 86400000000U;
    const NavBlock one = decodeAt(2394, 0);
    const NavBlock other = decodeAt(2393, kWeek);
    EXPECT_EQ(+one.day, +other.day);
    EXPECT_EQ(+one.month, +other.month);
    // The largest value is a date far away, and harmless.
    decodeAt(65535, std::numeric_limits<std::uint64_t>::max());
}

TEST(InsDecode, ProductsAreSinglePrecision) {
    // 0.29F * 100F rounds to 29 in single precision; in double it would be 28.99999... and truncate to 28.
    EXPECT_EQ(+decodeFloat(14, 0.29F).pitch, 29);
    EXPECT_EQ(+decodeFloat(10, 0.29F).heading, 29);
    EXPECT_EQ(+decodeFloat(18, -0.29F).roll, -29);
}

TEST(InsDecode, ValuesTruncateTowardZero) {
    EXPECT_EQ(+decodeFloat(14, 1.999F).pitch, 199);
    EXPECT_EQ(+decodeFloat(14, -1.999F).pitch, -199);
    EXPECT_EQ(+decodeFloat(34, -0.02F).east_speed, 0);
    Bytes payload = insPayload();
    storeI32(&payload[30], -1999);
    EXPECT_EQ(+decode(payload).altitude, -1);
}

TEST(InsDecode, ValuesBeyondTheFieldKeepTheirLowBits) {
    EXPECT_EQ(+decodeFloat(14, 400.0F).pitch, static_cast<std::int16_t>(40000 - 65536));
    EXPECT_EQ(+decodeFloat(10, -1.0F).heading, 65436);
    EXPECT_EQ(+decodeFloat(10, 700.0F).heading, 70000 - 65536);
    for (const float odd :
         {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), 1e30F}) {
        EXPECT_EQ(+decodeFloat(14, odd).pitch, 0);
        EXPECT_EQ(+decodeFloat(42, odd).ground_speed, 0);
    }
    Bytes payload = insPayload();
    payload[50] = 200;
    payload[51] = 100;
    EXPECT_EQ(+decode(payload).satellites, 300 - 256);
}

}  // namespace
}  // namespace sorvane
