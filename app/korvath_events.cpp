// The event table, the application-wide filter and the timer table.
#include <QHoverEvent>
#include <QMouseEvent>
#include <QStyle>
#include <QTimerEvent>
#include <QWheelEvent>
#include <QWindow>
#include <cstdlib>
#include <type_traits>

#include "app/events/my_event.h"
#include "app/korvath_parts.h"
#include "video/stream_rules.h"
#include "video/video_surface.h"
#include "widgets/frameless_edges.h"
#include "widgets/page_wheel.h"
#include "widgets/window_drag.h"

namespace {

// Payload kinds of the event table.
struct Sent;
struct Plain;
struct Block;

template <typename Payload>
void freePayload(void* data) {
    if constexpr (std::is_same_v<Payload, Block>) {
        std::free(data);
    } else if constexpr (std::is_same_v<Payload, FrameParcel>) {
        delete static_cast<FrameParcel*>(data);
    }
}

}  // namespace

bool Korvath::event(QEvent* e) {
    if (e->type() == QEvent::HoverMove) {
        followHover(e);
    } else if (e->type() >= QEvent::User) {
        dispatchCustomEvent(e);
    }
    return QMainWindow::event(e);
}

void Korvath::followHover(QEvent* e) {
    const QPoint global = mapToGlobal(static_cast<QHoverEvent*>(e)->pos());
    const Qt::CursorShape shape = FramelessEdges::cursor(hitEdge(global));
    if (cursor().shape() != shape) {
        setCursor(shape);
    }
}

// One row of the event table: what a number carries and who takes it.
struct Korvath::EventRow {
    int number;
    bool plain;  // an event without fields: the handler gets null
    void (Korvath::*handler)(QMyEvent*);
    void (*free)(void* data);  // of an undelivered payload
};

const Korvath::EventRow* Korvath::eventRow(int number) {
#define SORVANE_EVENT_ROW(name, number, payload, handler) \
    {number, std::is_same_v<payload, Plain>, &Korvath::handler, &freePayload<payload>},
    static constexpr EventRow kRows[] = {SORVANE_EVENTS(SORVANE_EVENT_ROW)};
#undef SORVANE_EVENT_ROW
    for (const EventRow& row : kRows) {
        if (row.number == number) {
            return &row;
        }
    }
    return nullptr;
}

// Only numbers with a row are events of ours; all others go on to QMainWindow unchanged.
void Korvath::dispatchCustomEvent(QEvent* e) {
    const EventRow* row = eventRow(e->type());
    if (row == nullptr) {
        return;
    }
    auto* mine = row->plain ? nullptr : static_cast<QMyEvent*>(e);
    if (!m_draining) {
        (this->*row->handler)(mine);
    } else if (mine != nullptr && mine->data != nullptr) {
        row->free(mine->data);
        mine->data = nullptr;
    }
}

void Korvath::drainEvents() {
    m_draining = true;
#define SORVANE_EVENT_DRAIN(name, number, payload, handler) QCoreApplication::sendPostedEvents(this, number);
    SORVANE_EVENTS(SORVANE_EVENT_DRAIN)
#undef SORVANE_EVENT_DRAIN
}

void Korvath::passOn(QMyEvent* /*e*/) {}

void Korvath::onCommandButtonDown(QMyEvent* e) { m_parts->commands->pressed(e->sender); }
void Korvath::onCommandButtonUp(QMyEvent* e) { m_parts->commands->released(e->sender); }
void Korvath::onReplayStart(QMyEvent* /*e*/) {
    if (m_parts->replay != nullptr) {
        m_parts->replay->onStarted();
    }
}
void Korvath::onReplayEnd(QMyEvent* /*e*/) {
    if (m_parts->replay != nullptr) {
        m_parts->replay->onEnded();
    }
}
void Korvath::onTelemetry(QMyEvent* e) { m_parts->intake->takeRecord(*e); }
void Korvath::onLinkFrame(QMyEvent* e) { m_parts->intake->takeReply(*e); }
void Korvath::onInsFrame(QMyEvent* e) { m_parts->intake->takeInsFrame(*e); }
void Korvath::onNavBlock(QMyEvent* e) { m_parts->intake->takeNavBlock(*e); }
// The type is read at each picture and holds for every channel.
void Korvath::onVideoFrame(QMyEvent* e) {
    m_parts->presenter->take(*e, m_parts->streams->streamType() == sorvane::kStreamUdp422);
}

