// Live curves of the telemetry.
#pragma once

#include <QButtonGroup>
#include <QChart>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineSeries>
#include <QList>
#include <QPointF>
#include <QTimer>
#include <QValueAxis>
#include <array>
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "analysis/plot_rules.h"
#include "telemetry/telemetry_record.h"
#include "widgets/common_dlg.h"

class PlotOwner;
class PlotView;
class QCheckBox;
struct PlotForm;
namespace Ui {
class dlgPlot;
}

// Draws the chosen curves of one category: a window of 100 samples over the last 1000 of each curve. Closing
// it stops the plot, not the saving. The samples are kept here; the chart holds those that its X axis shows,
// and is drawn anew no more often than leaves the GUI thread most of its time. GUI thread.
class QMyPlotDlg : public common_dlg {
    Q_OBJECT

public:
    // `owner` outlives every call of a slot, not necessarily the dialog itself.
    QMyPlotDlg(PlotOwner& owner, QWidget* parent);
    ~QMyPlotDlg() override;

    bool is_running() const { return m_running; }
    // Takes a new report; only while running.
    void add_record(const sorvane::TelemetryRecord& record);
    // Every text in the language of the moment; what the buttons say of the plot's state stays.
    void retranslate();

public slots:
    void OnStartPlot(bool bCheck);
    void OnDisplayPointValue(bool bCheck);
    void OnActionSaveTelemTriggered();
    void OnPlotCategoryChanged(bool checked);
    void OnFrmYawAngCheckChanged(int state);
    void OnFrmPitAngCheckChanged(int state);
    void OnFrmRollAngCheckChanged(int state);
    void OnGestYawAngCheckChanged(int state);
    void OnGestPitAngCheckChanged(int state);
    void OnGestRollAngCheckChanged(int state);
    void OnDeviXCheckChanged(int state);
    void OnDeviYCheckChanged(int state);
    void OnFrmAngYawLineHover(QPointF point, bool state);
    void OnFrmAngPitLineHover(QPointF point, bool state);
    void OnFrmAngRollLineHover(QPointF point, bool state);
    void OnGestAngYawLineHover(QPointF point, bool state);
    void OnGestAngPitLineHover(QPointF point, bool state);
    void OnGestAngRollLineHover(QPointF point, bool state);
    void OnTraceDeviXLineHover(QPointF point, bool state);
    void OnTraceDeviYLineHover(QPointF point, bool state);
    void OnHScrollBarValueChanged(int newValue);

protected:
    void mousePressEvent(QMouseEvent* e) override;
    void wheelEvent(QWheelEvent* e) override;
    void closeEvent(QCloseEvent* e) override;

private:
    // One curve: its series, the box that shows it, the samples that it keeps.
    struct Curve {
        QtCharts::QLineSeries& series;
        QCheckBox& box;
        const char* name;
        int category;
        int position;
        std::deque<QPointF> kept;
        bool changed = false;  // since the chart got its points
    };

    void buildCurves();
    void buildChart();
    void connectAll();
    template <typename Take>
    void eachCurve(int category, Take take);
    QtCharts::QValueAxis& axisOf(int category);
    int chosenCategory() const;

    void update_category();
    void putOnChart(Curve& curve);
    void takeFromChart(Curve& curve);
    bool onChart(const Curve& curve) const;
    void curveBoxChanged(Curve& curve, int state);
    void clearBuffers();
    void resetSeen();
    void stopPlot();
    void showStartText();
    void showValuesText();

    bool extendRange(double value, int field);
    void rescaleAxis(bool grew);
    void append_sample(Curve& curve, double y);
    void show_tip(const QPointF& point, bool state, QtCharts::QLineSeries& series);

    // What the chart shows: the X axis goes there with the next drawing.
    void showWindow(const sorvane::AxisSpan& window);
    void requestDrawing();
    void draw();
    void showRanges();
    sorvane::AxisSpan axisWindow() const;
    void showPoints(Curve& curve, const sorvane::AxisSpan& window, bool axis_follows = false);
    void applyColours();

    // --- fixed fields, in their order ---
    QButtonGroup m_category_group;
    QtCharts::QChart m_chart;
    QtCharts::QLineSeries m_series_frm_yaw, m_series_frm_pit, m_series_frm_roll;     // degrees
    QtCharts::QLineSeries m_series_gest_yaw, m_series_gest_pit, m_series_gest_roll;  // degrees
    QtCharts::QLineSeries m_series_devi_x, m_series_devi_y;                          // pixels
    QtCharts::QValueAxis m_axis_x;                                                   // number of the sample
    QtCharts::QValueAxis m_axis_frm, m_axis_gest, m_axis_devi;  // one at a time is on the chart
    QLabel m_tip;
    std::array<QList<std::int16_t>, 3> m_history;  // for the sample filter, by position of the curve
    std::array<QList<QPointF>, 3> m_pending;       // the batch that gathers
    PlotOwner* m_owner;
    int m_category = sorvane::kPlotNothing;
    bool m_running = false;
    unsigned int m_sample_count = 0;
    int m_divisor = 1;
    int m_batch = 0;
    float m_frm_min = -90, m_frm_max = 90, m_gest_min = -90, m_gest_max = 90;
    int m_devi_min = -300, m_devi_max = 300;
    float m_frm_seen_max = -180, m_frm_seen_min = 180, m_gest_seen_max = -180, m_gest_seen_min = 180;
    int m_devi_seen_max = -960, m_devi_seen_min = 960;
    int m_rescale_countdown = 0;

    // --- the form and the drawing ---
    std::unique_ptr<Ui::dlgPlot> m_ui;
    std::unique_ptr<PlotForm> m_form;
    PlotView* m_view = nullptr;  // child of the form's host
    std::vector<Curve> m_curves;
    sorvane::AxisSpan m_window = {0, sorvane::kWindowSamples};
    bool m_window_moved = false;
    bool m_range_changed = false;
    bool m_taking = false;   // a report is being taken: the drawing comes behind it
    bool m_drawing = false;  // the axis moves by draw() itself
    sorvane::RefreshPace m_pace;
    QElapsedTimer m_clock;
    QTimer m_draw_timer;
};
