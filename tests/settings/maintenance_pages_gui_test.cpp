// The pages that read the pod and talk to its modules, each alone on a form.
#include <gtest/gtest.h>

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QStackedLayout>
#include <QTextEdit>
#include <QTimer>
#include <memory>

#include "forms/settings_form.h"
#include "settings/device_page.h"
#include "settings/encoder_page.h"
#include "settings/encoder_web.h"
#include "settings/osd_page.h"
#include "settings/relay_page.h"
#include "settings/reply_codes.h"
#include "tests/widgets/wait.h"
#include "widgets/SwitchControl/switch_control.h"
#include "widgets/common_dlg.h"

namespace {

QByteArray hex(const char* text) { return QByteArray::fromHex(text); }

void reply(SettingsPage& page, std::uint16_t code, const QByteArray& data) {
    page.onReply(code, reinterpret_cast<const unsigned char*>(data.constData()), data.size());
}

class MaintenancePage : public ::testing::Test {
protected:
    MaintenancePage() : form{setUp()} {}

    common_dlg dialog;
    Ui::dialogSettings ui;
    SettingsForm form;

private:
    Ui::dialogSettings& setUp() {
        ui.setupUi(&dialog);
        return ui;
    }
};

class DevicePageTest : public MaintenancePage {
protected:
    // By the designer's names, in the order of the fields.
    QStringList texts() const {
        QStringList all;
        for (const QLineEdit* edit : {ui.lineEdit, ui.lineEdit_2, ui.lineEdit_3, ui.lineEdit_6, ui.lineEdit_5,
                                      ui.lineEdit_4, ui.lineEdit_8, ui.lineEdit_7}) {
            all << edit->text();
        }
        return all;
    }
    DevicePage page{form};
};

TEST_F(DevicePageTest, EachFieldHasItsPlaceWithItsNumberInFront) {
    for (char field = 1; field <= 3; ++field) {
        reply(page, 16, QByteArray(1, field) + "device " + QByteArray::number(field));
    }
    for (char field = 1; field <= 5; ++field) {
        reply(page, 17, QByteArray(1, field) + "V" + QByteArray::number(field));
    }
    EXPECT_EQ(texts(), (QStringList{"\1device 1", "\2device 2", "\3device 3", "\1V1", "\2V2", "\3V3", "\4V4",
                                    "\5V5"}));
}

TEST_F(DevicePageTest, FieldsBeyondTheListAreIgnored) {
    reply(page, 16, "\1one");
    const QStringList before = texts();
    reply(page, 16, "\4four");
    reply(page, 16, QByteArray(1, '\0') + "none");
    reply(page, 16, "\xFFlast");
    reply(page, 17, "\6six");
    reply(page, 17, QByteArray(1, '\0') + "none");
    reply(page, 16, "");
    page.onReply(17, nullptr, 0);
    EXPECT_EQ(texts(), before);
}

TEST_F(DevicePageTest, TextsAreLatin1OfAnyLength) {
    reply(page, 16, "\2\xE9\xFF");
    EXPECT_EQ(ui.lineEdit_2->text(), QString::fromUtf8("\2\xC3\xA9\xC3\xBF"));
    reply(page, 16, "\2");
    EXPECT_EQ(ui.lineEdit_2->text(), "\2");
    reply(page, 16, "\2" + QByteArray(252, 'x'));
    EXPECT_EQ(ui.lineEdit_2->text().size(), 253);
}

class RelayPageTest : public MaintenancePage {
protected:
    RelayPageTest() {
        page.load();
        page.retranslate();
        QObject::connect(&page, &RelayPage::frameRequested, &dialog,
                         [this](int code, const QByteArray& data) { sent.emplace_back(code, data); });
    }
    QString log() const { return ui.textEdit->toPlainText(); }
    void send(const QString& text) {
        ui.textEdit_2->setPlainText(text);
        ui.pushButton->click();
    }

