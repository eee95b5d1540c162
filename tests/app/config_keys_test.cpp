// Every key of the configuration by its name in the file: the default, what loading takes from its line, what
// saving writes to it, and that no other key follows. Names and lines stand here literally.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

#include "app/config/my_app_config.h"

namespace {

QString show(bool value) { return value ? "true" : "false"; }
QString show(int value) { return QString::number(value); }
QString show(float value) { return QString::number(static_cast<double>(value)); }
QString show(const QString& value) { return value; }
QString show(const QByteArray& value) { return QString::fromLatin1(value); }
QString show(const QStringList& value) { return value.join(", "); }
QString show(const MyAppConfig::CommandMap& value) {
    QStringList texts;
    for (auto it = value.begin(); it != value.end(); ++it) {
        QStringList commands;
        for (const QVariant& command : it.value()) {
            commands << command.toString();
        }
        texts << QString("%1:%2").arg(it.key()).arg(commands.join('+'));
    }
    return texts.join(' ');
}

struct Key {
    const char* name;  // "section/key"
    QString fallback;  // "*" stands for the program's folder
    QString
        text;  // what the file says for `set`; empty: in the toolkit's own form, not to be written by hand
    bool saved;
    QString shown;  // `set`, as `get` shows it
    QString (*get)(const MyAppConfig&);
    void (*set)(MyAppConfig&);
};

#define KEY_LINE(section, key, fallback, value, text, saved)                                        \
    {                                                                                               \
        section "/" #key, fallback, text, saved, show(decltype(MyAppConfig::key)(value)),           \
            [](const MyAppConfig& c) { return show(c.key); }, [](MyAppConfig& c) { c.key = value; } \
    }
#define SAVED(section, key, fallback, value, text) KEY_LINE(section, key, fallback, value, text, true)
#define KEPT(section, key, fallback, value, text) KEY_LINE(section, key, fallback, value, text, false)

const MyAppConfig::CommandMap kButtons = {{1, {QVariant(2), QVariant(3)}}, {4, {QVariant("b5")}}};
const MyAppConfig::CommandMap kRockers = {{6, {QVariant(7)}}};
const QString kTrack0 = "rtsp://192.168.1.160:554/live/track0";
const QString kTrack1 = "rtsp://192.168.1.160:554/live/track1";

// In the order of the file.
const std::vector<Key>& keys() {
    static const std::vector<Key> rows = {
        KEPT("common", app_title, "Duskmere", "Another", "Another"),
        SAVED("common", language, "0", 1, "1"),
        SAVED("common", theme, "0", 1, "1"),
        SAVED("common", video_display_mode, "0", 3, "3"),
        SAVED("common", play_video_on_start, "true", false, "false"),
        SAVED("common", send_single, "true", false, "false"),
        SAVED("common", platform_type, "0", 1, "1"),
        SAVED("common", send_period_ms, "40", 25, "25"),
        SAVED("common", check_video_ms, "5000", 6000, "6000"),
        SAVED("common", js_enable, "false", true, "true"),
        SAVED("common", js_yaw_reverse, "false", true, "true"),
        SAVED("common", js_pitch_reverse, "false", true, "true"),
        SAVED("common", js_sensitivity, "10", 3, "3"),
        SAVED("common", js_btn_cmd_map, "", kButtons, ""),
        SAVED("common", js_rocker_cmd_map, "", kRockers, ""),
        SAVED("connection", video1_play_address, kTrack0, QStringList({"rtsp://a/1", "192.0.2.1"}),
              "rtsp://a/1, 192.0.2.1"),
        SAVED("connection", video1_port, "8001", 8002, "8002"),
        SAVED("connection", video2_play_address, kTrack1, "rtsp://b/2", "rtsp://b/2"),
        SAVED("connection", video2_port, "14001", 14002, "14002"),
        SAVED("connection", destination_address, "192.168.0.1", "192.0.2.7", "192.0.2.7"),
        SAVED("connection", destination_port, "8000", 8123, "8123"),
        SAVED("connection", local_bind_port, "12001", 12002, "12002"),
        KEPT("connection", encoder_page, "http://192.168.1.160/", "http://192.0.2.9:8080/",
             "http://192.0.2.9:8080/"),
        SAVED("decode", decode_method, "1", 2, "2"),
        SAVED("decode", show_fps, "false", true, "true"),
        KEPT("decode", av_dict_set, "", "stimeout=1", "\"stimeout=1\""),
        KEPT("decode", head_422, "0", "A5B6", "A5B6"),
        KEPT("decode", cache_frame_count_start, "0", 4, "4"),
        KEPT("decode", cache_frame_count_max, "20", 21, "21"),
        KEPT("decode", show_fps_init, "40", 30.5F, "30.5"),
        KEPT("decode", show_fps_modify, "1", 0.25F, "0.25"),
        KEPT("decode", show_fps_min, "35", 15, "15"),
        SAVED("dataSave", default_video_saving_directory, "*/record", "/data/v", "/data/v"),
        SAVED("dataSave", default_record_open_directory, "*/record", "/data/r", "/data/r"),
        SAVED("dataSave", default_telemetry_saving_directory, "*/telem", "/data/t", "/data/t"),
        SAVED("dataSave", record_interval, "10", 30, "30"),
        SAVED("dataSave", telemetry_saving_interval, "10", 5, "5"),
        SAVED("dataSave", telemetry_saving_option, "15", 6, "6"),
        SAVED("system_function", serial_port, "COM5", "ttyS1", "ttyS1"),
        SAVED("system_function", baudrate, "115200", "9600", "9600"),
        SAVED("system_function", net_type, "0", 1, "1"),
        SAVED("system_function", video_type, "0", 2, "2"),
        SAVED("servo_control", azimuth_speed, "5", "7.5", "7.5"),
        SAVED("servo_control", pitch_speed, "5", "-3", "-3"),
        SAVED("servo_control", max_speed, "20", 44, "44"),
        SAVED("load_control", ir_pseudo_color_band, "0", 7, "7"),
        SAVED("load_control", vl_zoom_level, "4", 2, "2"),
        SAVED("load_control", lrf_cycle, "0", 3, "3"),
        SAVED("identify_tracking", template_type, "2", 1, "1"),
        SAVED("interface", recv_telemetry, "false", true, "true"),
        SAVED("interface", recv_port, "0", 6001, "6001"),
    };
    return rows;
}

class ConfigKeys : public ::testing::Test {
protected:
    // The toolkit remembers files by name: each round has one of its own.
    QString freshPath() { return folder.filePath(QString("round%1.ini").arg(m_rounds++)); }

