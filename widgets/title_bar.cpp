#include "widgets/title_bar.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOption>

title_bar::title_bar(QWidget* parent) : QWidget(parent) {}

void title_bar::paintEvent(QPaintEvent* e) {
    Q_UNUSED(e)
    QStyleOption option;
    option.initFrom(this);
    QPainter painter(this);
    style()->drawPrimitive(QStyle::PE_Widget, &option, &painter, this);
}
