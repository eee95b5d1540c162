#include "globe/spatial_reference.h"

#include <ogr_spatialref.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <mutex>
#include <osg/Notify>

namespace globe {

struct SpatialReference::Projection {
    // PROJ's objects belong to one thread at a time.
    std::mutex mutex;
    OGRSpatialReference reference;
    std::unique_ptr<OGRCoordinateTransformation> to_wgs84;
    std::unique_ptr<OGRCoordinateTransformation> from_wgs84;
};

SpatialReference::SpatialReference(std::string name) : m_name(std::move(name)) {}

SpatialReference::~SpatialReference() = default;

const SpatialReference* SpatialReference::get(const std::string& definition) {
    static std::mutex mutex;
    static std::map<std::string, osg::ref_ptr<SpatialReference>> known;
    std::string key = definition;
    std::transform(key.begin(), key.end(), key.begin(), [](unsigned char c) { return std::tolower(c); });
    if (key.empty() || key == "epsg:4326" || key == "epsg:4979" || key == "global-geodetic" ||
        key == "geodetic") {
        key = "wgs84";
    }
    const std::lock_guard<std::mutex> lock(mutex);
    const auto found = known.find(key);
    if (found != known.end()) {
        return found->second.get();
    }
    osg::ref_ptr<SpatialReference> made;
    if (key == "wgs84") {
        made = new SpatialReference(key);
    } else {
        made = make(definition);
    }
    if (!made) {
        OSG_WARN << "globe: no coordinate system is called " << definition << std::endl;
    }
    known[key] = made;
    return made.get();
}

osg::ref_ptr<SpatialReference> SpatialReference::make(const std::string& definition) {
    auto projection = std::make_unique<Projection>();
    if (projection->reference.SetFromUserInput(definition.c_str()) != OGRERR_NONE) {
        return nullptr;
    }
    OGRSpatialReference wgs84;
    wgs84.SetWellKnownGeogCS("WGS84");
    wgs84.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    projection->reference.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    projection->to_wgs84.reset(OGRCreateCoordinateTransformation(&projection->reference, &wgs84));
    projection->from_wgs84.reset(OGRCreateCoordinateTransformation(&wgs84, &projection->reference));
    if (!projection->to_wgs84 || !projection->from_wgs84) {
        return nullptr;
    }
    osg::ref_ptr<SpatialReference> made = new SpatialReference(definition);
    made->m_projected = projection->reference.IsProjected() != 0;
    made->m_projection = std::move(projection);
    return made;
}

const SpatialReference* SpatialReference::getGeographicSRS() const {
    return m_projected || m_projection ? get("wgs84") : this;
}

bool SpatialReference::isEquivalentTo(const SpatialReference* other) const {
    if (other == this || other == nullptr) {
        return other == this;
    }
    return m_projection && other->m_projection &&
           m_projection->reference.IsSame(&other->m_projection->reference) != 0;
}

bool SpatialReference::transform(const osg::Vec3d& in, const SpatialReference* to, osg::Vec3d& out) const {
    if (to == nullptr) {
        return false;
    }
    osg::Vec3d point = in;
    if (isEquivalentTo(to)) {
        out = point;
        return true;
    }
    if (m_projection) {
        const std::lock_guard<std::mutex> lock(m_projection->mutex);
        if (!m_projection->to_wgs84->Transform(1, &point.x(), &point.y(), &point.z())) {
            return false;
        }
    }
    if (to->m_projection) {
        const std::lock_guard<std::mutex> lock(to->m_projection->mutex);
        if (!to->m_projection->from_wgs84->Transform(1, &point.x(), &point.y(), &point.z())) {
            return false;
        }
    }
    out = point;
    return true;
}

bool SpatialReference::transformToWorld(const osg::Vec3d& in, osg::Vec3d& world) const {
    osg::Vec3d place;
    if (!transform(in, getGeographicSRS(), place)) {
        return false;
    }
    world = m_ellipsoid.geodeticToGeocentric(place);
    return true;
}

bool SpatialReference::transformFromWorld(const osg::Vec3d& world, osg::Vec3d& out) const {
    return getGeographicSRS()->transform(m_ellipsoid.geocentricToGeodetic(world), this, out);
}

}  // namespace globe
