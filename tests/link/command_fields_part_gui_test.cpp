// What the controls of the command pages hold, without the window.
#include <gtest/gtest.h>

#include <QMainWindow>
#include <QTemporaryDir>
#include <QTranslator>

#include "app/config/my_app_config.h"
#include "forms/main_form.h"
#include "link/command_fields.h"
#include "tests/fakes/built_form.h"
#include "widgets/marked_row.h"

namespace {

QStringList items(const QComboBox* box) {
    QStringList texts;
    for (int i = 0; i < box->count(); ++i) {
        texts << box->itemText(i);
    }
    return texts;
}

class CommandFieldsPart : public ::testing::Test {
protected:
    ~CommandFieldsPart() override { QCoreApplication::removeTranslator(&translator); }

    void speakEnglish() {
        ASSERT_TRUE(translator.load("./translations/Translation_en.qm"));
        QCoreApplication::installTranslator(&translator);
    }

    QTemporaryDir folder;
    MyAppConfig config{folder.filePath("appCfg.ini")};
    QTranslator translator;
    QMainWindow window;
    Ui::KorvathClass ui = builtForm<Ui::KorvathClass>(window);
    MainForm form{ui};
    CommandFields fields{form, window};
};

TEST_F(CommandFieldsPart, BeginsInFrameModeWithTheIlluminatorOff) {
    EXPECT_TRUE(form.frame_mode->isChecked());
    EXPECT_EQ(form.centre->text(), "归中");
    EXPECT_TRUE(form.gyro_speed->isHidden());
    EXPECT_FALSE(form.illuminator_rate->isEnabled());
    EXPECT_FALSE(form.illuminator_set->isEnabled());
}

TEST_F(CommandFieldsPart, BeginsInFrameModeWhateverTheFormSays) {
    QMainWindow other;
    Ui::KorvathClass other_ui = builtForm<Ui::KorvathClass>(other);
    const MainForm other_form{other_ui};
    other_form.gyro_mode->setChecked(true);
    const CommandFields other_fields(other_form, other);
    EXPECT_TRUE(other_form.frame_mode->isChecked());
    EXPECT_FALSE(other_form.gyro_mode->isChecked());
}

TEST_F(CommandFieldsPart, EachChoiceIsAGroupOfItsOwn) {
    form.gyro_mode->setChecked(true);
    EXPECT_FALSE(form.frame_mode->isChecked());
    form.detect_infrared->setChecked(true);
    form.detect_usual->setChecked(true);
    EXPECT_TRUE(form.detect_infrared->isChecked());
    form.detect_visible->setChecked(true);
    EXPECT_FALSE(form.detect_infrared->isChecked());
    EXPECT_TRUE(form.detect_usual->isChecked());
    form.detect_tiles->setChecked(true);
    EXPECT_FALSE(form.detect_usual->isChecked());
    form.detect_region->setChecked(true);
    EXPECT_FALSE(form.detect_tiles->isChecked());
    EXPECT_TRUE(form.detect_visible->isChecked());
    EXPECT_TRUE(form.gyro_mode->isChecked());
}

TEST_F(CommandFieldsPart, ANewMaximumSetsTheRateToItsHalf) {
    EXPECT_EQ(form.rate->minimum(), 0);
    EXPECT_EQ(form.rate->pageStep(), 0);
    form.rate_maximum->setText("31");
    EXPECT_EQ(form.rate->maximum(), 31);
    EXPECT_EQ(form.rate->value(), 15);
    form.rate_maximum->setText("8");
    EXPECT_EQ(form.rate->maximum(), 8);
    EXPECT_EQ(form.rate->value(), 4);
}

TEST_F(CommandFieldsPart, TheServoModeNamesTheButtonAndShowsTheSpeed) {
    fields.showServoMode(false);
    EXPECT_EQ(form.centre->text(), "自动校准");
    EXPECT_FALSE(form.gyro_speed->isHidden());
    fields.showServoMode(true);
    EXPECT_EQ(form.centre->text(), "归中");
    EXPECT_TRUE(form.gyro_speed->isHidden());
}

TEST_F(CommandFieldsPart, ALockedAxisHasNoSpeed) {
    fields.onAzimuthMode(1);
    EXPECT_FALSE(form.azimuth_speed->isEnabled());
    EXPECT_TRUE(form.pitch_speed->isEnabled());
    fields.onPitchMode(1);
    EXPECT_FALSE(form.pitch_speed->isEnabled());
    fields.onAzimuthMode(0);
    EXPECT_TRUE(form.azimuth_speed->isEnabled());
    EXPECT_FALSE(form.pitch_speed->isEnabled());
    fields.onPitchMode(0);
    EXPECT_TRUE(form.pitch_speed->isEnabled());
}

TEST_F(CommandFieldsPart, TheIlluminatorsRateIsSetWhileItIsOn) {
    fields.onIlluminator(true);
    EXPECT_TRUE(form.illuminator_rate->isEnabled());
    EXPECT_TRUE(form.illuminator_set->isEnabled());
    fields.onIlluminator(false);
    EXPECT_FALSE(form.illuminator_rate->isEnabled());
    EXPECT_FALSE(form.illuminator_set->isEnabled());
}

TEST_F(CommandFieldsPart, TheBoxesAreFilledAndBeginAsConfigured) {
    config.ir_pseudo_color_band = 11;
    config.vl_zoom_level = 6;
    config.lrf_cycle = 3;
    config.template_type = 1;
    fields.fillCombos(config);
    EXPECT_EQ(items(form.palette), (QStringList{"白热", "黑热", "蓝红黄", "紫红黄", "蓝绿红", "彩虹1",
                                                "彩虹2", "黑-红", "墨绿-红", "蓝绿红-粉", "混合色", "红头"}));
    EXPECT_EQ(items(form.gyro_speed), (QStringList{"1", "2", "3", "4", "5", "6", "7", "8", "9", "10"}));
    EXPECT_EQ(items(form.visible_speed), (QStringList{"0", "1", "2", "3", "4", "5", "6", "7"}));
    EXPECT_EQ(items(form.range_period), (QStringList{"1", "2", "3", "4", "5"}));
    EXPECT_EQ(items(form.template_size), (QStringList{"16 * 16", "32 * 32", "64 * 64", "128 * 128"}));
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(form.template_size->itemData(i).toInt(), i + 1);
    }
    EXPECT_EQ(items(form.osd_mode), (QStringList{"隐藏", "部分显示", "全部显示"}));
    EXPECT_EQ(form.palette->currentIndex(), 11);
    EXPECT_EQ(form.visible_speed->currentIndex(), 6);
    EXPECT_EQ(form.range_period->currentIndex(), 3);
    EXPECT_EQ(form.template_size->currentIndex(), 1);
    fields.fillCombos(config);
    EXPECT_EQ(form.palette->count(), 12) << "filled anew, not twice";
    EXPECT_EQ(form.gyro_speed->count(), 10);
    EXPECT_EQ(form.template_size->count(), 4);
}

