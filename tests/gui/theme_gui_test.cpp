// Themes and languages, switched while the program runs.
#include <QAction>
#include <QDir>
#include <QElapsedTimer>
#include <QHash>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QTabWidget>
#include <QToolButton>
#include <QTranslator>

#include "link/osd_words.h"
#include "link_peer.h"
#include "looks.h"
#include "widgets/my_trans_dlg.h"

namespace {

QByteArray readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QImage iconImage(const QIcon& icon) {
    return icon.pixmap(QSize(22, 22)).toImage().convertToFormat(QImage::Format_ARGB32);
}
QImage fileImage(const QString& name) { return iconImage(QIcon("res/" + name + ".png")); }

class ThemeTest : public LinkTest {
protected:
    void SetUp() override { start(); }

    void theme(int index) const { in().m_settings()->ui->cbb_selTheme->setCurrentIndex(index); }
    void language(int index) const { in().m_settings()->ui->cbb_selLang->setCurrentIndex(index); }

    QList<std::pair<QAction*, QString>> actionIcons() const {
        return {{ui().action_connection, "icon_settings_connect"},
                {ui().action_fileSettings, "icon_settings"},
                {ui().action_ctrlSingleSnap, "icon_singleSnap"},
                {ui().action_ctrlRec, "icon_record"},
                {ui().action_map, "map"},
                {ui().action_fileOpenAvi, "icon_openAvi2"},
                {ui().action_chartAna, "icon_chart"},
                {ui().action_telemetry_info, "icon_telemetry_info"},
                {ui().action_sei, "icon_sei"}};
    }
    QToolButton* viewButton() const {
        for (QToolButton* button : window->findChildren<QToolButton*>()) {
            if (button->menu() != nullptr && button->menu()->actions().contains(ui().action_videoWin1)) {
                return button;
            }
        }
        return nullptr;
    }
    // Runs with another current directory, where no run-time tree lies.
    struct Elsewhere {
        QString before = QDir::currentPath();
        explicit Elsewhere(const QString& folder) { QDir::setCurrent(folder); }
        ~Elsewhere() { QDir::setCurrent(before); }
    };

