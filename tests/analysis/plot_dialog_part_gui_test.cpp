// The plot dialog's controls and rules, seen by its widgets and its chart.
#include <QButtonGroup>
#include <QLabel>
#include <QLegend>
#include <QToolButton>
#include <QTranslator>
#include <algorithm>
#include <cstring>

#include "tests/analysis/plot_fixture.h"

namespace {

using Names = std::vector<std::string>;

// --- as it opens ---

TEST_F(PlotDialog, OpensWithItsControlsAsTold) {
    EXPECT_EQ(dialog.size(), QSize(1021, 655));
    EXPECT_EQ(find<QLabel>("label_32")->text(), "跟踪转台实时数据分析");
    EXPECT_EQ(dialog.windowTitle(), "跟踪转台实时数据分析");
    const struct {
        const char* name;
        const char* text;
        bool on;
    } kButtons[] = {
        {"radioButton", "框架角", true},      {"checkBox_frmYaw", "方位角", true},
        {"checkBox_frmPit", "俯仰角", true},  {"checkBox_frmRoll", "横滚角", false},
        {"radioButton_2", "姿态角", false},   {"checkBox_gestYaw", "方位角", true},
        {"checkBox_gestPit", "俯仰角", true}, {"checkBox_gestRoll", "横滚角", true},
        {"radioButton_3", "跟踪偏差", false}, {"checkBox_DeviX", "宽方向", true},
        {"checkBox_DeviY", "高方向", true},   {"pushButton_dispVal", "显示数值", false},
        {"pushButton_start", "开始", false},  {"pushButton_start_2", "保存遥测数据", false},
    };
    for (const auto& row : kButtons) {
        const auto* button = find<QAbstractButton>(row.name);
        EXPECT_EQ(button->text().toStdString(), row.text) << row.name;
        EXPECT_EQ(button->isChecked(), row.on) << row.name;
        EXPECT_TRUE(button->isCheckable()) << row.name;
    }
    const auto* combo = find<QComboBox>("comboBox_2");
    const struct {
        const char* text;
        int batch;
    } kRates[] = {{"慢", 10}, {"中", 5}, {"快", 1}};
    ASSERT_EQ(combo->count(), 3);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(combo->itemText(i).toStdString(), kRates[i].text);
        EXPECT_EQ(combo->itemData(i).toInt(), kRates[i].batch);
    }
    EXPECT_EQ(combo->currentIndex(), 1);
    EXPECT_EQ(scroll()->maximum(), 900);
    EXPECT_EQ(scroll()->pageStep(), 100);
    EXPECT_FALSE(dialog.is_running());
    EXPECT_GE(find<QWidget>("controls")->width(), 150);
}

TEST_F(PlotDialog, OpensWithItsChartAsTold) {
    EXPECT_EQ(names(), Names({"框架方位角", "框架俯仰角"}));
    EXPECT_EQ(xAxis()->labelFormat(), "%02d");
    EXPECT_EQ(xAxis()->min(), 0);
    EXPECT_EQ(xAxis()->max(), 100);
    EXPECT_EQ(xAxis()->tickCount(), 11);
    EXPECT_EQ(xAxis()->minorTickCount(), 9);
    EXPECT_EQ(xAxis()->titleText(), "时间");
    EXPECT_EQ(xAxis()->alignment(), Qt::AlignBottom);
    const struct {
        const char* radio;
        const char* title;
        double limit;
        int minor;
    } kAxes[] = {{"radioButton", "框架角(deg)", 90, 4},
                 {"radioButton_2", "姿态角(deg)", 90, 4},
                 {"radioButton_3", "跟踪偏差（像素）", 300, 7}};
    start();
    for (const auto& row : kAxes) {
        find<QRadioButton>(row.radio)->click();
        EXPECT_EQ(yAxis()->titleText().toStdString(), row.title);
        EXPECT_EQ(yAxis()->labelFormat(), "%.2f");
        EXPECT_EQ(yAxis()->min(), -row.limit);
        EXPECT_EQ(yAxis()->max(), row.limit);
        EXPECT_EQ(yAxis()->tickCount(), 13);
        EXPECT_EQ(yAxis()->minorTickCount(), row.minor);
        EXPECT_TRUE(yAxis()->isGridLineVisible());
        EXPECT_EQ(yAxis()->alignment(), Qt::AlignLeft);
        EXPECT_EQ(yAxis()->titleFont().family(), "宋体");
        EXPECT_EQ(yAxis()->titleFont().pointSize(), 10);
        EXPECT_TRUE(yAxis()->titleFont().bold());
    }
    EXPECT_EQ(chart().legend()->alignment(), Qt::AlignBottom);
    EXPECT_EQ(chart().legend()->font().family(), "宋体");
    EXPECT_EQ(chart().legend()->font().pointSize(), 12);
    EXPECT_TRUE(chart().legend()->font().bold());
    EXPECT_EQ(series("跟踪宽偏差")->pointLabelsFormat(), "@yPoint");
    EXPECT_FALSE(series("跟踪宽偏差")->pointLabelsClipping());
    EXPECT_EQ(chart().margins(), QMargins(0, 0, 0, 0));
    EXPECT_TRUE(find<QtCharts::QChartView>("graphicsView")->renderHints().testFlag(QPainter::Antialiasing));
}