TEST_F(CommandFieldsPart, TheEditsBeginAsConfigured) {
    config.max_speed = 26;
    config.azimuth_speed = "7.5";
    config.pitch_speed = "-3";
    fields.fillEdits(config);
    EXPECT_EQ(form.rate_maximum->text(), "26");
    EXPECT_EQ(form.rate->value(), 13);
    EXPECT_EQ(form.guide_azimuth->text(), "7.5");
    EXPECT_EQ(form.guide_pitch->text(), "-3");
}

TEST_F(CommandFieldsPart, ALanguageChangeTurnsTheItemsAndKeepsMostChoices) {
    fields.fillCombos(config);
    form.palette->setCurrentIndex(5);
    form.enhancement->setCurrentIndex(4);
    form.locate_mode->setCurrentIndex(1);
    form.display_mode->setCurrentIndex(4);
    form.osd_mode->setCurrentIndex(0);
    int commands = 0;
    for (QComboBox* box : {form.palette, form.display_mode, form.osd_mode}) {
        QObject::connect(box, QOverload<int>::of(&QComboBox::activated), [&] { ++commands; });
    }
    speakEnglish();
    fields.retranslate();
    EXPECT_EQ(form.palette->currentIndex(), 5);
    EXPECT_EQ(form.enhancement->currentIndex(), 4);
    EXPECT_EQ(form.locate_mode->currentIndex(), 1);
    // These two are chosen again, without a command.
    EXPECT_EQ(form.display_mode->currentIndex(), 1);
    EXPECT_EQ(form.osd_mode->currentIndex(), 2);
    EXPECT_EQ(commands, 0);
    for (const QComboBox* box :
         {form.palette, form.fog_level, form.load_enable, form.load_sleep, form.display_mode, form.osd_mode,
          form.locate_mode, form.azimuth_mode, form.pitch_mode}) {
        for (const QString& text : items(box)) {
            EXPECT_EQ(text, QString::fromLatin1(text.toLatin1())) << qPrintable(box->objectName());
        }
    }
    EXPECT_EQ(form.centre->text(), QString::fromLatin1(form.centre->text().toLatin1()));
    EXPECT_EQ(items(form.enhancement).mid(1), (QStringList{"1", "2", "3", "4", "5", "6", "7"}));
}

