#include "globe/tile_composer.h"

#include <cpl_error.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

#include "globe/earth_file.h"
#include "globe/initialize.h"
#include "globe/tile_selection.h"
#include "tests/globe/made_data.h"

namespace globe {
namespace {

using namespace globe_test;

class TileComposerTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { initialize(); }
    void SetUp() override { CPLPushErrorHandler(CPLQuietErrorHandler); }
    void TearDown() override { CPLPopErrorHandler(); }

    LayerModel layer(const std::string& url, LayerKind kind = LayerKind::kImage) {
        LayerModel model;
        model.kind = kind;
        model.name = "layer " + std::to_string(m_model.layers.size());
        model.driver = "gdal";
        model.url = url;
        return model;
    }
    std::shared_ptr<const TileData> compose(const TileKey& key, bool remote = false) {
        if (!m_layers) {
            m_layers = std::make_shared<LayerStack>(m_model);
            m_composer = std::make_unique<TileComposer>(m_layers, remote);
        }
        return m_composer->compose(key, m_go_on);
    }
    std::string plain(const std::string& name, int red, int green, int blue,
                      const Region& region = {-180, -90, 180, 90, 64, 32}) {
        return makePlain(m_folder, name, red, green, blue, region);
    }
    static std::array<int, 3> texel(const TileData& tile, double x, double y) {
        const osg::Image& image = *tile.image;
        const unsigned char* data = image.data(static_cast<unsigned>(std::lround(x * (image.s() - 1))),
                                               static_cast<unsigned>(std::lround(y * (image.t() - 1))));
        return {data[0], data[1], data[2]};
    }
    static void expectColor(const std::array<int, 3>& color, int red, int green, int blue, int slack = 2) {
        EXPECT_NEAR(color[0], red, slack);
        EXPECT_NEAR(color[1], green, slack);
        EXPECT_NEAR(color[2], blue, slack);
    }

