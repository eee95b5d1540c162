#include "settings/device_page.h"

#include <QLineEdit>

#include "forms/settings_form.h"
#include "settings/reply_codes.h"

namespace {

struct AnswerRow {
    std::uint16_t code;
    unsigned char field;
    QLineEdit* SettingsForm::*edit;
};
constexpr AnswerRow kAnswers[] = {
    {kDeviceReply, 1, &SettingsForm::device_model},
    {kDeviceReply, 2, &SettingsForm::device_serial},
    {kDeviceReply, 3, &SettingsForm::device_address},
    {kVersionReply, 1, &SettingsForm::version_tracker},
    {kVersionReply, 2, &SettingsForm::version_image},
    {kVersionReply, 3, &SettingsForm::version_communication},
    {kVersionReply, 4, &SettingsForm::version_servo},
    {kVersionReply, 5, &SettingsForm::version_drive},
};

}  // namespace

void DevicePage::onReply(std::uint16_t code, const unsigned char* data, int size) {
    for (const AnswerRow& row : kAnswers) {
        if (row.code == code && size > 0 && row.field == data[0]) {
            // The field's number stays in front as an unprintable character: meant.
            (m_form.*row.edit)->setText(QString::fromLatin1(reinterpret_cast<const char*>(data), size));
        }
    }
}
