#include "globe/control_canvas.h"

#include <osg/observer_ptr>
#include <osgGA/GUIEventHandler>

#include "globe/pixel_ratio.h"

namespace globe {
namespace {

using osgGA::GUIEventAdapter;

class CanvasEvents : public osgGA::GUIEventHandler {
public:
    explicit CanvasEvents(ControlCanvas* canvas) : m_canvas(canvas) {}
    bool handle(const GUIEventAdapter& event, osgGA::GUIActionAdapter&) override {
        osg::ref_ptr<ControlCanvas> canvas;
        return m_canvas.lock(canvas) && canvas->handle(event);
    }

private:
    osg::observer_ptr<ControlCanvas> m_canvas;
};

}  // namespace

// Culling a camera of a view visits its children alone, so this is where the layout catches up with what
// handlers changed in the same frame.
class ControlCanvas::Sheet : public osg::Group {
public:
    explicit Sheet(ControlCanvas* canvas) : m_canvas(canvas) {}
    void traverse(osg::NodeVisitor& visitor) override {
        if (visitor.getVisitorType() == osg::NodeVisitor::CULL_VISITOR) {
            m_canvas->layoutForView();
        }
        osg::Group::traverse(visitor);
    }

private:
    ControlCanvas* m_canvas;  // owns this
};

ControlCanvas::ControlCanvas() : m_sheet(new Sheet(this)) {
    addChild(m_sheet);
    setName("controls");
    setReferenceFrame(osg::Transform::ABSOLUTE_RF);
    setRenderOrder(osg::Camera::POST_RENDER, 10);
    setClearMask(0);
    setAllowEventFocus(false);
    setProjectionResizePolicy(osg::Camera::FIXED);
    setViewMatrix(osg::Matrixd::identity());
    // Buffers that are not inherited would be none at all.
    setInheritanceMask(osg::CullSettings::DRAW_BUFFER | osg::CullSettings::READ_BUFFER);
    setComputeNearFarMode(osg::CullSettings::DO_NOT_COMPUTE_NEAR_FAR);
    setCullingMode(osg::CullSettings::NO_CULLING);
    osg::StateSet* const state = getOrCreateStateSet();
    constexpr auto kOff =
        osg::StateAttribute::OFF | osg::StateAttribute::OVERRIDE | osg::StateAttribute::PROTECTED;
    constexpr auto kOn =
        osg::StateAttribute::ON | osg::StateAttribute::OVERRIDE | osg::StateAttribute::PROTECTED;
    state->setMode(GL_LIGHTING, kOff);
    state->setMode(GL_DEPTH_TEST, kOff);
    state->setMode(GL_CULL_FACE, kOff);
    state->setMode(GL_BLEND, kOn);
    // One over the other as they were added.
    state->setRenderBinDetails(0, "TraversalOrderBin", osg::StateSet::OVERRIDE_RENDERBIN_DETAILS);
}

ControlCanvas::~ControlCanvas() = default;

ControlCanvas* ControlCanvas::get(osgViewer::View* view) {
    for (unsigned i = 0; view != nullptr && i < view->getNumSlaves(); ++i) {
        if (auto* const canvas = dynamic_cast<ControlCanvas*>(view->getSlave(i)._camera.get())) {
            return canvas;
        }
    }
    return nullptr;
}

ControlCanvas* ControlCanvas::getOrCreate(osgViewer::View* view) {
    ControlCanvas* const present = get(view);
    if (view == nullptr || present != nullptr) {
        return present;
    }
    osg::ref_ptr<ControlCanvas> canvas = new ControlCanvas;
    canvas->setGraphicsContext(view->getCamera()->getGraphicsContext());
    canvas->setViewport(view->getCamera()->getViewport());
    view->addSlave(canvas, osg::Matrixd(), osg::Matrixd(), false);
    view->getEventHandlers().push_front(new CanvasEvents(canvas));
    return canvas;
}

std::vector<Control*> ControlCanvas::controls() const {
    std::vector<Control*> found;
    for (unsigned i = 0; i < m_sheet->getNumChildren(); ++i) {
        if (auto* const control = dynamic_cast<Control*>(m_sheet->getChild(i))) {
            found.push_back(control);
        }
    }
    return found;
}

void ControlCanvas::removeControl(Control* control) {
    if (m_sheet->removeChild(control)) {
        layoutChanged();
    }
}

void ControlCanvas::clearControls() {
    m_sheet->removeChildren(0, m_sheet->getNumChildren());
    layoutChanged();
}

Control* ControlCanvas::controlAt(float x, float y) const {
    const auto all = controls();
    for (auto control = all.rbegin(); control != all.rend(); ++control) {
        if (Control* const hit = (*control)->controlAt(x, y)) {
            return hit;
        }
    }
    return nullptr;
}

void ControlCanvas::layoutChanged() {
    m_dirty = true;
    if (auto* const action = dynamic_cast<osgGA::GUIActionAdapter*>(getView())) {
        action->requestRedraw();
    }
}

void ControlCanvas::layout(float width, float height) {
    if (!m_dirty && width == m_width && height == m_height) {
        return;
    }
    for (Control* const control : controls()) {
        control->setPixelRatio(m_pixel_ratio);
    }
    m_dirty = false;
    m_width = width;
    m_height = height;
    ++m_layouts;
    setProjectionMatrixAsOrtho2D(0.0, width, 0.0, height);
    for (Control* const control : controls()) {
        control->measure();
        control->arrange({0.0f, 0.0f, width, height});
        control->draw(height);
    }
}

// The view may get its graphics context, or another viewport, after the canvas was made.
void ControlCanvas::followView() {
    const osg::Camera* const master = getView() != nullptr ? getView()->getCamera() : nullptr;
    if (master == nullptr) {
        return;
    }
    if (getGraphicsContext() != master->getGraphicsContext()) {
        setGraphicsContext(const_cast<osg::GraphicsContext*>(master->getGraphicsContext()));
    }
    if (getViewport() != master->getViewport()) {
        setViewport(const_cast<osg::Viewport*>(master->getViewport()));
    }
    layoutForView();
}

void ControlCanvas::layoutForView() {
    if (getViewport() == nullptr) {
        return;
    }
    const auto ratio = static_cast<float>(pixelRatioOf(getGraphicsContext()));
    m_dirty = m_dirty || ratio != m_pixel_ratio;
    m_pixel_ratio = ratio;
    layout(static_cast<float>(getViewport()->width()) / ratio,
           static_cast<float>(getViewport()->height()) / ratio);
}

Control* ControlCanvas::controlUnder(const GUIEventAdapter& event) const {
    return controlAt(0.5f * (event.getXnormalized() + 1.0f) * m_width,
                     0.5f * (1.0f - event.getYnormalized()) * m_height);
}

bool ControlCanvas::handle(const GUIEventAdapter& event) {
    const int button = event.getButton();
    switch (event.getEventType()) {
        case GUIEventAdapter::FRAME:
            followView();
            return false;
        case GUIEventAdapter::PUSH:
        case GUIEventAdapter::DOUBLECLICK: {
            Control* const control = controlUnder(event);
            if (button == GUIEventAdapter::LEFT_MOUSE_BUTTON) {
                m_pressed = control;
            }
            m_absorbed &= ~button;
            if (control != nullptr && control->getAbsorbEvents()) {
                m_absorbed |= button;
            }
            return (m_absorbed & button) != 0;
        }
        case GUIEventAdapter::DRAG:
            return m_absorbed != 0 && (event.getButtonMask() & ~m_absorbed) == 0;
        case GUIEventAdapter::RELEASE: {
            const bool absorbed = (m_absorbed & button) != 0;
            m_absorbed &= ~button;
            if (button == GUIEventAdapter::LEFT_MOUSE_BUTTON) {
                const osg::ref_ptr<Control> pressed = m_pressed;
                m_pressed = nullptr;
                if (pressed.valid() && controlUnder(event) == pressed.get()) {
                    pressed->click();
                }
            }
            return absorbed;
        }
        default:
            return false;
    }
}

}  // namespace globe
