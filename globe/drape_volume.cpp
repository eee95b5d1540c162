#include "globe/drape_volume.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace globe {

namespace {

// A wall stands over the great circle between its ends, whatever their distance; other ways bend beside it.
constexpr double kArcStep_m = 300000.0;
constexpr double kBentStep_m = 50000.0;
constexpr double kRingStep_rad = 0.05;
constexpr double kRepeated_m = 1e-3;
// Height over length of what counts as a line.
constexpr double kThinnest = 1e-7;

Xyz operator+(const Xyz& a, const Xyz& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
Xyz operator-(const Xyz& a, const Xyz& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
Xyz operator*(const Xyz& a, double s) { return {a.x * s, a.y * s, a.z * s}; }
double dot(const Xyz& a, const Xyz& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
double length(const Xyz& a) { return std::sqrt(dot(a, a)); }
Xyz cross(const Xyz& a, const Xyz& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

// The ellipsoid's normal at a place, and the place with that normal.
Xyz normalAt(const Geodetic& place) {
    const double lon = toRadians(place.lon);
    const double lat = toRadians(place.lat);
    return {std::cos(lat) * std::cos(lon), std::cos(lat) * std::sin(lon), std::sin(lat)};
}

Geodetic placeOf(const Xyz& normal) {
    return {toDegrees(std::atan2(normal.y, normal.x)),
            toDegrees(std::atan2(normal.z, std::hypot(normal.x, normal.y))), 0.0};
}

double angleBetween(const Xyz& a, const Xyz& b) { return std::atan2(length(cross(a, b)), dot(a, b)); }

// Along the arc from a to b; both are unit vectors.
Xyz along(const Xyz& a, const Xyz& b, double t) {
    const double angle = angleBetween(a, b);
    if (angle < 1e-6) {
        const Xyz straight = a * (1.0 - t) + b * t;
        return straight * (1.0 / length(straight));
    }
    return a * (std::sin((1.0 - t) * angle) / std::sin(angle)) + b * (std::sin(t * angle) / std::sin(angle));
}

double apart(const Geodetic& a, const Geodetic& b) {
    return length(geodeticToGeocentric({a.lon, a.lat, 0.0}) - geodeticToGeocentric({b.lon, b.lat, 0.0}));
}

std::vector<Geodetic> cleaned(const std::vector<Geodetic>& ring) {
    std::vector<Geodetic> places;
    for (const Geodetic& place : ring) {
        if (!std::isfinite(place.lon) || !std::isfinite(place.lat) || std::fabs(place.lat) > 90.0) {
            continue;
        }
        const Geodetic flat = {wrapLongitude(place.lon), place.lat, 0.0};
        if (places.empty() || apart(places.back(), flat) > kRepeated_m) {
            places.push_back(flat);
        }
    }
    while (places.size() > 1 && apart(places.front(), places.back()) <= kRepeated_m) {
        places.pop_back();
    }
    return places;
}

// Whether the corners of a ring lie on one great circle; small rings only need a plane for that.
bool isLine(const std::vector<Geodetic>& places) {
    std::vector<Xyz> at;
    for (const Geodetic& place : places) {
        at.push_back(geodeticToGeocentric(place));
    }
    const auto farther = [&](const Xyz& a, const Xyz& b) { return length(a - at[0]) < length(b - at[0]); };
    const Xyz far = *std::max_element(at.begin(), at.end(), farther);
    const Xyz base = far - at[0];
    const Xyz side = cross(base, normalAt(places[0]));
    double most = 0.0;
    for (const Xyz& point : at) {
        most = std::max(most, std::fabs(dot(point - at[0], side)) / length(side));
    }
    return !(most > kThinnest * length(base));
}

// The direction that the ring lies around, sides weighted by their length.
Xyz middleOf(const std::vector<Xyz>& normals) {
    Xyz sum;
    for (std::size_t i = 0; i < normals.size(); ++i) {
        const Xyz& next = normals[(i + 1) % normals.size()];
        sum = sum + (normals[i] + next) * length(next - normals[i]);
    }
    const double size = length(sum);
    return size > 1e-12 ? sum * (1.0 / size) : Xyz{};
}

class Builder {
public:
    Builder(std::vector<Xyz> normals, const Xyz& middle) : m_normals(std::move(normals)), m_middle(middle) {
        double widest = 0.0;
        double step = 0.0;
        for (std::size_t i = 0; i < m_normals.size(); ++i) {
            widest = std::max(widest, angleBetween(m_normals[i], middle));
            step = std::max(step, angleBetween(m_normals[i], m_normals[(i + 1) % m_normals.size()]));
        }
        m_rings = static_cast<std::size_t>(std::max(1.0, std::ceil(widest / kRingStep_rad)));
        // Flat pieces hang below the arcs between their corners; the roof must stay above all ground.
        const double across = std::hypot(step, widest / static_cast<double>(m_rings));
        m_roof = kDrapeRoof_m + kEquatorRadius_m * (1.0 / std::cos(across * 0.5) - 1.0);
    }

    drape_volume build() {
        m_volume.origin = geodeticToGeocentric(placeOf(m_middle));
        const std::size_t count = m_normals.size();
        for (std::size_t ring = 0; ring < m_rings; ++ring) {
            for (const Xyz& normal : m_normals) {
                addPair(along(normal, m_middle, static_cast<double>(ring) / static_cast<double>(m_rings)));
            }
        }
        addPair(m_middle);
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t next = (i + 1) % count;
            addQuad(floorOf(i), floorOf(next), roofOf(next), roofOf(i));
            for (std::size_t ring = 0; ring + 1 < m_rings; ++ring) {
                const std::size_t outer = ring * count;
                const std::size_t inner = outer + count;
                addQuad(roofOf(outer + i), roofOf(outer + next), roofOf(inner + next), roofOf(inner + i));
                addQuad(floorOf(outer + next), floorOf(outer + i), floorOf(inner + i), floorOf(inner + next));
            }
            const std::size_t last = (m_rings - 1) * count;
            addTriangle(roofOf(last + i), roofOf(last + next), roofOf(m_rings * count));
            addTriangle(floorOf(last + next), floorOf(last + i), floorOf(m_rings * count));
        }
        return std::move(m_volume);
    }

private:
    static std::size_t floorOf(std::size_t pair) { return pair * 2; }
    static std::size_t roofOf(std::size_t pair) { return pair * 2 + 1; }

    void addPair(const Xyz& normal) {
        Geodetic place = placeOf(normal);
        for (const double height : {kDrapeFloor_m, m_roof}) {
            place.alt = height;
            m_volume.vertices.push_back(geodeticToGeocentric(place) - m_volume.origin);
        }
    }

    void addTriangle(std::size_t a, std::size_t b, std::size_t c) {
        for (const std::size_t corner : {a, b, c}) {
            m_volume.corners.push_back(static_cast<std::uint32_t>(corner));
        }
    }

    void addQuad(std::size_t a, std::size_t b, std::size_t c, std::size_t d) {
        addTriangle(a, b, c);
        addTriangle(a, c, d);
    }

    std::vector<Xyz> m_normals;
    Xyz m_middle;
    std::size_t m_rings = 1;
    double m_roof = kDrapeRoof_m;
    drape_volume m_volume;
};

}  // namespace

drape_volume makeDrapeVolume(const std::vector<Geodetic>& ring, GeoInterpolation sides,
                             const Geodetic* around) {
    const std::vector<Geodetic> places = cleaned(ring);
    if (places.size() < 3 || isLine(places)) {
        return {};
    }
    const double step_m = sides == GEOINTERP_GREAT_CIRCLE ? kArcStep_m : kBentStep_m;
    std::vector<Geodetic> outline = {places.front()};
    for (std::size_t i = 0; i < places.size(); ++i) {
        appendWay(places[i], places[(i + 1) % places.size()], step_m, sides, outline);
    }
    outline.pop_back();
    std::vector<Xyz> normals;
    normals.reserve(outline.size());
    for (const Geodetic& place : outline) {
        normals.push_back(normalAt(place));
    }
    const Xyz middle = around != nullptr ? normalAt(*around) : middleOf(normals);
    if (length(middle) == 0.0) {
        return {};
    }
    return Builder(std::move(normals), middle).build();
}

}  // namespace globe