    // Every text of every form, by path of object names; edits and boxes with what is in them.
    QMap<QString, QString> texts() const {
        QMap<QString, QString> all;
        QList<QWidget*> tops = {window.get()};
        for (QWidget* top : tops) {
            for (const QWidget* widget : top->findChildren<QWidget*>()) {
                if (widget->objectName().isEmpty() || widget->objectName().startsWith("qt_")) {
                    continue;
                }
                QString path = widget->objectName();
                for (const QWidget* p = widget->parentWidget(); p != nullptr; p = p->parentWidget()) {
                    path = p->objectName() + "/" + path;
                }
                QStringList parts = {looks::shownBy(widget).text, widget->toolTip(), widget->windowTitle()};
                if (const auto* button = qobject_cast<const QAbstractButton*>(widget)) {
                    parts << button->text() << (button->isChecked() ? "on" : "off");
                } else if (const auto* combo = qobject_cast<const QComboBox*>(widget)) {
                    for (int i = 0; i < combo->count(); ++i) {
                        parts << combo->itemText(i);
                    }
                    parts << QString::number(combo->currentIndex());
                } else if (const auto* list = qobject_cast<const QListWidget*>(widget)) {
                    for (int i = 0; i < list->count(); ++i) {
                        parts << list->item(i)->text();
                    }
                }
                all[path] = parts.join('|');
            }
        }
        return all;
    }
    static QStringList differences(const QMap<QString, QString>& a, const QMap<QString, QString>& b) {
        QStringList different;
        for (auto it = a.begin(); it != a.end(); ++it) {
            if (b.value(it.key(), "(gone)") != it.value()) {
                different << it.key() + ": " + it.value() + " -> " + b.value(it.key(), "(gone)");
            }
        }
        return different;
    }
};

TEST_F(ThemeTest, InTheNightThemeTheMapIconIsMapNight) {
    theme(1);
    ASSERT_TRUE(QFile::exists("res/map_night.png"));
    EXPECT_EQ(iconImage(ui().action_map->icon()), fileImage("map_night"));
    EXPECT_NE(iconImage(ui().action_map->icon()), fileImage("map"));
}

TEST_F(ThemeTest, EveryIconFollowsTheTheme) {
    for (const int index : {1, 0, 1}) {
        theme(index);
        const QString suffix = index == 1 ? "_night" : "";
        for (const auto& [action, name] : actionIcons()) {
            EXPECT_EQ(iconImage(action->icon()), fileImage(name + suffix)) << qPrintable(name + suffix);
        }
        ASSERT_NE(viewButton(), nullptr);
        EXPECT_EQ(iconImage(viewButton()->icon()), fileImage("show_video" + suffix));
    }
}

TEST_F(ThemeTest, TheSheetsAreThoseOfTheTheme) {
    window->setStyleSheet("/* own */");
    theme(1);
    EXPECT_EQ(qApp->styleSheet(), "/* own */" + QString::fromUtf8(readAll("res/night.qss")));
    EXPECT_EQ(in().m_settings()->styleSheet(), QString::fromUtf8(readAll("res/setting_night.qss")));
    theme(0);
    EXPECT_EQ(qApp->styleSheet(), "/* own */" + QString::fromUtf8(readAll("res/common.qss")));
    EXPECT_EQ(in().m_settings()->styleSheet(), QString::fromUtf8(readAll("res/setting_day.qss")));
    EXPECT_FALSE(readAll("res/night.qss").isEmpty());
    EXPECT_FALSE(readAll("res/setting_day.qss").isEmpty());
}

TEST_F(ThemeTest, TheStoredThemeIsAppliedAtTheStart) {
    stop();
    start({{"common/theme", 1}});
    EXPECT_EQ(qApp->styleSheet(), QString::fromUtf8(readAll("res/night.qss")));
    EXPECT_EQ(in().m_settings()->ui->cbb_selTheme->currentIndex(), 1);
    EXPECT_EQ(iconImage(ui().action_sei->icon()), fileImage("icon_sei_night"));
}

TEST_F(ThemeTest, ThemeSwitchRepaintsTheWindow) {
    theme(0);
    const auto ground = [this] { return ui().title->grab().toImage().pixel(400, 20); };
    const QRgb day = ground();
    theme(1);
    EXPECT_TRUE(waitFor([&] { return qGray(ground()) < 80; }));
    EXPECT_GT(qGray(day), 200);
    theme(0);
    EXPECT_TRUE(waitFor([&] { return ground() == day; }));
}

// The toolkit's own way does it once for every ancestor; the dialog has a sheet of its own besides.
TEST_F(ThemeTest, ASwitchStylesEachWidgetOnce) {
    struct Counter : QObject {
        QHash<const QObject*, int> times;
        bool eventFilter(QObject* obj, QEvent* e) override {
            if (e->type() == QEvent::StyleChange) {
                ++times[obj];
            }
            return QObject::eventFilter(obj, e);
        }
    };
    ui().action_fileSettings->trigger();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(in().m_settings(), 10000));
    Counter counter;
    qApp->installEventFilter(&counter);
    theme(1);
    EXPECT_EQ(counter.times.value(in().m_settings()), 1);
    EXPECT_EQ(counter.times.value(in().m_settings()->ui->lineEdit_14), 1);
    EXPECT_EQ(counter.times.value(ui().pushButton_105), 1);
}

TEST_F(ThemeTest, AFieldsPlaceholderIsPalerThanItsValue) {
    QLineEdit* edit = in().m_settings()->ui->lineEdit_14;
    const auto strength = [edit] {
        const looks::Shown shown = looks::shownBy(edit);
        return looks::measuredContrast(edit->grab().toImage().convertToFormat(QImage::Format_RGB32),
                                       shown.room);
    };
    for (const int index : {1, 0}) {
        theme(index);
        edit->clear();
        const double placeholder = strength();
        edit->setText(edit->placeholderText());
        EXPECT_GT(strength(), placeholder + 2.0);
        EXPECT_GE(placeholder, looks::kLeastContrast);
    }
}

TEST_F(ThemeTest, AMissingSheetLeavesTheOldOneAndEmptiesTheDialogs) {
    theme(1);
    const QString before = qApp->styleSheet();
    ASSERT_FALSE(in().m_settings()->styleSheet().isEmpty());
    const QString empty = QCoreApplication::applicationDirPath() + "/empty";
    QDir().mkpath(empty);
    {
        const Elsewhere elsewhere(empty);
        theme(0);
        EXPECT_EQ(qApp->styleSheet(), before);
        EXPECT_EQ(in().m_settings()->styleSheet(), QString());
        EXPECT_TRUE(ui().action_map->icon().pixmap(22, 22).isNull());
    }
    theme(1);
    EXPECT_FALSE(in().m_settings()->styleSheet().isEmpty());
}

