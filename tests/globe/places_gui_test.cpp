// Place marks and models: where they stand, what hides them, what they need.
#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <osg/Geode>
#include <osg/Material>
#include <osg/ShapeDrawable>
#include <osgDB/WriteFile>

#include "globe/geo_interpolation.h"
#include "globe/icon_symbol.h"
#include "globe/model_node.h"
#include "globe/model_symbol.h"
#include "globe/place_node.h"
#include "globe/text_symbol.h"
#include "tests/globe/marks_scene.h"

namespace globe {
namespace {

const Ellipsoid kEarth;
const SpatialReference* wgs84() { return SpatialReference::get("wgs84"); }

bool isMagenta(const Rgb& p) { return p[0] > 240 && p[1] < 15 && p[2] > 240; }
bool isWhite(const Rgb& p) { return p[0] > 200 && p[1] > 200 && p[2] > 200; }
bool isSky(const Rgb& p) { return isNear(p, {0, 0, 51}, 3); }

struct Box {
    int left = 1 << 20, bottom = 1 << 20, right = -1, top = -1, count = 0;
    bool empty() const { return count == 0; }
};

class Places : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(folder.isValid());
        osg::ref_ptr<osg::Image> picture = new osg::Image;
        picture->allocateImage(32, 32, 1, GL_RGBA, GL_UNSIGNED_BYTE);
        for (int i = 0; i < 32 * 32; ++i) {
            const unsigned char magenta[] = {255, 0, 255, 255};
            std::copy(magenta, magenta + 4, picture->data() + i * 4);
        }
        ASSERT_TRUE(osgDB::writeImageFile(*picture, icon()));
    }

    std::string file(const char* name) const {
        return folder.filePath(QString::fromLatin1(name)).toStdString();
    }
    std::string icon() const { return file("icon.png"); }

    Style iconStyle(bool declutter = true) const {
        Style style;
        style.getOrCreate<IconSymbol>()->url() = icon();
        style.getOrCreate<IconSymbol>()->declutter() = declutter;
        style.getOrCreate<TextSymbol>()->halo() = Stroke(Color("#5f5f5f"));
        return style;
    }

    osg::ref_ptr<PlaceNode> add(const GeoPoint& at, const std::string& text, const Style& style) {
        osg::ref_ptr<PlaceNode> node = new PlaceNode(at, text, style);
        scene.root()->addChild(node);
        return node;
    }

    template <typename Test>
    Box boxOf(Test test) const {
        Box box;
        for (int y = 0; y < scene.height(); ++y) {
            for (int x = 0; x < scene.width(); ++x) {
                if (test(scene.pixel(x, y))) {
                    box = {std::min(box.left, x), std::min(box.bottom, y), std::max(box.right, x),
                           std::max(box.top, y), box.count + 1};
                }
            }
        }
        return box;
    }

    QTemporaryDir folder;
    MarksScene scene{640, 480};
};

TEST_F(Places, IconStandsOnItsPlaceAtAnyRange) {
    add(GeoPoint(wgs84(), 112.44, 33.75), "", iconStyle());
    for (const double range : {500.0, 50000.0, 4.0e7}) {
        scene.lookAtPlace(112.43, 33.752, 0.0, range, 60.0, 40.0, range * 0.01, range * 10.0);
        scene.draw();
        double x = 0.0;
        double y = 0.0;
        scene.project(kEarth.geodeticToGeocentric(112.44, 33.75, 0.0), x, y);
        if (x < 20 || x > scene.width() - 20) {
            EXPECT_LT(range, 1000.0);
            continue;
        }
        const Box box = boxOf(isMagenta);
        EXPECT_NEAR(box.left + 16, x, 1.0) << range;
        EXPECT_NEAR(box.bottom, y, 1.0) << range;
        EXPECT_EQ(box.count, 32 * 32) << range;
    }
}

