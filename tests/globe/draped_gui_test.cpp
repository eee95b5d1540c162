// Areas lie on the ground exactly: what each pixel has to show is reckoned from the heights alone.
#include <gtest/gtest.h>

#include <limits>
#include <osg/GLExtensions>
#include <vector>

#include "globe/altitude_symbol.h"
#include "globe/circle_node.h"
#include "globe/feature_node.h"
#include "globe/polygon_symbol.h"
#include "tests/globe/bumpy_ground.h"
#include "tests/globe/marks_scene.h"

namespace globe {
namespace {

constexpr int kGround = 100;
const Rgb kPlain = {kGround, kGround, kGround};

Style areaStyle(const Color& color) {
    Style style;
    style.getOrCreate<PolygonSymbol>()->fill().color() = color;
    auto* altitude = style.getOrCreate<AltitudeSymbol>();
    altitude->clamping() = AltitudeSymbol::CLAMP_TO_TERRAIN;
    altitude->technique() = AltitudeSymbol::TECHNIQUE_DRAPE;
    altitude->verticalOffset() = 0.1;
    return style;
}

using Ring = std::vector<osg::Vec3d>;

osg::ref_ptr<FeatureNode> area(const Ring& ring, const Color& color) {
    osg::ref_ptr<Feature> feature = new Feature(new Polygon(ring), SpatialReference::get("wgs84"));
    return new FeatureNode(feature, areaStyle(color));
}

bool isInside(const Ring& ring, double x, double y) {
    bool inside = false;
    for (std::size_t i = 0, j = ring.size() - 1; i < ring.size(); j = i++) {
        if ((ring[i].y() > y) != (ring[j].y() > y) &&
            x < (ring[j].x() - ring[i].x()) * (y - ring[i].y()) / (ring[j].y() - ring[i].y()) + ring[i].x()) {
            inside = !inside;
        }
    }
    return inside;
}

Rgb blended(const Rgb& below, const Color& color) {
    Rgb out = {};
    for (unsigned i = 0; i < 3; ++i) {
        out[i] = static_cast<int>(
            std::lround(float(below[i]) * (1.0f - color.a()) + 255.0f * color[i] * color.a()));
    }
    return out;
}

class Draped : public testing::Test {
protected:
    void SetUp() override { scene.root()->addChild(ground.mesh()); }

    // The colour at a place by shape, each blended once in its order; {-2, ...} off the ground.
    Rgb expectedAt(double x, double y) const {
        osg::Vec3d place;
        if (!ground.hit(scene.eye(), scene.sight(x, y), place)) {
            return {-2, -2, -2};
        }
        Rgb color = kPlain;
        for (const auto& [ring, paint] : shapes) {
            if (isInside(ring, place.x(), place.y())) {
                color = blended(color, paint);
            }
        }
        return color;
    }

    void add(const Ring& ring, const Color& color) {
        shapes.emplace_back(ring, color);
        scene.root()->addChild(area(ring, color));
    }

    // Every fourth pixel that lies more than a pixel off any edge; how many were judged, and how many of them
    // painted.
    void judge(int& judged, int& painted) {
        scene.draw();
        judged = painted = 0;
        int wrong = 0;
        for (int y = 1; y < scene.height(); y += 4) {
            for (int x = 1; x < scene.width(); x += 4) {
                const Rgb wanted = expectedAt(x + 0.5, y + 0.5);
                bool certain = wanted[0] >= 0;
                for (const auto& [dx, dy] :
                     {std::pair<double, double>{-1.2, 0}, {1.2, 0}, {0, -1.2}, {0, 1.2}}) {
                    certain = certain && expectedAt(x + 0.5 + dx, y + 0.5 + dy) == wanted;
                }
                if (!certain) {
                    continue;
                }
                ++judged;
                painted += wanted != kPlain ? 1 : 0;
                if (!isNear(scene.pixel(x, y), wanted, 2) && ++wrong <= 5) {
                    const Rgb seen = scene.pixel(x, y);
                    ADD_FAILURE() << x << "," << y << ": " << seen[0] << " " << seen[1] << " " << seen[2]
                                  << " instead of " << wanted[0] << " " << wanted[1] << " " << wanted[2];
                }
            }
        }
        EXPECT_EQ(wrong, 0);
    }

