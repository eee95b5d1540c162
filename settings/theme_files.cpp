#include "settings/theme_files.h"

#include <QApplication>
#include <QFile>
#include <array>

#include "forms/main_form.h"
#include "widgets/sheets.h"

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
// for it. Without a picture there is no icon either, and a button shows its text.
QIcon themeIcon(const char* name, const char* suffix) {
    const QString file = QStringLiteral("res/%1%2").arg(QLatin1String(name), QLatin1String(suffix));
    const QString normal = file + QStringLiteral(".png");
    QIcon icon = QFile::exists(normal) ? QIcon(normal) : QIcon();
    const QString disabled = file + QStringLiteral("_off.png");
    if (!icon.isNull() && QFile::exists(disabled)) {
        icon.addFile(disabled, QSize(), QIcon::Disabled);
    }
    return icon;
}

}  // namespace

void applyThemeFiles(int theme, const QWidget& window, QWidget& settings, const MainForm& form,
                     QToolButton& view_button) {
    const ThemeFiles& files = theme == 1 ? kNight : kDay;
    QString sheet;
    if (readSheet(files.application, &sheet)) {
        setApplicationSheet(window.styleSheet() + sheet);
    }
    QString settings_sheet;
    readSheet(files.settings, &settings_sheet);
    setOwnSheet(&settings, settings_sheet);
    for (const ActionIcon& icon : kActionIcons) {
        (form.ui.*icon.action)->setIcon(themeIcon(icon.name, files.icon_suffix));
    }
    view_button.setIcon(themeIcon("show_video", files.icon_suffix));
}