TEST_F(Places, CentredIconsTakeTheirPlaceInTheMiddle) {
    Style style = iconStyle();
    style.getOrCreate<IconSymbol>()->alignment() = IconSymbol::ALIGN_CENTER_CENTER;
    add(GeoPoint(wgs84(), 112.44, 33.75), "", style);
    scene.lookAtPlace(112.44, 33.75, 0.0, 5000.0, 60.0, 40.0, 50.0, 50000.0);
    scene.draw();
    const Box box = boxOf(isMagenta);
    EXPECT_EQ(box.left, 320 - 16);
    EXPECT_EQ(box.bottom, 240 - 16);
}

TEST_F(Places, LabelStandsToTheRightWithItsHalo) {
    add(GeoPoint(wgs84(), 112.44, 33.75), "Target", iconStyle());
    scene.lookAtPlace(112.44, 33.75, 0.0, 5000.0, 90.0, 0.0, 50.0, 50000.0);
    scene.draw();
    const Box icon_box = boxOf(isMagenta);
    const Box label = boxOf(isWhite);
    ASSERT_FALSE(label.empty());
    EXPECT_GT(label.left, icon_box.right);
    EXPECT_LT(label.left, icon_box.right + 12);
    EXPECT_GT(label.right - label.left, 30);
    EXPECT_NEAR((label.bottom + label.top) * 0.5, (icon_box.bottom + icon_box.top) * 0.5, 4.0);
    EXPECT_GT(boxOf([](const Rgb& p) { return isNear(p, {0x5f, 0x5f, 0x5f}, 12); }).count, 20);
}

TEST_F(Places, ChineseLabelsHaveTheirOwnGlyphs) {
    const auto drawn = [&](const char* text) {
        const osg::ref_ptr<PlaceNode> node = add(GeoPoint(wgs84(), 112.44, 33.75), text, Style());
        scene.lookAtPlace(112.44, 33.75, 0.0, 5000.0, 90.0, 0.0, 50.0, 50000.0);
        scene.draw();
        std::vector<Rgb> pixels;
        for (int i = 0; i < scene.width() * scene.height(); ++i) {
            pixels.push_back(scene.pixel(i % scene.width(), i / scene.width()));
        }
        EXPECT_FALSE(boxOf(isWhite).empty()) << text;
        scene.root()->removeChild(node);
        return pixels;
    };
    // Missing glyphs would be drawn as equal boxes.
    EXPECT_NE(drawn("\xe4\xb8\x9c\xe4\xba\xac"), drawn("\xe6\xb7\xb1\xe5\x9c\xb3"));
}

TEST_F(Places, BehindTheHorizonNothingIsShown) {
    const osg::ref_ptr<PlaceNode> node = add(GeoPoint(wgs84(), 10.0, 20.0), "", iconStyle());
    for (const double range : {7.0 * kEquatorRadius_m, 1.0e6}) {
        // As far round as just before and just behind the tangent; the flattening moves it by 0.2 degrees at
        // most.
        const double edge = toDegrees(std::acos(kEquatorRadius_m / (kEquatorRadius_m + range)));
        for (const double sign : {1.0, -1.0}) {
            for (const bool behind : {false, true}) {
                const Geodetic from = geodesicDestination({10.0, 20.0, 0.0}, 90.0 * sign,
                                                          toRadians(edge + (behind ? 0.3 : -0.3)) * 6.371e6);
                const osg::Vec3d eye = kEarth.geodeticToGeocentric(from.lon, from.lat, range);
                const osg::Vec3d at = kEarth.geodeticToGeocentric(10.0, 20.0, 0.0);
                scene.look(eye, at, osg::Vec3d(0, 0, 1), range * 0.1, range * 20.0);
                scene.draw();
                EXPECT_EQ(boxOf(isMagenta).empty(), behind) << range << " " << sign;
                EXPECT_EQ(node->shown() == MarkShown::kNothing, behind);
            }
        }
    }
}

