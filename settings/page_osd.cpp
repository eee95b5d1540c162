// The page of the pod's on-screen display.
#include <QComboBox>

#include "app/korvath.h"
#include "link/command_codes.h"
#include "link/osd_words.h"
#include "settings/player_settings_dlg.h"
#include "ui_settings.h"

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

// The page's own buttons go through the window's catalogue; this is for a change of language.
void PlayerSettingsDlg::sendOsdStyle() {
    constexpr std::uint8_t kStyleForm = 4;
    const std::uint32_t word =
        sorvane::osdStyleWord(ui->comboBox_12->currentIndex(), ui->comboBox_13->currentIndex());
    m_window->sendCommand4(sorvane::CMD_OSD, kStyleForm, static_cast<std::uint8_t>(word),
                           static_cast<std::uint8_t>(word >> 8), static_cast<std::uint8_t>(word >> 16));
}
