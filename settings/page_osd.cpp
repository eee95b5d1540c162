// The page of the pod's on-screen display.
#include <QAbstractButton>
#include <QComboBox>

#include "app/korvath.h"
#include "link/command_catalogue.h"
#include "settings/osd_words.h"
#include "settings/player_settings_dlg.h"
#include "ui_settings.h"
#include "widgets/switch_control.h"

namespace {

constexpr std::array<const char*, 3> kColours = {QT_TRANSLATE_NOOP("PlayerSettingsDlg", "白色"),
                                                 QT_TRANSLATE_NOOP("PlayerSettingsDlg", "绿色"),
                                                 QT_TRANSLATE_NOOP("PlayerSettingsDlg", "黄色")};
constexpr std::array<const char*, 2> kLanguages = {QT_TRANSLATE_NOOP("PlayerSettingsDlg", "中文"),
                                                   QT_TRANSLATE_NOOP("PlayerSettingsDlg", "英文")};
constexpr int kStartColour = 1;

}  // namespace

void PlayerSettingsDlg::loadOsdPage() {
    ui->comboBox_12->clear();
    for (std::size_t i = 0; i < kColours.size(); ++i) {
        ui->comboBox_12->addItem(QString());
    }
    ui->comboBox_13->clear();
    for (std::size_t i = 0; i < kLanguages.size(); ++i) {
        ui->comboBox_13->addItem(QString());
    }
    ui->comboBox_12->setCurrentIndex(kStartColour);
    ui->radioButton->setChecked(true);
    ui->radioButton_4->setChecked(true);
}

void PlayerSettingsDlg::retranslateOsdPage() {
    for (std::size_t i = 0; i < kColours.size(); ++i) {
        ui->comboBox_12->setItemText(static_cast<int>(i), tr(kColours[i]));
    }
    for (std::size_t i = 0; i < kLanguages.size(); ++i) {
        ui->comboBox_13->setItemText(static_cast<int>(i), tr(kLanguages[i]));
    }
}

void PlayerSettingsDlg::runCommandButton(const QString& name) {
    if (name == QLatin1String("pushButton_13")) {
        sendOsdItems(false);
    } else if (name == QLatin1String("pushButton_14")) {
        sendOsdStyle();
    } else if (name == QLatin1String("pushButton_15")) {
        sendOsdItems(true);
    }
}

void PlayerSettingsDlg::sendOsdItems(bool save) {
    const auto isOn = [this](const char* name) {
        const auto* widget = ui->page_osd->findChild<QWidget*>(QLatin1String(name));
        if (const auto* button = qobject_cast<const QAbstractButton*>(widget)) {
            return button->isChecked();
        }
        const auto* toggle = qobject_cast<const SwitchControl*>(widget);
        return toggle != nullptr && toggle->isToggled();
    };
    sendOsdWord(sorvane::kOsdItemsForm, sorvane::osdWord(isOn, save));
}

void PlayerSettingsDlg::sendOsdStyle() {
    sendOsdWord(sorvane::kOsdStyleForm,
                sorvane::osdStyleWord(ui->comboBox_12->currentIndex(), ui->comboBox_13->currentIndex()));
}

void PlayerSettingsDlg::sendOsdWord(std::uint8_t form, std::uint32_t word) {
    m_window->sendCommand4(sorvane::CMD_OSD, form, static_cast<std::uint8_t>(word),
                           static_cast<std::uint8_t>(word >> 8), static_cast<std::uint8_t>(word >> 16));
}