TEST_F(Places, NothingIsShownBehindTheEyeOrOfNoPlace) {
    add(GeoPoint(wgs84(), 112.44, 33.75), "", iconStyle());
    add(GeoPoint(), "nowhere", iconStyle());
    add(GeoPoint(wgs84(), std::nan(""), 33.75), "", iconStyle());
    const osg::Vec3d at = kEarth.geodeticToGeocentric(112.44, 33.75, 0.0);
    const osg::Vec3d eye = kEarth.geodeticToGeocentric(112.44, 33.75, 3000.0);
    scene.look(eye, eye + (eye - at), osg::Vec3d(0, 0, 1), 10.0, 1e5);
    scene.draw();
    EXPECT_TRUE(boxOf([](const Rgb& p) { return !isSky(p); }).empty());
}

TEST_F(Places, WithoutItsPictureTheLabelIsLeft) {
    Style style = iconStyle();
    style.getOrCreate<IconSymbol>()->url() = file("missing.png");
    add(GeoPoint(wgs84(), 112.44, 33.75), "Miami", style);
    scene.lookAtPlace(112.44, 33.75, 0.0, 5000.0, 90.0, 0.0, 50.0, 50000.0);
    scene.draw();
    EXPECT_FALSE(boxOf(isWhite).empty());
    EXPECT_TRUE(boxOf(isMagenta).empty());
}

TEST_F(Places, PicturesAreReadOnce) {
    add(GeoPoint(wgs84(), 112.44, 33.75), "", iconStyle());
    ASSERT_TRUE(QFile::remove(QString::fromStdString(icon())));
    add(GeoPoint(wgs84(), 112.45, 33.75), "", iconStyle());
    scene.lookAtPlace(112.445, 33.75, 0.0, 5000.0, 90.0, 0.0, 50.0, 50000.0);
    scene.draw();
    EXPECT_EQ(boxOf(isMagenta).count, 2 * 32 * 32);
}

TEST_F(Places, OfMarksThatOverlapTheNearerStays) {
    const osg::ref_ptr<PlaceNode> near_one = add(GeoPoint(wgs84(), 112.44, 33.7500), "near", iconStyle());
    const osg::ref_ptr<PlaceNode> far_one = add(GeoPoint(wgs84(), 112.44, 33.7600), "far", iconStyle());
    // From the south at a low angle they stand one behind the other.
    scene.lookAtPlace(112.44, 33.75, 0.0, 4000.0, 2.0, 0.0, 40.0, 50000.0);
    scene.draw();
    EXPECT_EQ(near_one->shown(), MarkShown::kAll);
    EXPECT_EQ(far_one->shown(), MarkShown::kNothing);
    EXPECT_EQ(boxOf(isMagenta).count, 32 * 32);
    far_one->setPriority(1.0);
    scene.draw();
    EXPECT_EQ(near_one->shown(), MarkShown::kNothing);
    EXPECT_EQ(far_one->shown(), MarkShown::kAll);
    // From above there is room for both.
    scene.lookAtPlace(112.44, 33.755, 0.0, 4000.0, 90.0, 0.0, 40.0, 50000.0);
    scene.draw();
    EXPECT_EQ(near_one->shown(), MarkShown::kAll);
    EXPECT_EQ(far_one->shown(), MarkShown::kAll);
    EXPECT_EQ(boxOf(isMagenta).count, 2 * 32 * 32);
}

TEST_F(Places, WhereALabelWouldCoverAMarkOnlyTheLabelGoes) {
    const osg::ref_ptr<PlaceNode> left =
        add(GeoPoint(wgs84(), 112.44, 33.75), "a long label of a mark", iconStyle());
    const osg::ref_ptr<PlaceNode> right = add(GeoPoint(wgs84(), 112.4445, 33.75), "", iconStyle());
    right->setPriority(1.0);
    scene.lookAtPlace(112.442, 33.75, 0.0, 4000.0, 90.0, 0.0, 40.0, 50000.0);
    scene.draw();
    EXPECT_EQ(left->shown(), MarkShown::kIcon);
    EXPECT_EQ(right->shown(), MarkShown::kAll);
    EXPECT_TRUE(boxOf(isWhite).empty());
    EXPECT_EQ(boxOf(isMagenta).count, 2 * 32 * 32);
}

