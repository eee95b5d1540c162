#include "widgets/label_part_bg.h"

#include <QFontMetrics>
#include <QPainter>
#include <algorithm>

label_part_bg::label_part_bg(QWidget* parent) : QLabel(parent) {}

void label_part_bg::setValue(double value) {
    m_value = value;
    update();
}

void label_part_bg::paintEvent(QPaintEvent* e) {
    {
        QPainter painter(this);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::red);
        const double from = std::min(m_value, 0.5);
        const double to = std::max(m_value, 0.5);
        const int bar_height = fontMetrics().height();
        painter.drawRect(
            QRectF(width() * from, (height() - bar_height) / 2.0, width() * (to - from), bar_height));
    }
    QLabel::paintEvent(e);
}
