#include "globe/raster_source.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <vector>

#include "globe/initialize.h"
#include "tests/globe/made_data.h"

namespace globe {
namespace {

using namespace globe_test;

class RasterSourceTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { initialize(); }

    std::unique_ptr<RasterSource> open(const std::string& url, RasterUse use, const char* driver = "gdal") {
        std::unique_ptr<RasterSource> source = openRaster(url, driver, use, &m_error);
        EXPECT_TRUE(source) << url << ": " << m_error;
        return source;
    }

    // The greatest difference between what is read and the formula, over posts inside the data; -1 if nothing
    // came.
    double worstColor(RasterSource& source, const GeoExtent& extent, int posts = 65) {
        std::vector<std::uint8_t> rgba(static_cast<std::size_t>(posts * posts * 4));
        const PostGrid grid{extent, posts, posts};
        if (source.readColors(grid, rgba.data(), m_go_on) != ReadResult::kRead) {
            return -1.0;
        }
        double worst = 0.0;
        m_filled = 0;
        for (int i = 0; i < posts * posts; ++i) {
            const std::uint8_t* texel = &rgba[static_cast<std::size_t>(4 * i)];
            const double lon = extent.west + grid.stepX() * (i % posts);
            const double lat = extent.south + grid.stepY() * (i / posts);
            m_filled += texel[3] == 255 ? 1 : 0;
            for (int band = 0; band < 3 && texel[3] == 255; ++band) {
                worst = std::max(worst, std::fabs(texel[band] - madeColor(band, lon, lat)));
            }
        }
        return worst;
    }

    double worstHeight(RasterSource& source, const GeoExtent& extent, int posts = 33) {
        std::vector<float> heights(static_cast<std::size_t>(posts * posts));
        const PostGrid grid{extent, posts, posts};
        if (source.readHeights(grid, heights.data(), m_go_on) != ReadResult::kRead) {
            return -1.0;
        }
        double worst = 0.0;
        m_filled = 0;
        for (int i = 0; i < posts * posts; ++i) {
            const float height = heights[static_cast<std::size_t>(i)];
            if (!std::isnan(height)) {
                ++m_filled;
                worst = std::max(worst,
                                 std::fabs(height - madeHeight(extent.west + grid.stepX() * (i % posts),
                                                               extent.south + grid.stepY() * (i / posts))));
            }
        }
        return worst;
    }

    void expectColors(const std::string& url, const GeoExtent& extent, double tolerance,
                      const char* driver = "gdal") {
        const auto source = open(url, RasterUse::kColors, driver);
        ASSERT_TRUE(source);
        const double worst = worstColor(*source, extent);
        EXPECT_GE(worst, 0.0);
        EXPECT_LE(worst, tolerance);
        EXPECT_EQ(m_filled, 65 * 65);
    }

