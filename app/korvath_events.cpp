// The event table, the application-wide filter and the timer table.
#include <QAction>
#include <QHoverEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QStyle>
#include <QTimerEvent>
#include <QWheelEvent>
#include <QWindow>
#include <cstdlib>
#include <type_traits>

#include "app/config/my_app_config.h"
#include "app/korvath.h"
#include "link/command_catalogue.h"
#include "settings/player_settings_dlg.h"
#include "ui_korvath.h"
#include "widgets/my_trans_dlg.h"
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

Qt::CursorShape edgeCursor(int edges) {
    switch (edges) {
        case 1:
        case 8:
            return Qt::SizeVerCursor;
        case 2:
        case 4:
            return Qt::SizeHorCursor;
        case 3:
        case 12:
            return Qt::SizeFDiagCursor;
        case 5:
        case 10:
            return Qt::SizeBDiagCursor;
        default:
            return Qt::ArrowCursor;
    }
}

}  // namespace

bool Korvath::event(QEvent* e) {
    if (e->type() == QEvent::HoverMove) {
        followHover(e);
    } else if (e->type() == QEvent::WindowStateChange) {
        showMaximiseIcon();
    } else if (e->type() >= QEvent::User) {
        dispatchCustomEvent(e);
    }
    return QMainWindow::event(e);
}

void Korvath::followHover(QEvent* e) {
    const QPoint global = mapToGlobal(static_cast<QHoverEvent*>(e)->pos());
    const Qt::CursorShape shape = edgeCursor(hitEdge(global));
    if (cursor().shape() != shape) {
        setCursor(shape);
    }
}

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

void Korvath::onCommandButtonDown(QMyEvent* e) {
    dispatchCommand(e->sender);
}

void Korvath::onCommandButtonUp(QMyEvent* /*e*/) {
    stopCommand(0);
}

// Sees every event of the process: each branch compares the type or the pointer first and does nothing for a
// miss.
bool Korvath::eventFilter(QObject* obj, QEvent* e) {
    switch (e->type()) {
        case QEvent::Paint:
            if (paintDragMark(obj)) {
                return true;
            }
            break;
        case QEvent::Expose:
            if (!m_panesShown && obj == windowHandle() && windowHandle()->isExposed()) {
                showPanes();
            }
            break;
        case QEvent::Resize:
            filterResize(obj);
            break;
        case QEvent::MouseButtonPress:
            filterMousePress(obj, e);
            break;
        case QEvent::MouseButtonRelease:
            if (obj == ui->videoWin1 && static_cast<QMouseEvent*>(e)->button() == Qt::MiddleButton) {
                stopCommand(0);
            }
            break;
        case QEvent::Wheel:
            if (obj == m_dragOverlay && m_dragOverlay != nullptr) {
                setZoom(1, static_cast<QWheelEvent*>(e)->angleDelta().y() > 0 ? 1 : 2);
            }
            break;
        default:
            break;
    }
    return QObject::eventFilter(obj, e);
}

bool Korvath::paintDragMark(QObject* obj) {
    if (m_dragRing != nullptr && obj == m_dragRing) {
        QPainter painter(m_dragRing);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(Qt::white, 4, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
        painter.setBrush(Qt::white);
        painter.drawEllipse(4, 4, m_dragRing->width() - 8, m_dragRing->height() - 8);
        return true;
    }
    if (m_dragDot != nullptr && obj == m_dragDot) {
        QPainter painter(m_dragDot);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::white);
        painter.drawEllipse(0, 0, 24, 24);
        return true;
    }
    return false;
}

void Korvath::filterResize(QObject* obj) {
    if (obj == ui->widget_6) {
        placeDragOverlay();
    } else if (obj == ui->centralWidget && isVisible()) {
        // Bars that come or go change the space for the panes without a resize of the window.
        placePanes();
    } else if (obj == ui->videoWin1 || obj == ui->videoWin2) {
        resizeSurface(static_cast<QWidget*>(obj));
    }
}

void Korvath::filterMousePress(QObject* obj, QEvent* e) {
    auto* mouse = static_cast<QMouseEvent*>(e);
    if (obj == ui->horizontalSlider) {
        if (mouse->button() == Qt::LeftButton) {
            QSlider* slider = ui->horizontalSlider;
            slider->setValue(QStyle::sliderValueFromPosition(slider->minimum(), slider->maximum(), mouse->x(),
                                                             slider->width(), false));
        }
    } else if (obj == ui->videoWin1) {
        if (mouse->button() == Qt::MiddleButton) {
            sendCommand4(sorvane::CMD_VIDEO_SWITCH, 0, 0, 0, 0);
        }
    } else if (obj == ui->title) {
        startWindowDrag(ui->title);
        e->ignore();
    }
}

void Korvath::timerEvent(QTimerEvent* e) {
    const int id = e->timerId();
    if (id == m_frameTimer) {
        onFrameTimer();
    } else if (id == m_turnTimer) {
        onTurnTimer();
    } else if (id == m_tickTimer) {
        tick();
    } else if (id == m_periodTimer && !m_linkTimersStale) {
        onPeriodTick();
    } else if (id == m_navTimer && !m_linkTimersStale) {
        onNavTick();
    } else if (id == m_stopTimer) {
        onStopTimer();
    } else if (id == m_paneTimer) {
        placePaneToggles();
        if (m_stateTab->y() != 0) {
            killTimer(m_paneTimer);
            m_paneTimer = 0;
        }
    } else if (id == m_videoCheckTimer) {
        onVideoCheckTimer();
    } else if (!onZoomTimer(id)) {
        QMainWindow::timerEvent(e);
    }
}

void Korvath::tick() {
    if (m_ctrlPane != nullptr) {
        placePaneToggles();
    }
}
