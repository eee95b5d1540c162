// What the plot dialog draws: the chart's parts, the samples that its window shows, the tip.
#include <QCheckBox>
#include <QGraphicsLayout>
#include <QLayout>
#include <QLegend>
#include <QPushButton>
#include <QRadioButton>
#include <QVector>
#include <algorithm>

#include "analysis/plot_view.h"
#include "analysis/qmyplotdlg.h"
#include "forms/plot_form.h"

namespace {

using QtCharts::QValueAxis;

constexpr double kCurveWidth = 1.5;
constexpr std::int64_t kMs = 1'000'000;

QFont chartFont(int points) {
    QFont font(QStringLiteral("宋体"), points);
    font.setBold(true);
    return font;
}

void prepareAxis(QValueAxis& axis, const char* format, double low, double high, int ticks, int minor_ticks) {
    axis.setLabelFormat(QLatin1String(format));
    axis.setRange(low, high);
    axis.setTickCount(ticks);
    axis.setMinorTickCount(minor_ticks);
    axis.setGridLineVisible(true);
    axis.setMinorGridLineVisible(false);
    axis.setTitleFont(chartFont(10));
    QFont labels;
    labels.setPointSize(9);
    axis.setLabelsFont(labels);
}

}  // namespace

void QMyPlotDlg::buildChart() {
    m_chart.setMargins(QMargins(0, 0, 0, 0));
    m_chart.layout()->setContentsMargins(0, 0, 0, 0);
    // The view fills the ground.
    m_chart.setBackgroundVisible(false);
    m_view = new PlotView(&m_chart, m_form->chart_host);
    m_view->setObjectName(QStringLiteral("graphicsView"));
    m_form->chart_host->layout()->addWidget(m_view);

    prepareAxis(m_axis_x, "%02d", 0, 100, 11, 9);
    prepareAxis(m_axis_frm, "%.2f", m_frm_min, m_frm_max, 13, 4);
    prepareAxis(m_axis_gest, "%.2f", m_gest_min, m_gest_max, 13, 4);
    prepareAxis(m_axis_devi, "%.2f", m_devi_min, m_devi_max, 13, 7);
    m_chart.legend()->setAlignment(Qt::AlignBottom);
    m_chart.legend()->setFont(chartFont(12));
    for (const Curve& curve : m_curves) {
        curve.series.setPointLabelsFormat(QStringLiteral("@yPoint"));
        curve.series.setPointLabelsClipping(false);
    }
    m_chart.addAxis(&m_axis_x, Qt::AlignBottom);

    m_tip.setParent(m_view);
    m_tip.setFont(QFont(QStringLiteral("Courier New"), 9));
    m_tip.setStyleSheet(QStringLiteral("background: transparent;\ncolor:red"));
    m_tip.setAttribute(Qt::WA_TransparentForMouseEvents);
    m_tip.show();
    m_tip.hide();
}

// The sheets do not reach a chart.
void QMyPlotDlg::applyColours() {
    const PlotView& look = *m_view;
    m_view->setBackgroundBrush(look.ground());
    m_chart.legend()->setLabelColor(look.text());
    for (QValueAxis* axis : {&m_axis_x, &m_axis_frm, &m_axis_gest, &m_axis_devi}) {
        // Width 0 is one pixel as well, and needs no outline worked out for each line.
        axis->setGridLinePen(QPen(look.grid(), 0));
        axis->setLinePen(QPen(look.axis(), 0));
        axis->setLabelsBrush(look.axis());
        axis->setTitleBrush(look.text());
    }
    for (const Curve& curve : m_curves) {
        curve.series.setPen(QPen(look.curve(curve.position), kCurveWidth));
        curve.series.setPointLabelsColor(look.text());
    }
}

// --- curves and axes on the chart ---

QValueAxis& QMyPlotDlg::axisOf(int category) {
    if (category == sorvane::kPlotFrameAngles) {
        return m_axis_frm;
    }
    return category == sorvane::kPlotAttitudeAngles ? m_axis_gest : m_axis_devi;
}

int QMyPlotDlg::chosenCategory() const {
    if (m_form->categories[0]->isChecked()) {
        return sorvane::kPlotFrameAngles;
    }
    return m_form->categories[1]->isChecked() ? sorvane::kPlotAttitudeAngles : sorvane::kPlotDeviation;
}

bool QMyPlotDlg::onChart(const Curve& curve) const { return m_chart.series().contains(&curve.series); }

void QMyPlotDlg::update_category() {
    for (Curve& curve : m_curves) {
        takeFromChart(curve);
    }
    const int category = chosenCategory();
    if (category != m_category) {
        if (m_category != sorvane::kPlotNothing) {
            m_chart.removeAxis(&axisOf(m_category));
        }
        m_chart.addAxis(&axisOf(category), Qt::AlignLeft);
    }
    for (Curve& curve : m_curves) {
        if (curve.category == category && curve.box.isChecked()) {
            putOnChart(curve);
        }
    }
    m_category = category;
}

void QMyPlotDlg::putOnChart(Curve& curve) {
    curve.kept.clear();
    curve.series.clear();
    if (!onChart(curve)) {
        m_chart.addSeries(&curve.series);
        curve.series.attachAxis(&m_axis_x);
        curve.series.attachAxis(&axisOf(curve.category));
    }
}

void QMyPlotDlg::takeFromChart(Curve& curve) {
    if (onChart(curve)) {
        m_chart.removeSeries(&curve.series);
    }
}

// --- drawing ---

void QMyPlotDlg::showWindow(const sorvane::AxisSpan& window) {
    m_window = window;
    m_window_moved = true;
}

