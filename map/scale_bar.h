// The scale indicator of a map: a text and a bar that stands for a round distance on the ground.
#pragma once

#include <osg/observer_ptr>
#include <osgGA/GUIEventHandler>
#include <osgViewer/Viewer>

#include "globe/control_containers.h"
#include "globe/label_control.h"
#include "globe/map_node.h"
#include "map/scale_rules.h"

// Draws nothing itself: its two controls are put on a canvas by whoever makes it. Its distance is that on the
// terrain in the middle of the view, at the time of the last update(). GUI thread.
class ScaleBar : public osg::Referenced {
public:
    ScaleBar(globe::MapNode* map_node, osgViewer::View* view);

    // Units per pixel of the chosen unit; -1 when nothing could be measured, as over the sky: then text and
    // bar are gone until the next one.
    double update();
    void set_visible(bool visible);

    globe::LabelControl* label() const { return m_label.get(); }
    globe::Frame* bar() const { return m_bar.get(); }

protected:
    ~ScaleBar() override;

private:
    friend struct ScaleBarAccess;
    double blank();
    bool measure(const sorvane::MeasuringLine& line, double pixel_ratio, double* distance_m) const;

    osg::ref_ptr<globe::LabelControl> m_label;
    osg::ref_ptr<globe::Frame> m_bar;
    osg::observer_ptr<globe::MapNode> m_map_node;
    osg::observer_ptr<globe::Map> m_map;
    osg::observer_ptr<osgViewer::View> m_view;
    std::int32_t m_width =
        500;  // of the view, in pixels (in units of the canvas where the display's are finer)
    std::int32_t m_height = 500;
    double m_metres_per_pixel = 0.0;
    sorvane::ScaleUnits m_units = sorvane::kScaleMetric;
};

// Updates the bar at a turn of the wheel and at a key; a pan or a flight leaves it as it is, meant.
class ScaleBarHandler : public osgGA::GUIEventHandler {
public:
    explicit ScaleBarHandler(ScaleBar* bar);
    bool handle(const osgGA::GUIEventAdapter& ea, osgGA::GUIActionAdapter& aa) override;

protected:
    ~ScaleBarHandler() override;

private:
    osg::ref_ptr<ScaleBar> m_bar;
};
