#include "video/drag_marks.h"

#include <QLabel>
#include <QPainter>

#include "widgets/my_trans_dlg.h"

namespace {

constexpr int kRingSize = 40;
constexpr int kDotSize = 24;

QLabel* makeMark(QWidget* overlay, int size) {
    auto* mark = new QLabel(overlay);
    mark->resize(size, size);
    mark->hide();
    return mark;
}

}  // namespace

DragMarks::DragMarks(const DragMarkFields& fields) : m_fields(fields) {}

void DragMarks::create(const QWidget& area) {
    m_fields.overlay = new MyTransDlg(nullptr);
    m_fields.overlay->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_fields.ring = makeMark(m_fields.overlay, kRingSize);
    m_fields.dot = makeMark(m_fields.overlay, kDotSize);
    place(area);
}

void DragMarks::place(const QWidget& area) {
    if (m_fields.overlay != nullptr) {
        m_fields.overlay->setGeometry(QRect(area.mapToGlobal(QPoint(0, 0)), area.size()));
    }
}

// Only the marks are there: without a compositor the overlay would cover the picture, and the wheel reaches
// what lies beneath.
void DragMarks::showMark(QLabel* mark, const QPoint& centre) {
    mark->move(m_fields.overlay->mapFromGlobal(centre) - QPoint(mark->width() / 2, mark->height() / 2));
    mark->show();
    QRegion shape;
    for (const QLabel* shown : {m_fields.ring, m_fields.dot}) {
        if (!shown->isHidden()) {
            shape += QRegion(shown->geometry(), QRegion::Ellipse);
        }
    }
    m_fields.overlay->setMask(shape);
}

void DragMarks::showRing(const QPoint& centre) {
    if (m_fields.overlay != nullptr) {
        showMark(m_fields.ring, centre);
        m_fields.overlay->show();
    }
}

void DragMarks::showDot(const QPoint& centre) {
    if (m_fields.overlay != nullptr) {
        showMark(m_fields.dot, centre);
    }
}

void DragMarks::hide() {
    if (m_fields.overlay != nullptr) {
        m_fields.ring->hide();
        m_fields.dot->hide();
        m_fields.overlay->hide();
    }
}

bool DragMarks::paint(const QObject* object) {
    if (m_fields.overlay == nullptr || (object != m_fields.ring && object != m_fields.dot)) {
        return false;
    }
    const bool ring = object == m_fields.ring;
    QPainter painter(ring ? m_fields.ring : m_fields.dot);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::white);
    if (ring) {
        painter.setPen(QPen(Qt::white, 4, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
        painter.drawEllipse(4, 4, m_fields.ring->width() - 8, m_fields.ring->height() - 8);
    } else {
        painter.setPen(Qt::NoPen);
        painter.drawEllipse(0, 0, kDotSize, kDotSize);
    }
    return true;
}

bool DragMarks::isOverlay(const QObject* object) const {
    return m_fields.overlay != nullptr && object == m_fields.overlay;
}
