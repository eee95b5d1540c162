#include "globe/control_containers.h"

#include <algorithm>

namespace globe {

Container::~Container() = default;

std::vector<Control*> Container::controls() const {
    std::vector<Control*> found;
    for (unsigned i = 0; i < getNumChildren(); ++i) {
        if (auto* const control = dynamic_cast<Control*>(const_cast<osg::Node*>(getChild(i)))) {
            found.push_back(control);
        }
    }
    return found;
}

void Container::removeControl(Control* control) {
    if (removeChild(control)) {
        dirty();
    }
}

void Container::clearControls() {
    for (Control* const control : controls()) {
        removeChild(control);
    }
    dirty();
}

void Container::setChildSpacing(float spacing) {
    m_spacing = spacing;
    dirty();
}

void Container::setChildHorizAlign(Alignment align) {
    m_child_horiz_align = align;
    dirty();
}

void Container::setChildVertAlign(Alignment align) {
    m_child_vert_align = align;
    dirty();
}

Control* Container::controlAt(float x, float y) {
    if (!visible()) {
        return nullptr;
    }
    const auto children = controls();
    for (auto child = children.rbegin(); child != children.rend(); ++child) {
        if (Control* const hit = (*child)->controlAt(x, y)) {
            return hit;
        }
    }
    return Control::controlAt(x, y);
}

void Container::draw(float canvas_height) {
    Control::draw(canvas_height);
    for (Control* const control : controls()) {
        control->draw(canvas_height);
    }
}

void Container::setPixelRatio(float ratio) {
    Control::setPixelRatio(ratio);
    for (Control* const control : controls()) {
        control->setPixelRatio(ratio);
    }
}

void Container::arrangeChild(Control* child, const ControlRect& area) const {
    const Alignment horiz = child->horizAlign();
    const Alignment vert = child->vertAlign();
    child->arrangeIn(area, horiz == ALIGN_NONE ? m_child_horiz_align : horiz,
                     vert == ALIGN_NONE ? m_child_vert_align : vert);
}

HBox::HBox(Alignment child_align, const Gutter& padding, float spacing) {
    setChildVertAlign(child_align);
    setPadding(padding);
    setChildSpacing(spacing);
}

osg::Vec2f HBox::contentSize() {
    osg::Vec2f size;
    bool first = true;
    for (Control* const control : controls()) {
        if (!control->visible()) {
            continue;
        }
        const osg::Vec2f wanted = control->measure();
        size.x() += wanted.x() + (first ? 0.0f : childSpacing());
        size.y() = std::max(size.y(), wanted.y());
        first = false;
    }
    return size;
}

void HBox::arrangeContent(const ControlRect& content) {
    const auto children = controls();
    const auto fills = std::count_if(children.begin(), children.end(),
                                     [](const Control* c) { return c->visible() && c->horizFill(); });
    const float spare = std::max(0.0f, content.width - HBox::contentSize().x());
    float x = content.x;
    for (Control* const control : children) {
        if (!control->visible()) {
            continue;
        }
        float width = control->measure().x();
        if (control->horizFill()) {
            width += spare / static_cast<float>(fills);
        }
        arrangeChild(control, {x, content.y, width, content.height});
        x += width + childSpacing();
    }
}

VBox::VBox(Alignment child_align, const Gutter& padding, float spacing) {
    setChildHorizAlign(child_align);
    setPadding(padding);
    setChildSpacing(spacing);
}

osg::Vec2f VBox::contentSize() {
    osg::Vec2f size;
    bool first = true;
    for (Control* const control : controls()) {
        if (!control->visible()) {
            continue;
        }
        const osg::Vec2f wanted = control->measure();
        size.x() = std::max(size.x(), wanted.x());
        size.y() += wanted.y() + (first ? 0.0f : childSpacing());
        first = false;
    }
    return size;
}

void VBox::arrangeContent(const ControlRect& content) {
    const auto children = controls();
    const auto fills = std::count_if(children.begin(), children.end(),
                                     [](const Control* c) { return c->visible() && c->vertFill(); });
    const float spare = std::max(0.0f, content.height - VBox::contentSize().y());
    float y = content.y;
    for (Control* const control : children) {
        if (!control->visible()) {
            continue;
        }
        float height = control->measure().y();
        if (control->vertFill()) {
            height += spare / static_cast<float>(fills);
        }
        arrangeChild(control, {content.x, y, content.width, height});
        y += height + childSpacing();
    }
}

osg::Vec2f Frame::contentSize() {
    osg::Vec2f size;
    for (Control* const control : controls()) {
        const osg::Vec2f wanted = control->measure();
        size.x() = std::max(size.x(), wanted.x());
        size.y() = std::max(size.y(), wanted.y());
    }
    return size;
}

void Frame::arrangeContent(const ControlRect& content) {
    for (Control* const control : controls()) {
        arrangeChild(control, content);
    }
}

}  // namespace globe
