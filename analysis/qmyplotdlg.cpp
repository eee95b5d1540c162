// The dialog's state and its controls; what it draws: plot_drawing.cpp.
#include "analysis/qmyplotdlg.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QCoreApplication>
#include <QMouseEvent>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QWheelEvent>

#include "analysis/plot_owner.h"
#include "analysis/plot_view.h"
#include "forms/plot_form.h"
#include "widgets/my_message_box.h"
#include "widgets/touch_lists.h"

namespace {

constexpr int kMiddleRate = 1;
constexpr int kBatches[] = {10, 5, 1};  // of the refresh rates slow, middle, fast

// Room for a sample filter: everything passes.
bool passesFilter(const QList<std::int16_t>& /*history*/, std::int16_t /*field*/) { return true; }

}  // namespace

QMyPlotDlg::QMyPlotDlg(PlotOwner& owner, QWidget* parent)
    : common_dlg(parent), m_owner(&owner), m_ui(new Ui::dlgPlot) {
    m_ui->setupUi(this);
    enlargeLists(this);
    m_form.reset(new PlotForm{*m_ui});
    setTitleWidget(m_ui->widget_30);
    setCloseButton(m_form->close_button);
    for (QRadioButton* category : m_form->categories) {
        m_category_group.addButton(category);
    }
    for (const int batch : kBatches) {
        m_form->refresh_rate->addItem(QString(), batch);
    }
    m_form->refresh_rate->setCurrentIndex(kMiddleRate);
    m_batch = m_form->refresh_rate->currentData().toInt();
    m_clock.start();
    m_draw_timer.setSingleShot(true);
    m_draw_timer.setTimerType(Qt::PreciseTimer);
    buildCurves();
    buildChart();
    retranslate();
    update_category();
    connectAll();
    applyColours();
}

// Series and axes are members, and the chart would delete what is still on it.
QMyPlotDlg::~QMyPlotDlg() {
    m_draw_timer.stop();
    for (Curve& curve : m_curves) {
        takeFromChart(curve);
    }
    const auto axes = m_chart.axes();
    for (QtCharts::QAbstractAxis* axis : axes) {
        m_chart.removeAxis(axis);
    }
}

void QMyPlotDlg::buildCurves() {
    using sorvane::kPlotAttitudeAngles;
    using sorvane::kPlotDeviation;
    using sorvane::kPlotFrameAngles;
    const auto add = [this](QtCharts::QLineSeries& series, QCheckBox& box, const char* name, int category,
                            int position) {
        m_curves.push_back({series, box, name, category, position, {}});
    };
    const Ui::dlgPlot& ui = *m_ui;
    add(m_series_frm_yaw, *ui.checkBox_frmYaw, QT_TR_NOOP("框架方位角"), kPlotFrameAngles, 0);
    add(m_series_frm_pit, *ui.checkBox_frmPit, QT_TR_NOOP("框架俯仰角"), kPlotFrameAngles, 1);
    add(m_series_frm_roll, *ui.checkBox_frmRoll, QT_TR_NOOP("框架横滚角"), kPlotFrameAngles, 2);
    add(m_series_gest_yaw, *ui.checkBox_gestYaw, QT_TR_NOOP("姿态方位角"), kPlotAttitudeAngles, 0);
    add(m_series_gest_pit, *ui.checkBox_gestPit, QT_TR_NOOP("姿态俯仰角"), kPlotAttitudeAngles, 1);
    add(m_series_gest_roll, *ui.checkBox_gestRoll, QT_TR_NOOP("姿态横滚角"), kPlotAttitudeAngles, 2);
    add(m_series_devi_x, *ui.checkBox_DeviX, QT_TR_NOOP("跟踪宽偏差"), kPlotDeviation, 0);
    add(m_series_devi_y, *ui.checkBox_DeviY, QT_TR_NOOP("跟踪高偏差"), kPlotDeviation, 1);
}

