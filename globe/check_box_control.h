// A box to be ticked.
#pragma once

#include "globe/control.h"

namespace globe {

// 16 by 16 units unless setSize() says otherwise. A click turns it over and tells its handlers.
class CheckBoxControl : public Control {
public:
    explicit CheckBoxControl(bool checked = false) : m_checked(checked) {}

    // Tells the handlers if it changes anything.
    void setValue(bool checked);
    bool getValue() const { return m_checked; }
    void click() override;

protected:
    osg::Vec2f contentSize() override;
    void drawContent(osg::Geode& geode, const ControlRect& content, float canvas_height) override;

private:
    bool m_checked;
};

}  // namespace globe