    Folder m_folder;
    EarthModel m_model;
    std::shared_ptr<LayerStack> m_layers;
    std::unique_ptr<TileComposer> m_composer;
    RasterSource::Flag m_go_on{false};
};

TEST_F(TileComposerTest, LaterLayersLieAboveWithTheirOpacity) {
    m_model.layers.push_back(layer(plain("red", 200, 0, 0)));
    m_model.layers.push_back(layer(plain("blue", 0, 0, 100)));
    m_model.layers.back().opacity = 0.25;
    const auto tile = compose({0, 1, 0});
    expectColor(texel(*tile, 0.5, 0.5), 150, 0, 25);
    EXPECT_TRUE(m_layers->problems().empty());
}

TEST_F(TileComposerTest, LevelsAndRangesSayWhereALayerShows) {
    m_model.layers.push_back(layer(plain("red", 200, 0, 0)));
    m_model.layers.push_back(layer(plain("blue", 0, 0, 200)));
    m_model.layers.back().min_level = 3;
    m_model.layers.push_back(layer(plain("green", 0, 200, 0)));
    m_model.layers.back().max_range_m = typicalRange(5) * 1.01;
    m_model.layers.push_back(layer(plain("white", 250, 250, 250)));
    m_model.layers.back().min_range_m = typicalRange(1) * 0.99;
    m_model.layers.push_back(layer(plain("hidden", 9, 9, 9)));
    m_model.layers.back().visible = false;
    expectColor(texel(*compose({1, 0, 0}), 0.5, 0.5), 250, 250, 250);
    expectColor(texel(*compose({2, 0, 0}), 0.5, 0.5), 200, 0, 0);
    expectColor(texel(*compose({3, 0, 0}), 0.5, 0.5), 0, 0, 200);
    expectColor(texel(*compose({4, 0, 0}), 0.5, 0.5), 0, 0, 200);
    expectColor(texel(*compose({5, 0, 0}), 0.5, 0.5), 0, 200, 0);
    // Where a layer comes into view has to be reached, however coarse its data are.
    EXPECT_TRUE(m_layers->finerThan({4, 0, 0}).pictures);
    EXPECT_FALSE(m_layers->finerThan({5, 0, 0}).pictures);
}

TEST_F(TileComposerTest, NothingFinerThanTheHighestLevelIsRead) {
    ASSERT_TRUE(makeRaster(m_folder / "fine.tif", {-180, -90, 180, 90, 1024, 512}));
    m_model.layers.push_back(layer(m_folder / "fine.tif"));
    m_model.layers.back().max_level = 0;
    const TileKey key{1, 2, 1};  // 0 to 90 east, 0 to 90 north
    const auto tile = compose(key);
    EXPECT_FALSE(m_layers->finerThan({0, 1, 0}).pictures);
    // What level 0 has there: still near the formula, which is smooth.
    expectColor(texel(*tile, 0.25, 0.5), static_cast<int>(madeColor(0, 22.5, 45.0)),
                static_cast<int>(madeColor(1, 22.5, 45.0)), static_cast<int>(madeColor(2, 22.5, 45.0)), 8);
}

TEST_F(TileComposerTest, AMissingOrBrokenLayerLeavesTheOthers) {
    m_model.layers.push_back(layer(m_folder / "absent.tif"));
    m_model.layers.push_back(layer(plain("red", 200, 0, 0)));
    m_model.layers.push_back(layer(m_folder.write("text.tif", "nothing")));
    m_model.layers.push_back(layer(m_folder / "absent_too.tif", LayerKind::kElevation));
    const auto tile = compose({0, 0, 0});
    expectColor(texel(*tile, 0.5, 0.5), 200, 0, 0);
    EXPECT_EQ(m_layers->problems().size(), 3u);
    compose({1, 0, 0});
    EXPECT_EQ(m_layers->problems().size(), 3u);
    EXPECT_NE(m_layers->problems()[0].find("layer 0"), std::string::npos);
}

TEST_F(TileComposerTest, AnUnreadableTileShowsWhatTheTileAboveHas) {
    // The full resolution lies behind the overviews; a part of it is spoilt.
    Making making;
    making.options = "TILED=YES COMPRESS=DEFLATE BLOCKXSIZE=256 BLOCKYSIZE=256";
    making.overviews = true;
    ASSERT_TRUE(makeRaster(m_folder / "world.tif", {-180, -90, 180, 90, 2048, 1024}, making));
    m_model.layers.push_back(layer(m_folder / "world.tif"));
    spoil(m_folder / "world.tif", 0.5, 0.9);
    int failures = 0;
    for (std::uint32_t x = 0; x < 16; ++x) {
        for (std::uint32_t y = 0; y < 8; ++y) {
            const TileKey key{3, x, y};
            const auto tile = compose(key);
            const GeoExtent extent = key.extent();
            for (const double at : {0.2, 0.5, 0.8}) {
                const double lon = extent.west + at * extent.width();
                const double lat = extent.south + at * extent.height();
                expectColor(texel(*tile, at, at), static_cast<int>(madeColor(0, lon, lat)),
                            static_cast<int>(madeColor(1, lon, lat)),
                            static_cast<int>(madeColor(2, lon, lat)), 10);
            }
        }
    }
    for (const std::string& line : m_layers->problems()) {
        failures += line.find("parts cannot be read") != std::string::npos ? 1 : 0;
    }
    EXPECT_EQ(failures, 1);
}

TEST_F(TileComposerTest, HeightsFromTheUppermostLayerThatHasSome) {
    Making heights;
    heights.heights = true;
    heights.hole = [](double lon, double) { return lon > 112.5; };
    ASSERT_TRUE(makeRaster(m_folder / "region.tif", {112.0, 33.0, 113.0, 34.0, 512, 512}, heights));
    heights.hole = nullptr;
    ASSERT_TRUE(makeRaster(m_folder / "world.tif", {-180, -90, 180, 90, 360, 180}, heights));
    m_model.layers.push_back(layer(m_folder / "world.tif", LayerKind::kElevation));
    m_model.layers.push_back(layer(m_folder / "region.tif", LayerKind::kElevation));
    const TileKey key = tileAt(9, 112.3, 33.4);
    const auto tile = compose(key);
    const GeoExtent extent = key.extent();
    for (int row = -1; row <= tile->posts; ++row) {
        for (int column = -1; column <= tile->posts; ++column) {
            const double lon = extent.west + extent.width() * column / (tile->posts - 1);
            const double lat = extent.south + extent.height() * row / (tile->posts - 1);
            EXPECT_NEAR(tile->height(column, row), madeHeight(lon, lat), 2.0);
        }
    }
    EXPECT_NEAR(tile->heightIn(0.25, 0.75),
                madeHeight(extent.west + 0.25 * extent.width(), extent.south + 0.75 * extent.height()), 1.0);
    const auto beside = compose(tileAt(9, 112.9, 33.4));
    EXPECT_NEAR(beside->height(8, 8), madeHeight(112.9, 33.4), 60.0);
    EXPECT_GT(beside->lowest_m, 0.0f);
    EXPECT_FALSE(m_layers->finerThan(tileAt(13, 112.3, 33.4)).heights);
    EXPECT_TRUE(m_layers->finerThan(tileAt(9, 112.3, 33.4)).heights);
}

TEST_F(TileComposerTest, NeighboursAgreeOnTheirRim) {
    Making heights;
    heights.heights = true;
    ASSERT_TRUE(makeRaster(m_folder / "world.tif", {-180, -90, 180, 90, 720, 360}, heights));
    m_model.layers.push_back(layer(m_folder / "world.tif", LayerKind::kElevation));
    for (const auto& [west_x, east_x] : {std::pair<std::uint32_t, std::uint32_t>{3, 4}, {31, 0}}) {
        const auto west = compose({4, west_x, 7});
        const auto east = compose({4, east_x, 7});
        for (int row = 0; row < 17; ++row) {
            EXPECT_NEAR(west->height(16, row), east->height(0, row), 3.0);
        }
    }
    // All meridians meet in one height.
    for (const auto& [y, row] : {std::pair<std::uint32_t, int>{0, 0}, {15, 16}}) {
        const auto polar = compose({4, 9, y});
        for (int column = -1; column <= 17; ++column) {
            EXPECT_EQ(polar->height(column, row), polar->height(0, row));
        }
    }
}

TEST_F(TileComposerTest, WithoutPicturesThereIsTheNetOfLines) {
    const auto tile = compose({2, 4, 2});  // 0 to 45 east and north
    const auto line = texel(*tile, 10.0 / 45.0, 0.5);
    const auto between = texel(*tile, 15.0 / 45.0, 0.55);
    EXPECT_GT(line[0], between[0] + 40);
    EXPECT_TRUE(m_layers->finerThan({10, 0, 0}).pictures);
    // A picture covers it, and beside a picture it shows.
    EarthModel regional;
    regional.layers.push_back(layer(plain("red", 200, 0, 0, {0, 0, 20, 20, 64, 64})));
    m_layers = std::make_shared<LayerStack>(regional);
    m_composer = std::make_unique<TileComposer>(m_layers, false);
    const auto mixed = compose({2, 4, 2});
    expectColor(texel(*mixed, 10.0 / 45.0, 10.0 / 45.0), 200, 0, 0);
    EXPECT_GT(texel(*mixed, 10.0 / 45.0, 0.8)[2], 100);
}

TEST_F(TileComposerTest, LayersBehindANetworkAreLeftForLater) {
    m_model.layers.push_back(layer(plain("red", 200, 0, 0)));
    m_model.layers.push_back(layer("http://127.0.0.1:9/dead/{z}/{x}/{y}.png"));
    m_model.layers.back().driver = "xyz";
    const auto tile = compose({0, 0, 0});
    EXPECT_EQ(tile->lacking, std::vector<std::size_t>{1});
    expectColor(texel(*tile, 0.5, 0.5), 200, 0, 0);
    // What is not whole is not kept.
    EXPECT_FALSE(m_layers->cache().get({0, 0, 0}));
}

TEST_F(TileComposerTest, CancelledThereIsNoTile) {
    m_model.layers.push_back(layer(plain("red", 200, 0, 0)));
    m_go_on = true;
    EXPECT_FALSE(compose({0, 0, 0}));
    m_go_on = false;
    EXPECT_TRUE(compose({0, 0, 0}));
}

TEST_F(TileComposerTest, MapsOfOneFileShareWhatWasRead) {
    plain("red", 200, 0, 0);
    const std::string path =
        m_folder.write("x.earth", "<map><image name='a'><url>red.vrt</url></image></map>");
    const auto one = LayerStack::forFile(path);
    const auto two = LayerStack::forFile(path);
    EXPECT_EQ(one, two);
    m_folder.write("x.earth", "<map><image name='b'><url>red.vrt</url></image></map>");
    EXPECT_NE(LayerStack::forFile(path), one);
}

}  // namespace
}  // namespace globe