void QMyPlotDlg::connectAll() {
    const auto& ui = *m_ui;
    const auto& f = *m_form;
    connect(f.start, &QPushButton::clicked, this, &QMyPlotDlg::OnStartPlot);
    connect(f.show_values, &QPushButton::clicked, this, &QMyPlotDlg::OnDisplayPointValue);
    connect(f.save, &QPushButton::clicked, this, &QMyPlotDlg::OnActionSaveTelemTriggered);
    for (QRadioButton* category : f.categories) {
        connect(category, &QRadioButton::toggled, this, &QMyPlotDlg::OnPlotCategoryChanged);
    }
    const auto onBox = [this](QCheckBox* box, void (QMyPlotDlg::*slot)(int)) {
        connect(box, &QCheckBox::stateChanged, this, slot);
    };
    onBox(ui.checkBox_frmYaw, &QMyPlotDlg::OnFrmYawAngCheckChanged);
    onBox(ui.checkBox_frmPit, &QMyPlotDlg::OnFrmPitAngCheckChanged);
    onBox(ui.checkBox_frmRoll, &QMyPlotDlg::OnFrmRollAngCheckChanged);
    onBox(ui.checkBox_gestYaw, &QMyPlotDlg::OnGestYawAngCheckChanged);
    onBox(ui.checkBox_gestPit, &QMyPlotDlg::OnGestPitAngCheckChanged);
    onBox(ui.checkBox_gestRoll, &QMyPlotDlg::OnGestRollAngCheckChanged);
    onBox(ui.checkBox_DeviX, &QMyPlotDlg::OnDeviXCheckChanged);
    onBox(ui.checkBox_DeviY, &QMyPlotDlg::OnDeviYCheckChanged);
    const auto onHover = [this](QtCharts::QLineSeries& series, void (QMyPlotDlg::*slot)(QPointF, bool)) {
        connect(&series, &QtCharts::QLineSeries::hovered, this, slot);
    };
    onHover(m_series_frm_yaw, &QMyPlotDlg::OnFrmAngYawLineHover);
    onHover(m_series_frm_pit, &QMyPlotDlg::OnFrmAngPitLineHover);
    onHover(m_series_frm_roll, &QMyPlotDlg::OnFrmAngRollLineHover);
    // All three on the azimuth's curve; meant. Pitch and roll of the attitude have no tip of their own.
    onHover(m_series_gest_yaw, &QMyPlotDlg::OnGestAngYawLineHover);
    onHover(m_series_gest_yaw, &QMyPlotDlg::OnGestAngPitLineHover);
    onHover(m_series_gest_yaw, &QMyPlotDlg::OnGestAngRollLineHover);
    onHover(m_series_devi_x, &QMyPlotDlg::OnTraceDeviXLineHover);
    onHover(m_series_devi_y, &QMyPlotDlg::OnTraceDeviYLineHover);
    connect(f.scroll, &QScrollBar::valueChanged, this, &QMyPlotDlg::OnHScrollBarValueChanged);

    connect(m_view, &PlotView::restyled, this, &QMyPlotDlg::applyColours);
    connect(&m_draw_timer, &QTimer::timeout, this, &QMyPlotDlg::requestDrawing);
    // A zoom shows samples that the window did not.
    connect(&m_axis_x, &QtCharts::QValueAxis::rangeChanged, this, [this] {
        if (!m_drawing) {
            eachCurve(m_category, [this](Curve& curve) { showPoints(curve, axisWindow()); });
        }
    });
    // Escape hides a dialog without closing it.
    connect(this, &QDialog::rejected, this, &QMyPlotDlg::stopPlot);
}

template <typename Take>
void QMyPlotDlg::eachCurve(int category, Take take) {
    for (Curve& curve : m_curves) {
        if (curve.category == category) {
            take(curve);
        }
    }
}

void QMyPlotDlg::retranslate() {
    m_ui->retranslateUi(this);
    const char* const rates[] = {QT_TR_NOOP("慢"), QT_TR_NOOP("中"), QT_TR_NOOP("快")};
    for (int i = 0; i < 3; ++i) {
        m_form->refresh_rate->setItemText(i, tr(rates[i]));
    }
    m_axis_x.setTitleText(tr("时间"));
    m_axis_frm.setTitleText(tr("框架角(deg)"));
    m_axis_gest.setTitleText(tr("姿态角(deg)"));
    m_axis_devi.setTitleText(tr("跟踪偏差（像素）"));
    for (const Curve& curve : m_curves) {
        curve.series.setName(tr(curve.name));
    }
    showStartText();
    showValuesText();
}

