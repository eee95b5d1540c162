// Watches the whole application while the operator holds a control, and tells when the hold is over although
// the control itself sees no release.
#pragma once

#include <QObject>
#include <QTimer>
#include <functional>

class QEvent;
class QMouseEvent;
class QWidget;

// A hold is over when the control can no longer be sure of the hand: a popup opens (it takes the mouse and
// the fingers), the release goes to another widget, the pointer moves or presses again without the button,
// the program is no longer the active one, the control's window is minimised or closed, the control is
// hidden, disabled or blocked by a modal dialog. A release that only another program hears is seen by asking
// the system for the button, 20 times a second while it is held. GUI thread.
class HoldWatch : public QObject {
public:
    // `over` is called once a hold, after the watch has come to rest. `held` outlives the watch.
    HoldWatch(QWidget& held, std::function<void()> over);
    ~HoldWatch() override;

    // A hold begins, by that button of the mouse or, with Qt::NoButton, by a finger.
    void begin(Qt::MouseButton button);
    // It has ended in the control's own sight.
    void end();
    bool active() const { return m_active; }

protected:
    bool eventFilter(QObject* object, QEvent* e) override;

private:
    void takeAway();
    void askForButton();
    bool endsHold(QObject* object, QEvent* e) const;
    bool endsForWidget(const QWidget& widget, const QEvent& e) const;
    bool mouseLost(const QObject* object, const QMouseEvent& e) const;

    QWidget& m_held;
    const std::function<void()> m_over;
    Qt::MouseButton m_button = Qt::NoButton;
    bool m_active = false;
    QTimer m_ask;
    int m_upAnswers = 0;  // in a row
};
