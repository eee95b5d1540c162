// The page of the game controller in the real window: rows, texts, feedback, and what is stored of it.
#include <QAbstractItemView>
#include <QGroupBox>
#include <QLayout>
#include <QListWidget>

#include "stick_fixture.h"
#include "widgets/label_part_bg.h"

namespace {

const QStringList kFunctionNames = {"未指定",   "归中", "收藏",     "拍照",  "录像",  "视频切换",
                                    "垂直下视", "跟踪", "激光测距", "变倍+", "变倍-", "OSD"};
const QStringList kFunctionNamesEnglish = {"Unassigned",  "Centre",       "Stow",      "Snapshot",
                                           "Record",      "Video switch", "Look down", "Track",
                                           "Laser range", "Zoom+",        "Zoom-",     "OSD"};

class StickPageTest : public StickTest {
protected:
    void SetUp() override {
        StickTest::SetUp();
        startStick();
    }
    QStringList texts(const char* kind) const {
        QStringList all;
        for (const int number : rows(kind)) {
            all << label(kind, number)->text();
        }
        return all;
    }
    QList<int> chosen(const char* kind) const {
        QList<int> all;
        for (const int number : rows(kind)) {
            all << box(kind, number)->currentIndex();
        }
        return all;
    }
    static QVariantList list(const MyAppConfig::CommandMap& map, int product) { return map[product]; }
    void showPage() {
        show();
        form().widget_title->setCurrentRow(3);
    }
    // Columns of the label that are the bar's red, in a line above the letter.
    static std::pair<int, int> bar(QLabel* axis) {
        const QImage image = axis->grab().toImage();
        const int y = (image.height() - axis->fontMetrics().height()) / 2 + 1;
        std::pair<int, int> found(-1, -1);
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixelColor(x, y) == QColor(Qt::red)) {
                found.first = found.first < 0 ? x : found.first;
                found.second = x;
            }
        }
        return found;
    }
};

TEST_F(StickPageTest, WithoutAControllerNoRowStands) {
    EXPECT_TRUE(rows("axis").isEmpty());
    EXPECT_TRUE(rows("btn").isEmpty());
    poll();
    EXPECT_TRUE(rows("axis").isEmpty());
    showPage();
    EXPECT_TRUE(form().label_joystick_none->isVisible());
    EXPECT_FALSE(form().groupBox_5->isVisible());
    EXPECT_FALSE(form().groupBox_6->isVisible());
}

TEST_F(StickPageTest, AxisRowsFollowTheCapabilityFlags) {
    const struct {
        std::uint32_t caps;
        QList<int> rows;
        QStringList letters;
    } kCases[] = {
        {0x3F, {1, 2, 3, 4, 5, 6}, {"X", "Y", "Z", "R", "U", "V"}},
        {0x30, {1, 4}, {"X", "Y"}},
        {0x33, {1, 2, 4, 5}, {"X", "Y", "Z", "R"}},
        {0x31, {1, 4, 5}, {"X", "Y", "Z"}},
        // Without both bits of the hat: no X and Y.
        {0x1F, {1, 2, 4, 5}, {"Z", "R", "U", "V"}},
        {0x2F, {1, 2, 4, 5}, {"Z", "R", "U", "V"}},
        {0x08, {4}, {"V"}},
        {0x00, {}, {}},
    };
    for (const auto& c : kCases) {
        plugIn(4, 1, c.caps);
        EXPECT_EQ(rows("axis"), c.rows) << c.caps;
        EXPECT_EQ(texts("axis"), c.letters) << c.caps;
        for (const int number : c.rows) {
            EXPECT_EQ(items(box("axis", number)), (QStringList{"未指定", "方位角", "俯仰角"}));
        }
        pull();
        EXPECT_TRUE(rows("axis").isEmpty());
    }
}

TEST_F(StickPageTest, ButtonRowsInTwoColumnsLabelledOnOverBoth) {
    plugIn(5);
    EXPECT_EQ(rows("btn"), (QList<int>{1, 2, 14, 15, 16}));
    EXPECT_EQ(texts("btn"), (QStringList{"按键 1", "按键 2", "按键 3", "按键 4", "按键 5"}));
    for (const int number : rows("btn")) {
        EXPECT_EQ(items(box("btn", number)), kFunctionNames);
    }
    pull();
    plugIn(1);
    EXPECT_EQ(rows("btn"), QList<int>{14});
    EXPECT_EQ(texts("btn"), QStringList("按键 1"));
    pull();
    // No more than the page has.
    for (const int buttons : {26, 27, 32}) {
        plugIn(buttons, 9);
        EXPECT_EQ(rows("btn").size(), 26) << buttons;
        EXPECT_EQ(texts("btn").back(), "按键 26");
        pull();
    }
    plugIn(0);
    EXPECT_TRUE(rows("btn").isEmpty());
}

