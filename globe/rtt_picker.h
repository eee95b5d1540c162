// Says which object is drawn at a point of a view.
#pragma once

#include <deque>
#include <osg/Camera>
#include <osg/Image>
#include <osg/observer_ptr>
#include <osg/ref_ptr>
#include <osgGA/GUIEventHandler>
#include <osgViewer/View>

#include "globe/object_index.h"

namespace globe {

class Picker {
public:
    // Exactly one of onHit and onMiss follows each pick, a hit in a later frame than the pick.
    class Callback : public osg::Referenced {
    public:
        virtual void onHit(ObjectID) {}
        virtual void onMiss() {}
        // Asked at each event of the view that no handler before it took, but for the beginnings of frames:
        // true picks at the event's place.
        virtual bool accept(const osgGA::GUIEventAdapter&, const osgGA::GUIActionAdapter&) { return false; }
    };
};

// Draws its children's numbers (see ObjectIndex) into a small square around the picked point, in the frame of
// the pick, and reads them in the next one, for which it asks. Without children it draws nothing and tells
// the miss at once. Untagged children are not seen, but hide what is behind them. Single-threaded viewers
// only.
class RTTPicker : public osgGA::GUIEventHandler {
public:
    // The square's width in pixels of the view, at least 8.
    explicit RTTPicker(int camera_size = 256);

    void setDefaultCallback(Picker::Callback* callback) { m_callback = callback; }
    Picker::Callback* getDefaultCallback() const { return m_callback.get(); }

    void addChild(osg::Node* node);
    void removeChild(osg::Node* node);
    unsigned getNumChildren() const { return m_children->getNumChildren(); }

    // How far beside the point an object may be to be hit, in pixels. 2 at first.
    void setBuffer(int pixels) { m_buffer = pixels; }

    // Picks at a point of the view, both from -1 to 1. The callback is kept until it has been told. False if
    // there was nothing to draw.
    bool pick(osgViewer::View* view, double x, double y, Picker::Callback* callback);
    // What was picked for this callback and is not told yet is told as missed, at once.
    void cancel(Picker::Callback* callback);

    // Squares drawn so far.
    unsigned rendered() const { return m_rendered; }

    bool handle(const osgGA::GUIEventAdapter& event, osgGA::GUIActionAdapter& action) override;

protected:
    ~RTTPicker() override;

private:
    struct Order {
        double x = 0.0;
        double y = 0.0;
        osg::ref_ptr<Picker::Callback> callback;
    };

    void makeCamera(osgViewer::View* view);
    void dropCamera();
    void start(osgViewer::View* view);
    void finish();
    ObjectID read() const;
    void askForFrame(osgViewer::View* view);

    int m_size;
    int m_buffer = 2;
    osg::ref_ptr<osg::Group> m_children;
    osg::ref_ptr<Picker::Callback> m_callback;
    osg::observer_ptr<osgViewer::View> m_view;
    osg::ref_ptr<osg::Camera> m_camera;
    osg::ref_ptr<osg::Image> m_numbers;
    std::deque<Order> m_orders;  // the first is being drawn if m_active
    bool m_active = false;
    bool m_drawn = false;
    unsigned m_rendered = 0;
};

}  // namespace globe
