// The settings dialog: what it shows of the configuration, what it stores, and what takes effect at once.
#include <QGroupBox>
#include <QListWidget>
#include <QRadioButton>

#include "settings_fixture.h"
#include "tests/fakes/fake_tavrik.h"
#include "widgets/SwitchControl/switch_control.h"
#include "widgets/title_bar.h"

namespace {

TEST_F(SettingsTest, TenPagesInOrderEachRowSelectsItsOwn) {
    const QStringList texts = {"设备管理", "编码器设置", "遥控器设置", "摇杆设置", "OSD设置",
                               "文件保存", "通用设置",   "指令透传",   "固件升级", "版本信息"};
    const QStringList english = {"Device", "Encoder", "Remote", "Joystick", "OSD",
                                 "Files",  "General", "Relay",  "Firmware", "Version"};
    const QList<QWidget*> pages = {
        form().page_device_manage, form().page_encoder, form().page_control, form().page_joy_stick,
        form().page_osd,           form().page_file,    form().page_common,  form().page_cmd,
        form().page_update,        form().page_ver};
    ASSERT_EQ(form().widget_title->count(), 10);
    EXPECT_EQ(form().widget_title->currentRow(), 0);
    show();
    for (int row = 0; row < 10; ++row) {
        form().widget_title->setCurrentRow(row);
        EXPECT_EQ(form().stackedWidget->currentWidget(), pages[row]) << row;
        const QListWidgetItem* item = form().widget_title->item(row);
        EXPECT_EQ(item->text(), texts[row]);
        EXPECT_EQ(item->font().pointSize(), 15);
        EXPECT_TRUE(item->font().bold());
    }
    form().cbb_selLang->setCurrentIndex(1);
    for (int row = 0; row < 10; ++row) {
        EXPECT_EQ(form().widget_title->item(row)->text(), english[row]);
    }
}

TEST_F(SettingsTest, OneModelessDialogMovedByItsTitleAndClosedByItsButton) {
    show();
    EXPECT_FALSE(settings().isModal());
    EXPECT_TRUE(settings().windowFlags().testFlag(Qt::FramelessWindowHint));
    EXPECT_NE(settings().findChild<title_bar*>("title"), nullptr);
    ui().action_fileSettings->trigger();
    EXPECT_EQ(window->findChildren<PlayerSettingsDlg*>().size(), 1);
    close();
}

// The stream library is a fake here, which reports what a test says.
class DecoderTest : public SettingsTest {
protected:
    void SetUp() override { fake_tavrik::reset(); }
    void TearDown() override {
        SettingsTest::TearDown();
        fake_tavrik::reset();
    }
    void startWith(int decoders, int stored_index) {
        stop();
        fake_tavrik::state().decoders = decoders;
        start({{"decode/decode_method", stored_index}});
        settings().decoderValue();  // waits for the list
    }
};

TEST_F(DecoderTest, AStoredDecoderBeyondTheAvailableOnesFallsBackToTheFirstItem) {
    startWith(5, 2);
    EXPECT_EQ(form().cbb_decMethod->currentIndex(), 0);
    EXPECT_EQ(settings().decoderValue(), 1);
    startWith(5, -3);
    EXPECT_EQ(form().cbb_decMethod->currentIndex(), 0);
    startWith(5, 1);
    EXPECT_EQ(form().cbb_decMethod->currentIndex(), 1);
    EXPECT_EQ(settings().decoderValue(), 4);
}

TEST_F(DecoderTest, TheListHasTheReportedOnesWithTheirValues) {
    startWith(7, 0);
    EXPECT_EQ(items(form().cbb_decMethod), (QStringList{"软解码", "CUDA解码", "QSV解码"}));
    for (int row = 0; row < 3; ++row) {
        form().cbb_decMethod->setCurrentIndex(row);
        EXPECT_EQ(settings().decoderValue(), 1 << row);
    }
    startWith(6, 0);
    EXPECT_EQ(items(form().cbb_decMethod), (QStringList{"CUDA解码", "QSV解码"}));
    EXPECT_EQ(settings().decoderValue(), 2);
    // Bits beyond the three are nobody's.
    startWith(0xF8 | 1, 0);
    EXPECT_EQ(items(form().cbb_decMethod), QStringList{"软解码"});
}

TEST_F(DecoderTest, WithNoHardwareDecodersTheListHasTheSoftwareDecoderOnly) {
    startWith(1, 1);
    EXPECT_EQ(items(form().cbb_decMethod), QStringList{"软解码"});
    EXPECT_EQ(settings().decoderValue(), 1);
    // A library that does not even report that one leaves the list empty.
    startWith(0, 1);
    EXPECT_EQ(form().cbb_decMethod->count(), 0);
    EXPECT_EQ(settings().decoderValue(), 1);
}

TEST_F(DecoderTest, TheChosenDecoderIsStoredAndHandedToThePlayer) {
    startWith(7, 0);
    show();
    form().cbb_decMethod->setCurrentIndex(2);
    close();
    EXPECT_EQ(config().decode_method, 2);
    window->OnOpenVideo1();
    ASSERT_EQ(fake_tavrik::state().opens.size(), 1U);
    EXPECT_EQ(fake_tavrik::state().opens[0].decoder, 4);
    stop();
    EXPECT_EQ(stored("decode/decode_method").toInt(), 2);
}

TEST_F(SettingsTest, WithPeriodicSelectedTheTelemetryBoxIsDisabledAndOff) {
    form().rbtn_scaleQualHigh_3->setChecked(true);
    EXPECT_TRUE(form().checkBox_16->isEnabled());
    form().checkBox_16->setChecked(true);
    EXPECT_TRUE(settings().sendsTelemetryPeriodically());
    form().rbtn_scaleQualLow_3->setChecked(true);
    EXPECT_FALSE(form().checkBox_16->isEnabled());
    EXPECT_FALSE(form().checkBox_16->isChecked());
    EXPECT_FALSE(settings().singleMode());
    form().rbtn_scaleQualHigh_3->setChecked(true);
    EXPECT_TRUE(form().checkBox_16->isEnabled());
    EXPECT_FALSE(form().checkBox_16->isChecked());
    restartWith({{"common/send_single", false}});
    EXPECT_TRUE(form().rbtn_scaleQualLow_3->isChecked());
    EXPECT_FALSE(form().checkBox_16->isEnabled());
    EXPECT_FALSE(form().checkBox_16->isChecked());
}

TEST_F(SettingsTest, TheProtocolTakesEffectAtOnce) {
    openUdp();
    form().rbtn_scaleQualLow_3->setChecked(true);
    EXPECT_TRUE(runs(in().m_periodTimer()));
    EXPECT_EQ(in().m_navTimer(), -1);
    form().rbtn_scaleQualHigh_3->setChecked(true);
    EXPECT_EQ(in().m_periodTimer(), -1);
    EXPECT_EQ(in().m_navTimer(), -1);
    form().checkBox_16->setChecked(true);
    EXPECT_TRUE(runs(in().m_navTimer()));
}

TEST_F(SettingsTest, EverySettingOfTheGeneralPageSurvivesARestart) {
    show();
    form().cbb_selLang->setCurrentIndex(1);
    form().cbb_selTheme->setCurrentIndex(1);
    form().rbtn_videoWinTB->setChecked(true);
    form().cb_playOnStart->setChecked(false);
    form().cb_dispFrmFreq->setChecked(true);
    form().rbtn_scaleQualLow_3->setChecked(true);
    form().rbtn_scaleQualHigh_4->setChecked(true);
    // Nothing but language, theme and directories reaches further than the widgets before the dialog closes.
    EXPECT_EQ(config().video_display_mode, 0);
    EXPECT_FALSE(config().show_fps);
    close();
    EXPECT_EQ(config().language, 1);
    EXPECT_EQ(config().theme, 1);
    EXPECT_EQ(config().video_display_mode, 3);
    EXPECT_TRUE(config().show_fps);
    EXPECT_FALSE(config().send_single);
    EXPECT_EQ(config().platform_type, 1);
    restart();
    EXPECT_EQ(form().cbb_selLang->currentIndex(), 1);
    EXPECT_EQ(form().cbb_selTheme->currentIndex(), 1);
    EXPECT_TRUE(form().rbtn_videoWinTB->isChecked());
    EXPECT_FALSE(form().cb_playOnStart->isChecked());
    EXPECT_TRUE(form().cb_dispFrmFreq->isChecked());
    EXPECT_TRUE(form().rbtn_scaleQualLow_3->isChecked());
    EXPECT_TRUE(form().rbtn_scaleQualHigh_4->isChecked());
    EXPECT_TRUE(ui().action_videoWinTB->isChecked());
    show();
    form().cbb_selLang->setCurrentIndex(0);
    form().cbb_selTheme->setCurrentIndex(0);
    form().rbtn_videoWinLR->setChecked(true);
    form().cb_dispFrmFreq->setChecked(false);
    form().rbtn_scaleQualHigh_3->setChecked(true);
    form().rbtn_scaleQualLow_4->setChecked(true);
    close();
    stop();
    EXPECT_EQ(stored("common/language").toInt(), 0);
    EXPECT_EQ(stored("common/theme").toInt(), 0);
    EXPECT_EQ(stored("common/video_display_mode").toInt(), 2);
    EXPECT_FALSE(stored("decode/show_fps").toBool());
    EXPECT_TRUE(stored("common/send_single").toBool());
    EXPECT_EQ(stored("common/platform_type").toInt(), 0);
}

TEST_F(SettingsTest, PlayAtStartIsStored) {
    EXPECT_FALSE(form().cb_playOnStart->isChecked());
    show();
    form().cb_playOnStart->setChecked(true);
    close();
    EXPECT_TRUE(config().play_video_on_start);
    stop();
    EXPECT_TRUE(stored("common/play_video_on_start").toBool());
}

TEST_F(SettingsTest, EscapeAndTheProgramsEndCloseTheDialogToo) {
    show();
    form().cb_dispFrmFreq->setChecked(true);
    QTest::keyClick(&settings(), Qt::Key_Escape);
    EXPECT_FALSE(settings().isVisible());
    EXPECT_TRUE(config().show_fps);
    show();
    form().cbb_recSaveIntvl->setCurrentIndex(2);
    stop();
    EXPECT_EQ(stored("dataSave/record_interval").toInt(), 5);
}

TEST_F(SettingsTest, ValuesThatNoItemStandsForStay) {
    restartWith({{"common/language", 5},
                 {"common/theme", 9},
                 {"common/video_display_mode", 8},
                 {"common/platform_type", 6}});
    for (const QRadioButton* button :
         {form().rbtn_videoWin1, form().rbtn_videoWin2, form().rbtn_videoWinLR, form().rbtn_videoWinTB,
          form().rbtn_scaleQualLow_4, form().rbtn_scaleQualHigh_4}) {
        EXPECT_FALSE(button->isChecked()) << qPrintable(button->objectName());
    }
    show();
    close();
    EXPECT_EQ(config().language, 5);
    EXPECT_EQ(config().theme, 9);
    EXPECT_EQ(config().video_display_mode, 8);
    EXPECT_EQ(config().platform_type, 6);
}

TEST_F(SettingsTest, TheRadioPairsDoNotDisturbEachOther) {
    form().rbtn_videoWinLR->setChecked(true);
    form().rbtn_scaleQualLow_3->setChecked(true);
    form().rbtn_scaleQualHigh_4->setChecked(true);
    form().rbtn_scaleQualHigh_5->setChecked(true);
    EXPECT_TRUE(form().rbtn_videoWinLR->isChecked());
    EXPECT_TRUE(form().rbtn_scaleQualLow_3->isChecked());
    EXPECT_TRUE(form().rbtn_scaleQualHigh_4->isChecked());
    EXPECT_TRUE(form().rbtn_scaleQualHigh_5->isChecked());
    EXPECT_FALSE(form().rbtn_scaleQualHigh_3->isChecked());
    EXPECT_FALSE(form().rbtn_scaleQualLow_4->isChecked());
    EXPECT_FALSE(form().rbtn_scaleQualLow_5->isChecked());
}

TEST_F(SettingsTest, TheServoFrameShowsItsWidgetsAtOnceAndAtTheStart) {
    in().m_btnCtrlPane()->click();
    ui().tabWidget->setCurrentIndex(1);
    const auto twoAxes = [this] {
        return ui().groupBox_30->isVisible() && ui().lineEdit_22->isVisible() &&
               ui().lineEdit_23->isVisible() && ui().pushButton_162->isVisible() &&
               !ui().pushButton_155->isVisible() && !ui().pushButton_152->isVisible();
    };
    const auto threeAxes = [this] {
        return !ui().groupBox_30->isVisible() && ui().pushButton_155->isVisible() &&
               ui().pushButton_152->isVisible() && ui().lineEdit_12->isVisible() &&
               ui().lineEdit_11->isVisible();
    };
    EXPECT_TRUE(threeAxes());
    form().rbtn_scaleQualHigh_4->setChecked(true);
    EXPECT_TRUE(twoAxes());
    form().rbtn_scaleQualLow_4->setChecked(true);
    EXPECT_TRUE(threeAxes());
    restartWith({{"common/platform_type", 1}});
    in().m_btnCtrlPane()->click();
    ui().tabWidget->setCurrentIndex(1);
    EXPECT_TRUE(twoAxes());
}

TEST_F(SettingsTest, TheTextsThatAreNotInTheFormFollowTheLanguage) {
    EXPECT_EQ(items(form().cbb_selLang), (QStringList{"中文", "英文"}));
    EXPECT_EQ(items(form().cbb_selTheme), (QStringList{"白天", "黑夜"}));
    EXPECT_EQ(items(form().comboBox_12), (QStringList{"白色", "绿色", "黄色"}));
    EXPECT_EQ(items(form().comboBox_13), (QStringList{"中文", "英文"}));
    EXPECT_EQ(items(form().comboBox_48), (QStringList{"H.264", "H.265"}));
    EXPECT_EQ(form().comboBox_12->currentIndex(), 1);
    form().comboBox_12->setCurrentIndex(2);
    form().cbb_selLang->setCurrentIndex(1);
    EXPECT_EQ(items(form().cbb_selLang), (QStringList{"Chinese", "English"}));
    EXPECT_EQ(items(form().cbb_selTheme), (QStringList{"Day", "Night"}));
    EXPECT_EQ(items(form().comboBox_12), (QStringList{"White", "Green", "Yellow"}));
    EXPECT_EQ(items(form().comboBox_13), (QStringList{"Chinese", "English"}));
    EXPECT_EQ(form().comboBox_12->currentIndex(), 2);
    EXPECT_EQ(form().cbb_decMethod->itemText(0), "Software");
}

TEST_F(SettingsTest, TheDisplayButtonsSendTheWordsOfTheirPage) {
    form().rbtn_scaleQualHigh_3->setChecked(true);
    openUdp();
    letTheStartEnd();
    peer.take();
    const auto press = [this](QWidget* button) {
        QTest::mouseClick(button, Qt::LeftButton);
        EXPECT_TRUE(waitFor([this] { return peer.count() > 0; }));
        const auto frames = peer.take();
        EXPECT_EQ(frames.size(), 1U);
        return frames.empty() ? QByteArray() : frames.front();
    };
    show();
    form().widget_title->setCurrentRow(4);
    // Everything off, then two items on, then MGRS.
    EXPECT_TRUE(press(form().pushButton_13).contains(hex("03f77668"))) << "items";
    onPage<SwitchControl>(form().page_osd, "widget")->setToggle(true);
    onPage<SwitchControl>(form().page_osd, "widget_4")->setToggle(true);
    EXPECT_TRUE(press(form().pushButton_13).contains(hex("03fe7668"))) << "two items on";
    form().radioButton_2->setChecked(true);
    EXPECT_TRUE(press(form().pushButton_15).contains(hex("03fe7f68"))) << "stored, with MGRS";
    EXPECT_TRUE(press(form().pushButton_14).contains(hex("0401"))) << "style";
    form().comboBox_12->setCurrentIndex(2);
    form().comboBox_13->setCurrentIndex(1);
    EXPECT_TRUE(press(form().pushButton_14).contains(hex("040a"))) << "yellow, English";
}

// Names repeat between the forms: the others of this dialog never act as the window's own.
TEST_F(SettingsTest, NoOtherButtonOfTheDialogReachesTheCommands) {
    form().rbtn_scaleQualHigh_3->setChecked(true);
    openUdp();
    letTheStartEnd();
    peer.take();
    int pressed = 0;
    for (QPushButton* button : settings().findChildren<QPushButton*>()) {
        const QString name = button->objectName();
        if (name == "pushButton_13" || name == "pushButton_14" || name == "pushButton_15") {
            continue;
        }
        QMyEvent event(EVT_CMD_BTN_DOWN, button, nullptr, 0);
        QCoreApplication::sendEvent(window.get(), &event);
        ++pressed;
    }
    EXPECT_GT(pressed, 15);
    // A command of our own closes the list: nothing came before it.
    window->sendCommand4(113, 0, 0, 0, 0);
    ASSERT_TRUE(waitFor([this] { return peer.count() > 0; }));
    EXPECT_EQ(peer.count(), 1U);
}

TEST_F(SettingsTest, EveryPageStandsWithItsWidgets) {
    const QList<std::pair<QWidget*, QStringList>> pages = {
        {form().page_common,
         {"cbb_selLang", "cbb_selTheme", "rbtn_videoWin1", "cb_playOnStart", "cbb_decMethod", "checkBox_16",
          "comboBox_48", "lineEdit_15", "label_95", "pushButton_53", "rbtn_scaleQualLow_5", "lineEdit_11",
          "pushButton_23", "lineEdit_12", "lineEdit_13", "lineEdit_14", "checkBox_17", "pushButton_24"}},
        {form().page_file, {"le_recSaveDir", "cbb_recSaveIntvl", "checkBox", "checkBox_4"}},
        {form().page_osd,
         {"widget",      "widget_2",      "widget_3",      "widget_4",      "widget_5",
          "label_16",    "widget_6",      "widget_7",      "widget_8",      "widget_10",
          "widget_11",   "radioButton",   "radioButton_2", "widget_13",     "widget_14",
          "widget_28",   "radioButton_3", "radioButton_4", "widget_16",     "widget_17",
          "widget_18",   "widget_29",     "widget_19",     "widget_20",     "comboBox_12",
          "comboBox_13", "pushButton_13", "pushButton_14", "pushButton_15", "pushButton_22"}},
        {form().page_ver, {"label_name", "label_ver", "label_logo"}},
    };
    for (const auto& [page, names] : pages) {
        for (const QString& name : names) {
            EXPECT_NE(page->findChild<QWidget*>(name), nullptr)
                << qPrintable(page->objectName() + "/" + name);
        }
    }
    EXPECT_FALSE(form().label_16->text().isEmpty());
    EXPECT_FALSE(form().label_name->text().isEmpty());
    EXPECT_FALSE(form().label_ver->text().isEmpty());
}

}  // namespace