TEST_F(Places, WhatIsNotDeclutteredIsAlwaysShown) {
    add(GeoPoint(wgs84(), 112.44, 33.7500), "", iconStyle(false));
    const osg::ref_ptr<PlaceNode> far_one = add(GeoPoint(wgs84(), 112.44, 33.7600), "far", iconStyle(false));
    scene.lookAtPlace(112.44, 33.75, 0.0, 4000.0, 2.0, 0.0, 40.0, 50000.0);
    scene.draw();
    EXPECT_EQ(far_one->shown(), MarkShown::kAll);
    EXPECT_FALSE(boxOf(isWhite).empty());
}

TEST_F(Places, TheGroupsMaterialColoursModelsNotPictures) {
    osg::ref_ptr<osg::Material> red = new osg::Material;
    red->setDiffuse(osg::Material::FRONT_AND_BACK, osg::Vec4(1, 0, 0, 1));
    scene.root()->getOrCreateStateSet()->setAttributeAndModes(red);
    scene.root()->getOrCreateStateSet()->setMode(GL_LIGHTING,
                                                 osg::StateAttribute::ON | osg::StateAttribute::OVERRIDE);
    add(GeoPoint(wgs84(), 112.44, 33.75), "", iconStyle());
    scene.lookAtPlace(112.44, 33.75, 0.0, 5000.0, 90.0, 0.0, 50.0, 50000.0);
    scene.draw();
    EXPECT_EQ(boxOf(isMagenta).count, 32 * 32);
}

TEST_F(Places, AskForNoFrame) {
    scene.viewer()->setRunFrameScheme(osgViewer::ViewerBase::ON_DEMAND);
    add(GeoPoint(wgs84(), 112.44, 33.75), "Target", iconStyle());
    scene.lookAtPlace(112.44, 33.75, 0.0, 5000.0, 90.0, 0.0, 50.0, 50000.0);
    scene.draw();
    scene.draw();
    EXPECT_EQ(scene.root()->getNumChildrenRequiringUpdateTraversal(), 0u);
    EXPECT_FALSE(scene.viewer()->checkNeedToDoFrame());
}

class Models : public Places {
protected:
    // Ten metres to the east, two to the north, one up; red without light.
    void writeModel(const std::string& path, const osg::Vec3& size = osg::Vec3(10.0f, 2.0f, 1.0f)) const {
        osg::ref_ptr<osg::ShapeDrawable> shape =
            new osg::ShapeDrawable(new osg::Box(osg::Vec3(), size.x(), size.y(), size.z()));
        shape->setColor(osg::Vec4(1, 0, 0, 1));
        osg::ref_ptr<osg::Geode> model = new osg::Geode;
        model->addDrawable(shape);
        model->getOrCreateStateSet()->setMode(GL_LIGHTING, osg::StateAttribute::OFF);
        ASSERT_TRUE(osgDB::writeNodeFile(*model, path));
    }

    osg::ref_ptr<ModelNode> addModel(const std::string& url) {
        Style style;
        style.getOrCreate<ModelSymbol>()->url() = url;
        osg::ref_ptr<ModelNode> node = new ModelNode(nullptr, style);
        scene.root()->addChild(node);
        return node;
    }

    void expectSize(double east, double north, double range) {
        const Box box = boxOf(isRed);
        EXPECT_NEAR(box.right - box.left + 1, east / scene.pixelAt(range), 2.0);
        EXPECT_NEAR(box.top - box.bottom + 1, north / scene.pixelAt(range), 2.0);
        EXPECT_NEAR((box.left + box.right + 1) * 0.5, 320.0, 1.0);
        EXPECT_NEAR((box.bottom + box.top + 1) * 0.5, 240.0, 1.0);
    }
};

