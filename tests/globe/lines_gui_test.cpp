// Lines stand where their points are and are as wide as told, near, far, across the date line and over a
// pole.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "globe/feature_node.h"
#include "globe/line_chunk.h"
#include "globe/line_symbol.h"
#include "tests/globe/marks_scene.h"

namespace globe {
namespace {

using Points = std::vector<osg::Vec3d>;

const Ellipsoid kEarth;

Style lineStyle(double width, Units units = Units::METERS) {
    Style style;
    style.getOrCreate<LineSymbol>()->stroke() = Stroke(Color::Red, width, units);
    return style;
}

osg::ref_ptr<FeatureNode> line(const Points& points, double width,
                               GeoInterpolation how = GEOINTERP_RHUMB_LINE) {
    osg::ref_ptr<Feature> feature = new Feature(new LineString(points), SpatialReference::get("wgs84"));
    feature->geoInterp() = how;
    return new FeatureNode(feature, lineStyle(width), GeometryCompilerOptions(Config()));
}

class Lines : public testing::Test {
protected:
    // Red pixels in a column, and the middle of the lowest and the highest.
    int redInColumn(int x, double& middle) const {
        int lowest = scene.height();
        int highest = -1;
        int count = 0;
        for (int y = 0; y < scene.height(); ++y) {
            if (isRed(scene.pixel(x, y))) {
                lowest = std::min(lowest, y);
                highest = std::max(highest, y);
                ++count;
            }
        }
        middle = (lowest + highest) * 0.5 + 0.5;
        return count;
    }

    int redInAll() const {
        int count = 0;
        for (int y = 0; y < scene.height(); ++y) {
            for (int x = 0; x < scene.width(); ++x) {
                count += isRed(scene.pixel(x, y)) ? 1 : 0;
            }
        }
        return count;
    }

    // Whether there is red within a pixel of where the place stands. Places outside the picture count as
    // seen.
    bool isRedAt(double lon, double lat, double alt) const {
        double x = 0.0;
        double y = 0.0;
        if (!scene.project(kEarth.geodeticToGeocentric(lon, lat, alt), x, y) || x < 2 || y < 2 ||
            x > scene.width() - 2 || y > scene.height() - 2) {
            return true;
        }
        const int px = static_cast<int>(std::floor(x));
        const int py = static_cast<int>(std::floor(y));
        for (int dy = -1; dy <= 1; ++dy) {
            for (int dx = -1; dx <= 1; ++dx) {
                if (isRed(scene.pixel(px + dx, py + dy))) {
                    return true;
                }
            }
        }
        return false;
    }

