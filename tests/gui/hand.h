// The operator's hand at the window: a real pointer and keyboard through the X server, fingers through the
// toolkit's own delivery from the top-level window down.
#pragma once

#include <QMap>
#include <QPoint>
#include <QSet>

#include "tests/widgets/x11_pointer.h"

class QWidget;

// Points are the screen's. Each operation returns once the event has been handed over; what it causes comes
// with the event loop. GUI thread.
class Hand {
public:
    bool available() const { return m_x11.available(); }

    void move(const QPoint& at);
    void press(int button = 1);
    void release(int button = 1);
    void click(const QPoint& at, int button = 1);
    void wheel(bool up);
    // A key by its X name, pressed and released.
    void key(const char* name);
    // The same while another key is held.
    void chord(const char* held, const char* name);

    // A finger is put on `top`, a top-level window, and belongs to it until it goes up.
    void fingerDown(int id, QWidget* top, const QPoint& at);
    void fingerMove(int id, const QPoint& at);
    void fingerUp(int id);
    // The system takes all fingers away.
    void cancelTouch();

    // Another program's pointer takes the mouse over, in the middle of a press, and gives it back.
    bool loseMouse();
    void regainMouse();
    // Another program is activated.
    void activateOther() { m_x11.takeFocus(); }

    // Takes the hand away wholly: every button, every finger.
    void lift();
    bool mouseDown() const { return !m_buttons.isEmpty(); }
    bool fingerIsDown(int id) const { return m_fingers.contains(id); }
    bool fingersDown() const { return !m_fingers.isEmpty(); }

private:
    void touch(int changed, Qt::TouchPointState state);

    struct Finger {
        QWidget* top = nullptr;
        QPoint at;
    };
    X11Pointer m_x11;
    QSet<int> m_buttons;
    QMap<int, Finger> m_fingers;
    bool m_lost = false;
};
