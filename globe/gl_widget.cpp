#include "globe/gl_widget.h"

#include <QKeyEvent>
#include <QOpenGLContext>
#include <QTouchEvent>
#include <QWindow>
#include <algorithm>
#include <cmath>
#include <iterator>

#include "globe/graphics_window_qt.h"

namespace globe {
namespace {

using osgGA::GUIEventAdapter;

// The scene graph's number of a button; 0 for those that it does not know.
unsigned numberOf(Qt::MouseButton button) {
    switch (button) {
        case Qt::LeftButton:
            return 1;
        case Qt::MiddleButton:
            return 2;
        case Qt::RightButton:
            return 3;
        default:
            return 0;
    }
}

unsigned maskOf(Qt::MouseButtons buttons) {
    unsigned mask = 0;
    mask |= (buttons & Qt::LeftButton) != 0 ? GUIEventAdapter::LEFT_MOUSE_BUTTON : 0;
    mask |= (buttons & Qt::MiddleButton) != 0 ? GUIEventAdapter::MIDDLE_MOUSE_BUTTON : 0;
    mask |= (buttons & Qt::RightButton) != 0 ? GUIEventAdapter::RIGHT_MOUSE_BUTTON : 0;
    return mask;
}

struct KeyRow {
    int qt;
    int osg;
};
constexpr KeyRow kKeys[] = {
    {Qt::Key_Escape, GUIEventAdapter::KEY_Escape},       {Qt::Key_Tab, GUIEventAdapter::KEY_Tab},
    {Qt::Key_Backspace, GUIEventAdapter::KEY_BackSpace}, {Qt::Key_Return, GUIEventAdapter::KEY_Return},
    {Qt::Key_Enter, GUIEventAdapter::KEY_KP_Enter},      {Qt::Key_Insert, GUIEventAdapter::KEY_Insert},
    {Qt::Key_Delete, GUIEventAdapter::KEY_Delete},       {Qt::Key_Pause, GUIEventAdapter::KEY_Pause},
    {Qt::Key_Home, GUIEventAdapter::KEY_Home},           {Qt::Key_End, GUIEventAdapter::KEY_End},
    {Qt::Key_Left, GUIEventAdapter::KEY_Left},           {Qt::Key_Up, GUIEventAdapter::KEY_Up},
    {Qt::Key_Right, GUIEventAdapter::KEY_Right},         {Qt::Key_Down, GUIEventAdapter::KEY_Down},
    {Qt::Key_PageUp, GUIEventAdapter::KEY_Page_Up},      {Qt::Key_PageDown, GUIEventAdapter::KEY_Page_Down},
    {Qt::Key_Shift, GUIEventAdapter::KEY_Shift_L},       {Qt::Key_Control, GUIEventAdapter::KEY_Control_L},
    {Qt::Key_Alt, GUIEventAdapter::KEY_Alt_L},
};

int keyOf(const QKeyEvent& event) {
    for (const KeyRow& row : kKeys) {
        if (row.qt == event.key()) {
            return row.osg;
        }
    }
    if (event.key() >= Qt::Key_F1 && event.key() <= Qt::Key_F14) {
        return GUIEventAdapter::KEY_F1 + (event.key() - Qt::Key_F1);
    }
    if (event.key() >= Qt::Key_A && event.key() <= Qt::Key_Z && event.text().isEmpty()) {
        return GUIEventAdapter::KEY_A + (event.key() - Qt::Key_A);
    }
    return event.text().isEmpty() ? event.key() : event.text().at(0).unicode();
}

// A place that the pointer has passed by the time of the frame is worth no work: the way there has the same
// end.
void dropPassedMove(osgGA::EventQueue& queue) {
    const auto& now = *queue.getCurrentEventState();
    osgGA::EventQueue::Events waiting;
    queue.takeEvents(waiting);
    for (auto at = waiting.rbegin(); at != waiting.rend(); ++at) {
        const GUIEventAdapter* const event = (*at)->asGUIEventAdapter();
        if (event == nullptr || event->getEventType() == GUIEventAdapter::USER) {
            continue;
        }
        const bool moves =
            event->getEventType() == GUIEventAdapter::MOVE || event->getEventType() == GUIEventAdapter::DRAG;
        if (moves && event->getButtonMask() == now.getButtonMask() &&
            event->getModKeyMask() == now.getModKeyMask()) {
            waiting.erase(std::next(at).base());
        }
        break;
    }
    queue.appendEvents(waiting);
}

// What the view moves by must not move the pages around it too.
bool isOurs(int key) {
    return key == GUIEventAdapter::KEY_Space ||
           (key >= GUIEventAdapter::KEY_Left && key <= GUIEventAdapter::KEY_Down);
}

}  // namespace

GLWidget::GLWidget(GraphicsWindowQt* window, QWidget* parent) : QWidget(parent), m_window(window) {
    setAttribute(Qt::WA_DontCreateNativeAncestors);
    setAttribute(Qt::WA_NativeWindow);
    setAttribute(Qt::WA_PaintOnScreen);
    setAttribute(Qt::WA_NoSystemBackground);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setAttribute(Qt::WA_AcceptTouchEvents);
    setMouseTracking(true);
    setFocusPolicy(Qt::ClickFocus);
}

GLWidget::~GLWidget() {
    if (m_window != nullptr) {
        m_window->endInput();
    }
}

// The toolkit makes windows for painting, and new ones when it likes; they become windows for drawing before
// the first frame on them. Taking the old one away hides the widget.
QWindow* GLWidget::surface() {
    QWindow* const window = windowHandle();
    if (window == nullptr || m_window == nullptr || !m_window->valid()) {
        return nullptr;
    }
    if (window->surfaceType() != QSurface::OpenGLSurface) {
        const bool shown = isVisible();
        window->destroy();
        window->setSurfaceType(QSurface::OpenGLSurface);
        window->setFormat(m_window->m_context->format());
        window->create();
        setVisible(shown);
    }
    return window;
}

bool GLWidget::event(QEvent* event) {
    switch (event->type()) {
        case QEvent::TouchBegin:
        case QEvent::TouchUpdate:
        case QEvent::TouchEnd:
        case QEvent::TouchCancel:
            return touch(static_cast<QTouchEvent*>(event));
        case QEvent::WindowDeactivate:
            if (m_window != nullptr) {
                m_window->endInput();
            }
            break;
        default:
            break;
    }
    return QWidget::event(event);
}

void GLWidget::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    takeSize();
}

