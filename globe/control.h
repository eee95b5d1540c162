// What stands over the scene, laid out in units of the canvas: the base of labels, pictures, boxes.
#pragma once

#include <memory>
#include <osg/Group>
#include <osg/Vec2f>
#include <osg/Vec4f>
#include <osg/ref_ptr>
#include <vector>

namespace osg {
class Geode;
class Geometry;
}  // namespace osg

namespace globe {

class Control;
class ControlCanvas;

// Widths of the four edges of a box, in units of the canvas.
struct Gutter {
    Gutter() = default;
    explicit Gutter(float all) : top(all), right(all), bottom(all), left(all) {}
    Gutter(float top_px, float right_px, float bottom_px, float left_px)
        : top(top_px), right(right_px), bottom(bottom_px), left(left_px) {}
    float top = 0.0f;
    float right = 0.0f;
    float bottom = 0.0f;
    float left = 0.0f;
};

// From the top left of the canvas, y downwards.
struct ControlRect {
    float x = 0.0f;
    float y = 0.0f;
    float width = 0.0f;
    float height = 0.0f;
    bool contains(float at_x, float at_y) const {
        return at_x >= x && at_x < x + width && at_y >= y && at_y < y + height;
    }
    bool operator==(const ControlRect& o) const {
        return x == o.x && y == o.y && width == o.width && height == o.height;
    }
};

// Told of what happens to a control.
class ControlEventHandler : public osg::Referenced {
public:
    // The left button went down and up on it.
    virtual void onClick(Control*) {}
    // A check box changed.
    virtual void onValueChanged(Control*, bool) {}
};

// A box: its content, around it the padding, which has the back colour and the border at its rim, and outside
// the margin. Sizes and positions are in units of the canvas (pixels, but on displays with finer ones). A
// change is shown by the next frame, which it asks for; what does not change costs nothing. For the thread
// that draws.
class Control : public osg::Group {
public:
    enum Alignment { ALIGN_NONE, ALIGN_LEFT, ALIGN_CENTER, ALIGN_RIGHT, ALIGN_TOP, ALIGN_BOTTOM };
    enum Side { SIDE_TOP, SIDE_BOTTOM, SIDE_LEFT, SIDE_RIGHT };

    Control();

    // Without an alignment a control stands here, from the top left of the canvas or box.
    void setPosition(float x, float y);
    // The least of the content. Below 0: as large as the content needs.
    void setWidth(float width);
    void setHeight(float height);
    void setSize(float width, float height);
    float width() const { return m_size.x(); }
    float height() const { return m_size.y(); }

    void setMargin(const Gutter& margin);
    void setMargin(float all) { setMargin(Gutter(all)); }
    void setMargin(Side side, float width);
    void setPadding(const Gutter& padding);
    void setPadding(float all) { setPadding(Gutter(all)); }
    void setPadding(Side side, float width);
    const Gutter& margin() const { return m_margin; }
    const Gutter& padding() const { return m_padding; }

    void setHorizAlign(Alignment align);
    void setVertAlign(Alignment align);
    Alignment horizAlign() const { return m_horiz_align; }
    Alignment vertAlign() const { return m_vert_align; }
    // Takes all the room of the box that holds it; without effect on the canvas itself.
    void setHorizFill(bool fill, float least = 1.0f);
    void setVertFill(bool fill, float least = 1.0f);
    bool horizFill() const { return m_horiz_fill; }
    bool vertFill() const { return m_vert_fill; }

    void setForeColor(const osg::Vec4f& color);
    void setForeColor(float r, float g, float b, float a) { setForeColor({r, g, b, a}); }
    void setBackColor(const osg::Vec4f& color);
    void setBackColor(float r, float g, float b, float a) { setBackColor({r, g, b, a}); }
    void setBorderColor(const osg::Vec4f& color);
    void setBorderColor(float r, float g, float b, float a) { setBorderColor({r, g, b, a}); }
    void setBorderWidth(float width);
    const osg::Vec4f& foreColor() const { return m_fore_color; }
    const osg::Vec4f& backColor() const { return m_back_color; }
    const osg::Vec4f& borderColor() const { return m_border_color; }

    // A hidden control takes no room.
    void setVisible(bool visible);
    bool visible() const { return m_visible; }

    // A press on it, with the movement and the release that follow, reaches nothing behind. True at first.
    void setAbsorbEvents(bool absorb) { m_absorb = absorb; }
    bool getAbsorbEvents() const { return m_absorb; }
    void addEventHandler(ControlEventHandler* handler) { m_handlers.emplace_back(handler); }

    // Where it stands, without its margin, since the last layout.
    const ControlRect& renderRect() const { return m_rect; }
    // The innermost visible one at a place that absorbs events or has handlers; null if there is none.
    virtual Control* controlAt(float x, float y);
    // A click, from the canvas.
    virtual void click();

    // The room that it wants, with its margin. Zero if hidden.
    osg::Vec2f measure();
    // Takes its place in `area`, by its own alignments or others; on the canvas it fills nothing.
    void arrange(const ControlRect& area) { arrangeIn(area, m_horiz_align, m_vert_align, false); }
    void arrangeIn(const ControlRect& area, Alignment horiz, Alignment vert, bool fill = true);
    // Brings what is drawn up to date with the last layout. The scene's y runs upwards.
    virtual void draw(float canvas_height);

    // What hangs on this one's look or size has to be done again.
    void dirty();
    // Pixels of the display a unit, from the canvas.
    virtual void setPixelRatio(float ratio);

protected:
    ~Control() override;

    // Without padding and margin.
    virtual osg::Vec2f contentSize() { return {}; }
    virtual void arrangeContent(const ControlRect&) {}
    // Adds what stands in the content.
    virtual void drawContent(osg::Geode&, const ControlRect&, float) {}

    const std::vector<osg::ref_ptr<ControlEventHandler>>& handlers() const { return m_handlers; }
    ControlRect contentRect() const;
    float pixelRatio() const { return m_pixel_ratio; }
    // The nearest boundary of the display's pixels.
    float snapped(float units) const;

private:
    float placed(Alignment align, float start, float room, float before, float after, float size,
                 float offset) const;

    osg::ref_ptr<osg::Geode> m_geode;
    std::vector<osg::ref_ptr<ControlEventHandler>> m_handlers;
    osg::Vec2f m_position;
    osg::Vec2f m_size{-1.0f, -1.0f};
    osg::Vec2f m_least;
    osg::Vec2f m_wanted;  // of the last measure, without margin
    Gutter m_margin;
    Gutter m_padding;
    Alignment m_horiz_align = ALIGN_NONE;
    Alignment m_vert_align = ALIGN_NONE;
    bool m_horiz_fill = false;
    bool m_vert_fill = false;
    osg::Vec4f m_fore_color{1.0f, 1.0f, 1.0f, 1.0f};
    osg::Vec4f m_back_color;
    osg::Vec4f m_border_color;
    float m_border_width = 1.0f;
    bool m_visible = true;
    bool m_absorb = true;
    ControlRect m_rect;
    ControlRect m_drawn_rect;
    float m_drawn_height = -1.0f;
    float m_pixel_ratio = 1.0f;
    bool m_changed = true;  // since it was drawn
};

// A rectangle of one colour, corners in units of the canvas (y upwards).
osg::ref_ptr<osg::Geometry> makeQuad(float left, float bottom, float right, float top,
                                     const osg::Vec4f& color);

}  // namespace globe
