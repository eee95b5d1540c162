// Why an open link cannot send, as the connection dialog says it.
#include <QTest>
#include <QTranslator>
#include <QUdpSocket>

#include "link_panel_fixture.h"

namespace {

class SendTroublePart : public LinkPanelPart {};

TEST_F(SendTroublePart, ALinkThatCannotSendSaysWhyUnderItsGroup) {
    build();
    openUdp();
    const std::pair<oskel::SendTrouble, const char*> told[] = {
        {oskel::SendTrouble::kUnreachable, "发送失败：没有到设备的路由"},
        {oskel::SendTrouble::kRefused, "发送失败：设备端口无人接收"},
        {oskel::SendTrouble::kStuck, "发送停滞：对方不接收数据"},
        {oskel::SendTrouble::kGone, "线路已断开"},
        {oskel::SendTrouble::kOther, "发送失败"},
        {oskel::SendTrouble::kNone, ""},
    };
    calls.clear();
    for (const auto& [kind, text] : told) {
        trouble = kind;
        panel->showSendTrouble();
        EXPECT_EQ(form.net_trouble->text(), text);
        EXPECT_EQ(form.net_trouble->toolTip(), text);
        EXPECT_EQ(form.serial_trouble->text(), "");
        EXPECT_EQ(panel->stateText(), "UDP已连接");
        EXPECT_EQ(form.net_open->text(), kDisconnect);
    }
    EXPECT_EQ(calls, QStringList{});
    EXPECT_EQ(boxes.seen, QStringList{});
    EXPECT_EQ(asked.last(), link_handle);
}

TEST_F(SendTroublePart, ASerialLineSaysItUnderTheSerialGroup) {
    build();
    openSerial();
    trouble = oskel::SendTrouble::kGone;
    panel->showSendTrouble();
    EXPECT_EQ(form.serial_trouble->text(), "线路已断开");
    EXPECT_EQ(form.net_trouble->text(), "");
    EXPECT_EQ(panel->stateText(), "串口已连接");
}

TEST_F(SendTroublePart, AClosedLinkHasNoTroubleAndIsNotAskedFor) {
    build();
    panel->showSendTrouble();
    EXPECT_EQ(asked, QList<int>{});
    openUdp();
    trouble = oskel::SendTrouble::kRefused;
    panel->showSendTrouble();
    ASSERT_NE(form.net_trouble->text(), "");
    panel->toggleNetwork();
    EXPECT_EQ(form.net_trouble->text(), "");
    // Nor does the next link begin with the trouble of the last one.
    panel->toggleNetwork();
    EXPECT_EQ(form.net_trouble->text(), "");
    panel->showSendTrouble();
    EXPECT_NE(form.net_trouble->text(), "");
}

// The form's own retranslation may have emptied the line, or the language has changed.
TEST_F(SendTroublePart, TheTroubleIsShownAgainWithTheButtons) {
    build();
    openUdp();
    trouble = oskel::SendTrouble::kRefused;
    panel->showSendTrouble();
    QTranslator english;
    ASSERT_TRUE(english.load("Translation_en.qm", "translations"));
    qApp->installTranslator(&english);
    panel->refreshButtons();
    EXPECT_EQ(form.net_trouble->text(), "Cannot send: nobody listens at the device port");
    qApp->removeTranslator(&english);
}

TEST_F(SendTroublePart, NothingIsWrittenWhileNothingChanges) {
    build();
    openUdp();
    trouble = oskel::SendTrouble::kRefused;
    panel->showSendTrouble();
    form.net_trouble->setText("untouched");
    panel->showSendTrouble();
    EXPECT_EQ(form.net_trouble->text(), "untouched");
}

// The lines have a place of their own: nothing moves when one comes, and no text is cut off.
TEST_F(SendTroublePart, EveryTroubleHasRoomInBothLanguages) {
    build();
    openUdp();
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    EXPECT_EQ(dialog.size(), QSize(990, 620));
    const QRect serial_group = ui.groupBox_10->geometry();
    QTranslator english;
    ASSERT_TRUE(english.load("Translation_en.qm", "translations"));
    for (const bool in_english : {false, true}) {
        if (in_english) {
            qApp->installTranslator(&english);
        }
        for (const auto kind :
             {oskel::SendTrouble::kUnreachable, oskel::SendTrouble::kRefused, oskel::SendTrouble::kStuck,
              oskel::SendTrouble::kGone, oskel::SendTrouble::kOther}) {
            trouble = kind;
            panel->showSendTrouble();
            QCoreApplication::processEvents();
            const QLabel& line = *form.net_trouble;
            EXPECT_GE(line.width(), line.indent() + line.fontMetrics().horizontalAdvance(line.text()));
            EXPECT_GE(line.height(), line.fontMetrics().height());
            EXPECT_EQ(form.serial_trouble->width(), line.width());
            EXPECT_EQ(ui.groupBox_10->geometry(), serial_group);
        }
        EXPECT_EQ(form.net_trouble->text(), in_english ? "Cannot send" : "发送失败");
        trouble = oskel::SendTrouble::kNone;
        panel->showSendTrouble();
    }
    qApp->removeTranslator(&english);
}

// The transport library's own word, of a port at which nobody listens and then somebody does.
TEST_F(SendTroublePart, ARefusedDatagramIsToldAndATakenOneEndsIt) {
    build();
    QUdpSocket listener;
    ASSERT_TRUE(listener.bind(QHostAddress(QHostAddress::LocalHost)));
    const quint16 port = listener.localPort();
    listener.close();
    aimAt(port);
    form.udp->setChecked(true);
    panel->toggleNetwork();
    ASSERT_EQ(link_state, kLinkUdp);
    const auto linePolled = [this](const char* text) {
        return waitFor(
            [this, text] {
                send("to the pod");
                panel->showSendTrouble();
                return form.net_trouble->text() == text;
            },
            10000);
    };
    EXPECT_TRUE(linePolled("发送失败：设备端口无人接收"));
    ASSERT_TRUE(listener.bind(QHostAddress(QHostAddress::LocalHost), port));
    EXPECT_TRUE(linePolled(""));
}

}  // namespace