TEST_F(StickPageTest, ANewProductGetsAListOfZeros) {
    plugIn(5, 0x77, 0x33);
    EXPECT_EQ(list(config().js_rocker_cmd_map, 0x77), (QVariantList{0, 0, 0, 0}));
    EXPECT_EQ(list(config().js_btn_cmd_map, 0x77), (QVariantList{0, 0, 0, 0, 0}));
    EXPECT_EQ(chosen("btn"), (QList<int>{0, 0, 0, 0, 0}));
    pull();
    EXPECT_EQ(list(config().js_btn_cmd_map, 0x77).size(), 5) << "a disconnect keeps the map";
}

TEST_F(StickPageTest, AChoiceActsAtOnceUnderTheProductOfTheController) {
    plugIn(5, 0x77, 0x33);
    box("btn", 14)->setCurrentIndex(9);
    box("axis", 4)->setCurrentIndex(2);
    EXPECT_EQ(list(config().js_btn_cmd_map, 0x77), (QVariantList{0, 0, 9, 0, 0}));
    EXPECT_EQ(list(config().js_rocker_cmd_map, 0x77), (QVariantList{0, 0, 2, 0}));
    pull();
    plugIn(5, 0x78, 0x33);
    EXPECT_EQ(chosen("btn"), (QList<int>{0, 0, 0, 0, 0}));
    box("btn", 1)->setCurrentIndex(11);
    EXPECT_EQ(list(config().js_btn_cmd_map, 0x77), (QVariantList{0, 0, 9, 0, 0}));
    EXPECT_EQ(list(config().js_btn_cmd_map, 0x78), (QVariantList{11, 0, 0, 0, 0}));
    pull();
    // The same product again gets what is stored.
    plugIn(5, 0x77, 0x33);
    EXPECT_EQ(chosen("btn"), (QList<int>{0, 0, 9, 0, 0}));
    EXPECT_EQ(chosen("axis"), (QList<int>{0, 0, 2, 0}));
}

TEST_F(StickPageTest, TwoProductsSurviveARestart) {
    plugIn(3, 0x77, 0x30);
    box("btn", 1)->setCurrentIndex(4);
    box("axis", 4)->setCurrentIndex(1);
    pull();
    plugIn(3, 0xFFFF, 0x30);
    box("btn", 15)->setCurrentIndex(8);
    fake_joystick::stick().plugged = false;
    restart();
    takeTick();
    plugIn(3, 0xFFFF, 0x30);
    EXPECT_EQ(chosen("btn"), (QList<int>{0, 0, 8}));
    EXPECT_EQ(chosen("axis"), (QList<int>{0, 0}));
    pull();
    plugIn(3, 0x77, 0x30);
    EXPECT_EQ(chosen("btn"), (QList<int>{4, 0, 0}));
    EXPECT_EQ(chosen("axis"), (QList<int>{0, 1}));
}

TEST_F(StickPageTest, AStoredListOfAnotherLengthIsTakenAsItStandsAndGrows) {
    // The rows stand as another product left them.
    plugIn(5, 0x76, 0x33);
    box("btn", 2)->setCurrentIndex(4);
    box("axis", 5)->setCurrentIndex(2);
    pull();
    config().js_btn_cmd_map[0x77] = QVariantList{3, 99, -1, 11, 5, 6, 7};
    config().js_rocker_cmd_map[0x77] = QVariantList{2};
    plugIn(5, 0x77, 0x33);
    EXPECT_EQ(chosen("btn"), (QList<int>{3, 0, 0, 11, 5})) << "outside the table is row 0";
    EXPECT_EQ(chosen("axis"), (QList<int>{2, 0, 0, 0}));
    EXPECT_EQ(list(config().js_btn_cmd_map, 0x77), (QVariantList{3, 99, -1, 11, 5, 6, 7}));
    EXPECT_EQ(list(config().js_rocker_cmd_map, 0x77), QVariantList{2});
    box("axis", 5)->setCurrentIndex(1);
    EXPECT_EQ(list(config().js_rocker_cmd_map, 0x77), (QVariantList{2, 0, 0, 1}));
    box("btn", 2)->setCurrentIndex(10);
    EXPECT_EQ(list(config().js_btn_cmd_map, 0x77), (QVariantList{3, 10, -1, 11, 5, 6, 7}));
}

