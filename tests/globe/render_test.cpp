// What is drawn stands where geometry says. Expected points come from Offscreen::expected, which shares no
// matrix with the globe.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <osgDB/ReadFile>
#include <thread>

#include "globe/initialize.h"
#include "globe/map_node.h"
#include "globe/sky_node.h"
#include "globe/terrain_engine.h"
#include "tests/globe/made_data.h"
#include "tests/globe/offscreen.h"

namespace globe {
namespace {

using namespace globe_test;

constexpr int kWidth = 480;
constexpr int kHeight = 360;

bool isRed(const Pixel& pixel) { return pixel.r > 150 && pixel.g < 90 && pixel.b < 90; }
bool isGreen(const Pixel& pixel) { return pixel.g > 150 && pixel.r < 90 && pixel.b < 90; }
bool isSea(const Pixel& pixel) { return pixel.b > 60 && pixel.b < 130 && pixel.r < 60 && pixel.g < 60; }

class Render : public ::testing::Test {
protected:
    static void SetUpTestSuite() { initialize(); }

    void SetUp() override {
        ASSERT_TRUE(m_screen.works());
        makePlain(m_folder, "sea", 20, 30, 100);
    }
    void TearDown() override {
        m_screen.show(nullptr);
        m_map = nullptr;
    }

    // A square of the color about the place.
    std::string mark(const std::string& name, int red, int green, double lon, double lat, double half_deg) {
        const double half_lon = std::min(half_deg / std::cos(lat * M_PI / 180.0), 30.0);
        const Region region{lon - half_lon, lat - half_deg, lon + half_lon, lat + half_deg, 64, 64};
        makePlain(m_folder, name, red, green, 0, region);
        return "<image name='" + name + "'><url>" + name + ".vrt</url></image>";
    }
    void open(const std::string& layers, bool lit = false) {
        const std::string path = m_folder.write(
            "x.earth", "<map><image name='sea'><url>sea.vrt</url></image>" + layers + "</map>");
        osg::ref_ptr<osg::Node> node = osgDB::readNodeFile(path);
        m_map = MapNode::findMapNode(node);
        ASSERT_TRUE(m_map);
        if (!lit) {
            m_map->getOrCreateStateSet()->setMode(GL_LIGHTING,
                                                  osg::StateAttribute::OFF | osg::StateAttribute::OVERRIDE);
        }
        m_screen.show(m_map);
    }
    void expectAt(const Spot& seen, const Spot& expected, const char* what) {
        ASSERT_TRUE(seen.seen) << what;
        EXPECT_NEAR(seen.x, expected.x, 2.0) << what;
        EXPECT_NEAR(seen.y, expected.y, 2.0) << what;
    }
    // A red mark near the middle of the view and a green one off it stand where they must, and the ground
    // under them is theirs.
    void checkPose(const Pose& pose, double offset_lon, double offset_lat) {
        const double half = pose.range_m * 0.008 / 111000.0;
        const double off_lon = pose.lon + offset_lon;
        const double off_lat = pose.lat + offset_lat;
        open(mark("red", 200, 0, pose.lon, pose.lat, half) + mark("green", 0, 200, off_lon, off_lat, half));
        m_screen.look(pose);
        ASSERT_TRUE(m_screen.settle(m_map));
        const Spot center = m_screen.expected(pose, pose.lon, pose.lat, 0.0);
        const Spot off = m_screen.expected(pose, off_lon, off_lat, 0.0);
        ASSERT_TRUE(off.x > 10 && off.x < kWidth - 10 && off.y > 10 && off.y < kHeight - 10)
            << off.x << " " << off.y;
        expectAt(m_screen.middleOf(isRed), center, "the mark in the middle");
        expectAt(m_screen.middleOf(isGreen), off, "the mark off the middle");
        osg::Vec3d ground;
        ASSERT_TRUE(m_screen.groundUnder(m_map, off.x, off.y, ground));
        const Spot back = m_screen.expected(pose, ground.x(), ground.y(), ground.z());
        EXPECT_NEAR(back.x, off.x, 0.5);
        EXPECT_NEAR(back.y, off.y, 0.5);
        EXPECT_NEAR(ground.y(), off_lat, half);
        EXPECT_NEAR(std::remainder(ground.x() - off_lon, 360.0), 0.0,
                    half / std::cos(off_lat * M_PI / 180.0));
    }