TEST_F(CommandFieldsPart, ALanguageChangeSetsTheEditsBackToTheirStart) {
    struct Start {
        QLineEdit* edit;
        const char* text;
    };
    const Start starts[] = {
        {form.pod_address_1, "192"},
        {form.pod_address_2, "168"},
        {form.pod_address_3, "1"},
        {form.pod_address_4, "160"},
        {form.template_width, "64"},
        {form.template_height, "64"},
        {form.region_x, "0"},
        {form.region_y, "0"},
        {form.scan_azimuth_centre, "0"},
        {form.scan_azimuth_range, "100"},
        {form.azimuth_speed, "5"},
        {form.pitch_speed, "5"},
        {form.scan_pitch_centre, "-15"},
        {form.scan_pitch_range, "50"},
        {form.focal_length, "50"},
    };
    for (const Start& start : starts) {
        start.edit->setText("9");
    }
    form.guide_azimuth->setText("9");
    form.rate_maximum->setText("9");
    fields.retranslate();
    for (const Start& start : starts) {
        EXPECT_EQ(start.edit->text(), start.text) << qPrintable(start.edit->objectName());
    }
    EXPECT_EQ(form.guide_azimuth->text(), "9");
    EXPECT_EQ(form.rate_maximum->text(), "9");
}

TEST_F(CommandFieldsPart, ALanguageChangeKeepsTheServoMode) {
    form.gyro_mode->setChecked(true);
    form.centre->setText("x");
    fields.retranslate();
    EXPECT_EQ(form.centre->text(), "自动校准");
    EXPECT_FALSE(form.gyro_speed->isHidden());
}

TEST_F(CommandFieldsPart, ThePicturesReportedIsMarkedAndNotChosen) {
    fields.fillCombos(config);
    form.display_mode->setCurrentIndex(6);
    const auto* marked = qobject_cast<const MarkedRow*>(form.display_mode->itemDelegate());
    ASSERT_NE(marked, nullptr);
    EXPECT_EQ(marked->row(), -1);
    fields.showReportedMode(3);
    EXPECT_EQ(marked->row(), 3);
    EXPECT_EQ(form.display_mode->currentIndex(), 6);
    EXPECT_EQ(form.display_mode->currentText(), "可见光（长焦）");
}

TEST_F(CommandFieldsPart, StoreTakesWhatTheControlsHold) {
    fields.fillCombos(config);
    form.rate_maximum->setText("44");
    form.palette->setCurrentIndex(7);
    form.visible_speed->setCurrentIndex(2);
    form.range_period->setCurrentIndex(4);
    form.template_size->setCurrentIndex(3);
    fields.store(config);
    EXPECT_EQ(config.max_speed, 44);
    EXPECT_EQ(config.ir_pseudo_color_band, 7);
    EXPECT_EQ(config.vl_zoom_level, 2);
    EXPECT_EQ(config.lrf_cycle, 4);
    EXPECT_EQ(config.template_type, 3);
}

}  // namespace
