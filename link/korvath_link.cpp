// The control link and the inertial unit's port: the link groups of the connection dialog.
#include <QComboBox>
#include <QDebug>
#include <QHostAddress>
#include <QHostInfo>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSerialPortInfo>

#include "app/config/my_app_config.h"
#include "app/korvath.h"
#include "oskel/oskel.h"
#include "telemetry/link_callbacks.h"
#include "ui_connection.h"
#include "widgets/common_dlg.h"
#include "widgets/my_message_box.h"

namespace {

constexpr int kBaudRates[] = {2400, 4800, 9600, 19200, 38400, 115200, 230400, 460800};
constexpr int kDefaultBaudIndex = 5;

void fillBaudRates(QComboBox* box) {
    box->clear();
    for (const int rate : kBaudRates)
        box->addItem(QString::number(rate), rate);
}

void fillPorts(QComboBox* box) {
    box->clear();
    const auto ports = QSerialPortInfo::availablePorts();
    for (const QSerialPortInfo& port : ports) {
        box->addItem(port.portName());
        qDebug() << port.serialNumber();
    }
}

// The network part of an address, as far as the last dot.
QString subnetOf(const QString& address) {
    return address.left(address.lastIndexOf(QLatin1Char('.')));
}

}  // namespace

void Korvath::setupLink() {
    auto& form = *ui_connection;
    fillBaudRates(form.cbb_ctrlSerialBaudRate);
    const int baud = form.cbb_ctrlSerialBaudRate->findText(config().baudrate);
    form.cbb_ctrlSerialBaudRate->setCurrentIndex(baud >= 0 ? baud : kDefaultBaudIndex);
    fillBaudRates(form.cbb_ctrlSerialBaudRate_2);
    form.cbb_ctrlSerialBaudRate_2->setCurrentIndex(form.cbb_ctrlSerialBaudRate_2->count() - 1);
    // Names that the system does not list, a pseudo terminal for instance, are typed in.
    form.cbb_ctrlSerialNo->setEditable(true);
    form.cbb_ctrlSerialNo_2->setEditable(true);

    form.cbb_ctrlConnIpAddr->setText(config().destination_address);
    form.cbb_ctrlConnIpPort->setText(QString::number(config().destination_port));
    form.cbb_ctrlConnLocalPort->setText(QString::number(config().local_bind_port));
    connect(form.radioButton_13, &QRadioButton::toggled, this, &Korvath::OnNetControlUdpChanged);
    (config().net_type == 1 ? form.radioButton_14 : form.radioButton_13)->setChecked(true);
    OnNetControlUdpChanged(form.radioButton_13->isChecked());

    connect(form.pushButton_24, &QPushButton::clicked, this, &Korvath::RefreshSerialPortList);
    connect(form.pushButton_25, &QPushButton::clicked, this, &Korvath::OpenSerialPort);
    connect(form.pushButton_26, &QPushButton::clicked, this, &Korvath::OnUdpConnect);
    connect(form.pushButton_27, &QPushButton::clicked, this, [this] { refreshInsPortList(); });
    connect(form.pushButton_28, &QPushButton::clicked, this, [this] { toggleInsPort(); });
    refreshConnectionButtons();
}

void Korvath::fillLinkLists() {
    RefreshSerialPortList();
    refreshInsPortList();

    QComboBox* box = ui_connection->comboBox;
    const auto addresses = QHostInfo::fromName(QHostInfo::localHostName()).addresses();
    for (const QHostAddress& address : addresses) {
        if (address.protocol() == QAbstractSocket::IPv4Protocol) box->addItem(address.toString());
    }
    const QString subnet = subnetOf(config().destination_address);
    for (int i = 0; i < box->count(); ++i) {
        if (subnetOf(box->itemText(i)) == subnet) {
            box->setCurrentIndex(i);
            break;
        }
    }
}

void Korvath::on_action_connection() {
    ui_connection->retranslateUi(m_connectionDlg);
    refreshConnectionButtons();
    m_connectionDlg->show();
    m_connectionDlg->raise();
}

void Korvath::refreshConnectionButtons() {
    auto& form = *ui_connection;
    const QString connect_text = tr("连接");
    const QString disconnect_text = tr("断开");
    form.pushButton_22->setText(playing1 ? tr("关闭") : connect_text);
    form.pushButton_23->setText(playing2 ? tr("关闭") : connect_text);
    form.pushButton_25->setText(m_linkState == LINK_SERIAL ? disconnect_text : connect_text);
    form.pushButton_28->setText(m_insHandle >= 0 ? disconnect_text : connect_text);
    form.pushButton_26->setText(m_linkState == LINK_UDP || m_linkState == LINK_TCP ? disconnect_text
                                                                                   : connect_text);
}