    Folder m_folder;
    RasterSource::Flag m_go_on{false};
    std::string m_error;
    int m_filled = 0;
};

constexpr GeoExtent kInside{112.2, 33.2, 112.8, 33.8};
const Region kCell{112.0, 33.0, 113.0, 34.0, 256, 256};

TEST_F(RasterSourceTest, PicturesOfEachFormat) {
    ASSERT_TRUE(makeRaster(m_folder / "a.tif", kCell));
    expectColors(m_folder / "a.tif", kInside, 1.0);
    Making cog;
    cog.driver = "COG";
    cog.options = "COMPRESS=DEFLATE";
    ASSERT_TRUE(makeRaster(m_folder / "cog.tif", kCell, cog));
    expectColors(m_folder / "cog.tif", kInside, 1.0);
    Making vrt;
    vrt.driver = "VRT";
    Making mbtiles;
    mbtiles.driver = "MBTiles";
    mbtiles.srs = "EPSG:3857";
    mbtiles.options = "TILE_FORMAT=PNG";
    ASSERT_TRUE(makeRaster(m_folder / "a.mbtiles", {12467782.0, 3895303.0, 12579102.0, 4028802.0, 512, 512},
                           mbtiles));
    expectColors(m_folder / "a.mbtiles", kInside, 1.5);
}

TEST_F(RasterSourceTest, OtherProjectionsAreWarped) {
    Making utm;
    utm.srs = "EPSG:32649";
    ASSERT_TRUE(makeRaster(m_folder / "utm.tif", {550000.0, 3600000.0, 750000.0, 3800000.0, 512, 512}, utm));
    expectColors(m_folder / "utm.tif", kInside, 1.0);
    utm.heights = true;
    ASSERT_TRUE(
        makeRaster(m_folder / "utm_h.tif", {550000.0, 3600000.0, 750000.0, 3800000.0, 512, 512}, utm));
    const auto source = open(m_folder / "utm_h.tif", RasterUse::kHeights);
    const double worst = worstHeight(*source, kInside);
    EXPECT_GE(worst, 0.0);
    EXPECT_LE(worst, 2.0);
}

TEST_F(RasterSourceTest, HeightsOfEachFormat) {
    Making heights;
    heights.heights = true;
    ASSERT_TRUE(makeRaster(m_folder / "h.tif", kCell, heights));
    EXPECT_LE(worstHeight(*open(m_folder / "h.tif", RasterUse::kHeights), kInside), 0.3);
    EXPECT_EQ(m_filled, 33 * 33);
    heights.point_registered = true;
    const Region cell{112.0, 33.0, 113.0, 34.0, 1201, 1201};
    heights.driver = "DTED";
    ASSERT_TRUE(makeRaster(m_folder / "n33.dt1", cell, heights));
    const double dted = worstHeight(*open(m_folder / "n33.dt1", RasterUse::kHeights), kInside);
    EXPECT_GE(dted, 0.0);
    EXPECT_LE(dted, 1.0);
    heights.driver = "SRTMHGT";
    ASSERT_TRUE(makeRaster(m_folder / "N33E112.hgt", cell, heights));
    const double hgt = worstHeight(*open(m_folder / "N33E112.hgt", RasterUse::kHeights), kInside);
    EXPECT_GE(hgt, 0.0);
    EXPECT_LE(hgt, 1.0);
}

TEST_F(RasterSourceTest, TileMapsOfARegion) {
    for (const bool mercator : {false, true}) {
        const std::string folder = m_folder / (mercator ? "mercator" : "geodetic");
        makeTileMap(folder, {112.0, 33.0, 113.0, 34.0, 0, 0}, mercator ? 8 : 7, mercator);
        expectColors(folder + "/tilemapresource.xml", kInside, 2.0, "tms");
        expectColors(folder, kInside, 2.0, "tms");
        // From farther away coarser tiles of the pyramid serve; around the region there is nothing.
        const auto source = open(folder, RasterUse::kColors, "tms");
        EXPECT_NEAR(source->info().extent.west, 112.0, 1e-9);
        EXPECT_NEAR(source->info().degrees_per_pixel, 180.0 / 256 / 128, mercator ? 0.002 : 1e-12);
        EXPECT_LE(worstColor(*source, {108.0, 30.0, 117.0, 39.0}, 129), 6.0);
        EXPECT_NEAR(m_filled, 129.0 * 129.0 / 81.0, 60.0);
    }
}

TEST_F(RasterSourceTest, WebMapsCountFromTheNorth) {
    const std::string folder = m_folder / "web";
    makeTileMap(folder, {-180.0, -80.0, 180.0, 80.0, 0, 0}, 1, true);
    std::filesystem::create_directories(m_folder / "xyz/1/0");
    std::filesystem::copy_file(folder + "/1/0/1.png", m_folder / "xyz/1/0/0.png");
    const auto source = open((m_folder / "xyz") + "/{z}/{x}/{y}.png", RasterUse::kColors, "xyz");
    const GeoExtent north_west{-170.0, 10.0, -10.0, 70.0};
    EXPECT_EQ(worstColor(*source, north_west, 17), -1.0);
    std::filesystem::create_directories(m_folder / "xyz/4");
    EXPECT_TRUE(isRemote("https://tiles.example/{z}/{x}/{y}.png", "xyz"));
    EXPECT_FALSE(isRemote(m_folder / "xyz/{z}/{x}/{y}.png", "xyz"));
}

TEST_F(RasterSourceTest, AcrossTheDateLineAndFromZeroTo360) {
    ASSERT_TRUE(makeRaster(m_folder / "line.tif", {170.0, -10.0, 190.0, 10.0, 256, 256}));
    const auto line = open(m_folder / "line.tif", RasterUse::kColors);
    for (const GeoExtent& extent :
         {GeoExtent{172.0, -5.0, 178.0, 5.0}, GeoExtent{-180.0, -8.0, -172.0, 0.0}}) {
        const double worst = worstColor(*line, extent);
        EXPECT_GE(worst, 0.0);
        EXPECT_LE(worst, 1.5);
        EXPECT_EQ(m_filled, 65 * 65);
    }
    ASSERT_TRUE(makeRaster(m_folder / "turn.tif", {0.0, -90.0, 360.0, 90.0, 720, 360}));
    const auto turn = open(m_folder / "turn.tif", RasterUse::kColors);
    for (const GeoExtent& extent :
         {GeoExtent{-180.0, 0.0, -90.0, 90.0}, GeoExtent{90.0, -90.0, 180.0, 0.0}}) {
        EXPECT_LE(worstColor(*turn, extent), 5.0);
        EXPECT_EQ(m_filled, 65 * 65);
    }
    // A world, read whole.
    EXPECT_LE(worstColor(*turn, {-180.0, -90.0, 0.0, 90.0}, 129), 5.0);
    EXPECT_EQ(m_filled, 129 * 129);
}

TEST_F(RasterSourceTest, HolesStayOpen) {
    Making making;
    making.hole = [](double lon, double) { return lon < 112.5; };
    ASSERT_TRUE(makeRaster(m_folder / "holes.tif", kCell, making));
    EXPECT_LE(worstColor(*open(m_folder / "holes.tif", RasterUse::kColors), kInside), 30.0);
    EXPECT_NEAR(m_filled, 65 * 65 / 2, 70);
    making.heights = true;
    ASSERT_TRUE(makeRaster(m_folder / "holes_h.tif", kCell, making));
    EXPECT_LE(worstHeight(*open(m_folder / "holes_h.tif", RasterUse::kHeights), kInside), 1.0);
    EXPECT_NEAR(m_filled, 33 * 33 / 2, 40);
}

TEST_F(RasterSourceTest, NothingBesideTheData) {
    ASSERT_TRUE(makeRaster(m_folder / "a.tif", kCell));
    const auto source = open(m_folder / "a.tif", RasterUse::kColors);
    EXPECT_EQ(worstColor(*source, {0.0, 0.0, 10.0, 10.0}), -1.0);
    EXPECT_EQ(worstColor(*source, {113.01, 33.0, 113.5, 33.5}), -1.0);
    EXPECT_LE(worstColor(*source, {112.5, 33.5, 113.5, 34.5}), 1.5);
    EXPECT_NEAR(m_filled, 33 * 33, 33 * 2 + 1);
}

TEST_F(RasterSourceTest, WhatIsNoDataSetIsRefusedWithItsReason) {
    const std::string text = m_folder.write("text.tif", "no picture");
    EXPECT_FALSE(openRaster(text, "gdal", RasterUse::kColors, &m_error));
    EXPECT_FALSE(m_error.empty());
    m_error.clear();
    EXPECT_FALSE(openRaster(m_folder / "absent.tif", "gdal", RasterUse::kColors, &m_error));
    EXPECT_FALSE(m_error.empty());
    Making png;
    png.driver = "PNG";
    ASSERT_TRUE(makeRaster(m_folder / "placeless.png", kCell, png));
    std::filesystem::remove(m_folder / "placeless.png.aux.xml");
    m_error.clear();
    EXPECT_FALSE(openRaster(m_folder / "placeless.png", "gdal", RasterUse::kColors, &m_error));
    EXPECT_NE(m_error.find("where on the earth"), std::string::npos) << m_error;
    m_error.clear();
    m_folder.write("tilemapresource.xml", "<TileMap><TileSets/></TileMap>");
    EXPECT_FALSE(openRaster(m_folder / "tilemapresource.xml", "tms", RasterUse::kColors, &m_error));
    EXPECT_FALSE(m_error.empty());
}

TEST_F(RasterSourceTest, AHugeOneWithoutOverviewsIsReadFromNearOnly) {
    Making sparse;
    ASSERT_TRUE(makeRaster(m_folder / "small.tif", {0.0, 0.0, 10.0, 10.0, 64, 64}));
    // 20,000 by 20,000 pixels that take no room.
    m_folder.write(
        "huge.vrt",
        "<VRTDataset rasterXSize=\"20000\" rasterYSize=\"20000\"><SRS>EPSG:4326</SRS>"
        "<GeoTransform>0,0.0005,0,10,0,-0.0005</GeoTransform><VRTRasterBand dataType=\"Byte\" band=\"1\">"
        "<SimpleSource resampling=\"bilinear\"><SourceFilename relativeToVRT=\"1\">small.tif</SourceFilename>"
        "<SourceBand>1</SourceBand><SrcRect xOff=\"0\" yOff=\"0\" xSize=\"64\" ySize=\"64\"/>"
        "<DstRect xOff=\"0\" yOff=\"0\" xSize=\"20000\" "
        "ySize=\"20000\"/></SimpleSource></VRTRasterBand></VRTDataset>");
    const auto source = open(m_folder / "huge.vrt", RasterUse::kColors);
    EXPECT_NE(source->info().complaint.find("overviews"), std::string::npos);
    std::vector<std::uint8_t> rgba(65 * 65 * 4);
    EXPECT_EQ(source->readColors({{0.0, 0.0, 10.0, 10.0}, 65, 65}, rgba.data(), m_go_on),
              ReadResult::kNothing);
    EXPECT_EQ(source->readColors({{4.0, 4.0, 5.0, 5.0}, 65, 65}, rgba.data(), m_go_on), ReadResult::kRead);
    const RasterSource::Flag cancelled{true};
    EXPECT_EQ(source->readColors({{4.0, 4.0, 5.0, 5.0}, 65, 65}, rgba.data(), cancelled),
              ReadResult::kFailed);
}

}  // namespace
}  // namespace globe
