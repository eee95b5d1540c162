#include "widgets/common_dlg.h"

#include <QAbstractButton>
#include <QEvent>
#include <QScreen>
#include <QStyle>
#include <algorithm>

#include "widgets/window_drag.h"

common_dlg::common_dlg(QWidget* parent) : QDialog(parent) {
    setWindowFlags(windowFlags() | Qt::FramelessWindowHint);
}

common_dlg::~common_dlg() = default;

void common_dlg::setTitleWidget(QWidget* widget) {
    m_title = widget;
    widget->installEventFilter(this);
}

void common_dlg::setCloseButton(QAbstractButton* button) {
    button->setIcon(style()->standardIcon(QStyle::SP_TitleBarCloseButton));
    connect(button, &QAbstractButton::clicked, this, &QWidget::close);
}

void common_dlg::setVisible(bool visible) {
    if (visible && !isVisible()) {
        place();
    }
    QDialog::setVisible(visible);
}

// The toolkit's own place allows for a frame that is not there.
void common_dlg::place() {
    const QWidget* const over = parentWidget() != nullptr ? parentWidget()->window() : nullptr;
    const QRect room = (over != nullptr ? over : this)->screen()->availableGeometry();
    const bool seen = over != nullptr && over->isVisible() && !over->isMinimized();
    if (!testAttribute(Qt::WA_Resized)) {
        adjustSize();
    }
    QRect at(QPoint(0, 0), size());
    at.moveCenter((seen ? over->geometry() : room).center());
    at.moveRight(std::min(at.right(), room.right()));
    at.moveBottom(std::min(at.bottom(), room.bottom()));
    at.moveLeft(std::max(at.left(), room.left()));
    at.moveTop(std::max(at.top(), room.top()));
    move(at.topLeft());
}

bool common_dlg::eventFilter(QObject* obj, QEvent* e) {
    if (e->type() == QEvent::MouseButtonPress && obj == m_title) {
        startWindowDrag(this);
        e->ignore();
    }
    return QDialog::eventFilter(obj, e);
}