    Folder m_folder;
    Offscreen m_screen{kWidth, kHeight};
    osg::ref_ptr<MapNode> m_map;
};

TEST_F(Render, SevenRadiiStraightDown) { checkPose({112.44, 33.75, 0, -90, 7.0 * 6378137.0}, 30.0, -20.0); }
TEST_F(Render, AThousandKilometresTilted) { checkPose({-70.0, -50.0, 40, -60, 1e6}, 0.8, 1.2); }
TEST_F(Render, FiftyKilometresTilted) { checkPose({10.0, 51.0, 200, -45, 50000}, 0.07, -0.05); }
TEST_F(Render, TwoKilometresFlat) { checkPose({112.44, 33.75, 300, -25, 2000}, -0.003, 0.002); }
TEST_F(Render, FourHundredMetres) { checkPose({5.0, 0.0, 90, -40, 400}, 0.0004, 0.0003); }
TEST_F(Render, OverTheDateLine) { checkPose({179.95, 12.0, 0, -70, 60000}, 0.09, 0.04); }
TEST_F(Render, NearThePole) { checkPose({20.0, 89.0, 0, -80, 3e5}, 25.0, 0.1); }

TEST_F(Render, DataSetsAreNotOpenedBeforeTheyAreLookedAt) {
    m_folder.write("broken.tif", "no picture");
    open("<image name='broken'><url>broken.tif</url></image>");
    EXPECT_TRUE(m_map->problems().empty());
    m_screen.look({0.0, 0.0, 0.0, -90.0, 4e7});
    ASSERT_TRUE(m_screen.settle(m_map));
    ASSERT_EQ(m_map->problems().size(), 1u);
    EXPECT_NE(m_map->problems()[0].find("broken"), std::string::npos);
}

TEST_F(Render, HighGroundStandsHigh) {
    m_folder.write("high.pgm", "P5 2 2 65535\n" + std::string("\x0B\xB8\x0B\xB8\x0B\xB8\x0B\xB8", 8));
    m_folder.write(
        "high.vrt",
        "<VRTDataset rasterXSize='360' rasterYSize='180'><SRS>EPSG:4326</SRS><GeoTransform>-180,1,0,90,0,-1"
        "</GeoTransform><VRTRasterBand dataType='UInt16' band='1'><SimpleSource><SourceFilename "
        "relativeToVRT='1'>"
        "high.pgm</SourceFilename><SourceBand>1</SourceBand><SrcRect xOff='0' yOff='0' xSize='2' ySize='2'/>"
        "<DstRect xOff='0' yOff='0' xSize='360' ySize='180'/></SimpleSource></VRTRasterBand></VRTDataset>");
    const Pose pose{10.0, 51.0, 0, -40, 20000};
    open(mark("red", 200, 0, 10.02, 51.02, 0.0012) +
         "<elevation name='high'><url>high.vrt</url></elevation>");
    m_screen.look(pose);
    ASSERT_TRUE(m_screen.settle(m_map));
    const Spot expected = m_screen.expected(pose, 10.02, 51.02, 3000.0);
    expectAt(m_screen.middleOf(isRed), expected, "the mark on the plateau");
    double height = 0.0;
    ASSERT_TRUE(m_map->getTerrain()->getHeight(m_map->getMapSRS(), 10.02, 51.02, &height));
    EXPECT_NEAR(height, 3000.0, 0.01);
    osg::Vec3d ground;
    ASSERT_TRUE(m_screen.groundUnder(m_map, expected.x, expected.y, ground));
    EXPECT_NEAR(ground.z(), 3000.0, 0.1);
    EXPECT_NEAR(ground.x(), 10.02, 0.0005);
    EXPECT_NEAR(ground.y(), 51.02, 0.0005);
}

TEST_F(Render, NoHolesFromAnySide) {
    open("");
    const double range = 2.5 * 6378137.0;
    for (const Pose& pose :
         {Pose{0, 90, 0, -90, range}, Pose{0, -90, 0, -90, range}, Pose{180, 0, 0, -90, range},
          Pose{0, 0, 0, -90, range}, Pose{77, 45, 0, -90, range}}) {
        m_screen.look(pose);
        ASSERT_TRUE(m_screen.settle(m_map));
        // The disc's radius in pixels, of a sphere of the polar radius.
        const double scale = 0.5 * kHeight / std::tan(15.0 * M_PI / 180.0);
        const double radius = scale * std::tan(std::asin(6356752.0 / (range + 6378137.0))) - 1.5;
        int holes = 0;
        int outside = 0;
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                const double off = std::hypot(x + 0.5 - 0.5 * kWidth, y + 0.5 - 0.5 * kHeight);
                holes += off < radius && !isSea(m_screen.at(x, y)) ? 1 : 0;
                outside += off > radius + 4.0 && isSea(m_screen.at(x, y)) ? 1 : 0;
            }
        }
        EXPECT_EQ(holes, 0) << pose.lon << " " << pose.lat;
        EXPECT_EQ(outside, 0) << pose.lon << " " << pose.lat;
        osg::Vec3d ground;
        EXPECT_TRUE(m_screen.groundUnder(m_map, 0.5 * kWidth, 0.5 * kHeight + 0.9 * radius, ground));
        EXPECT_FALSE(m_screen.groundUnder(m_map, 0.5 * kWidth, 0.5 * kHeight + 1.05 * radius, ground));
    }
}