    RelayPage page{form};
    std::vector<std::pair<int, QByteArray>> sent;
};

TEST_F(RelayPageTest, TheModulesStandInTheirOrder) {
    const QStringList modules = {"红外机芯",   "可见光机芯", "激光测距机", "激光补光灯", "可见光补光灯",
                                 "跟踪板",     "伺服",       "红外镜头",   "可见光镜头", "红外振镜",
                                 "可见光振镜", "激光照射器", "激光告警器", "火控板"};
    ASSERT_EQ(ui.comboBox_17->count(), 14);
    for (int row = 0; row < 14; ++row) {
        EXPECT_EQ(ui.comboBox_17->itemText(row), modules[row]);
    }
    EXPECT_EQ(ui.comboBox_17->currentIndex(), 0);
}

TEST_F(RelayPageTest, SendsModuleNumberAndBytesAndKeepsTheText) {
    ui.comboBox_17->setCurrentIndex(6);
    ui.lineEdit_10->setText("300");
    send("81 09 4 ff 1");
    ui.comboBox_17->setCurrentIndex(13);
    ui.lineEdit_10->setText("x");
    send("AB");
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_EQ(sent[0], std::make_pair(19, hex("07 2C 81 09 04 FF")));
    EXPECT_EQ(sent[1], std::make_pair(19, hex("14 00 AB")));
    ASSERT_EQ(ui.comboBox_16->count(), 2);
    EXPECT_EQ(ui.comboBox_16->itemText(0), "AB");
    EXPECT_EQ(ui.comboBox_16->itemText(1), "81 09 4 ff 1") << "as typed, the dropped digit too";
    EXPECT_EQ(ui.textEdit_2->toPlainText(), "AB");
    emit ui.comboBox_16->activated(1);
    EXPECT_EQ(ui.textEdit_2->toPlainText(), "81 09 4 ff 1");
    EXPECT_EQ(sent.size(), 2U) << "choosing sends nothing";
}

TEST_F(RelayPageTest, ABurstIsOneHeadAndOneLine) {
    reply(page, 19, hex("03 02 0A FF"));
    reply(page, 19, hex("07 09 00"));
    reply(page, 19, hex("03 02 5C"));
    EXPECT_EQ(log(), "");
    ASSERT_TRUE(waitFor([this] { return !log().isEmpty(); }));
    EXPECT_EQ(log(), "模块：激光测距机，载荷编号：2\n0A FF 00 5C \n");
    EXPECT_TRUE(ui.textEdit->textCursor().atEnd());
    reply(page, 19, hex("15 C8 01"));
    ASSERT_TRUE(waitFor([this] { return log().contains("01"); }));
    EXPECT_EQ(log(), "模块：激光测距机，载荷编号：2\n0A FF 00 5C \n模块：火控板，载荷编号：200\n01 \n");
    ui.pushButton_2->click();
    EXPECT_EQ(log(), "");
}

TEST_F(RelayPageTest, AModuleOutsideTheListPrintsItsNumber) {
    for (const auto& [byte, name] : std::vector<std::pair<const char*, const char*>>{
             {"00", "0"}, {"0E", "火控板"}, {"0F", "15"}, {"14", "20"}, {"FF", "255"}}) {
        ui.pushButton_2->click();
        reply(page, 19, hex(byte) + hex("01 AA"));
        ASSERT_TRUE(waitFor([this] { return !log().isEmpty(); }));
        EXPECT_EQ(log(), QString("模块：%1，载荷编号：1\nAA \n").arg(name));
    }
}

TEST_F(RelayPageTest, AnAnswerWithoutItsHeadChangesNothing) {
    reply(page, 19, hex("03"));
    reply(page, 19, "");
    reply(page, 19, hex("01 01 77"));
    ASSERT_TRUE(waitFor([this] { return !log().isEmpty(); }));
    EXPECT_EQ(log(), "模块：红外机芯，载荷编号：1\n77 \n");
}

// A module that never stops talking must not fill the memory: the latest lines stay.
TEST_F(RelayPageTest, TheLogIsBounded) {
    QString many;
    for (int i = 0; i < RelayPage::kLogLines + 500; ++i) {
        many += QString::number(i) + '\n';
    }
    ui.textEdit->setPlainText(many);
    reply(page, 19, hex("01 01 77"));
    ASSERT_TRUE(waitFor([this] { return log().endsWith("77 \n"); }));
    EXPECT_LE(ui.textEdit->document()->blockCount(), RelayPage::kLogLines);
}

class EncoderPageTest : public MaintenancePage {
protected:
    EncoderPageTest() {
        page.load();
        QObject::connect(&page, &EncoderPage::frameRequested, &dialog,
                         [this](int code, const QByteArray& data) { note("frame", code, data); });
        QObject::connect(
            &page, &EncoderPage::timedCommandRequested, &dialog, [this](const sorvane::Command& c) {
                note("command", c.code, QByteArray(reinterpret_cast<const char*>(c.bytes.data()), c.size));
            });
    }
    void note(const char* how, int code, const QByteArray& data) {
        sent << QString("%1 %2 %3").arg(how).arg(code).arg(QString::fromLatin1(data.toHex()));
    }