    MarksScene scene{320, 240};
    BumpyGround ground;
    std::vector<std::pair<Ring, Color>> shapes;
};

Ring footprint(const BumpyGround& ground) {
    return {{ground.lon - 0.003, ground.lat - 0.004, 900},
            {ground.lon - 0.006, ground.lat + 0.005, 900},
            {ground.lon + 0.005, ground.lat + 0.006, 900},
            {ground.lon + 0.002, ground.lat - 0.003, 900}};
}

TEST_F(Draped, FootprintLiesOnTheHillsFromEveryTilt) {
    add(footprint(ground), Color(Color::Yellow, 0.2f));
    for (const double pitch : {90.0, 40.0, 12.0}) {
        scene.lookAtPlace(ground.lon, ground.lat, 400.0, 3000.0, pitch, 30.0, 50.0, 100000.0);
        int judged = 0;
        int painted = 0;
        judge(judged, painted);
        EXPECT_GT(judged, 1000) << pitch;
        EXPECT_GT(painted, 150) << pitch;
    }
}

TEST_F(Draped, TheEyeMayStandInsideTheBody) {
    Ring wide;
    for (const auto& [x, y] : {std::pair<double, double>{-1, -1}, {1, -1}, {1, 1}, {0, 0.1}, {-1, 1}}) {
        wide.emplace_back(ground.lon + x * 0.009, ground.lat + y * 0.009, 0.0);
    }
    add(wide, Color(Color::Teal, 0.5f));
    scene.lookAtPlace(ground.lon, ground.lat, 500.0, 600.0, 35.0, 0.0, 20.0, 100000.0);
    int judged = 0;
    int painted = 0;
    judge(judged, painted);
    EXPECT_GT(judged, 1000);
    EXPECT_GT(painted, 250);
}

TEST_F(Draped, FarPlaneBeforeTheWallsBehindChangesNothing) {
    add(footprint(ground), Color(Color::Yellow, 0.2f));
    scene.lookAtPlace(ground.lon, ground.lat, 400.0, 3000.0, 60.0, 0.0, 1500.0, 4200.0);
    int judged = 0;
    int painted = 0;
    judge(judged, painted);
    EXPECT_GT(painted, 250);
}

TEST_F(Draped, TwoThatOverlapBlendEachOnce) {
    add(footprint(ground), Color(Color::Yellow, 0.2f));
    Ring other = footprint(ground);
    for (osg::Vec3d& point : other) {
        point.x() += 0.003;
    }
    add(other, Color(Color::Teal, 0.5f));
    scene.lookAtPlace(ground.lon, ground.lat, 400.0, 3000.0, 50.0, 200.0, 50.0, 100000.0);
    int judged = 0;
    int painted = 0;
    judge(judged, painted);
    EXPECT_GT(painted, 400);
}

TEST_F(Draped, EitherSenseAndRightAboutTheSecondFrame) {
    Ring ring = footprint(ground);
    std::reverse(ring.begin(), ring.end());
    add(ring, Color(Color::Yellow, 0.2f));
    scene.lookAtPlace(ground.lon, ground.lat, 400.0, 3000.0, 50.0, 100.0, 50.0, 100000.0);
    scene.draw();
    scene.draw();
    int judged = 0;
    int painted = 0;
    judge(judged, painted);
    EXPECT_GT(painted, 250);
}

// What others leave in the buffer, or what it holds when it is made.
struct SoilStencil : public osg::Camera::DrawCallback {
    void operator()(osg::RenderInfo&) const override {
        void(GL_APIENTRY * value)(GLint) = nullptr;
        void(GL_APIENTRY * clear)(GLbitfield) = nullptr;
        ASSERT_TRUE(osg::setGLExtensionFuncPtr(value, "glClearStencil"));
        ASSERT_TRUE(osg::setGLExtensionFuncPtr(clear, "glClear"));
        value(7);
        clear(GL_STENCIL_BUFFER_BIT);
    }
};

TEST_F(Draped, WhatIsLeftInTheStencilBufferDoesNotMatter) {
    add(footprint(ground), Color(Color::Yellow, 0.2f));
    scene.viewer()->getCamera()->setInitialDrawCallback(new SoilStencil);
    scene.lookAtPlace(ground.lon, ground.lat, 400.0, 3000.0, 50.0, 100.0, 50.0, 100000.0);
    int judged = 0;
    int painted = 0;
    judge(judged, painted);
    EXPECT_GT(painted, 250);
}

TEST_F(Draped, NothingIsShownOfNothing) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double x = ground.lon;
    const double y = ground.lat;
    const Color color(Color::Red, 1.0f);
    const SpatialReference* srs = SpatialReference::get("wgs84");
    for (const Ring& ring :
         {Ring{}, Ring{{x, y, 0}}, Ring(4, osg::Vec3d(x, y, 0)), Ring(4, osg::Vec3d(nan, nan, nan)),
          Ring{{x, y, 0}, {x, y + 0.001, 0}, {x, y + 0.002, 0}, {x, y - 0.003, 0}}}) {
        scene.root()->addChild(area(ring, color));
    }
    for (const double radius : {0.0, -5.0, nan, 1e9}) {
        osg::ref_ptr<CircleNode> circle = new CircleNode;
        circle->set(GeoPoint(srs, x, y), radius, areaStyle(color), -180.0, 180.0, true);
        scene.root()->addChild(circle);
    }
    osg::ref_ptr<CircleNode> nowhere = new CircleNode;
    nowhere->set(GeoPoint(srs, nan, y), 300.0, areaStyle(color));
    scene.root()->addChild(nowhere);
    scene.lookAtPlace(x, y, 400.0, 3000.0, 60.0, 0.0, 50.0, 100000.0);
    int judged = 0;
    int painted = 0;
    judge(judged, painted);
    EXPECT_GT(judged, 1000);
    EXPECT_EQ(painted, 0);
}

TEST_F(Draped, DiscHasItsRadiusAndPieItsArc) {
    const SpatialReference* srs = SpatialReference::get("wgs84");
    for (const bool whole : {true, false}) {
        osg::ref_ptr<CircleNode> circle = new CircleNode;
        circle->set(GeoPoint(srs, ground.lon, ground.lat), 300.0, areaStyle(Color(Color::Teal, 0.5f)),
                    whole ? -180.0 : 300.0, whole ? 180.0 : 30.0, true);
        scene.root()->addChild(circle);
        scene.lookAtPlace(ground.lon, ground.lat, 400.0, 2500.0, 90.0, 0.0, 50.0, 100000.0);
        scene.draw();
        int judged = 0;
        for (int y = 0; y < scene.height(); y += 2) {
            for (int x = 0; x < scene.width(); x += 2) {
                osg::Vec3d place;
                if (!ground.hit(scene.eye(), scene.sight(x + 0.5, y + 0.5), place)) {
                    continue;
                }
                const double scale = 111000.0;
                const double east =
                    (place.x() - ground.lon) * toRadians(1.0) * 6382000.0 * std::cos(toRadians(33.75));
                const double north = (place.y() - ground.lat) * 110915.0;
                const double away = std::hypot(east, north);
                const double bearing = wrapBearing(toDegrees(std::atan2(east, north)));
                const double edge_m = whole ? 1e9
                                            : away * std::min(std::fabs(std::sin(toRadians(bearing - 300.0))),
                                                              std::fabs(std::sin(toRadians(bearing - 30.0))));
                if (std::fabs(away - 300.0) < 12.0 || edge_m < 12.0 || away > scale) {
                    continue;
                }
                ++judged;
                const bool in_arc = whole || bearing > 300.0 || bearing < 30.0;
                const Rgb wanted =
                    away < 300.0 && in_arc ? blended(kPlain, Color(Color::Teal, 0.5f)) : kPlain;
                ASSERT_TRUE(isNear(scene.pixel(x, y), wanted, 2)) << away << " m at " << bearing;
            }
        }
        EXPECT_GT(judged, 3000);
        scene.root()->removeChild(circle);
    }
}

TEST_F(Draped, WithoutAStencilBufferNothingIsPaintedOver) {
    MarksScene plain(320, 240, 0);
    plain.root()->addChild(ground.mesh());
    GLint bits = -1;
    struct Ask : public osg::Drawable::DrawCallback {
        explicit Ask(GLint* into) : out(into) {}
        void drawImplementation(osg::RenderInfo&, const osg::Drawable*) const override {
            void(GL_APIENTRY * get)(GLenum, GLint*) = nullptr;
            ASSERT_TRUE(osg::setGLExtensionFuncPtr(get, "glGetIntegerv"));
            get(GL_STENCIL_BITS, out);
        }
        GLint* out;
    };
    osg::ref_ptr<osg::Geometry> probe = new osg::Geometry;
    probe->setUseDisplayList(false);
    probe->setCullingActive(false);
    probe->setDrawCallback(new Ask(&bits));
    plain.root()->addChild(probe);
    plain.root()->addChild(area(footprint(ground), Color(Color::Yellow, 0.2f)));
    plain.lookAtPlace(ground.lon, ground.lat, 400.0, 3000.0, 90.0, 0.0, 50.0, 100000.0);
    plain.draw();
    if (bits != 0) {
        GTEST_SKIP() << "this display gives a stencil buffer unasked";
    }
    EXPECT_EQ(plain.pixel(160, 120), kPlain);
}

}  // namespace
}  // namespace globe
