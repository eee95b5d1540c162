#include "app/my_app_config.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonObject>
#include <algorithm>
#include <variant>
#include <vector>

namespace {

using C = MyAppConfig;
using Field = std::variant<int C::*, bool C::*, float C::*, QString C::*, QStringList C::*, QByteArray C::*,
                           C::CommandMap C::*>;

struct Key {
    const char* name;  // section/key
    Field field;
    QVariant fallback;
    bool saved;
};

QString besideProgram(const char* suffix) {
    return QCoreApplication::applicationDirPath() + QLatin1String(suffix);
}

QString podAddress(const char* track) {
    return QStringLiteral("rtsp://192.168.1.160:554/live/") + QLatin1String(track);
}

// Every persistent key in file order; drives load and save. Keys that are not saved are changed only by
// editing the file.
std::vector<Key> keyTable() {
    return {
        {"common/app_title", &C::app_title, "Duskmere", false},
        {"common/language", &C::language, 0, true},
        {"common/theme", &C::theme, 0, true},
        {"common/video_display_mode", &C::video_display_mode, 0, true},
        {"common/play_video_on_start", &C::play_video_on_start, true, true},
        {"common/send_single", &C::send_single, true, true},
        {"common/platform_type", &C::platform_type, 0, true},
        {"common/send_period_ms", &C::send_period_ms, 40, true},
        {"common/check_video_ms", &C::check_video_ms, 5000, true},
        {"common/js_enable", &C::js_enable, false, true},
        {"common/js_yaw_reverse", &C::js_yaw_reverse, false, true},
        {"common/js_pitch_reverse", &C::js_pitch_reverse, false, true},
        {"common/js_sensitivity", &C::js_sensitivity, 10, true},
        {"common/js_btn_cmd_map", &C::js_btn_cmd_map, QJsonArray(), true},
        {"common/js_rocker_cmd_map", &C::js_rocker_cmd_map, QJsonArray(), true},
        {"connection/video1_play_address", &C::video1_play_address, QStringList{podAddress("track0")}, true},
        {"connection/video1_port", &C::video1_port, 8001, true},
        {"connection/video2_play_address", &C::video2_play_address, podAddress("track1"), true},
        {"connection/video2_port", &C::video2_port, 14001, true},
        {"connection/destination_address", &C::destination_address, "192.168.0.1", true},
        {"connection/destination_port", &C::destination_port, 8000, true},
        {"connection/local_bind_port", &C::local_bind_port, 12001, true},
        {"decode/decode_method", &C::decode_method, 1, true},
        {"decode/show_fps", &C::show_fps, false, true},
        {"decode/av_dict_set", &C::av_dict_set, QString(), false},
        {"decode/head_422", &C::head_422, QByteArray("0"), false},
        {"decode/cache_frame_count_start", &C::cache_frame_count_start, 0, false},
        {"decode/cache_frame_count_max", &C::cache_frame_count_max, 20, false},
        {"decode/show_fps_init", &C::show_fps_init, 40.0F, false},
        {"decode/show_fps_modify", &C::show_fps_modify, 1.0F, false},
        {"decode/show_fps_min", &C::show_fps_min, 35, false},
        {"dataSave/default_video_saving_directory", &C::default_video_saving_directory,
         besideProgram("/record"), true},
        {"dataSave/default_record_open_directory", &C::default_record_open_directory,
         besideProgram("/record"), true},
        {"dataSave/default_telemetry_saving_directory", &C::default_telemetry_saving_directory,
         besideProgram("/telem"), true},
        {"dataSave/record_interval", &C::record_interval, 10, true},
        {"dataSave/telemetry_saving_interval", &C::telemetry_saving_interval, 10, true},
        {"dataSave/telemetry_saving_option", &C::telemetry_saving_option, 15, true},
        {"system_function/serial_port", &C::serial_port, "COM5", true},
        {"system_function/baudrate", &C::baudrate, "115200", true},
        {"system_function/net_type", &C::net_type, 0, true},
        {"system_function/video_type", &C::video_type, 0, true},
        {"servo_control/azimuth_speed", &C::azimuth_speed, "5", true},
        {"servo_control/pitch_speed", &C::pitch_speed, "5", true},
        {"servo_control/max_speed", &C::max_speed, 20, true},
        {"load_control/ir_pseudo_color_band", &C::ir_pseudo_color_band, 0, true},
        {"load_control/vl_zoom_level", &C::vl_zoom_level, 4, true},
        {"load_control/lrf_cycle", &C::lrf_cycle, 0, true},
        {"identify_tracking/template_type", &C::template_type, 2, true},
        {"interface/recv_telemetry", &C::recv_telemetry, false, true},
        {"interface/recv_port", &C::recv_port, 0, true},
    };
}

C::CommandMap toCommandMap(const QVariant& value) {
    C::CommandMap map;
    for (const QJsonValue& element : value.toJsonArray()) {
        const QJsonObject object = element.toObject();
        map[object[QStringLiteral("pid")].toInt()] = object[QStringLiteral("cmd")].toArray().toVariantList();
    }
    return map;
}

QJsonArray fromCommandMap(const C::CommandMap& map) {
    QJsonArray array;
    for (auto it = map.begin(); it != map.end(); ++it) {
        array.append(QJsonObject{{QStringLiteral("pid"), it.key()},
                                 {QStringLiteral("cmd"), QJsonArray::fromVariantList(it.value())}});
    }
    return array;
}

template <typename T>
T fromVariant(const QVariant& value) {
    if constexpr (std::is_same_v<T, C::CommandMap>) {
        return toCommandMap(value);
    } else {
        return value.value<T>();
    }
}

template <typename T>
QVariant toVariant(const T& value) {
    if constexpr (std::is_same_v<T, C::CommandMap>) {
        return QVariant(fromCommandMap(value));
    } else {
        return QVariant::fromValue(value);
    }
}

}  // namespace

MyAppConfig::MyAppConfig(QObject* parent)
    : MyAppConfig(QCoreApplication::applicationDirPath() + QStringLiteral("/appCfg.ini"), parent) {}

MyAppConfig::MyAppConfig(const QString& file, QObject* parent)
    : QObject(parent), m_file(new QSettings(file, QSettings::IniFormat)) {}

MyAppConfig::~MyAppConfig() = default;

void MyAppConfig::load() {
    m_file->setIniCodec("utf-8");
    for (const Key& key : keyTable()) {
        const QVariant value = m_file->value(QLatin1String(key.name), key.fallback);
        std::visit(
            [&](auto field) { this->*field = fromVariant<std::decay_t<decltype(this->*field)>>(value); },
            key.field);
    }
    send_period_ms = std::clamp(send_period_ms, 20, 1000);
    check_video_ms = std::max(check_video_ms, 5000);
    for (const auto& [directory, suffix] : {std::pair{&C::default_video_saving_directory, "/record"},
                                            std::pair{&C::default_record_open_directory, "/record"},
                                            std::pair{&C::default_telemetry_saving_directory, "/telem"}}) {
        if ((this->*directory).isEmpty()) {
            this->*directory = besideProgram(suffix);
        }
    }
}

void MyAppConfig::save() {
    m_file->setIniCodec("utf-8");
    for (const Key& key : keyTable()) {
        if (key.saved) {
            std::visit(
                [&](auto field) { m_file->setValue(QLatin1String(key.name), toVariant(this->*field)); },
                key.field);
        }
    }
}
