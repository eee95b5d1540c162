// The widgets of the dialog of the telemetry that travels in the video, under names of meaning.
#pragma once

#include "ui_sei_info.h"

// Made once the form is built; the widgets belong to the dialog. GUI thread.
struct SeiForm {
    Ui::sei_info& ui;

    QToolButton* close_button = ui.toolButton;
    QGridLayout* left_column = ui.grid_1;  // both empty: filled from the table of fields
    QGridLayout* right_column = ui.grid_2;
    QPushButton* record_raw = ui.pushButton;
};
