#include "settings/requests.h"

#include <iterator>

#include "forms/settings_form.h"

namespace {

constexpr std::uint16_t kConfiguration = 54;
constexpr std::uint16_t kAsk = 56;
constexpr std::uint16_t kMode = 57;
// What is asked for.
constexpr std::uint8_t kVersions = 0, kDevice = 1, kDisplay = 3;
// What becomes of the configuration, and whose.
constexpr std::uint8_t kFactoryState = 1;
constexpr std::uint8_t kWholePod = 0;
constexpr std::uint8_t kRestart = 9;

constexpr RequestRow alone(QPushButton* SettingsForm::*button, std::uint16_t code, std::uint8_t what) {
    return {button, code, {what}, 1, RequestRow::Way::kAlone};
}

constexpr RequestRow kRequests[] = {
    alone(&SettingsForm::device_read, kAsk, kDevice),
    alone(&SettingsForm::versions_read, kAsk, kVersions),
    alone(&SettingsForm::osd_read, kAsk, kDisplay),
    {&SettingsForm::factory_state, kConfiguration, {kFactoryState, kWholePod}, 2, RequestRow::Way::kByMode},
    {&SettingsForm::restart, kMode, {kRestart}, 1, RequestRow::Way::kByMode},
};

}  // namespace

RequestView requests() { return {kRequests, static_cast<int>(std::size(kRequests))}; }
