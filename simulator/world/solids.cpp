#include "simulator/world/solids.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace podsim {
namespace {

// A colour of the visible picture with the radiance of the infrared one.
struct Paint {
    Colour visible;
    std::uint8_t radiance;
};

Colour colourOf(const Scene& scene, const Paint& paint, double light, double distance) {
    Colour c = paint.visible;
    if (scene.infrared) {
        c.y = static_cast<std::uint8_t>(paint.radiance * (0.85 + 0.15 * light));
    } else {
        c.y = static_cast<std::uint8_t>(std::clamp(c.y * light, 0.0, 255.0));
    }
    return scene.hazed(c, distance);
}

// A flat convex face, drawn if its front is turned to the camera; corners counterclockwise from the front.
void drawFace(const Scene& scene, const Vec3* corners, int n, const Paint& paint, bool both_sides = false) {
    const Vec3 a = corners[1] - corners[0], b = corners[2] - corners[0];
    Vec3 normal = {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
    const Vec3 to_camera = scene.camera.position - corners[0];
    if (dot(normal, to_camera) <= 0 && !both_sides) {
        return;
    }
    Point points[16];
    double depth = 0;
    for (int i = 0; i < n; ++i) {
        if (!scene.camera.project(corners[i], points[i].x, points[i].y, depth)) {
            return;
        }
    }
    const double sun = (normal.x * kSunX + normal.y * kSunY + normal.z * kSunTan) /
                       (std::max(1e-9, length(normal)) * std::sqrt(1 + kSunTan * kSunTan));
    fillConvex(scene.canvas, points, n, colourOf(scene, paint, 0.66 + 0.42 * std::max(0.0, sun), depth));
}

// Axes of something that stands at a point and points in a direction.
struct Frame {
    double x, y, z, c, s;
    Vec3 at(double along, double left, double up) const {
        return {x + along * c - left * s, y + along * s + left * c, z + up};
    }
};

// An upright solid over a convex outline, counterclockwise from above.
void drawPrism(const Scene& scene, const Frame& f, const Point* outline, int n, double z0, double z1,
               const Paint& side, const Paint& top) {
    Vec3 roof[8];
    for (int i = 0; i < n; ++i) {
        const Point& p = outline[i];
        const Point& q = outline[(i + 1) % n];
        const Vec3 face[4] = {f.at(p.x, p.y, z0), f.at(q.x, q.y, z0), f.at(q.x, q.y, z1), f.at(p.x, p.y, z1)};
        drawFace(scene, face, 4, side);
        roof[i] = face[3];
    }
    drawFace(scene, roof, n, top);
}

void drawBox(const Scene& scene, const Frame& f, double back, double front, double half_width, double z0,
             double z1, const Paint& side, const Paint& top) {
    const Point outline[4] = {
        {back, -half_width}, {front, -half_width}, {front, half_width}, {back, half_width}};
    drawPrism(scene, f, outline, 4, z0, z1, side, top);
}

// The convex hull of 8 points, counterclockwise; returns its number of corners.
int hullOf(Point* points, Point* hull) {
    constexpr int n = 8;
    std::sort(points, points + n,
              [](const Point& a, const Point& b) { return a.x < b.x || (a.x == b.x && a.y < b.y); });
    int k = 0;
    auto add = [&](const Point& p, int keep) {
        while (k >= keep + 2 && (hull[k - 1].x - hull[k - 2].x) * (p.y - hull[k - 2].y) -
                                        (hull[k - 1].y - hull[k - 2].y) * (p.x - hull[k - 2].x) <=
                                    0) {
            --k;
        }
        hull[k++] = p;
    };
    for (int i = 0; i < n; ++i) {
        add(points[i], 0);
    }
    const int half = k - 1;
    for (int i = n - 2; i >= 0; --i) {
        add(points[i], half);
    }
    return k - 1;
}

// The shadow of an upright box: the hull of its footprint and of its roof, moved away from the sun.
void drawShadow(const Scene& scene, const Frame& f, double half_length, double half_width, double height) {
    constexpr double kCorners[4][2] = {{-1, -1}, {1, -1}, {1, 1}, {-1, 1}};
    Point points[8], hull[16];
    double depth = 0;
    for (int i = 0; i < 8; ++i) {
        Vec3 p = f.at(kCorners[i & 3][0] * half_length, kCorners[i & 3][1] * half_width, 0.02);
        if (i >= 4) {
            p = p - Vec3{kSunX * height / kSunTan, kSunY * height / kSunTan, 0};
        }
        if (!scene.camera.project(p, points[i].x, points[i].y, depth)) {
            return;
        }
    }
    const int n = hullOf(points, hull);
    if (scene.infrared) {
        fillConvex(scene.canvas, hull, n, {110, 128, 128}, 60);
    } else {
        fillConvex(scene.canvas, hull, n, {30, 130, 127}, 128);
    }
}

constexpr Paint kGlass = {{46, 132, 126}, 150};
constexpr Paint kBodies[8] = {
    {{214, 128, 128}, 205}, {{118, 106, 190}, 210}, {{96, 168, 104}, 208},  {{58, 130, 127}, 225},
    {{176, 128, 128}, 206}, {{150, 70, 150}, 208},  {{210, 120, 132}, 204}, {{104, 124, 118}, 212},
};

void drawCar(const Scene& scene, const Frame& f, const Traffic& t) {
    const Paint& body = kBodies[t.colour];
    const double l = t.length_m / 2, w = t.width_m / 2;
    const Paint hood = {body.visible, 244};  // the engine shows through
    drawBox(scene, f, -l, l, w, 0.25, 0.88, body, scene.infrared ? hood : body);
    drawBox(scene, f, -l * 0.72, l * 0.38, w * 0.86, 0.88, 1.38, kGlass, kGlass);
    drawBox(scene, f, -l * 0.58, l * 0.2, w * 0.8, 1.38, t.height_m, body, body);
}

void drawTruck(const Scene& scene, const Frame& f, const Traffic& t) {
    constexpr Paint kLoads[4] = {
        {{222, 128, 128}, 150}, {{120, 160, 108}, 146}, {{138, 112, 146}, 152}, {{196, 112, 136}, 148}};
    const double l = t.length_m / 2, w = t.width_m / 2;
    const Paint& load = kLoads[t.colour % 4];
    const Paint& cab = kBodies[(t.colour + 3) % 8];
    const Paint engine = {cab.visible, 246};
    auto drawLoad = [&] { drawBox(scene, f, -l, l * 0.52, w, 0.8, t.height_m, load, load); };
    auto drawCab = [&] {
        drawBox(scene, f, l * 0.58, l, w * 0.96, 0.5, 1.6, engine, engine);
        drawBox(scene, f, l * 0.6, l * 0.96, w * 0.92, 1.6, 2.3, kGlass, engine);
        drawBox(scene, f, l * 0.6, l * 0.92, w * 0.9, 2.3, 2.7, engine, engine);
    };
    const Vec3 to_camera = scene.camera.position - f.at(l * 0.55, 0, 0);
    if (to_camera.x * f.c + to_camera.y * f.s > 0) {
        drawLoad();
        drawCab();
    } else {
        drawCab();
        drawLoad();
    }
}

void drawBus(const Scene& scene, const Frame& f, const Traffic& t) {
    const Paint& body = kBodies[(t.colour + 1) % 8];
    const double l = t.length_m / 2, w = t.width_m / 2;
    const Paint roof = {
        {static_cast<std::uint8_t>(std::min(235, body.visible.y + 50)), body.visible.u, body.visible.v}, 176};
    drawBox(scene, f, -l, l, w, 0.35, 1.5, body, body);
    drawBox(scene, f, -l, l, w, 1.5, 2.5, kGlass, kGlass);
    drawBox(scene, f, -l, l, w, 2.5, t.height_m, body, roof);
    const Paint box = {{150, 128, 128}, 235};
    drawBox(scene, f, -l * 0.75, -l * 0.35, w * 0.6, t.height_m, t.height_m + 0.3, box, box);
}

// A face of a wall with a row of windows.
void drawWindows(const Scene& scene, const Frame& f, double length, double side, double wall) {
    constexpr Paint kPane = {{58, 134, 125}, 120};
    const int count = static_cast<int>(length / 3.2);
    const int floors = wall > 4.8 ? 2 : 1;
    for (int floor = 0; floor < floors; ++floor) {
        const double z = floors == 2 ? 0.9 + floor * wall / 2 : wall * 0.36;
        for (int i = 0; i < count; ++i) {
            const double a = -length / 2 + (i + 0.5) * length / count;
            const double w = side > 0 ? -0.55 : 0.55;
            const Vec3 pane[4] = {f.at(a - w, side, z), f.at(a + w, side, z), f.at(a + w, side, z + 1.3),
                                  f.at(a - w, side, z + 1.3)};
            drawFace(scene, pane, 4, kPane);
        }
    }
}

// Two arms that fade and the churned water between them.
void drawWake(const Scene& scene, const Frame& f, double l, double w) {
    const Colour foam = {scene.infrared ? std::uint8_t{76} : std::uint8_t{176}, 132, 124};
    auto patch = [&](const Vec3(&corners)[4], int opacity) {
        Point points[4];
        double depth = 0;
        for (int i = 0; i < 4; ++i) {
            if (!scene.camera.project(corners[i], points[i].x, points[i].y, depth)) {
                return;
            }
        }
        fillConvex(scene.canvas, points, 4, foam, opacity);
    };
    for (int k = 0; k < 4; ++k) {
        const double a = -l * (0.6 + 1.1 * k), b = -l * (0.6 + 1.1 * (k + 1));
        const double near = w * (0.7 + 0.55 * k), far = w * (0.7 + 0.55 * (k + 1));
        const double thick = w * 0.35;
        const int opacity = 110 - 26 * k;
        patch({f.at(a, near, 0), f.at(b, far, 0), f.at(b, far - thick, 0), f.at(a, near - thick, 0)},
              opacity);
        patch({f.at(a, -near, 0), f.at(b, -far, 0), f.at(b, -far + thick, 0), f.at(a, -near + thick, 0)},
              opacity);
        patch({f.at(a - l * 0.4, -w * 0.5, 0), f.at(b - l * 0.4, -w * 0.6, 0), f.at(b - l * 0.4, w * 0.6, 0),
               f.at(a - l * 0.4, w * 0.5, 0)},
              opacity * 2 / 3);
    }
}

// The bridge in pieces along the road, and its ramps: banks of earth that end in walls under the deck's ends.
class Bridge {
public:
    Bridge(const Scene& scene, double dx, double dy) : m_scene(scene), m_dx(dx), m_dy(dy) {}

    void drawPiersAndWalls() const {
        for (double x = World::bridgeWest() + 9; x < World::bridgeEast() - 6;
             x += (World::bridgeEast() - World::bridgeWest() - 18) / 2) {
            const Vec3 foot = at(x, 0, 0);
            drawBox(m_scene, {foot.x, foot.y, 0, 1, 0}, -1, 1, World::kMainHalf - 1, 0,
                    World::mainRoadZ(x) - 1, kConcrete, kConcrete);
        }
        for (const double x : {m_wallWest, m_wallEast}) {
            const double z = World::mainRoadZ(x), foot = kEdge + kSpread * z;
            const Vec3 wall[4] = {at(x, -foot, 0), at(x, foot, 0), at(x, kEdge, z), at(x, -kEdge, z)};
            drawFace(m_scene, wall, 4, kConcrete, true);
        }
    }

    void drawSides() const {
        drawBank(m_from, m_wallWest);
        for (double x = m_wallWest; x < m_wallEast; x += kStep) {
            drawSide(x, std::min(x + kStep, m_wallEast) + kOverlap, 0.8, 1, 0, kConcrete);
        }
        drawBank(m_wallEast, m_to);
    }

    void drawDeck() const {
        for (double x = m_from; x < m_to; x += kStep) {
            const double n = std::min(x + kStep, m_to);
            strip(x, n, -kEdge, -World::kMainHalf, 0, kConcrete);
            strip(x, n, World::kMainHalf, kEdge, 0, kConcrete);
            strip(x, n, -World::kMainHalf, World::kMainHalf, 0, kDeck);
            for (const double line : {-7.0, 0.0, 7.0}) {
                const double half = line == 0 ? 0.3 : 0.16;
                strip(x, n, line - half, line + half, 0.02, kLine);
            }
            if (static_cast<int>(std::floor((x - m_from) / kStep)) % 2 == 0) {
                strip(x, n, -3.81, -3.49, 0.02, kLine);
                strip(x, n, 3.49, 3.81, 0.02, kLine);
            }
            drawRails(x, n);
        }
    }

private:
    static constexpr Paint kDeck = {{108, 129, 127}, 150}, kConcrete = {{172, 126, 130}, 150},
                           kGrass = {{104, 109, 124}, 96}, kLine = {{206, 127, 128}, 160},
                           kRail = {{200, 128, 128}, 140};
    static constexpr double kStep = 6, kEdge = World::kMainHalf + 0.8, kSpread = 1.5;
    static constexpr double kOverlap = 0.12;  // of neighbouring pieces, against seams

    Vec3 at(double x, double left, double z) const {
        return {x + m_dx, World::mainRoadY(x) + m_dy + left, z};
    }

    // Both sides between x and n; low and high are shares of the height between ground and deck.
    void drawSide(double x, double n, double low, double high, double spread, const Paint& paint) const {
        const double z0 = World::mainRoadZ(x), z1 = World::mainRoadZ(n);
        auto point = [&](double px, double z, double share, double way) {
            return at(px, way * (kEdge + spread * z * (1 - share)), z * share);
        };
        const Vec3 south[4] = {point(x, z0, low, -1), point(n, z1, low, -1), point(n, z1, high, -1),
                               point(x, z0, high, -1)};
        const Vec3 north[4] = {point(n, z1, low, 1), point(x, z0, low, 1), point(x, z0, high, 1),
                               point(n, z1, high, 1)};
        drawFace(m_scene, south, 4, paint);
        drawFace(m_scene, north, 4, paint);
    }

    void drawBank(double from, double to) const {
        constexpr int kBands = 4;
        int k = 0;
        for (double x = from; x < to; x += kStep, ++k) {
            for (int band = 0; band < kBands; ++band) {
                Paint grass = kGrass;
                grass.visible.y =
                    static_cast<std::uint8_t>(grass.visible.y + (k * 7 + band * 11) % 13 - 3 * band);
                drawSide(x, std::min(x + kStep, to) + kOverlap, band / double{kBands}, (band + 1.04) / kBands,
                         kSpread, grass);
            }
        }
    }

    void strip(double x, double n, double a, double b, double lift, const Paint& paint) const {
        const double z0 = World::mainRoadZ(x) + lift, z1 = World::mainRoadZ(n) + lift;
        const Vec3 face[4] = {at(x, a, z0), at(n + kOverlap, a, z1), at(n + kOverlap, b, z1), at(x, b, z0)};
        drawFace(m_scene, face, 4, paint);
    }

    void drawRails(double x, double n) const {
        const double z0 = World::mainRoadZ(x), z1 = World::mainRoadZ(n);
        if (z0 < 1.5 || z1 < 1.5) {
            return;
        }
        for (const double side : {-kEdge, kEdge}) {
            const Vec3 rail[4] = {at(x, side, z0 + 0.55), at(n, side, z1 + 0.55), at(n, side, z1 + 1.0),
                                  at(x, side, z0 + 1.0)};
            drawFace(m_scene, rail, 4, kRail, true);
        }
    }

    const Scene& m_scene;
    double m_dx, m_dy;
    double m_from = World::bridgeWest() - 60, m_to = World::bridgeEast() + 60;
    double m_wallWest = World::bridgeWest() - 2, m_wallEast = World::bridgeEast() + 2;
};

}  // namespace

void drawHouse(const Scene& scene, const House& h, double x, double y) {
    constexpr Paint kWalls[6] = {{{206, 122, 132}, 134}, {{186, 118, 136}, 138}, {{150, 112, 148}, 142},
                                 {{214, 126, 129}, 132}, {{176, 124, 130}, 136}, {{196, 114, 136}, 138}};
    constexpr Paint kRoofs[6] = {{{112, 110, 162}, 168}, {{84, 128, 130}, 178}, {{98, 116, 150}, 170},
                                 {{120, 106, 166}, 166}, {{72, 134, 126}, 182}, {{104, 114, 156}, 168}};
    const Frame f = {x, y, 0, std::cos(h.heading), std::sin(h.heading)};
    const double l = h.length / 2, w = h.width / 2;
    const Paint& wall = kWalls[h.colour];
    const Paint& tiles = kRoofs[h.colour];
    auto windows = [&] {
        if (scene.camera.focal_px / length(scene.camera.position - Vec3{x, y, 0}) < 2.5) {
            return;
        }
        drawWindows(scene, f, h.length, -w - 0.03, h.wall);
        drawWindows(scene, f, h.length, w + 0.03, h.wall);
    };
    if (h.flat) {
        constexpr Paint kFlat = {{168, 128, 128}, 190};
        drawBox(scene, f, -l, l, w, 0, h.wall, wall, kFlat);
        windows();
    } else {
        drawBox(scene, f, -l, l, w, 0, h.wall, wall, wall);
        windows();
        const double eaves = 0.5, z = h.wall - 0.2, ridge = h.wall + h.roof;
        const Vec3 right[4] = {f.at(-l - eaves, -w - eaves, z), f.at(l + eaves, -w - eaves, z),
                               f.at(l + eaves, 0, ridge), f.at(-l - eaves, 0, ridge)};
        const Vec3 left[4] = {f.at(l + eaves, w + eaves, z), f.at(-l - eaves, w + eaves, z),
                              f.at(-l - eaves, 0, ridge), f.at(l + eaves, 0, ridge)};
        const Vec3 front[3] = {f.at(l, -w, h.wall), f.at(l, w, h.wall), f.at(l, 0, ridge)};
        const Vec3 back[3] = {f.at(-l, w, h.wall), f.at(-l, -w, h.wall), f.at(-l, 0, ridge)};
        drawFace(scene, front, 3, wall);
        drawFace(scene, back, 3, wall);
        drawFace(scene, right, 4, tiles);
        drawFace(scene, left, 4, tiles);
    }
    if (!h.flat) {
        constexpr Paint kChimney = {{120, 112, 150}, 235};
        drawBox(scene, {f.at(l * 0.4, w * 0.25, 0).x, f.at(l * 0.4, w * 0.25, 0).y, 0, f.c, f.s}, -0.45, 0.45,
                0.45, h.wall + h.roof * 0.5, h.wall + h.roof + 0.7, kChimney, kChimney);
    }
}

void drawVehicle(const Scene& scene, const Traffic& t, const TrafficState& state) {
    const Frame f = {state.position.x, state.position.y, state.position.z - t.height_m / 2,
                     std::cos(state.heading), std::sin(state.heading)};
    drawShadow(scene, f, t.length_m / 2, t.width_m / 2, t.height_m * 0.8);
    if (t.type == kBus) {
        drawBus(scene, f, t);
    } else if (t.type == kTruck) {
        drawTruck(scene, f, t);
    } else {
        drawCar(scene, f, t);
    }
}

void drawBoat(const Scene& scene, const Traffic& t, const TrafficState& state) {
    constexpr Paint kHulls[4] = {
        {{196, 128, 128}, 150}, {{92, 150, 116}, 140}, {{108, 112, 172}, 146}, {{70, 128, 126}, 138}};
    constexpr Paint kDeck = {{166, 110, 140}, 160};
    constexpr Paint kCabin = {{222, 128, 128}, 176};
    constexpr Paint kEngine = {{110, 128, 128}, 246};
    const Frame f = {state.position.x, state.position.y, 0, std::cos(state.heading), std::sin(state.heading)};
    const double l = t.length_m / 2, w = t.width_m / 2;
    drawWake(scene, f, l, w);
    const Paint& hull = kHulls[t.colour % 4];
    const Point outline[5] = {{-l, -w}, {l * 0.55, -w}, {l, 0}, {l * 0.55, w}, {-l, w}};
    drawPrism(scene, f, outline, 5, 0, 1.0, hull, kDeck);
    if (t.length_m > 15) {
        constexpr Paint kCargo = {{124, 116, 144}, 120};
        drawBox(scene, f, -l * 0.35, l * 0.6, w * 0.72, 1.0, 1.5, kCargo, kCargo);
        drawBox(scene, f, -l * 0.85, -l * 0.5, w * 0.7, 1.0, t.height_m, kCabin, kCabin);
    } else {
        drawBox(scene, f, -l * 0.4, l * 0.3, w * 0.62, 1.0, t.height_m, kCabin, kCabin);
    }
    drawBox(scene, f, -l, -l * 0.88, w * 0.4, 1.0, 1.5, kEngine, kEngine);
}

void drawBridge(const Scene& scene, double dx, double dy) {
    const Bridge bridge(scene, dx, dy);
    bridge.drawPiersAndWalls();
    bridge.drawSides();
    bridge.drawDeck();
}

}  // namespace podsim
