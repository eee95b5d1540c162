#include "globe/label_control.h"

#include <algorithm>
#include <cmath>
#include <osg/Geode>

#include "globe/label_font.h"

namespace globe {
namespace {

// From the top of a line to its base line, and from there to its bottom, in font sizes: room for Chinese
// characters and for descenders, whatever the text, so that a label keeps its height.
constexpr float kAbove = 0.9f;
constexpr float kBelow = 0.25f;
// Between two lines, or Chinese ones would touch.
constexpr float kGap = 0.2f;

}  // namespace

LabelControl::LabelControl(const std::string& text, float font_size, const osg::Vec4f& color)
    : m_font(labelFont()), m_drawn(new osgText::Text), m_text(text), m_font_size(font_size) {
    m_drawn->setDataVariance(osg::Object::DYNAMIC);
    m_drawn->setAxisAlignment(osgText::TextBase::XY_PLANE);
    m_drawn->setCharacterSizeMode(osgText::TextBase::OBJECT_COORDS);
    m_drawn->setAlignment(osgText::TextBase::LEFT_BASE_LINE);
    setForeColor(color);
}

void LabelControl::setText(const std::string& text) {
    if (m_text != text) {
        m_text = text;
        measureAgain();
    }
}

void LabelControl::setFont(osgText::Font* font) {
    m_font = font;
    measureAgain();
}

void LabelControl::setFontSize(float size) {
    m_font_size = size;
    measureAgain();
}

void LabelControl::setMaxWidth(float width) {
    if (m_max_width != width) {
        m_max_width = width;
        measureAgain();
    }
}

void LabelControl::setPixelRatio(float ratio) {
    m_measured = m_measured && ratio == pixelRatio();
    Control::setPixelRatio(ratio);
}

void LabelControl::setHaloColor(const osg::Vec4f& color) {
    m_halo_color = color;
    dirty();
}

void LabelControl::measureAgain() {
    m_measured = false;
    dirty();
}

osg::Vec2f LabelControl::contentSize() {
    if (m_measured) {
        return m_extent;
    }
    m_measured = true;
    m_extent.set(0.0f, 0.0f);
    const auto points = static_cast<unsigned>(std::max(1.0f, std::ceil(m_font_size * pixelRatio())));
    if (m_font.valid()) {
        m_drawn->setFont(m_font.get());
    }
    m_drawn->setFontResolution(points, points);
    m_drawn->setCharacterSize(m_font_size);
    m_drawn->setMaximumWidth(m_max_width);
    m_drawn->setLineSpacing(kGap);
    m_drawn->setText(m_text, osgText::String::ENCODING_UTF8);
    if (m_text.empty()) {
        return m_extent;
    }
    const osg::BoundingBox bounds = m_drawn->getBoundingBox();
    const unsigned lines = std::max(1u, m_drawn->getLineCount());
    m_extent.x() = std::ceil(bounds.valid() ? std::max(0.0f, bounds.xMax()) : 0.0f);
    m_extent.y() = std::ceil((kAbove + kBelow + (1.0f + kGap) * static_cast<float>(lines - 1)) * m_font_size);
    return m_extent;
}

void LabelControl::drawContent(osg::Geode& geode, const ControlRect& content, float canvas_height) {
    if (m_text.empty()) {
        return;
    }
    m_drawn->setColor(foreColor());
    if (m_halo_color.a() > 0.0f) {
        m_drawn->setBackdropType(osgText::Text::OUTLINE);
        m_drawn->setBackdropColor(m_halo_color);
    } else {
        m_drawn->setBackdropType(osgText::Text::NONE);
    }
    // On whole pixels, or the letters blur.
    m_drawn->setPosition(
        {snapped(content.x), canvas_height - snapped(content.y) - snapped(kAbove * m_font_size), 0.0f});
    geode.addDrawable(m_drawn);
}

}  // namespace globe
