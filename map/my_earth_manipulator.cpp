#include "map/my_earth_manipulator.h"

#include "map/camera_rules.h"
#include "map/pick_drag.h"

void MyEarthManipulator::pan(double dx, double dy) {
    if (!g_pick_drag) {
        globe::EarthManipulator::pan(dx, dy);
    }
}

void MyEarthManipulator::zoom(double dx, double dy, osg::View* view) {
    if (sorvane::zoomAllowed(getDistance(), dy, m_max_distance)) {
        globe::EarthManipulator::zoom(dx, dy, view);
    }
}
