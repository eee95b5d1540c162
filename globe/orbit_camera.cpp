#include "globe/orbit_camera.h"

#include <algorithm>
#include <cmath>
#include <osg/Quat>

#include "globe/ellipsoid.h"
#include "globe/terrain.h"

namespace globe {
namespace {

// Poleward of it north turns about too fast for the heading to be kept.
constexpr double kPolarLatitude = 85.0;
constexpr double kPictureTolerance = 1e-6;
constexpr int kMostSteps = 40;

// Directions at a place, as unit vectors of the world.
struct Compass3 {
    osg::Vec3d east;
    osg::Vec3d north;
    osg::Vec3d up;
};

Compass3 directionsAt(double lon, double lat) {
    const double sin_lon = std::sin(toRadians(lon));
    const double cos_lon = std::cos(toRadians(lon));
    const double sin_lat = std::sin(toRadians(lat));
    const double cos_lat = std::cos(toRadians(lat));
    return {{-sin_lon, cos_lon, 0.0},
            {-sin_lat * cos_lon, -sin_lat * sin_lon, cos_lat},
            {cos_lat * cos_lon, cos_lat * sin_lon, sin_lat}};
}

osg::Vec3d placeOf(const OrbitPose& pose) {
    return Ellipsoid().geodeticToGeocentric(pose.lon, pose.lat, pose.alt);
}

void setPlace(OrbitPose* pose, const osg::Vec3d& normal) {
    const double flat = std::hypot(normal.x(), normal.y());
    if (flat > 1e-15) {
        pose->lon = wrapLongitude(toDegrees(std::atan2(normal.y(), normal.x())));
    }
    pose->lat = toDegrees(std::atan2(normal.z(), flat));
}

osg::Vec3d normalOf(const OrbitPose& pose) { return directionsAt(pose.lon, pose.lat).up; }

// What has to be solved for the hold: the angles by which the focal point moves from where it began.
struct Hold {
    const OrbitPose& start;
    const Lens& lens;
    const osg::Vec3d& world;
    const osg::Vec2d& point;
    HeadingRule rule;

