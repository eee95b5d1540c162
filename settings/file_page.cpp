#include "settings/file_page.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QHeaderView>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QTreeView>
#include <array>

#include "app/config/my_app_config.h"
#include "forms/settings_form.h"
#include "platform/show_directory.h"

namespace {

constexpr std::array<int, 5> kIntervals = {1, 2, 5, 10, 30};  // minutes

// By the bit of telemetry_saving_option.
constexpr std::array<QCheckBox * SettingsForm::*, 4> kOptions = {
    &SettingsForm::save_raw, &SettingsForm::save_frame_angles, &SettingsForm::save_attitude,
    &SettingsForm::save_deviation};

constexpr QSize kChooserSize(900, 560);

struct DirectoryRow {
    QLineEdit* SettingsForm::*edit;
    QPushButton* SettingsForm::*change;
    QPushButton* SettingsForm::*show;
    QString MyAppConfig::*key;
    const char* title;  // of the chooser
};
constexpr std::array<DirectoryRow, 3> kDirectories = {{
    {&SettingsForm::record_directory, &SettingsForm::record_directory_change,
     &SettingsForm::record_directory_show, &MyAppConfig::default_video_saving_directory,
     QT_TRANSLATE_NOOP("FilePage", "请选择录像默认保存路径")},
    {&SettingsForm::snapshot_directory, &SettingsForm::snapshot_directory_change,
     &SettingsForm::snapshot_directory_show, &MyAppConfig::default_record_open_directory,
     QT_TRANSLATE_NOOP("FilePage", "请选择拍照默认保存路径")},
    {&SettingsForm::telemetry_directory, &SettingsForm::telemetry_directory_change,
     &SettingsForm::telemetry_directory_show, &MyAppConfig::default_telemetry_saving_directory,
     QT_TRANSLATE_NOOP("FilePage", "请选择遥测信息默认保存路径")},
}};

// 1, 2, 5 and 10 minutes select their item, everything else 30.
void selectInterval(QComboBox* box, int minutes) {
    const int row = box->findData(minutes);
    box->setCurrentIndex(row >= 0 ? row : static_cast<int>(kIntervals.size()) - 1);
}

// Empty when it was dismissed.
QString chooseDirectory(QWidget* parent, const QString& title) {
    QFileDialog chooser(parent, title, QStringLiteral("./"));
    chooser.setFileMode(QFileDialog::Directory);
    chooser.setOption(QFileDialog::ShowDirsOnly);
    chooser.setViewMode(QFileDialog::Detail);
    chooser.resize(kChooserSize.boundedTo(parent->screen()->availableSize()));
    // The toolkit's own chooser, where the desktop has none: a directory has neither size nor kind, and its
    // name and date are shown whole.
    if (auto* list = chooser.findChild<QTreeView*>(QStringLiteral("treeView"))) {
        list->setColumnHidden(1, true);
        list->setColumnHidden(2, true);
        list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
        list->header()->setSectionResizeMode(3, QHeaderView::ResizeToContents);
    }
    return chooser.exec() == QDialog::Accepted ? chooser.selectedFiles().value(0) : QString();
}

}  // namespace

FilePage::FilePage(const SettingsForm& form, MyAppConfig& config) : m_form(form), m_config(config) {
    for (QComboBox* box : {m_form.record_interval, m_form.telemetry_interval}) {
        for (const int minutes : kIntervals) {
            box->addItem(QString::number(minutes), minutes);
        }
    }
    for (const DirectoryRow& row : kDirectories) {
        QLineEdit* edit = m_form.*row.edit;
        connect(m_form.*row.change, &QPushButton::clicked, this, [this, &row, edit] {
            const QString path = chooseDirectory(edit->window(), tr(row.title));
            if (!path.isEmpty()) {
                edit->setText(path);
                m_config.*row.key = path;
            }
        });
        // What was typed would be lost: the directory changes by the chooser alone.
        edit->setReadOnly(true);
        connect(m_form.*row.show, &QPushButton::clicked, this, [this, &row] {
            // Until something has been saved there it may not exist.
            QDir().mkpath(m_config.*row.key);
            platform::showDirectory(QDir::toNativeSeparators(m_config.*row.key).toUtf8().constData());
        });
    }
}

void FilePage::load() {
    for (const DirectoryRow& row : kDirectories) {
        (m_form.*row.edit)->setText(m_config.*row.key);
    }
    selectInterval(m_form.record_interval, m_config.record_interval);
    selectInterval(m_form.telemetry_interval, m_config.telemetry_saving_interval);
    for (std::size_t bit = 0; bit < kOptions.size(); ++bit) {
        (m_form.*kOptions[bit])->setChecked((m_config.telemetry_saving_option >> bit & 1) != 0);
    }
}

void FilePage::store() {
    m_config.record_interval = m_form.record_interval->currentData().toInt();
    m_config.telemetry_saving_interval = m_form.telemetry_interval->currentData().toInt();
    m_config.telemetry_saving_option = 0;
    for (std::size_t bit = 0; bit < kOptions.size(); ++bit) {
        m_config.telemetry_saving_option |= (m_form.*kOptions[bit])->isChecked() ? 1 << bit : 0;
    }
}
