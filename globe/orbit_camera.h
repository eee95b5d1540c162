// The camera of the globe as numbers: it looks at a focal point from a range, under a heading and a pitch.
// All in double precision; world coordinates are earth-centred metres. No drawing, any thread.
#pragma once

#include <osg/Matrixd>
#include <osg/Vec2d>
#include <osg/Vec3d>

namespace globe {

class Terrain;

// Degrees and metres. Heading clockwise from north; pitch -90 looks straight down.
struct OrbitPose {
    double lon = 0.0;
    double lat = 0.0;
    double alt = 0.0;  // of the focal point above the ellipsoid
    double heading = 0.0;
    double pitch = -90.0;
    double range = 1.0;
};

// The same in the world: where the eye stands, and unit vectors along the picture's axes.
struct EyeFrame {
    osg::Vec3d eye;
    osg::Vec3d right;
    osg::Vec3d up;
    osg::Vec3d look;
};

// What a perspective picture shows: at distance 1 it is 2 `half_width` wide; its middle lies at `shift`.
// Points of the picture run from -1 to 1, right and up.
struct Lens {
    double half_width = 0.5;
    double half_height = 0.5;
    osg::Vec2d shift;

    // False, with nothing changed, for a matrix that is no perspective.
    bool setFromProjection(const osg::Matrixd& projection);
};

EyeFrame eyeFrameOf(const OrbitPose& pose);
osg::Matrixd eyeToWorld(const EyeFrame& frame);
osg::Matrixd worldToEye(const EyeFrame& frame);
// The frame of a camera whose matrix from eye to world is given.
EyeFrame eyeFrameFrom(const osg::Matrixd& eye_to_world);
// The same view, turning about `focal`, a point that it looks at.
OrbitPose poseAbout(const EyeFrame& frame, const osg::Vec3d& focal);

// False for what lies behind the eye.
bool project(const EyeFrame& frame, const Lens& lens, const osg::Vec3d& world, osg::Vec2d* point);
// Unit vector from the eye through a point of the picture.
osg::Vec3d rayThrough(const EyeFrame& frame, const Lens& lens, const osg::Vec2d& point);

// Moves the focal point over the ellipsoid, by angles in radians towards the east and the north of where it
// is. The altitude stays; the heading stays the same number, or the same direction across the poles.
enum class HeadingRule { kKeepNumber, kKeepDirection };
OrbitPose moved(const OrbitPose& pose, double east_rad, double north_rad, HeadingRule rule);

// Moves the focal point so that `world` stands at `point` of the picture. The heading is kept as far as that
// can be done and the poles are not near. False, with the pose unchanged, where there is no such view, as for
// a point of the sky.
bool holdUnder(OrbitPose* pose, const Lens& lens, const osg::Vec3d& world, const osg::Vec2d& point);

// The ground that a point of the picture shows; false for the sky.
bool groundUnder(const OrbitPose& pose, const Lens& lens, const Terrain& terrain, const osg::Vec2d& point,
                 osg::Vec3d* world);
// Lets the view turn about the ground that it looks at; nothing that is seen changes. False where it looks at
// none.
bool settleOnGround(OrbitPose* pose, const Terrain& terrain);
// Raises focal point and eye until the eye is at least `clearance_m` above the ground. True if it had to.
bool liftAboveGround(OrbitPose* pose, const Terrain& terrain, double clearance_m);
bool isBelowGround(const OrbitPose& pose, const Terrain& terrain, double clearance_m);
double groundHeight(const Terrain& terrain, double lon, double lat);

// A way from one pose to another.
class Flight {
public:
    Flight() = default;
    // With an arc the eye goes up on the way, the higher the longer the way is.
    Flight(const OrbitPose& from, const OrbitPose& to, double duration_s, bool arc);

    // From the first call on, whose time is the start of the flight. The last pose is exactly the end.
    OrbitPose at(double time_s);
    bool isOver() const { return m_over; }
    const OrbitPose& end() const { return m_to; }
    double duration_s() const { return m_duration_s; }
    // At a part of the way, 0 to 1.
    OrbitPose poseAt(double part) const;

private:
    OrbitPose m_from;
    OrbitPose m_to;
    double m_duration_s = 0.0;
    double m_arc_m = 0.0;
    double m_start_s = 0.0;
    bool m_started = false;
    bool m_over = false;
};

}  // namespace globe
