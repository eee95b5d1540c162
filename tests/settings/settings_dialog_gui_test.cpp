// The settings dialog without a window: what it announces, when, and what it stores.
#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QListWidget>
#include <QRadioButton>
#include <QSettings>
#include <QTest>

#include "app/config/my_app_config.h"
#include "forms/settings_form.h"
#include "settings/player_settings_dlg.h"

namespace {

constexpr int kAllDecoders = 7;

class SettingsDialogTest : public ::testing::Test {
protected:
    void SetUp() override { start({}); }
    void TearDown() override {
        dialog.reset();
        QFile::remove(configPath());
    }

    static QString configPath() { return QCoreApplication::applicationDirPath() + "/appCfg.ini"; }
    void start(const QMap<QString, QVariant>& values, int decoder_mask = kAllDecoders) {
        form.reset();
        dialog.reset();
        QFile::remove(configPath());
        QSettings file(configPath(), QSettings::IniFormat);
        for (auto it = values.begin(); it != values.end(); ++it) {
            file.setValue(it.key(), it.value());
        }
        file.sync();
        dialog = std::make_unique<PlayerSettingsDlg>(decoder_mask, nullptr);
        form.reset(new SettingsForm{*dialog->ui});
    }
    static QVariant stored(const char* key) {
        return QSettings(configPath(), QSettings::IniFormat).value(key);
    }

