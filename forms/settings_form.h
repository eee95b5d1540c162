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

    // On-screen display of the pod.
    QWidget* osd_page = ui.page_osd;
    QLabel* osd_unread = ui.label_osd_unread;
    QPushButton* osd_read = ui.pushButton_22;
    QComboBox* osd_colour = ui.comboBox_12;
    QComboBox* osd_language = ui.comboBox_13;
    QRadioButton* osd_geographic = ui.radioButton;
    QRadioButton* osd_decimal_degrees = ui.radioButton_4;

    // Encoder; the custom text on the picture.
    QComboBox* codec = ui.comboBox_48;
    QLineEdit* custom_text_x = ui.lineEdit_12;
    QLineEdit* custom_text_y = ui.lineEdit_13;
    QLineEdit* custom_text = ui.lineEdit_14;
};
