// The page of the remote control: rows, strips, what it asks, writes and takes from the pod.
#include <QLabel>
#include <QListWidget>
#include <algorithm>

#include "input/sbus_control.h"
#include "settings_fixture.h"
#include "wire_frames.h"

namespace {

struct RowNames {
    const char* function;
    const char* kind;
    const char* channel;
    const char* reverse;  // null: none
    const char* strip;
    const char* low;
    const char* high;
    int first;
};
// As the page is to stand, in the order of the bytes on the wire.
constexpr RowNames kRows[] = {
    {"跟踪方位修正", "摇杆", "comboBox", "checkBox_7", "widget_9", "方位向左", "方位向右", 0},
    {"跟踪俯仰修正", "摇杆", "comboBox_2", "checkBox_8", "widget_12", "俯仰向下", "俯仰向上", 2},
    {"吊舱方位转动", "摇杆", "comboBox_3", "checkBox_5", "widget_15", "方位向左", "方位向右", 1},
    {"吊舱俯仰转动", "摇杆", "comboBox_4", "checkBox_6", "widget_21", "俯仰向下", "俯仰向上", 3},
    {"红外调色板/激光测距", "三段开关", "comboBox_5", "checkBox_9", "widget_22", "激光测距", "红外调色板", 5},
    {"视频循环切换", "二段开关", "comboBox_6", nullptr, "widget_23", "循环切换", "循环切换", 4},
    {"拍照/录像", "三段开关", "comboBox_7", "checkBox_10", "widget_24", "录像", "拍照", 6},
    {"跟踪", "二段开关", "comboBox_8", nullptr, "widget_25", "跟踪", "跟踪", 9},
    {"红外变倍/可见光变倍", "三段开关", "comboBox_9", "checkBox_11", "widget_26", "变倍-", "变倍+", 7},
    {"吊舱工作模式", "二段开关", "comboBox_10", nullptr, "widget_27", "循环切换", "循环切换", 8},
};
constexpr int kRowCount = 10;

const QByteArray kFirstWrite = variableFrame(17, hex("0200020103050406090708"));

class SbusTest : public SettingsTest {
protected:
    void SetUp() override {
        start();
        chooseSingle();
    }
    template <typename T>
    T* at(const char* name) const {
        return onPage<T>(form().page_control, name);
    }
    QComboBox* channel(int row) const { return at<QComboBox>(kRows[row].channel); }
    QCheckBox* reverse(int row) const {
        return kRows[row].reverse != nullptr ? at<QCheckBox>(kRows[row].reverse) : nullptr;
    }
    sbus_control* strip(int row) const { return at<sbus_control>(kRows[row].strip); }
    void showPage() {
        show();
        form().widget_title->setCurrentRow(2);
    }
    // The texts of the strip's labels that are to be seen, from left to right.
    QStringList seen(int row) const {
        QList<QLabel*> labels = strip(row)->findChildren<QLabel*>();
        std::sort(labels.begin(), labels.end(), [](QLabel* a, QLabel* b) {
            return a->mapToGlobal(QPoint()).x() < b->mapToGlobal(QPoint()).x();
        });
        QStringList texts;
        for (const QLabel* label : labels) {
            if (label->isVisible()) {
                texts << label->text();
            }
        }
        return texts;
    }
    QColor side(int row, bool left) const {
        const QImage image = strip(row)->grab().toImage();
        return image.pixelColor(left ? 3 : image.width() - 4, image.height() - 4);
    }
    std::vector<QByteArray> waitForFrames(std::size_t count) {
        EXPECT_TRUE(waitFor([&] { return peer.count() >= count; }));
        return peer.take();
    }
    void linkUp() {
        openUdp();
        letTheStartEnd();
        peer.take();
    }
    // From the pod: a reply frame.
    void answer(const QByteArray& data) {
        QByteArray frame = variableFrame(18, data);
        frame[0] = static_cast<char>(0xFC);
        frame[2] = 0x55;
        peer.reply(frame);
    }
};

TEST_F(SbusTest, EveryRowHasItsItemsAndItsFirstChannel) {
    for (int row = 0; row < kRowCount; ++row) {
        ASSERT_NE(channel(row), nullptr) << row;
        ASSERT_EQ(channel(row)->count(), 16) << row;
        for (int i = 0; i < 16; ++i) {
            EXPECT_EQ(channel(row)->itemText(i), QStringLiteral("SBUS channel%1").arg(i + 1));
            EXPECT_EQ(channel(row)->itemData(i).toInt(), i);
        }
        EXPECT_EQ(channel(row)->currentIndex(), kRows[row].first) << row;
        EXPECT_EQ(at<QLabel>(qPrintable(QStringLiteral("label_function_%1").arg(row + 1)))->text(),
                  QString::fromUtf8(kRows[row].function));
        EXPECT_EQ(at<QLabel>(qPrintable(QStringLiteral("label_kind_%1").arg(row + 1)))->text(),
                  QString::fromUtf8(kRows[row].kind));
        if (reverse(row) != nullptr) {
            EXPECT_EQ(reverse(row)->text(), QStringLiteral("反向"));
            EXPECT_FALSE(reverse(row)->isChecked());
        }
    }
}

TEST_F(SbusTest, TheStripsHaveTheirTextsFromTheChoiceOfThePageOn) {
    show();
    form().widget_title->setCurrentRow(4);
    for (int row = 0; row < kRowCount; ++row) {
        for (const QLabel* label : strip(row)->findChildren<QLabel*>()) {
            EXPECT_FALSE(label->text() == QString::fromUtf8(kRows[row].low)) << row;
        }
    }
    form().widget_title->setCurrentRow(2);
    for (int row = 0; row < kRowCount; ++row) {
        ASSERT_TRUE(waitFor([&] { return !seen(row).isEmpty(); }));
        EXPECT_EQ(seen(row), (QStringList{"200", QString::fromUtf8(kRows[row].low), "1000",
                                          QString::fromUtf8(kRows[row].high), "1800"}))
            << row;
    }
}

TEST_F(SbusTest, AReverseBoxTurnsItsStripAlone) {
    showPage();
    ASSERT_TRUE(waitFor([this] { return !seen(0).isEmpty(); }));
    const QColor blue(70, 114, 196);
    for (int row = 0; row < kRowCount; ++row) {
        EXPECT_EQ(side(row, true), blue) << row;
        EXPECT_EQ(side(row, false), QColor(Qt::white)) << row;
        if (reverse(row) == nullptr) {
            continue;
        }
        reverse(row)->setChecked(true);
        EXPECT_EQ(seen(row), (QStringList{"200", QString::fromUtf8(kRows[row].high), "1000",
                                          QString::fromUtf8(kRows[row].low), "1800"}))
            << row;
        EXPECT_EQ(side(row, true), QColor(Qt::white)) << row;
        EXPECT_EQ(side(row, false), blue) << row;
    }
    int turned = 0;
    for (int row = 0; row < kRowCount; ++row) {
        turned += strip(row)->isForward() ? 0 : 1;
    }
    EXPECT_EQ(turned, 7);
    // A click on the strip turns nothing.
    QTest::mouseClick(strip(0), Qt::LeftButton);
    EXPECT_FALSE(strip(0)->isForward());
}

TEST(SbusStrip, KeepsTheGeometryOfItsFirstBuild) {
    sbus_control strip;
    strip.setTexts("a", "b");
    strip.resize(400, 30);
    strip.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&strip));
    const auto panels = [&strip] {
        QList<QRect> places;
        for (const QWidget* child : strip.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
            places << child->geometry();
        }
        return places;
    };
    const QList<QRect> first = panels();
    EXPECT_EQ(first, (QList<QRect>{QRect(0, 0, 200, 30), QRect(200, 0, 200, 30)}));
    strip.resize(700, 60);
    QCoreApplication::processEvents();
    EXPECT_EQ(panels(), first);
}

