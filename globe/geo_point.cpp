#include "globe/geo_point.h"

#include <cmath>

#include "globe/geo_math.h"
#include "globe/terrain.h"

namespace globe {

GeoPoint::GeoPoint(const SpatialReference* srs, double x, double y)
    : m_srs(srs), m_xyz(x, y, 0.0), m_mode(ALTMODE_RELATIVE) {}

GeoPoint::GeoPoint(const SpatialReference* srs, double x, double y, double z, AltitudeMode mode)
    : m_srs(srs), m_xyz(x, y, z), m_mode(mode) {}

GeoPoint::GeoPoint(const SpatialReference* srs, const osg::Vec3d& xyz, AltitudeMode mode)
    : m_srs(srs), m_xyz(xyz), m_mode(mode) {}

bool GeoPoint::isValid() const {
    return m_srs != nullptr && std::isfinite(x()) && std::isfinite(y()) && std::isfinite(z());
}

bool GeoPoint::toWorld(osg::Vec3d& world, const Terrain* terrain) const {
    osg::Vec3d place;
    if (!isValid() || !m_srs->transform(m_xyz, m_srs->getGeographicSRS(), place)) {
        return false;
    }
    if (m_mode == ALTMODE_RELATIVE && terrain != nullptr) {
        double ground = 0.0;
        if (terrain->getHeight(m_srs->getGeographicSRS(), place.x(), place.y(), &ground)) {
            place.z() += ground;
        }
    }
    world = m_srs->getEllipsoid().geodeticToGeocentric(place);
    return true;
}

bool GeoPoint::fromWorld(const SpatialReference* srs, const osg::Vec3d& world) {
    osg::Vec3d place;
    if (srs == nullptr || !srs->transformFromWorld(world, place)) {
        return false;
    }
    *this = GeoPoint(srs, place);
    return true;
}

bool GeoPoint::makeGeographic() {
    if (!isValid()) {
        return false;
    }
    const GeoPoint geographic = transform(m_srs->getGeographicSRS());
    if (geographic.isValid()) {
        *this = geographic;
    }
    return geographic.isValid();
}

GeoPoint GeoPoint::transform(const SpatialReference* srs) const {
    osg::Vec3d place;
    if (!isValid() || srs == nullptr || !m_srs->transform(m_xyz, srs, place)) {
        return {};
    }
    return {srs, place, m_mode};
}

bool GeoPoint::createLocalToWorld(osg::Matrixd& matrix, const Terrain* terrain) const {
    osg::Vec3d world;
    if (!toWorld(world, terrain)) {
        return false;
    }
    matrix = m_srs->getEllipsoid().localToWorld(world);
    return true;
}

double GeoPoint::distanceTo(const GeoPoint& other) const {
    const GeoPoint here = m_srs != nullptr ? transform(m_srs->getGeographicSRS()) : GeoPoint();
    const GeoPoint there = m_srs != nullptr ? other.transform(m_srs->getGeographicSRS()) : GeoPoint();
    if (!here.isValid() || !there.isValid()) {
        return 0.0;
    }
    return GeoMath::distance(toRadians(here.y()), toRadians(here.x()), toRadians(there.y()),
                             toRadians(there.x()));
}

bool GeoPoint::operator==(const GeoPoint& other) const {
    return m_srs == other.m_srs && m_xyz == other.m_xyz && m_mode == other.m_mode;
}

}  // namespace globe