TEST_F(PlotDialog, EachCurveShowsItsFieldOnItsScale) {
    sorvane::TelemetryRecord record = frameAngles(1234, -567, 12);
    record.attitude_yaw = -17999;
    record.attitude_pitch = -3370;
    record.attitude_roll = 5;
    record.track_x = 77;
    record.track_y = -8;
    box("checkBox_frmRoll")->setChecked(true);
    choose(2);
    start();
    const struct {
        const char* radio;
        std::vector<std::pair<const char*, double>> curves;
    } kCategories[] = {
        {"radioButton", {{"框架方位角", 12.34}, {"框架俯仰角", -5.67}, {"框架横滚角", 0.12}}},
        {"radioButton_2", {{"姿态方位角", -179.99}, {"姿态俯仰角", -33.7}, {"姿态横滚角", 0.05}}},
        {"radioButton_3", {{"跟踪宽偏差", 77}, {"跟踪高偏差", -8}}}};
    for (const auto& category : kCategories) {
        find<QRadioButton>(category.radio)->click();
        give(record);
        for (const auto& [name, value] : category.curves) {
            ASSERT_TRUE(shows(1, name)) << name;
            EXPECT_EQ(points(name), QVector<QPointF>({QPointF(1, value)})) << name;
        }
        EXPECT_EQ(names().size(), category.curves.size());
    }
}

// --- start and stop ---

TEST_F(PlotDialog, StartWithTheLinkClosedSaysSoAndLeavesTheButtonUp) {
    owner.link_state = 0;
    const BoxWatcher boxes;
    startButton()->click();
    EXPECT_EQ(boxes.seen, QStringList({"警告: 请先打开控制口"}));
    EXPECT_FALSE(startButton()->isChecked());
    EXPECT_EQ(startButton()->text(), "开始");
    EXPECT_FALSE(dialog.is_running());
}

TEST_F(PlotDialog, StartAndStopSwapTheText) {
    startButton()->click();
    EXPECT_TRUE(dialog.is_running());
    EXPECT_EQ(startButton()->text(), "停止");
    startButton()->click();
    EXPECT_FALSE(dialog.is_running());
    EXPECT_EQ(startButton()->text(), "开始");
}

TEST_F(PlotDialog, ALinkThatIsLostDoesNotStopThePlot) {
    choose(2);
    start();
    give(frameAngles(100, 200, 0));
    owner.link_state = 0;
    give(frameAngles(100, 200, 0));
    EXPECT_TRUE(dialog.is_running());
    EXPECT_TRUE(shows(2, "框架方位角"));
}

TEST_F(PlotDialog, ClosingAndEscapeStopThePlotAndKeepTheDialog) {
    for (int way = 0; way < 3; ++way) {
        start();
        if (way == 0) {
            dialog.close();
        } else if (way == 1) {
            find<QToolButton>("toolButton")->click();
        } else {
            QTest::keyClick(&dialog, Qt::Key_Escape);
        }
        EXPECT_FALSE(dialog.isVisible()) << way;
        EXPECT_FALSE(dialog.is_running()) << way;
        EXPECT_FALSE(startButton()->isChecked()) << way;
        EXPECT_EQ(startButton()->text(), "开始") << way;
        dialog.show();
    }
}

