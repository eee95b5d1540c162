#include "globe/earth_file.h"

#include <gtest/gtest.h>

#include <osgDB/ReadFile>
#include <string>

#include "globe/globe_config.h"
#include "globe/initialize.h"
#include "globe/map_node.h"
#include "tests/globe/made_data.h"

namespace globe {
namespace {

using globe_test::Folder;

TEST(EarthFile, BothSpellings) {
    Folder folder;
    folder.write("a.tif", "");
    const EarthModel model = parseEarth(
        "<?xml version='1.0'?><!-- a map --><Map Name=\"here\" type='geocentric' version='2'>"
        "<options><terrain lighting='true'/></options>"
        "<image name='World' driver='GDAL' opacity='0.5'><url> a.tif </url><min_level>2</min_level></image>"
        "<GDALImage name='two'><url>a.tif</url><max_level>7</max_level><visible>false</visible></GDALImage>"
        "<GDALElevation name='h' max_range='5000'><url>a.tif</url><min_range>10.5</min_range></GDALElevation>"
        "<elevation name='t' driver='tms' url='http://x.example/tilemapresource.xml'/>"
        "<image driver='gdal' enabled='false' url='b.tif'/><graticule/></Map>",
        folder.path());
    EXPECT_TRUE(model.problems.empty()) << model.problems[0];
    EXPECT_EQ(model.name, "here");
    ASSERT_EQ(model.layers.size(), 5u);
    EXPECT_EQ(model.layers[0].url, folder / "a.tif");
    EXPECT_EQ(model.layers[0].name, "World");
    EXPECT_EQ(model.layers[0].opacity, 0.5);
    EXPECT_EQ(model.layers[0].min_level, 2);
    EXPECT_EQ(model.layers[1].kind, LayerKind::kImage);
    EXPECT_EQ(model.layers[1].max_level, 7);
    EXPECT_FALSE(model.layers[1].visible);
    EXPECT_EQ(model.layers[2].kind, LayerKind::kElevation);
    EXPECT_EQ(model.layers[2].min_range_m, 10.5);
    EXPECT_EQ(model.layers[2].max_range_m, 5000.0);
    EXPECT_EQ(model.layers[3].driver, "tms");
    EXPECT_EQ(model.layers[3].url, "http://x.example/tilemapresource.xml");
    EXPECT_EQ(model.layers[4].kind, LayerKind::kGraticule);
}

TEST(EarthFile, WhatIsWrongIsSaidOnceEachAndTheRestStands) {
    Folder folder;
    folder.write("a.tif", "");
    const EarthModel model = parseEarth(
        "<map type='flat'><image name='gone'><url>gone.tif</url></image><image name='no url'/>"
        "<image name='good' opacity='loud'><url>a.tif</url></image><banana/></map>",
        folder.path());
    ASSERT_EQ(model.layers.size(), 1u);
    EXPECT_EQ(model.layers[0].name, "good");
    EXPECT_EQ(model.layers[0].opacity, 1.0);
    ASSERT_EQ(model.problems.size(), 4u);
    EXPECT_NE(model.problems[0].find("flat"), std::string::npos);
    EXPECT_NE(model.problems[1].find("gone.tif is missing"), std::string::npos);
    EXPECT_NE(model.problems[2].find("no url"), std::string::npos);
    EXPECT_NE(model.problems[3].find("opacity"), std::string::npos);
}

TEST(EarthFile, BadInputGivesOneProblemAndNoLayer) {
    std::string deep;
    for (int i = 0; i < 3000; ++i) {
        deep += "<a>";
    }
    for (const std::string& text :
         {std::string(), std::string("no xml"), std::string("<map><image>"), std::string("<other/>"),
          std::string("<map"), std::string("\0\1\2", 3), std::string("<map></nap>"), deep}) {
        const EarthModel model = parseEarth(text, "");
        EXPECT_EQ(model.problems.size(), 1u) << text.substr(0, 30);
        EXPECT_TRUE(model.layers.empty());
    }
    EXPECT_EQ(readEarthFile("absent.earth").problems.size(), 1u);
}

TEST(EarthFile, ReadThroughThePluginLoader) {
    initialize();
    Folder folder;
    globe_test::makeRaster(folder / "world.tif", {-180, -90, 180, 90, 64, 32});
    const std::string path =
        folder.write("x.EARTH", "<map name='m'><image name='w'><url>world.tif</url></image></map>");
    osg::ref_ptr<osg::Node> node = osgDB::readNodeFile(path);
    ASSERT_TRUE(node);
    MapNode* map = MapNode::findMapNode(node);
    ASSERT_NE(map, nullptr);
    EXPECT_EQ(map->getMap()->getMapName(), "m");
    EXPECT_TRUE(map->problems().empty());
    EXPECT_TRUE(map->getMap()->isGeocentric());
    EXPECT_EQ(map->getMapSRS()->getEllipsoid().getRadiusEquator(), 6378137.0);
    osg::ref_ptr<osg::Group> above = new osg::Group;
    above->addChild(new osg::Group);
    EXPECT_EQ(MapNode::findMapNode(above), nullptr);
    above->getChild(0)->asGroup()->addChild(node);
    EXPECT_EQ(MapNode::findMapNode(above), map);
    EXPECT_EQ(MapNode::findMapNode(nullptr), nullptr);
}

TEST(EarthFile, AMissingFileIsAnEarthWithAProblem) {
    initialize();
    osg::ref_ptr<osg::Node> node = osgDB::readNodeFile("./absent/x.earth");
    ASSERT_TRUE(node);
    const MapNode* map = MapNode::findMapNode(node);
    ASSERT_NE(map, nullptr);
    ASSERT_EQ(map->problems().size(), 1u);
    EXPECT_NE(map->problems()[0].find("./absent/x.earth"), std::string::npos);
    double height = -1.0;
    EXPECT_TRUE(map->getTerrain()->getHeight(map->getMapSRS(), 10.0, 20.0, &height));
    EXPECT_EQ(height, 0.0);
}

TEST(Config, KeysAndValues) {
    Config config("layer");
    config.set("name", "x");
    config.set("name", "y");
    config.set("ambient", 0.1);
    config.add(Config("deep", "")).set("flag", "true");
    EXPECT_EQ(config.value("name"), "y");
    EXPECT_EQ(config.children().size(), 3u);
    double ambient = 0.0;
    EXPECT_TRUE(config.get("ambient", ambient));
    EXPECT_EQ(ambient, 0.1);
    bool flag = false;
    EXPECT_TRUE(config.child("deep").get("flag", flag));
    EXPECT_TRUE(flag);
    int whole = 7;
    EXPECT_FALSE(config.get("ambient", whole));
    EXPECT_FALSE(config.get("name", ambient));
    EXPECT_FALSE(config.get("absent", flag));
    EXPECT_EQ(whole, 7);
    EXPECT_FALSE(config.hasChild("absent"));
}

}  // namespace
}  // namespace globe
