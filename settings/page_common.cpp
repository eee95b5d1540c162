// The page of general settings.
#include <QComboBox>

#include "app/config/my_app_config.h"
#include "app/korvath.h"
#include "settings/decoder_choice.h"
#include "settings/player_settings_dlg.h"
#include "tavrik/tavrik.h"
#include "ui_settings.h"

namespace {

// By the bit of list_decoders.
constexpr std::array<const char*, 3> kDecoders = {QT_TRANSLATE_NOOP("PlayerSettingsDlg", "软解码"),
                                                  QT_TRANSLATE_NOOP("PlayerSettingsDlg", "CUDA解码"),
                                                  QT_TRANSLATE_NOOP("PlayerSettingsDlg", "QSV解码")};

}  // namespace

void PlayerSettingsDlg::loadCommonPage() {
    for (const int decoder : sorvane::decoderItems(tavrik::list_decoders())) {
        ui->cbb_decMethod->addItem(QString(), decoder);
    }
    ui->comboBox_48->clear();
    ui->comboBox_48->addItems({QStringLiteral("H.264"), QStringLiteral("H.265")});
    ui->cbb_decMethod->setCurrentIndex(
        sorvane::decoderRow(m_config->decode_method, ui->cbb_decMethod->count()));

    while (ui->cbb_selLang->count() < 2) {
        ui->cbb_selLang->addItem(QString());
    }
    while (ui->cbb_selTheme->count() < 2) {
        ui->cbb_selTheme->addItem(QString());
    }
    ui->cbb_selLang->setCurrentIndex(m_config->language);
    ui->cbb_selTheme->setCurrentIndex(m_config->theme);
    const std::array<QRadioButton*, 4> views = {ui->rbtn_videoWin1, ui->rbtn_videoWin2, ui->rbtn_videoWinLR,
                                                ui->rbtn_videoWinTB};
    if (m_config->video_display_mode >= 0 && m_config->video_display_mode < 4) {
        views[static_cast<std::size_t>(m_config->video_display_mode)]->setChecked(true);
    }
    ui->cb_playOnStart->setChecked(m_config->play_video_on_start);
    ui->cb_dispFrmFreq->setChecked(m_config->show_fps);
    ui->rbtn_scaleQualHigh_3->setChecked(m_config->send_single);
    ui->rbtn_scaleQualLow_3->setChecked(!m_config->send_single);
    ui->checkBox_16->setEnabled(m_config->send_single);
    ui->rbtn_scaleQualLow_4->setChecked(m_config->platform_type == 0);
    ui->rbtn_scaleQualHigh_4->setChecked(m_config->platform_type == 1);
}

void PlayerSettingsDlg::retranslateCommonPage() {
    for (int row = 0; row < ui->cbb_decMethod->count(); ++row) {
        const auto decoder = ui->cbb_decMethod->itemData(row).toUInt();
        ui->cbb_decMethod->setItemText(row, tr(kDecoders[decoder]));
    }
    ui->cbb_selLang->setItemText(0, tr("中文"));
    ui->cbb_selLang->setItemText(1, tr("英文"));
    ui->cbb_selTheme->setItemText(0, tr("白天"));
    ui->cbb_selTheme->setItemText(1, tr("黑夜"));
}

void PlayerSettingsDlg::connectCommonPage() {
    connect(ui->cbb_selLang, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &PlayerSettingsDlg::applyLanguage);
    connect(ui->cbb_selTheme, QOverload<int>::of(&QComboBox::currentIndexChanged), m_window,
            &Korvath::applyTheme);
    connect(ui->rbtn_scaleQualHigh_3, &QRadioButton::toggled, this, [this](bool single) {
        ui->checkBox_16->setEnabled(single);
        if (!single) {
            // Without its signal: leaving the mode runs applySendMode once.
            const QSignalBlocker blocker(ui->checkBox_16);
            ui->checkBox_16->setChecked(false);
        }
        m_window->applySendMode();
    });
    connect(ui->checkBox_16, &QCheckBox::toggled, this, [this] { m_window->applySendMode(); });
    connect(ui->rbtn_scaleQualHigh_4, &QRadioButton::toggled, this, [this](bool on) {
        if (on) {
            m_window->setServoFrame(1);
        }
    });
    connect(ui->rbtn_scaleQualLow_4, &QRadioButton::toggled, this, [this](bool on) {
        if (on) {
            m_window->setServoFrame(0);
        }
    });
}

void PlayerSettingsDlg::storeCommonPage() {
    // A value of the file that no item stands for has no index; it stays until an item is chosen.
    if (ui->cbb_selLang->currentIndex() >= 0) {
        m_config->language = ui->cbb_selLang->currentIndex();
    }
    if (ui->cbb_selTheme->currentIndex() >= 0) {
        m_config->theme = ui->cbb_selTheme->currentIndex();
    }
    const std::array<QRadioButton*, 4> views = {ui->rbtn_videoWin1, ui->rbtn_videoWin2, ui->rbtn_videoWinLR,
                                                ui->rbtn_videoWinTB};
    for (std::size_t i = 0; i < views.size(); ++i) {
        if (views[i]->isChecked()) {
            m_config->video_display_mode = static_cast<int>(i);
        }
    }
    m_config->play_video_on_start = ui->cb_playOnStart->isChecked();
    m_config->send_single = singleMode();
    if (ui->rbtn_scaleQualLow_4->isChecked()) {
        m_config->platform_type = 0;
    } else if (ui->rbtn_scaleQualHigh_4->isChecked()) {
        m_config->platform_type = 1;
    }
    m_config->decode_method = ui->cbb_decMethod->currentIndex();
    m_config->show_fps = ui->cb_dispFrmFreq->isChecked();
}
