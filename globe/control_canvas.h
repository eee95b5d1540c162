// The sheet over a view on which controls stand.
#pragma once

#include <osg/Camera>
#include <osgViewer/View>

#include "globe/control.h"

namespace globe {

// One a view, drawn after its scene. Its unit is the program's unit of length: a pixel, unless the view's
// window has finer ones (globe/pixel_ratio.h). It sees the view's events before all handlers that were there
// when it was made or come later at the back: what is pressed on an absorbing control, and the drag and
// release that follow, is told to nobody else; what was pressed beside the controls is, wherever it ends. The
// wheel and movements without a button pass. Single-threaded viewers only.
class ControlCanvas : public osg::Camera {
public:
    // Made at the first call. Null without a view.
    static ControlCanvas* getOrCreate(osgViewer::View* view);
    // Null if there is none yet.
    static ControlCanvas* get(osgViewer::View* view);

    ControlCanvas();

    template <typename T>
    T* addControl(T* control) {
        m_sheet->addChild(control);
        layoutChanged();
        return control;
    }
    void removeControl(Control* control);
    void clearControls();

    // The topmost one at a point from the top left, as of the last layout.
    Control* controlAt(float x, float y) const;
    // Lays out what has changed, for a canvas of this size in units; nothing if neither has.
    void layout(float width, float height);
    // Layouts so far.
    unsigned layouts() const { return m_layouts; }
    // Asks for a layout and a frame.
    void layoutChanged();

    // The view's events; true for those that shall go no further.
    bool handle(const osgGA::GUIEventAdapter& event);
    // What is pressed is let go without a click.
    void forgetPress() { m_pressed = nullptr; }

protected:
    ~ControlCanvas() override;

private:
    class Sheet;
    // Lays out for the view as it is now.
    void layoutForView();
    void followView();
    std::vector<Control*> controls() const;
    Control* controlUnder(const osgGA::GUIEventAdapter& event) const;

    osg::ref_ptr<osg::Group> m_sheet;  // the controls
    float m_width = 0.0f;
    float m_height = 0.0f;
    float m_pixel_ratio = 1.0f;
    bool m_dirty = true;
    unsigned m_layouts = 0;
    osg::ref_ptr<Control> m_pressed;  // by the left button
    int m_absorbed = 0;               // buttons that went down on a control
};

}  // namespace globe
