// The connection dialog and both protocol modes through the real window, with the bytes read at the far end.
#include <QHostInfo>
#include <QTcpServer>
#include <QTcpSocket>

#include "base/checksum.h"
#include "link_peer.h"

namespace {

const QString kConnect = QStringLiteral("连接");
const QString kDisconnect = QStringLiteral("断开");

// A command of four parameters as a variable frame.
QByteArray fourFrame(int code, const char* parameters) {
    QByteArray f = hex("FB2CAA06");
    f.append(static_cast<char>(code)).append('\0').append(hex(parameters));
    return f.append(static_cast<char>(sorvane::frameXor(f.constData() + 3, f.size() - 3)));
}

bool isFixed(const QByteArray& f) {
    return f.size() == 44 && f.startsWith(hex("FB2C")) && static_cast<quint8>(f[43]) == 0xF0 &&
           static_cast<quint8>(f[42]) == sorvane::frameXor(f.constData() + 2, 40);
}

bool isNav(const QByteArray& f) { return f.size() == 37 && f.startsWith(hex("FB2CAA200204")); }

TEST_F(LinkTest, DialogIsFilledFromTheConfiguration) {
    start({{"connection/destination_address", "10.1.2.3"},
           {"connection/destination_port", 4321},
           {"connection/local_bind_port", 1234},
           {"system_function/net_type", 1},
           {"system_function/baudrate", "460800"}});
    EXPECT_EQ(dialog().cbb_ctrlConnIpAddr->text(), "10.1.2.3");
    EXPECT_EQ(dialog().cbb_ctrlConnIpPort->text(), "4321");
    EXPECT_EQ(dialog().cbb_ctrlConnLocalPort->text(), "1234");
    EXPECT_TRUE(dialog().radioButton_14->isChecked());
    EXPECT_FALSE(dialog().cbb_ctrlConnLocalPort->isEnabled());
    EXPECT_FALSE(dialog().comboBox->isEnabled());
    EXPECT_EQ(dialog().cbb_ctrlSerialBaudRate->currentData().toInt(), 460800);
    EXPECT_EQ(dialog().cbb_ctrlSerialBaudRate_2->currentData().toInt(), 460800);
    EXPECT_EQ(dialog().cbb_ctrlSerialBaudRate->count(), 8);
}

TEST_F(LinkTest, BaudRateOutsideTheListSelectsTheSixth) {
    start({{"system_function/baudrate", "12345"}});
    EXPECT_EQ(dialog().cbb_ctrlSerialBaudRate->currentIndex(), 5);
    EXPECT_EQ(dialog().cbb_ctrlSerialBaudRate->currentText(), "115200");
}

TEST_F(LinkTest, LocalFieldsFollowTheProtocol) {
    start();
    dialog().radioButton_14->setChecked(true);
    EXPECT_FALSE(dialog().cbb_ctrlConnLocalPort->isEnabled());
    EXPECT_FALSE(dialog().comboBox->isEnabled());
    dialog().radioButton_13->setChecked(true);
    EXPECT_TRUE(dialog().cbb_ctrlConnLocalPort->isEnabled());
    EXPECT_TRUE(dialog().comboBox->isEnabled());
}

TEST_F(LinkTest, LocalAddressOnThePodsSubnetIsSelected) {
    QStringList own;
    for (const QHostAddress& a : QHostInfo::fromName(QHostInfo::localHostName()).addresses()) {
        if (a.protocol() == QAbstractSocket::IPv4Protocol) {
            own << a.toString();
        }
    }
    const QString last = own.isEmpty() ? QStringLiteral("203.0.113.1") : own.last();
    const QString subnet = last.left(last.lastIndexOf('.'));
    start({{"connection/destination_address", subnet + ".77"}});
    const auto listed = [this] {
        QStringList all;
        for (int i = 0; i < dialog().comboBox->count(); ++i) {
            all << dialog().comboBox->itemText(i);
        }
        return all;
    };
    // The interfaces' addresses are there at once, those of the host's name come before them.
    EXPECT_TRUE(listed().contains("127.0.0.1"));
    EXPECT_TRUE(waitFor([&] { return listed().mid(0, own.size()) == own; }));
    EXPECT_EQ(listed().removeDuplicates(), 0);
    if (!own.isEmpty()) {
        EXPECT_TRUE(dialog().comboBox->currentText().startsWith(subnet + "."));
    }
}

TEST_F(LinkTest, UdpOpensCarriesBytesAndCloses) {
    start();
    EXPECT_EQ(in().m_statusLink()->text(), "控制连接关闭");
    openUdp();
    EXPECT_EQ(dialog().pushButton_26->text(), kDisconnect);
    EXPECT_EQ(in().m_statusLink()->text(), "UDP已连接");
    window->sendCommand4(0x45, 3, 4, 0, 0);
    ASSERT_TRUE(waitFor([this] { return peer.count() > 0; }));
    EXPECT_EQ(peer.take(), (std::vector<QByteArray>{hex("FB2CAA0645000304000044")}));

    const int handle = in().m_linkHandle();
    dialog().pushButton_26->click();
    EXPECT_EQ(in().m_linkState(), kLinkNone);
    EXPECT_EQ(in().m_linkHandle(), handle) << "the handle keeps its value";
    EXPECT_EQ(dialog().pushButton_26->text(), kConnect);
    EXPECT_EQ(in().m_statusLink()->text(), "控制连接关闭");
}

TEST_F(LinkTest, SerialOpensCarriesBytesAndCloses) {
    start();
    SerialPeer line;
    openSerial(line);
    EXPECT_EQ(dialog().pushButton_25->text(), kDisconnect);
    EXPECT_EQ(in().m_statusLink()->text(), "串口已连接");
    window->sendCommandWord(0x3A, -2, 300);
    const QByteArray expected = hex("FB2CAA063A00FEFF2C0110");
    EXPECT_TRUE(waitFor([&] { return line.bytes() == expected; })) << line.bytes().toHex().toStdString();
    dialog().pushButton_25->click();
    EXPECT_EQ(in().m_linkState(), kLinkNone);
    EXPECT_EQ(dialog().pushButton_25->text(), kConnect);
}

TEST_F(LinkTest, TcpLeavesTheStatusEmptyWhileTheButtonSaysDisconnect) {
    start();
    QTcpServer server;
    ASSERT_TRUE(server.listen(QHostAddress::LocalHost, 0));
    aimAt(server.serverPort());
    dialog().radioButton_14->setChecked(true);
    dialog().pushButton_26->click();
    EXPECT_EQ(in().m_linkState(), kLinkTcp);
    EXPECT_EQ(dialog().pushButton_26->text(), kDisconnect);
    EXPECT_EQ(in().m_statusLink()->text(), "");
    ASSERT_TRUE(waitFor([&] { return server.hasPendingConnections(); }));
    QTcpSocket* pod = server.nextPendingConnection();
    window->sendCommand4(0x71, 0, 0, 0, 0);
    QByteArray got;
    EXPECT_TRUE(waitFor([&] {
        got += pod->readAll();
        return got == hex("FB2CAA0671000000000077");
    })) << got.toHex().toStdString();
    dialog().pushButton_26->click();
    EXPECT_EQ(in().m_linkState(), kLinkNone);
    EXPECT_TRUE(waitFor([&] { return pod->state() == QAbstractSocket::UnconnectedState; }));
}

TEST_F(LinkTest, FailedUdpAndTcpShowNothingAndChangeNothing) {
    start();
    BoxWatcher boxes;
    aimAt(1);
    dialog().cbb_ctrlConnIpAddr->setText("not an address");
    for (QRadioButton* kind : {dialog().radioButton_13, dialog().radioButton_14}) {
        kind->setChecked(true);
        dialog().pushButton_26->click();
        EXPECT_EQ(in().m_linkState(), kLinkNone);
        EXPECT_EQ(dialog().pushButton_26->text(), kConnect);
    }
    // A port where nobody listens.
    QTcpServer server;
    ASSERT_TRUE(server.listen(QHostAddress::LocalHost, 0));
    aimAt(server.serverPort());
    server.close();
    dialog().pushButton_26->click();
    EXPECT_EQ(in().m_linkState(), kLinkNone);
    EXPECT_EQ(boxes.seen, QStringList());
    EXPECT_EQ(in().m_periodTimer(), -1);
}

TEST_F(LinkTest, SerialFailureWarnsWithThePortName) {
    start();
    BoxWatcher boxes;
    dialog().cbb_ctrlSerialNo->setEditText("no-such-port");
    dialog().pushButton_25->click();
    EXPECT_EQ(boxes.seen, QStringList{"警告: 打开no-such-port失败!"});
    EXPECT_EQ(in().m_linkState(), kLinkNone);
    EXPECT_EQ(dialog().pushButton_25->text(), kConnect);
}

TEST_F(LinkTest, SerialWhileUdpIsOpenWarnsAndLeavesTheLink) {
    start();
    openUdp();
    SerialPeer line;
    BoxWatcher boxes;
    dialog().cbb_ctrlSerialNo->setEditText(line.name());
    dialog().pushButton_25->click();
    EXPECT_EQ(boxes.seen, QStringList{"警告: 请先关闭UDP连接"});
    EXPECT_EQ(in().m_linkState(), kLinkUdp);
    window->sendCommand4(0x71, 0, 0, 0, 0);
    EXPECT_TRUE(waitFor([this] { return peer.count() == 1; })) << "still carries bytes";
}

TEST_F(LinkTest, UdpWhileSerialIsOpenWarnsAndLeavesTheLink) {
    start();
    SerialPeer line;
    openSerial(line);
    BoxWatcher boxes;
    aimAt(peer.port());
    dialog().pushButton_26->click();
    EXPECT_EQ(boxes.seen, QStringList{"警告: 请先关闭串口"});
    EXPECT_EQ(in().m_linkState(), kLinkSerial);
    window->sendCommand4(0x71, 0, 0, 0, 0);
    EXPECT_TRUE(waitFor([&] { return line.bytes().size() == 11; })) << "still carries bytes";
}

TEST_F(LinkTest, InertialPortReopensAfterAFailure) {
    start();
    BoxWatcher boxes;
    dialog().cbb_ctrlSerialNo_2->setEditText("no-such-port");
    dialog().pushButton_28->click();
    EXPECT_EQ(boxes.seen, QStringList{"警告: 打开no-such-port失败!"});
    EXPECT_LT(in().m_insHandle(), 0);
    EXPECT_EQ(dialog().pushButton_28->text(), kConnect);

    SerialPeer line;
    dialog().cbb_ctrlSerialNo_2->setEditText(line.name());
    dialog().pushButton_28->click();
    EXPECT_GE(in().m_insHandle(), 0);
    EXPECT_EQ(dialog().pushButton_28->text(), kDisconnect);
    EXPECT_EQ(in().m_linkState(), kLinkNone) << "independent of the control link";
    dialog().pushButton_28->click();
    EXPECT_EQ(in().m_insHandle(), -1);
    EXPECT_EQ(dialog().pushButton_28->text(), kConnect);
}

TEST_F(LinkTest, OpeningTheDialogShowsThePresentState) {
    start();
    openUdp();
    dialog().pushButton_26->setText("stale");
    dialog().pushButton_25->setText("stale");
    dialog().pushButton_28->setText("stale");
    window->on_action_connection();
    EXPECT_TRUE(in().m_connectionDlg()->isVisible());
    EXPECT_EQ(dialog().pushButton_26->text(), kDisconnect);
    EXPECT_EQ(dialog().pushButton_25->text(), kConnect);
    EXPECT_EQ(dialog().pushButton_28->text(), kConnect);
    EXPECT_EQ(dialog().pushButton_22->text(), kConnect);
    EXPECT_EQ(dialog().pushButton_23->text(), kConnect);
}

TEST_F(LinkTest, PeriodicModeSendsTheFrameAgainAndAgain) {
    start({{"common/send_single", false}, {"common/send_period_ms", 20}});
    openUdp();
    EXPECT_GT(in().m_periodTimer(), 0);
    EXPECT_EQ(in().m_navTimer(), -1);
    // The start leaves the command of the language standing for a moment.
    ASSERT_TRUE(waitFor([this] { return peer.count() >= 3 && peer.frames().back()[2] == '\0'; }));
    for (const QByteArray& f : peer.take()) {
        EXPECT_TRUE(isFixed(f)) << f.toHex().toStdString();
    }
    ASSERT_TRUE(waitFor([this] { return peer.count() >= 3; }));
    for (const QByteArray& f : peer.take()) {
        EXPECT_EQ(f.mid(2, 5), hex("0000000000"));
    }
    window->sendCommand4(0x31, 1, 2, 3, 4);
    ASSERT_TRUE(waitFor([this] { return peer.count() >= 3; }));
    EXPECT_EQ(peer.take().back().mid(2, 5), hex("3101020304"));
}

TEST_F(LinkTest, ClosingKeepsTheTimerIdsAndTheNextOpeningStartsNewOnes) {
    start({{"common/send_single", false}, {"common/send_period_ms", 20}});
    openUdp();
    const int first = in().m_periodTimer();
    ASSERT_TRUE(waitFor([this] { return peer.count() >= 2; }));
    dialog().pushButton_26->click();
    EXPECT_EQ(in().m_periodTimer(), first);
    EXPECT_FALSE(runs(first)) << "killed all the same";
    openUdp();
    EXPECT_GT(in().m_periodTimer(), 0);
    EXPECT_TRUE(runs(in().m_periodTimer()));
    peer.take();
    ASSERT_TRUE(waitFor([this] { return peer.count() >= 2; }));
}

// The toolkit gives the numbers of killed timers out again.
TEST_F(LinkTest, KeptTimerIdsDoNotCatchOtherTimers) {
    start({{"common/send_single", false}, {"common/send_period_ms", 20}});
    openUdp();
    dialog().pushButton_26->click();
    ASSERT_TRUE(waitFor([this] { return in().m_stopTimer() == 0; }));
    window->on_fog_changed(1);
    EXPECT_EQ(in().m_stopTimer(), in().m_periodTimer()) << "the case that this test is about";
    EXPECT_TRUE(waitFor([this] { return in().m_stopTimer() == 0; }));
    EXPECT_TRUE(in().m_frameRelease());
    window->on_fog_changed(1);
    openUdp();
    EXPECT_TRUE(waitFor([this] { return in().m_stopTimer() == 0; })) << "opening does not kill it";
}

TEST_F(LinkTest, CommandSetWithoutALinkGoesOutWhenOneOpens) {
    start({{"common/send_single", false}, {"common/send_period_ms", 20}});
    window->sendCommand4(0x74, 0, 0, 0, 0);
    openUdp();
    ASSERT_TRUE(waitFor([this] { return peer.count() >= 1; }));
    EXPECT_EQ(peer.take().front().mid(2, 5), hex("7400000000"));
}

TEST_F(LinkTest, SingleModeSendsNothingByItself) {
    start();
    openUdp();
    EXPECT_EQ(in().m_periodTimer(), -1);
    EXPECT_EQ(in().m_navTimer(), -1);
    window->sendCommand4(0x71, 0, 0, 0, 0);
    window->sendCommand4(0x72, 0, 0, 0, 0);
    ASSERT_TRUE(waitFor([this] { return peer.count() >= 2; }));
    EXPECT_EQ(peer.take(),
              (std::vector<QByteArray>{fourFrame(0x71, "00000000"), fourFrame(0x72, "00000000")}));
}

TEST_F(LinkTest, CheckBoxAddsTheStreamOfPositions) {
    start();
    openUdp();
    in().m_localClock() = [] { return sorvane::CalendarTime{2026, 11, 21, 7, 9, 45, 678}; };
    const int last = in().m_lastCode();
    in().m_settings()->ui->checkBox_16->setChecked(true);
    ASSERT_TRUE(waitFor([this] { return peer.count() >= 3; }));
    for (const QByteArray& f : peer.take()) {
        EXPECT_TRUE(isNav(f)) << f.toHex().toStdString();
        EXPECT_EQ(f.mid(12, 7), hex("1A0B1507092D43"));
    }
    EXPECT_EQ(in().m_lastCode(), last) << "the stream is not a command";
    in().m_settings()->ui->checkBox_16->setChecked(false);
    EXPECT_EQ(in().m_navTimer(), -1);
}

TEST_F(LinkTest, LeavingSingleModeEndsTheStreamAndStartsTheFrame) {
    start({{"common/send_period_ms", 20}});
    openUdp();
    in().m_settings()->ui->checkBox_16->setChecked(true);
    ASSERT_TRUE(waitFor([this] { return peer.count() >= 1; }));
    const std::size_t timers = runningTimers();
    choosePeriodic();
    EXPECT_FALSE(in().m_settings()->ui->checkBox_16->isChecked());
    EXPECT_FALSE(in().m_settings()->ui->checkBox_16->isEnabled());
    EXPECT_EQ(in().m_navTimer(), -1);
    EXPECT_EQ(runningTimers(), timers) << "one timer in place of the other";
    peer.take();
    ASSERT_TRUE(waitFor([this] { return peer.count() >= 3; }));
    for (const QByteArray& f : peer.take()) {
        EXPECT_TRUE(isFixed(f)) << f.toHex().toStdString();
    }
    const int period = in().m_periodTimer();
    chooseSingle();
    EXPECT_EQ(in().m_periodTimer(), -1);
    EXPECT_FALSE(runs(period));
    EXPECT_TRUE(in().m_settings()->ui->checkBox_16->isEnabled());
}

TEST_F(LinkTest, NoTimerIsLeftBehindByRepeatedChanges) {
    start({{"common/send_single", false}});
    const std::size_t before = runningTimers();
    for (int i = 0; i < 3; ++i) {
        window->applySendMode();
    }
    EXPECT_EQ(runningTimers(), before + 1);
    window->silenceLink();
    EXPECT_EQ(runningTimers(), before);
}

TEST_F(LinkTest, SilencingKillsBothTimers) {
    start({{"common/send_single", false}, {"common/send_period_ms", 20}});
    openUdp();
    const int period = in().m_periodTimer();
    window->silenceLink();
    EXPECT_EQ(in().m_periodTimer(), -1);
    EXPECT_EQ(in().m_navTimer(), -1);
    EXPECT_FALSE(runs(period));
    window->silenceLink();
}

TEST_F(LinkTest, CommandsWithoutALinkAreHarmless) {
    start();
    window->sendCommand4(0x45, 1, 1, 0, 0);
    window->sendVariableFrame(1, nullptr, 4);
    window->sendVariableFrame(1, "x", -1);
    window->stopCommand(0);
    EXPECT_EQ(in().m_lastCode(), 0x45);
}

TEST_F(LinkTest, ClosingTheWindowClosesTheLink) {
    start();
    QTcpServer server;
    ASSERT_TRUE(server.listen(QHostAddress::LocalHost, 0));
    aimAt(server.serverPort());
    dialog().radioButton_14->setChecked(true);
    dialog().pushButton_26->click();
    ASSERT_TRUE(waitFor([&] { return server.hasPendingConnections(); }));
    QTcpSocket* pod = server.nextPendingConnection();
    window->close();
    EXPECT_TRUE(waitFor([&] { return pod->state() == QAbstractSocket::UnconnectedState; }));
}

}  // namespace
