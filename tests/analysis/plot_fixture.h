// The plot dialog with an owner of the test's own, seen by its widgets and its chart.
#pragma once

#include <gtest/gtest.h>

#include <QChart>
#include <QChartView>
#include <QCheckBox>
#include <QComboBox>
#include <QLineSeries>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QTest>
#include <QValueAxis>
#include <string>
#include <vector>

#include "analysis/plot_owner.h"
#include "analysis/qmyplotdlg.h"
#include "tests/fakes/link_peers.h"
#include "tests/widgets/wait.h"

class FakeOwner : public PlotOwner {
public:
    int linkState() const override { return link_state; }
    void toggleTelemetrySaving() override {
        ++toggles;
        saving = link_state != 0 ? !saving : saving;
    }
    bool savingTelemetry() const override { return saving; }

    int link_state = 2;
    bool saving = false;
    int toggles = 0;
};

class PlotDialog : public ::testing::Test {
protected:
    using Series = QtCharts::QLineSeries;
    using Axis = QtCharts::QValueAxis;

    void SetUp() override {
        dialog.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog, 10000));
    }

    template <typename T>
    T* find(const char* name) {
        T* widget = dialog.findChild<T*>(QLatin1String(name));
        EXPECT_NE(widget, nullptr) << name;
        return widget;
    }
    QtCharts::QChart& chart() { return *find<QtCharts::QChartView>("graphicsView")->chart(); }
    QCheckBox* box(const char* name) { return find<QCheckBox>(name); }
    QPushButton* startButton() { return find<QPushButton>("pushButton_start"); }
    QScrollBar* scroll() { return find<QScrollBar>("hScrollBar"); }
    void start() {
        startButton()->click();
        ASSERT_TRUE(dialog.is_running());
    }
    // 0 slow, 1 middle, 2 fast; takes effect with the next start.
    void choose(int rate) { find<QComboBox>("comboBox_2")->setCurrentIndex(rate); }

    Axis* axis(Qt::Orientation orientation) {
        const auto axes = chart().axes(orientation);
        EXPECT_EQ(axes.size(), 1);
        return axes.isEmpty() ? nullptr : static_cast<Axis*>(axes.first());
    }
    Axis* xAxis() { return axis(Qt::Horizontal); }
    Axis* yAxis() { return axis(Qt::Vertical); }
    std::vector<std::string> names() {
        std::vector<std::string> result;
        for (const QtCharts::QAbstractSeries* series : chart().series()) {
            result.push_back(series->name().toStdString());
        }
        return result;
    }
    // Of a curve on the chart; null when it is not.
    Series* series(const char* name) {
        for (QtCharts::QAbstractSeries* each : chart().series()) {
            if (each->name() == QString::fromUtf8(name)) {
                return static_cast<Series*>(each);
            }
        }
        return nullptr;
    }
    QVector<QPointF> points(const char* name) {
        const Series* found = series(name);
        return found != nullptr ? found->pointsVector() : QVector<QPointF>();
    }

    static sorvane::TelemetryRecord frameAngles(int yaw, int pitch, int roll) {
        sorvane::TelemetryRecord record;
        record.frame_yaw = static_cast<std::int16_t>(yaw);
        record.frame_pitch = static_cast<std::int16_t>(pitch);
        record.frame_roll = static_cast<std::int16_t>(roll);
        return record;
    }
    static sorvane::TelemetryRecord deviation(int x, int y) {
        sorvane::TelemetryRecord record;
        record.track_x = static_cast<std::int16_t>(x);
        record.track_y = static_cast<std::int16_t>(y);
        return record;
    }
    // As the window does it.
    void give(const sorvane::TelemetryRecord& record) {
        if (dialog.is_running()) {
            dialog.add_record(record);
        }
    }
    void giveMany(int count, const sorvane::TelemetryRecord& record) {
        for (int i = 0; i < count; ++i) {
            give(record);
        }
    }
    // Until the chart shows the samples up to that number.
    bool shows(double newest, const char* name) {
        return waitFor([&] {
            const auto shown = points(name);
            return !shown.isEmpty() && shown.last().x() == newest && xAxis()->max() >= newest;
        });
    }
    // The drawing is asked for at once and may come a little later.
    bool eventually(const std::function<bool()>& condition) { return waitFor(condition); }

    FakeOwner owner;
    QWidget parent;
    QMyPlotDlg dialog{owner, &parent};
};
