// Marks on terrain with heights: what stands on the ground stands on it, what is draped lies on it.
#include <gtest/gtest.h>

#include <osg/Image>
#include <osgDB/ReadFile>
#include <osgDB/WriteFile>

#include "globe/circle_node.h"
#include "globe/feature_node.h"
#include "globe/icon_symbol.h"
#include "globe/initialize.h"
#include "globe/map_node.h"
#include "globe/place_node.h"
#include "globe/polygon_symbol.h"
#include "tests/globe/made_data.h"
#include "tests/globe/offscreen.h"

namespace globe {
namespace {

using namespace globe_test;

constexpr double kLon = 112.44;
constexpr double kLat = 33.75;

class MarksOnGlobe : public ::testing::Test {
protected:
    static void SetUpTestSuite() { initialize(); }

    void SetUp() override {
        ASSERT_TRUE(screen.works());
        makePlain(folder, "land", 100, 100, 100);
        Making heights;
        heights.heights = true;
        ASSERT_TRUE(makeRaster(folder / "heights.tif", {112.0, 33.0, 113.0, 34.0, 400, 400}, heights));
        const std::string path =
            folder.write("x.earth",
                         "<map><image name='land'><url>land.vrt</url></image>"
                         "<elevation name='hills'><url>heights.tif</url></elevation></map>");
        map = MapNode::findMapNode(osgDB::readNodeFile(path));
        ASSERT_TRUE(map);
        map->getOrCreateStateSet()->setMode(GL_LIGHTING,
                                            osg::StateAttribute::OFF | osg::StateAttribute::OVERRIDE);
        root->addChild(map);
        screen.show(root);
    }
    void TearDown() override {
        screen.show(nullptr);
        root = nullptr;
        map = nullptr;
    }

    Style yellow() const {
        Style style;
        style.getOrCreate<PolygonSymbol>()->fill().color() = Color(Color::Yellow, 0.2f);
        return style;
    }

