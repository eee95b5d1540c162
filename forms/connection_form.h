// The connection dialog's widgets under names of meaning.
#pragma once

#include "ui_connection.h"

// Made once the form is built; the widgets belong to the dialog. GUI thread.
struct ConnectionForm {
    Ui::connection& ui;

    QToolButton* close_button = ui.toolButton;

    // Pictures.
    QGroupBox* video1_group = ui.groupBox_8;
    QGroupBox* video2_group = ui.groupBox_9;
    QComboBox* stream_type = ui.cbb_stream_type;
    QComboBox* video1_address = ui.comboBox_2;
    QLineEdit* video1_port = ui.le_ctrlVideoIpPort1;
    QPushButton* video1_open = ui.pushButton_22;
    QLineEdit* video2_address = ui.le_ctrlVideoIpAddr2;
    QLineEdit* video2_port = ui.le_ctrlVideoIpPort2;
    QPushButton* video2_open = ui.pushButton_23;

    // Control link over the network. Line edits in spite of two of the designer's names.
    QGroupBox* net_group = ui.groupBox_18;
    QRadioButton* udp = ui.radioButton_13;
    QRadioButton* tcp = ui.radioButton_14;
    QLineEdit* pod_address = ui.cbb_ctrlConnIpAddr;
    QLineEdit* pod_port = ui.cbb_ctrlConnIpPort;
    QLineEdit* local_port = ui.cbb_ctrlConnLocalPort;
    QComboBox* local_address = ui.comboBox;
    QPushButton* net_open = ui.pushButton_26;
    QLabel* net_trouble = ui.label_net_trouble;

    // Control link over a serial line.
    QGroupBox* serial_group = ui.groupBox_10;
    QComboBox* serial_port = ui.cbb_ctrlSerialNo;
    QComboBox* serial_rate = ui.cbb_ctrlSerialBaudRate;
    QPushButton* serial_refresh = ui.pushButton_24;
    QPushButton* serial_open = ui.pushButton_25;
    QLabel* serial_trouble = ui.label_serial_trouble;

    // External inertial unit.
    QGroupBox* ins_group = ui.groupBox_11;
    QComboBox* ins_port = ui.cbb_ctrlSerialNo_2;
    QComboBox* ins_rate = ui.cbb_ctrlSerialBaudRate_2;
    QPushButton* ins_refresh = ui.pushButton_27;
    QPushButton* ins_open = ui.pushButton_28;
};