TEST_F(PlotDialog, StartClearsTheCurvesAndKeepsRangeAndScrollBar) {
    choose(2);
    start();
    giveMany(400, frameAngles(15000, 0, 0));
    ASSERT_TRUE(shows(400, "框架方位角"));
    ASSERT_EQ(yAxis()->max(), 180);
    ASSERT_EQ(scroll()->value(), 300);
    startButton()->click();
    start();
    EXPECT_EQ(yAxis()->max(), 180);
    EXPECT_EQ(scroll()->value(), 300);
    EXPECT_EQ(xAxis()->min(), 0);
    EXPECT_EQ(xAxis()->max(), 100);
    EXPECT_TRUE(points("框架方位角").isEmpty());
    give(frameAngles(1, 0, 0));
    ASSERT_TRUE(shows(1, "框架方位角"));
    EXPECT_EQ(scroll()->value(), 0);
}

TEST_F(PlotDialog, SavingShowsWhatTheOwnerSays) {
    auto* save = find<QPushButton>("pushButton_start_2");
    save->click();
    EXPECT_EQ(owner.toggles, 1);
    EXPECT_TRUE(save->isChecked());
    owner.link_state = 0;
    save->click();
    EXPECT_EQ(owner.toggles, 2);
    EXPECT_TRUE(save->isChecked());
    owner.link_state = 2;
    save->click();
    EXPECT_FALSE(save->isChecked());
    owner.link_state = 0;
    save->click();
    EXPECT_FALSE(save->isChecked());
    // Closing concerns the plot alone.
    owner.saving = true;
    dialog.close();
    EXPECT_EQ(owner.toggles, 4);
}

// --- batches ---

TEST_F(PlotDialog, SlowShowsNothingNewUntilTheTenthRecord) {
    for (const auto& [rate, batch] : {std::pair<int, int>{0, 10}, {1, 5}, {2, 1}}) {
        choose(rate);
        start();
        giveMany(batch - 1, frameAngles(100, 200, 0));
        QTest::qWait(1);
        QCoreApplication::processEvents();
        EXPECT_TRUE(points("框架方位角").isEmpty()) << rate;
        give(frameAngles(100, 200, 0));
        ASSERT_TRUE(shows(batch, "框架方位角")) << rate;
        EXPECT_EQ(points("框架方位角").size(), batch);
        EXPECT_EQ(points("框架俯仰角").size(), batch);
        startButton()->click();
    }
}

TEST_F(PlotDialog, TheRateIsTakenAtTheStart) {
    choose(0);
    start();
    choose(2);
    giveMany(9, frameAngles(1, 1, 1));
    EXPECT_TRUE(points("框架方位角").isEmpty());
    give(frameAngles(1, 1, 1));
    EXPECT_TRUE(shows(10, "框架方位角"));
}

// --- categories ---

TEST_F(PlotDialog, AnotherCategoryWaitsForTheStartWhenStopped) {
    find<QRadioButton>("radioButton_3")->click();
    EXPECT_EQ(names(), Names({"框架方位角", "框架俯仰角"}));
    start();
    EXPECT_EQ(names(), Names({"跟踪宽偏差", "跟踪高偏差"}));
    find<QRadioButton>("radioButton_2")->click();
    EXPECT_EQ(names(), Names({"姿态方位角", "姿态俯仰角", "姿态横滚角"}));
}

TEST_F(PlotDialog, ThereAndBackKeepsTheFrameAxisRangeAndClearsTheCurves) {
    choose(2);
    start();
    giveMany(150, frameAngles(10000, -2000, 0));
    ASSERT_TRUE(shows(150, "框架方位角"));
    const double low = yAxis()->min();
    const double high = yAxis()->max();
    EXPECT_EQ(high, 120);
    find<QRadioButton>("radioButton_3")->click();
    EXPECT_EQ(yAxis()->titleText(), "跟踪偏差（像素）");
    EXPECT_EQ(xAxis()->min(), 0);
    EXPECT_EQ(xAxis()->max(), 100);
    give(deviation(1, 1));
    find<QRadioButton>("radioButton")->click();
    EXPECT_EQ(yAxis()->titleText(), "框架角(deg)");
    EXPECT_EQ(yAxis()->min(), low);
    EXPECT_EQ(yAxis()->max(), high);
    EXPECT_TRUE(points("框架方位角").isEmpty());
    give(frameAngles(100, 0, 0));
    ASSERT_TRUE(shows(1, "框架方位角"));
}

