// The link groups of the connection dialog without the window: both ports, their buttons, their warnings.
#include <QTcpServer>
#include <QTcpSocket>

#include "link_panel_fixture.h"

namespace {

TEST_F(LinkPanelPart, IsFilledFromTheConfiguration) {
    config.destination_address = "10.1.2.3";
    config.destination_port = 4321;
    config.local_bind_port = 1234;
    config.net_type = 1;
    config.baudrate = "9600";
    build();
    EXPECT_EQ(form.pod_address->text(), "10.1.2.3");
    EXPECT_EQ(form.pod_port->text(), "4321");
    EXPECT_EQ(form.local_port->text(), "1234");
    EXPECT_TRUE(form.tcp->isChecked());
    EXPECT_FALSE(form.local_port->isEnabled());
    EXPECT_FALSE(form.local_address->isEnabled());
    EXPECT_EQ(form.serial_rate->currentData().toInt(), 9600);
    EXPECT_EQ(form.ins_rate->currentData().toInt(), 460800);
    EXPECT_TRUE(form.serial_port->isEditable());
    EXPECT_TRUE(form.ins_port->isEditable());
    panel->onNetKindChanged(true);
    EXPECT_TRUE(form.local_port->isEnabled());
    EXPECT_TRUE(form.local_address->isEnabled());
}

TEST_F(LinkPanelPart, ABaudRateThatIsNotListedGivesTheSixth) {
    config.baudrate = "12345";
    build();
    EXPECT_EQ(form.serial_rate->count(), 8);
    EXPECT_EQ(form.serial_rate->currentText(), "115200");
}

TEST_F(LinkPanelPart, TheConfiguredPortIsChosenOrStaysToBeSeen) {
    config.serial_port = "ttyNOWHERE";
    build();
    panel->fillLists();
    if (form.serial_port->count() == 0) {
        EXPECT_EQ(form.serial_port->currentText(), "ttyNOWHERE");
    } else {
        EXPECT_EQ(form.serial_port->currentIndex(), form.serial_port->count() - 1);
        config.serial_port = form.serial_port->itemText(0);
        panel->refreshSerialPorts();
        EXPECT_EQ(form.serial_port->currentIndex(), 0);
    }
    EXPECT_EQ(form.ins_port->count(), form.serial_port->count());
}

TEST_F(LinkPanelPart, TheLocalAddressOnThePodsSubnetIsChosen) {
    build();
    form.local_address->addItems({"203.0.113.9", "198.51.100.4"});
    config.destination_address = "198.51.100.77";
    panel->fillLists();
    EXPECT_EQ(form.local_address->currentText(), "198.51.100.4");
}

TEST_F(LinkPanelPart, ALateAddressDoesNotReplaceTheOneThatTheLinkStandsOn) {
    config.destination_address = "127.0.0.1";
    build();
    panel->fillLists();
    form.pod_address->setText("127.0.0.1");
    form.pod_port->setText(QString::number(peer.port()));
    form.local_port->setText("0");
    form.udp->setChecked(true);
    panel->toggleNetwork();
    ASSERT_EQ(link_state, kLinkUdp);
    looked_up({"127.0.0.9"});
    EXPECT_EQ(form.local_address->itemText(0), "127.0.0.9");
    EXPECT_EQ(form.local_address->currentText(), "127.0.0.1");
}

TEST_F(LinkPanelPart, AnAddressThatOutlivesThePanelIsNotTaken) {
    build();
    panel->fillLists();
    panel.reset();
    looked_up({"127.0.0.9"});
    EXPECT_EQ(form.local_address->count(), 1);
}

TEST_F(LinkPanelPart, AUdpPeerGetsAndSends) {
    build();
    openUdp();
    EXPECT_EQ(form.net_open->text(), kDisconnect);
    EXPECT_EQ(form.serial_open->text(), kConnect);
    EXPECT_EQ(calls, (QStringList{"opened", "changed"}));
    send("to the pod");
    ASSERT_TRUE(waitFor([this] { return peer.count() == 1; }));
    EXPECT_EQ(peer.take()[0], "to the pod");
    peer.reply("from the pod");
    EXPECT_TRUE(waitFor([this] { return control.bytes() == "from the pod"; }));
    EXPECT_EQ(ins.bytes(), "");
}

TEST_F(LinkPanelPart, ClosingEndsTheTimersFirstAndKeepsTheHandle) {
    build();
    openUdp();
    const int handle = link_handle;
    calls.clear();
    panel->toggleNetwork();
    EXPECT_EQ(calls, (QStringList{"closing", "changed"}));
    EXPECT_EQ(sent_while_closing, 3) << "the port was still open";
    EXPECT_EQ(link_state, kLinkNone);
    EXPECT_EQ(link_handle, handle);
    EXPECT_EQ(oskel::push_bytes("x", 1, handle), -1);
    EXPECT_EQ(form.net_open->text(), kConnect);
}

TEST_F(LinkPanelPart, AFailedUdpOpenChangesNothing) {
    build();
    aimAt(peer.port());
    form.local_port->setText("70000");
    link_handle = 12345;
    panel->toggleNetwork();
    EXPECT_EQ(link_state, kLinkNone);
    EXPECT_EQ(link_handle, 12345);
    EXPECT_EQ(form.net_open->text(), kConnect);
    EXPECT_EQ(calls, QStringList{"changed"});
    EXPECT_EQ(boxes.seen, QStringList{});
    link_handle = -1;
}

// Text that is no port opens nothing; what was typed stays and is marked until it is changed.
TEST_F(LinkPanelPart, APortThatIsNoneOpensNothingAndIsMarked) {
    build();
    const auto marked = [](const QLineEdit* edit) { return edit->property("wrong").toBool(); };
    for (const bool udp : {true, false}) {
        for (const char* port : {"abc", "0", "-1", "65536", "", "80 81"}) {
            aimAt(peer.port());
            (udp ? form.udp : form.tcp)->setChecked(true);
            form.pod_port->setText(port);
            panel->toggleNetwork();
            EXPECT_EQ(link_state, kLinkNone) << port;
            EXPECT_TRUE(marked(form.pod_port)) << port;
            EXPECT_FALSE(marked(form.local_port)) << port;
            EXPECT_EQ(form.pod_port->text(), port);
            EXPECT_EQ(form.net_open->text(), kConnect);
        }
    }
    EXPECT_EQ(boxes.seen, QStringList{});
    EXPECT_FALSE(calls.contains("opened"));
    aimAt(peer.port());
    EXPECT_FALSE(marked(form.pod_port)) << "the mark goes with the first change";
    form.udp->setChecked(true);
    form.local_port->setText("x");
    panel->toggleNetwork();
    EXPECT_EQ(link_state, kLinkNone);
    EXPECT_TRUE(marked(form.local_port));
    form.local_port->setText("0");
    panel->toggleNetwork();
    EXPECT_EQ(link_state, kLinkUdp) << "the system chooses a local port";
}

TEST_F(LinkPanelPart, WhatAnOpenPortStandsOnIsReadOnly) {
    build();
    const auto network = [this] {
        return QList<bool>{form.pod_address->isReadOnly(), form.pod_port->isReadOnly(),
                           form.local_port->isReadOnly()};
    };
    EXPECT_EQ(network(), QList<bool>({false, false, false}));
    openUdp();
    EXPECT_EQ(network(), QList<bool>({true, true, true}));
    EXPECT_TRUE(form.pod_port->isEnabled());
    EXPECT_FALSE(form.serial_port->lineEdit()->isReadOnly());
    panel->toggleNetwork();
    EXPECT_EQ(network(), QList<bool>({false, false, false}));
    openSerial();
    EXPECT_EQ(network(), QList<bool>({false, false, false}));
    EXPECT_TRUE(form.serial_port->lineEdit()->isReadOnly());
    panel->toggleSerial();
    EXPECT_FALSE(form.serial_port->lineEdit()->isReadOnly());
}

TEST_F(LinkPanelPart, ATypedSerialNameOutlivesARefresh) {
    build();
    panel->fillLists();
    form.serial_port->setEditText("/dev/pts/typed");
    form.ins_port->setEditText("/dev/pts/other");
    panel->refreshSerialPorts();
    panel->refreshInsPorts();
    EXPECT_EQ(form.serial_port->currentText(), "/dev/pts/typed");
    EXPECT_EQ(form.ins_port->currentText(), "/dev/pts/other");
}

// The configured name is shown while there is no port; one that is plugged in takes its place.
TEST_F(LinkPanelPart, ANameThatTheProgramShowedGivesWay) {
    config.serial_port = "ttyNOWHERE";
    build();
    panel->fillLists();
    const bool any = form.serial_port->count() > 0;
    form.serial_port->setEditText("ttyNOWHERE");
    panel->refreshSerialPorts();
    EXPECT_EQ(form.serial_port->currentIndex(), any ? form.serial_port->count() - 1 : -1);
    EXPECT_EQ(form.serial_port->currentText(),
              any ? form.serial_port->itemText(form.serial_port->count() - 1) : "ttyNOWHERE");
}

TEST_F(LinkPanelPart, ATcpPeerGetsAndSends) {
    build();
    QTcpServer server;
    ASSERT_TRUE(server.listen(QHostAddress::LocalHost, 0));
    aimAt(server.serverPort());
    form.tcp->setChecked(true);
    panel->toggleNetwork();
    EXPECT_EQ(link_state, kLinkTcp);
    EXPECT_EQ(form.net_open->text(), kDisconnect);
    ASSERT_TRUE(waitFor([&] { return server.hasPendingConnections(); }));
    QTcpSocket* pod = server.nextPendingConnection();
    send("to the pod");
    EXPECT_TRUE(waitFor([&] { return pod->bytesAvailable() == 10; }));
    pod->write("from the pod");
    EXPECT_TRUE(waitFor([this] { return control.bytes() == "from the pod"; }));
    panel->toggleNetwork();
    EXPECT_EQ(link_state, kLinkNone);
    EXPECT_EQ(form.net_open->text(), kConnect);
}

TEST_F(LinkPanelPart, ATcpPeerThatIsNotThereLeavesTheLinkClosed) {
    build();
    QTcpServer nobody;
    ASSERT_TRUE(nobody.listen(QHostAddress::LocalHost, 0));
    aimAt(nobody.serverPort());
    nobody.close();
    form.tcp->setChecked(true);
    panel->toggleNetwork();
    EXPECT_EQ(link_state, kLinkNone);
    EXPECT_EQ(form.net_open->text(), kConnect);
    EXPECT_EQ(calls, QStringList{"changed"});
}

TEST_F(LinkPanelPart, ASerialLineOpensAndCarriesBothWays) {
    build();
    openSerial();
    EXPECT_EQ(form.serial_open->text(), kDisconnect);
    EXPECT_EQ(form.net_open->text(), kConnect);
    EXPECT_EQ(calls, (QStringList{"opened", "changed"}));
    send("to the pod");
    EXPECT_TRUE(waitFor([this] { return line.bytes() == "to the pod"; }));
    line.write("from the pod");
    EXPECT_TRUE(waitFor([this] { return control.bytes() == "from the pod"; }));
    panel->toggleSerial();
    EXPECT_EQ(link_state, kLinkNone);
    EXPECT_EQ(form.serial_open->text(), kConnect);
    EXPECT_EQ(calls, (QStringList{"opened", "changed", "closing", "changed"}));
}

TEST_F(LinkPanelPart, AFailedSerialOpenWarns) {
    build();
    form.serial_port->setEditText("/dev/nosuchline");
    link_handle = 12345;
    panel->toggleSerial();
    EXPECT_EQ(boxes.seen, QStringList{"警告: 打开/dev/nosuchline失败!"});
    EXPECT_EQ(link_state, kLinkNone);
    EXPECT_EQ(link_handle, 12345);
    EXPECT_EQ(form.serial_open->text(), kConnect);
    EXPECT_EQ(calls, QStringList{"changed"});
    link_handle = -1;
}

TEST_F(LinkPanelPart, TheOtherKindHasToBeClosedFirst) {
    build();
    openUdp();
    calls.clear();
    form.serial_port->setEditText(line.name());
    panel->toggleSerial();
    EXPECT_EQ(boxes.seen, QStringList{"警告: 请先关闭UDP连接"});
    EXPECT_EQ(link_state, kLinkUdp);
    EXPECT_EQ(form.serial_open->text(), kConnect);
    panel->toggleNetwork();
    openSerial();
    boxes.seen.clear();
    calls.clear();
    panel->toggleNetwork();
    EXPECT_EQ(boxes.seen, QStringList{"警告: 请先关闭串口"});
    EXPECT_EQ(link_state, kLinkSerial);
    EXPECT_EQ(form.net_open->text(), kConnect);
    EXPECT_EQ(calls, QStringList{});
}

TEST_F(LinkPanelPart, TheInertialUnitHasAPortOfItsOwn) {
    build();
    openUdp();
    calls.clear();
    form.ins_port->setEditText(line.name());
    panel->toggleIns();
    EXPECT_GE(ins_handle, 1);
    EXPECT_EQ(form.ins_open->text(), kDisconnect);
    line.write("an attitude");
    EXPECT_TRUE(waitFor([this] { return ins.bytes() == "an attitude"; }));
    EXPECT_EQ(control.bytes(), "");
    const int handle = ins_handle;
    panel->toggleIns();
    EXPECT_EQ(ins_handle, -1);
    EXPECT_EQ(form.ins_open->text(), kConnect);
    EXPECT_EQ(oskel::push_bytes("x", 1, handle), -1);
    EXPECT_EQ(link_state, kLinkUdp);
    EXPECT_EQ(calls, QStringList{});
    form.ins_port->setEditText("/dev/nosuchline");
    panel->toggleIns();
    EXPECT_EQ(boxes.seen, QStringList{"警告: 打开/dev/nosuchline失败!"});
    EXPECT_LT(ins_handle, 0);
    EXPECT_EQ(form.ins_open->text(), kConnect);
}

TEST_F(LinkPanelPart, CloseAllIsSilent) {
    build();
    openUdp();
    form.ins_port->setEditText(line.name());
    panel->toggleIns();
    const int ins_was = ins_handle;
    calls.clear();
    panel->closeAll();
    EXPECT_EQ(calls, QStringList{});
    EXPECT_EQ(link_state, kLinkNone);
    EXPECT_EQ(ins_handle, -1);
    EXPECT_EQ(oskel::push_bytes("x", 1, link_handle), -1);
    EXPECT_EQ(oskel::push_bytes("x", 1, ins_was), -1);
}

TEST_F(LinkPanelPart, TheButtonsFollowTheState) {
    build();
    const auto texts = [this] {
        panel->refreshButtons();
        return QStringList{form.serial_open->text(), form.net_open->text(), form.ins_open->text()};
    };
    EXPECT_EQ(texts(), (QStringList{kConnect, kConnect, kConnect}));
    link_state = kLinkSerial;
    EXPECT_EQ(texts(), (QStringList{kDisconnect, kConnect, kConnect}));
    link_state = kLinkUdp;
    EXPECT_EQ(texts(), (QStringList{kConnect, kDisconnect, kConnect}));
    link_state = kLinkTcp;
    EXPECT_EQ(texts(), (QStringList{kConnect, kDisconnect, kConnect}));
    link_state = kLinkNone;
    ins_handle = 0;
    EXPECT_EQ(texts(), (QStringList{kConnect, kConnect, kDisconnect}));
    ins_handle = -1;
}

TEST_F(LinkPanelPart, StoreTakesWhatTheEditsHold) {
    build();
    form.serial_port->setEditText("ttyUSB7");
    form.serial_rate->setCurrentIndex(2);
    form.tcp->setChecked(true);
    form.pod_address->setText("192.0.2.7");
    form.pod_port->setText("8123");
    form.local_port->setText("9001");
    panel->store();
    EXPECT_EQ(config.serial_port, "ttyUSB7");
    EXPECT_EQ(config.baudrate, "9600");
    EXPECT_EQ(config.net_type, 1);
    EXPECT_EQ(config.destination_address, "192.0.2.7");
    EXPECT_EQ(config.destination_port, 8123);
    EXPECT_EQ(config.local_bind_port, 9001);
    form.udp->setChecked(true);
    panel->store();
    EXPECT_EQ(config.net_type, 0);
}

}  // namespace
