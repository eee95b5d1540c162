#include "widgets/hold_watch.h"

#include <QApplication>
#include <QMouseEvent>
#include <QWidget>
#include <utility>

#include "platform/mouse_buttons.h"
#include "widgets/input_connection.h"

namespace {

constexpr int kAskMs = 50;
// The release itself is under way to the control for a moment after the button is up.
constexpr int kUpAnswersThatCount = 2;

std::optional<bool> isDown(Qt::MouseButton button) {
    const std::optional<void*> connection = inputConnection();
    if (!connection) {
        return std::nullopt;
    }
    switch (button) {
        case Qt::LeftButton:
            return platform::isButtonDown(*connection, platform::MouseButton::kLeft);
        case Qt::MiddleButton:
            return platform::isButtonDown(*connection, platform::MouseButton::kMiddle);
        case Qt::RightButton:
            return platform::isButtonDown(*connection, platform::MouseButton::kRight);
        default:
            return std::nullopt;
    }
}

}  // namespace

HoldWatch::HoldWatch(QWidget& held, std::function<void()> over) : m_held(held), m_over(std::move(over)) {
    m_ask.setInterval(kAskMs);
    connect(&m_ask, &QTimer::timeout, this, &HoldWatch::askForButton);
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
    // A press that the toolkit makes of a finger leaves the mouse's own button up: nothing to ask for then.
    m_upAnswers = 0;
    if (isDown(button).value_or(false)) {
        m_ask.start();
    } else {
        m_ask.stop();
    }
}

void HoldWatch::end() {
    if (m_active) {
        m_active = false;
        m_ask.stop();
        qApp->removeEventFilter(this);
    }
}

void HoldWatch::askForButton() {
    m_upAnswers = isDown(m_button).value_or(true) ? 0 : m_upAnswers + 1;
    if (m_upAnswers >= kUpAnswersThatCount) {
        takeAway();
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