    static void write(const QString& path, const QString& text) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text.toUtf8());
    }
    // "section/key" to what stands behind the sign.
    static QMap<QString, QString> lines(const QString& path) {
        QMap<QString, QString> found;
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(path);
        QString section;
        for (const QString& line : QString::fromUtf8(file.readAll()).split('\n')) {
            const int sign = line.indexOf('=');
            if (line.startsWith('[')) {
                section = line.mid(1, line.indexOf(']') - 1);
            } else if (sign > 0) {
                found[section + '/' + line.left(sign)] = line.mid(sign + 1);
            }
        }
        return found;
    }
    static QString oneLine(const QString& name, const QString& text) {
        const QStringList parts = name.split('/');
        return QString("[%1]\n%2=%3\n").arg(parts[0], parts[1], text);
    }
    static QString fallbackOf(const Key& key) {
        return QString(key.fallback).replace("*", QCoreApplication::applicationDirPath());
    }
    QMap<QString, QString> savedLines(void (*set)(MyAppConfig&)) {
        const QString path = freshPath();
        MyAppConfig config(path);
        config.load();
        if (set != nullptr) {
            set(config);
        }
        config.save();
        return lines(path);
    }

    QTemporaryDir folder;

private:
    int m_rounds = 0;
};

TEST_F(ConfigKeys, AreFiftyOne) {
    EXPECT_EQ(keys().size(), 51U);
    int in_table = 0;
#define COUNT(section, key, type, fallback, limits, persistence) ++in_table;
    SORVANE_CONFIG_KEYS(COUNT)
#undef COUNT
    EXPECT_EQ(in_table, 51);
}

