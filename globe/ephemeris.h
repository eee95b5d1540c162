// Where the sun is.
#pragma once

#include <osg/Referenced>
#include <osg/Vec3d>

#include "globe/date_time.h"

namespace globe {

struct CelestialBody {
    double right_ascension_deg = 0.0;
    double declination_deg = 0.0;
    double longitude_deg = 0.0;  // where on the earth it stands in the zenith
    double latitude_deg = 0.0;   // there, as a declination
    osg::Vec3d geocentric;       // earth-fixed, metres
};

class Ephemeris : public osg::Referenced {
public:
    // To 0.02 degree from 1950 to 2050.
    virtual CelestialBody getSunPosition(const DateTime& moment) const;

protected:
    ~Ephemeris() override = default;
};

}  // namespace globe