// Sees every event of the process: each branch compares the type or the pointer first and does nothing for a
// miss.
bool Korvath::eventFilter(QObject* obj, QEvent* e) {
    switch (e->type()) {
        case QEvent::Paint:
            if (m_parts->marks->paint(obj)) {
                return true;
            }
            break;
        case QEvent::Expose:
            if (obj == windowHandle() && windowHandle()->isExposed() && m_parts->panes->showOnce()) {
                placePanes();
            }
            break;
        case QEvent::Resize:
            filterResize(obj);
            break;
        case QEvent::MouseButtonPress:
            filterMousePress(obj, e);
            break;
        case QEvent::Wheel:
            if (m_parts->marks->isOverlay(obj)) {
                setZoom(1, static_cast<QWheelEvent*>(e)->angleDelta().y() > 0 ? 1 : 2);
            } else if (passWheelOn(obj, e)) {
                return true;
            }
            break;
        default:
            break;
    }
    return QObject::eventFilter(obj, e);
}

void Korvath::filterResize(QObject* obj) {
    if (obj == m_parts->form.picture_area) {
        m_parts->marks->place(*m_parts->form.picture_area);
    } else if (obj == ui->centralWidget && isVisible()) {
        // Bars that come or go change the space for the panes without a resize of the window.
        placePanes();
    } else if (obj == m_parts->form.map_page || obj == m_parts->form.map_strip) {
        m_parts->maps->resized(obj);
    } else if (obj == ui->videoWin1 || obj == ui->videoWin2) {
        m_parts->presenter->resizeSurface(static_cast<QWidget*>(obj));
    }
}

void Korvath::filterMousePress(QObject* obj, QEvent* e) {
    auto* mouse = static_cast<QMouseEvent*>(e);
    if (obj == m_parts->form.rate) {
        if (mouse->button() == Qt::LeftButton) {
            QSlider* slider = m_parts->form.rate;
            slider->setValue(QStyle::sliderValueFromPosition(slider->minimum(), slider->maximum(), mouse->x(),
                                                             slider->width(), false));
        }
    } else if (obj == ui->title) {
        startWindowDrag(ui->title);
        e->ignore();
    }
}

// One row of the timer table, in the order in which the ids are compared; a handler says whether the timer
// was its own.
struct Korvath::TimerRow {
    int Korvath::*id;
    bool (Korvath::*handler)();
};

void Korvath::timerEvent(QTimerEvent* e) {
    static constexpr TimerRow kRows[] = {
        {&Korvath::m_recSplitTimer, &Korvath::onRecSplitTimer},
        {&Korvath::m_frameTimer, &Korvath::onFrameTimer},
        {&Korvath::m_tickTimer, &Korvath::onTick},
        {&Korvath::m_periodTimer, &Korvath::onPeriodTick},
        {&Korvath::m_navTimer, &Korvath::onNavTick},
        {&Korvath::m_telemFileTimer, &Korvath::onTelemFileTimer},
        {&Korvath::m_stopTimer, &Korvath::onStopTimer},
        {&Korvath::m_blinkTimer, &Korvath::onBlinkTimer},
        {&Korvath::m_paneTimer, &Korvath::onPaneTimer},
        {&Korvath::m_videoCheckTimer, &Korvath::onVideoCheckTimer},
    };
    const int id = e->timerId();
    for (const TimerRow& row : kRows) {
        if (this->*row.id == id && (this->*row.handler)()) {
            return;
        }
    }
    if (!m_parts->commands->onZoomTimer(id)) {
        QMainWindow::timerEvent(e);
    }
}

