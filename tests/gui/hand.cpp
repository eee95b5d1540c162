#include "hand.h"

#include <xcb/xcb.h>

#include <QTest>
#include <QTouchDevice>
#include <QWidget>
#include <QWindow>
#include <QX11Info>
#include <cstdlib>

// Where a platform tells the toolkit of touches. The header with it is not for programs, and the toolkit's
// test library has no operation for the end of all touches.
class QWindowSystemInterface {
public:
    struct SynchronousDelivery {};
    template <typename Delivery>
    static bool handleTouchCancelEvent(QWindow* window, QTouchDevice* device,
                                       Qt::KeyboardModifiers modifiers);
};

namespace {

QTouchDevice* screen() {
    static QTouchDevice* device = QTest::createTouchDevice();
    return device;
}

}  // namespace

void Hand::move(const QPoint& at) { m_x11.moveTo(at.x(), at.y()); }

void Hand::press(int button) {
    m_buttons.insert(button);
    m_x11.press(button);
}

void Hand::release(int button) {
    if (m_buttons.remove(button)) {
        m_x11.release(button);
    }
}

void Hand::click(const QPoint& at, int button) {
    move(at);
    press(button);
    release(button);
}

void Hand::wheel(bool up) {
    const int button = up ? 4 : 5;
    m_x11.press(button);
    m_x11.release(button);
}

void Hand::key(const char* name) {
    if (!m_x11.keyPress(name) || !m_x11.keyRelease(name)) {
        qFatal("no key '%s'", name);
    }
}

void Hand::chord(const char* held, const char* name) {
    if (!m_x11.keyPress(held)) {
        qFatal("no key '%s'", held);
    }
    key(name);
    m_x11.keyRelease(held);
}

// All fingers of a window travel in one event; those that did not change are stationary.
void Hand::touch(int changed, Qt::TouchPointState state) {
    QWidget* const top = m_fingers.value(changed).top;
    auto sequence = QTest::touchEvent(top, screen(), false);
    for (auto it = m_fingers.cbegin(); it != m_fingers.cend(); ++it) {
        if (it->top != top) {
            continue;
        }
        const QPoint at = top->mapFromGlobal(it->at);
        if (it.key() != changed) {
            sequence.move(it.key(), at, top).stationary(it.key());
        } else if (state == Qt::TouchPointPressed) {
            sequence.press(changed, at, top);
        } else if (state == Qt::TouchPointMoved) {
            sequence.move(changed, at, top);
        } else {
            sequence.release(changed, at, top);
        }
    }
    sequence.commit(false);
}

void Hand::fingerDown(int id, QWidget* top, const QPoint& at) {
    m_fingers.insert(id, {top, at});
    touch(id, Qt::TouchPointPressed);
}

void Hand::fingerMove(int id, const QPoint& at) {
    if (m_fingers.contains(id)) {
        m_fingers[id].at = at;
        touch(id, Qt::TouchPointMoved);
    }
}

void Hand::fingerUp(int id) {
    if (m_fingers.contains(id)) {
        touch(id, Qt::TouchPointReleased);
        m_fingers.remove(id);
    }
}

void Hand::cancelTouch() {
    if (m_fingers.isEmpty()) {
        return;
    }
    QWindow* const window = m_fingers.first().top->windowHandle();
    m_fingers.clear();
    QWindowSystemInterface::handleTouchCancelEvent<QWindowSystemInterface::SynchronousDelivery>(
        window, screen(), Qt::NoModifier);
}

// The toolkit's connection lets go of the grab that each press brings, and the other one takes it.
bool Hand::loseMouse() {
    xcb_connection_t* const own = QX11Info::connection();
    xcb_ungrab_pointer(own, XCB_CURRENT_TIME);
    std::free(xcb_get_input_focus_reply(own, xcb_get_input_focus(own), nullptr));
    m_lost = m_x11.takeGrab();
    return m_lost;
}

void Hand::regainMouse() {
    if (m_lost) {
        m_x11.dropGrab();
        m_lost = false;
    }
}

void Hand::lift() {
    const auto buttons = m_buttons;
    for (const int button : buttons) {
        release(button);
    }
    const auto fingers = m_fingers.keys();
    for (const int finger : fingers) {
        fingerUp(finger);
    }
    regainMouse();
}
