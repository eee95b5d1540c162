#include "globe/viewpoint.h"

namespace globe {

Viewpoint::Viewpoint(const char* name, double lon, double lat, double z, double heading, double pitch,
                     double range)
    : m_name(name != nullptr ? name : ""),
      m_focal_point(GeoPoint(SpatialReference::get("wgs84"), lon, lat, z)),
      m_heading(heading),
      m_pitch(pitch),
      m_range(range) {}

}  // namespace globe