    EncoderPage page{form};
    QStringList sent;
};

TEST_F(EncoderPageTest, TheCodecIsSentWhenItIsChosenAndNotWhenItIsSet) {
    ui.comboBox_48->setCurrentIndex(1);
    EXPECT_TRUE(sent.isEmpty());
    emit ui.comboBox_48->activated(1);
    emit ui.comboBox_48->activated(1);
    emit ui.comboBox_48->activated(0);
    EXPECT_EQ(sent, (QStringList{"command 98 0001", "command 98 0001", "command 98 0000"}));
}

TEST_F(EncoderPageTest, TheBitRate) {
    for (const char* text : {"4000", "70000", "abc", ""}) {
        ui.lineEdit_15->setText(text);
        ui.pushButton_53->click();
    }
    EXPECT_EQ(sent, (QStringList{"command 98 01a00f", "command 98 017011", "command 98 010000",
                                 "command 98 010000"}));
}

TEST_F(EncoderPageTest, TheFoldersAreNamedByTimeOrByTheText) {
    EXPECT_TRUE(ui.lineEdit_11->isEnabled());
    ui.lineEdit_11->setText("航线a");
    ui.pushButton_23->click();
    ui.rbtn_scaleQualHigh_5->setChecked(true);
    EXPECT_FALSE(ui.lineEdit_11->isEnabled());
    ui.pushButton_23->click();
    ui.rbtn_scaleQualLow_5->setChecked(true);
    EXPECT_TRUE(ui.lineEdit_11->isEnabled());
    ui.lineEdit_11->clear();
    ui.pushButton_23->click();
    EXPECT_EQ(sent, (QStringList{"frame 25 02e888aae7babf61", "frame 25 01", "frame 25 02"}));
}

TEST_F(EncoderPageTest, TheCustomText) {
    ui.lineEdit_12->setText("300");
    ui.lineEdit_13->setText("65544");
    ui.lineEdit_14->setText("Hi夜");
    ui.checkBox_17->setChecked(true);
    ui.pushButton_24->click();
    ui.checkBox_17->setChecked(false);
    ui.lineEdit_12->setText("-1");
    ui.lineEdit_13->clear();
    ui.lineEdit_14->clear();
    ui.pushButton_24->click();
    EXPECT_EQ(sent, (QStringList{"frame 26 2c010800004869e5a49c", "frame 26 ffff000001"}));
}

TEST_F(MaintenancePage, WhatTheDisplayAnswersIsShownWithoutASignal) {
    OsdPage page(form);
    page.load();
    int signals_seen = 0;
    const auto count = [&signals_seen] { ++signals_seen; };
    for (QRadioButton* choice : ui.page_osd->findChildren<QRadioButton*>()) {
        QObject::connect(choice, &QRadioButton::toggled, count);
    }
    for (SwitchControl* control : ui.page_osd->findChildren<SwitchControl*>()) {
        QObject::connect(control, &SwitchControl::toggled, count);
    }
    for (QComboBox* box : {ui.comboBox_12, ui.comboBox_13}) {
        QObject::connect(box, QOverload<int>::of(&QComboBox::currentIndexChanged), count);
    }
    for (const char* word : {"0103FFFF7F00", "010300000000", "0103550A5500"}) {
        reply(page, 18, hex(word));
    }
    reply(page, 18, hex("01040A00"));
    EXPECT_EQ(ui.comboBox_12->currentIndex(), 2);
    EXPECT_EQ(ui.comboBox_13->currentIndex(), 1);
    EXPECT_TRUE(ui.radioButton_2->isChecked());
    EXPECT_EQ(signals_seen, 0);
    // Cut short, of another kind.
    for (const char* other : {"0104", "010400", "0103000000", "01050000", "01", ""}) {
        reply(page, 18, hex(other));
    }
    EXPECT_EQ(ui.comboBox_12->currentIndex(), 2);
    EXPECT_TRUE(ui.radioButton_2->isChecked());
    ui.radioButton->setChecked(true);
    EXPECT_EQ(signals_seen, 2) << "by hand both of a pair speak again";
}

// A view that the test answers for.
class FakeView : public EncoderView {
public:
    static FakeView* made;
    static int loads;
    explicit FakeView(QWidget* parent) : m_widget(new QWidget(parent)) {
        made = this;
        loads = 0;
    }
    // A browser that goes answers what it was asked.
    ~FakeView() override {
        if (finished) {
            finished(false);
        }
        delete m_widget;
        made = nullptr;
    }
    QWidget* widget() override { return m_widget; }
    void load() override { ++loads; }

private:
    QWidget* m_widget;
};
FakeView* FakeView::made = nullptr;
int FakeView::loads = 0;

// What a selection has put off comes before the end of a longer timer.
void letTimersRun() {
    QTimer later;
    later.setSingleShot(true);
    later.start(200);
    waitFor([&later] { return !later.isActive(); });
}

class EncoderWebTest : public MaintenancePage {
protected:
    void start(const QString& address) {
        web = std::make_unique<EncoderWeb>(*ui.page_encoder, address, [this]() -> MakeEncoderView {
            ++asked;
            if (!has_module) {
                return nullptr;
            }
            return [](QWidget* parent, const QUrl&) -> EncoderView* { return new FakeView(parent); };
        });
        web->load();
        web->retranslate();
    }
    QString notice() const {
        const auto* label = ui.page_encoder->findChild<QLabel*>("encoder_notice_text");
        return label != nullptr && !label->isHidden() ? label->text() : QString();
    }
    QPushButton* again() const { return ui.page_encoder->findChild<QPushButton*>("encoder_again"); }
    QWidget* shown() const {
        return static_cast<QStackedLayout*>(ui.page_encoder->layout())->currentWidget();
    }