TEST(SbusStrip, AReleaseTurnsItOnlyWhenItIsClickable) {
    sbus_control strip;
    strip.resize(400, 30);
    strip.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&strip));
    EXPECT_EQ(strip.cursor().shape(), Qt::ArrowCursor);
    QTest::mouseClick(&strip, Qt::LeftButton);
    EXPECT_TRUE(strip.isForward());
    strip.setClickable(true);
    EXPECT_EQ(strip.cursor().shape(), Qt::PointingHandCursor);
    QTest::mouseClick(&strip, Qt::LeftButton);
    EXPECT_FALSE(strip.isForward());
}

TEST_F(SbusTest, WritesTheTenRowsBehindATwo) {
    linkUp();
    form().pushButton_19->click();
    EXPECT_EQ(inHex(waitForFrames(1)), inHex({kFirstWrite}));
    for (int row = 0; row < kRowCount; ++row) {
        channel(row)->setCurrentIndex(15 - row);
        if (reverse(row) != nullptr) {
            reverse(row)->setChecked(true);
        }
    }
    form().pushButton_19->click();
    // Rows without a box always send bit 4 clear.
    EXPECT_EQ(inHex(waitForFrames(1)), inHex({variableFrame(17, hex("021f1e1d1c1b0a19081706"))}));
}

TEST_F(SbusTest, AlwaysAVariableFrame) {
    linkUp();
    choosePeriodic();
    peer.take();
    form().pushButton_19->click();
    form().pushButton_21->click();
    const auto arrived = [this](const QByteArray& frame) {
        const auto& frames = peer.frames();
        return std::find(frames.begin(), frames.end(), frame) != frames.end();
    };
    EXPECT_TRUE(waitFor([&] { return arrived(kFirstWrite) && arrived(variableFrame(56, hex("02"))); }));
}

TEST_F(SbusTest, AWriteLooksAtThePageAfterItsWait) {
    linkUp();
    form().pushButton_19->click();
    EXPECT_EQ(peer.count(), 0U);
    channel(0)->setCurrentIndex(11);
    EXPECT_EQ(inHex(waitForFrames(1)), inHex({variableFrame(17, hex("020b020103050406090708"))}));
}