    std::unique_ptr<PlayerSettingsDlg> dialog;
    std::unique_ptr<SettingsForm> form;
};

TEST_F(SettingsDialogTest, TheUpgradesSampleTextsAreGoneFromTheStartOn) {
    const auto shown = [this] {
        return QStringList{form->upgrade_progress_text->text(), form->upgrade_state->text()};
    };
    EXPECT_EQ(shown(), QStringList({"", ""}));
    for (const int language : {1, 0, 0}) {
        dialog->applyLanguage(language);
        dialog->init();
        EXPECT_EQ(shown(), QStringList({"", ""})) << language;
    }
}

TEST_F(SettingsDialogTest, EverythingIsFilledByTheConstructor) {
    start({{"common/theme", 1}, {"dataSave/record_interval", 5}, {"common/platform_type", 1}}, 0b101);
    EXPECT_EQ(dialog->m_config->theme, 1);
    ASSERT_EQ(form->page_list->count(), 10);
    const QStringList rows = {"设备管理", "编码器设置", "遥控器设置", "摇杆设置", "OSD设置",
                              "文件保存", "通用设置",   "指令透传",   "固件升级", "版本信息"};
    for (int row = 0; row < 10; ++row) {
        EXPECT_EQ(form->page_list->item(row)->text(), rows[row]) << row;
    }
    for (const QComboBox* box : {form->language, form->theme, form->decoder, form->osd_language, form->codec,
                                 form->osd_colour, form->record_interval, form->telemetry_interval}) {
        EXPECT_GE(box->count(), 2) << qPrintable(box->objectName());
        for (int i = 0; i < box->count(); ++i) {
            EXPECT_FALSE(box->itemText(i).isEmpty()) << qPrintable(box->objectName());
        }
        EXPECT_GE(box->currentIndex(), 0) << qPrintable(box->objectName());
    }
    EXPECT_EQ(form->theme->currentIndex(), 1);
    EXPECT_EQ(form->record_interval->currentText(), "5");
    EXPECT_TRUE(form->two_axes->isChecked());
    EXPECT_EQ(form->osd_colour->currentIndex(), 1);
    EXPECT_EQ(form->page_list->currentRow(), 0);
}

TEST_F(SettingsDialogTest, AStoredDecoderBeyondTheMaskSelectsTheFirstRow) {
    start({{"decode/decode_method", 2}}, 0b110);
    EXPECT_EQ(form->decoder->count(), 2);
    EXPECT_EQ(form->decoder->currentIndex(), 0);
    EXPECT_EQ(dialog->decoderValue(), 2);
    start({{"decode/decode_method", 1}}, 0b110);
    EXPECT_EQ(form->decoder->currentIndex(), 1);
    EXPECT_EQ(dialog->decoderValue(), 4);
}

TEST_F(SettingsDialogTest, AChosenThemeIsAnnouncedOnce) {
    std::vector<int> themes;
    QObject::connect(dialog.get(), &PlayerSettingsDlg::themeChosen,
                     [&](int theme) { themes.push_back(theme); });
    form->theme->setCurrentIndex(1);
    form->theme->setCurrentIndex(1);
    EXPECT_EQ(themes, std::vector<int>{1});
    form->theme->setCurrentIndex(0);
    EXPECT_EQ(themes, (std::vector<int>{1, 0}));
}

TEST_F(SettingsDialogTest, TheServoFrameIsAnnouncedInBothDirections) {
    std::vector<int> types;
    QObject::connect(dialog.get(), &PlayerSettingsDlg::servoFrameChosen,
                     [&](int type) { types.push_back(type); });
    form->two_axes->setChecked(true);
    EXPECT_EQ(types, std::vector<int>{1});
    form->three_axes->setChecked(true);
    EXPECT_EQ(types, (std::vector<int>{1, 0}));
    form->three_axes->setChecked(true);
    EXPECT_EQ(types.size(), 2U);
}

TEST_F(SettingsDialogTest, EachChangeOfTheSendModeIsAnnouncedOnceWithTheWidgetsInPlace) {
    struct Seen {
        bool single;
        bool stream;
        bool enabled;
        bool operator==(const Seen& o) const {
            return single == o.single && stream == o.stream && enabled == o.enabled;
        }
    };
    std::vector<Seen> seen;
    QObject::connect(dialog.get(), &PlayerSettingsDlg::sendModeChanged, [&] {
        seen.push_back({dialog->singleMode(), dialog->sendsTelemetryPeriodically(),
                        form->telemetry_stream->isEnabled()});
    });
    ASSERT_TRUE(dialog->singleMode());
    form->telemetry_stream->setChecked(true);
    EXPECT_TRUE(seen == (std::vector<Seen>{{true, true, true}}));
    form->telemetry_stream->setChecked(false);
    form->telemetry_stream->setChecked(true);
    EXPECT_EQ(seen.size(), 3U);
    seen.clear();
    form->periodic_mode->setChecked(true);
    EXPECT_TRUE(seen == (std::vector<Seen>{{false, false, false}}));
    seen.clear();
    form->single_mode->setChecked(true);
    EXPECT_TRUE(seen == (std::vector<Seen>{{true, false, true}}));
}

// Notes a change of language step by step, and plays the window's part in it.
class LanguageTest : public SettingsDialogTest {
protected:
    void SetUp() override {
        SettingsDialogTest::SetUp();
        QObject::connect(dialog.get(), &PlayerSettingsDlg::languageChanged, [this] {
            note("changed " + PlayerSettingsDlg::tr("设备管理"));
            dialog->init();
        });
        QObject::connect(
            dialog.get(), &PlayerSettingsDlg::commandRequested, [this](const sorvane::Command& c) {
                const QByteArray bytes(reinterpret_cast<const char*>(c.bytes.data()), c.size);
                note(QString("command %1 %2").arg(c.code).arg(QString::fromLatin1(bytes.toHex())));
            });
        QObject::connect(dialog.get(), &PlayerSettingsDlg::stopRequested,
                         [this](int code) { note(QString("stop %1").arg(code)); });
    }
    void TearDown() override {
        dialog->applyLanguage(0);
        SettingsDialogTest::TearDown();
    }
    // With the display's language as it is at that time.
    void note(const QString& what) {
        steps << what + QString(", display %1").arg(form->osd_language->currentIndex());
    }

