// What the decluttering of marks knows of one.
#pragma once

#include <osg/Drawable>
#include <osg/Referenced>
#include <osg/ref_ptr>

#include "globe/declutter.h"

namespace globe {

// Hangs on the drawables of a PlaceNode as their user data. Boxes are in the program's units of length about
// the place.
class PlaceLayout : public osg::Referenced {
public:
    screen_box icon_box;
    screen_box all_box;
    bool has_icon = false;
    bool has_label = false;
    bool declutter = false;
    double priority = 0.0;
    double distance_m = 0.0;
    unsigned long serial = 0;
    MarkShown shown = MarkShown::kAll;
    osg::ref_ptr<osg::Drawable> icon;  // null without one

protected:
    ~PlaceLayout() override = default;
};

// The name of the render bin that leaves out what has to give way, and draws the rest from far to near.
const char* declutterBinName();

}  // namespace globe
