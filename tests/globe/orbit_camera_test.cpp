#include "globe/orbit_camera.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "globe/terrain.h"

namespace globe {
namespace {

constexpr int kWide = 1280;
constexpr int kHigh = 720;

// Hills a kilometre high, ten kilometres apart.
class Hills : public HeightSource {
public:
    double heightAt(double lon, double lat) const override {
        return 500.0 + 500.0 * std::sin(lon * 70.0) * std::sin(lat * 70.0);
    }
    double lowest_m() const override { return 0.0; }
    double highest_m() const override { return 1000.0; }
    double spacingAt(double, double) const override { return 0.001; }
};

class Plateau : public HeightSource {
public:
    explicit Plateau(double height) : m_height(height) {}
    double heightAt(double, double) const override { return m_height; }
    double lowest_m() const override { return m_height; }
    double highest_m() const override { return m_height; }
    double spacingAt(double, double) const override { return 1.0; }

private:
    double m_height;
};

Lens lensOfWindow() {
    Lens lens;
    lens.half_height = std::tan(toRadians(15.0));
    lens.half_width = lens.half_height * kWide / kHigh;
    return lens;
}

osg::Vec2d inPicture(double x_px, double y_px) {
    return {2.0 * x_px / kWide - 1.0, 1.0 - 2.0 * y_px / kHigh};
}

// In pixels. Reckoned with matrices alone, not with the camera's own projection.
double missInPixels(const OrbitPose& pose, const Lens& lens, const osg::Vec3d& world,
                    const osg::Vec2d& point) {
    const osg::Matrixd projection = osg::Matrixd::perspective(toDegrees(2.0 * std::atan(lens.half_height)),
                                                              lens.half_width / lens.half_height, 1.0, 1e8);
    const osg::Vec3d seen = world * worldToEye(eyeFrameOf(pose)) * projection;
    return std::hypot((seen.x() - point.x()) * kWide / 2.0, (seen.y() - point.y()) * kHigh / 2.0);
}

double angleBetween(double a, double b) { return std::abs(wrapLongitude(a - b)); }

struct Place {
    double lon;
    double lat;
    double heading;
};

// Drags over `step_px` a step and says how far the ground strayed from the cursor at worst.
double worstOfDrag(OrbitPose pose, const Terrain& terrain, const osg::Vec2d& step_px) {
    const Lens lens = lensOfWindow();
    osg::Vec2d cursor_px(kWide / 2.0, kHigh * 0.6);
    osg::Vec3d grabbed;
    if (!groundUnder(pose, lens, terrain, inPicture(cursor_px.x(), cursor_px.y()), &grabbed)) {
        return 1e9;
    }
    double worst = 0.0;
    for (int step = 0; step < 20; ++step) {
        cursor_px += step_px;
        const osg::Vec2d cursor = inPicture(cursor_px.x(), cursor_px.y());
        if (!holdUnder(&pose, lens, grabbed, cursor)) {
            return 1e8;
        }
        worst = std::max(worst, missInPixels(pose, lens, grabbed, cursor));
    }
    return worst;
}

TEST(OrbitCamera, LooksAtItsFocalPointFromItsRange) {
    const OrbitPose pose{112.44, 33.75, 250.0, 40.0, -35.0, 12345.0};
    const EyeFrame frame = eyeFrameOf(pose);
    const osg::Vec3d focal = Ellipsoid().geodeticToGeocentric(112.44, 33.75, 250.0);
    EXPECT_NEAR((focal - frame.eye).length(), 12345.0, 1e-6);
    const osg::Vec3d in_eye = focal * worldToEye(frame);
    EXPECT_NEAR(in_eye.x(), 0.0, 1e-6);
    EXPECT_NEAR(in_eye.y(), 0.0, 1e-6);
    EXPECT_NEAR(in_eye.z(), -12345.0, 1e-6);
    // East of the way it looks is to the right.
    const osg::Matrixd local = Ellipsoid().localToWorld(focal);
    const osg::Vec3d right_hand(std::cos(toRadians(40.0)), -std::sin(toRadians(40.0)), 0.0);
    EXPECT_NEAR(osg::Matrixd::transform3x3(right_hand, local) * frame.right, 1.0, 1e-12);
    const osg::Vec3d back = focal * (worldToEye(frame) * eyeToWorld(frame));
    EXPECT_NEAR((back - focal).length(), 0.0, 1e-6);
}

TEST(OrbitCamera, AFrameGivesThePoseBack) {
    for (const double pitch : {-90.0, -89.999, -45.0, -1.0}) {
        for (const double lat : {-90.0, -33.0, 0.0, 89.9999}) {
            const OrbitPose pose{-179.99, lat, 10.0, 271.0, pitch, 5000.0};
            const OrbitPose back =
                poseAbout(eyeFrameOf(pose), Ellipsoid().geodeticToGeocentric(-179.99, lat, 10.0));
            EXPECT_NEAR(back.pitch, pitch, 1e-6) << lat;
            EXPECT_NEAR(back.lat, lat, 1e-9);
            if (std::abs(lat) < 89.0) {
                EXPECT_LT(angleBetween(back.heading, 271.0), 1e-6) << lat << ' ' << pitch;
            }
        }
    }
}

TEST(OrbitCamera, WhatIsGrabbedStaysUnderTheCursor) {
    const Terrain flat;
    const Terrain hills(std::make_shared<Hills>());
    const Terrain high(std::make_shared<Plateau>(4500.0));
    const Place places[] = {{112.44, 33.75, 0.0},
                            {179.999, -60.0, 200.0},
                            {-75.0, 0.0, 90.0},
                            {10.0, 79.0, 30.0},
                            {-10.0, -84.0, 300.0}};
    for (const double range : {400.0, 2000.0, 50e3, 1000e3, 7.0 * kEquatorRadius_m}) {
        for (const double pitch : {-90.0, -60.0, -30.0}) {
            for (const Place& place : places) {
                for (const Terrain* terrain : {&flat, &hills, &high}) {
                    OrbitPose pose{place.lon,     place.lat, groundHeight(*terrain, place.lon, place.lat),
                                   place.heading, pitch,     range};
                    liftAboveGround(&pose, *terrain, 10.0);
                    EXPECT_LT(worstOfDrag(pose, *terrain, {4.0, -2.0}), 0.5)
                        << "range " << range << " pitch " << pitch << " lat " << place.lat;
                }
            }
        }
    }
}

TEST(OrbitCamera, PanKeepsTheHeadingAwayFromThePoles) {
    const Lens lens = lensOfWindow();
    const Terrain flat;
    OrbitPose pose{20.0, 60.0, 0.0, 33.0, -50.0, 100e3};
    osg::Vec3d grabbed;
    ASSERT_TRUE(groundUnder(pose, lens, flat, {0.0, 0.0}, &grabbed));
    ASSERT_TRUE(holdUnder(&pose, lens, grabbed, {0.8, -0.3}));
    EXPECT_DOUBLE_EQ(pose.heading, 33.0);
    EXPECT_GT(angleBetween(pose.lon, 20.0), 0.05);
}

TEST(OrbitCamera, PanCrossesThePoleWithoutATurn) {
    const Lens lens = lensOfWindow();
    const Terrain flat;
    OrbitPose pose{30.0, 89.5, 0.0, 0.0, -60.0, 50e3};
    bool crossed = false;
    for (int drag = 0; drag < 40; ++drag) {
        const EyeFrame before = eyeFrameOf(pose);
        osg::Vec3d grabbed;
        ASSERT_TRUE(groundUnder(pose, lens, flat, {0.0, 0.2}, &grabbed));
        ASSERT_TRUE(holdUnder(&pose, lens, grabbed, {0.0, 0.0}));
        const EyeFrame after = eyeFrameOf(pose);
        EXPECT_GT(before.right * after.right, 0.9999) << "drag " << drag;
        EXPECT_GT(before.look * after.look, 0.9999) << "drag " << drag;
        crossed = crossed || angleBetween(pose.lon, 30.0) > 170.0;
    }
    EXPECT_TRUE(crossed);
    EXPECT_LT(angleBetween(pose.heading, 180.0), 1.0);
}

TEST(OrbitCamera, PanCrossesTheDateLine) {
    const Terrain flat;
    const Lens lens = lensOfWindow();
    OrbitPose pose{179.9, 10.0, 0.0, 0.0, -90.0, 100e3};
    osg::Vec3d grabbed;
    ASSERT_TRUE(groundUnder(pose, lens, flat, {0.9, 0.0}, &grabbed));
    ASSERT_TRUE(holdUnder(&pose, lens, grabbed, {-0.9, 0.0}));
    EXPECT_LT(pose.lon, -179.0);
    EXPECT_NEAR(pose.lat, 10.0, 0.05);
}

TEST(OrbitCamera, HoldingOverTheSkyChangesNothing) {
    const Terrain flat;
    const Lens lens = lensOfWindow();
    const OrbitPose start{10.0, 20.0, 0.0, 0.0, -90.0, 7.0 * kEquatorRadius_m};
    OrbitPose pose = start;
    osg::Vec3d grabbed;
    ASSERT_TRUE(groundUnder(pose, lens, flat, {0.0, 0.0}, &grabbed));
    EXPECT_FALSE(holdUnder(&pose, lens, grabbed, {0.95, 0.95}));
    EXPECT_EQ(pose.lon, start.lon);
    EXPECT_EQ(pose.lat, start.lat);
    EXPECT_FALSE(groundUnder(pose, lens, flat, {0.95, 0.95}, &grabbed));
}

TEST(OrbitCamera, SettlingChangesNothingThatIsSeen) {
    const Terrain hills(std::make_shared<Hills>());
    OrbitPose pose{112.44, 33.75, 0.0, 77.0, -25.0, 9000.0};
    const EyeFrame before = eyeFrameOf(pose);
    ASSERT_TRUE(settleOnGround(&pose, hills));
    const EyeFrame after = eyeFrameOf(pose);
    EXPECT_NEAR((before.eye - after.eye).length(), 0.0, 1e-3);
    EXPECT_NEAR(before.look * after.look, 1.0, 1e-12);
    EXPECT_NEAR(before.up * after.up, 1.0, 1e-9);
    EXPECT_NEAR(pose.alt, groundHeight(hills, pose.lon, pose.lat), 0.5);
}

TEST(OrbitCamera, IsLiftedAboveTheGroundAndNotWithoutNeed) {
    const Terrain high(std::make_shared<Plateau>(2500.0));
    OrbitPose pose{80.0, 30.0, 0.0, 0.0, -30.0, 2000.0};
    EXPECT_TRUE(isBelowGround(pose, high, 10.0));
    EXPECT_TRUE(liftAboveGround(&pose, high, 10.0));
    const double height = Ellipsoid().geocentricToGeodetic(eyeFrameOf(pose).eye).z();
    EXPECT_GE(height, 2510.0);
    EXPECT_LT(height, 2510.1);
    const OrbitPose lifted = pose;
    EXPECT_FALSE(liftAboveGround(&pose, high, 10.0));
    EXPECT_EQ(pose.alt, lifted.alt);
}

TEST(OrbitCamera, TakesItsLensFromAPerspectiveAlone) {
    Lens lens;
    const double infinite = std::numeric_limits<double>::infinity();
    EXPECT_FALSE(lens.setFromProjection(osg::Matrixd::ortho2D(0, 1, 0, 1)));
    EXPECT_FALSE(lens.setFromProjection(osg::Matrixd::perspective(30.0, infinite, 1.0, 10.0)));
    EXPECT_DOUBLE_EQ(lens.half_width, 0.5);
    ASSERT_TRUE(lens.setFromProjection(osg::Matrixd::frustum(-1.0, 3.0, -0.5, 1.5, 2.0, 100.0)));
    osg::Vec2d point;
    const EyeFrame frame{{}, {1, 0, 0}, {0, 1, 0}, {0, 0, -1}};
    ASSERT_TRUE(project(frame, lens, {3.0, 1.5, -2.0}, &point));
    EXPECT_NEAR(point.x(), 1.0, 1e-12);
    EXPECT_NEAR(point.y(), 1.0, 1e-12);
    const osg::Vec3d ray = rayThrough(frame, lens, {-1.0, -1.0});
    EXPECT_NEAR(ray.x() / -ray.z(), -0.5, 1e-12);
    EXPECT_NEAR(ray.y() / -ray.z(), -0.25, 1e-12);
}

TEST(Flight, EndsExactlyAtItsEnd) {
    const OrbitPose from{-90.0, 0.0, 0.0, 10.0, -90.0, 2e7};
    const OrbitPose to{112.44, 33.75, 12.5, 355.0, -42.0, 2000.0};
    Flight flight(from, to, 5.0, true);
    EXPECT_EQ(flight.at(100.0).lon, from.lon);
    EXPECT_FALSE(flight.isOver());
    flight.at(104.999);
    EXPECT_FALSE(flight.isOver());
    const OrbitPose end = flight.at(105.0);
    EXPECT_TRUE(flight.isOver());
    EXPECT_EQ(end.lon, to.lon);
    EXPECT_EQ(end.lat, to.lat);
    EXPECT_EQ(end.alt, to.alt);
    EXPECT_EQ(end.heading, to.heading);
    EXPECT_EQ(end.pitch, to.pitch);
    EXPECT_EQ(end.range, to.range);
}

TEST(Flight, GoesUpOnALongWayOnly) {
    const OrbitPose from{0.0, 0.0, 0.0, 0.0, -90.0, 3000.0};
    OrbitPose to = from;
    to.lon = 30.0;
    EXPECT_GT(Flight(from, to, 1.0, true).poseAt(0.5).range, 1e6);
    EXPECT_NEAR(Flight(from, to, 1.0, false).poseAt(0.5).range, 3000.0, 1e-6);
    to.lon = 0.01;
    EXPECT_NEAR(Flight(from, to, 1.0, true).poseAt(0.5).range, 3000.0, 1e-6);
}

TEST(Flight, TakesTheShortWayOverTheDateLineAndRoundTheCompass) {
    const OrbitPose from{170.0, 40.0, 0.0, 350.0, -90.0, 1e6};
    const OrbitPose to{-170.0, 40.0, 0.0, 10.0, -90.0, 1e6};
    const Flight flight(from, to, 1.0, false);
    const OrbitPose middle = flight.poseAt(0.5);
    EXPECT_LT(angleBetween(middle.lon, 180.0), 1e-6);
    EXPECT_GT(middle.lat, 40.0);
    EXPECT_LT(angleBetween(middle.heading, 0.0), 1e-6);
    double last = -1.0;
    for (int part = 0; part <= 100; ++part) {
        const double way = angleBetween(flight.poseAt(part / 100.0).lon, 170.0);
        EXPECT_GE(way, last - 1e-9);
        last = way;
    }
}

}  // namespace
}  // namespace globe
