#include "widgets/hold_watch.h"

#include <QApplication>
#include <QMouseEvent>
#include <QWidget>
#include <utility>

HoldWatch::HoldWatch(QWidget& held, std::function<void()> over) : m_held(held), m_over(std::move(over)) {
    connect(qApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (m_active && state != Qt::ApplicationActive) {
            takeAway();
        }
    });
}

HoldWatch::~HoldWatch() { end(); }

void HoldWatch::begin(Qt::MouseButton button) {
    m_button = button;
    if (!m_active) {
        m_active = true;
        qApp->installEventFilter(this);
    }
}

void HoldWatch::end() {
    if (m_active) {
        m_active = false;
        qApp->removeEventFilter(this);
    }
}

void HoldWatch::takeAway() {
    end();
    m_over();
}

bool HoldWatch::eventFilter(QObject* object, QEvent* e) {
    if (m_active && endsHold(object, e)) {
        takeAway();
    }
    return QObject::eventFilter(object, e);
}

bool HoldWatch::endsHold(QObject* object, QEvent* e) const {
    switch (e->type()) {
        case QEvent::MouseMove:
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonDblClick:
        case QEvent::MouseButtonRelease:
            return object != &m_held && mouseLost(object, *static_cast<QMouseEvent*>(e));
        case QEvent::TouchCancel:
            // Also of a finger that plays the mouse: no release is made of it then.
            return true;
        case QEvent::Show:
        case QEvent::Hide:
        case QEvent::Close:
        case QEvent::EnabledChange:
        case QEvent::WindowBlocked:
        case QEvent::WindowStateChange:
            return object->isWidgetType() && endsForWidget(*static_cast<QWidget*>(object), *e);
        default:
            return false;
    }
}

bool HoldWatch::endsForWidget(const QWidget& widget, const QEvent& e) const {
    switch (e.type()) {
        case QEvent::Show:
            return widget.windowType() == Qt::Popup;
        case QEvent::Close:
            return &widget == m_held.window();
        case QEvent::WindowStateChange:
            return &widget == m_held.window() && widget.isMinimized();
        case QEvent::EnabledChange:
            return &widget == &m_held && !widget.isEnabled();
        default:
            return &widget == &m_held;
    }
}

// The window objects below the widgets see a mouse event first, also one that then goes to a popup or
// nowhere. The release is left to the widgets, since the control's own comes by its window too; a press to
// the windows, since a widget hands the control's own on to its parents.
bool HoldWatch::mouseLost(const QObject* object, const QMouseEvent& e) const {
    if (m_button == Qt::NoButton) {
        return false;
    }
    switch (e.type()) {
        case QEvent::MouseButtonRelease:
            return object->isWidgetType() && e.button() == m_button;
        case QEvent::MouseMove:
            return (e.buttons() & m_button) == 0;
        default:
            return object->isWindowType() && e.button() == m_button;
    }
}