    bool has_module = true;
    int asked = 0;
    std::unique_ptr<EncoderWeb> web;
};

TEST_F(EncoderWebTest, NothingIsLoadedBeforeTheFirstSelectionAndOnceByIt) {
    start("http://127.0.0.1/");
    EXPECT_EQ(asked, 0);
    EXPECT_TRUE(ui.page_encoder->children().isEmpty());
    web->selected();
    web->selected();
    EXPECT_EQ(asked, 0) << "the page is shown first";
    ASSERT_TRUE(waitFor([] { return FakeView::made != nullptr; }));
    EXPECT_EQ(FakeView::loads, 1);
    web->selected();
    web->selected();
    letTimersRun();
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(FakeView::loads, 1);
}

TEST_F(EncoderWebTest, UntilItAnswersAPlainPageStandsAndOffersToTryAgainWhenItDoesNot) {
    start("http://127.0.0.1/");
    web->selected();
    EXPECT_EQ(notice(), "正在等待编码器的网页：http://127.0.0.1/");
    EXPECT_TRUE(again()->isHidden());
    ASSERT_TRUE(waitFor([] { return FakeView::made != nullptr; }));
    EXPECT_EQ(notice(), "正在等待编码器的网页：http://127.0.0.1/");
    EXPECT_NE(shown(), FakeView::made->widget());
    FakeView::made->finished(false);
    EXPECT_EQ(notice(), "编码器没有回应：http://127.0.0.1/");
    EXPECT_FALSE(again()->isHidden());
    again()->click();
    EXPECT_EQ(FakeView::loads, 2);
    EXPECT_EQ(notice(), "正在等待编码器的网页：http://127.0.0.1/");
    FakeView::made->finished(true);
    EXPECT_EQ(shown(), FakeView::made->widget());
    // It breaks off later.
    FakeView::made->finished(false);
    EXPECT_NE(shown(), FakeView::made->widget());
    EXPECT_FALSE(again()->isHidden());
}

TEST_F(EncoderWebTest, OneThatNeverAnswersIsToldAndShownWhenItDoesAfterAll) {
    start("http://127.0.0.1/");
    web->selected();
    ASSERT_TRUE(waitFor([this] { return notice().startsWith("编码器没有回应"); }, 60000));
    FakeView::made->finished(true);
    EXPECT_EQ(shown(), FakeView::made->widget());
}

TEST_F(EncoderWebTest, AViewThatGoesHasNobodyToTell) {
    start("http://127.0.0.1/");
    web->selected();
    web.reset();
    EXPECT_EQ(FakeView::made, nullptr);
    EXPECT_EQ(notice(), "正在等待编码器的网页：http://127.0.0.1/");
}

TEST(EncoderWeb, AnAddressThatIsNoneLoadsNothing) {
    for (const char* address : {"", "file:///etc/passwd", "192.168.1.160", "http://", "javascript:alert(1)",
                                "ftp://127.0.0.1/", "http://[", "data:text/html,x"}) {
        QWidget page;
        int asked = 0;
        EncoderWeb web(page, address, [&asked]() -> MakeEncoderView {
            ++asked;
            return nullptr;
        });
        web.selected();
        letTimersRun();
        EXPECT_EQ(asked, 0) << address;
        EXPECT_EQ(page.findChild<QLabel*>("encoder_notice_text")->text(),
                  QStringLiteral("编码器的网页地址无效：%1").arg(address));
        EXPECT_TRUE(page.findChild<QPushButton*>("encoder_again")->isHidden());
    }
}

TEST_F(EncoderWebTest, WithoutTheModuleThePageSaysSo) {
    has_module = false;
    start("http://127.0.0.1/");
    web->selected();
    const QString expected = "这里不能显示网页，请用浏览器打开编码器的网页：http://127.0.0.1/";
    ASSERT_TRUE(waitFor([&] { return notice() == expected; }));
    EXPECT_TRUE(again()->isHidden());
    EXPECT_EQ(FakeView::made, nullptr);
}

}  // namespace
