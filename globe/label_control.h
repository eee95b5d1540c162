// A line, or lines, of text over the scene.
#pragma once

#include <osgText/Text>
#include <string>

#include "globe/control.h"

namespace globe {

// UTF-8; a line feed begins a new line. Sizes of type are in units of the canvas.
class LabelControl : public Control {
public:
    explicit LabelControl(const std::string& text = {}, float font_size = 18.0f,
                          const osg::Vec4f& color = {1.0f, 1.0f, 1.0f, 1.0f});

    void setText(const std::string& text);
    const std::string& text() const { return m_text; }
    void setFont(osgText::Font* font);
    void setFontSize(float size);
    float fontSize() const { return m_font_size; }
    // A line that would be longer goes on in the next one; 0: none does, as at first.
    void setMaxWidth(float width);
    float maxWidth() const { return m_max_width; }
    // A rim around the letters; none with alpha 0, as at first.
    void setHaloColor(const osg::Vec4f& color);
    const osg::Vec4f& haloColor() const { return m_halo_color; }
    void setPixelRatio(float ratio) override;

protected:
    osg::Vec2f contentSize() override;
    void drawContent(osg::Geode& geode, const ControlRect& content, float canvas_height) override;

private:
    void measureAgain();

    osg::ref_ptr<osgText::Font> m_font;
    osg::ref_ptr<osgText::Text> m_drawn;
    std::string m_text;
    float m_font_size;
    float m_max_width = 0.0f;
    osg::Vec4f m_halo_color;
    osg::Vec2f m_extent;
    bool m_measured = false;
};

}  // namespace globe
