#include "globe/rtt_picker.h"

#include <algorithm>
#include <osg/BlendFunc>
#include <osg/Program>
#include <osg/Uniform>
#include <osgViewer/GraphicsWindow>

namespace globe {
namespace {

using osgGA::GUIEventAdapter;

constexpr const char* kVertex = R"(#version 120
void main() { gl_Position = gl_ModelViewProjectionMatrix * gl_Vertex; }
)";
constexpr const char* kFragment = R"(#version 120
uniform vec4 globe_object_id;
void main() { gl_FragColor = globe_object_id; }
)";

class Drawn : public osg::Camera::DrawCallback {
public:
    Drawn(bool* flag, unsigned* count) : m_flag(flag), m_count(count) {}
    void operator()(osg::RenderInfo&) const override {
        *m_flag = true;
        ++*m_count;
    }

private:
    bool* m_flag;  // of the picker, which takes this away before it goes
    unsigned* m_count;
};

}  // namespace

RTTPicker::RTTPicker(int camera_size) : m_size(std::max(8, camera_size)), m_children(new osg::Group) {
    osg::StateSet* const state = m_children->getOrCreateStateSet();
    constexpr auto kForced = osg::StateAttribute::OVERRIDE | osg::StateAttribute::PROTECTED;
    osg::ref_ptr<osg::Program> program = new osg::Program;
    program->addShader(new osg::Shader(osg::Shader::VERTEX, kVertex));
    program->addShader(new osg::Shader(osg::Shader::FRAGMENT, kFragment));
    state->setAttributeAndModes(program, osg::StateAttribute::ON | kForced);
    state->addUniform(new osg::Uniform(ObjectIndex::uniformName(), osg::Vec4f()));
    // The view's camera need not have any state of its own.
    state->setMode(GL_DEPTH_TEST, osg::StateAttribute::ON);
    // Numbers must arrive as they are.
    state->setMode(GL_BLEND, osg::StateAttribute::OFF | kForced);
    state->setMode(GL_DITHER, osg::StateAttribute::OFF | kForced);
    state->setMode(GL_MULTISAMPLE, osg::StateAttribute::OFF | kForced);
}

RTTPicker::~RTTPicker() { dropCamera(); }

void RTTPicker::addChild(osg::Node* node) { m_children->addChild(node); }

void RTTPicker::removeChild(osg::Node* node) { m_children->removeChild(node); }