void QMyPlotDlg::requestDrawing() {
    const bool changed =
        m_window_moved || m_range_changed ||
        std::any_of(m_curves.begin(), m_curves.end(), [](const Curve& curve) { return curve.changed; });
    if (m_taking || !changed || m_draw_timer.isActive()) {
        return;
    }
    const std::int64_t wait = m_pace.waitNs(m_clock.nsecsElapsed());
    if (wait > 0) {
        m_draw_timer.start(static_cast<int>((wait + kMs - 1) / kMs));
    } else {
        draw();
    }
}

// The view paints behind this, within the same turn of the event loop; what it took the last time counts for
// this time.
void QMyPlotDlg::draw() {
    m_draw_timer.stop();
    const std::int64_t began = m_clock.nsecsElapsed();
    m_drawing = true;
    const bool moved = m_window_moved && (m_window.low != m_axis_x.min() || m_window.high != m_axis_x.max());
    for (Curve& curve : m_curves) {
        if (curve.category == m_category && (curve.changed || moved)) {
            showPoints(curve, m_window_moved ? m_window : axisWindow(), moved);
        }
        curve.changed = false;
    }
    if (moved) {
        m_axis_x.setRange(m_window.low, m_window.high);
    }
    if (m_range_changed) {
        showRanges();
    }
    m_window_moved = m_range_changed = m_drawing = false;
    m_pace.refreshed(began, m_clock.nsecsElapsed() - began + m_view->paintNs());
}

// Of every category: another one may have been chosen since the range changed.
void QMyPlotDlg::showRanges() {
    const auto show = [](QValueAxis& axis, const sorvane::AxisSpan& span) {
        axis.setRange(span.low, span.high);
    };
    show(m_axis_frm, sorvane::drawnSpan(m_frm_min, m_frm_max));
    show(m_axis_gest, sorvane::drawnSpan(m_gest_min, m_gest_max));
    show(m_axis_devi, sorvane::drawnSpan(m_devi_min, m_devi_max));
}

sorvane::AxisSpan QMyPlotDlg::axisWindow() const { return {m_axis_x.min(), m_axis_x.max()}; }

// Only the samples of the window, and one beyond each end so that the line runs on to the edge: the cost of a
// chart grows with its points, seen or not. It lays a curve out, with the outline that the pointer is tested
// against, for new points and for a moved axis alike: when the axis moves behind this, it alone tells of
// both.
void QMyPlotDlg::showPoints(Curve& curve, const sorvane::AxisSpan& window, bool axis_follows) {
    if (!onChart(curve)) {
        return;
    }
    const auto before = [](const QPointF& point, double x) { return point.x() < x; };
    const auto begin = curve.kept.cbegin();
    const auto end = curve.kept.cend();
    auto first = std::lower_bound(begin, end, window.low, before);
    auto last = std::lower_bound(first, end, window.high, before);
    first -= first != begin ? 1 : 0;
    last += last != end ? 1 : 0;
    QVector<QPointF> shown;
    shown.reserve(static_cast<int>(last - first));
    std::copy(first, last, std::back_inserter(shown));
    const bool blocked = curve.series.blockSignals(axis_follows);
    curve.series.replace(shown);
    curve.series.blockSignals(blocked);
}

// --- tip and values ---

void QMyPlotDlg::OnFrmAngYawLineHover(QPointF p, bool state) { show_tip(p, state, m_series_frm_yaw); }
void QMyPlotDlg::OnFrmAngPitLineHover(QPointF p, bool state) { show_tip(p, state, m_series_frm_pit); }
void QMyPlotDlg::OnFrmAngRollLineHover(QPointF p, bool state) { show_tip(p, state, m_series_frm_roll); }
void QMyPlotDlg::OnGestAngYawLineHover(QPointF p, bool state) { show_tip(p, state, m_series_gest_yaw); }
void QMyPlotDlg::OnGestAngPitLineHover(QPointF p, bool state) { show_tip(p, state, m_series_gest_pit); }
void QMyPlotDlg::OnGestAngRollLineHover(QPointF p, bool state) { show_tip(p, state, m_series_gest_roll); }
void QMyPlotDlg::OnTraceDeviXLineHover(QPointF p, bool state) { show_tip(p, state, m_series_devi_x); }
void QMyPlotDlg::OnTraceDeviYLineHover(QPointF p, bool state) { show_tip(p, state, m_series_devi_y); }

void QMyPlotDlg::show_tip(const QPointF& point, bool state, QtCharts::QLineSeries& series) {
    if (!state) {
        m_tip.hide();
        return;
    }
    m_tip.setText(QString::asprintf("X: %.2f \nY: %.2f ", point.x(), point.y()));
    m_tip.adjustSize();
    const QPointF pos = m_chart.mapToPosition(point, &series);
    const double x =
        pos.x() + m_tip.width() > m_view->width() ? m_view->width() - m_tip.width() - 2.0 : pos.x() + 10;
    const double y = pos.y() - m_tip.height() < 0 ? 2 : pos.y() - m_tip.height() - 2;
    m_tip.move(static_cast<int>(x), static_cast<int>(y));
    m_tip.show();
}

// Concerns the category of the moment: one that is chosen later keeps what its curves had.
void QMyPlotDlg::OnDisplayPointValue(bool bCheck) {
    for (const Curve& curve : m_curves) {
        if (curve.category == m_category) {
            curve.series.setPointLabelsVisible(bCheck);
        }
    }
    if (!bCheck && !m_running) {
        m_view->update();
    }
    showValuesText();
}
