// The page of directories and saving intervals.
#include <QComboBox>
#include <QDir>
#include <QFileDialog>

#include "app/config/my_app_config.h"
#include "platform/show_directory.h"
#include "settings/player_settings_dlg.h"
#include "ui_settings.h"

namespace {

constexpr std::array<int, 5> kIntervals = {1, 2, 5, 10, 30};

// 1, 2, 5 and 10 minutes select their item, everything else 30.
void selectInterval(QComboBox* box, int minutes) {
    const int row = box->findData(minutes);
    box->setCurrentIndex(row >= 0 ? row : static_cast<int>(kIntervals.size()) - 1);
}

}  // namespace

std::array<PlayerSettingsDlg::DirectoryRow, 3> PlayerSettingsDlg::directoryRows() {
    return {{{ui->le_recSaveDir, ui->btn_recSaveDirChange, ui->btn_recSaveDirOpen,
              &MyAppConfig::default_video_saving_directory, tr("请选择录像默认保存路径")},
             {ui->le_recOpenDir, ui->btn_recOpenDirChange, ui->btn_recOpenDirOpen,
              &MyAppConfig::default_record_open_directory, tr("请选择拍照默认保存路径")},
             {ui->le_telemSaveDir, ui->btn_telemSaveDirChange, ui->btn_telemSaveDirOpen,
              &MyAppConfig::default_telemetry_saving_directory, tr("请选择遥测信息默认保存路径")}}};
}

void PlayerSettingsDlg::loadFilePage() {
    for (const DirectoryRow& row : directoryRows()) {
        row.edit->setText(m_config->*row.key);
    }
    for (QComboBox* box : {ui->cbb_recSaveIntvl, ui->cbb_telemSaveIntvl}) {
        box->clear();
        for (const int minutes : kIntervals) {
            box->addItem(QString::number(minutes), minutes);
        }
    }
    selectInterval(ui->cbb_recSaveIntvl, m_config->record_interval);
    selectInterval(ui->cbb_telemSaveIntvl, m_config->telemetry_saving_interval);
    const std::array<QCheckBox*, 4> options = {ui->checkBox, ui->checkBox_2, ui->checkBox_3, ui->checkBox_4};
    for (std::size_t bit = 0; bit < options.size(); ++bit) {
        options[bit]->setChecked((m_config->telemetry_saving_option >> bit & 1) != 0);
    }
}

void PlayerSettingsDlg::connectFilePage() {
    const auto rows = directoryRows();
    for (std::size_t i = 0; i < rows.size(); ++i) {
        connect(rows[i].change, &QPushButton::clicked, this, [this, i] {
            const DirectoryRow row = directoryRows()[i];
            const QString path = QFileDialog::getExistingDirectory(this, row.title, QStringLiteral("./"));
            if (!path.isEmpty()) {
                row.edit->setText(path);
                m_config->*row.key = path;
            }
        });
        connect(rows[i].open, &QPushButton::clicked, this, [this, key = rows[i].key] {
            platform::showDirectory(QDir::toNativeSeparators(m_config->*key).toUtf8().constData());
        });
    }
}

void PlayerSettingsDlg::storeFilePage() {
    m_config->record_interval = ui->cbb_recSaveIntvl->currentData().toInt();
    m_config->telemetry_saving_interval = ui->cbb_telemSaveIntvl->currentData().toInt();
    const std::array<QCheckBox*, 4> options = {ui->checkBox, ui->checkBox_2, ui->checkBox_3, ui->checkBox_4};
    m_config->telemetry_saving_option = 0;
    for (std::size_t bit = 0; bit < options.size(); ++bit) {
        m_config->telemetry_saving_option |= options[bit]->isChecked() ? 1 << bit : 0;
    }
}