TEST_F(StickPageTest, AButtonBeyondTheRowsDoesNothing) {
    link();
    config().js_btn_cmd_map[0x77] = QVariantList();
    for (int i = 0; i < 32; ++i) {
        config().js_btn_cmd_map[0x77] << 1;
    }
    plugIn(32, 0x77);
    hold(1U << 25);
    EXPECT_EQ(sent().size(), 1);
    hold(0);
    hold(1U << 26);
    EXPECT_TRUE(sent().isEmpty());
    hold(0);
    // Two at once from rest are no button either.
    hold(3);
    EXPECT_TRUE(sent().isEmpty());
}

TEST_F(StickPageTest, APressHidesTheRowsMarkForAMoment) {
    showPage();
    plugIn(5);
    QLabel* mark = indicator(14);  // the third button
    ASSERT_TRUE(mark->isVisible());
    const QPoint place = label("btn", 14)->mapToGlobal(QPoint());
    hold(4);
    EXPECT_FALSE(mark->isVisible());
    EXPECT_TRUE(indicator(1)->isVisible());
    line("btn", 14)->layout()->activate();
    EXPECT_EQ(label("btn", 14)->mapToGlobal(QPoint()), place) << "the row stays where it is";
    EXPECT_TRUE(waitFor([mark] { return mark->isVisible(); }));
}

TEST_F(StickPageTest, TheBarFollowsTheAxis) {
    showPage();
    plugIn(5);
    QLabel* axis = label("axis", 2);
    ASSERT_TRUE(waitFor([axis] { return axis->width() > 10; }));
    const int width = axis->width();
    EXPECT_EQ(bar(axis), std::make_pair(-1, -1));
    moveY(1.0);
    // Over the frame.
    EXPECT_EQ(bar(axis), std::make_pair(width / 2, width - 1));
    moveY(-1.0);
    EXPECT_EQ(bar(axis), std::make_pair(0, width / 2 - 1));
    EXPECT_EQ(bar(label("axis", 1)), std::make_pair(-1, -1));
    moveY(0.0);
    EXPECT_EQ(bar(axis), std::make_pair(-1, -1));
    // Switched off while it is out, it does not stay so.
    moveY(1.0);
    form().checkBox_12->setChecked(false);
    poll();
    EXPECT_EQ(bar(axis), std::make_pair(-1, -1));
}

TEST_F(StickPageTest, AnAxisWithoutARangeFillsItsBarAndSteersNothing) {
    showPage();
    link();
    plugIn(5);
    box("axis", 6)->setCurrentIndex(1);
    fake_joystick::stick().caps.wVmin = fake_joystick::stick().caps.wVmax = 0;
    fake_joystick::stick().state.dwVpos = 5;
    poll();
    QLabel* axis = label("axis", 6);
    EXPECT_EQ(bar(axis).second, axis->width() - 1);
    EXPECT_EQ(sent(), QStringList(QString::fromLatin1(rateFrame(0, 0).toHex())));
}

TEST_F(StickPageTest, EveryTextFollowsTheLanguage) {
    plugIn(3, 0x77, 0x31);
    box("btn", 14)->setCurrentIndex(7);
    box("axis", 4)->setCurrentIndex(2);
    form().cbb_selLang->setCurrentIndex(1);
    EXPECT_EQ(texts("btn"), (QStringList{"Button 1", "Button 2", "Button 3"}));
    EXPECT_EQ(texts("axis"), (QStringList{"X", "Y", "Z"}));
    EXPECT_EQ(items(box("btn", 1)), kFunctionNamesEnglish);
    EXPECT_EQ(items(box("axis", 1)), (QStringList{"Unassigned", "Azimuth", "Pitch"}));
    EXPECT_EQ(chosen("btn"), (QList<int>{0, 7, 0})) << "what is chosen stays";
    EXPECT_EQ(chosen("axis"), (QList<int>{0, 2, 0}));
    EXPECT_EQ(list(config().js_btn_cmd_map, 0x77), (QVariantList{0, 7, 0}));
    pull();
    plugIn(1, 0x78, 0x30);
    EXPECT_EQ(texts("btn"), QStringList("Button 1"));
    form().cbb_selLang->setCurrentIndex(0);
    EXPECT_EQ(texts("btn"), QStringList("按键 1"));
    EXPECT_EQ(items(box("btn", 14)), kFunctionNames);
}