TEST_F(ConfigKeys, HaveTheirDefaultsBeforeAndAfterLoading) {
    MyAppConfig config(freshPath());
    for (const Key& key : keys()) {
        EXPECT_EQ(key.get(config), fallbackOf(key)) << key.name;
        EXPECT_NE(key.shown, fallbackOf(key))
            << key.name << ": another value than the default is to be tried";
    }
    config.load();
    for (const Key& key : keys()) {
        EXPECT_EQ(key.get(config), fallbackOf(key)) << key.name;
    }
}

TEST_F(ConfigKeys, AreEachTakenFromTheirOwnLine) {
    for (const Key& key : keys()) {
        const QString text = key.text.isEmpty() ? savedLines(key.set)[key.name] : key.text;
        const QString path = freshPath();
        write(path, oneLine(key.name, text));
        MyAppConfig config(path);
        config.load();
        for (const Key& other : keys()) {
            EXPECT_EQ(other.get(config), &other == &key ? key.shown : fallbackOf(other))
                << other.name << " with a line of " << key.name;
        }
    }
}

TEST_F(ConfigKeys, AreEachWrittenToTheirOwnLine) {
    const QMap<QString, QString> defaults = savedLines(nullptr);
    QStringList names;
    for (const Key& key : keys()) {
        if (key.saved) {
            names << key.name;
        }
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(defaults.keys(), names);
    for (const Key& key : keys()) {
        const QMap<QString, QString> written = savedLines(key.set);
        ASSERT_EQ(written.keys(), defaults.keys()) << key.name;
        for (const QString& name : names) {
            if (name != key.name) {
                EXPECT_EQ(written[name], defaults[name])
                    << qPrintable(name) << " with a change of " << key.name;
            } else if (key.text.isEmpty()) {
                EXPECT_NE(written[name], defaults[name]) << key.name;
            } else {
                EXPECT_EQ(written[name], key.text) << key.name;
            }
        }
    }
}

TEST_F(ConfigKeys, ThatAreKeptStayAsTheOperatorWroteThem) {
    for (const Key& key : keys()) {
        if (key.saved) {
            continue;
        }
        const QString path = freshPath();
        write(path, oneLine(key.name, key.text));
        {
            MyAppConfig config(path);
            config.load();
            config.theme = 1;
            MyAppConfig other(freshPath());
            config.show_fps_min = other.show_fps_min;
            config.app_title = other.app_title;
            config.save();
        }
        EXPECT_EQ(lines(path)[key.name], key.text) << key.name;
    }
}

// Read before anything is written: what has been saved by the same process is never parsed again.
TEST_F(ConfigKeys, TextsAreReadAsUtf8) {
    const QString path = freshPath();
    write(path,
          QString::fromUtf8("[common]\napp_title=北斗一号\n[connection]\nvideo1_play_address=含一, 含二\n"
                            "[dataSave]\ndefault_video_saving_directory=/数据/录像 一\n"));
    MyAppConfig config(path);
    config.load();
    EXPECT_EQ(config.app_title, QString::fromUtf8("北斗一号"));
    EXPECT_EQ(config.video1_play_address,
              QStringList({QString::fromUtf8("含一"), QString::fromUtf8("含二")}));
    EXPECT_EQ(config.default_video_saving_directory, QString::fromUtf8("/数据/录像 一"));
}

}  // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    const QCoreApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
