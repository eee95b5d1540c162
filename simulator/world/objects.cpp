#include <algorithm>
#include <cmath>
#include <vector>

#include "simulator/world/scene.h"
#include "simulator/world/solids.h"
#include "simulator/world/terrain.h"

namespace podsim {
namespace {

// The ground that the view can show, as a rectangle.
struct Bounds {
    double x0 = 1e9, y0 = 1e9, x1 = -1e9, y1 = -1e9;

    void add(double x, double y) {
        x0 = std::min(x0, x);
        y0 = std::min(y0, y);
        x1 = std::max(x1, x);
        y1 = std::max(y1, y);
    }
};

Bounds boundsOf(const Scene& scene, double reach_m) {
    const Camera& c = scene.camera;
    Bounds b;
    for (int corner = 0; corner < 4; ++corner) {
        const Vec3 d = c.ray(corner & 1 ? scene.canvas.width : 0, corner & 2 ? scene.canvas.height : 0);
        const double flat = std::sqrt(d.x * d.x + d.y * d.y);
        double k = d.z < 0 ? c.position.z / -d.z : 1e9;
        if (k * flat > reach_m) {
            k = reach_m / flat;
        }
        b.add(c.position.x + d.x * k, c.position.y + d.y * k);
    }
    constexpr double kMargin = 30;  // what stands outside may reach in
    return {b.x0 - kMargin, b.y0 - kMargin, b.x1 + kMargin, b.y1 + kMargin};
}

// Calls visit(x, y) for each image of a point inside the bounds.
template <class Visit>
void forImages(const Bounds& b, double x, double y, Visit visit) {
    for (double ix = x + kPeriod * std::ceil((b.x0 - x) / kPeriod); ix < b.x1; ix += kPeriod) {
        for (double iy = y + kPeriod * std::ceil((b.y0 - y) / kPeriod); iy < b.y1; iy += kPeriod) {
            visit(ix, iy);
        }
    }
}

struct Item {
    enum Kind { kTree, kHouse, kVehicle } kind;
    double depth;
    std::size_t index;
    double x, y;
};

// True if a ball touches the picture and is not too small to see.
bool inView(const Scene& scene, const Vec3& at, double radius, double min_px, double& depth) {
    double x = 0, y = 0;
    if (!scene.camera.project(at, x, y, depth)) {
        return false;
    }
    const double r = radius * scene.camera.focal_px / depth;
    return r > min_px && x > -r && y > -r && x < scene.canvas.width + r && y < scene.canvas.height + r;
}

void drawTree(const Scene& scene, const Tree& tree, double wx, double wy) {
    constexpr Colour kLeaves[] = {{84, 108, 121}, {74, 111, 120}, {95, 105, 123}, {70, 113, 122}};
    double px = 0, py = 0, depth = 0;
    if (!scene.camera.project({wx, wy, tree.height - tree.radius}, px, py, depth)) {
        return;
    }
    const double size = 2 * tree.radius * scene.camera.focal_px / depth;
    const TreeSprite& sprite = Terrain::instance().trees[static_cast<std::size_t>(tree.variant)];
    int level = 0;
    while (level < TreeSprite::kLog2 && (128 >> (level + 1)) >= size) {
        ++level;
    }
    const int n = 128 >> level;
    const auto& shade = sprite.shade[static_cast<std::size_t>(level)];
    const auto& alpha = sprite.alpha[static_cast<std::size_t>(level)];
    Colour base = kLeaves[tree.variant];
    if (scene.infrared) {
        base.y = static_cast<std::uint8_t>(52 + tree.variant * 6);
    }
    const Colour haze = hazeColour(scene.infrared);
    const int clear = scene.clearness(depth);
    const double left = px - size / 2, top = py - size / 2;
    const Canvas& c = scene.canvas;
    const int x0 = std::max(0, static_cast<int>(std::floor(left))),
              x1 = std::min(c.width, static_cast<int>(left + size) + 1);
    const int y0 = std::max(0, static_cast<int>(std::floor(top))),
              y1 = std::min(c.height, static_cast<int>(top + size) + 1);
    const int step = static_cast<int>(n * 65536.0 / size);
    const int contrast = scene.infrared ? 96 : 256;
    for (int y = y0; y < y1; ++y) {
        const int ty = static_cast<int>((y + 0.5 - top) * n / size);
        if (ty < 0 || ty >= n) {
            continue;
        }
        std::uint8_t* line = c.y + static_cast<std::ptrdiff_t>(y) * c.y_stride;
        const bool chroma = c.u && (y & 1) == 0;
        std::uint8_t* u = chroma ? c.u + static_cast<std::ptrdiff_t>(y / 2) * c.c_stride : nullptr;
        std::uint8_t* v = chroma ? c.v + static_cast<std::ptrdiff_t>(y / 2) * c.c_stride : nullptr;
        std::int64_t tx16 = static_cast<std::int64_t>((x0 + 0.5 - left) * step);
        for (int x = x0; x < x1; ++x, tx16 += step) {
            const auto tx = static_cast<int>(tx16 >> 16);
            if (tx < 0 || tx >= n) {
                continue;
            }
            const auto at = static_cast<std::size_t>(ty * n + tx);
            const int a = alpha[at];
            if (a == 0) {
                continue;
            }
            const int lit = base.y + ((shade[at] - 128) * contrast * base.y >> 15);
            const int value = (lit * clear + haze.y * (256 - clear)) >> 8;
            line[x] = static_cast<std::uint8_t>(line[x] + (value - line[x]) * (a + (a >> 7)) / 256);
            if (chroma && (x & 1) == 0 && a > 96) {
                u[x / 2] = static_cast<std::uint8_t>((base.u * clear + haze.u * (256 - clear)) >> 8);
                v[x / 2] = static_cast<std::uint8_t>((base.v * clear + haze.v * (256 - clear)) >> 8);
            }
        }
    }
}

void collect(const Scene& scene, const Bounds& bounds, std::vector<Item>& items) {
    const World& world = World::instance();
    double depth = 0;
    for (std::size_t i = 0; i < world.trees().size(); ++i) {
        const Tree& t = world.trees()[i];
        forImages(bounds, t.x, t.y, [&](double x, double y) {
            if (inView(scene, {x, y, t.height / 2}, t.radius * 1.3, 0.9, depth)) {
                items.push_back({Item::kTree, depth, i, x, y});
            }
        });
    }
    for (std::size_t i = 0; i < world.houses().size(); ++i) {
        const House& h = world.houses()[i];
        forImages(bounds, h.x, h.y, [&](double x, double y) {
            if (inView(scene, {x, y, h.wall / 2}, h.length * 0.7, 2, depth)) {
                items.push_back({Item::kHouse, depth, i, x, y});
            }
        });
    }
    for (std::size_t i = 0; !scene.only_lasting && i < world.traffic().size(); ++i) {
        const Traffic& t = world.traffic()[i];
        const TrafficState state = world.state(t, scene.time_s);
        forImages(bounds, state.position.x, state.position.y, [&](double x, double y) {
            if (inView(scene, {x, y, state.position.z}, t.length_m * 0.6, 0.8, depth)) {
                items.push_back({Item::kVehicle, depth, i, x, y});
            }
        });
    }
    std::sort(items.begin(), items.end(), [](const Item& a, const Item& b) { return a.depth > b.depth; });
}

}  // namespace

void drawObjects(const Scene& scene) {
    const World& world = World::instance();
    const Bounds bounds = boundsOf(scene, std::clamp(scene.camera.focal_px * 1.1, 1800.0, 5000.0));
    std::vector<Item> items;
    collect(scene, bounds, items);
    auto moved = [&](const Item& item) {
        TrafficState state = world.state(world.traffic()[item.index], scene.time_s);
        state.position.x = item.x;
        state.position.y = item.y;
        return state;
    };
    // Boats pass under the bridge, so they come first.
    for (const Item& item : items) {
        if (item.kind == Item::kVehicle && world.traffic()[item.index].type == kBoat) {
            drawBoat(scene, world.traffic()[item.index], moved(item));
        }
    }
    const double bridge_x = (World::bridgeWest() + World::bridgeEast()) / 2;
    const Bounds wide = {bounds.x0 - 120, bounds.y0 - 40, bounds.x1 + 120, bounds.y1 + 40};
    forImages(wide, bridge_x, World::mainRoadY(bridge_x),
              [&](double x, double y) { drawBridge(scene, x - bridge_x, y - World::mainRoadY(bridge_x)); });
    for (const Item& item : items) {
        if (item.kind == Item::kTree) {
            drawTree(scene, world.trees()[item.index], item.x, item.y);
        } else if (item.kind == Item::kHouse) {
            drawHouse(scene, world.houses()[item.index], item.x, item.y);
        } else if (world.traffic()[item.index].type != kBoat) {
            drawVehicle(scene, world.traffic()[item.index], moved(item));
        }
    }
}

}  // namespace podsim
