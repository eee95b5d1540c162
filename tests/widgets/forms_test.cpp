// The forms as the operator sees them: texts, room for them in both languages and themes, and what they load.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QApplication>
#include <QButtonGroup>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QGroupBox>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QRegularExpression>
#include <QScrollArea>
#include <QStackedWidget>
#include <QTest>
#include <QTextEdit>
#include <QToolBar>
#include <QToolButton>
#include <QTranslator>

#include "ui_connection.h"
#include "ui_korvath.h"
#include "ui_sei_info.h"
#include "ui_settings.h"
#include "ui_telemetry_info.h"
#include "widgets/common_dlg.h"
#include "widgets/touch_lists.h"
#include "widgets/ui_fonts.h"

namespace {

struct ButtonText {
    const char* name;
    const char* text;
};
// clang-format off
constexpr ButtonText kButtonTexts[] = {
    {"pushButton_24", "归中"},
    {"pushButton_105", "航向锁定"},
    {"pushButton_104", "航向随动"},
    {"pushButton_107", "垂直下视"},
    {"pushButton_106", "镜头收藏"},
    {"pushButton_108", "关伺服"},
    {"pushButton_109", "扫描"},
    {"pushButton_26", "数字引导"},
    {"pushButton_25", "姿态指引"},
    {"pushButton_131", "视频切换"},
    {"pushButton_132", "开始录像"},
    {"pushButton_133", "单次抓图"},
    {"pushButton_134", "双光同视场"},
    {"pushButton_119", "调焦+"},
    {"pushButton_120", "调焦-"},
    {"pushButton_140", "自动对焦"},
    {"pushButton_118", "变倍+"},
    {"pushButton_121", "变倍-"},
    {"pushButton_139", "恢复默认"},
    {"pushButton_136", "对比度+"},
    {"pushButton_135", "对比度-"},
    {"pushButton_138", "亮度+"},
    {"pushButton_137", "亮度-"},
    {"pushButton_141", "增益+"},
    {"pushButton_143", "增益-"},
    {"pushButton_142", "自动增益"},
    {"pushButton_122", "变倍+"},
    {"pushButton_125", "变倍-"},
    {"pushButton_144", "调焦+"},
    {"pushButton_147", "调焦-"},
    {"pushButton_145", "对比度+"},
    {"pushButton_146", "对比度-"},
    {"pushButton_123", "亮度+"},
    {"pushButton_124", "亮度-"},
    {"pushButton_149", "自动对焦"},
    {"pushButton_127", "电子变倍"},
    {"pushButton_151", "快门补偿"},
    {"pushButton_126", "恢复默认"},
    {"pushButton_148", "背景补偿"},
    {"pushButton_128", "单次测距"},
    {"pushButton_130", "连续测距"},
    {"pushButton_129", "停止测距"},
    {"pushButton_22", "时间同步"},
    {"pushButton_110", "设置"},
    {"pushButton_153", "自定义\n模板设置"},
    {"pushButton_154", "检测\n方式\n设置"},
    {"pushButton_150", "兴趣坐标设置"},
    {"pushButton_155", "方位扫描设置"},
    {"pushButton_162", "设置"},
    {"pushButton_152", "俯仰扫描设置"},
    {"pushButton_156", "执行扫描"},
    {"pushButton_158", "地理指引"},
    {"pushButton_159", "地理跟踪"},
    {"pushButton_157", "设置"},
    {"pushButton_1571", "设置"},
    {"pushButton_1572", "设置"},
};
// clang-format on

QString sheet(const char* name) {
    QFile file(QStringLiteral("./res/%1").arg(QLatin1String(name)));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

bool hasChinese(const QString& text) {
    static const QRegularExpression han(QStringLiteral("\\p{Han}"));
    return text.contains(han);
}

// What a widget shows or tells.
QStringList textsOf(const QWidget* widget) {
    QStringList texts = {widget->toolTip(), widget->windowTitle(), widget->accessibleName()};
    if (const auto* button = qobject_cast<const QAbstractButton*>(widget)) {
        texts << button->text();
    } else if (const auto* label = qobject_cast<const QLabel*>(widget)) {
        texts << label->text();
    } else if (const auto* group = qobject_cast<const QGroupBox*>(widget)) {
        texts << group->title();
    } else if (const auto* edit = qobject_cast<const QLineEdit*>(widget)) {
        texts << edit->placeholderText();
    } else if (const auto* area = qobject_cast<const QTextEdit*>(widget)) {
        texts << area->placeholderText();
    }
    return texts;
}

// Buttons and labels that have less width than their text asks for; a pixel is left to rounding on scaled
// displays.
QStringList cutWidgets(const QWidget* root) {
    QStringList cut;
    const auto widgets = root->findChildren<QWidget*>();
    for (const QWidget* widget : widgets) {
        const bool shows_text = qobject_cast<const QAbstractButton*>(widget) != nullptr ||
                                (qobject_cast<const QLabel*>(widget) != nullptr &&
                                 !qobject_cast<const QLabel*>(widget)->text().isEmpty());
        if (shows_text && widget->isVisibleTo(root) && widget->sizeHint().width() > widget->width() + 1) {
            cut << QStringLiteral("%1 (%2 of %3)")
                       .arg(widget->objectName())
                       .arg(widget->width())
                       .arg(widget->sizeHint().width());
        }
    }
    return cut;
}

struct Theme {
    const char* application;
    const char* settings;
};
constexpr Theme kThemes[] = {{"common.qss", "setting_day.qss"}, {"night.qss", "setting_night.qss"}};

// One look of the program: theme (0 day, 1 night) and language (0 Chinese, 1 English).
class LookTest : public ::testing::TestWithParam<std::tuple<int, int>> {
protected:
    void SetUp() override {
        installFontSubstitutes();
        const QString text = sheet(theme().application);
        ASSERT_FALSE(text.isEmpty());
        qApp->setStyleSheet(text);
        if (english()) {
            ASSERT_TRUE(m_translator.load(QStringLiteral("./translations/Translation_en.qm")));
            QCoreApplication::installTranslator(&m_translator);
        }
    }
    void TearDown() override {
        QCoreApplication::removeTranslator(&m_translator);
        qApp->setStyleSheet(QString());
    }
    const Theme& theme() const { return kThemes[std::get<0>(GetParam())]; }
    bool english() const { return std::get<1>(GetParam()) == 1; }

    void expectTexts(const QWidget* root) const {
        if (!english()) {
            return;
        }
        auto widgets = root->findChildren<QWidget*>();
        for (const QWidget* widget : widgets) {
            for (const QString& text : textsOf(widget)) {
                EXPECT_FALSE(hasChinese(text))
                    << qPrintable(widget->objectName()) << ": " << qPrintable(text);
            }
        }
        const auto actions = root->findChildren<QAction*>();
        for (const QAction* action : actions) {
            EXPECT_FALSE(hasChinese(action->text())) << qPrintable(action->objectName());
        }
    }

    template <typename Form>
    void expectDialog(const QSize& size) {
        common_dlg dialog;
        Form form;
        form.setupUi(&dialog);
        dialog.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
        EXPECT_EQ(dialog.size(), size);
        EXPECT_EQ(cutWidgets(&dialog), QStringList());
        expectTexts(&dialog);
    }

private:
    QTranslator m_translator;
};

TEST_P(LookTest, ControlPagesFitTheirColumn) {
    QMainWindow window;
    Ui::KorvathClass form;
    form.setupUi(&window);
    window.resize(1366, 768);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    for (const auto& [page, scroll] : {std::make_pair(form.tab_test, form.scroll_test),
                                       std::make_pair(form.tab_ctl_ex, form.scroll_ctl_ex)}) {
        form.tabWidget->setCurrentWidget(page);
        QCoreApplication::processEvents();
        EXPECT_LE(scroll->widget()->minimumSizeHint().width(), scroll->viewport()->width());
        EXPECT_EQ(cutWidgets(page), QStringList());
    }
    expectTexts(&window);
}

TEST_P(LookTest, DialogsFitTheirTexts) {
    expectDialog<Ui::connection>(QSize(990, 620));
    expectDialog<Ui::sei_info>(QSize(720, 540));
    expectDialog<Ui::telemetry_info>(QSize(560, 340));
}

TEST_P(LookTest, SettingsPagesFitTheirTexts) {
    common_dlg dialog;
    Ui::dialogSettings form;
    form.setupUi(&dialog);
    dialog.setStyleSheet(sheet(theme().settings));
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    EXPECT_EQ(dialog.size(), QSize(960, 680));
    ASSERT_EQ(form.stackedWidget->count(), 10);
    for (int page = 0; page < form.stackedWidget->count(); ++page) {
        form.stackedWidget->setCurrentIndex(page);
        QCoreApplication::processEvents();
        EXPECT_EQ(cutWidgets(form.stackedWidget->currentWidget()), QStringList());
        if (auto* scroll = form.stackedWidget->currentWidget()->findChild<QScrollArea*>()) {
            EXPECT_LE(scroll->widget()->minimumSizeHint().width(), scroll->viewport()->width()) << page;
        }
    }
    expectTexts(&dialog);
}

INSTANTIATE_TEST_SUITE_P(Looks, LookTest,
                         ::testing::Combine(::testing::Values(0, 1), ::testing::Values(0, 1)));

TEST(Forms, ControlButtonsBearTheirTexts) {
    QMainWindow window;
    Ui::KorvathClass form;
    form.setupUi(&window);
    for (const ButtonText& row : kButtonTexts) {
        const auto* button = window.findChild<QAbstractButton*>(QLatin1String(row.name));
        ASSERT_NE(button, nullptr) << row.name;
        EXPECT_STREQ(button->metaObject()->className(), "QMyCmdBtn") << row.name;
        EXPECT_EQ(button->text(), QString::fromUtf8(row.text)) << row.name;
    }
    // Buttons with a picture tell what they do.
    for (const char* name : {"pushButton_112", "pushButton_113", "pushButton_114", "pushButton_115",
                             "pushButton_116", "pushButton_117", "pushButton_160", "pushButton_161"}) {
        const auto* button = window.findChild<QAbstractButton*>(QLatin1String(name));
        ASSERT_NE(button, nullptr) << name;
        EXPECT_TRUE(button->text().isEmpty()) << name;
        EXPECT_FALSE(button->toolTip().isEmpty()) << name;
    }
}

TEST(Forms, TheTitleFollowsTheWindow) {
    QMainWindow window;
    Ui::KorvathClass form;
    form.setupUi(&window);
    window.setWindowTitle(QStringLiteral("Some title"));
    EXPECT_EQ(form.label_102->text(), QStringLiteral("Some title"));
    form.retranslateUi(&window);
    EXPECT_EQ(form.label_102->text(), QStringLiteral("Some title"));
}

TEST(Forms, EnterInAFieldPressesNoButton) {
    common_dlg dialog;
    Ui::connection form;
    form.setupUi(&dialog);
    int clicks = 0;
    const auto buttons = dialog.findChildren<QPushButton*>();
    ASSERT_FALSE(buttons.isEmpty());
    for (QPushButton* button : buttons) {
        QObject::connect(button, &QPushButton::clicked, [&clicks] { ++clicks; });
    }
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    QTest::keyClick(form.cbb_ctrlConnIpAddr, Qt::Key_Return);
    EXPECT_EQ(clicks, 0);

    common_dlg settings;
    Ui::dialogSettings settings_form;
    settings_form.setupUi(&settings);
    const auto settings_buttons = settings.findChildren<QPushButton*>();
    ASSERT_FALSE(settings_buttons.isEmpty());
    for (const QPushButton* button : settings_buttons) {
        EXPECT_FALSE(button->autoDefault()) << qPrintable(button->objectName());
    }
}

TEST(Forms, RowsOfAListAreHighEnoughForAFinger) {
    qApp->setStyleSheet(sheet("night.qss"));
    QWidget window;
    QComboBox box(&window);
    box.addItems({QStringLiteral("1"), QStringLiteral("2")});
    enlargeLists(&window);
    box.resize(200, 36);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    box.showPopup();
    EXPECT_GE(box.view()->visualRect(box.model()->index(0, 0)).height(), 36);
    box.hidePopup();
    qApp->setStyleSheet(QString());
}

TEST(Forms, OsdChoicesAreTwoPairs) {
    common_dlg dialog;
    Ui::dialogSettings form;
    form.setupUi(&dialog);
    EXPECT_TRUE(form.radioButton->isChecked());
    EXPECT_TRUE(form.radioButton_4->isChecked());
    form.radioButton_2->setChecked(true);
    EXPECT_FALSE(form.radioButton->isChecked());
    EXPECT_TRUE(form.radioButton_4->isChecked());
    form.radioButton_3->setChecked(true);
    EXPECT_FALSE(form.radioButton_4->isChecked());
    EXPECT_TRUE(form.radioButton_2->isChecked());
}

QStringList g_warnings;

TEST(Themes, EverySheetIsUnderstoodAndItsPicturesExist) {
    static const QRegularExpression url(QStringLiteral("url\\(([^)]+)\\)"));
    const auto previous = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext&, const QString& text) { g_warnings << text; });
    for (const char* name : {"common.qss", "night.qss", "setting_day.qss", "setting_night.qss"}) {
        const QString text = sheet(name);
        EXPECT_FALSE(text.isEmpty()) << name;
        EXPECT_FALSE(text.contains(QLatin1Char('$'))) << name;
        QWidget probe;
        QPushButton child(&probe);
        probe.setStyleSheet(text);
        probe.ensurePolished();
        child.ensurePolished();
        auto match = url.globalMatch(text);
        while (match.hasNext()) {
            const QString file = match.next().captured(1);
            EXPECT_FALSE(QImage(file).isNull()) << qPrintable(file);
        }
    }
    qInstallMessageHandler(previous);
    EXPECT_EQ(g_warnings.filter(QStringLiteral("parse")), QStringList());
}

