// The pages of the settings dialog, each alone on a form.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QRadioButton>
#include <QTemporaryDir>
#include <future>
#include <memory>

#include "app/config/my_app_config.h"
#include "forms/settings_form.h"
#include "link/osd_words.h"
#include "settings/common_page.h"
#include "settings/encoder_page.h"
#include "settings/file_page.h"
#include "settings/osd_page.h"
#include "tests/widgets/wait.h"
#include "widgets/SwitchControl/switch_control.h"
#include "widgets/common_dlg.h"

namespace {

QStringList items(const QComboBox* box) {
    QStringList texts;
    for (int i = 0; i < box->count(); ++i) {
        texts << box->itemText(i);
    }
    return texts;
}

class PageTest : public ::testing::Test {
protected:
    PageTest() : config(folder.filePath("appCfg.ini")), form{setUp()} {}

    QTemporaryDir folder;
    MyAppConfig config;
    common_dlg dialog;
    Ui::dialogSettings ui;
    SettingsForm form;

private:
    Ui::dialogSettings& setUp() {
        ui.setupUi(&dialog);
        return ui;
    }
};

class CommonPageTest : public PageTest {
protected:
    struct Values {
        int language;
        int theme;
        int view;
        bool play;
        bool single;
        int platform;
        int decoder;
        bool fps;
        bool operator==(const Values& o) const {
            return language == o.language && theme == o.theme && view == o.view && play == o.play &&
                   single == o.single && platform == o.platform && decoder == o.decoder && fps == o.fps;
        }
    };
    void set(const Values& v) {
        config.language = v.language;
        config.theme = v.theme;
        config.video_display_mode = v.view;
        config.play_video_on_start = v.play;
        config.send_single = v.single;
        config.platform_type = v.platform;
        config.decode_method = v.decoder;
        config.show_fps = v.fps;
    }
    Values values() const {
        return {
            config.language,    config.theme,         config.video_display_mode, config.play_video_on_start,
            config.send_single, config.platform_type, config.decode_method,      config.show_fps};
    }
    // In the order of the stored values.
    std::vector<QRadioButton*> views() const {
        return {form.view_window1, form.view_window2, form.view_side_by_side, form.view_stacked};
    }
};

TEST_F(CommonPageTest, ShowsEachKeyAndStoresItAgain) {
    CommonPage page(form, config, 7);
    const Values other = {0, 0, 0, false, false, 0, 0, false};
    for (const Values& wanted :
         {Values{1, 0, 1, true, false, 1, 2, false}, Values{0, 1, 2, false, true, 0, 1, true},
          Values{1, 1, 3, true, true, 1, 0, true}, Values{0, 0, 0, false, false, 0, 2, false}}) {
        set(wanted);
        page.load();
        EXPECT_EQ(form.language->currentIndex(), wanted.language);
        EXPECT_EQ(form.theme->currentIndex(), wanted.theme);
        for (int view = 0; view < 4; ++view) {
            EXPECT_EQ(views()[static_cast<std::size_t>(view)]->isChecked(), view == wanted.view) << view;
        }
        EXPECT_EQ(form.open_at_start->isChecked(), wanted.play);
        EXPECT_EQ(form.single_mode->isChecked(), wanted.single);
        EXPECT_EQ(form.periodic_mode->isChecked(), !wanted.single);
        EXPECT_EQ(form.three_axes->isChecked(), wanted.platform == 0);
        EXPECT_EQ(form.two_axes->isChecked(), wanted.platform == 1);
        EXPECT_EQ(form.decoder->currentIndex(), wanted.decoder);
        EXPECT_EQ(form.show_statistics->isChecked(), wanted.fps);
        set(other);
        page.store();
        EXPECT_TRUE(values() == wanted);
    }
}

TEST_F(CommonPageTest, ValuesThatNoWidgetStandsForStay) {
    CommonPage page(form, config, 7);
    const Values strange = {5, 9, 8, true, true, 6, 1, true};
    set(strange);
    page.load();
    page.store();
    EXPECT_TRUE(values() == strange);
    set({-1, -1, -1, true, true, -1, 1, true});
    page.load();
    page.store();
    EXPECT_EQ(config.video_display_mode, -1);
    EXPECT_EQ(config.platform_type, -1);
}

TEST_F(CommonPageTest, LoadingAnnouncesNothing) {
    CommonPage page(form, config, 7);
    int announced = 0;
    const auto count = [&announced] { ++announced; };
    QObject::connect(&page, &CommonPage::languageChosen, count);
    QObject::connect(&page, &CommonPage::themeChosen, count);
    QObject::connect(&page, &CommonPage::sendModeChanged, count);
    QObject::connect(&page, &CommonPage::servoFrameChosen, count);
    for (const int value : {1, 0, 1}) {
        set({value, value, 0, true, value == 1, value, 0, true});
        page.load();
        EXPECT_EQ(form.telemetry_stream->isEnabled(), value == 1);
    }
    EXPECT_EQ(announced, 0);
    // The page speaks again afterwards.
    form.theme->setCurrentIndex(0);
    EXPECT_EQ(announced, 1);
}

TEST_F(CommonPageTest, LoadingPeriodicModeEndsTheStreamOfPositions) {
    CommonPage page(form, config, 7);
    // As it comes from the form, too.
    form.telemetry_stream->setEnabled(true);
    config.send_single = false;
    page.load();
    EXPECT_FALSE(form.telemetry_stream->isEnabled());
    config.send_single = true;
    page.load();
    form.telemetry_stream->setChecked(true);
    EXPECT_TRUE(page.sendsTelemetryPeriodically());
    config.send_single = false;
    page.load();
    EXPECT_FALSE(page.singleMode());
    EXPECT_FALSE(page.sendsTelemetryPeriodically());
    EXPECT_FALSE(form.telemetry_stream->isEnabled());
}

TEST_F(CommonPageTest, AStoredDecoderBeyondTheMaskSelectsTheFirstRow) {
    CommonPage page(form, config, 0b101);
    EXPECT_EQ(form.decoder->count(), 2);
    for (const int beyond : {2, 3, -1, 1000}) {
        form.decoder->setCurrentIndex(1);
        config.decode_method = beyond;
        page.load();
        EXPECT_EQ(form.decoder->currentIndex(), 0) << beyond;
        EXPECT_EQ(page.decoderValue(), 1) << beyond;
    }
    config.decode_method = 1;
    page.load();
    EXPECT_EQ(form.decoder->currentIndex(), 1);
    EXPECT_EQ(page.decoderValue(), 4);
}

TEST_F(CommonPageTest, WithoutAnyDecoderTheSoftwareDecoderIsAskedFor) {
    CommonPage page(form, config, 0);
    page.load();
    page.retranslate();
    EXPECT_EQ(form.decoder->count(), 0);
    EXPECT_EQ(page.decoderValue(), 1);
}

// A driver that takes its time, or never answers, holds nothing and costs no stored choice.
TEST_F(CommonPageTest, DecodersThatAreKnownLateFillTheListThen) {
    auto answer = std::make_shared<std::promise<int>>();
    auto asked = std::make_shared<std::shared_future<int>>(answer->get_future().share());
    config.decode_method = 2;
    CommonPage page(form, config, sorvane::DecoderMask([asked] { return asked->get(); }));
    page.load();
    page.retranslate();
    EXPECT_EQ(form.decoder->count(), 0);
    page.store();
    EXPECT_EQ(config.decode_method, 2) << "the list was empty, not chosen from";
    EXPECT_EQ(page.decoderValue(), 1) << "a stream that opens meanwhile is decoded all the same";
    answer->set_value(7);
    ASSERT_TRUE(waitFor([this] { return form.decoder->count() == 3; }));
    EXPECT_EQ(form.decoder->currentIndex(), 2);
    EXPECT_EQ(items(form.decoder), (QStringList{"软解码", "CUDA解码", "QSV解码"}));
    EXPECT_EQ(page.decoderValue(), 4);
    EXPECT_EQ(form.decoder->count(), 3) << "filled once";
}

TEST_F(CommonPageTest, TheTextsGoByTheDecoderNotByItsRow) {
    CommonPage page(form, config, 0b110);
    page.retranslate();
    EXPECT_EQ(items(form.decoder), (QStringList{"CUDA解码", "QSV解码"}));
    EXPECT_EQ(items(form.language), (QStringList{"中文", "英文"}));
    EXPECT_EQ(items(form.theme), (QStringList{"白天", "黑夜"}));
}

class FilePageTest : public PageTest {
protected:
    std::vector<QCheckBox*> options() const {
        return {form.save_raw, form.save_frame_angles, form.save_attitude, form.save_deviation};
    }
};

TEST_F(FilePageTest, ShowsEachKeyAndStoresItAgain) {
    FilePage page(form, config);
    const std::vector<int> offered = {1, 2, 5, 10, 30};
    for (std::size_t i = 0; i < offered.size(); ++i) {
        const int record = offered[i];
        const int telemetry = offered[offered.size() - 1 - i];
        const int option = 1 << (i % 4) | 1;
        config.record_interval = record;
        config.telemetry_saving_interval = telemetry;
        config.telemetry_saving_option = option;
        page.load();
        EXPECT_EQ(form.record_interval->currentText(), QString::number(record));
        EXPECT_EQ(form.telemetry_interval->currentText(), QString::number(telemetry));
        for (std::size_t bit = 0; bit < 4; ++bit) {
            EXPECT_EQ(options()[bit]->isChecked(), (option >> bit & 1) == 1) << bit;
        }
        config.record_interval = -1;
        config.telemetry_saving_interval = -1;
        config.telemetry_saving_option = 0xF0;
        page.store();
        EXPECT_EQ(config.record_interval, record);
        EXPECT_EQ(config.telemetry_saving_interval, telemetry);
        EXPECT_EQ(config.telemetry_saving_option, option);
    }
}

TEST_F(FilePageTest, AnIntervalThatIsNotOfferedShowsThirty) {
    FilePage page(form, config);
    for (const int minutes : {15, 0, -1, 31}) {
        form.record_interval->setCurrentIndex(0);
        config.record_interval = minutes;
        page.load();
        EXPECT_EQ(form.record_interval->currentText(), "30") << minutes;
    }
    page.store();
    EXPECT_EQ(config.record_interval, 30);
}

// A directory changes by the chooser alone, which stores it at once.
TEST_F(FilePageTest, ShowsTheDirectoriesAndDoesNotStoreThem) {
    FilePage page(form, config);
    config.default_video_saving_directory = "/a/录像";
    config.default_record_open_directory = "/b";
    config.default_telemetry_saving_directory = "/c";
    page.load();
    EXPECT_EQ(form.record_directory->text(), "/a/录像");
    EXPECT_EQ(form.snapshot_directory->text(), "/b");
    EXPECT_EQ(form.telemetry_directory->text(), "/c");
    for (QLineEdit* edit : {form.record_directory, form.snapshot_directory, form.telemetry_directory}) {
        edit->setText("/elsewhere");
    }
    page.store();
    EXPECT_EQ(config.default_video_saving_directory, "/a/录像");
    EXPECT_EQ(config.default_record_open_directory, "/b");
    EXPECT_EQ(config.default_telemetry_saving_directory, "/c");
}

class OsdPageTest : public PageTest {
protected:
    using Bytes = std::vector<int>;
    static Bytes bytes(const sorvane::Command& c) {
        EXPECT_EQ(c.kind, sorvane::Command::Kind::kFour);
        return {c.code, c.bytes[0], c.bytes[1], c.bytes[2], c.bytes[3]};
    }
};

TEST_F(OsdPageTest, StartsGreenWithGeographicDecimalDegrees) {
    OsdPage page(form);
    // The other formats: MGRS; degrees, minutes, seconds.
    ui.radioButton_2->setChecked(true);
    ui.radioButton_3->setChecked(true);
    page.load();
    page.retranslate();
    EXPECT_EQ(items(form.osd_colour), (QStringList{"白色", "绿色", "黄色"}));
    EXPECT_EQ(items(form.osd_language), (QStringList{"中文", "英文"}));
    EXPECT_EQ(form.osd_colour->currentIndex(), 1);
    EXPECT_EQ(form.osd_language->currentIndex(), 0);
    EXPECT_TRUE(form.osd_geographic->isChecked());
    EXPECT_TRUE(form.osd_decimal_degrees->isChecked());
}

TEST_F(OsdPageTest, TheStyleCommandHasColourAndLanguage) {
    OsdPage page(form);
    page.load();
    EXPECT_EQ(bytes(page.styleCommand()), (Bytes{55, 4, 0x01, 0, 0}));
    page.setLanguage(1);
    EXPECT_EQ(form.osd_language->currentIndex(), 1);
    EXPECT_EQ(bytes(page.styleCommand()), (Bytes{55, 4, 0x09, 0, 0}));
    form.osd_colour->setCurrentIndex(2);
    EXPECT_EQ(bytes(page.styleCommand()), (Bytes{55, 4, 0x0A, 0, 0}));
    form.osd_colour->setCurrentIndex(0);
    page.setLanguage(0);
    EXPECT_EQ(bytes(page.styleCommand()), (Bytes{55, 4, 0x00, 0, 0}));
    // A language that the display does not know counts as Chinese.
    page.setLanguage(7);
    EXPECT_EQ(form.osd_language->currentIndex(), -1);
    EXPECT_EQ(bytes(page.styleCommand()), (Bytes{55, 4, 0x00, 0, 0}));
}

TEST_F(OsdPageTest, ALineSaysThatTheSwitchesWereNotReadSinceTheLinkOpened) {
    OsdPage page(form);
    page.load();
    page.linkOpened();
    EXPECT_FALSE(form.osd_unread->isHidden());
    const unsigned char items_reply[] = {1, 3, 0, 0, 0, 0};
    page.onReply(18, items_reply, 5);  // a word cut short
    EXPECT_FALSE(form.osd_unread->isHidden());
    const unsigned char style_reply[] = {1, 4, 0, 0};
    page.onReply(18, style_reply, sizeof style_reply);
    EXPECT_FALSE(form.osd_unread->isHidden()) << "the style is no switch";
    page.onReply(18, items_reply, sizeof items_reply);
    EXPECT_TRUE(form.osd_unread->isHidden());
    page.linkOpened();
    EXPECT_FALSE(form.osd_unread->isHidden()) << "another pod may have answered before";
    EXPECT_TRUE(ui.pushButton_13->isEnabled());
    EXPECT_TRUE(ui.pushButton_15->isEnabled());
}

// What is read back and sent again is the same word, but for the bit that asks for storing and the unused
// one.
TEST_F(OsdPageTest, AReplyShowsWhatThePodShows) {
    OsdPage page(form);
    page.load();
    const auto word = [this] {
        return sorvane::osdWord(
            [this](const char* name) {
                const auto* control = form.osd_page->findChild<SwitchControl*>(name);
                return control != nullptr ? control->isToggled()
                                          : form.osd_page->findChild<QRadioButton*>(name)->isChecked();
            },
            false);
    };
    for (const unsigned told : {0U, 0x7FFFFFU, 0x2AAAAAU, 0x555555U, 0x008800U}) {
        const unsigned char reply[] = {1,
                                       3,
                                       static_cast<unsigned char>(told),
                                       static_cast<unsigned char>(told >> 8U),
                                       static_cast<unsigned char>(told >> 16U),
                                       0};
        page.onReply(18, reply, sizeof reply);
        EXPECT_EQ(word(), told & 0x6FFEFFU) << told;
    }
    const unsigned char style[] = {1, 4, 0x0A, 0};
    page.onReply(18, style, sizeof style);
    EXPECT_EQ(form.osd_colour->currentIndex(), 2);
    EXPECT_EQ(form.osd_language->currentIndex(), 1);
    // Another sender's state, and nothing at all.
    const unsigned char other[] = {2, 3, 0, 0, 0, 0};
    const unsigned before = word();
    page.onReply(18, other, sizeof other);
    page.onReply(18, nullptr, 0);
    EXPECT_EQ(word(), before);
}

TEST_F(PageTest, TheEncoderPageOffersItsCodecsAndMarksEmptyTexts) {
    EncoderPage page(form);
    page.load();
    EXPECT_EQ(items(form.codec), (QStringList{"H.264", "H.265"}));
    EXPECT_EQ(form.codec->currentIndex(), 0);
    for (QLineEdit* edit : {form.custom_text_x, form.custom_text_y, form.custom_text}) {
        EXPECT_TRUE(edit->property("empty").toBool());
        edit->setText("1");
        EXPECT_FALSE(edit->property("empty").toBool());
        edit->clear();
        EXPECT_TRUE(edit->property("empty").toBool());
    }
}

}  // namespace