TEST_F(ThemeTest, ChangingTheLanguageTwiceToEnglishInstallsTheSameTranslatorAgain) {
    in().m_settings()->applyLanguage(1);
    EXPECT_EQ(ui().pushButton_105->text(), "Heading lock");
    in().m_settings()->applyLanguage(1);
    EXPECT_EQ(ui().pushButton_105->text(), "Heading lock");
    // It moves to the top, above what was installed in between.
    class Loud : public QTranslator {
    public:
        QString translate(const char*, const char*, const char*, int) const override { return "!"; }
        bool isEmpty() const override { return false; }
    } loud;
    ASSERT_TRUE(QCoreApplication::installTranslator(&loud));
    in().m_settings()->applyLanguage(1);
    EXPECT_EQ(ui().pushButton_105->text(), "Heading lock");
    QCoreApplication::removeTranslator(&loud);
    // One removal ends every installation.
    in().m_settings()->applyLanguage(0);
    EXPECT_EQ(ui().pushButton_105->text(), QStringLiteral("航向锁定"));
}

TEST_F(ThemeTest, ALanguageChangeWithALinkSendsOneDisplayCommandAndItsEnd) {
    chooseSingle();
    openUdp();
    letTheStartEnd();
    peer.take();
    language(1);
    ASSERT_TRUE(waitFor([this] { return peer.count() == 1; }));
    QByteArray frame = peer.take().front();
    // 55 with form 4 and the style word: green and English.
    EXPECT_TRUE(frame.contains(hex("0409"))) << frame.toHex().constData();
    letTheStartEnd();
    // Single mode knows no stop of that code: nothing more goes out.
    EXPECT_EQ(peer.count(), 0U);
    language(0);
    ASSERT_TRUE(waitFor([this] { return peer.count() == 1; }));
    EXPECT_TRUE(peer.take().front().contains(hex("0401")));
}

TEST_F(ThemeTest, ALanguageChangeInPeriodicModeStandsInTheFrameAndEndsAHundredMillisecondsLater) {
    choosePeriodic();
    letTheStartEnd();
    ASSERT_TRUE(in().m_frameRelease());
    language(1);
    EXPECT_FALSE(in().m_frameRelease());
    const auto* bytes = reinterpret_cast<const unsigned char*>(&in().m_frame());
    EXPECT_EQ(bytes[2], 55);
    EXPECT_EQ(bytes[3], 4);
    EXPECT_EQ(bytes[4], sorvane::osdStyleWord(1, 1));
    EXPECT_EQ(bytes[5], 0);
    EXPECT_EQ(bytes[6], 0);
    EXPECT_TRUE(waitFor([this] { return in().m_frameRelease(); }));
}

TEST_F(ThemeTest, ALanguageChangeWithoutALinkGoesNowhereInSingleMode) {
    chooseSingle();
    letTheStartEnd();
    in().m_lastCode() = 0;
    language(1);
    EXPECT_EQ(in().m_linkState(), kLinkNone);
    EXPECT_EQ(in().m_lastCode(), 55);
    EXPECT_EQ(peer.count(), 0U);
}

TEST_F(ThemeTest, TheLanguageOfTheDisplayFollows) {
    language(1);
    EXPECT_EQ(in().m_settings()->ui->comboBox_13->currentIndex(), 1);
    language(0);
    EXPECT_EQ(in().m_settings()->ui->comboBox_13->currentIndex(), 0);
}

TEST_F(ThemeTest, TheStoredLanguageIsAppliedAtTheStart) {
    stop();
    start({{"common/language", 1}});
    EXPECT_EQ(ui().pushButton_105->text(), "Heading lock");
    EXPECT_EQ(in().m_settings()->ui->cbb_selLang->currentIndex(), 1);
    EXPECT_EQ(in().m_settings()->ui->comboBox_13->currentIndex(), 1);
}

TEST_F(ThemeTest, EnglishReachesEveryFormAndNothingChineseIsLeft) {
    language(1);
    QStringList chinese;
    const QMap<QString, QString> all = texts();
    EXPECT_GT(all.size(), 300);
    for (auto it = all.begin(); it != all.end(); ++it) {
        // One caption stands as it is in every language.
        if (it.key().endsWith("/label_140")) {
            continue;
        }
        if (looks::hasChinese(it.value())) {
            chinese << it.key() + ": " + it.value();
        }
    }
    for (const QAction* action : window->findChildren<QAction*>()) {
        if (looks::hasChinese(action->text() + action->toolTip())) {
            chinese << "action " + action->objectName();
        }
    }
    EXPECT_TRUE(chinese.isEmpty()) << chinese.join("\n").toStdString();
    EXPECT_EQ(in().m_statusVideo()->text(), "No video");
}

