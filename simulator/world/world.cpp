#include "simulator/world/world.h"

#include <algorithm>

namespace podsim {
namespace {

constexpr double kTurn = 2 * kPi / kPeriod;
constexpr double kDeckHeight = 7.0;

// Shortest distance between two coordinates on the ring of one period.
double ringDistance(double a, double b) { return std::fabs(a - b - kPeriod * std::round((a - b) / kPeriod)); }

double smoothStep(double t) {
    t = std::clamp(t, 0.0, 1.0);
    return t * t * (3 - 2 * t);
}

}  // namespace

double World::mainRoadY(double x) {
    return 9 * std::sin(kTurn * x) + 4 * std::sin(3 * kTurn * x + 1) - 4 * std::sin(1.0);
}
double World::crossRoadX(double y) { return -34 + 12 * std::sin(kTurn * y + 0.6) - 12 * std::sin(0.6); }
double World::northLaneY(double x) { return 310 + 26 * std::sin(2 * kTurn * x + 0.4); }
double World::eastLaneX(double y) { return 372 + 22 * std::sin(2 * kTurn * y + 2.1); }
double World::riverX(double y) { return 74 + 42 * std::sin(kTurn * y - 0.35) + 9 * std::sin(4 * kTurn * y); }
double World::riverHalfWidth(double y) { return 23 + 3.5 * std::sin(3 * kTurn * y + 1.3); }

double World::bridgeWest() { return riverX(mainRoadY(riverX(0))) - riverHalfWidth(0) - 5; }
double World::bridgeEast() { return riverX(mainRoadY(riverX(0))) + riverHalfWidth(0) + 5; }

double World::mainRoadZ(double x) {
    constexpr double kRamp = 60;
    const double middle = (bridgeWest() + bridgeEast()) / 2;
    const double half = (bridgeEast() - bridgeWest()) / 2;
    const double beyond = ringDistance(x, middle) - half;
    return kDeckHeight * smoothStep(1 - beyond / kRamp);
}

const World& World::instance() {
    static const World world;
    return world;
}

World::World() {
    addTraffic();
    addHouses();
    addTrees();
}

std::uint32_t World::random() {
    m_random ^= m_random << 13;
    m_random ^= m_random >> 17;
    m_random ^= m_random << 5;
    return m_random;
}

double World::uniform(double low, double high) { return low + (high - low) * (random() >> 8) / 16777216.0; }

void World::addLane(Route route, int direction, double offset, double speed, int count) {
    for (int i = 0; i < count; ++i) {
        Traffic t{};
        t.id = static_cast<int>(m_traffic.size()) + 1;
        t.route = route;
        t.direction = direction;
        t.offset_m = offset;
        const double gap = kPeriod / count;
        // Everything in a lane keeps one mean speed, so that nothing runs into another.
        t.start_m = gap * i + uniform(-0.25, 0.25) * (gap - 18);
        t.speed_mps = speed;
        t.sway_m = uniform(0.5, 2.0);
        t.sway_rate = uniform(0.05, 0.12);
        const auto pick = (random() >> 12) % 10;
        if (route == Route::kRiver) {
            t.type = kBoat;
            const bool barge = pick < 4;
            t.length_m = barge ? 19 : 10;
            t.width_m = barge ? 5.2 : 3.2;
            t.height_m = barge ? 2.6 : 2.0;
        } else if (pick < 6) {
            t.type = kCar;
            t.length_m = 4.9;
            t.width_m = 2.0;
            t.height_m = 1.55;
        } else if (pick < 9) {
            t.type = kTruck;
            t.length_m = 9.5;
            t.width_m = 2.5;
            t.height_m = 3.3;
        } else {
            t.type = kBus;
            t.length_m = 11.8;
            t.width_m = 2.6;
            t.height_m = 3.1;
        }
        t.colour = static_cast<int>((random() >> 13) % 8);
        m_traffic.push_back(t);
    }
}

void World::addTraffic() {
    addLane(Route::kMainRoad, 1, -1.9, 8.5, 13);
    addLane(Route::kMainRoad, 1, -5.4, 6.5, 12);
    addLane(Route::kMainRoad, -1, 1.9, 8.0, 13);
    addLane(Route::kMainRoad, -1, 5.4, 6.0, 12);
    addLane(Route::kCrossRoad, 1, -2.0, 5.0, 10);
    addLane(Route::kCrossRoad, -1, 2.0, 5.5, 10);
    addLane(Route::kNorthLane, 1, -1.3, 7.0, 7);
    addLane(Route::kEastLane, -1, 1.3, 7.0, 7);
    addLane(Route::kRiver, 1, -9.0, 2.6, 11);
    addLane(Route::kRiver, -1, 9.0, 2.2, 10);
}

TrafficState World::state(const Traffic& t, double time_s) const {
    double s =
        t.start_m + t.direction * t.speed_mps * time_s + t.sway_m * std::sin(t.sway_rate * time_s + t.id);
    s -= kPeriod * std::floor(s / kPeriod);
    const bool eastward = t.route == Route::kMainRoad || t.route == Route::kNorthLane;
    double (*line)(double) = nullptr;
    switch (t.route) {
        case Route::kMainRoad:
            line = mainRoadY;
            break;
        case Route::kCrossRoad:
            line = crossRoadX;
            break;
        case Route::kNorthLane:
            line = northLaneY;
            break;
        case Route::kEastLane:
            line = eastLaneX;
            break;
        case Route::kRiver:
            line = riverX;
            break;
    }
    const double slope = (line(s + 0.5) - line(s - 0.5));
    const double norm = std::sqrt(1 + slope * slope);
    TrafficState out;
    // The lane lies offset_m to the left of the direction in which the route's parameter grows.
    if (eastward) {
        out.position = {s - t.offset_m * slope / norm, line(s) + t.offset_m / norm, 0};
    } else {
        out.position = {line(s) - t.offset_m / norm, s + t.offset_m * slope / norm, 0};
    }
    out.heading = eastward ? std::atan2(slope, 1.0) : std::atan2(1.0, slope);
    if (t.direction < 0) {
        out.heading += kPi;
    }
    const double base = t.route == Route::kMainRoad ? mainRoadZ(out.position.x) : 0;
    out.position.z = base + t.height_m / 2;
    const double speed = t.speed_mps * norm;
    out.velocity = {speed * std::cos(out.heading), speed * std::sin(out.heading), 0};
    return out;
}

bool World::freeOfRoads(double x, double y, double margin) const {
    if (ringDistance(y, mainRoadY(x)) < kMainHalf + margin) {
        return false;
    }
    // The embankment of the bridge's ramps is wider than the road.
    if (mainRoadZ(x) > 0.2 && ringDistance(y, mainRoadY(x)) < kMainHalf + 12 + margin) {
        return false;
    }
    return ringDistance(x, crossRoadX(y)) > kCrossHalf + margin &&
           ringDistance(y, northLaneY(x)) > kLaneHalf + margin &&
           ringDistance(x, eastLaneX(y)) > kLaneHalf + margin &&
           ringDistance(x, riverX(y)) > riverHalfWidth(y) + 3 + margin;
}

bool World::freeOfHouses(double x, double y, double margin) const {
    return std::none_of(m_houses.begin(), m_houses.end(), [&](const House& h) {
        return ringDistance(x, h.x) < h.length / 2 + margin && ringDistance(y, h.y) < h.length / 2 + margin;
    });
}

void World::addHouses() {
    auto tryAdd = [this](double x, double y, double heading, bool large) {
        House h{};
        h.x = x;
        h.y = y;
        h.heading = heading;
        h.flat = large;
        h.length = large ? uniform(18, 30) : uniform(10, 15);
        h.width = large ? uniform(12, 16) : uniform(7.5, 9.5);
        h.wall = large ? uniform(5.5, 8) : uniform(3.6, 5.8);
        h.roof = large ? 0 : uniform(2.2, 3.2);
        h.colour = static_cast<int>(random() % 6);
        const double reach = h.length / 2 + 2;
        if (freeOfRoads(x, y, reach) && freeOfHouses(x, y, reach)) {
            m_houses.push_back(h);
        }
    };
    // The village: rows along the two roads that meet at the origin, denser towards the middle.
    for (int i = 0; i < 260; ++i) {
        const double along = uniform(-1, 1) * uniform(10, 230);
        const double aside = (random() & 1 ? 1 : -1) * uniform(19, 62);
        const double turn = uniform(-0.06, 0.06) + (random() % 4 == 0 ? kPi / 2 : 0);
        if (random() & 1) {
            tryAdd(along - 34, mainRoadY(along - 34) + aside, turn, random() % 9 == 0);
        } else {
            tryAdd(crossRoadX(along) + aside, along, kPi / 2 + turn, random() % 9 == 0);
        }
    }
    for (int i = 0; i < 60; ++i) {
        tryAdd(uniform(-512, 512), uniform(-512, 512), uniform(0, kPi), random() % 3 == 0);
    }
}

void World::addTrees() {
    auto tryAdd = [this](double x, double y, double size, double margin) {
        Tree t{};
        t.x = x;
        t.y = y;
        t.radius = size * uniform(0.8, 1.25);
        t.height = t.radius * uniform(2.1, 2.9);
        t.variant = static_cast<int>(random() % 4);
        if (freeOfRoads(x, y, margin + t.radius * 0.7) && freeOfHouses(x, y, t.radius * 0.8)) {
            m_trees.push_back(t);
        }
    };
    // Avenues, with gaps.
    for (double s = -512; s < 512; s += 13) {
        if (std::sin(s * 0.031) > -0.35) {
            tryAdd(s + uniform(-2, 2), mainRoadY(s) + kMainHalf + 5.5, 2.6, 0.6);
            tryAdd(s + uniform(-2, 2), mainRoadY(s) - kMainHalf - 5.5, 2.6, 0.6);
        }
        if (std::sin(s * 0.043 + 1) > -0.1) {
            tryAdd(crossRoadX(s) + kCrossHalf + 4.2, s + uniform(-3, 3), 2.4, 0.5);
        }
        if (random() % 3) {
            tryAdd(riverX(s) - riverHalfWidth(s) - uniform(6, 11), s + uniform(-5, 5), 3.0, 0);
        }
        if (random() % 3) {
            tryAdd(riverX(s) + riverHalfWidth(s) + uniform(6, 12), s + uniform(-5, 5), 3.0, 0);
        }
    }
    // Gardens of the village, woods, and single trees in the fields.
    for (int i = 0; i < 170; ++i) {
        tryAdd(-34 + uniform(-200, 200), uniform(-180, 180), 2.1, 0.5);
    }
    const double woods[][3] = {{-300, 210, 80}, {250, -260, 90}, {-210, -330, 60}, {450, 150, 70}};
    for (const auto& w : woods) {
        for (int i = 0; i < 150; ++i) {
            const double angle = uniform(0, 2 * kPi);
            const double r = w[2] * std::sqrt(uniform(0, 1)) * (1 + 0.25 * std::sin(3 * angle));
            tryAdd(w[0] + r * std::cos(angle), w[1] + r * std::sin(angle), 3.3, 1);
        }
    }
    for (int i = 0; i < 120; ++i) {
        tryAdd(uniform(-512, 512), uniform(-512, 512), 2.8, 1);
    }
}

bool World::occluded(const Vec3& camera, const Vec3& point, bool on_water) const {
    const Vec3 ray = camera - point;
    if (ray.z <= 1) {
        return false;
    }
    if (on_water) {
        // Where the sight line passes the height of the bridge.
        const double k = (kDeckHeight - point.z) / ray.z;
        const double x = point.x + ray.x * k, y = point.y + ray.y * k;
        if (std::fabs(x - nearImage((bridgeWest() + bridgeEast()) / 2, x)) <
                (bridgeEast() - bridgeWest()) / 2 &&
            ringDistance(y, mainRoadY(x)) < kMainHalf) {
            return true;
        }
    }
    auto hides = [&](double x, double y, double z, double radius) {
        const Vec3 to = Vec3{nearImage(x, point.x), nearImage(y, point.y), z} - point;
        if (to.x * to.x + to.y * to.y > 60 * 60) {
            return false;
        }
        const double along = dot(to, ray) / dot(ray, ray);
        if (along <= 0 || along >= 1) {
            return false;
        }
        return length(to - ray * along) < radius;
    };
    for (const Tree& t : m_trees) {
        if (hides(t.x, t.y, t.height - t.radius, t.radius * 0.85)) {
            return true;
        }
    }
    return std::any_of(m_houses.begin(), m_houses.end(), [&](const House& h) {
        return hides(h.x, h.y, h.wall / 2, std::min(h.width / 2, h.wall));
    });
}

}  // namespace podsim
