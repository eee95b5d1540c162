// The widgets of the dialog of the aircraft's data, under names of meaning.
#pragma once

#include "ui_telemetry_info.h"

// Made once the form is built; the widgets belong to the dialog. Angles in degrees, speeds in km/h, altitude
// in metres. GUI thread.
struct TelemetryForm {
    Ui::telemetry_info& ui;

    QToolButton* close_button = ui.toolButton;
    QLineEdit* pitch = ui.lineEdit;
    QLineEdit* roll = ui.lineEdit_2;
    QLineEdit* heading = ui.lineEdit_3;
    QLineEdit* altitude = ui.lineEdit_4;
    QLineEdit* longitude = ui.lineEdit_5;
    QLineEdit* latitude = ui.lineEdit_6;
    QLineEdit* east_speed = ui.lineEdit_7;
    QLineEdit* ground_speed = ui.lineEdit_8;
    QLineEdit* north_speed = ui.lineEdit_9;
    QLineEdit* satellites = ui.lineEdit_10;
    QPushButton* apply = ui.pushButton;
};
