// The configuration: defaults, limits, what is saved, bad files.
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <functional>

#include "korvath_fixture.h"

namespace {

class Config : public KorvathTest {
protected:
    QString path() const { return QCoreApplication::applicationDirPath() + "/config_test.ini"; }
    void SetUp() override { QFile::remove(path()); }
    void TearDown() override {
        QFile::setPermissions(path(), QFile::ReadOwner | QFile::WriteOwner);
        QFile::remove(path());
        KorvathTest::TearDown();
    }
    void write(const QByteArray& text) {
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    }
    QSettings* raw() {
        auto* settings = new QSettings(path(), QSettings::IniFormat, qApp);
        settings->setIniCodec("utf-8");
        return settings;
    }
};

const QStringList kNeverSaved = {
    "common/app_title",       "connection/encoder_page",      "decode/av_dict_set",
    "decode/head_422",        "decode/show_fps_init",         "decode/show_fps_min",
    "decode/show_fps_modify", "decode/cache_frame_count_max", "decode/cache_frame_count_start"};

TEST_F(Config, AMissingFileGivesTheDefaults) {
    MyAppConfig c(path());
    c.load();
    const QString program = QCoreApplication::applicationDirPath();
    EXPECT_EQ(c.app_title, "Duskmere");
    EXPECT_EQ(c.language, 0);
    EXPECT_EQ(c.theme, 0);
    EXPECT_EQ(c.video_display_mode, 0);
    EXPECT_TRUE(c.play_video_on_start);
    EXPECT_TRUE(c.send_single);
    EXPECT_EQ(c.platform_type, 0);
    EXPECT_EQ(c.send_period_ms, 40);
    EXPECT_EQ(c.check_video_ms, 5000);
    EXPECT_FALSE(c.js_enable);
    EXPECT_FALSE(c.js_yaw_reverse);
    EXPECT_FALSE(c.js_pitch_reverse);
    EXPECT_EQ(c.js_sensitivity, 10);
    EXPECT_TRUE(c.js_btn_cmd_map.isEmpty());
    EXPECT_TRUE(c.js_rocker_cmd_map.isEmpty());
    EXPECT_EQ(c.video1_play_address, QStringList{"rtsp://192.168.1.160:554/live/track0"});
    EXPECT_EQ(c.video1_port, 8001);
    EXPECT_EQ(c.video2_play_address, "rtsp://192.168.1.160:554/live/track1");
    EXPECT_EQ(c.video2_port, 14001);
    EXPECT_EQ(c.destination_address, "192.168.0.1");
    EXPECT_EQ(c.destination_port, 8000);
    EXPECT_EQ(c.local_bind_port, 12001);
    EXPECT_EQ(c.encoder_page, "http://192.168.1.160/");
    EXPECT_EQ(c.decode_method, 1);
    EXPECT_FALSE(c.show_fps);
    EXPECT_EQ(c.av_dict_set, "");
    EXPECT_EQ(c.head_422, QByteArray("0"));
    EXPECT_EQ(c.cache_frame_count_start, 0);
    EXPECT_EQ(c.cache_frame_count_max, 20);
    EXPECT_EQ(c.show_fps_init, 40.0F);
    EXPECT_EQ(c.show_fps_modify, 1.0F);
    EXPECT_EQ(c.show_fps_min, 35);
    EXPECT_EQ(c.default_video_saving_directory, program + "/record");
    EXPECT_EQ(c.default_record_open_directory, program + "/record");
    EXPECT_EQ(c.default_telemetry_saving_directory, program + "/telem");
    EXPECT_EQ(c.record_interval, 10);
    EXPECT_EQ(c.telemetry_saving_interval, 10);
    EXPECT_EQ(c.telemetry_saving_option, 15);
    EXPECT_EQ(c.serial_port, "COM5");
    EXPECT_EQ(c.baudrate, "115200");
    EXPECT_EQ(c.net_type, 0);
    EXPECT_EQ(c.video_type, 0);
    EXPECT_EQ(c.azimuth_speed, "5");
    EXPECT_EQ(c.pitch_speed, "5");
    EXPECT_EQ(c.max_speed, 20);
    EXPECT_EQ(c.ir_pseudo_color_band, 0);
    EXPECT_EQ(c.vl_zoom_level, 4);
    EXPECT_EQ(c.lrf_cycle, 0);
    EXPECT_EQ(c.template_type, 2);
    EXPECT_FALSE(c.recv_telemetry);
    EXPECT_EQ(c.recv_port, 0);
}

TEST_F(Config, APeriodOfFiveBecomesTwentyAndIsWrittenBack) {
    start({{"common/send_period_ms", 5}});
    EXPECT_EQ(window->config().send_period_ms, 20);
    stop();
    QSettings file(configPath(), QSettings::IniFormat);
    EXPECT_EQ(file.value("common/send_period_ms").toInt(), 20);
}

TEST_F(Config, ThePeriodAndTheCheckAreHeldToTheirLimits) {
    for (const auto& [stored, loaded] :
         {std::pair{19, 20}, {20, 20}, {1000, 1000}, {1001, 1000}, {-7, 20}, {0, 20}}) {
        write("[common]\nsend_period_ms=" + QByteArray::number(stored) + "\n");
        MyAppConfig c(path());
        c.load();
        EXPECT_EQ(c.send_period_ms, loaded) << stored;
    }
    for (const auto& [stored, loaded] : {std::pair{0, 5000}, {4999, 5000}, {5000, 5000}, {70000, 70000}}) {
        write("[common]\ncheck_video_ms=" + QByteArray::number(stored) + "\n");
        MyAppConfig c(path());
        c.load();
        EXPECT_EQ(c.check_video_ms, loaded) << stored;
    }
}

TEST_F(Config, AfterOneRunWithoutTheFileItHoldsAllSavedKeysAndNoneOfTheOthers) {
    QFile::remove(configPath());
    // Nothing is opened in the time this test runs: the automatic opening waits two seconds after the first
    // show.
    open();
    stop();
    QSettings file(configPath(), QSettings::IniFormat);
    const QStringList keys = file.allKeys();
    EXPECT_EQ(keys.size(), 42);
    for (const QString& key : kNeverSaved) {
        EXPECT_FALSE(keys.contains(key)) << key.toStdString();
    }
    for (const char* key :
         {"common/language", "connection/video1_play_address", "dataSave/telemetry_saving_option",
          "interface/recv_port", "servo_control/max_speed", "identify_tracking/template_type"}) {
        EXPECT_TRUE(keys.contains(key)) << key;
    }
}

TEST_F(Config, ATitleAddedByHandSurvivesARunAndSetsTheTitle) {
    start({{"common/app_title", QString::fromUtf8("北斗一号")}});
    EXPECT_EQ(window->windowTitle(), QString::fromUtf8("北斗一号"));
    stop();
    QSettings file(configPath(), QSettings::IniFormat);
    file.setIniCodec("utf-8");
    EXPECT_EQ(file.value("common/app_title").toString(), QString::fromUtf8("北斗一号"));
}

TEST_F(Config, AChinesePathRoundTripsThroughUtf8) {
    const QString directory = QString::fromUtf8("/数据/录像 一");
    {
        MyAppConfig c(path());
        c.load();
        c.default_video_saving_directory = directory;
        c.save();
    }
    QFile file(path());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(file.readAll().contains(directory.toUtf8()));
    MyAppConfig again(path());
    again.load();
    EXPECT_EQ(again.default_video_saving_directory, directory);
}

TEST_F(Config, EverySavedKeyRoundTrips) {
    {
        MyAppConfig c(path());
        c.load();
        c.language = 1;
        c.theme = 1;
        c.video_display_mode = 3;
        c.play_video_on_start = false;
        c.send_single = false;
        c.platform_type = 1;
        c.send_period_ms = 25;
        c.check_video_ms = 6000;
        c.js_enable = true;
        c.js_sensitivity = 3;
        c.video1_play_address = QStringList{"rtsp://a/1", "192.0.2.1", QString::fromUtf8("含,逗号;分号")};
        c.video2_play_address = "rtsp://b/2";
        c.net_type = 1;
        c.azimuth_speed = "7.5";
        c.recv_telemetry = true;
        c.recv_port = 6001;
        c.save();
    }
    MyAppConfig c(path());
    c.load();
    EXPECT_EQ(c.language, 1);
    EXPECT_EQ(c.theme, 1);
    EXPECT_EQ(c.video_display_mode, 3);
    EXPECT_FALSE(c.play_video_on_start);
    EXPECT_FALSE(c.send_single);
    EXPECT_EQ(c.platform_type, 1);
    EXPECT_EQ(c.send_period_ms, 25);
    EXPECT_EQ(c.check_video_ms, 6000);
    EXPECT_TRUE(c.js_enable);
    EXPECT_EQ(c.js_sensitivity, 3);
    EXPECT_EQ(c.video1_play_address,
              (QStringList{"rtsp://a/1", "192.0.2.1", QString::fromUtf8("含,逗号;分号")}));
    EXPECT_EQ(c.video2_play_address, "rtsp://b/2");
    EXPECT_EQ(c.net_type, 1);
    EXPECT_EQ(c.azimuth_speed, "7.5");
    EXPECT_TRUE(c.recv_telemetry);
    EXPECT_EQ(c.recv_port, 6001);
}

TEST_F(Config, JoystickMapsRoundTripAsArraysOfPidAndCmd) {
    const MyAppConfig::CommandMap buttons{{3, {1, 2}}, {1, {QString("a"), 4.5}}};
    {
        MyAppConfig c(path());
        c.load();
        c.js_btn_cmd_map = buttons;
        c.save();
    }
    std::unique_ptr<QSettings> file(raw());
    const QJsonArray array = file->value("common/js_btn_cmd_map").toJsonArray();
    ASSERT_EQ(array.size(), 2);
    EXPECT_EQ(array[0].toObject()["pid"].toInt(), 1);
    EXPECT_EQ(array[1].toObject()["pid"].toInt(), 3);
    EXPECT_EQ(array[1].toObject()["cmd"].toArray(), (QJsonArray{1, 2}));
    MyAppConfig again(path());
    again.load();
    EXPECT_EQ(again.js_btn_cmd_map.keys(), buttons.keys());
    EXPECT_EQ(again.js_btn_cmd_map[3].size(), 2);
    EXPECT_EQ(again.js_btn_cmd_map[3][1].toInt(), 2);
    EXPECT_TRUE(again.js_rocker_cmd_map.isEmpty());
}

TEST_F(Config, EmptyDirectoriesBecomeTheDefaults) {
    write("[dataSave]\ndefault_video_saving_directory=\ndefault_telemetry_saving_directory=\n");
    MyAppConfig c(path());
    c.load();
    EXPECT_EQ(c.default_video_saving_directory, QCoreApplication::applicationDirPath() + "/record");
    EXPECT_EQ(c.default_telemetry_saving_directory, QCoreApplication::applicationDirPath() + "/telem");
}

TEST_F(Config, ValuesOfTheWrongTypeConvertAsTheVariantDoes) {
    write(
        "[common]\ntheme=night\nplay_video_on_start=2\nsend_single=\nlanguage=1.9\n"
        "js_btn_cmd_map=rubbish\n[decode]\nshow_fps_init=fast\n");
    MyAppConfig c(path());
    c.load();
    EXPECT_EQ(c.theme, 0);
    EXPECT_TRUE(c.play_video_on_start);
    EXPECT_FALSE(c.send_single);
    EXPECT_EQ(c.language, QVariant("1.9").toInt());
    EXPECT_TRUE(c.js_btn_cmd_map.isEmpty());
    EXPECT_EQ(c.show_fps_init, 0.0F);
}

TEST_F(Config, AnEmptyOrUnreadableFileGivesTheDefaults) {
    write("");
    MyAppConfig empty(path());
    empty.load();
    EXPECT_EQ(empty.send_period_ms, 40);
    QByteArray noise;
    for (int i = 0; i < 4096; ++i) {
        noise.append(static_cast<char>(i * 7919 >> 3));
    }
    write(noise);
    MyAppConfig rubbish(path());
    rubbish.load();
    EXPECT_EQ(rubbish.send_period_ms, 40);
    EXPECT_EQ(rubbish.destination_address, "192.168.0.1");
    // A folder of that name cannot be read as a file.
    QFile::remove(path());
    ASSERT_TRUE(QDir().mkpath(path()));
    MyAppConfig folder(path());
    folder.load();
    folder.save();
    EXPECT_EQ(folder.send_period_ms, 40);
    EXPECT_TRUE(QDir().rmdir(path()));
}

// The new content goes to a file of its own that then takes the place of the old one: another name for the
// old file still shows the old content after the save.
TEST_F(Config, SavingReplacesTheFileWhole) {
    write("[common]\ntheme=1\n");
    const QString other = path() + ".link";
    QFile::remove(other);
    ASSERT_EQ(::link(path().toLocal8Bit().constData(), other.toLocal8Bit().constData()), 0);
    {
        MyAppConfig c(path());
        c.load();
        c.theme = 0;
        c.save();
    }
    QFile old(other);
    ASSERT_TRUE(old.open(QIODevice::ReadOnly));
    EXPECT_EQ(old.readAll(), QByteArray("[common]\ntheme=1\n"));
    QFile::remove(other);
    MyAppConfig again(path());
    again.load();
    EXPECT_EQ(again.theme, 0);
}

// What is told while `run` runs, a line each.
QStringList g_lines;
QStringList linesOf(const std::function<void()>& run) {
    g_lines.clear();
    const QtMessageHandler before = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext&, const QString& line) { g_lines << line; });
    run();
    qInstallMessageHandler(before);
    return g_lines;
}

