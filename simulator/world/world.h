// The simulated landscape: one fixed piece of country of kPeriod x kPeriod metres that repeats in both
// directions without a seam, with roads, a river, a bridge, houses, trees and traffic.
//
// Coordinates: x east, y north, z up, metres; z = 0 is the ground, kGroundAltitude above sea level. Headings
// in this file are radians counterclockwise from east. Traffic is a closed function of time, so that any
// number of readers see the same.
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

namespace podsim {

struct Vec3 {
    double x = 0, y = 0, z = 0;
};
inline Vec3 operator+(const Vec3& a, const Vec3& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline Vec3 operator-(const Vec3& a, const Vec3& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline Vec3 operator*(const Vec3& a, double k) { return {a.x * k, a.y * k, a.z * k}; }
inline double dot(const Vec3& a, const Vec3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline double length(const Vec3& a) { return std::sqrt(dot(a, a)); }

constexpr double kPi = 3.14159265358979323846;
constexpr double kDeg = kPi / 180.0;
constexpr double kPeriod = 1024.0;
constexpr double kGroundAltitude = 25.0;

// Direction towards the sun, horizontally, and its elevation's tangent.
constexpr double kSunX = 0.74, kSunY = -0.67, kSunTan = 0.9;

enum ObjectType { kCar = 1, kTruck = 2, kBus = 3, kBoat = 4 };
enum class Route : std::uint8_t { kMainRoad, kCrossRoad, kNorthLane, kEastLane, kRiver };

struct Traffic {
    int id;  // 1..255
    ObjectType type;
    Route route;
    int direction;             // +1 or -1 along the route
    double offset_m;           // to the left of the route's positive direction
    double start_m;            // along the route at time 0
    double speed_mps;          // mean
    double sway_m, sway_rate;  // slow change of distance along the route, metres and radians per second
    double length_m, width_m, height_m;
    int colour;  // index into the drawing's own table
};

struct TrafficState {
    Vec3 position;  // centre of its body, x and y within the period
    double heading;
    Vec3 velocity;
};

struct Tree {
    double x, y;
    double radius, height;  // of the crown, of its top
    int variant;
};

struct House {
    double x, y, heading;
    double length, width, wall, roof;  // eaves height, height of the ridge above the eaves
    int colour;
    bool flat;
};

class World {
public:
    static const World& instance();

    const std::vector<Traffic>& traffic() const { return m_traffic; }
    const std::vector<Tree>& trees() const { return m_trees; }
    const std::vector<House>& houses() const { return m_houses; }
    TrafficState state(const Traffic& object, double time_s) const;

    // True when something stands between the camera and the point; the point's own height counts.
    bool occluded(const Vec3& camera, const Vec3& point, bool on_water) const;

    // Centre lines; each is periodic.
    static double mainRoadY(double x);
    static double crossRoadX(double y);
    static double northLaneY(double x);
    static double eastLaneX(double y);
    static double riverX(double y);
    static double riverHalfWidth(double y);
    // Height of the main road above the ground: it climbs to the bridge and falls again.
    static double mainRoadZ(double x);
    // Ends of the part of the main road that is a bridge.
    static double bridgeWest();
    static double bridgeEast();

    static constexpr double kMainHalf = 7.5, kCrossHalf = 4.2, kLaneHalf = 2.8;

private:
    World();
    void addTraffic();
    void addHouses();
    void addTrees();
    void addLane(Route route, int direction, double offset, double speed, int count);
    bool freeOfRoads(double x, double y, double margin) const;
    bool freeOfHouses(double x, double y, double margin) const;

    std::uint32_t random();
    double uniform(double low, double high);

    std::uint32_t m_random = 20260601;
    std::vector<Traffic> m_traffic;
    std::vector<Tree> m_trees;
    std::vector<House> m_houses;
};

// v moved by whole periods to within half a period of reference.
inline double nearImage(double v, double reference) {
    return v + kPeriod * std::round((reference - v) / kPeriod);
}

}  // namespace podsim
