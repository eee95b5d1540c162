// The pod's maintenance through the whole window: what each control puts on the wire in both protocol modes,
// what the pod's answers show, and the simulated pod at the other end.
#include <QComboBox>
#include <QLineEdit>
#include <QRandomGenerator>
#include <QTextEdit>

#include "pod_fixture.h"
#include "settings_fixture.h"

namespace {

// By hand: length from code on, code, data, XOR from the length on.
QByteArray variableFrame(std::uint16_t code, const QByteArray& data, char start, char mark) {
    QByteArray frame = QByteArray(1, start) + '\x2C' + mark + static_cast<char>(data.size() + 2);
    frame += static_cast<char>(code & 0xFF);
    frame += static_cast<char>(code >> 8);
    frame += data;
    char x = 0;
    for (int i = 3; i < frame.size(); ++i) {
        x = static_cast<char>(x ^ frame[i]);
    }
    return frame + x;
}
QByteArray toPod(std::uint16_t code, const QByteArray& data) {
    return variableFrame(code, data, '\xFB', '\xAA');
}
QByteArray fromPod(std::uint16_t code, const QByteArray& data) {
    return variableFrame(code, data, '\xFC', '\x55');
}

class Maintenance : public SettingsTest {
protected:
    void SetUp() override {
        start();
        chooseSingle();
        openUdp();
        letTheStartEnd();
        // The far end answers whom it has heard.
        leavesBy([] {});
    }
    void click(QPushButton* button) { button->click(); }

