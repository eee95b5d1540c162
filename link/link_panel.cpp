#include "link/link_panel.h"

#include <QDebug>
#include <QSerialPortInfo>
#include <utility>

#include "app/config/my_app_config.h"
#include "forms/connection_form.h"
#include "widgets/my_message_box.h"
#include "widgets/sheets.h"

using oskel::SendTrouble;

namespace {

constexpr int kBaudRates[] = {2400, 4800, 9600, 19200, 38400, 115200, 230400, 460800};
constexpr int kDefaultBaudIndex = 5;
constexpr const char* kWrong = "wrong";
constexpr int kLowestPodPort = 1;
constexpr int kLowestLocalPort = 0;  // the system chooses one

void fillBaudRates(QComboBox* box) {
    box->clear();
    for (const int rate : kBaudRates) {
        box->addItem(QString::number(rate), rate);
    }
}

// A name that was typed in, not chosen or shown by the program, stays; true then.
bool fillPorts(QComboBox* box, const QString& shown) {
    const QString name = box->currentText();
    const bool typed = !name.isEmpty() && name != shown && box->findText(name) < 0;
    box->clear();
    const auto ports = QSerialPortInfo::availablePorts();
    for (const QSerialPortInfo& port : ports) {
        box->addItem(port.portName());
        qDebug() << port.serialNumber();
    }
    if (typed) {
        box->setCurrentIndex(box->findText(name));
        box->setEditText(name);
    }
    return typed;
}

bool isPort(const QLineEdit& edit, int lowest) {
    constexpr int kHighest = 65535;
    bool number = false;
    const int port = edit.text().toInt(&number);
    return number && port >= lowest && port <= kHighest;
}

// The sheet draws the border of a marked field in the colour of danger.
void mark(QLineEdit& edit, bool wrong) { setStyleProperty(edit, kWrong, wrong); }

bool markUnlessPort(QLineEdit& edit, int lowest) {
    const bool right = isPort(edit, lowest);
    mark(edit, !right);
    return right;
}

void setReadOnly(QComboBox& box, bool read_only) {
    if (box.lineEdit() != nullptr) {
        box.lineEdit()->setReadOnly(read_only);
    }
}

}  // namespace

LinkPanel::LinkPanel(const ConnectionForm& form, QWidget& dialog, MyAppConfig& config,
                     const LinkFields& fields, LinkActions actions, AddressSources addresses)
    : m_form(form),
      m_dialog(dialog),
      m_config(config),
      m_fields(fields),
      m_actions(std::move(actions)),
      m_addresses(*form.local_address, config.destination_address, std::move(addresses)) {
    fillBaudRates(m_form.serial_rate);
    fillBaudRates(m_form.ins_rate);
    // Names that the system does not list, a pseudo terminal for instance, are typed in.
    m_form.serial_port->setEditable(true);
    m_form.ins_port->setEditable(true);
    fillFromConfig();
    refreshButtons();
    for (QLineEdit* edit : {m_form.pod_port, m_form.local_port}) {
        QObject::connect(edit, &QLineEdit::textChanged, edit, [edit] { mark(*edit, false); });
    }
}

void LinkPanel::fillFromConfig() {
    const int baud = m_form.serial_rate->findText(m_config.baudrate);
    m_form.serial_rate->setCurrentIndex(baud >= 0 ? baud : kDefaultBaudIndex);
    m_form.ins_rate->setCurrentIndex(m_form.ins_rate->count() - 1);
    m_form.pod_address->setText(m_config.destination_address);
    m_form.pod_port->setText(QString::number(m_config.destination_port));
    m_form.local_port->setText(QString::number(m_config.local_bind_port));
    (m_config.net_type == 1 ? m_form.tcp : m_form.udp)->setChecked(true);
    onNetKindChanged(m_form.udp->isChecked());
}

void LinkPanel::fillLists() {
    refreshSerialPorts();
    refreshInsPorts();
    m_addresses.fill();
}

