#include "globe/control.h"

#include <algorithm>
#include <cmath>
#include <osg/Geode>
#include <osg/Geometry>

#include "globe/control_canvas.h"

namespace globe {
namespace {

void setSide(Gutter* gutter, Control::Side side, float width) {
    switch (side) {
        case Control::SIDE_TOP:
            gutter->top = width;
            break;
        case Control::SIDE_BOTTOM:
            gutter->bottom = width;
            break;
        case Control::SIDE_LEFT:
            gutter->left = width;
            break;
        case Control::SIDE_RIGHT:
            gutter->right = width;
            break;
    }
}

}  // namespace

osg::ref_ptr<osg::Geometry> makeQuad(float left, float bottom, float right, float top,
                                     const osg::Vec4f& color) {
    osg::ref_ptr<osg::Geometry> quad = new osg::Geometry;
    quad->setUseDisplayList(false);
    quad->setUseVertexBufferObjects(true);
    osg::ref_ptr<osg::Vec3Array> corners = new osg::Vec3Array;
    corners->push_back({left, bottom, 0.0f});
    corners->push_back({right, bottom, 0.0f});
    corners->push_back({left, top, 0.0f});
    corners->push_back({right, top, 0.0f});
    quad->setVertexArray(corners);
    osg::ref_ptr<osg::Vec4Array> colors = new osg::Vec4Array(1, &color);
    quad->setColorArray(colors, osg::Array::BIND_OVERALL);
    quad->addPrimitiveSet(new osg::DrawArrays(GL_TRIANGLE_STRIP, 0, 4));
    return quad;
}

Control::Control() : m_geode(new osg::Geode) { addChild(m_geode); }

Control::~Control() = default;

void Control::dirty() {
    m_changed = true;
    for (osg::Node* node = this; node != nullptr;) {
        if (auto* const canvas = dynamic_cast<ControlCanvas*>(node)) {
            canvas->layoutChanged();
            return;
        }
        node = node->getNumParents() > 0 ? node->getParent(0) : nullptr;
    }
}

void Control::setPixelRatio(float ratio) {
    if (m_pixel_ratio != ratio) {
        m_pixel_ratio = ratio;
        dirty();
    }
}

float Control::snapped(float units) const { return std::floor(units * m_pixel_ratio + 0.5f) / m_pixel_ratio; }

void Control::setPosition(float x, float y) {
    m_position.set(x, y);
    dirty();
}

void Control::setSize(float width, float height) {
    if (m_size.x() != width || m_size.y() != height) {
        m_size.set(width, height);
        dirty();
    }
}

void Control::setWidth(float width) { setSize(width, m_size.y()); }

void Control::setHeight(float height) { setSize(m_size.x(), height); }

void Control::setMargin(const Gutter& margin) {
    m_margin = margin;
    dirty();
}

void Control::setMargin(Side side, float width) {
    setSide(&m_margin, side, width);
    dirty();
}

void Control::setPadding(const Gutter& padding) {
    m_padding = padding;
    dirty();
}

void Control::setPadding(Side side, float width) {
    setSide(&m_padding, side, width);
    dirty();
}

void Control::setHorizAlign(Alignment align) {
    m_horiz_align = align;
    dirty();
}

void Control::setVertAlign(Alignment align) {
    m_vert_align = align;
    dirty();
}

void Control::setHorizFill(bool fill, float least) {
    m_horiz_fill = fill;
    m_least.x() = fill ? least : 0.0f;
    dirty();
}

void Control::setVertFill(bool fill, float least) {
    m_vert_fill = fill;
    m_least.y() = fill ? least : 0.0f;
    dirty();
}

void Control::setForeColor(const osg::Vec4f& color) {
    m_fore_color = color;
    dirty();
}

void Control::setBackColor(const osg::Vec4f& color) {
    m_back_color = color;
    dirty();
}

void Control::setBorderColor(const osg::Vec4f& color) {
    m_border_color = color;
    dirty();
}

void Control::setBorderWidth(float width) {
    m_border_width = width;
    dirty();
}

void Control::setVisible(bool visible) {
    if (m_visible != visible) {
        m_visible = visible;
        setNodeMask(visible ? ~0u : 0u);
        dirty();
    }
}

Control* Control::controlAt(float x, float y) {
    const bool reacts = m_absorb || !m_handlers.empty();
    return m_visible && reacts && m_rect.contains(x, y) ? this : nullptr;
}

void Control::click() {
    const auto handlers = m_handlers;
    for (const auto& handler : handlers) {
        handler->onClick(this);
    }
}

osg::Vec2f Control::measure() {
    if (!m_visible) {
        m_wanted.set(0.0f, 0.0f);
        return m_wanted;
    }
    const osg::Vec2f content = contentSize();
    m_wanted.x() = std::max({content.x(), m_size.x(), m_least.x(), 0.0f}) + m_padding.left + m_padding.right;
    m_wanted.y() = std::max({content.y(), m_size.y(), m_least.y(), 0.0f}) + m_padding.top + m_padding.bottom;
    return {m_wanted.x() + m_margin.left + m_margin.right, m_wanted.y() + m_margin.top + m_margin.bottom};
}

float Control::placed(Alignment align, float start, float room, float before, float after, float size,
                      float offset) const {
    switch (align) {
        case ALIGN_CENTER:
            return start + 0.5f * (room - size + before - after);
        case ALIGN_RIGHT:
        case ALIGN_BOTTOM:
            return start + room - after - size;
        case ALIGN_NONE:
            return start + before + offset;
        default:
            return start + before;
    }
}

void Control::arrangeIn(const ControlRect& area, Alignment horiz, Alignment vert, bool fill) {
    if (!m_visible) {
        m_rect = {};
        return;
    }
    ControlRect rect;
    rect.width = fill && m_horiz_fill ? std::max(m_wanted.x(), area.width - m_margin.left - m_margin.right)
                                      : m_wanted.x();
    rect.height = fill && m_vert_fill ? std::max(m_wanted.y(), area.height - m_margin.top - m_margin.bottom)
                                      : m_wanted.y();
    rect.x = placed(horiz, area.x, area.width, m_margin.left, m_margin.right, rect.width, m_position.x());
    rect.y = placed(vert, area.y, area.height, m_margin.top, m_margin.bottom, rect.height, m_position.y());
    m_rect = rect;
    arrangeContent(contentRect());
}

ControlRect Control::contentRect() const {
    return {m_rect.x + m_padding.left, m_rect.y + m_padding.top,
            m_rect.width - m_padding.left - m_padding.right,
            m_rect.height - m_padding.top - m_padding.bottom};
}

void Control::draw(float canvas_height) {
    if (!m_changed && m_drawn_rect == m_rect && m_drawn_height == canvas_height) {
        return;
    }
    m_changed = false;
    m_drawn_rect = m_rect;
    m_drawn_height = canvas_height;
    m_geode->removeDrawables(0, m_geode->getNumDrawables());
    const float left = snapped(m_rect.x);
    const float right = snapped(m_rect.x + m_rect.width);
    const float top = canvas_height - snapped(m_rect.y);
    const float bottom = canvas_height - snapped(m_rect.y + m_rect.height);
    const bool has_area = right > left && top > bottom;
    if (has_area && m_back_color.a() > 0.0f) {
        m_geode->addDrawable(makeQuad(left, bottom, right, top, m_back_color));
    }
    drawContent(*m_geode, contentRect(), canvas_height);
    if (has_area && m_border_color.a() > 0.0f && m_border_width > 0.0f) {
        const float w = m_border_width;
        m_geode->addDrawable(makeQuad(left, top - w, right, top, m_border_color));
        m_geode->addDrawable(makeQuad(left, bottom, right, bottom + w, m_border_color));
        m_geode->addDrawable(makeQuad(left, bottom + w, left + w, top - w, m_border_color));
        m_geode->addDrawable(makeQuad(right - w, bottom + w, right, top - w, m_border_color));
    }
}

}  // namespace globe
