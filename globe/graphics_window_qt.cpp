#include "globe/graphics_window_qt.h"

#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QWindow>
#include <algorithm>
#include <osg/Camera>
#include <osgGA/EventVisitor>
#include <osgViewer/View>
#include <utility>

#include "globe/control_canvas.h"

namespace globe {
namespace {

using osgGA::GUIEventAdapter;

QSurfaceFormat formatOf(const osg::GraphicsContext::Traits& traits, int samples) {
    QSurfaceFormat format;
    format.setRenderableType(QSurfaceFormat::OpenGL);
    format.setDepthBufferSize(static_cast<int>(std::max(traits.depth, 24u)));
    format.setStencilBufferSize(static_cast<int>(std::max(traits.stencil, 8u)));
    format.setSwapBehavior(traits.doubleBuffer ? QSurfaceFormat::DoubleBuffer : QSurfaceFormat::SingleBuffer);
    format.setSwapInterval(0);
    format.setSamples(samples);
    return format;
}

}  // namespace

GraphicsWindowQt::GraphicsWindowQt(osg::GraphicsContext::Traits* traits, QWidget* parent) {
    _traits = traits != nullptr ? traits : new osg::GraphicsContext::Traits;
    setState(new osg::State);
    getState()->setGraphicsContext(this);
    getState()->setContextID(osg::GraphicsContext::createNewContextID());
    getEventQueue()->setGraphicsContext(this);
    getEventQueue()->getCurrentEventState()->setMouseYOrientation(GUIEventAdapter::Y_INCREASING_DOWNWARDS);
    makeContext();
    m_widget = new GLWidget(this, parent);
}

GraphicsWindowQt::~GraphicsWindowQt() {
    close(true);
    if (m_widget != nullptr) {
        m_widget->m_window = nullptr;
        if (m_widget->parent() == nullptr) {
            delete m_widget.data();
        }
    }
}

void GraphicsWindowQt::makeContext() {
    if (qobject_cast<QGuiApplication*>(QCoreApplication::instance()) == nullptr) {
        return;
    }
    auto context = std::make_unique<QOpenGLContext>();
    for (int samples = static_cast<int>(_traits->samples);; samples /= 2) {
        context->setFormat(formatOf(*_traits, samples));
        if (context->create()) {
            break;
        }
        if (samples == 0) {
            return;
        }
    }
    auto offscreen = std::make_unique<QOffscreenSurface>();
    offscreen->setFormat(context->format());
    offscreen->create();
    // Some systems hand out contexts with which nothing can be done.
    if (!offscreen->isValid() || !context->makeCurrent(offscreen.get())) {
        return;
    }
    context->doneCurrent();
    m_offscreen = std::move(offscreen);
    m_context = std::move(context);
}

int GraphicsWindowQt::samples() const {
    return m_context != nullptr ? std::max(0, m_context->format().samples()) : 0;
}

double GraphicsWindowQt::pixelRatio() const {
    return m_widget != nullptr ? m_widget->devicePixelRatioF() : 1.0;
}

bool GraphicsWindowQt::isExposed() const {
    if (m_widget == nullptr || !m_widget->isVisible()) {
        return false;
    }
    const QWindow* const window = m_widget->surface();
    return window != nullptr && window->isExposed();
}

bool GraphicsWindowQt::realizeImplementation() {
    m_realized = valid();
    return m_realized;
}

void GraphicsWindowQt::closeImplementation() {
    m_realized = false;
    if (m_context != nullptr) {
        m_context->doneCurrent();
    }
    m_context.reset();
    m_offscreen.reset();
}

// A context takes its buffer from the surface on which it is current first; the offscreen one has but a
// front.
void GraphicsWindowQt::drawBehind() {
    using DrawBuffer = void (*)(unsigned);
    constexpr unsigned kBack = 0x0405;
    const auto draw_buffer = reinterpret_cast<DrawBuffer>(m_context->getProcAddress("glDrawBuffer"));
    if (draw_buffer != nullptr && _traits->doubleBuffer) {
        draw_buffer(kBack);
    }
}

bool GraphicsWindowQt::makeCurrentImplementation() {
    if (!valid()) {
        return false;
    }
    m_drawn_on = isExposed() ? m_widget->windowHandle() : nullptr;
    if (m_drawn_on != nullptr && m_context->makeCurrent(m_drawn_on)) {
        drawBehind();
        return true;
    }
    // The viewer draws whether this succeeds or not: never into what happens to be current.
    m_drawn_on = nullptr;
    m_broken = !m_context->makeCurrent(m_offscreen.get());
    return !m_broken;
}

bool GraphicsWindowQt::releaseContextImplementation() {
    if (m_context == nullptr) {
        return false;
    }
    m_drawn_on = nullptr;
    m_context->doneCurrent();
    return true;
}

void GraphicsWindowQt::swapBuffersImplementation() {
    if (m_context != nullptr && m_drawn_on != nullptr && isExposed()) {
        m_context->swapBuffers(m_drawn_on);
    }
}

void GraphicsWindowQt::resizedImplementation(int x, int y, int width, int height) {
    if (_traits->width > 0 && _traits->height > 0) {
        osgViewer::GraphicsWindow::resizedImplementation(x, y, width, height);
        return;
    }
    // From nothing there is no ratio by which cameras could follow.
    _traits->x = x;
    _traits->y = y;
    _traits->width = width;
    _traits->height = height;
    for (osg::Camera* const camera : _cameras) {
        osg::Viewport* const viewport = camera->getViewport();
        if (viewport != nullptr && (viewport->width() <= 0.0 || viewport->height() <= 0.0)) {
            viewport->setViewport(0, 0, width, height);
        }
    }
}

bool GraphicsWindowQt::setWindowRectangleImplementation(int x, int y, int width, int height) {
    if (m_widget == nullptr) {
        return false;
    }
    const qreal ratio = m_widget->devicePixelRatioF();
    m_widget->setGeometry(static_cast<int>(x / ratio), static_cast<int>(y / ratio),
                          static_cast<int>(width / ratio), static_cast<int>(height / ratio));
    return true;
}

void GraphicsWindowQt::grabFocus() {
    if (m_widget != nullptr) {
        m_widget->setFocus(Qt::OtherFocusReason);
    }
}

void GraphicsWindowQt::setCursor(MouseCursor cursor) {
    if (m_widget != nullptr) {
        if (cursor == NoCursor) {
            m_widget->setCursor(Qt::BlankCursor);
        } else {
            m_widget->unsetCursor();
        }
    }
}

// The buttons that the handlers hold for pressed: those of now, less what still waits.
unsigned GraphicsWindowQt::deliveredButtons() {
    unsigned mask = static_cast<unsigned>(getEventQueue()->getCurrentEventState()->getButtonMask());
    osgGA::EventQueue::Events waiting;
    getEventQueue()->copyEvents(waiting);
    for (auto at = waiting.rbegin(); at != waiting.rend(); ++at) {
        const GUIEventAdapter* const event = (*at)->asGUIEventAdapter();
        if (event == nullptr) {
            continue;
        }
        const auto button = static_cast<unsigned>(event->getButton());
        if (event->getEventType() == GUIEventAdapter::RELEASE) {
            mask |= button;
        } else if (event->getEventType() == GUIEventAdapter::PUSH ||
                   event->getEventType() == GUIEventAdapter::DOUBLECLICK) {
            mask &= ~button;
        }
    }
    return mask;
}

void GraphicsWindowQt::endInput() {
    const unsigned held = deliveredButtons();
    getEventQueue()->clear();
    getEventQueue()->getCurrentEventState()->setButtonMask(0);
    for (const unsigned button : {GUIEventAdapter::LEFT_MOUSE_BUTTON, GUIEventAdapter::MIDDLE_MOUSE_BUTTON,
                                  GUIEventAdapter::RIGHT_MOUSE_BUTTON}) {
        if ((held & button) != 0) {
            deliverRelease(button);
        }
    }
    requestRedraw();
}

// At once and not through the queue, since no frame may come any more.
void GraphicsWindowQt::deliverRelease(unsigned button) {
    Views views;
    getViews(views);
    for (osgViewer::View* const view : views) {
        osg::ref_ptr<GUIEventAdapter> release = new GUIEventAdapter(*getEventQueue()->getCurrentEventState());
        release->setEventType(GUIEventAdapter::RELEASE);
        release->setButton(static_cast<int>(button));
        release->setTime(getEventQueue()->getTime());
        osg::ref_ptr<osgGA::EventVisitor> visitor = new osgGA::EventVisitor;
        visitor->setActionAdapter(view);
        if (button == GUIEventAdapter::LEFT_MOUSE_BUTTON) {
            if (ControlCanvas* const canvas = ControlCanvas::get(view)) {
                canvas->forgetPress();
            }
            const auto handlers = view->getEventHandlers();
            for (const auto& handler : handlers) {
                handler->handle(release.get(), nullptr, visitor.get());
            }
        }
        if (view->getCameraManipulator() != nullptr) {
            view->getCameraManipulator()->handle(release.get(), nullptr, visitor.get());
        }
    }
}

}  // namespace globe
