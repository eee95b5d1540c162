// Themes and language of the window.
#include <QAction>
#include <QApplication>
#include <QFile>
#include <QToolButton>

#include "app/config/my_app_config.h"
#include "app/korvath.h"
#include "settings/player_settings_dlg.h"
#include "ui_connection.h"
#include "ui_korvath.h"
#include "ui_sei_info.h"
#include "ui_telemetry_info.h"
#include "widgets/common_dlg.h"

namespace {

struct ThemeFiles {
    const char* application;
    const char* settings;
    const char* icon_suffix;
};
constexpr ThemeFiles kDay = {"common.qss", "setting_day.qss", ""};
constexpr ThemeFiles kNight = {"night.qss", "setting_night.qss", "_night"};

struct ActionIcon {
    QAction* Ui::KorvathClass::*action;
    const char* name;
};
const std::array<ActionIcon, 9> kActionIcons = {{
    {&Ui::KorvathClass::action_connection, "icon_settings_connect"},
    {&Ui::KorvathClass::action_fileSettings, "icon_settings"},
    {&Ui::KorvathClass::action_ctrlSingleSnap, "icon_singleSnap"},
    {&Ui::KorvathClass::action_ctrlRec, "icon_record"},
    {&Ui::KorvathClass::action_map, "map"},
    {&Ui::KorvathClass::action_fileOpenAvi, "icon_openAvi2"},
    {&Ui::KorvathClass::action_chartAna, "icon_chart"},
    {&Ui::KorvathClass::action_telemetry_info, "icon_telemetry_info"},
    {&Ui::KorvathClass::action_sei, "icon_sei"},
}};

// Reads a style sheet of the run tree; false when it does not open.
bool readSheet(const char* name, QString* text) {
    QFile file(QStringLiteral("./res/%1").arg(QLatin1String(name)));
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    *text = QString::fromUtf8(file.readAll());
    return true;
}

// The toolkit's own disabled look hardly differs from the normal one on a dark ground, so there is a picture
// for it.
QIcon themeIcon(const char* name, const char* suffix) {
    const QString file = QStringLiteral("res/%1%2").arg(QLatin1String(name), QLatin1String(suffix));
    QIcon icon(file + QStringLiteral(".png"));
    const QString disabled = file + QStringLiteral("_off.png");
    if (!icon.isNull() && QFile::exists(disabled)) {
        icon.addFile(disabled, QSize(), QIcon::Disabled);
    }
    return icon;
}

}  // namespace

void Korvath::applyTheme(int theme) {
    const ThemeFiles& files = theme == 1 ? kNight : kDay;
    QString sheet;
    if (readSheet(files.application, &sheet)) {
        qApp->setStyleSheet(styleSheet() + sheet);
    }
    QString settings_sheet;
    readSheet(files.settings, &settings_sheet);
    m_settings->setStyleSheet(settings_sheet);
    for (const ActionIcon& icon : kActionIcons) {
        (ui.get()->*icon.action)->setIcon(themeIcon(icon.name, files.icon_suffix));
    }
    m_viewButton->setIcon(themeIcon("show_video", files.icon_suffix));
    showMaximiseIcon();
}

// What the program has set since the form was built (title, texts that follow a state) is set again
// afterwards.
void Korvath::retranslate() {
    ui_sei_info->retranslateUi(m_seiDlg);
    rebuildPageSelectors();
    placePaneToggles();
    ui->retranslateUi(this);
    setWindowTitle(config().app_title);
    ui->label_102->setText(config().app_title);
    retranslateStatusPages();
    m_settings->init();
    retranslateCommands();
    ui_connection->retranslateUi(m_connectionDlg);
    refreshConnectionButtons();
    ui_telemetry_info->retranslateUi(m_telemetryDlg);
    refreshStatus();
}