TEST_F(Config, WhatCannotBeWrittenCostsOneLine) {
    write("a file where a folder should be");
    QStringList lines = linesOf([this] {
        MyAppConfig c(path() + "/below.ini");
        c.load();
        EXPECT_EQ(c.send_period_ms, 40);
        c.theme = 1;
        c.save();
    });
    ASSERT_EQ(lines.size(), 1) << qPrintable(lines.join('\n'));
    EXPECT_TRUE(lines[0].contains("cannot be written"));
}

// Opened, it would wait for a writer for ever; and a save would go to a reader that nobody knows.
TEST_F(Config, APipeGivesTheDefaultsAndIsLeftAlone) {
    ASSERT_EQ(::mkfifo(path().toLocal8Bit().constData(), 0600), 0);
    MyAppConfig c(path());
    c.load();
    EXPECT_EQ(c.send_period_ms, 40);
    EXPECT_EQ(c.app_title, "Duskmere");
    c.theme = 1;
    c.save();
    struct stat now {};
    ASSERT_EQ(::stat(path().toLocal8Bit().constData(), &now), 0);
    EXPECT_TRUE(S_ISFIFO(now.st_mode));
    MyAppConfig device("/dev/zero");
    device.load();
    device.save();
    EXPECT_EQ(device.send_period_ms, 40);
}

