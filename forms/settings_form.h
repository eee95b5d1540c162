// The settings dialog's widgets under names of meaning.
#pragma once

#include "ui_settings.h"

// Made once the form is built; the widgets belong to the dialog. GUI thread.
struct SettingsForm {
    Ui::dialogSettings& ui;

    QWidget* title = ui.title;
    QToolButton* close_button = ui.toolButton;
    QListWidget* page_list = ui.widget_title;
    QStackedWidget* pages = ui.stackedWidget;

    // General.
    QComboBox* language = ui.cbb_selLang;
    QComboBox* theme = ui.cbb_selTheme;
    QRadioButton* view_window1 = ui.rbtn_videoWin1;
    QRadioButton* view_window2 = ui.rbtn_videoWin2;
    QRadioButton* view_side_by_side = ui.rbtn_videoWinLR;
    QRadioButton* view_stacked = ui.rbtn_videoWinTB;
    QCheckBox* open_at_start = ui.cb_playOnStart;
    QCheckBox* show_statistics = ui.cb_dispFrmFreq;
    QComboBox* decoder = ui.cbb_decMethod;
    QRadioButton* single_mode = ui.rbtn_scaleQualHigh_3;
    QRadioButton* periodic_mode = ui.rbtn_scaleQualLow_3;
    QCheckBox* telemetry_stream = ui.checkBox_16;
    QRadioButton* three_axes = ui.rbtn_scaleQualLow_4;
    QRadioButton* two_axes = ui.rbtn_scaleQualHigh_4;

    // Files.
    QLineEdit* record_directory = ui.le_recSaveDir;
    QPushButton* record_directory_change = ui.btn_recSaveDirChange;
    QPushButton* record_directory_show = ui.btn_recSaveDirOpen;
    QLineEdit* snapshot_directory = ui.le_recOpenDir;
    QPushButton* snapshot_directory_change = ui.btn_recOpenDirChange;
    QPushButton* snapshot_directory_show = ui.btn_recOpenDirOpen;
    QLineEdit* telemetry_directory = ui.le_telemSaveDir;
    QPushButton* telemetry_directory_change = ui.btn_telemSaveDirChange;
    QPushButton* telemetry_directory_show = ui.btn_telemSaveDirOpen;
    QComboBox* record_interval = ui.cbb_recSaveIntvl;
    QComboBox* telemetry_interval = ui.cbb_telemSaveIntvl;
    QCheckBox* save_raw = ui.checkBox;
    QCheckBox* save_frame_angles = ui.checkBox_2;
    QCheckBox* save_attitude = ui.checkBox_3;
    QCheckBox* save_deviation = ui.checkBox_4;

    // Remote control; its rows stand in settings/sbus_rows.h.
    QWidget* remote_page = ui.page_control;
    QPushButton* remote_read = ui.pushButton_21;
    QPushButton* remote_write = ui.pushButton_19;
    QPushButton* remote_save = ui.pushButton_3;
    QPushButton* remote_factory = ui.pushButton_6;

    // Game controller; its rows are numbered widgets: row_, label_, comboBox_ and indicator_ of axis_ and
    // btn_.
    QWidget* stick_page = ui.page_joy_stick;
    QCheckBox* stick_enabled = ui.checkBox_12;
    QCheckBox* stick_yaw_reverse = ui.checkBox_13;
    QCheckBox* stick_pitch_reverse = ui.checkBox_14;
    QSlider* stick_sensitivity = ui.horizontalSlider;
    QLabel* stick_none = ui.label_joystick_none;
    QGroupBox* stick_axes = ui.groupBox_5;
    QGroupBox* stick_buttons = ui.groupBox_6;

    // On-screen display of the pod.
    QWidget* osd_page = ui.page_osd;
    QLabel* osd_unread = ui.label_osd_unread;
    QPushButton* osd_read = ui.pushButton_22;
    QComboBox* osd_colour = ui.comboBox_12;
    QComboBox* osd_language = ui.comboBox_13;
    QRadioButton* osd_geographic = ui.radioButton;
    QRadioButton* osd_decimal_degrees = ui.radioButton_4;

    // Firmware upgrade.
    QComboBox* upgrade_module = ui.comboBox_11;
    QPushButton* upgrade_enter = ui.pushButton_5;
    QLineEdit* upgrade_file = ui.lineEdit_9;
    QPushButton* upgrade_choose = ui.pushButton_18;
    QPushButton* upgrade_start = ui.pushButton_20;
    QProgressBar* upgrade_progress = ui.progressBar;
    QLabel* upgrade_progress_text = ui.label_72;
    QLabel* upgrade_state = ui.label_73;
    QTextEdit* upgrade_log = ui.textEdit_3;
    QPushButton* upgrade_clear = ui.pushButton_4;

    // Encoder, storage and the custom text on the picture.
    QComboBox* codec = ui.comboBox_48;
    QLineEdit* bit_rate = ui.lineEdit_15;
    QPushButton* bit_rate_set = ui.pushButton_53;
    QRadioButton* folder_by_text = ui.rbtn_scaleQualLow_5;
    QRadioButton* folder_by_time = ui.rbtn_scaleQualHigh_5;
    QLineEdit* folder_text = ui.lineEdit_11;
    QPushButton* folder_set = ui.pushButton_23;
    QLineEdit* custom_text_x = ui.lineEdit_12;
    QLineEdit* custom_text_y = ui.lineEdit_13;
    QLineEdit* custom_text = ui.lineEdit_14;
    QCheckBox* custom_text_shown = ui.checkBox_17;
    QPushButton* custom_text_set = ui.pushButton_24;
    QPushButton* factory_state = ui.pushButton_25;
    QPushButton* restart = ui.pushButton_26;

    // The encoder's own page.
    QWidget* encoder_web = ui.page_encoder;

    // Device.
    QPushButton* device_read = ui.pushButton_16;
    QLineEdit* device_model = ui.lineEdit;
    QLineEdit* device_serial = ui.lineEdit_2;
    QLineEdit* device_address = ui.lineEdit_3;
    QPushButton* versions_read = ui.pushButton_17;
    QLineEdit* version_tracker = ui.lineEdit_6;
    QLineEdit* version_image = ui.lineEdit_5;
    QLineEdit* version_communication = ui.lineEdit_4;
    QLineEdit* version_servo = ui.lineEdit_8;
    QLineEdit* version_drive = ui.lineEdit_7;

    // Raw traffic to and from a module.
    QTextEdit* relay_log = ui.textEdit;
    QPushButton* relay_clear = ui.pushButton_2;
    QTextEdit* relay_text = ui.textEdit_2;
    QComboBox* relay_history = ui.comboBox_16;
    QComboBox* relay_module = ui.comboBox_17;
    QLineEdit* relay_number = ui.lineEdit_10;
    QPushButton* relay_send = ui.pushButton;
};