// The chart follows a little later; the category may have gone by then.
TEST_F(PlotDialog, ARangeThatGrewJustBeforeAnotherCategoryStandsOnTheWayBack) {
    choose(2);
    start();
    give(frameAngles(0, 0, 0));
    ASSERT_TRUE(shows(1, "框架方位角"));
    for (int i = 1; i <= 20; ++i) {
        give(frameAngles(9000 + i * 10, 0, 0));
    }
    find<QRadioButton>("radioButton_3")->click();
    find<QRadioButton>("radioButton")->click();
    // 90.1 grew it to 108.12, and nothing that followed grew it again.
    EXPECT_NEAR(yAxis()->max(), 108.12, 0.001);
}

// --- the Y axis ---

TEST_F(PlotDialog, ADeviationOf500GrowsTheAxisTo600AndOneOf900ToTheLimit) {
    choose(2);
    find<QRadioButton>("radioButton_3")->click();
    start();
    give(deviation(300, 0));
    ASSERT_TRUE(shows(1, "跟踪宽偏差"));
    EXPECT_EQ(yAxis()->max(), 300);
    give(deviation(500, 0));
    EXPECT_TRUE(eventually([this] { return yAxis()->max() == 600; }));
    give(deviation(900, 0));
    EXPECT_TRUE(eventually([this] { return yAxis()->max() == 960; }));
    give(deviation(0, -30000));
    EXPECT_TRUE(eventually([this] { return yAxis()->min() == -960; }));
}

TEST_F(PlotDialog, TheAxisShrinksAfterAHundredRecordsWithoutAnExtreme) {
    choose(2);
    box("checkBox_frmPit")->setChecked(false);
    start();
    // Starts at 100 and is looked at below 0: the 101st record.
    give(frameAngles(-1000, 0, 0));
    giveMany(99, frameAngles(2000, 0, 0));
    ASSERT_TRUE(shows(100, "框架方位角"));
    EXPECT_EQ(yAxis()->max(), 90);
    give(frameAngles(-500, 0, 0));
    ASSERT_TRUE(eventually([this] { return yAxis()->max() == 24; }));
    // The first value was the highest until then, and so none of the lowest.
    EXPECT_EQ(yAxis()->min(), -6);
}

TEST_F(PlotDialog, AReportOfNothingButZerosIsDrawnAllTheSame) {
    for (const char* radio : {"radioButton", "radioButton_3"}) {
        choose(2);
        find<QRadioButton>(radio)->click();
        start();
        giveMany(250, sorvane::TelemetryRecord());
        ASSERT_TRUE(eventually([this] { return yAxis()->max() < 90; }));
        EXPECT_LT(yAxis()->min(), 0);
        EXPECT_GT(yAxis()->max(), 0);
        giveMany(250, sorvane::TelemetryRecord());
        QTest::qWait(1);
        dialog.grab();
        startButton()->click();
    }
}

// --- the window over the samples ---

TEST_F(PlotDialog, TheWindowFollowsTheNewestSampleAndTheBarStandsThere) {
    choose(2);
    start();
    giveMany(100, frameAngles(1, 2, 3));
    ASSERT_TRUE(shows(100, "框架方位角"));
    EXPECT_EQ(xAxis()->min(), 0);
    EXPECT_EQ(scroll()->value(), 0);
    give(frameAngles(1, 2, 3));
    ASSERT_TRUE(shows(101, "框架方位角"));
    EXPECT_EQ(xAxis()->min(), 1);
    EXPECT_EQ(xAxis()->max(), 101);
    EXPECT_EQ(scroll()->value(), 1);
    giveMany(1399, frameAngles(1, 2, 3));
    ASSERT_TRUE(shows(1500, "框架方位角"));
    EXPECT_EQ(xAxis()->min(), 1400);
    EXPECT_EQ(scroll()->value(), 900);
}