void RTTPicker::makeCamera(osgViewer::View* view) {
    if (m_camera.valid() && m_view.get() == view) {
        return;
    }
    dropCamera();
    m_view = view;
    m_numbers = new osg::Image;
    m_numbers->allocateImage(m_size, m_size, 1, GL_RGBA, GL_UNSIGNED_BYTE);
    m_camera = new osg::Camera;
    m_camera->setName("picker");
    m_camera->setReferenceFrame(osg::Transform::ABSOLUTE_RF);
    m_camera->setRenderOrder(osg::Camera::PRE_RENDER);
    m_camera->setRenderTargetImplementation(osg::Camera::FRAME_BUFFER_OBJECT);
    m_camera->setGraphicsContext(view->getCamera()->getGraphicsContext());
    m_camera->setViewport(0, 0, m_size, m_size);
    m_camera->setProjectionResizePolicy(osg::Camera::FIXED);
    m_camera->setAllowEventFocus(false);
    m_camera->setClearMask(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    m_camera->setClearColor({0.0f, 0.0f, 0.0f, 0.0f});
    m_camera->setInheritanceMask(osg::CullSettings::DRAW_BUFFER | osg::CullSettings::READ_BUFFER);
    m_camera->setCullingMode(osg::CullSettings::VIEW_FRUSTUM_SIDES_CULLING);
    m_camera->attach(osg::Camera::COLOR_BUFFER, m_numbers);
    m_camera->addChild(m_children);
    m_camera->setNodeMask(0);
    view->addSlave(m_camera, osg::Matrixd(), osg::Matrixd(), false);
    m_camera->setFinalDrawCallback(new Drawn(&m_drawn, &m_rendered));
}

void RTTPicker::dropCamera() {
    osg::ref_ptr<osgViewer::View> view;
    if (m_camera.valid()) {
        m_camera->setFinalDrawCallback(nullptr);
        m_camera->setNodeMask(0);
        if (m_view.lock(view)) {
            const unsigned at = view->findSlaveIndexForCamera(m_camera);
            if (at < view->getNumSlaves()) {
                view->removeSlave(at);
            }
        }
    }
    m_camera = nullptr;
    m_view = nullptr;
}

bool RTTPicker::pick(osgViewer::View* view, double x, double y, Picker::Callback* callback) {
    if (view == nullptr || m_children->getNumChildren() == 0) {
        if (callback != nullptr) {
            callback->onMiss();
        }
        return false;
    }
    m_orders.push_back({x, y, callback});
    if (!m_active) {
        start(view);
    }
    return true;
}

// The view's own picture, cut down to the square around the point, pixel by pixel.
void RTTPicker::start(osgViewer::View* view) {
    makeCamera(view);
    const osg::Camera& master = *view->getCamera();
    if (m_camera->getGraphicsContext() != master.getGraphicsContext()) {
        m_camera->setGraphicsContext(view->getCamera()->getGraphicsContext());
    }
    const Order& order = m_orders.front();
    const double wide = master.getViewport() != nullptr ? master.getViewport()->width() : m_size;
    const double high = master.getViewport() != nullptr ? master.getViewport()->height() : m_size;
    m_camera->setViewMatrix(master.getViewMatrix());
    m_camera->setProjectionMatrix(master.getProjectionMatrix() *
                                  osg::Matrixd::translate(-order.x, -order.y, 0.0) *
                                  osg::Matrixd::scale(wide / m_size, high / m_size, 1.0));
    m_camera->setNodeMask(~0u);
    m_active = true;
    m_drawn = false;
    askForFrame(view);
}

void RTTPicker::finish() {
    const ObjectID id = m_drawn ? read() : OBJECTID_EMPTY;
    const osg::ref_ptr<Picker::Callback> callback = m_orders.front().callback;
    m_orders.pop_front();
    m_active = false;
    m_camera->setNodeMask(0);
    if (!callback.valid()) {
        return;
    }
    if (id != OBJECTID_EMPTY) {
        callback->onHit(id);
    } else {
        callback->onMiss();
    }
}

void RTTPicker::cancel(Picker::Callback* callback) {
    const osg::ref_ptr<Picker::Callback> told = callback;
    const auto ours = [&](const Order& order) { return order.callback == told; };
    const auto count = std::count_if(m_orders.begin(), m_orders.end(), ours);
    const bool under_way = m_active && ours(m_orders.front());
    m_orders.erase(std::remove_if(m_orders.begin(), m_orders.end(), ours), m_orders.end());
    osg::ref_ptr<osgViewer::View> view;
    if (under_way) {
        m_active = false;
        m_camera->setNodeMask(0);
        if (!m_orders.empty() && m_view.lock(view)) {
            start(view);
        }
    }
    for (auto i = count; i > 0 && told.valid(); --i) {
        told->onMiss();
    }
}

// The nearest number to the middle.
ObjectID RTTPicker::read() const {
    const int middle = m_size / 2;
    ObjectID found = OBJECTID_EMPTY;
    int nearest = m_buffer * m_buffer + 1;
    for (int y = -m_buffer; y <= m_buffer; ++y) {
        for (int x = -m_buffer; x <= m_buffer; ++x) {
            const int distance = x * x + y * y;
            const auto column = static_cast<unsigned>(std::clamp(middle + x, 0, m_size - 1));
            const auto row = static_cast<unsigned>(std::clamp(middle + y, 0, m_size - 1));
            const ObjectID id = ObjectIndex::idOf(m_numbers->data(column, row));
            if (id != OBJECTID_EMPTY && distance < nearest) {
                nearest = distance;
                found = id;
            }
        }
    }
    return found;
}

// A request for a redraw is forgotten at the end of the frame that is under way; an event in the queue is
// not.
void RTTPicker::askForFrame(osgViewer::View* view) {
    auto* const window = dynamic_cast<osgViewer::GraphicsWindow*>(view->getCamera()->getGraphicsContext());
    if (window != nullptr) {
        window->getEventQueue()->userEvent(nullptr);
    }
    view->requestRedraw();
}

bool RTTPicker::handle(const GUIEventAdapter& event, osgGA::GUIActionAdapter& action) {
    auto* const view = dynamic_cast<osgViewer::View*>(action.asView());
    if (event.getEventType() == GUIEventAdapter::FRAME) {
        // In the frame of the pick the square is still to be drawn.
        if (m_active && m_drawn) {
            finish();
            if (view != nullptr && !m_orders.empty() && !m_active) {
                start(view);
            }
        } else if (m_active && view != nullptr) {
            // What is drawn in this frame is read in the next one.
            askForFrame(view);
        }
        return false;
    }
    if (!event.getHandled() && m_callback.valid() && m_callback->accept(event, action)) {
        pick(view, event.getXnormalized(), event.getYnormalized(), m_callback);
    }
    return false;
}

}  // namespace globe