TEST_F(Models, StandInTheirPlaceTenTimesAsLargeAndTurned) {
    writeModel(file("plane.osgb"));
    const osg::ref_ptr<ModelNode> node = addModel(file("plane.osgb.10.scale"));
    scene.lookAtPlace(112.44, 33.75, 1505.0, 400.0, 90.0, 0.0, 40.0, 4000.0);
    scene.draw();
    EXPECT_TRUE(boxOf(isRed).empty());  // no position yet
    node->setPosition(GeoPoint(wgs84(), 112.44, 33.75, 1500.0));
    scene.draw();
    expectSize(100.0, 20.0, 400.0);
    // A quarter to the right: its length points north to south.
    node->setLocalRotation(osg::Quat(toRadians(360.0 - 90.0), osg::Vec3d(0, 0, 1)));
    scene.draw();
    expectSize(20.0, 100.0, 400.0);
    // The far east is nearer the eye than the rest when it is the nose that comes up; a yaw of 30 keeps its
    // sense.
    node->setLocalRotation(osg::Quat(toRadians(360.0 - 30.0), osg::Vec3d(0, 0, 1)));
    scene.draw();
    const double pixel = scene.pixelAt(400.0);
    const auto at = [&](double east, double north) {
        return scene.pixel(static_cast<int>(320 + east / pixel), static_cast<int>(240 + north / pixel));
    };
    EXPECT_TRUE(isRed(at(38.0, -22.0)));
    EXPECT_FALSE(isRed(at(38.0, 22.0)));
    node->setPosition(GeoPoint(wgs84(), std::nan(""), 33.75, 1500.0));
    scene.draw();
    EXPECT_TRUE(boxOf(isRed).empty());
}

TEST_F(Models, AreReadOnceAndSharedAndSeenFromAfar) {
    writeModel(file("shared.osgb"), osg::Vec3(3.0f, 3.0f, 0.01f));
    const osg::ref_ptr<ModelNode> first = addModel(file("shared.osgb"));
    ASSERT_TRUE(QFile::remove(QString::fromStdString(file("shared.osgb"))));
    const osg::ref_ptr<ModelNode> second = addModel(file("shared.osgb"));
    second->setPosition(GeoPoint(wgs84(), 112.44, 33.75, 1500.0));
    // Little more than a pixel wide: less than the scene graph draws by itself.
    scene.lookAtPlace(112.44, 33.75, 1500.0, 2400.0, 90.0, 0.0, 40.0, 10000.0);
    scene.draw();
    EXPECT_GE(boxOf(isRed).count, 1);
}

TEST_F(Models, WithoutTheirFileNothingIsShown) {
    const osg::ref_ptr<ModelNode> node = addModel(file("missing.osgb.10.scale"));
    node->setPosition(GeoPoint(wgs84(), 112.44, 33.75, 1500.0));
    scene.root()->addChild(new ModelNode(nullptr, Style()));
    scene.lookAtPlace(112.44, 33.75, 1500.0, 400.0, 90.0, 0.0, 40.0, 4000.0);
    scene.draw();
    EXPECT_TRUE(boxOf([](const Rgb& p) { return !isSky(p); }).empty());
}

TEST_F(Models, TakeTheGroupsMaterialInTheLight) {
    osg::ref_ptr<osg::ShapeDrawable> shape = new osg::ShapeDrawable(new osg::Box(osg::Vec3(), 100.0f));
    osg::ref_ptr<osg::Geode> model = new osg::Geode;
    model->addDrawable(shape);
    ASSERT_TRUE(osgDB::writeNodeFile(*model, file("white.osgb")));
    osg::ref_ptr<osg::Material> red = new osg::Material;
    red->setDiffuse(osg::Material::FRONT_AND_BACK, osg::Vec4(1, 0, 0, 1));
    red->setAmbient(osg::Material::FRONT_AND_BACK, osg::Vec4(0, 0, 0, 1));
    scene.root()->getOrCreateStateSet()->setAttributeAndModes(red);
    scene.viewer()->setLightingMode(osg::View::HEADLIGHT);
    addModel(file("white.osgb"))->setPosition(GeoPoint(wgs84(), 112.44, 33.75, 1500.0));
    scene.lookAtPlace(112.44, 33.75, 1500.0, 400.0, 90.0, 0.0, 40.0, 4000.0);
    scene.draw();
    EXPECT_TRUE(isRed(scene.pixel(320, 240)));
}

}  // namespace
}  // namespace globe