    // What leaves by an action up to a frame of the test's own that closes the list.
    std::vector<QByteArray> leavesBy(const std::function<void()>& action) {
        peer.take();
        action();
        static const QByteArray end = toPod(999, "end");
        window->sendVariableFrame(999, "end", 3);
        std::vector<QByteArray> frames;
        EXPECT_TRUE(waitFor([&] {
            for (const QByteArray& frame : peer.take()) {
                frames.push_back(frame);
            }
            return !frames.empty() && frames.back() == end;
        }));
        if (!frames.empty()) {
            frames.pop_back();
        }
        return frames;
    }
    void answer(std::uint16_t code, const QByteArray& data) { peer.reply(fromPod(code, data)); }
};

// The checks of frames as they were worked out by hand.
TEST_F(Maintenance, FramesByHand) {
    EXPECT_EQ(leavesBy([this] { click(form().pushButton_16); }),
              std::vector<QByteArray>{hex("FB2CAA033800013A")});
    EXPECT_EQ(leavesBy([this] { click(form().pushButton_26); }),
              std::vector<QByteArray>{hex("FB2CAA0339000933")});
}

TEST_F(Maintenance, EachButtonSendsItsFrameOnceInSingleMode) {
    form().lineEdit_15->setText("70000");
    form().lineEdit_11->setText("航");
    form().lineEdit_12->setText("258");
    form().lineEdit_13->setText("65537");
    form().lineEdit_14->setText("T");
    form().lineEdit_10->setText("2");
    form().comboBox_17->setCurrentIndex(13);
    form().textEdit_2->setPlainText("0A 5 FF");
    const std::vector<std::tuple<QPushButton*, int, const char*>> rows = {
        {form().pushButton_16, 56, "01"},       {form().pushButton_17, 56, "00"},
        {form().pushButton_22, 56, "03"},       {form().pushButton_25, 54, "0100"},
        {form().pushButton_26, 57, "09"},       {form().pushButton_53, 98, "017011"},
        {form().pushButton_23, 25, "02E888AA"}, {form().pushButton_24, 26, "020101000154"},
        {form().pushButton, 19, "14020A05FF"},
    };
    for (const auto& [button, code, data] : rows) {
        EXPECT_EQ(leavesBy([b = button] { b->click(); }),
                  std::vector<QByteArray>{toPod(static_cast<std::uint16_t>(code), hex(data))})
            << qPrintable(button->objectName());
    }
    EXPECT_EQ(leavesBy([this] {
                  emit form().comboBox_48->activated(1);
                  emit form().comboBox_48->activated(1);
              }),
              (std::vector<QByteArray>{toPod(98, hex("0001")), toPod(98, hex("0001"))}))
        << "the same item again is sent again";
    EXPECT_EQ(leavesBy([this] { form().comboBox_48->setCurrentIndex(0); }), std::vector<QByteArray>{});
}

// No link, no box: only the remote control's table says that there is none.
TEST_F(Maintenance, WithoutALinkNothingIsToldAndNothingComesLater) {
    dialog().pushButton_26->click();
    ASSERT_EQ(in().m_linkState(), kLinkNone);
    BoxWatcher boxes;
    for (QPushButton* button : {form().pushButton_16, form().pushButton_17, form().pushButton_22,
                                form().pushButton_25, form().pushButton_26, form().pushButton_53,
                                form().pushButton_23, form().pushButton_24, form().pushButton}) {
        button->click();
    }
    QCoreApplication::processEvents();
    EXPECT_TRUE(boxes.seen.isEmpty());
    dialog().pushButton_26->click();
    ASSERT_EQ(in().m_linkState(), kLinkUdp);
    EXPECT_EQ(leavesBy([] {}), std::vector<QByteArray>{});
}

// In periodic mode what stands in the frame goes out with every tick: a restart would go on for ever.
TEST_F(Maintenance, InPeriodicModeCommandsOfTheFrameEndByThemselves) {
    choosePeriodic();
    const std::vector<std::tuple<std::function<void()>, int, const char*>> rows = {
        {[this] { form().pushButton_26->click(); }, 57, "09"},
        {[this] { form().pushButton_25->click(); }, 54, "0100"},
        {[this] { form().pushButton_53->click(); }, 98, "01A00F"},
        {[this] { emit form().comboBox_48->activated(1); }, 98, "0001"},
    };
    form().lineEdit_15->setText("4000");
    for (const auto& [action, code, data] : rows) {
        peer.take();
        action();
        std::vector<QByteArray> seen;
        const auto idleBehind = [&, wanted = code] {
            for (const QByteArray& frame : peer.take()) {
                if (frame.size() == 44 && (frame.at(2) == static_cast<char>(wanted) || !seen.empty())) {
                    seen.push_back(frame);
                }
            }
            return !seen.empty() && seen.back().at(2) == 0;
        };
        ASSERT_TRUE(waitFor(idleBehind)) << code;
        EXPECT_EQ(seen.front().mid(3, hex(data).size()), hex(data)) << code;
    }
    // The questions and the texts are frames of their own in this mode too.
    peer.take();
    form().pushButton_16->click();
    ASSERT_TRUE(waitFor([this] {
        const auto frames = peer.take();
        return std::find(frames.begin(), frames.end(), toPod(56, hex("01"))) != frames.end();
    }));
}

TEST_F(Maintenance, AnswersStandInTheirFields) {
    answer(16, "\1PS-30");
    answer(17, "\3V1.2");
    answer(16, "\4beyond");
    answer(18, hex("05FF"));  // accepted and ignored
    answer(4711, "unknown");
    answer(17, "\5V9");
    ASSERT_TRUE(waitFor([this] { return form().lineEdit_7->text() == "\5V9"; }));
    EXPECT_EQ(form().lineEdit->text(), "\1PS-30");
    EXPECT_EQ(form().lineEdit_4->text(), "\3V1.2");
    EXPECT_EQ(form().lineEdit_2->text(), "");
}

TEST_F(Maintenance, ABurstOfAModuleIsShownTogether) {
    // In one datagram, so that a machine that is busy does not part them.
    peer.reply(fromPod(19, hex("0701AABB")) + fromPod(19, hex("030205")) + fromPod(19, hex("0701FF")));
    ASSERT_TRUE(waitFor([this] { return form().textEdit->toPlainText().contains("FF"); }));
    EXPECT_EQ(form().textEdit->toPlainText(), "模块：伺服，载荷编号：1\nAA BB 05 FF \n");
}

// What the pod shows, read and set again: the same word but for the request to store and the unused bit, and
// no command comes back of itself.
TEST_F(Maintenance, TwoHundredWordsSurviveTheWayThroughThePage) {
    show();
    form().widget_title->setCurrentRow(4);
    QRandomGenerator random(7);
    for (int i = 0; i < 200; ++i) {
        const std::uint32_t word = i == 0 ? 0 : i == 1 ? 0x7FFFFF : random.generate() & 0x7FFFFFU;
        const auto byte = [](std::uint32_t value, int shift) {
            return static_cast<char>(value >> shift & 0xFFU);
        };
        form().label_osd_unread->show();
        const auto back = leavesBy([&] {
            answer(18, QByteArray("\1\3", 2) + byte(word, 0) + byte(word, 8) + byte(word, 16) + '\0');
            EXPECT_TRUE(waitFor([this] { return form().label_osd_unread->isHidden(); }));
        });
        EXPECT_EQ(back, std::vector<QByteArray>{});
        const std::uint32_t told = word & 0x6FFEFFU;
        const auto sent = leavesBy([this] { QTest::mouseClick(form().pushButton_13, Qt::LeftButton); });
        ASSERT_EQ(sent, std::vector<QByteArray>{toPod(
                            55, QByteArray("\3", 1) + byte(told, 0) + byte(told, 8) + byte(told, 16))})
            << word;
    }
    answer(18, hex("01040A00"));
    ASSERT_TRUE(waitFor([this] { return form().comboBox_12->currentIndex() == 2; }));
    EXPECT_EQ(form().comboBox_13->currentIndex(), 1);
    const auto sent = leavesBy([this] { QTest::mouseClick(form().pushButton_14, Qt::LeftButton); });
    EXPECT_EQ(sent, std::vector<QByteArray>{toPod(55, hex("040A0000"))});
}

TEST_F(Maintenance, TheLanguageGoesToThePodsDisplay) {
    const auto sent = leavesBy([this] { form().cbb_selLang->setCurrentIndex(1); });
    EXPECT_EQ(sent, std::vector<QByteArray>{toPod(55, hex("04090000"))});
    EXPECT_EQ(form().comboBox_13->currentIndex(), 1);
    EXPECT_EQ(form().comboBox_17->itemText(0), "Infrared core");
    const auto back = leavesBy([this] { form().cbb_selLang->setCurrentIndex(0); });
    EXPECT_EQ(back, std::vector<QByteArray>{toPod(55, hex("04010000"))});
    EXPECT_EQ(form().comboBox_17->itemText(0), "红外机芯");
}

// The same against the simulated pod.
class MaintainedPod : public PodTest {
protected:
    void SetUp() override {
        startStation();
        startPod();
        connectToPod();
    }
    Ui::dialogSettings& form() const { return *in().m_settings()->ui; }
};

TEST_F(MaintainedPod, TellsItsIdentityAndVersions) {
    form().pushButton_16->click();
    form().pushButton_17->click();
    ASSERT_TRUE(waitFor([this] { return !form().lineEdit_7->text().isEmpty(); }));
    EXPECT_EQ(form().lineEdit->text(), "\1PS-30");
    EXPECT_EQ(form().lineEdit_2->text(), "\2SIM-0001");
    EXPECT_EQ(form().lineEdit_3->text(),
              "\3"
              "192.168.1.160");
    EXPECT_EQ(form().lineEdit_4->text(), "\3V1.2");
    EXPECT_EQ(form().lineEdit_8->text(), "\4V1.0");
}

TEST_F(MaintainedPod, ItsModulesAnswerUnderTheirNames) {
    form().lineEdit_10->setText("1");
    QString expected;
    for (const auto& [row, name] : std::vector<std::pair<int, const char*>>{
             {0, "红外机芯"}, {6, "伺服"}, {12, "激光告警器"}, {13, "火控板"}}) {
        form().comboBox_17->setCurrentIndex(row);
        form().textEdit_2->setPlainText("81 0A");
        form().pushButton->click();
        expected += QString("模块：%1，载荷编号：1\n06 81 0A \n").arg(name);
        EXPECT_TRUE(waitFor([&] { return form().textEdit->toPlainText() == expected; }))
            << qPrintable(form().textEdit->toPlainText());
    }
    EXPECT_EQ(form().comboBox_16->count(), 4);
}

TEST_F(MaintainedPod, ItsDisplayIsReadAfterItWasSetAndItsFactoryStateToo) {
    window->sendCommand4(55, 3, 0x06, 0x0A, 0x01);
    window->sendCommand4(55, 4, 0x0A, 0, 0);
    form().pushButton_22->click();
    ASSERT_TRUE(waitFor([this] { return form().comboBox_13->currentIndex() == 1; }));
    EXPECT_TRUE(form().label_osd_unread->isHidden());
    EXPECT_TRUE(form().radioButton_2->isChecked());
    EXPECT_EQ(form().comboBox_12->currentIndex(), 2);
    form().pushButton_25->click();
    form().pushButton_22->click();
    ASSERT_TRUE(waitFor([this] { return form().radioButton->isChecked(); }));
    EXPECT_TRUE(waitFor([this] { return form().comboBox_12->currentIndex() == 1; }));
}

}  // namespace
