#include "globe/circle_node.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "globe/drape_node.h"
#include "globe/geo_interpolation.h"
#include "globe/polygon_symbol.h"

namespace globe {

namespace {

// Half around the earth: no circle is larger.
constexpr double kLargestRadius_m = 20003931.0;
constexpr int kCorners = 128;

}  // namespace

void CircleNode::set(const GeoPoint& center, double radius_m, const Style& style, double arc_start_deg,
                     double arc_end_deg, bool pie) {
    m_center = center;
    m_radius_m = radius_m;
    removeChildren(0, getNumChildren());
    GeoPoint place = center;
    const auto* symbol = style.get<PolygonSymbol>();
    const bool sound = std::isfinite(arc_start_deg) && std::isfinite(arc_end_deg) && std::isfinite(radius_m);
    if (symbol == nullptr || !sound || radius_m <= 0.0 || radius_m >= kLargestRadius_m ||
        !place.makeGeographic()) {
        return;
    }
    const double span = arc_end_deg - arc_start_deg;
    const bool whole = std::fabs(span) >= 360.0;
    const double arc = whole ? 360.0 : wrapBearing(span);
    const int steps = std::max(2, static_cast<int>(std::ceil(kCorners * arc / 360.0)));
    std::vector<Geodetic> ring;
    for (int i = 0; i < steps + (whole ? 0 : 1); ++i) {
        ring.push_back(
            geodesicDestination({place.x(), place.y(), 0.0}, arc_start_deg + arc * i / steps, radius_m));
    }
    if (pie && !whole) {
        ring.push_back({place.x(), place.y(), 0.0});
    }
    const Geodetic middle = {place.x(), place.y(), 0.0};
    const drape_volume volume = makeDrapeVolume(ring, GEOINTERP_GREAT_CIRCLE, &middle);
    if (!volume.empty()) {
        addChild(new DrapeNode(volume, symbol->fill().color()));
    }
}

}  // namespace globe