TEST(Themes, IconsDifferByThemeAndAreNotEmpty) {
    for (const char* name :
         {"icon_settings_connect", "icon_settings", "icon_singleSnap", "icon_record", "map", "icon_openAvi2",
          "icon_chart", "icon_telemetry_info", "icon_sei", "show_video"}) {
        const QImage day(QStringLiteral("res/%1.png").arg(QLatin1String(name)));
        const QImage night(QStringLiteral("res/%1_night.png").arg(QLatin1String(name)));
        EXPECT_EQ(day.size(), QSize(22, 22)) << name;
        EXPECT_EQ(night.size(), QSize(22, 22)) << name;
        EXPECT_NE(day, night) << name;
        QImage blank(day.size(), day.format());
        blank.fill(Qt::transparent);
        EXPECT_NE(day, blank) << name;
    }
    for (const char* name : {"icon_app", "icon_player_play", "icon_player_pause", "icon_player_stop",
                             "icon_tip_recording", "icon_tip_snapping"}) {
        EXPECT_FALSE(QImage(QStringLiteral("res/%1.png").arg(QLatin1String(name))).isNull()) << name;
    }
}

TEST(Themes, TheTypefaceOfThePictureIsThere) {
    EXPECT_GT(QFileInfo(QStringLiteral("fonts/msyh.ttc")).size(), 1000000);
}

}  // namespace