void QMyPlotDlg::showStartText() { m_form->start->setText(m_running ? tr("停止") : tr("开始")); }
void QMyPlotDlg::showValuesText() {
    m_form->show_values->setText(m_form->show_values->isChecked() ? tr("隐藏数值") : tr("显示数值"));
}

// --- start, stop, saving ---

void QMyPlotDlg::OnStartPlot(bool bCheck) {
    if (!bCheck) {
        m_running = false;
        showStartText();
        return;
    }
    if (m_owner->linkState() == 0) {
        MyMessageBox::warning(this, tr("请先打开控制口"), tr("警告"));
        m_form->start->setChecked(false);
        return;
    }
    m_running = true;
    m_sample_count = 0;
    m_divisor = 1;
    m_batch = m_form->refresh_rate->currentData().toInt();
    showWindow({0, sorvane::kWindowSamples});
    clearBuffers();
    update_category();
    m_rescale_countdown = sorvane::kRescaleRecords;
    resetSeen();
    showStartText();
    draw();
}

void QMyPlotDlg::stopPlot() {
    if (m_running) {
        m_running = false;
        m_form->start->setChecked(false);
        showStartText();
    }
}

// A click has turned the button whatever becomes of the saving.
void QMyPlotDlg::OnActionSaveTelemTriggered() {
    m_owner->toggleTelemetrySaving();
    m_form->save->setChecked(m_owner->savingTelemetry());
}

void QMyPlotDlg::closeEvent(QCloseEvent* e) {
    stopPlot();
    common_dlg::closeEvent(e);
}

// --- what is plotted ---

void QMyPlotDlg::clearBuffers() {
    for (auto& history : m_history) {
        history.clear();
    }
    for (auto& pending : m_pending) {
        pending.clear();
    }
}

void QMyPlotDlg::resetSeen() {
    sorvane::resetSeen(sorvane::AngleRange{m_frm_min, m_frm_max, m_frm_seen_min, m_frm_seen_max});
    sorvane::resetSeen(sorvane::AngleRange{m_gest_min, m_gest_max, m_gest_seen_min, m_gest_seen_max});
    sorvane::resetSeen(sorvane::DeviationRange{m_devi_min, m_devi_max, m_devi_seen_min, m_devi_seen_max});
}

// Comes for the button that goes off as well as for the one that goes on.
void QMyPlotDlg::OnPlotCategoryChanged(bool /*checked*/) {
    if (!m_running) {
        return;
    }
    m_sample_count = 0;
    showWindow({0, sorvane::kWindowSamples});
    clearBuffers();
    update_category();
    resetSeen();
    draw();
}

void QMyPlotDlg::curveBoxChanged(Curve& curve, int state) {
    if (m_category != curve.category) {
        return;
    }
    if (state != 0) {
        if (m_running) {
            m_history[curve.position].clear();
            m_pending[curve.position].clear();
        }
        putOnChart(curve);
    } else {
        takeFromChart(curve);
    }
    resetSeen();
}

void QMyPlotDlg::OnFrmYawAngCheckChanged(int state) { curveBoxChanged(m_curves[0], state); }
void QMyPlotDlg::OnFrmPitAngCheckChanged(int state) { curveBoxChanged(m_curves[1], state); }
void QMyPlotDlg::OnFrmRollAngCheckChanged(int state) { curveBoxChanged(m_curves[2], state); }
void QMyPlotDlg::OnGestYawAngCheckChanged(int state) { curveBoxChanged(m_curves[3], state); }
void QMyPlotDlg::OnGestPitAngCheckChanged(int state) { curveBoxChanged(m_curves[4], state); }
void QMyPlotDlg::OnGestRollAngCheckChanged(int state) { curveBoxChanged(m_curves[5], state); }
void QMyPlotDlg::OnDeviXCheckChanged(int state) { curveBoxChanged(m_curves[6], state); }
void QMyPlotDlg::OnDeviYCheckChanged(int state) { curveBoxChanged(m_curves[7], state); }

