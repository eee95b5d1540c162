#include "widgets/my_trans_dlg.h"

#include <QEvent>
#include <QTimer>

MyTransDlg::MyTransDlg(QWidget* parent)
    : QLabel(parent, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus) {
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_ShowWithoutActivating);
}

void MyTransDlg::place(const QRect& wanted) {
    constexpr int kMostAsks = 10;
    m_wanted = wanted;
    m_asksLeft = kMostAsks;
    setGeometry(wanted);
}

bool MyTransDlg::event(QEvent* e) {
    const bool result = QLabel::event(e);
    const bool moved = e->type() == QEvent::Move || e->type() == QEvent::Resize;
    if (moved && m_asksLeft > 0 && geometry() != m_wanted) {
        --m_asksLeft;
        // From the event loop: what is reported may have been overtaken by what waits there.
        QTimer::singleShot(0, this, [this] { setGeometry(m_wanted); });
    }
    return result;
}
