// Every persistent key in file order: name, type, default, limits, saved or not. The one table from which the
// fields of MyAppConfig, loading and saving follow; no default stands anywhere else.
#pragma once

// Limits are applied when the file is read; a value beyond them becomes the nearest one within, an empty path
// its default. Most keys are taken as they stand. Keys that are kept are only read: an operator's edit of the
// file is the one way to change them, and it stays untouched.
//   section, key, type, default, limits, saved or kept
#define SORVANE_CONFIG_KEYS(X)                                                                          \
    X(common, app_title, QString, QStringLiteral("Duskmere"), any(), kKept)                             \
    X(common, language, int, 0, any(), kSaved)           /* 0 Chinese, 1 English */                     \
    X(common, theme, int, 0, any(), kSaved)              /* 0 day, 1 night */                           \
    X(common, video_display_mode, int, 0, any(), kSaved) /* view mode 0 to 3 */                         \
    X(common, play_video_on_start, bool, true, any(), kSaved)                                           \
    X(common, send_single, bool, true, any(), kSaved)                                                   \
    X(common, platform_type, int, 0, any(), kSaved) /* 0 three axes, 1 two axes */                      \
    X(common, send_period_ms, int, 40, between(20, 1000), kSaved)                                       \
    X(common, check_video_ms, int, 5000, atLeast(5000), kSaved)                                         \
    X(common, js_enable, bool, false, any(), kSaved)                                                    \
    X(common, js_yaw_reverse, bool, false, any(), kSaved)                                               \
    X(common, js_pitch_reverse, bool, false, any(), kSaved)                                             \
    X(common, js_sensitivity, int, 10, any(), kSaved)                                                   \
    X(common, js_btn_cmd_map, CommandMap, CommandMap(), any(), kSaved)                                  \
    X(common, js_rocker_cmd_map, CommandMap, CommandMap(), any(), kSaved)                               \
    X(connection, video1_play_address, QStringList, QStringList(podAddress("track0")), any(), kSaved)   \
    X(connection, video1_port, int, 8001, any(), kSaved)                                                \
    X(connection, video2_play_address, QString, podAddress("track1"), any(), kSaved)                    \
    X(connection, video2_port, int, 14001, any(), kSaved)                                               \
    X(connection, destination_address, QString, QStringLiteral("192.168.0.1"), any(), kSaved)           \
    X(connection, destination_port, int, 8000, any(), kSaved)                                           \
    X(connection, local_bind_port, int, 12001, any(), kSaved)                                           \
    X(connection, encoder_page, QString, QStringLiteral("http://192.168.1.160/"), filled(), kKept)      \
    X(decode, decode_method, int, 1, any(), kSaved)                                                     \
    X(decode, show_fps, bool, false, any(), kSaved)                                                     \
    X(decode, av_dict_set, QString, QString(), any(), kKept)                                            \
    X(decode, head_422, QByteArray, QByteArray("0"), any(), kKept)                                      \
    X(decode, cache_frame_count_start, int, 0, any(), kKept)                                            \
    X(decode, cache_frame_count_max, int, 20, any(), kKept)                                             \
    X(decode, show_fps_init, float, 40.0F, any(), kKept) /* pictures per second */                      \
    X(decode, show_fps_modify, float, 1.0F, any(), kKept)                                               \
    X(decode, show_fps_min, int, 35, any(), kKept)                                                      \
    X(dataSave, default_video_saving_directory, QString, besideProgram("/record"), filled(), kSaved)    \
    X(dataSave, default_record_open_directory, QString, besideProgram("/record"), filled(), kSaved)     \
    X(dataSave, default_telemetry_saving_directory, QString, besideProgram("/telem"), filled(), kSaved) \
    X(dataSave, record_interval, int, 10, any(), kSaved)           /* minutes */                        \
    X(dataSave, telemetry_saving_interval, int, 10, any(), kSaved) /* minutes */                        \
    X(dataSave, telemetry_saving_option, int, 15, any(), kSaved)   /* bit mask */                       \
    X(system_function, serial_port, QString, QStringLiteral("COM5"), any(), kSaved)                     \
    X(system_function, baudrate, QString, QStringLiteral("115200"), any(), kSaved)                      \
    X(system_function, net_type, int, 0, any(), kSaved)   /* 0 UDP, 1 TCP */                            \
    X(system_function, video_type, int, 0, any(), kSaved) /* index of the stream types */               \
    X(servo_control, azimuth_speed, QString, QStringLiteral("5"), any(), kSaved)                        \
    X(servo_control, pitch_speed, QString, QStringLiteral("5"), any(), kSaved)                          \
    X(servo_control, max_speed, int, 20, any(), kSaved)                                                 \
    X(load_control, ir_pseudo_color_band, int, 0, any(), kSaved)                                        \
    X(load_control, vl_zoom_level, int, 4, any(), kSaved)                                               \
    X(load_control, lrf_cycle, int, 0, any(), kSaved)                                                   \
    X(identify_tracking, template_type, int, 2, any(), kSaved)                                          \
    X(interface, recv_telemetry, bool, false, any(), kSaved)                                            \
    X(interface, recv_port, int, 0, any(), kSaved)
