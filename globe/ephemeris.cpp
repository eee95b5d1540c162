#include "globe/ephemeris.h"

#include "globe/sun_position.h"

namespace globe {

CelestialBody Ephemeris::getSunPosition(const DateTime& moment) const {
    const SunPosition sun = sunPosition(moment.daysSinceJ2000());
    CelestialBody body;
    body.right_ascension_deg = sun.right_ascension_deg;
    body.declination_deg = sun.declination_deg;
    body.longitude_deg = sun.subsolar_lon_deg;
    body.latitude_deg = sun.declination_deg;
    body.geocentric = osg::Vec3d(sun.direction.x, sun.direction.y, sun.direction.z) * sun.distance_m;
    return body;
}

}  // namespace globe
