// The window asks by itself why its link cannot send.
#include <QUdpSocket>

#include "tests/gui/korvath_fixture.h"

namespace {

class SendTroubleWindow : public KorvathTest {};

TEST_F(SendTroubleWindow, TheConnectionDialogSaysItUntilSomebodyListens) {
    QUdpSocket listener;
    ASSERT_TRUE(listener.bind(QHostAddress(QHostAddress::LocalHost)));
    const quint16 port = listener.localPort();
    listener.close();
    start({{"connection/destination_address", "127.0.0.1"},
           {"connection/destination_port", port},
           {"connection/local_bind_port", 0}});
    Ui::connection& dialog = *in().ui_connection();
    window->OnUdpConnect();
    const QString state = in().m_statusLink()->text();
    const auto saysWhileSending = [&](const char* text) {
        return waitFor([&] {
            window->sendCommand4(0x45, 3, 4, 0, 0);
            return dialog.label_net_trouble->text() == text;
        });
    };
    EXPECT_TRUE(saysWhileSending("发送失败：设备端口无人接收"));
    EXPECT_EQ(dialog.label_serial_trouble->text(), "");
    EXPECT_EQ(in().m_statusLink()->text(), state);
    in().m_settings()->ui->cbb_selLang->setCurrentIndex(1);
    EXPECT_EQ(dialog.label_net_trouble->text(), "Cannot send: nobody listens at the device port");
    ASSERT_TRUE(listener.bind(QHostAddress(QHostAddress::LocalHost), port));
    EXPECT_TRUE(saysWhileSending(""));
}

}  // namespace
