// The aircraft's data as the operator types it.
#include "app/korvath.h"
#include "base/numbers.h"
#include "ui_telemetry_info.h"

namespace {

constexpr float kHundredths = 100.0F;  // angles, per degree
constexpr float kTenths = 10.0F;       // speeds, per km/h
constexpr double kPosition = 1e7;      // per degree

}  // namespace

// Takes all fields but the time; nothing is sent by this. Text that is not a number becomes 0.
void Korvath::on_btn_setting_telemetry_info() {
    const Ui::telemetry_info& form = *ui_telemetry_info;
    const auto scaled = [](const QLineEdit* edit, float scale) {
        return static_cast<double>(edit->text().toFloat() * scale);
    };
    const auto position = [](const QLineEdit* edit) {
        return sorvane::truncateToI32(edit->text().toDouble() * kPosition);
    };
    m_navBlock.pitch = sorvane::truncateToI16(scaled(form.lineEdit, kHundredths));
    m_navBlock.roll = sorvane::truncateToI16(scaled(form.lineEdit_2, kHundredths));
    m_navBlock.heading = sorvane::truncateToU16(scaled(form.lineEdit_3, kHundredths));
    m_navBlock.altitude = static_cast<std::int16_t>(form.lineEdit_4->text().toInt());
    m_navBlock.longitude = position(form.lineEdit_5);
    m_navBlock.latitude = position(form.lineEdit_6);
    m_navBlock.east_speed = sorvane::truncateToI16(scaled(form.lineEdit_7, kTenths));
    m_navBlock.ground_speed = sorvane::truncateToI16(scaled(form.lineEdit_8, kTenths));
    m_navBlock.north_speed = sorvane::truncateToI16(scaled(form.lineEdit_9, kTenths));
    m_navBlock.satellites = static_cast<std::uint8_t>(form.lineEdit_10->text().toInt());
}
