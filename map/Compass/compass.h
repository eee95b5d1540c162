// A compass over the globe: a face that turns against the camera, a fixed pointer, and a number.
#pragma once

#include <osg/observer_ptr>
#include <osgGA/GUIEventHandler>
#include <osgViewer/Viewer>
#include <string>

#include "globe/control_canvas.h"
#include "globe/image_control.h"
#include "globe/label_control.h"

// Its life is construction, set_view(view), frames, set_view(nullptr). GUI thread.
class Compass : public osg::Referenced {
public:
    // Told of each heading that is shown, in degrees.
    class HeadingCallback : public osg::Referenced {
    public:
        virtual void operator()(double heading_deg) = 0;

    protected:
        ~HeadingCallback() override = default;
    };

    // Without a readable image the compass stays empty: every operation does nothing then.
    Compass(const std::string& image_path, globe::ControlCanvas* canvas);

    // Attaches to a view, null detaches. Attached already, no view may come.
    void set_view(osgViewer::View* view);
    // The view whose camera gives the heading; that to which it is attached if none is set before the first
    // frame.
    void set_heading_view(osgViewer::View* view);
    void set_callback(HeadingCallback* callback);
    // Drops the callback if it is the one held.
    void clear_callback(HeadingCallback* callback);
    // Of the face, in pixels; 0 without one.
    int image_height() const;

    class FrameEventHandler : public osgGA::GUIEventHandler {
    public:
        explicit FrameEventHandler(Compass* compass) : m_compass(compass) {}
        bool handle(const osgGA::GUIEventAdapter& ea, osgGA::GUIActionAdapter& aa) override;

    protected:
        ~FrameEventHandler() override = default;

    private:
        Compass* m_compass;  // takes this handler off its view before it dies
    };

protected:
    ~Compass() override;

private:
    friend struct CompassAccess;
    void update();
    double heading() const;
    void turnFace(double heading_deg);

    osg::observer_ptr<osgViewer::View> drawView_;
    osg::observer_ptr<osgViewer::View> view_;
    osg::ref_ptr<globe::ControlCanvas> canvas_;
    osg::ref_ptr<globe::ImageControl> compass_;
    osg::ref_ptr<globe::LabelControl> readout_;
    osg::ref_ptr<globe::LabelControl> pointer_;
    osg::ref_ptr<FrameEventHandler> frameHandler_;
    osg::ref_ptr<HeadingCallback> callback_;
};
