#include "map/globe_hand.h"

#include <QMouseEvent>
#include <QTouchEvent>
#include <QWidget>
#include <utility>

namespace {

// To the parents, and past the globe.
bool passOn(QEvent& e) {
    e.ignore();
    return true;
}

}  // namespace

GlobeHand::GlobeHand(QWidget& surface, Actions actions)
    : m_actions(std::move(actions)), m_watch(surface, [this] { m_actions.lost(); }) {
    surface.installEventFilter(this);
}

bool GlobeHand::letGo() {
    const bool held = m_watch.active();
    m_watch.end();
    return held;
}

bool GlobeHand::eventFilter(QObject* object, QEvent* e) {
    switch (e->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonDblClick:
            return pressed(static_cast<QMouseEvent&>(*e));
        case QEvent::MouseMove:
            // A release that went elsewhere.
            m_onEdge = m_onEdge && (static_cast<QMouseEvent*>(e)->buttons() & Qt::LeftButton) != 0;
            return m_onEdge && passOn(*e);
        case QEvent::MouseButtonRelease:
            return released(static_cast<QMouseEvent&>(*e));
        case QEvent::TouchBegin:
        case QEvent::TouchUpdate:
        case QEvent::TouchEnd:
            return touched(static_cast<QTouchEvent&>(*e));
        default:
            return QObject::eventFilter(object, e);
    }
}

bool GlobeHand::pressed(QMouseEvent& e) {
    if (e.button() == Qt::LeftButton) {
        m_onEdge = m_actions.on_window_edge(e.globalPos());
        if (!m_onEdge) {
            m_watch.begin(Qt::LeftButton);
        }
    }
    if (m_onEdge) {
        return passOn(e);
    }
    m_actions.urgent();
    return false;
}

bool GlobeHand::released(QMouseEvent& e) {
    const bool was_on_edge = m_onEdge;
    if (e.button() == Qt::LeftButton) {
        m_onEdge = false;
        m_watch.end();
    }
    if (was_on_edge) {
        return passOn(e);
    }
    m_actions.urgent();
    return false;
}

// A finger that nobody takes plays the mouse, as the window's edges expect it.
bool GlobeHand::touched(QTouchEvent& e) {
    if (e.type() == QEvent::TouchBegin) {
        if (m_actions.on_window_edge(e.touchPoints().first().screenPos().toPoint())) {
            return passOn(e);
        }
        m_watch.begin(Qt::NoButton);
    } else if (e.type() == QEvent::TouchEnd) {
        m_watch.end();
    }
    if (e.type() != QEvent::TouchUpdate || (e.touchPointStates() & Qt::TouchPointReleased) != 0) {
        m_actions.urgent();
    }
    return false;
}