TEST_F(PlotDialog, TheBarReachesTheLastThousandSamplesAndNoMore) {
    choose(2);
    start();
    for (int i = 1; i <= 1500; ++i) {
        give(frameAngles(i, 0, 0));
    }
    ASSERT_TRUE(shows(1500, "框架方位角"));
    startButton()->click();
    for (const int at : {0, 1, 450, 899, 900}) {
        scroll()->setValue(at);
        const double first = 500 + at;
        ASSERT_TRUE(eventually([&] { return xAxis()->min() == first && xAxis()->max() == first + 100; }))
            << at;
        const auto shown = points("框架方位角");
        ASSERT_FALSE(shown.isEmpty());
        EXPECT_EQ(shown.first().x(), std::max(501.0, first - 1)) << at;
        EXPECT_EQ(shown.last().x(), at == 900 ? 1500 : first + 100) << at;
        for (const QPointF& point : shown) {
            ASSERT_DOUBLE_EQ(point.y(), point.x() / 100);
        }
    }
}

TEST_F(PlotDialog, BelowAThousandSamplesTheBarCountsFromTheFirst) {
    choose(2);
    start();
    giveMany(400, frameAngles(1, 0, 0));
    ASSERT_TRUE(shows(400, "框架方位角"));
    startButton()->click();
    scroll()->setValue(37);
    EXPECT_TRUE(eventually([this] { return xAxis()->min() == 37 && xAxis()->max() == 137; }));
    // Beyond the newest sample there is nothing.
    scroll()->setValue(700);
    EXPECT_TRUE(eventually([this] { return xAxis()->min() == 700 && points("框架方位角").size() <= 1; }));
}

TEST_F(PlotDialog, TheChartHoldsNoMoreThanItsWindowShows) {
    choose(2);
    box("checkBox_frmRoll")->setChecked(true);
    start();
    giveMany(3000, frameAngles(1, 2, 3));
    ASSERT_TRUE(shows(3000, "框架横滚角"));
    for (const char* name : {"框架方位角", "框架俯仰角", "框架横滚角"}) {
        EXPECT_GE(points(name).size(), 101) << name;
        EXPECT_LE(points(name).size(), 103) << name;
    }
}

// --- language ---

class MarkingTranslator : public QTranslator {
public:
    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* source, const char*, int) const override {
        const bool mine = std::strcmp(context, "QMyPlotDlg") == 0 || std::strcmp(context, "dlgPlot") == 0;
        return mine ? "#" + QString::fromUtf8(source) : QString();
    }
};

TEST_F(PlotDialog, AnotherLanguageReachesAxesNamesAndRatesAndKeepsWhatTheButtonsSay) {
    MarkingTranslator translator;
    start();
    find<QPushButton>("pushButton_dispVal")->click();
    qApp->installTranslator(&translator);
    dialog.retranslate();
    EXPECT_EQ(find<QLabel>("label_32")->text(), "#跟踪转台实时数据分析");
    EXPECT_EQ(startButton()->text(), "#停止");
    EXPECT_EQ(find<QPushButton>("pushButton_dispVal")->text(), "#隐藏数值");
    EXPECT_EQ(xAxis()->titleText(), "#时间");
    EXPECT_EQ(yAxis()->titleText(), "#框架角(deg)");
    EXPECT_EQ(names(), Names({"#框架方位角", "#框架俯仰角"}));
    EXPECT_EQ(find<QComboBox>("comboBox_2")->itemText(2), "#快");
    EXPECT_EQ(find<QComboBox>("comboBox_2")->currentIndex(), 1);
    find<QRadioButton>("radioButton_2")->click();
    EXPECT_EQ(names(), Names({"#姿态方位角", "#姿态俯仰角", "#姿态横滚角"}));
    EXPECT_EQ(yAxis()->titleText(), "#姿态角(deg)");
    find<QRadioButton>("radioButton_3")->click();
    EXPECT_EQ(names(), Names({"#跟踪宽偏差", "#跟踪高偏差"}));
    EXPECT_EQ(yAxis()->titleText(), "#跟踪偏差（像素）");
    qApp->removeTranslator(&translator);
    dialog.retranslate();
    EXPECT_EQ(startButton()->text(), "停止");
    EXPECT_EQ(names(), Names({"跟踪宽偏差", "跟踪高偏差"}));
}

}  // namespace
