// What the plot dialog draws: tip, values, zoom, colours, and what it costs at any rate.
#include <QElapsedTimer>
#include <QGraphicsEffect>
#include <QGraphicsScene>
#include <QLabel>
#include <QLegend>
#include <QPainter>
#include <QSet>
#include <QWheelEvent>
#include <cmath>

#include "tests/analysis/plot_fixture.h"
#include "tests/widgets/x11_pointer.h"

namespace {

class PlotDrawing : public PlotDialog {
protected:
    QtCharts::QChartView* view() { return find<QtCharts::QChartView>("graphicsView"); }
    QLabel* tip() {
        for (QLabel* label : view()->findChildren<QLabel*>()) {
            return label;
        }
        return nullptr;
    }
    // A real notch over the middle of the chart; button 4 is forward, 5 backward.
    void notch(int button) {
        const QPoint middle = view()->mapToGlobal(view()->rect().center());
        m_pointer.moveTo(middle.x(), middle.y());
        m_pointer.press(button);
        m_pointer.release(button);
    }
    // Straight to the dialog.
    void turn(int delta) {
        QWheelEvent e(QPointF(300, 300), QPointF(300, 300), QPoint(), QPoint(0, delta), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&dialog, &e);
    }
    double width() { return xAxis()->max() - xAxis()->min(); }
    double height() { return yAxis()->max() - yAxis()->min(); }
    bool becomesWide(double wanted) {
        return waitFor([&] { return std::abs(width() - wanted) < 1e-6; });
    }
    // Colours in the chart's plot area and beside it, with how many pixels have them.
    QHash<QRgb, int> colours() {
        QHash<QRgb, int> counts;
        const QImage image = view()->grab().toImage().convertToFormat(QImage::Format_RGB32);
        for (int y = 0; y < image.height(); ++y) {
            const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
            for (int x = 0; x < image.width(); ++x) {
                ++counts[line[x] | 0xff000000U];
            }
        }
        return counts;
    }
    // Pixels in which one of the three colours, 0 red to 2 blue, outweighs the others, as those of a pure and
    // smoothed line do.
    static int strong(const QHash<QRgb, int>& seen, int channel) {
        int count = 0;
        for (auto it = seen.cbegin(); it != seen.cend(); ++it) {
            const int parts[] = {qRed(it.key()), qGreen(it.key()), qBlue(it.key())};
            const bool own =
                parts[channel] >= 150 && parts[(channel + 1) % 3] <= 110 && parts[(channel + 2) % 3] <= 110;
            count += own ? it.value() : 0;
        }
        return count;
    }
    void plot(int count, const sorvane::TelemetryRecord& record, const char* name) {
        choose(2);
        start();
        giveMany(count, record);
        ASSERT_TRUE(shows(count, name));
    }