TEST_F(Config, AFileFarTooLargeIsPutAsideWhole) {
    const QString aside = path() + ".bak";
    const QByteArray large = "[common]\ntheme=1\nrest=" + QByteArray(2 << 20, 'x') + "\n";
    write(large);
    {
        MyAppConfig c(path());
        c.load();
        EXPECT_EQ(c.theme, 0) << "it was not read";
        c.language = 1;
        c.save();
    }
    QFile kept(aside);
    ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
    EXPECT_EQ(kept.readAll(), large);
    kept.remove();
    MyAppConfig again(path());
    again.load();
    EXPECT_EQ(again.language, 1);
}

TEST_F(Config, NoValueCrashesOrHangsTheWindow) {
    for (const char* value : {"-1", "0", "999999999", "-2147483648", "abc", "4294967296", "1e9"}) {
        start({{"common/send_period_ms", value},
               {"common/check_video_ms", value},
               {"common/language", value},
               {"common/theme", value},
               {"common/video_display_mode", value},
               {"common/send_single", value},
               {"common/platform_type", value},
               {"connection/video1_port", value},
               {"connection/destination_port", value},
               {"connection/local_bind_port", value},
               {"decode/decode_method", value},
               {"decode/head_422", QString(600, 'a')},
               {"decode/show_fps_init", value},
               {"decode/cache_frame_count_start", value},
               {"system_function/video_type", value},
               {"system_function/net_type", value},
               {"system_function/baudrate", value},
               {"servo_control/max_speed", value},
               {"load_control/vl_zoom_level", value},
               {"load_control/ir_pseudo_color_band", value},
               {"identify_tracking/template_type", value},
               {"interface/recv_telemetry", true},
               {"interface/recv_port", value}});
        EXPECT_TRUE(window->isVisible()) << value;
        in().m_settings()->applyLanguage(0);
        stop();
    }
}

}  // namespace