bool Korvath::onRecSplitTimer() {
    m_parts->recorder->onSplitTimer();
    return true;
}
bool Korvath::onBlinkTimer() {
    m_parts->recorder->onBlinkTimer();
    return true;
}
bool Korvath::onFrameTimer() {
    m_parts->presenter->onFrameTimer();
    return true;
}
bool Korvath::onTick() {
    m_parts->panes->placeToggles();
    m_parts->maps->placeStripToggle();
    if (m_parts->link != nullptr) {
        m_parts->link->showSendTrouble();
        m_parts->pulse->look();
        m_parts->status_pages->showAge();
        m_parts->stick->tick();
    }
    return true;
}
bool Korvath::onPeriodTick() { return m_parts->sender->onPeriodTick(); }
bool Korvath::onNavTick() { return m_parts->sender->onNavTick(); }
bool Korvath::onTelemFileTimer() {
    m_parts->telemetry_log->onRotationTimer();
    return true;
}
bool Korvath::onStopTimer() {
    m_parts->commands->onStopTimer();
    return true;
}
bool Korvath::onPaneTimer() {
    m_parts->panes->onPaneTimer();
    return true;
}
bool Korvath::onVideoCheckTimer() {
    m_parts->channel1->onCheck();
    return true;
}

// --- the frameless window ---

int Korvath::hitEdge(const QPoint& global) const { return FramelessEdges::hit(global, geometry()); }

bool Korvath::edgeGesture(const QPoint& global) const {
    return m_hitEdge != 0 && (m_edgeMoved || FramelessEdges::isDrag(global - m_pressPos));
}

void Korvath::mousePressEvent(QMouseEvent* e) {
    QMainWindow::mousePressEvent(e);
    if (e->button() == Qt::LeftButton) {
        m_pressPos = e->globalPos();
        m_hitEdge = hitEdge(m_pressPos);
        m_pressGeometry = geometry();
        m_edgeMoved = false;
    }
}

void Korvath::mouseMoveEvent(QMouseEvent* e) {
    QMainWindow::mouseMoveEvent(e);
    if ((e->buttons() & Qt::LeftButton) == 0 || FramelessEdges::cursor(m_hitEdge) == Qt::ArrowCursor) {
        return;
    }
    const QPoint offset = e->globalPos() - m_pressPos;
    const QRect moved = FramelessEdges::moved(m_pressGeometry, m_hitEdge, offset);
    m_edgeMoved = m_edgeMoved || FramelessEdges::isDrag(offset) || moved != geometry();
    // The height is not tested, by design.
    if (moved.width() > minimumWidth()) {
        setGeometry(moved);
    }
}

void Korvath::mouseReleaseEvent(QMouseEvent* e) {
    QMainWindow::mouseReleaseEvent(e);
    m_hitEdge = 0;
}

// Full screen hides everything around the picture; leaving it brings it back.
void Korvath::setFrameVisible(bool visible) {
    for (QWidget* bar : {static_cast<QWidget*>(ui->mainToolBar), static_cast<QWidget*>(ui->toolBar_2),
                         static_cast<QWidget*>(ui->statusBar), static_cast<QWidget*>(ui->title)}) {
        bar->setVisible(visible);
    }
}

void Korvath::keyPressEvent(QKeyEvent* e) {
    QMainWindow::keyPressEvent(e);
    if (e->key() == Qt::Key_F8 && !isFullScreen()) {
        setFrameVisible(false);
        showFullScreen();
    } else if (e->key() == Qt::Key_Escape && isFullScreen()) {
        showMaximized();
        setFrameVisible(true);
        m_parts->panes->placeReplayPanel();
    }
}

void Korvath::resizeEvent(QResizeEvent* e) {
    QMainWindow::resizeEvent(e);
    qDebug("main frame resize.\n");
    if (isVisible()) {
        placePanes();
    }
}

void Korvath::moveEvent(QMoveEvent* e) {
    QMainWindow::moveEvent(e);
    if (isVisible()) {
        placePanes();
    }
}

void Korvath::showEvent(QShowEvent* e) {
    QMainWindow::showEvent(e);
    if (m_dragOverlay == nullptr) {
        firstShow();
    }
}
