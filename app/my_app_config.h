// All persistent settings: appCfg.ini beside the program, one key table.
#pragma once

#include <QByteArray>
#include <QMap>
#include <QObject>
#include <QSettings>
#include <QString>
#include <QStringList>
#include <QVariantList>
#include <memory>

// Plain copies of the keys' values: an edit reaches the file at the next save. GUI thread only; no change
// signals.
class MyAppConfig : public QObject {
    Q_OBJECT

public:
    // Joystick maps: function number to the physical inputs bound to it.
    using CommandMap = QMap<int, QVariantList>;

    explicit MyAppConfig(QObject* parent = nullptr);
    // For tests: another file than appCfg.ini beside the program.
    explicit MyAppConfig(const QString& file, QObject* parent = nullptr);
    ~MyAppConfig() override;

    // Reads every key with its default and holds the few limited ones to their limits.
    void load();
    // Writes every saved key; the file itself is replaced whole, so that a power cut leaves the old one or
    // the new one.
    void save();

    // [common]
    QString app_title;
    int language = 0;            // 0 Chinese, 1 English
    int theme = 0;               // 0 day, 1 night
    int video_display_mode = 0;  // view mode 0 to 3
    bool play_video_on_start = true;
    bool send_single = true;
    int platform_type = 0;      // 0 three axes, 1 two axes
    int send_period_ms = 40;    // 20..1000
    int check_video_ms = 5000;  // 5000 at least
    bool js_enable = false;
    bool js_yaw_reverse = false;
    bool js_pitch_reverse = false;
    int js_sensitivity = 10;
    CommandMap js_btn_cmd_map;
    CommandMap js_rocker_cmd_map;
    // [connection]
    QStringList video1_play_address;
    int video1_port = 8001;
    QString video2_play_address;
    int video2_port = 14001;
    QString destination_address;
    int destination_port = 8000;
    int local_bind_port = 12001;
    // [decode]
    int decode_method = 1;
    bool show_fps = false;
    QString av_dict_set;
    QByteArray head_422;
    int cache_frame_count_start = 0;
    int cache_frame_count_max = 20;
    float show_fps_init = 40;
    float show_fps_modify = 1;
    int show_fps_min = 35;
    // [dataSave]
    QString default_video_saving_directory;
    QString default_record_open_directory;  // the snapshot directory, whatever its name says
    QString default_telemetry_saving_directory;
    int record_interval = 10;            // minutes
    int telemetry_saving_interval = 10;  // minutes
    int telemetry_saving_option = 15;    // bit mask
    // [system_function]
    QString serial_port;
    QString baudrate;
    int net_type = 0;    // 0 UDP, 1 TCP
    int video_type = 0;  // index of cbb_stream_type
    // [servo_control]
    QString azimuth_speed;
    QString pitch_speed;
    int max_speed = 20;
    // [load_control]
    int ir_pseudo_color_band = 0;
    int vl_zoom_level = 4;
    int lrf_cycle = 0;
    // [identify_tracking]
    int template_type = 2;
    // [interface]
    bool recv_telemetry = false;
    int recv_port = 0;

private:
    std::unique_ptr<QSettings> m_file;
};