TEST_F(Render, MemoryStaysWithinItsLimit) {
    ASSERT_TRUE(makeRaster(m_folder / "fine.tif", {-180, -90, 180, 90, 2048, 1024}));
    open("<image name='fine'><url>fine.tif</url></image>");
    constexpr std::size_t kLimit = 6u << 20;
    m_map->setMemoryLimit(kLimit);
    for (int i = 0; i < 12; ++i) {
        m_screen.look({-170.0 + 28.0 * i, -60.0 + 10.0 * i, 0, -70, 2e6});
        ASSERT_TRUE(m_screen.settle(m_map));
    }
    for (int i = 0; i < 4; ++i) {
        m_screen.frame();
    }
    // What is in view stays, so the limit is one for the rest.
    EXPECT_LE(m_map->getTerrainEngine()->memoryUsed(), kLimit + (2u << 20));
    EXPECT_GT(m_map->getTerrainEngine()->tileCount(), 4u);
}

TEST_F(Render, TheSunLightsOneHalf) {
    open("", true);
    osg::ref_ptr<osg::Group> root = new osg::Group;
    SkyOptions options{Config()};
    options.ambient() = 0.1f;
    osg::ref_ptr<SkyNode> sky = SkyNode::create(options);
    sky->setEphemeris(new Ephemeris);
    sky->setDateTime(DateTime(2026, 3, 20, 12.0));  // over longitude 1.9, near the equator
    sky->attach(&m_screen.viewer(), 0);
    sky->setLighting(true);
    sky->addChild(m_map);
    root->addChild(sky);
    m_screen.show(root);
    m_screen.look({91.9, 0.0, 0, -90, 3e7});
    ASSERT_TRUE(m_screen.settle(m_map));
    const Spot noon = m_screen.expected({91.9, 0.0, 0, -90, 3e7}, 50.0, 0.0, 0.0);
    const Spot night = m_screen.expected({91.9, 0.0, 0, -90, 3e7}, 130.0, 0.0, 0.0);
    const auto blue = [this](const Spot& spot) {
        return m_screen.at(static_cast<int>(spot.x), static_cast<int>(spot.y)).b;
    };
    EXPECT_NEAR(blue(noon), 100.0 * (std::cos(48.1 * M_PI / 180.0) + 0.1), 5.0);
    EXPECT_NEAR(blue(night), 10.0, 2.0);
    // Dark space around it, whatever the camera would clear to.
    EXPECT_LT(m_screen.at(3, 3).b, 15);
    // By day the sky is bright from within the air.
    m_screen.look({1.9, 0.0, 0, -5, 2000});
    ASSERT_TRUE(m_screen.settle(m_map));
    EXPECT_GT(m_screen.at(kWidth / 2, 5).b, 120);
    root->removeChild(sky);
}

TEST_F(Render, ADeadNetworkLayerHoldsNothingUp) {
    // Nobody answers on this port, and nothing is waited for here.
    open(
        "<image name='dead' driver='xyz'><url>http://127.0.0.1:9/{z}/{x}/{y}.png</url></image>"
        "<image name='unroutable' driver='xyz'><url>http://192.0.2.1/{z}/{x}/{y}.png</url></image>");
    m_screen.look({0, 0, 0, -90, 1e7});
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!isSea(m_screen.at(kWidth / 2, kHeight / 2)) && std::chrono::steady_clock::now() < end) {
        m_screen.frame();
    }
    EXPECT_TRUE(isSea(m_screen.at(kWidth / 2, kHeight / 2)));
    osg::Vec3d ground;
    EXPECT_TRUE(m_screen.groundUnder(m_map, 0.5 * kWidth, 0.5 * kHeight, ground));
}

TEST_F(Render, OnDemandFramesComeWhileTilesDoAndThenCease) {
    ASSERT_TRUE(makeRaster(m_folder / "fine.tif", {-180, -90, 180, 90, 1024, 512}));
    open("<image name='fine'><url>fine.tif</url></image>");
    m_screen.show(nullptr);
    Offscreen window(kWidth, kHeight, true);
    ASSERT_TRUE(window.works());
    window.show(m_map);
    window.look({20, 30, 0, -90, 3e6});
    window.viewer().realize();
    window.frame();
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    int calm = 0;
    while (calm < 30 && std::chrono::steady_clock::now() < end) {
        if (window.viewer().checkNeedToDoFrame()) {
            window.frame();
            calm = 0;
        } else {
            ++calm;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
    EXPECT_EQ(calm, 30);
    EXPECT_FALSE(m_map->isLoading());
    EXPECT_GT(m_map->getTerrainEngine()->tileCount(), 8u);
    window.show(nullptr);
}

}  // namespace
}  // namespace globe