void GLWidget::hideEvent(QHideEvent* event) {
    if (m_window != nullptr) {
        m_window->endInput();
    }
    QWidget::hideEvent(event);
}

void GLWidget::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    takeSize();
}

void GLWidget::paintEvent(QPaintEvent*) {
    if (m_window != nullptr) {
        takeSize();
        m_window->requestRedraw();
    }
}

void GLWidget::takeSize() {
    if (m_window == nullptr) {
        return;
    }
    const int wide = std::max(1, static_cast<int>(std::lround(width() * devicePixelRatioF())));
    const int high = std::max(1, static_cast<int>(std::lround(height() * devicePixelRatioF())));
    const auto* traits = m_window->getTraits();
    if (traits->width != wide || traits->height != high) {
        m_window->resized(0, 0, wide, high);
        m_window->getEventQueue()->windowResize(0, 0, wide, high);
        m_window->requestRedraw();
    }
}

// In pixels.
void GLWidget::moveTo(const QPointF& at) {
    osgGA::EventQueue& queue = *m_window->getEventQueue();
    dropPassedMove(queue);
    queue.mouseMotion(static_cast<float>(at.x()), static_cast<float>(at.y()));
}

void GLWidget::takeModifiers(Qt::KeyboardModifiers modifiers) {
    unsigned mask = 0;
    mask |= (modifiers & Qt::ShiftModifier) != 0 ? GUIEventAdapter::MODKEY_SHIFT : 0;
    mask |= (modifiers & Qt::ControlModifier) != 0 ? GUIEventAdapter::MODKEY_CTRL : 0;
    mask |= (modifiers & Qt::AltModifier) != 0 ? GUIEventAdapter::MODKEY_ALT : 0;
    m_window->getEventQueue()->getCurrentEventState()->setModKeyMask(static_cast<int>(mask));
}

void GLWidget::mousePressEvent(QMouseEvent* event) {
    const unsigned button = numberOf(event->button());
    if (m_window == nullptr || button == 0) {
        event->ignore();
        return;
    }
    takeModifiers(event->modifiers());
    const QPointF at = inPixels(event->localPos());
    m_window->getEventQueue()->mouseButtonPress(static_cast<float>(at.x()), static_cast<float>(at.y()),
                                                button);
}

void GLWidget::mouseDoubleClickEvent(QMouseEvent* event) {
    const unsigned button = numberOf(event->button());
    if (m_window == nullptr || button == 0) {
        event->ignore();
        return;
    }
    takeModifiers(event->modifiers());
    const QPointF at = inPixels(event->localPos());
    m_window->getEventQueue()->mouseDoubleButtonPress(static_cast<float>(at.x()), static_cast<float>(at.y()),
                                                      button);
}

