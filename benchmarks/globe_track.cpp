// What marks of the globe cost: a fix at the end of a long track, drawing that track, footprint and heading
// line, many place marks.
//   scripts/with_display build/benchmarks/globe_track [POINTS]
// Each figure stands beside a baseline of the same run: for a fix the whole line made anew, for drawing the
// bare scene and one plain strip of lines through all points. Asserts nothing.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <osg/MatrixTransform>
#include <random>
#include <vector>

#include "globe/feature_node.h"
#include "globe/icon_symbol.h"
#include "globe/line_symbol.h"
#include "globe/place_node.h"
#include "globe/polygon_symbol.h"
#include "tests/globe/marks_scene.h"

namespace {

using globe::FeatureNode;
using Points = std::vector<osg::Vec3d>;

double nowMs() {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// The mean of `count` runs.
template <typename F>
double meanMs(int count, F&& work) {
    const double start = nowMs();
    for (int i = 0; i < count; ++i) {
        work(i);
    }
    return (nowMs() - start) / count;
}

// The best of `count` runs: what others do on the machine at the same time is left out.
template <typename F>
double bestMs(int count, F&& work) {
    double best = 1e9;
    for (int i = 0; i < count; ++i) {
        best = std::min(best, meanMs(1, [&](int) { work(i); }));
    }
    return best;
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
            heading += globe::kPi / 2000.0;
        }
        x += 0.9 * std::sin(heading);
        y += 0.9 * std::cos(heading);
        points.emplace_back(112.44 + (x + i * 0.01 + noise(random)) / 92500.0,
                            33.75 + (y + noise(random)) / 111000.0, 1500.0);
    }
    return points;
}

osg::ref_ptr<FeatureNode> line(const Points& points, double width, const globe::Color& color) {
    osg::ref_ptr<globe::Feature> feature =
        new globe::Feature(new globe::LineString(points), globe::SpatialReference::get("wgs84"));
    feature->geoInterp() = globe::GEOINTERP_RHUMB_LINE;
    globe::Style style;
    style.getOrCreate<globe::LineSymbol>()->stroke() = globe::Stroke(color, width, globe::Units::METERS);
    return new FeatureNode(feature, style);
}

osg::ref_ptr<FeatureNode> footprint(const osg::Vec3d& at, double turn) {
    Points corners;
    for (const auto& [angle, away] :
         {std::pair<double, double>{-15, 200}, {-15, 400}, {15, 400}, {15, 200}}) {
        const globe::Geodetic corner =
            globe::geodesicDestination({at.x(), at.y(), at.z()}, angle + turn, away);
        corners.emplace_back(corner.lon, corner.lat, corner.alt);
    }
    globe::Style style;
    style.getOrCreate<globe::PolygonSymbol>()->fill().color() = globe::Color(globe::Color::Yellow, 0.2f);
    return new FeatureNode(
        new globe::Feature(new globe::Polygon(corners), globe::SpatialReference::get("wgs84")), style);
}

// Every point, one pixel wide, in one piece.
osg::ref_ptr<osg::Node> plainStrip(const Points& points) {
    const globe::Ellipsoid earth;
    const osg::Vec3d origin = earth.geodeticToGeocentric(points.front());
    osg::ref_ptr<osg::Vec3Array> at = new osg::Vec3Array;
    for (const osg::Vec3d& point : points) {
        at->push_back(osg::Vec3f(earth.geodeticToGeocentric(point) - origin));
    }
    osg::ref_ptr<osg::Geometry> strip = new osg::Geometry;
    strip->setUseVertexBufferObjects(true);
    strip->setVertexArray(at);
    strip->addPrimitiveSet(new osg::DrawArrays(GL_LINE_STRIP, 0, static_cast<GLsizei>(at->size())));
    osg::ref_ptr<osg::MatrixTransform> placed = new osg::MatrixTransform(osg::Matrixd::translate(origin));
    placed->addChild(strip);
    return placed;
}

void tellFixes(const Points& points) {
    osg::ref_ptr<osg::Group> root = new osg::Group;
    osg::ref_ptr<FeatureNode> track;
    const double whole = bestMs(5, [&](int) {
        root->removeChild(track);
        track = line(points, 10.0, globe::Color::Red);
        root->addChild(track);
    });
    const double append = meanMs(5000, [&](int i) {
        track->appendPoint(points.back() + osg::Vec3d(1e-5 * (i + 1), 0.0, 0.0));
        root->getBound();
    });
    std::printf("a fix with %zu points: whole line anew %.3f ms, appended %.4f ms, ratio %.0f\n",
                points.size(), whole, append, whole / append);
    osg::ref_ptr<osg::Node> old;
    const double drape = meanMs(5000, [&](int i) {
        root->removeChild(old);
        old = footprint(points.back(), i);
        root->addChild(old);
    });
    const double heading = meanMs(5000, [&](int i) {
        root->removeChild(old);
        old =
            line({points.back(), points.back() + osg::Vec3d(0.001, 1e-6 * i, 0.0)}, 5.0, globe::Color::Green);
        root->addChild(old);
    });
    std::printf("footprint anew %.4f ms, heading line anew %.4f ms\n", drape, heading);
}

void tellDrawing(const Points& points) {
    globe::MarksScene scene(1280, 720);
    const osg::ref_ptr<osg::Node> strip = plainStrip(points);
    const osg::ref_ptr<osg::Node> track = line(points, 10.0, globe::Color::Red);
    const osg::Vec3d& middle = points[points.size() / 2];
    for (const double range : {2000.0, 50000.0, 1e6, 7.0 * globe::kEquatorRadius_m}) {
        scene.lookAtPlace(middle.x(), middle.y(), middle.z(), range, 60.0, 0.0, range * 0.02, range * 4.0);
        const auto frames = [&](osg::Node* shown) {
            scene.root()->addChild(shown);
            meanMs(5, [&](int) { scene.draw(); });
            const double best = bestMs(60, [&](int) { scene.draw(); });
            scene.root()->removeChild(shown);
            return best;
        };
        const double bare = frames(new osg::Group);
        std::printf("a frame at %8.0f km: bare %.2f ms, plain strip +%.2f ms, track +%.2f ms\n",
                    range / 1000.0, bare, frames(strip) - bare, frames(track) - bare);
    }
}

void tellMarks() {
    globe::MarksScene scene(1280, 720);
    std::mt19937 random(1);
    std::uniform_real_distribution<double> lon(60.0, 160.0);
    std::uniform_real_distribution<double> lat(0.0, 60.0);
    scene.lookAtPlace(112.0, 30.0, 0.0, 2e7, 90.0, 0.0, 1e6, 1e8);
    const double bare = bestMs(60, [&](int) { scene.draw(); });
    for (const int count : {100, 900}) {
        for (int i = 0; i < count; ++i) {
            globe::Style style;
            style.getOrCreate<globe::IconSymbol>()->declutter() = true;
            scene.root()->addChild(new globe::PlaceNode(
                globe::GeoPoint(globe::SpatialReference::get("wgs84"), lon(random), lat(random)), "label",
                style));
        }
        meanMs(5, [&](int) { scene.draw(); });
        const double best = bestMs(60, [&](int) { scene.draw(); });
        std::printf("%u labels that give way: +%.2f ms a frame\n", scene.root()->getNumChildren(),
                    best - bare);
    }
}

}  // namespace

int main(int argc, char* argv[]) {
    const int count = argc > 1 ? std::max(1000, std::atoi(argv[1])) : 100000;
    const Points points = flight(count);
    tellFixes(points);
    tellDrawing(points);
    tellMarks();
    return 0;
}
