#include "globe/tile_selection.h"

#include <algorithm>
#include <cmath>

namespace globe {
namespace {

constexpr double kTexels = 256.0;
constexpr double kMaxTexel_px = 1.6;
// Of one of the 16 quads along a tile's side.
constexpr double kMaxQuad_px = 45.0;
constexpr double kMaxSag_px = 0.4;

double gap(const Xyz& a, const Xyz& b) { return std::hypot(a.x - b.x, a.y - b.y, a.z - b.z); }

double tileHeight_m(int level) { return toRadians(tileSize(level)) * kEquatorRadius_m; }

}  // namespace

int meshPosts(int level) { return level == 0 ? 33 : 17; }

Ball tileBall(const TileKey& key, double lowest_m, double highest_m) {
    const GeoExtent extent = key.extent();
    const double lon = 0.5 * (extent.west + extent.east);
    const double lat = 0.5 * (extent.south + extent.north);
    Ball ball;
    ball.center = geodeticToGeocentric({lon, lat, 0.5 * (lowest_m + highest_m)});
    // The farthest points lie on the rim: corners, or the middles of sides for tiles that reach about the
    // earth.
    for (const double x : {extent.west, lon, extent.east}) {
        for (const double y :
             {extent.south, std::clamp(0.0, extent.south, extent.north), lat, extent.north}) {
            for (const double height : {lowest_m, highest_m}) {
                ball.radius_m =
                    std::max(ball.radius_m, gap(ball.center, geodeticToGeocentric({x, y, height})));
            }
        }
    }
    return ball;
}

TileView::TileView(const Xyz& eye, double pixels_per_radian)
    : m_eye(eye), m_pixels_per_radian(pixels_per_radian) {}

double TileView::distanceTo(const Ball& ball) const {
    return std::max(0.0, gap(m_eye, ball.center) - ball.radius_m);
}

TileNeed TileView::needOf(const TileKey& key, const Ball& ball) const {
    // The nearest point of the tile itself rather than of the ball, which reaches far above a large tile.
    const Geodetic eye = geocentricToGeodetic(m_eye);
    const GeoExtent extent = key.extent();
    const double middle = 0.5 * (extent.west + extent.east);
    const double aside = wrapLongitude(eye.lon - middle);
    const double lon = middle + std::clamp(aside, -0.5 * extent.width(), 0.5 * extent.width());
    const double lat = std::clamp(eye.lat, extent.south, extent.north);
    const double height =
        std::max(0.0, std::hypot(ball.center.x, ball.center.y, ball.center.z) - kEquatorRadius_m);
    const Xyz nearest = geodeticToGeocentric({lon, lat, std::min(height, std::max(0.0, eye.alt))});
    const double distance = std::max(1.0, std::max(gap(m_eye, nearest), distanceTo(ball)));

    const double side = tileHeight_m(key.level);
    const double quad = side / (meshPosts(key.level) - 1);
    const double scale = m_pixels_per_radian / distance;
    return {side / kTexels * scale, quad * quad / (8.0 * kEquatorRadius_m) * scale};
}

bool TileView::isHidden(const Ball& ball) const {
    // In a space scaled so that the earth is the unit sphere; the ball is widened by the flattening.
    const double a = 1.0 / kEquatorRadius_m;
    const double b = 1.0 / kPolarRadius_m;
    const Xyz eye{m_eye.x * a, m_eye.y * a, m_eye.z * b};
    const Xyz way{ball.center.x * a - eye.x, ball.center.y * a - eye.y, ball.center.z * b - eye.z};
    const double radius = ball.radius_m * b;
    const double eye2 = eye.x * eye.x + eye.y * eye.y + eye.z * eye.z;
    const double tangent2 = eye2 - 1.0;
    if (tangent2 <= 0.0) {
        return false;
    }
    // Behind the plane of the horizon's circle ...
    const double toward = -(way.x * eye.x + way.y * eye.y + way.z * eye.z);
    if (toward - radius * std::sqrt(eye2) <= tangent2) {
        return false;
    }
    // ... and inside the cone through it, with the ball's radius kept from its side.
    const double way2 = way.x * way.x + way.y * way.y + way.z * way.z;
    const double distance = std::sqrt(way2);
    if (distance <= radius) {
        return false;
    }
    const double off_axis = std::acos(std::clamp(toward / (distance * std::sqrt(eye2)), -1.0, 1.0));
    const double cone = std::asin(std::min(1.0, 1.0 / std::sqrt(eye2)));
    return off_axis + std::asin(std::min(1.0, radius / distance)) < cone;
}

bool shouldRefine(const TileNeed& need, const FinerData& finer, int level) {
    if (level >= TileKey::kMaxLevel) {
        return false;
    }
    return (finer.pictures && need.texel_px > kMaxTexel_px) ||
           (finer.heights && need.texel_px * kTexels / 16.0 > kMaxQuad_px) || need.sag_px > kMaxSag_px;
}

}  // namespace globe
