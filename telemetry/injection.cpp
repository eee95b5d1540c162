#include "telemetry/injection.h"

#include "base/numbers.h"
#include "forms/telemetry_form.h"

namespace {

constexpr float kHundredths = 100.0F;  // angles, per degree
constexpr float kTenths = 10.0F;       // speeds, per km/h
constexpr double kPosition = 1e7;      // per degree

double scaled(const QLineEdit* edit, float scale) {
    return static_cast<double>(edit->text().toFloat() * scale);
}

std::int32_t position(const QLineEdit* edit) {
    return sorvane::truncateToI32(edit->text().toDouble() * kPosition);
}

}  // namespace

void takeTypedData(const TelemetryForm& form, sorvane::NavBlock& nav) {
    nav.pitch = sorvane::truncateToI16(scaled(form.pitch, kHundredths));
    nav.roll = sorvane::truncateToI16(scaled(form.roll, kHundredths));
    nav.heading = sorvane::truncateToU16(scaled(form.heading, kHundredths));
    nav.altitude = static_cast<std::int16_t>(form.altitude->text().toInt());
    nav.longitude = position(form.longitude);
    nav.latitude = position(form.latitude);
    nav.east_speed = sorvane::truncateToI16(scaled(form.east_speed, kTenths));
    nav.ground_speed = sorvane::truncateToI16(scaled(form.ground_speed, kTenths));
    nav.north_speed = sorvane::truncateToI16(scaled(form.north_speed, kTenths));
    nav.satellites = static_cast<std::uint8_t>(form.satellites->text().toInt());
}