void LinkPanel::refreshSerialPorts() {
    QComboBox* box = m_form.serial_port;
    if (fillPorts(box, m_config.serial_port)) {
        return;
    }
    const int configured = box->findText(m_config.serial_port, Qt::MatchExactly | Qt::MatchCaseSensitive);
    box->setCurrentIndex(configured >= 0 ? configured : box->count() - 1);
    // Without any port the name stays to be seen and stored again.
    if (box->count() == 0) {
        box->setEditText(m_config.serial_port);
    }
}

void LinkPanel::refreshInsPorts() { fillPorts(m_form.ins_port, QString()); }

bool LinkPanel::onNetwork() const {
    return m_fields.link_state == kLinkUdp || m_fields.link_state == kLinkTcp;
}

void LinkPanel::refreshButtons() {
    const auto text = [](bool open) { return open ? tr("断开") : tr("连接"); };
    m_form.serial_open->setText(text(m_fields.link_state == kLinkSerial));
    m_form.ins_open->setText(text(m_fields.ins_handle >= 0));
    m_form.net_open->setText(text(onNetwork()));
    writeTrouble();
    lockAddresses();
}

// What an open port stands on can be read and copied, not changed.
void LinkPanel::lockAddresses() {
    for (QLineEdit* edit : {m_form.pod_address, m_form.pod_port, m_form.local_port}) {
        edit->setReadOnly(onNetwork());
    }
    setReadOnly(*m_form.local_address, onNetwork());
    setReadOnly(*m_form.serial_port, m_fields.link_state == kLinkSerial);
    setReadOnly(*m_form.ins_port, m_fields.ins_handle >= 0);
}

// Both are looked at, so that both are marked. False: nothing is opened.
bool LinkPanel::portsAreRight(bool local) {
    const bool pod = markUnlessPort(*m_form.pod_port, kLowestPodPort);
    return (!local || markUnlessPort(*m_form.local_port, kLowestLocalPort)) && pod;
}

void LinkPanel::showSendTrouble() {
    const SendTrouble trouble =
        m_fields.link_state == kLinkNone ? SendTrouble::kNone : m_actions.send_trouble(m_fields.link_handle);
    if (trouble != m_trouble) {
        m_trouble = trouble;
        writeTrouble();
    }
}

// The tip has the whole text, should a translation ever be longer than the line.
void LinkPanel::writeTrouble() {
    const QString text = troubleText(m_trouble);
    const auto write = [&text](QLabel* line, bool of_this_group) {
        line->setText(of_this_group ? text : QString());
        line->setToolTip(line->text());
    };
    write(m_form.net_trouble, onNetwork());
    write(m_form.serial_trouble, m_fields.link_state == kLinkSerial);
}

QString LinkPanel::troubleText(SendTrouble trouble) {
    switch (trouble) {
        case SendTrouble::kNone:
            return {};
        case SendTrouble::kUnreachable:
            return tr("发送失败：没有到设备的路由");
        case SendTrouble::kRefused:
            return tr("发送失败：设备端口无人接收");
        case SendTrouble::kStuck:
            return tr("发送停滞：对方不接收数据");
        case SendTrouble::kGone:
            return tr("线路已断开");
        case SendTrouble::kOther:
            break;
    }
    return tr("发送失败");
}

void LinkPanel::closeLink() {
    m_actions.closing();
    oskel::hang_up(m_fields.link_handle);
    m_fields.link_state = kLinkNone;
    m_trouble = SendTrouble::kNone;
}

void LinkPanel::opened(int handle, LinkState state) {
    m_fields.link_handle = handle;
    m_fields.link_state = state;
    m_actions.opened();
}

void LinkPanel::warnPortFailed(const QString& port) {
    MyMessageBox::information(&m_dialog, tr("警告"), tr("打开") + port + tr("失败!"));
}