// --- samples ---

void QMyPlotDlg::add_record(const sorvane::TelemetryRecord& record) {
    m_taking = true;
    bool taken = false;
    bool grew = false;
    eachCurve(m_category, [&](Curve& curve) {
        if (!curve.box.isChecked()) {
            return;
        }
        const std::int16_t field = sorvane::plotField(record, m_category, curve.position);
        if (!passesFilter(m_history[curve.position], field)) {
            return;
        }
        if (!taken) {
            ++m_sample_count;
            --m_rescale_countdown;
            taken = true;
        }
        const int divided = field / m_divisor;
        const double y = sorvane::plottedValue(m_category, divided);
        grew = extendRange(y, divided) || grew;
        append_sample(curve, y);
    });
    rescaleAxis(grew);
    m_taking = false;
    requestDrawing();
}

bool QMyPlotDlg::extendRange(double value, int field) {
    switch (m_category) {
        case sorvane::kPlotFrameAngles:
            return sorvane::extendRange({m_frm_min, m_frm_max, m_frm_seen_min, m_frm_seen_max}, value);
        case sorvane::kPlotAttitudeAngles:
            return sorvane::extendRange({m_gest_min, m_gest_max, m_gest_seen_min, m_gest_seen_max}, value);
        default:
            return sorvane::extendRange({m_devi_min, m_devi_max, m_devi_seen_min, m_devi_seen_max}, field);
    }
}

void QMyPlotDlg::rescaleAxis(bool grew) {
    bool due = false;
    if (m_category == sorvane::kPlotFrameAngles) {
        due =
            sorvane::rescale(grew, sorvane::AngleRange{m_frm_min, m_frm_max, m_frm_seen_min, m_frm_seen_max},
                             m_rescale_countdown);
    } else if (m_category == sorvane::kPlotAttitudeAngles) {
        due = sorvane::rescale(grew,
                               sorvane::AngleRange{m_gest_min, m_gest_max, m_gest_seen_min, m_gest_seen_max},
                               m_rescale_countdown);
    } else {
        due = sorvane::rescale(
            grew, sorvane::DeviationRange{m_devi_min, m_devi_max, m_devi_seen_min, m_devi_seen_max},
            m_rescale_countdown);
    }
    m_range_changed = m_range_changed || due;
}

void QMyPlotDlg::append_sample(Curve& curve, double y) {
    QList<QPointF>& pending = m_pending[curve.position];
    pending.append(QPointF(m_sample_count, y));
    if (pending.size() < m_batch) {
        return;
    }
    const int old = sorvane::samplesToDrop(static_cast<int>(curve.kept.size()), m_batch);
    curve.kept.erase(curve.kept.begin(), curve.kept.begin() + old);
    curve.kept.insert(curve.kept.end(), pending.cbegin(), pending.cend());
    pending.clear();
    curve.changed = true;
    if (m_sample_count > sorvane::kWindowSamples) {
        showWindow(sorvane::newestWindow(m_sample_count));
    }
    m_form->scroll->setValue(sorvane::newestScroll(m_sample_count, m_form->scroll->maximum()));
}

void QMyPlotDlg::OnHScrollBarValueChanged(int newValue) {
    showWindow(sorvane::scrolledWindow(m_sample_count, newValue));
    requestDrawing();
}

// --- the mouse ---

// Forward widens; meant.
void QMyPlotDlg::wheelEvent(QWheelEvent* e) {
    const int turned = e->angleDelta().y();
    if (turned > 0) {
        m_chart.zoom(0.8);
    } else if (turned < 0) {
        m_chart.zoom(1.2);
    }
}

void QMyPlotDlg::mousePressEvent(QMouseEvent* e) {
    if (e->button() == Qt::RightButton) {
        m_chart.zoomReset();
    }
}
