#include "globe/check_box_control.h"

#include <osg/Geode>
#include <osg/Geometry>

namespace globe {
namespace {

constexpr float kSize = 16.0f;
constexpr float kLine = 2.0f;

}  // namespace

void CheckBoxControl::setValue(bool checked) {
    if (m_checked == checked) {
        return;
    }
    m_checked = checked;
    dirty();
    const auto told = handlers();
    for (const auto& handler : told) {
        handler->onValueChanged(this, m_checked);
    }
}

void CheckBoxControl::click() {
    setValue(!m_checked);
    Control::click();
}

osg::Vec2f CheckBoxControl::contentSize() {
    return {width() >= 0.0f ? width() : kSize, height() >= 0.0f ? height() : kSize};
}

void CheckBoxControl::drawContent(osg::Geode& geode, const ControlRect& content, float canvas_height) {
    const float left = snapped(content.x);
    const float right = left + content.width;
    const float top = canvas_height - snapped(content.y);
    const float bottom = top - content.height;
    const osg::Vec4f& color = foreColor();
    // Dark inside, so that it is seen over bright ground too.
    geode.addDrawable(makeQuad(left, bottom, right, top, {0.0f, 0.0f, 0.0f, 0.4f}));
    geode.addDrawable(makeQuad(left, top - kLine, right, top, color));
    geode.addDrawable(makeQuad(left, bottom, right, bottom + kLine, color));
    geode.addDrawable(makeQuad(left, bottom, left + kLine, top, color));
    geode.addDrawable(makeQuad(right - kLine, bottom, right, top, color));
    if (!m_checked) {
        return;
    }
    const auto at = [&](float x, float y) {
        return osg::Vec3(left + x * content.width, bottom + y * content.height, 0.0f);
    };
    osg::ref_ptr<osg::Geometry> tick = makeQuad(0.0f, 0.0f, 1.0f, 1.0f, color);
    osg::ref_ptr<osg::Vec3Array> corners = new osg::Vec3Array;
    corners->push_back(at(0.20f, 0.55f));
    corners->push_back(at(0.32f, 0.66f));
    corners->push_back(at(0.43f, 0.22f));
    corners->push_back(at(0.43f, 0.46f));
    corners->push_back(at(0.82f, 0.72f));
    corners->push_back(at(0.72f, 0.82f));
    tick->setVertexArray(corners);
    tick->removePrimitiveSet(0);
    tick->addPrimitiveSet(new osg::DrawArrays(GL_TRIANGLE_STRIP, 0, 6));
    geode.addDrawable(tick);
}

}  // namespace globe
