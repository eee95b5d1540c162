#include "analysis/plot_view.h"

#include <QElapsedTimer>
#include <QEvent>
#include <QGraphicsScene>

PlotView::PlotView(QtCharts::QChart* chart, QWidget* parent) : QtCharts::QChartView(chart, parent) {
    setRenderHint(QPainter::Antialiasing);
    setFrameShape(QFrame::NoFrame);
    setContentsMargins(0, 0, 0, 0);
    setFocusPolicy(Qt::NoFocus);
    viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
    // Everything moves with every sample: an index and the search for what has changed cost more than they
    // save.
    scene()->setItemIndexMethod(QGraphicsScene::NoIndex);
    setViewportUpdateMode(QGraphicsView::FullViewportUpdate);
    setOptimizationFlags(QGraphicsView::DontSavePainterState | QGraphicsView::DontAdjustForAntialiasing);
}

bool PlotView::event(QEvent* e) {
    const bool taken = QtCharts::QChartView::event(e);
    if (e->type() == QEvent::StyleChange || e->type() == QEvent::Polish) {
        emit restyled();
    }
    return taken;
}

void PlotView::paintEvent(QPaintEvent* e) {
    QElapsedTimer clock;
    clock.start();
    m_still.look(*chart(), {viewport()->size(), mapToScene(0, 0).toPoint(), devicePixelRatioF(),
                            backgroundBrush(), renderHints()});
    QtCharts::QChartView::paintEvent(e);
    m_paint_ns = clock.nsecsElapsed();
}

void PlotView::drawBackground(QPainter* painter, const QRectF& /*rect*/) {
    painter->drawPixmap(mapToScene(0, 0), m_still.picture());
}