    MarksScene scene{640, 480};
};

TEST_F(Lines, AreAsWideAsToldAtTheirOwnAltitude) {
    // Due east at 500 m, seen from above from several heights.
    scene.root()->addChild(line({{112.43, 33.75, 500.0}, {112.45, 33.75, 500.0}}, 10.0));
    for (const double range : {100.0, 400.0, 1500.0}) {
        scene.lookAtPlace(112.44, 33.75, 500.0, range, 90.0, 0.0, range * 0.1, range * 10.0);
        scene.draw();
        for (const int x : {5, 200, 320, 500, 634}) {
            double middle = 0.0;
            EXPECT_NEAR(redInColumn(x, middle), 10.0 / scene.pixelAt(range), 1.01) << range;
            EXPECT_NEAR(middle, 240.0, 1.0) << range;
        }
    }
}

TEST_F(Lines, StandToACentimetre) {
    for (double lon = 112.0; lon < 113.0; lon += 0.1371) {
        const osg::ref_ptr<FeatureNode> node =
            line({{lon - 0.001, 33.75, 500.0}, {lon + 0.001, 33.75, 500.0}}, 0.1);
        scene.root()->addChild(node);
        scene.lookAtPlace(lon, 33.75, 500.0, 10.0, 90.0, 0.0, 1.0, 1000.0);
        scene.draw();
        double middle = 0.0;
        EXPECT_NEAR(redInColumn(320, middle), 0.1 / scene.pixelAt(10.0), 1.01) << lon;
        EXPECT_NEAR(middle, 240.0, 1.0) << lon;
        scene.root()->removeChild(node);
    }
}

TEST_F(Lines, HaveNoGapsWhereTheirPiecesMeet) {
    Points points;
    for (int i = 0; i < 1500; ++i) {
        points.emplace_back(112.0 + 0.002 * i, 33.75 + (i % 2) * 0.0005, 500.0);
    }
    const osg::ref_ptr<FeatureNode> node = line(Points(points.begin(), points.begin() + 700), 10.0);
    for (std::size_t i = 700; i < points.size(); ++i) {
        node->appendPoint(points[i]);
    }
    scene.root()->addChild(node);
    // About the ends of pieces, and where the line was as it came into the scene.
    for (const std::size_t i : {20u, 507u, 512u, 517u, 700u, 1018u, 1023u, 1028u, 1490u}) {
        scene.lookAtPlace(points[i].x(), points[i].y(), 500.0, 2500.0, 90.0, 0.0, 100.0, 10000.0);
        scene.draw();
        for (std::size_t k = i - 4; k < i + 4; ++k) {
            for (const double t : {0.0, 0.25, 0.5, 0.75}) {
                const osg::Vec3d at = points[k] * (1.0 - t) + points[k + 1] * t;
                ASSERT_TRUE(isRedAt(at.x(), at.y(), at.z())) << k << " + " << t;
            }
        }
    }
}

TEST_F(Lines, FaceTheCameraFromTheSide) {
    scene.root()->addChild(line({{112.43, 33.75, 500.0}, {112.45, 33.75, 500.0}}, 10.0));
    scene.lookAtPlace(112.44, 33.75, 500.0, 400.0, 5.0, 0.0, 40.0, 4000.0);
    scene.draw();
    double middle = 0.0;
    EXPECT_NEAR(redInColumn(320, middle), 10.0 / scene.pixelAt(400.0), 1.01);
    EXPECT_NEAR(middle, 240.0, 1.0);
}

TEST_F(Lines, NeverGetThinnerThanCanBeSeen) {
    scene.root()->addChild(line({{112.0, 33.75, 500.0}, {112.9, 33.75, 500.0}}, 10.0));
    for (const double range : {60000.0, 200000.0}) {
        scene.lookAtPlace(112.44, 33.75, 500.0, range, 90.0, 25.0, range * 0.1, range * 10.0);
        scene.draw();
        for (double lon = 112.0; lon < 112.9; lon += 0.01) {
            EXPECT_TRUE(isRedAt(lon, 33.75, 500.0)) << lon << " at " << range;
        }
        double middle = 0.0;
        EXPECT_LE(redInColumn(320, middle), 4);
    }
    // From seven radii it is about two pixels long; an hour's flight close by still is a dot.
    scene.lookAtPlace(112.44, 33.75, 0.0, 7.0 * kEquatorRadius_m, 90.0, 0.0, 1e6, 1e8);
    scene.draw();
    EXPECT_GE(redInAll(), 2);
    EXPECT_TRUE(isRedAt(112.44, 33.75, 500.0));
}

TEST_F(Lines, ShorterThanAPixelIsADot) {
    scene.root()->addChild(line({{112.44, 33.75, 500.0}, {112.441, 33.75, 500.0}}, 5.0));
    for (const double heading : {0.0, 33.0, 71.0}) {
        scene.lookAtPlace(112.44, 33.75, 500.0, 1.0e6, 70.0, heading, 1e5, 1e7);
        scene.draw();
        EXPECT_GE(redInAll(), 1) << heading;
        EXPECT_LE(redInAll(), 9) << heading;
    }
}

TEST_F(Lines, AcrossTheDateLineTheyStayShort) {
    scene.root()->addChild(line({{179.9, 10.0, 1000.0}, {-179.9, 10.1, 1000.0}}, 100.0));
    scene.lookAtPlace(180.0, 10.05, 1000.0, 60000.0, 80.0, 0.0, 1000.0, 1e6);
    scene.draw();
    for (double t = 0.0; t <= 1.0; t += 0.02) {
        EXPECT_TRUE(isRedAt(179.9 + 0.2 * t, 10.0 + 0.1 * t, 1000.0)) << t;
    }
    // Nothing runs round the other side.
    scene.lookAtPlace(0.0, 10.0, 0.0, 3.0e7, 90.0, 0.0, 1e5, 2.3e7 + 1e6);
    scene.draw();
    EXPECT_EQ(redInAll(), 0);
}

TEST_F(Lines, OverThePoleAndAlongAParallel) {
    scene.root()->addChild(line({{0.0, 80.0, 0.0}, {180.0, 80.0, 0.0}}, 1000.0, GEOINTERP_GREAT_CIRCLE));
    scene.lookAtPlace(0.0, 90.0, 0.0, 6.0e6, 90.0, 0.0, 1e5, 1e8);
    scene.draw();
    for (double lat = 80.0; lat <= 90.0; lat += 0.25) {
        EXPECT_TRUE(isRedAt(0.0, lat, 0.0) && isRedAt(180.0, lat, 0.0)) << lat;
    }
    const int over = redInAll();
    scene.root()->addChild(line({{0.0, 80.0, 0.0}, {170.0, 80.0, 0.0}}, 1000.0));
    scene.draw();
    for (double lon = 0.0; lon <= 170.0; lon += 1.0) {
        EXPECT_TRUE(isRedAt(lon, 80.0, 0.0)) << lon;
    }
    EXPECT_GT(redInAll(), over + 100);
}

TEST_F(Lines, LongOnesFollowTheEarth) {
    // A quarter of the equator at 1 km: its chord would run 1900 km under ground.
    scene.root()->addChild(line({{0.0, 0.0, 1000.0}, {90.0, 0.0, 1000.0}}, 10000.0));
    scene.lookAtPlace(45.0, 0.0, 0.0, 2.0e7, 60.0, 0.0, 1e5, 1e8);
    scene.draw();
    for (double lon = 0.0; lon <= 90.0; lon += 1.0) {
        EXPECT_TRUE(isRedAt(lon, 0.0, 1000.0)) << lon;
    }
}

TEST_F(Lines, BadPointsAreLeftOut) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    osg::ref_ptr<FeatureNode> node = line({{nan, nan, nan}, {112.43, 33.75, 500.0}, {nan, 33.0, 0.0}}, 10.0);
    node->appendPoint({112.43, 33.75, 500.0});
    node->appendPoint({112.44, nan, 500.0});
    node->appendPoint({112.45, 33.75, 500.0});
    scene.root()->addChild(node);
    scene.lookAtPlace(112.44, 33.75, 500.0, 400.0, 90.0, 0.0, 40.0, 4000.0);
    scene.draw();
    double middle = 0.0;
    EXPECT_NEAR(redInColumn(320, middle), 10.0 / scene.pixelAt(400.0), 1.01);
    for (const Points& few : {Points{}, Points{{1, 2, 3}}, Points{{nan, 1, 1}}}) {
        scene.root()->addChild(line(few, 10.0));
    }
    scene.draw();
    EXPECT_NEAR(redInColumn(320, middle), 10.0 / scene.pixelAt(400.0), 1.01);
}

// A racetrack with the noise of a real receiver, 50 fixes a second at 45 m/s.
Points flight(int count) {
    std::mt19937 random(11);
    std::normal_distribution<double> noise(0.0, 0.3);
    Points points;
    double heading = 0.0;
    double x = 0.0;
    double y = 0.0;
    for (int i = 0; i < count; ++i) {
        const int phase = i % 12000;
        if (phase >= 4000 && (phase < 6000 || phase >= 10000)) {
            heading += kPi / 2000.0;
        }
        x += 0.9 * std::sin(heading);
        y += 0.9 * std::cos(heading);
        const double drift = i * 0.01;
        points.emplace_back(112.44 + (x + drift + noise(random)) / 92500.0,
                            33.75 + (y + noise(random)) / 111000.0, 1500.0 + 0.1 * noise(random));
    }
    return points;
}

TEST_F(Lines, TrackThatGrowsLooksAsIfMadeAtOnce) {
    const Points points = flight(100000);
    const osg::ref_ptr<FeatureNode> whole = line(points, 10.0);
    const osg::ref_ptr<FeatureNode> grown = line(Points(points.begin(), points.begin() + 2), 10.0);
    for (std::size_t i = 2; i < points.size(); ++i) {
        grown->appendPoint(points[i]);
    }
    ASSERT_EQ(grown->getFeature()->getGeometry()->size(), points.size());
    for (const double range : {400.0, 3000.0, 20000.0, 300000.0}) {
        scene.lookAtPlace(112.44 + 0.3 / 92.5, 33.75 + 1.0 / 111.0, 1500.0, range, 60.0, 20.0, range * 0.05,
                          range * 20.0);
        scene.root()->removeChild(grown);
        scene.root()->addChild(whole);
        scene.draw();
        std::vector<bool> red;
        for (int i = 0; i < scene.width() * scene.height(); ++i) {
            red.push_back(isRed(scene.pixel(i % scene.width(), i / scene.width())));
        }
        // Every point of it is there.
        for (std::size_t i = 0; i < points.size(); i += 7) {
            ASSERT_TRUE(isRedAt(points[i].x(), points[i].y(), points[i].z())) << i << " at " << range;
        }
        scene.root()->removeChild(whole);
        scene.root()->addChild(grown);
        scene.draw();
        int differing = 0;
        for (int i = 0; i < scene.width() * scene.height(); ++i) {
            const bool now = isRed(scene.pixel(i % scene.width(), i / scene.width()));
            differing += now != red[static_cast<std::size_t>(i)] ? 1 : 0;
        }
        EXPECT_EQ(differing, 0) << range;
    }
}

TEST_F(Lines, AppendedPointShowsInTheNextFrame) {
    const osg::ref_ptr<FeatureNode> node = line({{112.44, 33.75, 500.0}}, 10.0);
    scene.root()->addChild(node);
    scene.lookAtPlace(112.44, 33.75, 500.0, 1000.0, 90.0, 0.0, 100.0, 10000.0);
    scene.draw();
    EXPECT_EQ(redInAll(), 0);
    Points points = {{112.44, 33.75, 500.0}};
    for (int i = 1; i <= 1200; ++i) {
        points.emplace_back(112.44 + 1e-6 * i, 33.75 + 0.0005 * std::sin(i * 0.01), 500.0);
        node->appendPoint(points.back());
        if (i % 97 == 0) {
            scene.draw();
            ASSERT_TRUE(isRedAt(points.back().x(), points.back().y(), 500.0)) << i;
            const Points& last = points;
            ASSERT_TRUE(isRedAt(last[last.size() / 2].x(), last[last.size() / 2].y(), 500.0)) << i;
        }
    }
}

TEST_F(Lines, AFixThatJumpsToAndFroCostsAFewHundredPointsEachTime) {
    const osg::ref_ptr<FeatureNode> node = line({{0.0, 0.0, 500.0}}, 10.0);
    constexpr std::size_t kJumps = 40;
    for (std::size_t i = 0; i < kJumps; ++i) {
        const bool there = i % 2 == 0;
        node->appendPoint({there ? 112.44 : 0.0, there ? 33.75 : 0.0, 500.0});
    }
    ASSERT_EQ(node->getNumChildren(), 1u);
    osg::Group* ribbon = node->getChild(0)->asGroup();
    std::size_t points = 0;
    for (unsigned int i = 0; i < ribbon->getNumChildren(); ++i) {
        auto* chunk = dynamic_cast<LineChunk*>(ribbon->getChild(i));
        points += chunk != nullptr ? chunk->pointsIn(0) : 0;
    }
    // Twice where pieces meet.
    EXPECT_LE(points, kJumps * 520);
    EXPECT_GE(points, kJumps * 200);
}

TEST_F(Lines, AskForNoFrame) {
    scene.viewer()->setRunFrameScheme(osgViewer::ViewerBase::ON_DEMAND);
    const osg::ref_ptr<FeatureNode> node = line(flight(2000), 10.0);
    scene.root()->addChild(node);
    scene.lookAtPlace(112.44, 33.75, 500.0, 1000.0, 90.0, 0.0, 100.0, 10000.0);
    scene.draw();
    scene.draw();
    EXPECT_EQ(node->getNumChildrenRequiringUpdateTraversal(), 0u);
    EXPECT_FALSE(scene.viewer()->checkNeedToDoFrame());
}

TEST_F(Lines, WidthInPixelsIsTheSameAtAnyRange) {
    osg::ref_ptr<Feature> feature =
        new Feature(new LineString({{112.4, 33.75, 500.0}, {112.48, 33.75, 500.0}}), nullptr);
    feature->style() = lineStyle(6.0, Units::PIXELS);
    scene.root()->addChild(new FeatureNode(feature));
    for (const double range : {400.0, 20000.0}) {
        scene.lookAtPlace(112.44, 33.75, 500.0, range, 90.0, 0.0, range * 0.1, range * 10.0);
        scene.draw();
        double middle = 0.0;
        EXPECT_NEAR(redInColumn(320, middle), 6.0, 1.01) << range;
    }
}

}  // namespace
}  // namespace globe
