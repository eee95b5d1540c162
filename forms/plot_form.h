// The widgets of the plot dialog, under names of meaning.
#pragma once

#include <array>

#include "ui_plot.h"

// Made once the form is built; the widgets belong to the dialog. GUI thread.
struct PlotForm {
    Ui::dlgPlot& ui;

    QWidget* chart_host = ui.chart_host;  // empty: the chart view is put into it
    QScrollBar* scroll = ui.hScrollBar;
    // By category less one.
    std::array<QRadioButton*, 3> categories = {ui.radioButton, ui.radioButton_2, ui.radioButton_3};
    QComboBox* refresh_rate = ui.comboBox_2;
    QPushButton* show_values = ui.pushButton_dispVal;
    QPushButton* start = ui.pushButton_start;
    QPushButton* save = ui.pushButton_start_2;
    QToolButton* close_button = ui.toolButton;
};