void GLWidget::mouseReleaseEvent(QMouseEvent* event) {
    const unsigned button = numberOf(event->button());
    if (m_window == nullptr || button == 0) {
        event->ignore();
        return;
    }
    osgGA::EventQueue& queue = *m_window->getEventQueue();
    // A press that has been ended already has had its release.
    if ((static_cast<unsigned>(queue.getCurrentEventState()->getButtonMask()) & maskOf(event->button())) !=
        0) {
        const QPointF at = inPixels(event->localPos());
        queue.mouseButtonRelease(static_cast<float>(at.x()), static_cast<float>(at.y()), button);
    }
}

void GLWidget::mouseMoveEvent(QMouseEvent* event) {
    if (m_window == nullptr) {
        return;
    }
    osgGA::EventQueue& queue = *m_window->getEventQueue();
    const QPointF at = inPixels(event->localPos());
    if (!m_finger) {
        // Another program may have taken a release.
        for (const Qt::MouseButton button : {Qt::LeftButton, Qt::MiddleButton, Qt::RightButton}) {
            const unsigned held = static_cast<unsigned>(queue.getCurrentEventState()->getButtonMask());
            if ((held & maskOf(button)) != 0 && (event->buttons() & button) == 0) {
                queue.mouseButtonRelease(static_cast<float>(at.x()), static_cast<float>(at.y()),
                                         numberOf(button));
            }
        }
    }
    moveTo(at);
}

void GLWidget::wheelEvent(QWheelEvent* event) {
    if (m_window == nullptr) {
        return;
    }
    takeModifiers(event->modifiers());
    const QPointF at = inPixels(event->position());
    osgGA::EventQueue& queue = *m_window->getEventQueue();
    queue.getCurrentEventState()->setX(static_cast<float>(at.x()));
    queue.getCurrentEventState()->setY(static_cast<float>(at.y()));
    m_wheel += event->angleDelta().y();
    constexpr int kNotch = QWheelEvent::DefaultDeltasPerStep;
    while (std::abs(m_wheel) >= kNotch) {
        const bool up = m_wheel > 0;
        queue.mouseScroll(up ? GUIEventAdapter::SCROLL_UP : GUIEventAdapter::SCROLL_DOWN);
        m_wheel += up ? -kNotch : kNotch;
    }
}

// A finger has no way to the place that it presses; the handlers that know what lies under the cursor get
// one.
bool GLWidget::touch(QTouchEvent* event) {
    event->accept();
    if (m_window == nullptr) {
        return true;
    }
    osgGA::EventQueue& queue = *m_window->getEventQueue();
    if (event->type() == QEvent::TouchCancel) {
        m_finger.reset();
        m_window->endInput();
        return true;
    }
    // The end of the last touch may have gone elsewhere, to a popup say, and this one has another number.
    if (event->type() == QEvent::TouchBegin && m_finger) {
        m_finger.reset();
        m_window->endInput();
    }
    for (const QTouchEvent::TouchPoint& finger : event->touchPoints()) {
        const QPointF at = inPixels(finger.pos());
        const auto x = static_cast<float>(at.x());
        const auto y = static_cast<float>(at.y());
        if (finger.state() == Qt::TouchPointPressed && !m_finger) {
            m_finger = finger.id();
            moveTo(at);
            queue.mouseButtonPress(x, y, 1);
        } else if (m_finger != finger.id()) {
            continue;
        } else if (finger.state() == Qt::TouchPointMoved) {
            moveTo(at);
        } else if (finger.state() == Qt::TouchPointReleased) {
            m_finger.reset();
            if ((queue.getCurrentEventState()->getButtonMask() & GUIEventAdapter::LEFT_MOUSE_BUTTON) != 0) {
                queue.mouseButtonRelease(x, y, 1);
            }
        }
    }
    return true;
}

void GLWidget::keyPressEvent(QKeyEvent* event) {
    if (m_window == nullptr) {
        return;
    }
    takeModifiers(event->modifiers());
    const int key = keyOf(*event);
    m_window->getEventQueue()->keyPress(key);
    event->setAccepted(isOurs(key));
}

void GLWidget::keyReleaseEvent(QKeyEvent* event) {
    if (m_window == nullptr) {
        return;
    }
    takeModifiers(event->modifiers());
    const int key = keyOf(*event);
    if (!event->isAutoRepeat()) {
        m_window->getEventQueue()->keyRelease(key);
    }
    event->setAccepted(isOurs(key));
}

}  // namespace globe
