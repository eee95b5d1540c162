// The camera of the globe.
#pragma once

#include "globe/earth_manipulator.h"

// Zooming keeps to a band of camera distances, from 400 m to set_max_distance(), both excluded: a step that
// would leave it is dropped whole. Flights are not bound to it. While a picked object is dragged the map does
// not pan. GUI thread.
class MyEarthManipulator : public globe::EarthManipulator {
public:
    // Metres; to be set before the first zoom.
    void set_max_distance(double metres) { m_max_distance = metres; }

    void pan(double dx, double dy) override;
    void zoom(double dx, double dy, osg::View* view) override;

protected:
    ~MyEarthManipulator() override = default;

private:
    double m_max_distance = 0.0;
};
