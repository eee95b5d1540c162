// What the camera looks at, and from where.
#pragma once

#include <optional>
#include <string>

#include "globe/geo_point.h"

namespace globe {

// Angles in degrees, the range in metres. What is not set stays as it is when the viewpoint is taken up.
class Viewpoint {
public:
    Viewpoint() = default;
    // A point of the WGS 84 ellipsoid, `z` metres above it; heading clockwise from north, pitch negative
    // below the horizon (-90 looks straight down), range from the eye to the point.
    Viewpoint(const char* name, double lon, double lat, double z, double heading, double pitch, double range);

    std::string& name() { return m_name; }
    const std::string& name() const { return m_name; }

    std::optional<GeoPoint>& focalPoint() { return m_focal_point; }
    const std::optional<GeoPoint>& focalPoint() const { return m_focal_point; }
    std::optional<double>& heading() { return m_heading; }
    const std::optional<double>& heading() const { return m_heading; }
    std::optional<double>& pitch() { return m_pitch; }
    const std::optional<double>& pitch() const { return m_pitch; }
    std::optional<double>& range() { return m_range; }
    const std::optional<double>& range() const { return m_range; }

    void setFocalPoint(const GeoPoint& point) { m_focal_point = point; }
    void setHeading(double degrees) { m_heading = degrees; }
    void setPitch(double degrees) { m_pitch = degrees; }
    void setRange(double metres) { m_range = metres; }

private:
    std::string m_name;
    std::optional<GeoPoint> m_focal_point;
    std::optional<double> m_heading;
    std::optional<double> m_pitch;
    std::optional<double> m_range;
};

}  // namespace globe
