#include "video/qmyvideowidget.h"

#include <QDebug>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include "video/picture_geometry.h"
#include "video/picture_owner.h"

namespace {

constexpr int kNoSignalPoints = 36;
const QColor kNoSignalColour(150, 150, 150, 255);

QPoint truncated(const QPointF& point) { return {static_cast<int>(point.x()), static_cast<int>(point.y())}; }

}  // namespace

QMyVideoWidget::QMyVideoWidget(QWidget* parent)
    : QLabel(parent), font(QStringLiteral("Microsoft Yahei"), kNoSignalPoints) {
    // A native window of its own for SDL, without making every ancestor native too.
    setAttribute(Qt::WA_DontCreateNativeAncestors);
    setAttribute(Qt::WA_NativeWindow);
    setAttribute(Qt::WA_NoSystemBackground);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

QMyVideoWidget::~QMyVideoWidget() = default;

void QMyVideoWidget::setOwner(PictureOwner* picture_owner) {
    owner = picture_owner;
    window_id = objectName() == QLatin1String("videoWin2") ? 2 : 1;
}

bool QMyVideoWidget::streamOpen() const { return owner != nullptr && owner->noSignalTest(window_id); }

void QMyVideoWidget::streamStateChanged() {
    setAttribute(Qt::WA_PaintOnScreen, streamOpen() || m_replaying);
    update();
}

void QMyVideoWidget::setReplaying(bool on) {
    m_replaying = on;
    streamStateChanged();
}

// Null keeps Qt's backing store off the window, so that the last picture stays when pictures stop coming.
QPaintEngine* QMyVideoWidget::paintEngine() const {
    return testAttribute(Qt::WA_PaintOnScreen) ? nullptr : QLabel::paintEngine();
}

void QMyVideoWidget::paintEvent(QPaintEvent* /*e*/) {
    if (streamOpen() || m_replaying) {
        emit pictureWanted();
        return;
    }
    emit pictureGone();
    const QString text = QStringLiteral("No Signal");
    const QSize size = QFontMetrics(font, this).boundingRect(text).size();
    QPainter painter(this);
    painter.fillRect(rect(), Qt::black);
    painter.setFont(font);
    painter.setPen(kNoSignalColour);
    // The corner of the centred box serves as the base line's start, so the text sits above the centre;
    // meant.
    painter.drawText((geometry().width() - size.width()) / 2, (geometry().height() - size.height()) / 2,
                     text);
}

void QMyVideoWidget::moveEvent(QMoveEvent* e) {
    QLabel::moveEvent(e);
    if (owner != nullptr) {
        owner->placeTips();
    }
}

void QMyVideoWidget::wheelEvent(QWheelEvent* e) {
    e->accept();
    if (owner != nullptr) {
        owner->setZoom(window_id, e->angleDelta().y() >= 1 ? 1 : 2);
    }
}

void QMyVideoWidget::mouseMoveEvent(QMouseEvent* e) {
    const bool held = (e->buttons() & Qt::LeftButton) != 0;
    // A drag whose release went elsewhere must not run on.
    if (!held) {
        endDrag();
    }
    if (held && !m_holdCut && owner != nullptr && !owner->edgeResizing()) {
        dragTo(e->pos());
    }
    QLabel::mouseMoveEvent(e);
}

void QMyVideoWidget::dragTo(const QPoint& pos) {
    const sorvane::DragStep step = m_drag.move({pos.x(), pos.y()}, width(), height());
    if (step.kind == sorvane::DragStep::kStarted) {
        m_dragWatch.begin(Qt::LeftButton);
        owner->beginSlew(window_id);
        owner->showDragRing(mapToGlobal(QPoint(m_drag.start_pos.x, m_drag.start_pos.y)));
    } else if (step.kind == sorvane::DragStep::kRate) {
        owner->showDragDot(mapToGlobal(pos));
        owner->slew(step.rate_x, step.rate_y);
    }
}

void QMyVideoWidget::mouseReleaseEvent(QMouseEvent* e) {
    const QPoint pos = truncated(e->localPos());
    // Of a gesture that was cut nothing is left: neither the release of its button nor what is clicked before
    // that.
    const bool left = e->button() == Qt::LeftButton;
    const bool was_cut = m_holdCut && (left || (e->buttons() & Qt::LeftButton) != 0);
    if (left) {
        m_holdCut = false;
    } else if (e->button() == Qt::MiddleButton) {
        endMiddle();
    }
    if (m_drag.dragging) {
        qDebug() << " drag start: " << QPoint(m_drag.start_pos.x, m_drag.start_pos.y)
                 << ", drag end: " << pos;
        endDrag();
        m_holdCut = false;
    } else {
        m_drag.release();
        if (!was_cut && owner != nullptr && window_id == 1) {
            if (left && !owner->edgeGesture(e->globalPos())) {
                clickAt(pos);
            } else if (e->button() == Qt::RightButton) {
                qDebug("mouseReleaseEvent");
                owner->stopTracking();
            }
        }
    }
    // On to the window, which forgets the edge that a resize has held.
    QLabel::mouseReleaseEvent(e);
}

void QMyVideoWidget::clickAt(const QPoint& pos) {
    const QSize size =
        m_pictureSize.isValid() ? m_pictureSize : QSize(owner->frameWidth(), owner->frameHeight());
    const sorvane::ImagePoint point =
        sorvane::widgetToImage(pos.x(), pos.y(), size.width(), size.height(), width(), height());
    qDebug("Point select trace, pt1 x: %d, y: %d", point.x, point.y);
    if (!point.inside()) {
        return;
    }
    owner->trackPoint(static_cast<std::int16_t>(point.x), static_cast<std::int16_t>(point.y));
}

void QMyVideoWidget::endHold() {
    endDrag();
    endMiddle();
}

void QMyVideoWidget::endDrag() {
    if (!m_drag.release()) {
        return;
    }
    // The button may still be down: it takes a new press to drag again.
    m_holdCut = true;
    m_dragWatch.end();
    if (owner == nullptr) {
        return;
    }
    owner->stopSlew(window_id);
    owner->hideDragMarks();
}

void QMyVideoWidget::endMiddle() {
    if (!m_middleHeld) {
        return;
    }
    m_middleHeld = false;
    m_middleWatch.end();
    if (owner != nullptr) {
        owner->middleReleased();
    }
}

void QMyVideoWidget::pressed(Qt::MouseButton button) {
    if (button == Qt::LeftButton) {
        // Whatever an earlier press left behind, its release was lost.
        endDrag();
        m_holdCut = false;
    } else if (button == Qt::MiddleButton && owner != nullptr && window_id == 1) {
        endMiddle();
        m_middleHeld = true;
        m_middleWatch.begin(Qt::MiddleButton);
        owner->middlePressed();
    }
}

bool QMyVideoWidget::event(QEvent* e) {
    switch (e->type()) {
        case QEvent::MouseButtonPress:
            pressed(static_cast<QMouseEvent*>(e)->button());
            break;
        case QEvent::MouseButtonDblClick:
            if (static_cast<QMouseEvent*>(e)->button() == Qt::LeftButton) {
                pressed(Qt::LeftButton);
            }
            break;
        case QEvent::WinIdChange:
            emit nativeWindowChanged();
            break;
        default:
            break;
    }
    return QLabel::event(e);
}