    Folder folder;
    Offscreen screen{480, 360};
    osg::ref_ptr<osg::Group> root = new osg::Group;
    osg::ref_ptr<MapNode> map;
};

TEST_F(MarksOnGlobe, PlaceWithoutAltitudeStandsOnTheGround) {
    osg::ref_ptr<osg::Image> picture = new osg::Image;
    picture->allocateImage(32, 32, 1, GL_RGB, GL_UNSIGNED_BYTE);
    for (unsigned char* at = picture->data(); at < picture->data() + 32 * 32 * 3; at += 3) {
        at[0] = at[2] = 255;
        at[1] = 0;
    }
    ASSERT_TRUE(osgDB::writeImageFile(*picture, folder / "mark.png"));
    Style style;
    style.getOrCreate<IconSymbol>()->url() = folder / "mark.png";
    style.getOrCreate<IconSymbol>()->declutter() = true;
    // One inside the map, one beside it: both find its terrain.
    const auto* srs = map->getMapSRS();
    map->addChild(new PlaceNode(GeoPoint(srs, kLon, kLat), "", style));
    root->addChild(
        new PlaceNode(GeoPoint(srs, kLon + 0.03, kLat + 0.01, 500.0, ALTMODE_RELATIVE), "", style));
    const Pose pose = {kLon, kLat, 20.0, -30.0, 25000.0};
    screen.look(pose);
    ASSERT_TRUE(screen.settle(map));
    const double ground = madeHeight(kLon, kLat);
    ASSERT_GT(ground, 800.0);
    const Spot first = screen.expected(pose, kLon, kLat, ground);
    const Spot second =
        screen.expected(pose, kLon + 0.03, kLat + 0.01, madeHeight(kLon + 0.03, kLat + 0.01) + 500.0);
    ASSERT_GT(std::abs(first.x - second.x) + std::abs(first.y - second.y), 60.0);
    for (const Spot& spot : {first, second}) {
        const auto isMark = [&](double dx, double dy) {
            const Pixel pixel = screen.at(static_cast<int>(spot.x + dx), static_cast<int>(spot.y + dy));
            return pixel.r > 240 && pixel.g < 15 && pixel.b > 240;
        };
        EXPECT_TRUE(isMark(0.0, -3.0) && isMark(-13.0, -29.0) && isMark(13.0, -29.0));
        EXPECT_FALSE(isMark(0.0, 3.0) || isMark(0.0, -36.0) || isMark(-20.0, -10.0) || isMark(20.0, -10.0));
    }
}

TEST_F(MarksOnGlobe, DrapedAreaLiesOnTheTilesThatAreDrawn) {
    // Beside the map, as the footprint of an aircraft is kept.
    root->addChild(new FeatureNode(new Feature(new Polygon({{kLon - 0.02, kLat - 0.02, 0},
                                                            {kLon + 0.02, kLat - 0.02, 0},
                                                            {kLon, kLat + 0.03, 0}}),
                                               map->getMapSRS()),
                                   yellow()));
    const auto inside = [](double lon, double lat) {
        const double up = (lat - (kLat - 0.02)) / 0.05;
        return up > 0.0 && std::abs(lon - kLon) < 0.02 * (1.0 - up);
    };
    for (const double pitch : {-90.0, -35.0, -20.0}) {
        screen.look({kLon, kLat, 40.0, pitch, 20000.0});
        ASSERT_TRUE(screen.settle(map));
        int painted = 0;
        int wrong = 0;
        for (int y = 2; y < screen.height() - 2; y += 6) {
            for (int x = 2; x < screen.width() - 2; x += 6) {
                osg::Vec3d at[5];
                bool certain = true;
                bool wanted = false;
                for (int i = 0; i < 5; ++i) {
                    const double dx[] = {0.0, -2.0, 2.0, 0.0, 0.0};
                    const double dy[] = {0.0, 0.0, 0.0, -2.0, 2.0};
                    certain = certain && screen.groundUnder(map, x + 0.5 + dx[i], y + 0.5 + dy[i], at[i]);
                    wanted = i == 0 ? inside(at[0].x(), at[0].y()) : wanted;
                    certain = certain && inside(at[i].x(), at[i].y()) == wanted;
                }
                if (certain) {
                    const Pixel pixel = screen.at(x, y);
                    painted += wanted ? 1 : 0;
                    wrong += (pixel.r > pixel.b + 30) != wanted ? 1 : 0;
                }
            }
        }
        EXPECT_GT(painted, 30) << pitch;
        EXPECT_EQ(wrong, 0) << pitch;
    }
}

TEST_F(MarksOnGlobe, DrapedAcrossTheDateLineAndOverThePole) {
    osg::ref_ptr<CircleNode> circles[] = {new CircleNode, new CircleNode};
    circles[0]->set(GeoPoint(map->getMapSRS(), 180.0, 10.0), 20000.0, yellow(), -180.0, 180.0, true);
    circles[1]->set(GeoPoint(map->getMapSRS(), 0.0, 90.0), 20000.0, yellow(), -180.0, 180.0, true);
    for (const auto& circle : circles) {
        root->addChild(circle);
    }
    const Pose poses[] = {{180.0, 10.0, 0.0, -90.0, 150000.0}, {0.0, 90.0, 0.0, -90.0, 150000.0}};
    for (const Pose& pose : poses) {
        screen.look(pose);
        ASSERT_TRUE(screen.settle(map));
        const double radius_px = 20000.0 / (150000.0 * 2.0 * std::tan(M_PI / 12.0)) * screen.height();
        for (int angle = 0; angle < 360; angle += 10) {
            for (const double part : {0.1, 0.5, 0.95, 1.05, 1.3}) {
                const double x = screen.width() * 0.5 + radius_px * part * std::cos(angle * M_PI / 180.0);
                const double y = screen.height() * 0.5 + radius_px * part * std::sin(angle * M_PI / 180.0);
                const Pixel pixel = screen.at(static_cast<int>(x), static_cast<int>(y));
                EXPECT_EQ(pixel.r > pixel.b + 30, part < 1.0) << angle << " " << part << " at " << pose.lat;
            }
        }
    }
}

}  // namespace
}  // namespace globe
