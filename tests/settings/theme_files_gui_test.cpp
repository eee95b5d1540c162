// The two looks on a form without its window.
#include "settings/theme_files.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QMainWindow>
#include <QTemporaryDir>
#include <QToolButton>

#include "forms/main_form.h"
#include "tests/fakes/built_form.h"

namespace {

QString sheet(const char* name) {
    QFile file(QStringLiteral("./res/%1").arg(QLatin1String(name)));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
    return QString::fromUtf8(file.readAll());
}

QImage picture(const QIcon& icon, QIcon::Mode mode = QIcon::Normal) {
    return icon.pixmap(QSize(22, 22), mode).toImage();
}
// Whether the icon shows the picture of that file.
bool shows(const QIcon& icon, const QString& file, QIcon::Mode mode = QIcon::Normal) {
    const QImage expected = picture(QIcon(QStringLiteral("res/") + file));
    return !expected.isNull() && picture(icon, mode) == expected;
}

class ThemePart : public ::testing::Test {
protected:
    ~ThemePart() override {
        QDir::setCurrent(QCoreApplication::applicationDirPath());
        qApp->setStyleSheet(QString());
    }
    void apply(int theme) { applyThemeFiles(theme, window, settings, form, view_button); }

    struct Icon {
        QAction* action;
        const char* name;
    };
    std::vector<Icon> icons() const {
        return {{ui.action_connection, "icon_settings_connect"},
                {ui.action_fileSettings, "icon_settings"},
                {ui.action_ctrlSingleSnap, "icon_singleSnap"},
                {ui.action_ctrlRec, "icon_record"},
                {ui.action_map, "map"},
                {ui.action_fileOpenAvi, "icon_openAvi2"},
                {ui.action_chartAna, "icon_chart"},
                {ui.action_telemetry_info, "icon_telemetry_info"},
                {ui.action_sei, "icon_sei"}};
    }

    QMainWindow window;
    Ui::KorvathClass ui = builtForm<Ui::KorvathClass>(window);
    MainForm form{ui};
    QDialog settings;
    QToolButton view_button;
};

TEST_F(ThemePart, TheSheetsAreThoseOfTheTheme) {
    const QString own = window.styleSheet();
    apply(0);
    EXPECT_EQ(qApp->styleSheet(), own + sheet("common.qss"));
    EXPECT_EQ(settings.styleSheet(), sheet("setting_day.qss"));
    apply(1);
    EXPECT_EQ(qApp->styleSheet(), own + sheet("night.qss"));
    EXPECT_EQ(settings.styleSheet(), sheet("setting_night.qss"));
    apply(0);
    EXPECT_EQ(qApp->styleSheet(), own + sheet("common.qss"));
}

TEST_F(ThemePart, TheWindowsOwnSheetComesFirst) {
    window.setStyleSheet("QLabel { color: #123456; }\n");
    apply(1);
    EXPECT_EQ(qApp->styleSheet(), "QLabel { color: #123456; }\n" + sheet("night.qss"));
}

TEST_F(ThemePart, AnyOtherNumberIsTheDay) {
    apply(7);
    EXPECT_TRUE(qApp->styleSheet().endsWith(sheet("common.qss")));
    EXPECT_EQ(settings.styleSheet(), sheet("setting_day.qss"));
}

TEST_F(ThemePart, EveryIconFollowsTheTheme) {
    for (const auto& [theme, suffix] : {std::pair(0, ""), std::pair(1, "_night")}) {
        apply(theme);
        for (const Icon& icon : icons()) {
            const QString name = QLatin1String(icon.name) + QLatin1String(suffix);
            EXPECT_TRUE(shows(icon.action->icon(), name + ".png")) << qPrintable(name);
        }
        EXPECT_TRUE(shows(view_button.icon(), QStringLiteral("show_video%1.png").arg(suffix)));
    }
}

TEST_F(ThemePart, ADisabledActionHasAPictureOfItsOwnWhereThereIsOne) {
    int pictures = 0;
    for (const auto& [theme, suffix] : {std::pair(0, ""), std::pair(1, "_night")}) {
        apply(theme);
        for (const Icon& icon : icons()) {
            const QString name = QLatin1String(icon.name) + QLatin1String(suffix) + "_off.png";
            if (QFile::exists("res/" + name)) {
                EXPECT_TRUE(shows(icon.action->icon(), name, QIcon::Disabled)) << qPrintable(name);
                ++pictures;
            }
        }
    }
    EXPECT_GT(pictures, 0);
}

TEST_F(ThemePart, AMissingSheetLeavesTheOldOneAndEmptiesTheDialogs) {
    apply(1);
    const QString before = qApp->styleSheet();
    ASSERT_FALSE(before.isEmpty());
    const QTemporaryDir empty;
    ASSERT_TRUE(QDir::setCurrent(empty.path()));
    apply(0);
    EXPECT_EQ(qApp->styleSheet(), before);
    EXPECT_EQ(settings.styleSheet(), QString());
}

}  // namespace
