// Event filters for one window's test.
#pragma once

#include <QEvent>
#include <QObject>

// Counts the presses that reach a window.
class PressWatch : public QObject {
public:
    bool eventFilter(QObject* /*window*/, QEvent* e) override {
        presses += e->type() == QEvent::MouseButtonPress ? 1 : 0;
        return false;
    }

    int presses = 0;
};

// Keeps a timer from its owner.
class HeldTimer : public QObject {
public:
    HeldTimer(QObject& owner, int id) : m_id(id) { owner.installEventFilter(this); }
    bool eventFilter(QObject* /*owner*/, QEvent* e) override {
        return e->type() == QEvent::Timer && static_cast<QTimerEvent*>(e)->timerId() == m_id;
    }

private:
    const int m_id;
};