    X11Pointer m_pointer;
};

// --- the curve ---

// Of the picture itself: at a sample the curve runs where its value belongs, and nowhere else in that column.
TEST_F(PlotDrawing, TheMovedWindowIsDrawnWithTheCurveOfItsOwnSamples) {
    box("checkBox_frmPit")->setChecked(false);
    choose(2);
    start();
    giveMany(200, frameAngles(-6000, 0, 0));
    giveMany(50, frameAngles(6000, 0, 0));
    ASSERT_TRUE(shows(250, "框架方位角"));
    Series* curve = series("框架方位角");
    curve->setPen(QPen(Qt::red, 3));
    const QImage picture = view()->grab().toImage();
    const auto redAt = [&](double sample, double value) {
        const QPoint at =
            view()->mapFromScene(chart().mapToScene(chart().mapToPosition(QPointF(sample, value), curve)));
        return picture.pixelColor(at) == QColor(Qt::red);
    };
    EXPECT_TRUE(redAt(175, -60));
    EXPECT_FALSE(redAt(175, 60));
    EXPECT_TRUE(redAt(225, 60));
    EXPECT_FALSE(redAt(225, -60));
    EXPECT_TRUE(redAt(249, 60));
}

// --- the tip ---

TEST_F(PlotDrawing, TheTipTellsTheSampleBesideThePointer) {
    plot(50, frameAngles(4500, 1000, 0), "框架方位角");
    QtCharts::QLineSeries* yaw = series("框架方位角");
    const QPointF point(25, 45);
    const QPointF at = chart().mapToPosition(point, yaw);
    ASSERT_TRUE(tip()->isHidden());
    emit yaw->hovered(point, true);
    EXPECT_TRUE(tip()->isVisible());
    EXPECT_EQ(tip()->text(), "X: 25.00 \nY: 45.00 ");
    EXPECT_EQ(tip()->pos(),
              QPoint(static_cast<int>(at.x() + 10), static_cast<int>(at.y() - tip()->height() - 2)));
    EXPECT_EQ(tip()->font().family(), "Courier New");
    EXPECT_EQ(tip()->font().pointSize(), 9);
    EXPECT_EQ(tip()->styleSheet(), "background: transparent;\ncolor:red");
    emit yaw->hovered(point, false);
    EXPECT_TRUE(tip()->isHidden());
}

TEST_F(PlotDrawing, TheTipStaysWithinTheView) {
    plot(100, frameAngles(8990, 0, 0), "框架方位角");
    QtCharts::QLineSeries* yaw = series("框架方位角");
    emit yaw->hovered(QPointF(100, 89.9), true);
    EXPECT_EQ(tip()->x(), view()->width() - tip()->width() - 2);
    EXPECT_EQ(tip()->y(), 2);
    EXPECT_TRUE(view()->rect().contains(tip()->geometry()));
}

TEST_F(PlotDrawing, OfTheAttitudeOnlyTheAzimuthHasATip) {
    find<QRadioButton>("radioButton_2")->click();
    sorvane::TelemetryRecord record;
    record.attitude_yaw = 1000;
    record.attitude_pitch = 6000;
    plot(50, record, "姿态方位角");
    for (const char* name : {"姿态俯仰角", "姿态横滚角"}) {
        emit series(name)->hovered(QPointF(20, 60), true);
        EXPECT_TRUE(tip()->isHidden()) << name;
    }
    emit series("姿态方位角")->hovered(QPointF(20, 10), true);
    EXPECT_TRUE(tip()->isVisible());
    EXPECT_EQ(tip()->text(), "X: 20.00 \nY: 10.00 ");
    emit series("姿态方位角")->hovered(QPointF(20, 10), false);
    EXPECT_TRUE(tip()->isHidden());
    // With the other two curves taken off the chart as well.
    box("checkBox_gestPit")->setChecked(false);
    box("checkBox_gestRoll")->setChecked(false);
    emit series("姿态方位角")->hovered(QPointF(20, 10), true);
    EXPECT_TRUE(tip()->isVisible());
}

TEST_F(PlotDrawing, TheOtherCurvesHaveTheirOwnTips) {
    box("checkBox_frmRoll")->setChecked(true);
    plot(20, frameAngles(100, 200, 300), "框架横滚角");
    for (const char* name : {"框架方位角", "框架俯仰角", "框架横滚角"}) {
        emit series(name)->hovered(QPointF(7, 1), true);
        EXPECT_TRUE(tip()->isVisible()) << name;
        emit series(name)->hovered(QPointF(7, 1), false);
        EXPECT_TRUE(tip()->isHidden()) << name;
    }
    find<QRadioButton>("radioButton_3")->click();
    for (const char* name : {"跟踪宽偏差", "跟踪高偏差"}) {
        emit series(name)->hovered(QPointF(7, 1), true);
        EXPECT_TRUE(tip()->isVisible()) << name;
        emit series(name)->hovered(QPointF(7, 1), false);
    }
}

// --- values ---

TEST_F(PlotDrawing, ValuesStandAtTheCurvesOfTheCategoryOfTheClick) {
    auto* button = find<QPushButton>("pushButton_dispVal");
    plot(20, frameAngles(100, 200, 0), "框架方位角");
    const auto before = view()->grab().toImage();
    button->click();
    EXPECT_EQ(button->text(), "隐藏数值");
    EXPECT_TRUE(series("框架方位角")->pointLabelsVisible());
    EXPECT_TRUE(series("框架俯仰角")->pointLabelsVisible());
    EXPECT_NE(view()->grab().toImage(), before);
    find<QRadioButton>("radioButton_2")->click();
    EXPECT_FALSE(series("姿态方位角")->pointLabelsVisible());
    button->click();
    EXPECT_EQ(button->text(), "显示数值");
    find<QRadioButton>("radioButton")->click();
    EXPECT_TRUE(series("框架方位角")->pointLabelsVisible());
}

// --- the mouse ---

TEST_F(PlotDrawing, TheWheelRolledForwardWidensTheViewAndTheRightButtonRestoresIt) {
    plot(300, frameAngles(1000, 2000, 0), "框架方位角");
    startButton()->click();
    const double x = width();
    const double y = height();
    notch(4);
    ASSERT_TRUE(becomesWide(x / 0.8)) << width();
    EXPECT_NEAR(height(), y / 0.8, 1e-6);
    // What the wider window shows has its samples.
    EXPECT_LE(points("框架方位角").first().x(), xAxis()->min());
    EXPECT_GT(points("框架方位角").size(), 110);
    notch(5);
    ASSERT_TRUE(becomesWide(x / 0.8 / 1.2)) << width();
    QWidget* const viewport = view()->viewport();
    QTest::mouseClick(viewport, Qt::LeftButton, Qt::NoModifier, viewport->rect().center());
    EXPECT_NEAR(width(), x / 0.8 / 1.2, 1e-6);
    turn(0);
    EXPECT_NEAR(width(), x / 0.8 / 1.2, 1e-6);
    m_pointer.press(3);
    m_pointer.release(3);
    ASSERT_TRUE(becomesWide(x)) << width();
    EXPECT_NEAR(height(), y, 1e-6);
}

TEST_F(PlotDrawing, TheNextBatchBringsTheWindowBack) {
    plot(300, frameAngles(1000, 2000, 0), "框架方位角");
    turn(120);
    ASSERT_GT(width(), 110);
    give(frameAngles(1000, 2000, 0));
    ASSERT_TRUE(shows(301, "框架方位角"));
    ASSERT_TRUE(becomesWide(100)) << width();
    EXPECT_EQ(xAxis()->min(), 201);
}

TEST_F(PlotDrawing, AnyNumberOfNotchesIsHarmless) {
    plot(300, frameAngles(1000, 2000, 0), "框架方位角");
    for (const int delta : {120, -120}) {
        for (int i = 0; i < 150; ++i) {
            turn(delta);
        }
        view()->grab();
        give(frameAngles(1000, 2000, 0));
    }
    QTest::mouseClick(view()->viewport(), Qt::RightButton, Qt::NoModifier, QPoint(5, 5));
    give(frameAngles(1000, 2000, 0));
    EXPECT_TRUE(shows(303, "框架方位角"));
}

// --- colours ---

TEST_F(PlotDrawing, TheChartTakesTheColoursThatTheSheetGivesItsView) {
    box("checkBox_frmRoll")->setChecked(true);
    plot(120, frameAngles(3000, -3000, 6000), "框架方位角");
    for (const QString& ground : {QStringLiteral("#101820"), QStringLiteral("#f4f8ff")}) {
        dialog.setStyleSheet(
            QStringLiteral("PlotView { qproperty-groundColour: %1; qproperty-gridColour: #335577; "
                           "qproperty-axisColour: #557799; qproperty-textColour: #7799bb; "
                           "qproperty-firstColour: #ff0101; qproperty-secondColour: #02ff02; "
                           "qproperty-thirdColour: #0303ff; }")
                .arg(ground));
        QCoreApplication::processEvents();
        const QHash<QRgb, int> seen = colours();
        QRgb most = 0;
        for (auto it = seen.cbegin(); it != seen.cend(); ++it) {
            most = it.value() > seen.value(most) ? it.key() : most;
        }
        EXPECT_EQ(QColor(most).name(), ground);
        for (const int channel : {0, 1, 2}) {
            EXPECT_GT(strong(seen, channel), 400) << channel;
        }
        EXPECT_GT(seen.value(QColor("#335577").rgb()), 500);
        EXPECT_EQ(chart().legend()->labelColor(), QColor("#7799bb"));
    }
}

// --- what stands still ---

// The view copies a picture of what has not changed: nobody may see that.
class PlotPicture : public PlotDrawing {
protected:
    // The scene as it paints itself, every item of it.
    QImage whole() {
        QImage image(view()->viewport()->size(), QImage::Format_RGB32);
        image.fill(view()->backgroundBrush().color());
        enable(false);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        const QRect area = view()->viewport()->rect();
        view()->scene()->render(&painter, area, view()->mapToScene(area).boundingRect());
        enable(true);
        return image;
    }
    void enable(bool enabled) {
        const auto parts = chart().childItems();
        for (QGraphicsItem* part : parts) {
            if (part->graphicsEffect() != nullptr) {
                part->graphicsEffect()->setEnabled(enabled);
            }
        }
    }
    // At once and when the changes have settled. An axis taken off the chart is seen until it is deleted.
    void expectWhole(const char* when, int times = 3) {
        for (int i = 0; i < times; ++i) {
            const QImage seen = view()->viewport()->grab().toImage().convertToFormat(QImage::Format_RGB32);
            EXPECT_TRUE(seen == whole()) << when << ", painting " << i;
            QCoreApplication::processEvents();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
    }
};

TEST_F(PlotPicture, IsThatOfTheSceneWhateverChanges) {
    plot(300, frameAngles(1000, 2000, 0), "框架方位角");
    expectWhole("plotting");
    for (int i = 1; i <= 12; ++i) {
        give(frameAngles(1000 + i, 2000, 0));
        ASSERT_TRUE(shows(300 + i, "框架方位角"));
        expectWhole("with a moved window");
    }
    give(frameAngles(12000, 2000, 0));
    ASSERT_TRUE(shows(313, "框架方位角"));
    expectWhole("with another range");
    turn(120);
    expectWhole("zoomed");
    yAxis()->setTitleText("another");
    expectWhole("with another title");
    QFont font = yAxis()->labelsFont();
    font.setItalic(true);
    yAxis()->setLabelsFont(font);
    expectWhole("with other letters");
    yAxis()->setTickCount(5);
    expectWhole("with fewer lines");
    yAxis()->setGridLineVisible(false);
    expectWhole("without lines");
}

// Hidden, so that nothing is painted but here: the numbers of the X axis leave the picture and come back.
TEST_F(PlotPicture, LeavesOutWhatMovesTimeAfterTime) {
    plot(300, frameAngles(1000, 2000, 0), "框架方位角");
    dialog.hide();
    expectWhole("plotting");
    for (int i = 1; i <= 5; ++i) {
        give(frameAngles(1000, 2000, 0));
        ASSERT_TRUE(shows(300 + i, "框架方位角"));
        expectWhole("with a moved window", 1);
    }
    expectWhole("standing still", 12);
    for (int i = 1; i <= 3; ++i) {
        view()->resize(view()->width() + 10, view()->height() + 10);
        expectWhole("growing", 1);
    }
    expectWhole("grown", 12);
    // The X axis lies over the lowest of these.
    for (int width = 5; width < 10; ++width) {
        yAxis()->setGridLinePen(QPen(Qt::red, width));
        expectWhole("with wider lines", 1);
    }
}

TEST_F(PlotPicture, FollowsTheViewTheColoursAndTheCategory) {
    plot(300, frameAngles(1000, 2000, 0), "框架方位角");
    expectWhole("plotting");
    dialog.setStyleSheet("PlotView { qproperty-groundColour: #101820; }");
    expectWhole("on another ground");
    dialog.setStyleSheet("PlotView { qproperty-gridColour: #335577; }");
    expectWhole("with another grid");
    dialog.setStyleSheet("PlotView { qproperty-axisColour: #557799; qproperty-textColour: #7799bb; }");
    expectWhole("with other axes");
    dialog.resize(dialog.width() + 100, dialog.height() + 50);
    ASSERT_TRUE(eventually([this] { return chart().size().toSize() == view()->size(); }));
    expectWhole("bigger");
    find<QRadioButton>("radioButton_3")->click();
    expectWhole("of the deviation");
    find<QRadioButton>("radioButton")->click();
    expectWhole("of the angles again");
    box("checkBox_frmPit")->setChecked(false);
    expectWhole("without a curve");
}

// --- load ---

// Counts how often the window moves on.
class Refreshes : public QObject {
public:
    explicit Refreshes(QtCharts::QValueAxis* axis) {
        connect(axis, &QtCharts::QValueAxis::rangeChanged, this, [this] { ++count; });
    }
    int count = 0;
};

TEST_F(PlotDrawing, ReportsThatComeFasterThanTheChartCanBeDrawnAreDrawnTogether) {
    choose(2);
    start();
    give(frameAngles(1, 1, 1));
    ASSERT_TRUE(shows(1, "框架方位角"));
    const Refreshes refreshes(xAxis());
    for (int i = 0; i < 20000; ++i) {
        give(frameAngles(i % 9000, 1, 1));
    }
    ASSERT_TRUE(shows(20001, "框架方位角"));
    EXPECT_GT(refreshes.count, 0);
    EXPECT_LT(refreshes.count, 10000);
    EXPECT_EQ(points("框架方位角").last(), QPointF(20001, 19999 % 9000 / 100.0));
}

// More than an hour and a half of reports at 50 Hz.
TEST_F(PlotDrawing, HoursOfSamplesKeepNothingBeyondTheLastThousand) {
    choose(2);
    start();
    constexpr int kSamples = 300000;
    sorvane::TelemetryRecord record = frameAngles(1, 2, 3);
    for (int i = 0; i < kSamples; ++i) {
        record.frame_yaw = static_cast<std::int16_t>(i % 7000);
        dialog.add_record(record);
    }
    ASSERT_TRUE(shows(kSamples, "框架方位角"));
    EXPECT_EQ(xAxis()->min(), kSamples - 100);
    EXPECT_EQ(scroll()->value(), 900);
    startButton()->click();
    scroll()->setValue(0);
    EXPECT_TRUE(eventually([this] { return xAxis()->min() == kSamples - 1000; }));
    EXPECT_EQ(points("框架方位角").first().x(), kSamples - 999);
}

}  // namespace
