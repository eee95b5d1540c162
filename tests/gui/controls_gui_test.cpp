// What the controls of the command pages hold, and the helpers that gestures, keys and the stick call.
#include "input/qmycmdbtn.h"
#include "link_peer.h"
#include "ui_settings.h"
#include "widgets/SwitchControl/switch_control.h"

namespace {

// Code and parameters of each variable frame.
std::vector<QByteArray> commandsOf(const std::vector<QByteArray>& frames) {
    std::vector<QByteArray> commands;
    for (const QByteArray& f : frames) {
        commands.push_back(f.mid(4, 1) + f.mid(6, f.size() - 7));
    }
    return commands;
}

class ControlsTest : public LinkTest {
protected:
    // In single mode; the command of the start has ended.
    void startLinked(const QMap<QString, QVariant>& values = {}) {
        start(values);
        openUdp();
        ui().tabWidget->show();
        letTheStartEnd();
        takeUpToMarker();
    }
    std::vector<QByteArray> takeUpToMarker() {
        const QByteArray marker = hex("FB2CAA02EE7F93");
        const std::uint16_t last = in().m_lastCode();
        window->sendVariableFrame(0x7FEE, nullptr, 0);
        in().m_lastCode() = last;
        EXPECT_TRUE(waitFor([&] { return peer.count() > 0 && peer.frames().back() == marker; }));
        std::vector<QByteArray> frames = peer.take();
        if (!frames.empty()) {
            frames.pop_back();
        }
        return frames;
    }
    std::vector<QByteArray> sent() { return commandsOf(takeUpToMarker()); }
    void click(QMyCmdBtn* button) { QTest::mouseClick(button, Qt::LeftButton); }
    static QStringList items(const QComboBox* box) {
        QStringList texts;
        for (int i = 0; i < box->count(); ++i) {
            texts << box->itemText(i);
        }
        return texts;
    }
};

using Commands = std::vector<QByteArray>;

TEST_F(ControlsTest, StartValues) {
    start();
    EXPECT_TRUE(ui().radioButton_13->isChecked());
    EXPECT_TRUE(ui().comboBox->isHidden());
    EXPECT_EQ(ui().lineEdit_3->text(), "20");
    EXPECT_EQ(ui().horizontalSlider->minimum(), 0);
    EXPECT_EQ(ui().horizontalSlider->maximum(), 20);
    EXPECT_EQ(ui().horizontalSlider->value(), 10);
    EXPECT_EQ(ui().horizontalSlider->pageStep(), 0);
    EXPECT_EQ(ui().comboBox->currentText(), "1");
    EXPECT_EQ(ui().comboBox_2->currentText(), "4");
    EXPECT_EQ(ui().comboBox_6->currentText(), "1");
    EXPECT_EQ(ui().comboBox_3->currentText(), "64 * 64");
    EXPECT_EQ(ui().comboBox_10->currentIndex(), 1);
    EXPECT_EQ(ui().comboBox_11->currentIndex(), 2);
    EXPECT_TRUE(ui().radioButton_15->isChecked());
    EXPECT_TRUE(ui().radioButton_17->isChecked());
    EXPECT_TRUE(ui().widget_3->isToggled());
    EXPECT_FALSE(ui().lineEdit_211->isEnabled());
    EXPECT_FALSE(ui().pushButton_1571->isEnabled());
    const QMap<QString, QString> texts = {
        {"lineEdit", "5"},      {"lineEdit_2", "5"},    {"lineEdit_4", "192"}, {"lineEdit_5", "168"},
        {"lineEdit_16", "1"},   {"lineEdit_19", "160"}, {"lineEdit_6", "64"},  {"lineEdit_7", "64"},
        {"lineEdit_24", ""},    {"lineEdit_9", "0"},    {"lineEdit_8", "0"},   {"lineEdit_12", "0"},
        {"lineEdit_13", "100"}, {"lineEdit_11", "-15"}, {"lineEdit_10", "50"}, {"lineEdit_14", "5"},
        {"lineEdit_15", "5"},   {"lineEdit_22", ""},    {"lineEdit_23", ""},   {"lineEdit_18", ""},
        {"lineEdit_20", ""},    {"lineEdit_17", ""},    {"lineEdit_21", "50"},
    };
    for (auto it = texts.begin(); it != texts.end(); ++it) {
        EXPECT_EQ(ui().tabWidget->findChild<QLineEdit*>(it.key())->text(), it.value())
            << it.key().toStdString();
    }
}

TEST_F(ControlsTest, ItemTexts) {
    start();
    EXPECT_EQ(items(ui().comboBox_4),
              (QStringList{"白热", "黑热", "蓝红黄", "紫红黄", "蓝绿红", "彩虹1", "彩虹2", "黑-红", "墨绿-红",
                           "蓝绿红-粉", "混合色", "红头"}));
    EXPECT_EQ(items(ui().comboBox_5), (QStringList{"无", "1", "2", "3", "4", "5", "6", "7"}));
    EXPECT_EQ(items(ui().comboBox_7), (QStringList{"关", "低", "中", "强"}));
    EXPECT_EQ(items(ui().comboBox_8),
              (QStringList{"开启所有载荷电源", "开启伺服电源", "开启可见光电源", "开启红外电源",
                           "开启激光电源", "开启跟踪器电源", "开启制冷机电源"}));
    EXPECT_EQ(items(ui().comboBox_9),
              (QStringList{"关闭所有载荷电源", "关闭伺服电源", "关闭可见光电源", "关闭红外电源",
                           "关闭激光电源", "关闭跟踪器电源", "关闭制冷机电源"}));
    EXPECT_EQ(items(ui().comboBox_10), (QStringList{"红外", "可见光（广角）", "上下分屏", "画中画-红外",
                                                    "画中画-可见光", "左右分屏", "可见光（长焦）"}));
    EXPECT_EQ(items(ui().comboBox_11), (QStringList{"隐藏", "部分显示", "全部显示"}));
    EXPECT_EQ(items(ui().comboBox_13), (QStringList{"指引", "跟踪"}));
    EXPECT_EQ(items(ui().comboBox_14), (QStringList{"方位扫描", "方位锁定"}));
    EXPECT_EQ(items(ui().comboBox_15), (QStringList{"俯仰扫描", "俯仰锁定"}));
    EXPECT_EQ(items(ui().comboBox_3), (QStringList{"16 * 16", "32 * 32", "64 * 64", "128 * 128"}));
    EXPECT_EQ(ui().comboBox_3->itemData(3).toInt(), 4);
}

TEST_F(ControlsTest, ConfigurationChoosesTheStartItems) {
    start({{"servo_control/max_speed", 60},
           {"servo_control/azimuth_speed", "12.5"},
           {"servo_control/pitch_speed", "-3"},
           {"load_control/ir_pseudo_color_band", 5},
           {"load_control/vl_zoom_level", 7},
           {"load_control/lrf_cycle", 4},
           {"identify_tracking/template_type", 0}});
    EXPECT_EQ(ui().horizontalSlider->maximum(), 60);
    EXPECT_EQ(ui().horizontalSlider->value(), 30);
    EXPECT_EQ(ui().lineEdit->text(), "12.5");
    EXPECT_EQ(ui().lineEdit_2->text(), "-3");
    EXPECT_EQ(ui().comboBox_4->currentIndex(), 5);
    EXPECT_EQ(ui().comboBox_2->currentText(), "7");
    EXPECT_EQ(ui().comboBox_6->currentText(), "5");
    EXPECT_EQ(ui().comboBox_3->currentText(), "16 * 16");
}

TEST_F(ControlsTest, StartSendsNoneOfTheChosenItems) {
    startLinked({{"load_control/ir_pseudo_color_band", 5}});
    EXPECT_EQ(ui().comboBox_4->currentIndex(), 5);
    // The only command of the start is that of the display's language; an item's would have started this
    // timer.
    EXPECT_EQ(in().m_lastCode(), 55);
    EXPECT_EQ(in().m_stopTimer(), 0);
    ui().comboBox_4->setCurrentIndex(7);
    EXPECT_EQ(sent(), Commands()) << "set by the program, not chosen by the operator";
    QTest::keyClick(ui().comboBox_4, Qt::Key_Down);
    EXPECT_EQ(sent(), (Commands{hex("5301080000")}));
}

TEST_F(ControlsTest, ValuesOutOfRangeInTheConfigurationAreHarmless) {
    startLinked({{"servo_control/max_speed", -5},
                 {"load_control/vl_zoom_level", 99},
                 {"load_control/lrf_cycle", -7},
                 {"identify_tracking/template_type", 1000}});
    click(ui().pushButton_119);
    click(ui().pushButton_130);
    EXPECT_EQ(sent(), (Commands{hex("4503000000"), hex("4500000000"), hex("3E00000000")}));
}

TEST_F(ControlsTest, MaximumSpeedSetsTheSlider) {
    startLinked();
    ui().lineEdit_3->setText("101");
    EXPECT_EQ(ui().horizontalSlider->maximum(), 101);
    EXPECT_EQ(ui().horizontalSlider->value(), 50);
    ui().lineEdit_3->setText("rubbish");
    EXPECT_EQ(ui().horizontalSlider->value(), 0);
}

TEST_F(ControlsTest, ArrowWithTheSliderAtZeroSendsRateZero) {
    startLinked();
    ui().horizontalSlider->setValue(0);
    click(ui().pushButton_115);
    EXPECT_EQ(sent(), (Commands{hex("7000000000"), hex("7000000000")}));
}

TEST_F(ControlsTest, CustomTemplateShowsTheHeldValues) {
    startLinked();
    ui().tabWidget->setCurrentIndex(1);
    ui().lineEdit_6->setText("300");
    ui().lineEdit_7->setText("-1");
    click(ui().pushButton_153);
    EXPECT_EQ(sent(), (Commands{hex("230000FF00")}));
    EXPECT_EQ(ui().lineEdit_6->text(), "255");
    EXPECT_EQ(ui().lineEdit_7->text(), "0");
}

TEST_F(ControlsTest, ScanSpeedBelowZero) {
    startLinked();
    ui().tabWidget->setCurrentIndex(1);
    ui().lineEdit_14->setText("-5");
    click(ui().pushButton_156);
    EXPECT_EQ(sent(), (Commands{hex("79CE7F3200")}));
}

TEST_F(ControlsTest, TextThatIsNoNumberSendsZero) {
    startLinked();
    ui().tabWidget->setCurrentIndex(1);
    ui().lineEdit_12->setText("abc");
    ui().lineEdit_13->setText("");
    click(ui().pushButton_155);
    EXPECT_EQ(sent(), (Commands{hex("7700000000")}));
}

TEST_F(ControlsTest, ServoModeChangesTheCentreButtonAndTheSpeedBox) {
    start();
    ui().tabWidget->show();
    EXPECT_EQ(ui().pushButton_24->text(), "归中");
    ui().radioButton_14->setChecked(true);
    EXPECT_FALSE(ui().radioButton_13->isChecked());
    EXPECT_EQ(ui().pushButton_24->text(), "自动校准");
    EXPECT_FALSE(ui().comboBox->isHidden());
    window->retranslate();
    EXPECT_EQ(ui().pushButton_24->text(), "自动校准") << "a change of language keeps it";
    ui().radioButton_13->setChecked(true);
    EXPECT_EQ(ui().pushButton_24->text(), "归中");
    EXPECT_TRUE(ui().comboBox->isHidden());
}

TEST_F(ControlsTest, RetranslationResetsEditsAndTwoBoxesWithoutACommand) {
    startLinked();
    ui().lineEdit_12->setText("99");
    ui().lineEdit_24->setText("7");
    ui().comboBox_10->setCurrentIndex(4);
    ui().comboBox_11->setCurrentIndex(0);
    ui().comboBox_4->setCurrentIndex(3);
    in().m_telemetry().status_word_a = 1U << 4;
    window->retranslate();
    EXPECT_EQ(ui().lineEdit_12->text(), "0");
    EXPECT_EQ(ui().lineEdit_24->text(), "7");
    EXPECT_EQ(ui().comboBox_10->currentIndex(), 1);
    EXPECT_EQ(ui().comboBox_11->currentIndex(), 2);
    EXPECT_EQ(ui().comboBox_4->currentIndex(), 3);
    EXPECT_EQ(ui().pushButton_132->text(), "停止录像");
    EXPECT_EQ(sent(), Commands());
}

TEST_F(ControlsTest, LockedAxisHasNoSpeed) {
    startLinked();
    ui().tabWidget->setCurrentIndex(1);
    QTest::keyClick(ui().comboBox_14, Qt::Key_Down);
    EXPECT_FALSE(ui().lineEdit_14->isEnabled());
    EXPECT_TRUE(ui().lineEdit_15->isEnabled());
    QTest::keyClick(ui().comboBox_15, Qt::Key_Down);
    EXPECT_FALSE(ui().lineEdit_15->isEnabled());
    QTest::keyClick(ui().comboBox_14, Qt::Key_Up);
    EXPECT_TRUE(ui().lineEdit_14->isEnabled());
    EXPECT_EQ(sent(), Commands());
    EXPECT_EQ(in().m_stopTimer(), 0);
}

TEST_F(ControlsTest, IlluminatorEnablesItsFields) {
    startLinked();
    ui().tabWidget->setCurrentIndex(1);
    QTest::mouseClick(ui().widget_81, Qt::LeftButton);
    EXPECT_TRUE(ui().lineEdit_211->isEnabled());
    EXPECT_TRUE(ui().pushButton_1571->isEnabled());
    QTest::mouseClick(ui().widget_81, Qt::LeftButton);
    EXPECT_FALSE(ui().lineEdit_211->isEnabled());
    EXPECT_FALSE(ui().pushButton_1571->isEnabled());
    EXPECT_EQ(sent(), (Commands{hex("3501000000"), hex("3500000000")}));
}

TEST_F(ControlsTest, AlarmSwitchIsReadByItsButtonOnly) {
    startLinked();
    ui().tabWidget->setCurrentIndex(1);
    ui().lineEdit_212->setText("60.5");
    QTest::mouseClick(ui().widget_82, Qt::LeftButton);
    EXPECT_EQ(sent(), Commands());
    click(ui().pushButton_1572);
    EXPECT_EQ(sent(), (Commands{hex("5C805D0200")}));
}

TEST_F(ControlsTest, SameItemChosenAgainSendsAgain) {
    startLinked();
    emit ui().comboBox_7->activated(2);
    emit ui().comboBox_7->activated(2);
    EXPECT_EQ(sent(), (Commands{hex("4A02000000"), hex("4A02000000")}));
    EXPECT_GT(in().m_stopTimer(), 0);
    EXPECT_TRUE(waitFor([this] { return in().m_stopTimer() == 0; }));
}

TEST_F(ControlsTest, StopTimerStartsAnewAndIsNotDoubled) {
    startLinked();
    const auto hundreds = [this] {
        int n = 0;
        for (const auto& info : QAbstractEventDispatcher::instance()->registeredTimers(window.get())) {
            n += info.interval == 100 ? 1 : 0;
        }
        return n;
    };
    EXPECT_EQ(hundreds(), 1) << "the main tick";
    for (int i = 0; i < 5; ++i) {
        window->startStopTimer();
    }
    EXPECT_EQ(hundreds(), 2);
    EXPECT_TRUE(waitFor([this] { return in().m_stopTimer() == 0; }));
    EXPECT_EQ(hundreds(), 1);
}

TEST_F(ControlsTest, WheelZoomWithTheInfraredShown) {
    startLinked();
    window->setZoom(1, 1);
    EXPECT_EQ(sent(), (Commands{hex("500F000000")}));
    EXPECT_TRUE(waitFor([this] { return in().m_zoomTimers().isEmpty(); }));
    EXPECT_EQ(sent(), (Commands{hex("5000000000")}));
}

TEST_F(ControlsTest, WheelZoomStopsAfterTheLastNotchOnly) {
    startLinked();
    in().m_telemetry().display_mode = 1;
    window->setZoom(1, 1);
    window->setZoom(1, 1);
    window->setZoom(1, 2);
    EXPECT_EQ(in().m_zoomTimers().size(), 3);
    EXPECT_TRUE(waitFor([this] { return in().m_zoomTimers().isEmpty(); }));
    EXPECT_EQ(sent(), (Commands{hex("4501070000"), hex("4501070000"), hex("4502070000"), hex("4500000000")}));
}

TEST_F(ControlsTest, WheelZoomOfTheSecondWindowAndOfNone) {
    startLinked();
    window->setZoom(2, 2);
    window->setZoom(0, 1);
    window->setZoom(3, 1);
    EXPECT_EQ(in().m_zoomTimers().size(), 1);
    EXPECT_EQ(sent(), (Commands{hex("5002070000")}));
}

TEST_F(ControlsTest, WheelZoomWithoutALinkDoesNothing) {
    start();
    const int last = in().m_lastCode();
    window->setZoom(1, 1);
    EXPECT_TRUE(in().m_zoomTimers().isEmpty());
    EXPECT_EQ(in().m_lastCode(), last);
}

TEST_F(ControlsTest, TrackingHelpers) {
    startLinked();
    window->trackPoint(-2, 300);
    window->toggleTracking();
    EXPECT_EQ(sent(), (Commands{hex("3AFEFF2C01"), hex("3A00000000")}));
    EXPECT_EQ(in().m_stopTimer(), 0);
    in().m_tracking() = true;
    window->toggleTracking();
    EXPECT_EQ(sent(), (Commands{hex("3B00000000")}));
    EXPECT_GT(in().m_stopTimer(), 0);
}

TEST_F(ControlsTest, ZoomBySource) {
    startLinked();
    window->zoomInBySource();
    window->zoomOutBySource();
    in().m_telemetry().display_mode = 3;
    window->zoomInBySource();
    in().m_telemetry().display_mode = 2;
    window->zoomInBySource();
    window->zoomOutBySource();
    EXPECT_EQ(sent(), (Commands{hex("500F000000"), hex("5010000000"), hex("500F000000"), hex("4501000000"),
                                hex("4502000000")}));
}

TEST_F(ControlsTest, DisplayPageOfTheSettingsReachesTheChain) {
    startLinked();
    auto& page = *in().m_settings()->ui;
    window->OnFileSettings();
    page.stackedWidget->setCurrentWidget(page.page_osd);
    for (auto* toggle : page.page_osd->findChildren<SwitchControl*>()) {
        toggle->setToggle(false);
    }
    click(page.pushButton_13);
    click(page.pushButton_15);
    EXPECT_EQ(sent(), (Commands{hex("3703F77668"), hex("3703F77768")}));
    page.radioButton_2->setChecked(true);
    page.radioButton_3->setChecked(true);
    page.widget_4->setToggle(true);
    click(page.pushButton_13);
    EXPECT_EQ(sent(), (Commands{hex("3703FFFE68")}));
    page.comboBox_12->setCurrentIndex(2);
    page.comboBox_13->setCurrentIndex(0);
    click(page.pushButton_14);
    EXPECT_EQ(sent(), (Commands{hex("3704020000")}));
}

// The counter is the process's, so the first press of this test may find it anywhere.
TEST_F(ControlsTest, OsdNextGoesRoundWithoutTouchingTheBox) {
    startLinked();
    for (int i = 0; i < 4; ++i) {
        window->osdNext();
    }
    const Commands commands = sent();
    ASSERT_EQ(commands.size(), 4U);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(commands[i][0], 55);
        EXPECT_EQ(commands[i][1], (commands[0][1] + static_cast<int>(i)) % 3);
    }
    EXPECT_EQ(ui().comboBox_11->currentIndex(), 2);
    ASSERT_TRUE(waitFor([this] { return in().m_stopTimer() == 0; }));
}

}  // namespace