TEST_F(SbusTest, ASecondClickWithinTheWaitIsHarmless) {
    linkUp();
    form().pushButton_19->click();
    form().pushButton_19->click();
    form().pushButton_19->click();
    letTheStartEnd();  // longer than the wait
    form().pushButton_21->click();
    const QByteArray read = variableFrame(56, hex("02"));
    const auto arrived = [&] {
        const auto& frames = peer.frames();
        return std::find(frames.begin(), frames.end(), read) != frames.end();
    };
    ASSERT_TRUE(waitFor(arrived));
    EXPECT_EQ(inHex(peer.take()), inHex({kFirstWrite, read})) << "one write for the three";
    form().pushButton_19->click();
    EXPECT_EQ(waitForFrames(1).at(0), kFirstWrite);
}

TEST_F(SbusTest, AWindowOrALinkThatClosesWithinTheWaitIsSafe) {
    linkUp();
    form().pushButton_19->click();
    dialog().pushButton_26->click();
    ASSERT_EQ(in().m_linkState(), kLinkNone);
    letTheStartEnd();  // longer than the wait
    EXPECT_EQ(peer.count(), 0U);
    linkUp();
    form().pushButton_19->click();
    setInstance(nullptr);
    window->close();
    window.reset();
    // Whatever was left behind would act now.
    bool later = false;
    QTimer::singleShot(150, qApp, [&later] { later = true; });
    EXPECT_TRUE(waitFor([&later] { return later; }));
    for (const QByteArray& frame : peer.take()) {
        EXPECT_NE(frame, kFirstWrite);
    }
}

TEST_F(SbusTest, WithoutALinkAWriteSendsNothingAndSaysSo) {
    BoxWatcher boxes;
    showPage();
    form().pushButton_19->click();
    EXPECT_EQ(boxes.seen, QStringList("警告: 请先连接串口！"));
    // Nothing of it waits for the link to open.
    linkUp();
    form().pushButton_21->click();
    EXPECT_EQ(inHex(waitForFrames(1)), inHex({variableFrame(56, hex("02"))}));
    EXPECT_EQ(boxes.seen.size(), 1);
}

TEST_F(SbusTest, TheOtherButtonsSendTheirRequests) {
    linkUp();
    form().pushButton_21->click();
    form().pushButton_3->click();
    form().pushButton_6->click();
    EXPECT_EQ(inHex(waitForFrames(3)), inHex({variableFrame(56, hex("02")), variableFrame(54, hex("0006")),
                                              variableFrame(54, hex("0106"))}));
}

TEST_F(SbusTest, AnAnswerSetsRowsAndBoxes) {
    linkUp();
    form().pushButton_21->click();
    waitForFrames(1);
    answer(hex("021f1e1d1c1b1a19181716"));
    EXPECT_TRUE(waitFor([this] { return channel(9)->currentIndex() == 6; }));
    for (int row = 0; row < kRowCount; ++row) {
        EXPECT_EQ(channel(row)->currentIndex(), 15 - row) << row;
        if (reverse(row) != nullptr) {
            EXPECT_TRUE(reverse(row)->isChecked()) << row;
            EXPECT_FALSE(strip(row)->isForward()) << row;
        }
    }
    answer(hex("02e00201030504060907a8"));
    EXPECT_TRUE(waitFor([this] { return channel(9)->currentIndex() == 8; }));
    EXPECT_EQ(channel(0)->currentIndex(), 0) << "bits above the fifth say nothing";
    EXPECT_FALSE(reverse(0)->isChecked());
}

TEST_F(SbusTest, OtherAnswersLeaveThePageAsItIs) {
    linkUp();
    form().pushButton_21->click();
    waitForFrames(1);
    channel(0)->setCurrentIndex(5);
    // Of another subject, or too short; the display's items come last, and are seen to have come.
    answer(hex("031f1f1f1f1f1f1f1f1f1f"));
    answer(hex("0a1f1f1f1f1f1f1f1f1f1f"));
    answer(hex("021f1f1f1f1f1f1f1f1f"));
    answer(hex("02"));
    form().radioButton->setChecked(true);
    answer(hex("010300080000"));
    EXPECT_TRUE(waitFor([this] { return form().radioButton_2->isChecked(); }));
    EXPECT_EQ(channel(0)->currentIndex(), 5);
    EXPECT_EQ(channel(9)->currentIndex(), 8);
}

TEST_F(SbusTest, TheTextsFollowTheLanguage) {
    showPage();
    form().cbb_selLang->setCurrentIndex(1);
    ASSERT_TRUE(waitFor([this] { return !seen(0).isEmpty(); }));
    EXPECT_EQ(channel(0)->itemText(0), "SBUS channel 1");
    EXPECT_EQ(channel(0)->currentIndex(), 0);
    EXPECT_EQ(seen(0), (QStringList{"200", "Az. left", "1000", "Az. right", "1800"}));
    EXPECT_EQ(reverse(0)->text(), "Reverse");
    form().cbb_selLang->setCurrentIndex(0);
    EXPECT_EQ(seen(0), (QStringList{"200", "方位向左", "1000", "方位向右", "1800"}));
}

}  // namespace
