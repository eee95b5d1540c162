// Controls that hold others.
#pragma once

#include "globe/control.h"

namespace globe {

class Container : public Control {
public:
    template <typename T>
    T* addControl(T* control) {
        addChild(control);
        dirty();
        return control;
    }
    void removeControl(Control* control);
    void clearControls();

    void setChildSpacing(float spacing);
    float childSpacing() const { return m_spacing; }
    // For children that have no alignment of their own.
    void setChildHorizAlign(Alignment align);
    void setChildVertAlign(Alignment align);

    Control* controlAt(float x, float y) override;
    void draw(float canvas_height) override;
    void setPixelRatio(float ratio) override;

protected:
    ~Container() override;
    std::vector<Control*> controls() const;
    Alignment childHorizAlign() const { return m_child_horiz_align; }
    Alignment childVertAlign() const { return m_child_vert_align; }
    // A child's place, by its own alignment or that of all.
    void arrangeChild(Control* child, const ControlRect& area) const;

private:
    float m_spacing = 5.0f;
    Alignment m_child_horiz_align = ALIGN_NONE;
    Alignment m_child_vert_align = ALIGN_NONE;
};

// From left to right.
class HBox : public Container {
public:
    explicit HBox(Alignment child_align = ALIGN_NONE, const Gutter& padding = Gutter(), float spacing = 5.0f);

protected:
    osg::Vec2f contentSize() override;
    void arrangeContent(const ControlRect& content) override;
};

// From top to bottom.
class VBox : public Container {
public:
    explicit VBox(Alignment child_align = ALIGN_NONE, const Gutter& padding = Gutter(), float spacing = 5.0f);

protected:
    osg::Vec2f contentSize() override;
    void arrangeContent(const ControlRect& content) override;
};

// Its children all in one place.
class Frame : public Container {
protected:
    osg::Vec2f contentSize() override;
    void arrangeContent(const ControlRect& content) override;
};

}  // namespace globe