void LinkPanel::toggleSerial() {
    if (onNetwork()) {
        MyMessageBox::information(&m_dialog, tr("警告"), tr("请先关闭UDP连接"));
        return;
    }
    if (m_fields.link_state == kLinkSerial) {
        closeLink();
    } else {
        const QString port = m_form.serial_port->currentText();
        const int handle = oskel::dialSerial(
            port.toLatin1().constData(), m_form.serial_rate->currentData().toInt(), m_actions.control_data);
        if (handle < 0) {
            warnPortFailed(port);
        } else {
            opened(handle, kLinkSerial);
        }
    }
    refreshButtons();
    m_actions.state_changed();
}

void LinkPanel::toggleNetwork() {
    if (m_fields.link_state == kLinkSerial) {
        MyMessageBox::information(&m_dialog, tr("警告"), tr("请先关闭串口"));
        return;
    }
    if (m_fields.link_state != kLinkNone) {
        closeLink();
    } else if (m_form.udp->isChecked()) {
        openUdp();
    } else {
        openTcp();
    }
    refreshButtons();
    m_actions.state_changed();
}

void LinkPanel::openUdp() {
    if (!portsAreRight(true)) {
        return;
    }
    const int handle = oskel::dialDatagram(m_form.pod_address->text().toLatin1().constData(),
                                           m_form.pod_port->text().toInt(),
                                           m_form.local_address->currentText().toLatin1().constData(),
                                           m_form.local_port->text().toInt(), m_actions.control_data);
    if (handle >= 1) {
        // What the link stands on is not to be replaced in its box by a late address.
        m_addresses.keep();
        opened(handle, kLinkUdp);
    }
}

void LinkPanel::openTcp() {
    if (!portsAreRight(false)) {
        return;
    }
    const int handle = oskel::dialStream(m_form.pod_address->text().toLatin1().constData(),
                                         m_form.pod_port->text().toInt(), m_actions.control_data);
    // Unlike the other two a negative handle counts as open here.
    if (handle != 0) {
        opened(handle, kLinkTcp);
    }
}

void LinkPanel::onNetKindChanged(bool udp) {
    m_form.local_port->setEnabled(udp);
    m_form.local_address->setEnabled(udp);
    // TCP asks for none.
    mark(*m_form.local_port, false);
}

void LinkPanel::toggleIns() {
    if (m_fields.ins_handle >= 0) {
        oskel::hang_up(m_fields.ins_handle);
        m_fields.ins_handle = -1;
        refreshButtons();
        return;
    }
    const QString port = m_form.ins_port->currentText();
    m_fields.ins_handle = oskel::dialSerial(port.toLatin1().constData(),
                                            m_form.ins_rate->currentData().toInt(), m_actions.ins_data);
    if (m_fields.ins_handle < 0) {
        warnPortFailed(port);
    } else {
        refreshButtons();
    }
}

QString LinkPanel::stateText() const {
    switch (m_fields.link_state) {
        case kLinkNone:
            return tr("控制连接关闭");
        case kLinkSerial:
            return tr("串口已连接");
        case kLinkUdp:
            return tr("UDP已连接");
        default:
            return {};
    }
}

void LinkPanel::closeAll() {
    oskel::hang_up(m_fields.link_handle);
    m_fields.link_state = kLinkNone;
    if (m_fields.ins_handle >= 0) {
        oskel::hang_up(m_fields.ins_handle);
        m_fields.ins_handle = -1;
    }
}

void LinkPanel::store() {
    m_config.serial_port = m_form.serial_port->currentText();
    m_config.baudrate = m_form.serial_rate->currentText();
    m_config.net_type = m_form.tcp->isChecked() ? 1 : 0;
    m_config.destination_address = m_form.pod_address->text();
    m_config.destination_port = m_form.pod_port->text().toInt();
    m_config.local_bind_port = m_form.local_port->text().toInt();
}