TEST_F(StickPageTest, TheFourSettingsAreLoadedAndStored) {
    restartWith({{"common/js_enable", true},
                 {"common/js_yaw_reverse", true},
                 {"common/js_pitch_reverse", false},
                 {"common/js_sensitivity", 17}});
    EXPECT_TRUE(form().checkBox_12->isChecked());
    EXPECT_TRUE(form().checkBox_13->isChecked());
    EXPECT_FALSE(form().checkBox_14->isChecked());
    EXPECT_EQ(form().horizontalSlider->value(), 17);
    show();
    form().checkBox_12->setChecked(false);
    form().checkBox_13->setChecked(false);
    form().checkBox_14->setChecked(true);
    form().horizontalSlider->setValue(3);
    EXPECT_TRUE(config().js_enable) << "stored by closing alone";
    close();
    EXPECT_FALSE(config().js_enable);
    stop();
    EXPECT_FALSE(stored("common/js_enable").toBool());
    EXPECT_FALSE(stored("common/js_yaw_reverse").toBool());
    EXPECT_TRUE(stored("common/js_pitch_reverse").toBool());
    EXPECT_EQ(stored("common/js_sensitivity").toInt(), 3);
}

TEST_F(StickPageTest, NothingOfAControllerThatIsPulledWhileTheLanguageChangesStays) {
    plugIn(12);
    box("btn", 1)->setCurrentIndex(9);
    pull();
    form().cbb_selLang->setCurrentIndex(1);
    form().cbb_selLang->setCurrentIndex(0);
    EXPECT_TRUE(rows("btn").isEmpty());
    // The rows are hidden; a choice in one of them is nobody's.
    box("btn", 1)->setCurrentIndex(3);
    EXPECT_EQ(list(config().js_btn_cmd_map, kProduct).value(0).toInt(), 9);
}

TEST_F(StickPageTest, PulledAndPluggedInAtEachMomentOfThePage) {
    // With the list of a row open.
    showPage();
    plugIn(5, 0x77);
    box("btn", 1)->showPopup();
    ASSERT_TRUE(waitFor([this] { return box("btn", 1)->view()->isVisible(); }));
    pull();
    EXPECT_TRUE(waitFor([this] { return !box("btn", 1)->view()->isVisible(); }));
    EXPECT_TRUE(rows("btn").isEmpty());
    // While a mark is away: another product's rows have all of theirs in the end.
    plugIn(5, 0x77);
    hold(1);
    EXPECT_FALSE(indicator(1)->isVisible());
    pull();
    plugIn(4, 0x78);
    EXPECT_EQ(rows("btn"), (QList<int>{1, 2, 14, 15}));
    EXPECT_TRUE(waitFor([this] { return indicator(1)->isVisible(); }));
    // With an axis out: the row of the next one is in its middle.
    moveX(1.0);
    EXPECT_NE(bar(label("axis", 1)), std::make_pair(-1, -1));
    pull();
    plugIn(4, 0x79);
    EXPECT_EQ(bar(label("axis", 1)), std::make_pair(-1, -1));
    // While another page is shown, and while the dialog is closed.
    form().widget_title->setCurrentRow(4);
    pull();
    plugIn(2, 0x7A);
    close();
    pull();
    plugIn(3, 0x7B);
    show();
    form().widget_title->setCurrentRow(3);
    EXPECT_EQ(texts("btn"), (QStringList{"按键 1", "按键 2", "按键 3"}));
    EXPECT_TRUE(waitFor([this] { return indicator(14)->isVisible(); }));
}

TEST_F(StickPageTest, WhatIsSeenOfItIsLoggedAsItIsTold) {
    static QStringList lines;
    lines.clear();
    const auto previous = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext&, const QString& text) { lines << text; });
    plugIn(5);
    hold(4);
    hold(0);
    moveX(1.0);
    moveX(0.0);
    pull();
    qInstallMessageHandler(previous);
    QStringList told;
    for (const QString& line : lines) {
        if (line.startsWith(QLatin1String("zvdbg**"))) {
            told << line;
        }
    }
    EXPECT_EQ(told, (QStringList{"zvdbg**is_connect = true", "zvdbg**2 down", "zvdbg**2 up",
                                 "zvdbg**index = 0, offset = 1.00", "zvdbg**direction reset",
                                 "zvdbg**is_connect = false"}));
}

}  // namespace
