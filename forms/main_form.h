// The main window's widgets under names of meaning. What finds controls by their object names (the command
// catalogue) has those in link/control_names.h.
#pragma once

#include "ui_korvath.h"

// Made once the form is built; the widgets belong to the window. Widgets whose designer name says what they
// are (videoWin1, widget_stat, statusBar, the actions ...) are reached through `ui`. GUI thread.
struct MainForm {
    Ui::KorvathClass& ui;

    // Title strip.
    QLabel* title_text = ui.label_102;
    QWidget* tool_bar_host = ui.test_4;
    QToolButton* close_button = ui.toolButton;
    QToolButton* maximise_button = ui.toolButton_2;
    QToolButton* minimise_button = ui.toolButton_3;

    // Areas.
    QSplitter* status_and_video = ui.splitter_2;
    QSplitter* pictures = ui.splitter;
    QWidget* picture_area = ui.widget_6;
    QWidget* map_strip = ui.widget_5;
    QWidget* map_page = ui.widget_map;
    QSplitter* pictures_and_strip = ui.splitter_3;
    QStackedWidget* control_pages = ui.tabWidget;
    QStackedWidget* status_pages = ui.stackedWidget;
    QPushButton* previous_status_page = ui.m_btnPagePrev;
    QPushButton* next_status_page = ui.m_btnPageNext;
    QLabel* status_page_number = ui.label_page;
    QWidget* aircraft_page = ui.page_3;
    QWidget* aircraft_content = ui.content_page_3;
    QWidget* pod_content = ui.content_page;
    QWidget* health_content = ui.content_page_2;

    // Servo.
    QRadioButton* frame_mode = ui.radioButton_13;
    QRadioButton* gyro_mode = ui.radioButton_14;
    QSlider* rate = ui.horizontalSlider;
    QLineEdit* rate_maximum = ui.lineEdit_3;
    QComboBox* gyro_speed = ui.comboBox;
    QLineEdit* guide_azimuth = ui.lineEdit;
    QLineEdit* guide_pitch = ui.lineEdit_2;
    QPushButton* centre = ui.pushButton_24;

    // Tracking and detection.
    SwitchControl* detection_boxes = ui.widget_3;
    SwitchControl* auto_track = ui.widget_4;
    QComboBox* template_size = ui.comboBox_3;
    QLineEdit* template_width = ui.lineEdit_6;
    QLineEdit* template_height = ui.lineEdit_7;
    QRadioButton* detect_infrared = ui.radioButton_15;
    QRadioButton* detect_visible = ui.radioButton_16;
    QRadioButton* detect_usual = ui.radioButton_17;
    QRadioButton* detect_region = ui.radioButton_18;
    QRadioButton* detect_tiles = ui.radioButton_19;
    QLineEdit* region_x = ui.lineEdit_9;
    QLineEdit* region_y = ui.lineEdit_8;

    // Pictures and cameras.
    QPushButton* pod_record = ui.pushButton_132;
    QComboBox* display_mode = ui.comboBox_10;
    QComboBox* osd_mode = ui.comboBox_11;
    QComboBox* visible_speed = ui.comboBox_2;
    QComboBox* fog_level = ui.comboBox_7;
    SwitchControl* night_mode = ui.widget;
    SwitchControl* stabilisation = ui.widget_2;
    QComboBox* palette = ui.comboBox_4;
    QComboBox* enhancement = ui.comboBox_5;
    QLineEdit* focal_length = ui.lineEdit_21;

    // Laser.
    QComboBox* range_period = ui.comboBox_6;
    SwitchControl* illuminator = ui.widget_81;
    QLineEdit* illuminator_rate = ui.lineEdit_211;
    QPushButton* illuminator_set = ui.pushButton_1571;

    // Scan.
    QWidget* two_axis_scan = ui.groupBox_30;
    QLineEdit* scan_azimuth_centre = ui.lineEdit_12;
    QLineEdit* scan_azimuth_range = ui.lineEdit_13;
    QLineEdit* scan_pitch_centre = ui.lineEdit_11;
    QLineEdit* scan_pitch_range = ui.lineEdit_10;
    QComboBox* azimuth_mode = ui.comboBox_14;
    QLineEdit* azimuth_speed = ui.lineEdit_14;
    QComboBox* pitch_mode = ui.comboBox_15;
    QLineEdit* pitch_speed = ui.lineEdit_15;

    // System.
    SwitchControl* window_demist = ui.widget_8;
    QComboBox* load_enable = ui.comboBox_8;
    QComboBox* load_sleep = ui.comboBox_9;
    QComboBox* locate_mode = ui.comboBox_13;
    QLineEdit* pod_address_1 = ui.lineEdit_4;
    QLineEdit* pod_address_2 = ui.lineEdit_5;
    QLineEdit* pod_address_3 = ui.lineEdit_16;
    QLineEdit* pod_address_4 = ui.lineEdit_19;
};
