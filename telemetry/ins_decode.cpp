#include "telemetry/ins_decode.h"

#include "base/bytes.h"
#include "base/numbers.h"

namespace sorvane {

namespace {

struct Instant {
    std::int64_t year;
    int month, day, hour, minute, second, millisecond;
};

// Gregorian date of a day counted from 1970-01-01, in years that begin in March so that the leap day comes
// last (days_from_civil turned round; 146097 days are 400 years, 719468 days lie between 0000-03-01 and
// 1970-01-01).
void civilDate(std::int64_t days, Instant& out) {
    const std::int64_t shifted = days + 719468;
    const std::int64_t era = (shifted >= 0 ? shifted : shifted - 146096) / 146097;
    const std::int64_t day_of_era = shifted - era * 146097;
    const std::int64_t year_of_era =
        (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
    const std::int64_t day_of_year = day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
    const std::int64_t month_from_march = (5 * day_of_year + 2) / 153;
    out.day = static_cast<int>(day_of_year - (153 * month_from_march + 2) / 5 + 1);
    out.month = static_cast<int>(month_from_march < 10 ? month_from_march + 3 : month_from_march - 9);
    out.year = year_of_era + era * 400 + (out.month <= 2 ? 1 : 0);
}

// 1980-01-06 00:00:00 plus the week and the time within it; leap seconds take no part.
Instant instantOf(std::uint16_t gps_week, std::uint64_t time_of_week_us) {
    constexpr std::int64_t kEpochDays = 3657;  // 1970-01-01 to 1980-01-06
    constexpr std::int64_t kDayMs = 86400000;
    const auto ms = static_cast<std::int64_t>(time_of_week_us / 1000);
    Instant instant = {};
    civilDate(kEpochDays + 7 * std::int64_t{gps_week} + ms / kDayMs, instant);
    const auto of_day = static_cast<int>(ms % kDayMs);
    instant.hour = of_day / 3600000;
    instant.minute = of_day / 60000 % 60;
    instant.second = of_day / 1000 % 60;
    instant.millisecond = of_day % 1000;
    return instant;
}

std::int16_t centidegrees(const std::uint8_t* at) { return truncateToI16(loadF32(at) * 100.0F); }

// Metres per second to 0.1 km/h, step by step in single precision.
std::int16_t decikmh(const std::uint8_t* at) {
    return truncateToI16(loadF32(at) * 60.0F * 60.0F * 10.0F / 1000.0F);
}

}  // namespace

void decodeInsPayload(const std::uint8_t* payload, NavBlock& block) {
    constexpr int kUtcToBeijingHours = 8;
    const Instant instant = instantOf(loadU16(payload), loadU64(payload + 2));
    block.pitch = centidegrees(payload + 14);
    block.roll = centidegrees(payload + 18);
    block.heading = truncateToU16(loadF32(payload + 10) * 100.0F);
    block.year = static_cast<std::uint8_t>(instant.year - 2000);
    block.month = static_cast<std::uint8_t>(instant.month);
    block.day = static_cast<std::uint8_t>(instant.day);
    block.hour = static_cast<std::uint8_t>(instant.hour + kUtcToBeijingHours);
    block.minute = static_cast<std::uint8_t>(instant.minute);
    block.second = static_cast<std::uint8_t>(instant.second);
    block.hundredths = static_cast<std::uint8_t>(instant.millisecond / 10);
    block.longitude = loadI32(payload + 26);
    block.latitude = loadI32(payload + 22);
    block.satellites = static_cast<std::uint8_t>(payload[50] + payload[51]);
    block.altitude = truncateToI16(static_cast<float>(loadI32(payload + 30)) * 0.001F);
    block.north_speed = decikmh(payload + 38);
    block.east_speed = decikmh(payload + 34);
    block.ground_speed = decikmh(payload + 42);
}

AircraftFix insFix(const std::uint8_t* payload, const NavBlock& block) {
    AircraftFix fix;
    fix.longitude_deg = block.longitude / 1e7;
    fix.latitude_deg = block.latitude / 1e7;
    fix.altitude_m = block.altitude;
    fix.heading_deg = loadF32(payload + 10);
    return fix;
}

}  // namespace sorvane
