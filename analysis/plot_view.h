// The view of a chart: its colours come from the style sheets, and it knows what drawing it costs.
#pragma once

#include <QChartView>
#include <QColor>
#include <cstdint>

#include "analysis/still_parts.h"

// The sheets give the colours (qproperty-groundColour ...), since they do not reach a chart itself. GUI
// thread.
class PlotView : public QtCharts::QChartView {
    Q_OBJECT
    Q_PROPERTY(QColor groundColour MEMBER m_ground)
    Q_PROPERTY(QColor gridColour MEMBER m_grid)
    Q_PROPERTY(QColor axisColour MEMBER m_axis)
    Q_PROPERTY(QColor textColour MEMBER m_text)
    Q_PROPERTY(QColor firstColour MEMBER m_first)
    Q_PROPERTY(QColor secondColour MEMBER m_second)
    Q_PROPERTY(QColor thirdColour MEMBER m_third)

public:
    // The chart stays its owner's, who takes it from the scene before the view goes.
    explicit PlotView(QtCharts::QChart* chart, QWidget* parent = nullptr);

    QColor ground() const { return m_ground; }
    QColor grid() const { return m_grid; }
    QColor axis() const { return m_axis; }
    QColor text() const { return m_text; }
    // Of the curve at a position, 0 to 2.
    QColor curve(int position) const { return position == 0 ? m_first : position == 1 ? m_second : m_third; }
    // What the last drawing took.
    std::int64_t paintNs() const { return m_paint_ns; }

signals:
    // The sheets have given their colours.
    void restyled();

protected:
    bool event(QEvent* e) override;
    void paintEvent(QPaintEvent* e) override;
    void drawBackground(QPainter* painter, const QRectF& rect) override;

private:
    QColor m_ground = Qt::white;
    QColor m_grid = Qt::lightGray;
    QColor m_axis = Qt::gray;
    QColor m_text = Qt::black;
    QColor m_first = Qt::blue;
    QColor m_second = Qt::darkYellow;
    QColor m_third = Qt::magenta;
    StillParts m_still;
    std::int64_t m_paint_ns = 0;
};