    QStringList steps;
};

TEST_F(LanguageTest, AChangeIsTranslatorThenFormsThenDisplayThenCommandThenItsEnd) {
    form->language->setCurrentIndex(1);
    const QStringList at_once = {"changed Device, display 0", "command 55 04090000, display 1"};
    EXPECT_EQ(steps, at_once);
    EXPECT_EQ(form->page_list->item(0)->text(), "Device");
    EXPECT_EQ(form->theme->itemText(0), "Day");
    EXPECT_EQ(form->osd_colour->itemText(2), "Yellow");
    EXPECT_EQ(form->decoder->itemText(0), "Software");
    EXPECT_TRUE(QTest::qWaitFor([this] { return steps.size() > 2; }, 10000));
    EXPECT_EQ(steps, at_once + QStringList("stop 0, display 1"));
    steps.clear();
    form->language->setCurrentIndex(0);
    EXPECT_EQ(steps, (QStringList{"changed 设备管理, display 1", "command 55 04010000, display 0"}));
    EXPECT_EQ(form->theme->itemText(0), QStringLiteral("白天"));
}

TEST_F(LanguageTest, TheCommandHasTheColourThatIsSelected) {
    form->osd_colour->setCurrentIndex(2);
    dialog->applyLanguage(1);
    EXPECT_EQ(steps.value(1), "command 55 040a0000, display 1");
    form->osd_colour->setCurrentIndex(0);
    dialog->applyLanguage(0);
    EXPECT_EQ(steps.value(3), "command 55 04000000, display 0");
}

TEST_F(LanguageTest, EnglishChosenTwiceIsAnnouncedAndSentTwiceAndEndsAtOnce) {
    const QStringList once = {"changed Device, display 0", "command 55 04090000, display 1"};
    const QStringList again = {"changed Device, display 1", "command 55 04090000, display 1"};
    dialog->applyLanguage(1);
    EXPECT_EQ(steps, once);
    dialog->applyLanguage(1);
    EXPECT_EQ(steps, once + again);
    EXPECT_TRUE(QTest::qWaitFor([this] { return steps.count("stop 0, display 1") == 2; }, 10000));
    steps.clear();
    dialog->applyLanguage(0);
    EXPECT_EQ(steps, (QStringList{"changed 设备管理, display 1", "command 55 04010000, display 0"}));
}

// The toolkit's own texts are Chinese for as long as the program's are.
TEST_F(LanguageTest, TheToolkitsTextsFollow) {
    const auto toolkit = [] { return QCoreApplication::translate("QPlatformTheme", "Cancel"); };
    dialog->applyLanguage(0);
    EXPECT_EQ(toolkit(), QStringLiteral("取消"));
    dialog->applyLanguage(1);
    EXPECT_EQ(toolkit(), "Cancel");
    dialog->applyLanguage(0);
    EXPECT_EQ(toolkit(), QStringLiteral("取消"));
}

TEST_F(LanguageTest, AnUnknownLanguageChangesNoTranslatorAndIsAnnouncedAllTheSame) {
    dialog->applyLanguage(1);
    steps.clear();
    dialog->applyLanguage(5);
    EXPECT_EQ(steps, (QStringList{"changed Device, display 1", "command 55 04010000, display -1"}));
}

TEST_F(SettingsDialogTest, PagesAreStoredByClosingAndTheFileByTheEnd) {
    form->theme->setCurrentIndex(1);
    form->record_interval->setCurrentIndex(0);
    EXPECT_EQ(dialog->m_config->theme, 0);
    EXPECT_EQ(dialog->m_config->record_interval, 10);
    dialog->close();
    EXPECT_EQ(dialog->m_config->theme, 1);
    EXPECT_EQ(dialog->m_config->record_interval, 1);
    form->show_statistics->setChecked(true);
    form->telemetry_interval->setCurrentIndex(1);
    QTest::keyClick(dialog.get(), Qt::Key_Escape);
    EXPECT_TRUE(dialog->m_config->show_fps);
    EXPECT_EQ(dialog->m_config->telemetry_saving_interval, 2);
    EXPECT_FALSE(stored("decode/show_fps").isValid());
    form.reset();
    dialog.reset();
    EXPECT_EQ(stored("common/theme").toInt(), 1);
    EXPECT_EQ(stored("dataSave/record_interval").toInt(), 1);
    EXPECT_TRUE(stored("decode/show_fps").toBool());
}

QStringList& messages() {
    static QStringList list;
    return list;
}
void noteMessage(QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& text) {
    messages() << text;
}

TEST_F(SettingsDialogTest, AReplyThatNoPageTakesIsLogged) {
    messages().clear();
    const QtMessageHandler before = qInstallMessageHandler(noteMessage);
    const unsigned char data[60] = {};
    dialog->on_recv_single_frame(20, data, 60);
    dialog->on_recv_single_frame(0xFFFF, nullptr, 0);
    qInstallMessageHandler(before);
    EXPECT_EQ(messages(),
              (QStringList{"reply of the pod, code 20, 60 bytes", "reply of the pod, code 65535, 0 bytes"}));
}

TEST_F(SettingsDialogTest, TheDisplaysRefreshAsksForItsItems) {
    std::vector<std::pair<int, QByteArray>> asked;
    QObject::connect(dialog.get(), &PlayerSettingsDlg::frameRequested, dialog.get(),
                     [&](int code, const QByteArray& payload) { asked.emplace_back(code, payload); });
    form->osd_read->click();
    ASSERT_EQ(asked.size(), 1U);
    EXPECT_EQ(asked[0].first, 56);
    EXPECT_EQ(asked[0].second, QByteArray(1, 3));
}

}  // namespace