void Korvath::RefreshSerialPortList() {
    QComboBox* box = ui_connection->cbb_ctrlSerialNo;
    fillPorts(box);
    const int configured = box->findText(config().serial_port, Qt::MatchExactly | Qt::MatchCaseSensitive);
    box->setCurrentIndex(configured >= 0 ? configured : box->count() - 1);
    // Without any port the name stays to be seen and stored again.
    if (box->count() == 0) box->setEditText(config().serial_port);
}

void Korvath::refreshInsPortList() {
    fillPorts(ui_connection->cbb_ctrlSerialNo_2);
}

// The timers' ids are kept: the next opening replaces them.
void Korvath::closeLink() {
    killLinkTimers();
    m_linkTimersStale = true;
    oskel::hang_up(m_linkHandle);
    m_linkState = LINK_NONE;
}

void Korvath::linkOpened(int handle, LinkState state) {
    m_linkHandle = handle;
    m_linkState = state;
    applySendMode();
}

void Korvath::warnPortFailed(const QString& port) {
    MyMessageBox::information(m_connectionDlg, tr("警告"), tr("打开") + port + tr("失败!"));
}

void Korvath::OpenSerialPort() {
    if (m_linkState == LINK_UDP || m_linkState == LINK_TCP) {
        MyMessageBox::information(m_connectionDlg, tr("警告"), tr("请先关闭UDP连接"));
        return;
    }
    auto& form = *ui_connection;
    if (m_linkState == LINK_SERIAL) {
        closeLink();
        form.pushButton_25->setText(tr("连接"));
    } else {
        const QString port = form.cbb_ctrlSerialNo->currentText();
        const int handle =
            oskel::dialSerial(port.toLatin1().constData(), form.cbb_ctrlSerialBaudRate->currentData().toInt(),
                              onControlLinkData);
        if (handle < 0) {
            warnPortFailed(port);
        } else {
            form.pushButton_25->setText(tr("断开"));
            linkOpened(handle, LINK_SERIAL);
        }
    }
    refreshStatus();
}

void Korvath::OnUdpConnect() {
    if (m_linkState == LINK_SERIAL) {
        MyMessageBox::information(m_connectionDlg, tr("警告"), tr("请先关闭串口"));
        return;
    }
    auto& form = *ui_connection;
    if (m_linkState != LINK_NONE) {
        closeLink();
        form.pushButton_26->setText(tr("连接"));
        refreshStatus();
        return;
    }
    const QByteArray remote = form.cbb_ctrlConnIpAddr->text().toLatin1();
    const int port = form.cbb_ctrlConnIpPort->text().toInt();
    if (form.radioButton_13->isChecked()) {
        const int handle =
            oskel::dialDatagram(remote.constData(), port, form.comboBox->currentText().toLatin1().constData(),
                                form.cbb_ctrlConnLocalPort->text().toInt(), onControlLinkData);
        if (handle >= 1) linkOpened(handle, LINK_UDP);
    } else {
        const int handle = oskel::dialStream(remote.constData(), port, onControlLinkData);
        // Unlike the other two a negative handle counts as open here.
        if (handle != 0) linkOpened(handle, LINK_TCP);
    }
    if (m_linkState != LINK_NONE) form.pushButton_26->setText(tr("断开"));
    refreshStatus();
}

void Korvath::OnNetControlUdpChanged(bool checked) {
    ui_connection->cbb_ctrlConnLocalPort->setEnabled(checked);
    ui_connection->comboBox->setEnabled(checked);
}

void Korvath::toggleInsPort() {
    auto& form = *ui_connection;
    if (m_insHandle >= 0) {
        oskel::hang_up(m_insHandle);
        m_insHandle = -1;
        form.pushButton_28->setText(tr("连接"));
        return;
    }
    const QString port = form.cbb_ctrlSerialNo_2->currentText();
    m_insHandle = oskel::dialSerial(port.toLatin1().constData(),
                                    form.cbb_ctrlSerialBaudRate_2->currentData().toInt(), onInsLinkData);
    if (m_insHandle < 0) {
        warnPortFailed(port);
    } else {
        form.pushButton_28->setText(tr("断开"));
    }
}
