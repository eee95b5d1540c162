#include "widgets/common_dlg.h"

#include <QEvent>

#include "widgets/window_drag.h"

common_dlg::common_dlg(QWidget* parent) : QDialog(parent) {
    setWindowFlags(windowFlags() | Qt::FramelessWindowHint);
}

common_dlg::~common_dlg() = default;

void common_dlg::setTitleWidget(QWidget* widget) {
    m_title = widget;
    widget->installEventFilter(this);
}

bool common_dlg::eventFilter(QObject* obj, QEvent* e) {
    if (e->type() == QEvent::MouseButtonPress && obj == m_title) {
        startWindowDrag(this);
        e->ignore();
    }
    return QDialog::eventFilter(obj, e);
}