    OrbitPose at(const osg::Vec2d& move) const { return moved(start, move.x(), move.y(), rule); }
    // How far the point of the world is from its place in the picture.
    bool miss(const osg::Vec2d& move, osg::Vec2d* error) const {
        osg::Vec2d seen;
        if (!project(eyeFrameOf(at(move)), lens, world, &seen)) {
            return false;
        }
        *error = seen - point;
        return true;
    }
    // The surface at the point is turned towards the eye.
    bool faces(const osg::Vec2d& move) const {
        return (eyeFrameOf(at(move)).eye - world) * Ellipsoid().up(world) > 0.0;
    }
};

// One step of Newton's, halved until it comes nearer.
bool improve(const Hold& hold, double delta, osg::Vec2d* move, osg::Vec2d* error) {
    osg::Vec2d by_east;
    osg::Vec2d by_north;
    if (!hold.miss(*move + osg::Vec2d(delta, 0.0), &by_east) ||
        !hold.miss(*move + osg::Vec2d(0.0, delta), &by_north)) {
        return false;
    }
    by_east = (by_east - *error) / delta;
    by_north = (by_north - *error) / delta;
    const double det = by_east.x() * by_north.y() - by_north.x() * by_east.y();
    if (!(std::abs(det) > 0.0)) {
        return false;
    }
    osg::Vec2d step((error->x() * by_north.y() - by_north.x() * error->y()) / det,
                    (by_east.x() * error->y() - error->x() * by_east.y()) / det);
    constexpr double kLongestStep = 0.3;
    if (step.length() > kLongestStep) {
        step *= kLongestStep / step.length();
    }
    for (int halved = 0; halved < 12; ++halved, step *= 0.5) {
        osg::Vec2d next;
        if (hold.miss(*move - step, &next) && next.length() < error->length()) {
            *move -= step;
            *error = next;
            return true;
        }
    }
    return false;
}

bool solve(const Hold& hold, osg::Vec2d move, OrbitPose* result) {
    const double delta = std::clamp(hold.start.range * 1e-5 / kEquatorRadius_m, 1e-10, 1e-5);
    osg::Vec2d error;
    if (!hold.miss(move, &error)) {
        return false;
    }
    for (int step = 0; step < kMostSteps && error.length() > kPictureTolerance; ++step) {
        if (!improve(hold, delta, &move, &error)) {
            break;
        }
    }
    // A hair's breadth of a picture a thousand points wide is good enough where rounding stops the search.
    if (error.length() > 5e-4 || !hold.faces(move)) {
        return false;
    }
    *result = hold.at(move);
    return true;
}

// The turn of the earth that would bring what the point shows now to where it shall be, as a first guess.
osg::Vec2d guess(const Hold& hold, const EyeFrame& frame) {
    const Ellipsoid ellipsoid;
    const double height = ellipsoid.geocentricToGeodetic(hold.world).z();
    const osg::Vec3d ray = rayThrough(frame, hold.lens, hold.point);
    osg::Vec3d shown;
    if (!ellipsoid.intersect(frame.eye, frame.eye + ray * (4.0 * kEquatorRadius_m + frame.eye.length()),
                             shown, height)) {
        return {};
    }
    osg::Quat turn;
    turn.makeRotate(shown, hold.world);
    const Compass3 here = directionsAt(hold.start.lon, hold.start.lat);
    const osg::Vec3d there = turn * here.up;
    const osg::Vec2d along(there * here.east, there * here.north);
    const double angle = std::atan2(along.length(), there * here.up);
    return along.length() > 0.0 ? along * (angle / along.length()) : osg::Vec2d();
}

double easing(double part) { return part * part * part * (part * (part * 6.0 - 15.0) + 10.0); }

}  // namespace

bool Lens::setFromProjection(const osg::Matrixd& projection) {
    if (!(projection(2, 3) < 0.0) || projection(0, 0) == 0.0 || projection(1, 1) == 0.0 ||
        !std::isfinite(projection(0, 0)) || !std::isfinite(projection(1, 1))) {
        return false;
    }
    half_width = 1.0 / projection(0, 0);
    half_height = 1.0 / projection(1, 1);
    shift.set(projection(2, 0) * half_width, projection(2, 1) * half_height);
    return true;
}

EyeFrame eyeFrameOf(const OrbitPose& pose) {
    const Compass3 here = directionsAt(pose.lon, pose.lat);
    const double heading = toRadians(pose.heading);
    const double pitch = toRadians(pose.pitch);
    const osg::Vec3d ahead = here.east * std::sin(heading) + here.north * std::cos(heading);
    EyeFrame frame;
    frame.right = here.east * std::cos(heading) - here.north * std::sin(heading);
    frame.look = ahead * std::cos(pitch) + here.up * std::sin(pitch);
    frame.up = here.up * std::cos(pitch) - ahead * std::sin(pitch);
    frame.eye = placeOf(pose) - frame.look * pose.range;
    return frame;
}

osg::Matrixd eyeToWorld(const EyeFrame& f) {
    return {f.right.x(), f.right.y(), f.right.z(), 0.0, f.up.x(),  f.up.y(),  f.up.z(),  0.0,
            -f.look.x(), -f.look.y(), -f.look.z(), 0.0, f.eye.x(), f.eye.y(), f.eye.z(), 1.0};
}

osg::Matrixd worldToEye(const EyeFrame& f) {
    return {
        f.right.x(), f.up.x(), -f.look.x(), 0.0, f.right.y(),        f.up.y(),        -f.look.y(),    0.0,
        f.right.z(), f.up.z(), -f.look.z(), 0.0, -(f.right * f.eye), -(f.up * f.eye), f.look * f.eye, 1.0};
}

EyeFrame eyeFrameFrom(const osg::Matrixd& m) {
    EyeFrame frame;
    frame.right.set(m(0, 0), m(0, 1), m(0, 2));
    frame.up.set(m(1, 0), m(1, 1), m(1, 2));
    frame.look.set(-m(2, 0), -m(2, 1), -m(2, 2));
    frame.eye.set(m(3, 0), m(3, 1), m(3, 2));
    frame.right.normalize();
    frame.up.normalize();
    frame.look.normalize();
    return frame;
}

OrbitPose poseAbout(const EyeFrame& frame, const osg::Vec3d& focal) {
    const osg::Vec3d place = Ellipsoid().geocentricToGeodetic(focal);
    OrbitPose pose;
    pose.lon = place.x();
    pose.lat = place.y();
    pose.alt = place.z();
    const Compass3 here = directionsAt(pose.lon, pose.lat);
    // From the horizontal axis, which tells the heading also when looking straight down.
    pose.heading = wrapBearing(toDegrees(std::atan2(-(frame.right * here.north), frame.right * here.east)));
    pose.pitch = toDegrees(
        std::atan2(frame.look * here.up, std::hypot(frame.look * here.east, frame.look * here.north)));
    pose.range = (focal - frame.eye).length();
    return pose;
}

bool project(const EyeFrame& frame, const Lens& lens, const osg::Vec3d& world, osg::Vec2d* point) {
    const osg::Vec3d way = world - frame.eye;
    const double depth = way * frame.look;
    if (!(depth > 0.0)) {
        return false;
    }
    point->set(((way * frame.right) / depth - lens.shift.x()) / lens.half_width,
               ((way * frame.up) / depth - lens.shift.y()) / lens.half_height);
    return true;
}

osg::Vec3d rayThrough(const EyeFrame& frame, const Lens& lens, const osg::Vec2d& point) {
    osg::Vec3d ray = frame.look + frame.right * (point.x() * lens.half_width + lens.shift.x()) +
                     frame.up * (point.y() * lens.half_height + lens.shift.y());
    ray.normalize();
    return ray;
}

OrbitPose moved(const OrbitPose& pose, double east_rad, double north_rad, HeadingRule rule) {
    const double angle = std::hypot(east_rad, north_rad);
    if (!(angle > 0.0)) {
        return pose;
    }
    const Compass3 here = directionsAt(pose.lon, pose.lat);
    const osg::Vec3d way = here.east * (east_rad / angle) + here.north * (north_rad / angle);
    OrbitPose result = pose;
    setPlace(&result, here.up * std::cos(angle) + way * std::sin(angle));
    if (rule == HeadingRule::kKeepDirection) {
        const osg::Quat turn(angle, here.up ^ way);
        const double heading = toRadians(pose.heading);
        const osg::Vec3d ahead = turn * (here.east * std::sin(heading) + here.north * std::cos(heading));
        const Compass3 there = directionsAt(result.lon, result.lat);
        result.heading = wrapBearing(toDegrees(std::atan2(ahead * there.east, ahead * there.north)));
    }
    return result;
}

bool holdUnder(OrbitPose* pose, const Lens& lens, const osg::Vec3d& world, const osg::Vec2d& point) {
    const OrbitPose start = *pose;
    const EyeFrame frame = eyeFrameOf(start);
    OrbitPose result;
    const Hold keeping{start, lens, world, point, HeadingRule::kKeepNumber};
    const osg::Vec2d first = guess(keeping, frame);
    if (std::abs(start.lat) < kPolarLatitude && solve(keeping, first, &result) &&
        std::abs(result.lat) < kPolarLatitude) {
        *pose = result;
        return true;
    }
    const Hold turning{start, lens, world, point, HeadingRule::kKeepDirection};
    if (!solve(turning, first, &result)) {
        return false;
    }
    *pose = result;
    return true;
}

double groundHeight(const Terrain& terrain, double lon, double lat) {
    double height = 0.0;
    return terrain.getHeight(SpatialReference::get("wgs84"), lon, lat, &height) ? height : 0.0;
}

bool groundUnder(const OrbitPose& pose, const Lens& lens, const Terrain& terrain, const osg::Vec2d& point,
                 osg::Vec3d* world) {
    const EyeFrame frame = eyeFrameOf(pose);
    const osg::Vec3d ray = rayThrough(frame, lens, point);
    return terrain.intersect(frame.eye, frame.eye + ray * (frame.eye.length() + 2.0 * kEquatorRadius_m),
                             *world);
}

bool settleOnGround(OrbitPose* pose, const Terrain& terrain) {
    const EyeFrame frame = eyeFrameOf(*pose);
    // Beyond the focal point no further than needed: a shallow view must not turn about the horizon.
    const osg::Vec3d to = frame.eye + frame.look * (pose->range * 2.0 + 20000.0);
    osg::Vec3d hit;
    if (!terrain.intersect(frame.eye, to, hit)) {
        return false;
    }
    if ((hit - placeOf(*pose)).length() > 0.05) {
        *pose = poseAbout(frame, hit);
    }
    return true;
}

bool isBelowGround(const OrbitPose& pose, const Terrain& terrain, double clearance_m) {
    const osg::Vec3d place = Ellipsoid().geocentricToGeodetic(eyeFrameOf(pose).eye);
    return place.z() < groundHeight(terrain, place.x(), place.y()) + clearance_m;
}

bool liftAboveGround(OrbitPose* pose, const Terrain& terrain, double clearance_m) {
    bool lifted = false;
    for (int again = 0; again < 4; ++again) {
        const osg::Vec3d eye = eyeFrameOf(*pose).eye;
        const osg::Vec3d place = Ellipsoid().geocentricToGeodetic(eye);
        const double lack = groundHeight(terrain, place.x(), place.y()) + clearance_m - place.z();
        if (!(lack > 0.0)) {
            break;
        }
        // Both rise along the focal point's vertical; a millimetre more ends the search.
        const double share = std::max(0.2, Ellipsoid().up(eye) * normalOf(*pose));
        pose->alt += lack / share + 0.001;
        lifted = true;
    }
    return lifted;
}

Flight::Flight(const OrbitPose& from, const OrbitPose& to, double duration_s, bool arc)
    : m_from(from), m_to(to), m_duration_s(duration_s) {
    if (arc) {
        const double way = greatCircleDistance({toRadians(from.lat), toRadians(from.lon)},
                                               {toRadians(to.lat), toRadians(to.lon)});
        // So high that the way fills the picture, unless one of the ends is higher anyway.
        m_arc_m = std::max(0.0, way - std::max(from.range, to.range));
    }
}

OrbitPose Flight::at(double time_s) {
    if (!m_started) {
        m_started = true;
        m_start_s = time_s;
    }
    const double part = m_duration_s > 0.0 ? (time_s - m_start_s) / m_duration_s : 1.0;
    m_over = part >= 1.0;
    return poseAt(part);
}

OrbitPose Flight::poseAt(double part) const {
    if (part >= 1.0) {
        return m_to;
    }
    if (part <= 0.0) {
        return m_from;
    }
    const double share = easing(part);
    const auto between = [share](double a, double b) { return a + (b - a) * share; };
    OrbitPose pose;
    const LatLon place = greatCircleInterpolate({toRadians(m_from.lat), toRadians(m_from.lon)},
                                                {toRadians(m_to.lat), toRadians(m_to.lon)}, share);
    pose.lon = toDegrees(place.lon_rad);
    pose.lat = toDegrees(place.lat_rad);
    pose.alt = between(m_from.alt, m_to.alt);
    pose.heading = wrapBearing(m_from.heading + wrapLongitude(m_to.heading - m_from.heading) * share);
    pose.pitch = between(m_from.pitch, m_to.pitch);
    // By factors, so that a flight from space slows down towards the ground.
    const double low = 1e-3;
    pose.range =
        std::exp(between(std::log(std::max(m_from.range, low)), std::log(std::max(m_to.range, low))));
    pose.range += m_arc_m * std::sin(kPi * share);
    return pose;
}

}  // namespace globe