TEST_F(ThemeTest, ThereAndBackEveryTextIsAsItWas) {
    const QMap<QString, QString> before = texts();
    language(1);
    EXPECT_GT(differences(before, texts()).size(), 200);
    language(0);
    const QStringList left = differences(before, texts());
    EXPECT_TRUE(left.isEmpty()) << left.join("\n").toStdString();
}

// What was typed or chosen stays; only the fields that are told to return to their start do.
TEST_F(ThemeTest, ALanguageChangeKeepsWhatWasTypedButForTheFieldsThatReturnToTheirStart) {
    const QStringList returning = {"lineEdit_4",  "lineEdit_5",  "lineEdit_16", "lineEdit_19", "lineEdit_6",
                                   "lineEdit_7",  "lineEdit_9",  "lineEdit_8",  "lineEdit_12", "lineEdit_13",
                                   "lineEdit_14", "lineEdit_15", "lineEdit_11", "lineEdit_10", "lineEdit_21"};
    QMap<const QLineEdit*, QString> start_texts;
    QList<QLineEdit*> edits;
    for (QLineEdit* edit : window->findChildren<QLineEdit*>()) {
        // An edit inside an editable box is the box's; the slider follows the speed.
        if (edit->objectName().isEmpty() || edit->objectName().startsWith("qt_") || edit == ui().lineEdit_3) {
            continue;
        }
        edits << edit;
        start_texts[edit] = edit->text();
        edit->setText("7");
    }
    EXPECT_GT(edits.size(), 40);
    language(1);
    for (const QLineEdit* edit : edits) {
        const bool own_page = ui().tabWidget->isAncestorOf(edit);
        if (own_page && returning.contains(edit->objectName())) {
            EXPECT_EQ(edit->text(), start_texts[edit]) << qPrintable(edit->objectName());
        } else {
            EXPECT_EQ(edit->text(), "7") << qPrintable(edit->objectName());
        }
    }
}

TEST_F(ThemeTest, ALanguageChangeKeepsWhatTheProgramHasSet) {
    stop();
    start({{"common/app_title", "My own title"}});
    window->findChild<QRadioButton*>("radioButton_14")->setChecked(true);
    in().m_btnCtrlPane()->click();
    const QString arrow = in().m_btnStatPane()->text();
    auto* value = in().m_seiDlg()->findChild<QLabel*>("val_battery");
    ASSERT_NE(value, nullptr);
    value->setText("4321");
    for (const int index : {1, 0}) {
        language(index);
        EXPECT_EQ(window->windowTitle(), "My own title");
        EXPECT_EQ(ui().label_102->text(), "My own title");
        EXPECT_EQ(ui().pushButton_24->text(), index == 0 ? QStringLiteral("自动校准") : QString("Calibrate"));
        EXPECT_EQ(ui().pushButton_132->text(), index == 0 ? QStringLiteral("开始录像") : QString("Record"));
        EXPECT_EQ(in().m_btnCtrlPane()->text(), ">");
        EXPECT_EQ(in().m_btnStatPane()->text(), arrow);
        EXPECT_EQ(value->text(), "4321");
    }
}

TEST_F(ThemeTest, ALanguageChangeKeepsTheStateOfTheLink) {
    openUdp();
    language(1);
    EXPECT_EQ(dialog().pushButton_26->text(), "Disconnect");
    EXPECT_EQ(dialog().pushButton_25->text(), "Connect");
    EXPECT_EQ(in().m_statusLink()->text(), "UDP link open");
    language(0);
    EXPECT_EQ(dialog().pushButton_26->text(), QStringLiteral("断开"));
    EXPECT_EQ(in().m_statusLink()->text(), QStringLiteral("UDP已连接"));
}

TEST_F(ThemeTest, AMissingTranslationLeavesTheTextsInChinese) {
    stop();
    const QString empty = QCoreApplication::applicationDirPath() + "/empty";
    QDir().mkpath(empty);
    writeConfig();
    {
        const Elsewhere elsewhere(empty);
        open();
    }
    language(1);
    EXPECT_EQ(ui().pushButton_105->text(), QStringLiteral("航向锁定"));
    // The selectors and the display follow the choice all the same.
    EXPECT_EQ(in().m_settings()->ui->comboBox_13->currentIndex(), 1);
    EXPECT_EQ(in().m_ctrlSelect()->findChildren<QTabWidget*>().size(), 1);
    language(0);
}

}  // namespace
