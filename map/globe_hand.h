// The operator's hand on a globe, as the toolkit sees it, ahead of the view's own queue of events.
#pragma once

#include <QObject>
#include <functional>

#include "widgets/hold_watch.h"

class QMouseEvent;
class QTouchEvent;
class QWidget;

// Filters the events of the widget that a globe draws into. A gesture on an edge of the window goes on to the
// window and never reaches the globe. GUI thread.
class GlobeHand : public QObject {
public:
    struct Actions {
        // A button or a finger went down or up: the globe is not to wait for its turn.
        std::function<void()> urgent;
        // The left button is held no more although the globe sees no release; see widgets/hold_watch.h.
        std::function<void()> lost;
        std::function<bool(const QPoint& global)> on_window_edge;
    };
    // `surface` outlives it.
    GlobeHand(QWidget& surface, Actions actions);

    // The hold is ended from elsewhere; true if there was one.
    bool letGo();

protected:
    bool eventFilter(QObject* object, QEvent* e) override;

private:
    bool pressed(QMouseEvent& e);
    bool released(QMouseEvent& e);
    bool touched(QTouchEvent& e);

    Actions m_actions;
    HoldWatch m_watch;
    bool m_onEdge = false;
};
