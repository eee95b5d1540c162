// Layers behind a server that goes and comes back: what is told, when it is asked again, and that no tile
// without them is kept.
#include <cpl_error.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "globe/initialize.h"
#include "globe/layer_stack.h"
#include "globe/tile_composer.h"
#include "tests/globe/made_data.h"
#include "tests/globe/tile_server.h"

namespace globe {
namespace {

using namespace globe_test;
using namespace std::chrono_literals;

constexpr TileKey kKey{3, 8, 4};  // 0 to 22.5 east and north
constexpr TileKey kBeside{3, 9, 4};

std::string textOf(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

class WebLayers : public ::testing::Test {
protected:
    static void SetUpTestSuite() { initialize(); }
    void SetUp() override {
        CPLPushErrorHandler(CPLQuietErrorHandler);
        m_server.serve(plainPicture(200, 0, 0));
    }
    void TearDown() override { CPLPopErrorHandler(); }

    // A blue world below, the layer behind the server above.
    void open(const std::string& url, const std::string& driver) {
        EarthModel model;
        model.layers.resize(2);
        model.layers[0].name = "world";
        model.layers[0].driver = "gdal";
        model.layers[0].url = makePlain(m_folder, "blue", 0, 0, 200);
        model.layers[1].name = "far";
        model.layers[1].driver = driver;
        model.layers[1].url = m_server.address() + url;
        m_layers = std::make_shared<LayerStack>(model, LayerStack::kPause, [this] { return m_now; });
        m_near = std::make_unique<TileComposer>(m_layers, false);
        m_far = std::make_unique<TileComposer>(m_layers, true);
    }
    void openTiles() { open("/t{z}/{x}/{y}.png", "xyz"); }
    std::shared_ptr<const TileData> near(const TileKey& key) { return m_near->compose(key, m_go_on); }
    std::shared_ptr<const TileData> far(const TileKey& key) { return m_far->compose(key, m_go_on); }
    bool isKept(const TileKey& key) { return m_layers->cache().get(key) != nullptr; }
    static bool isRed(const TileData& tile) {
        const unsigned char* texel = tile.image->data(tile.image->s() / 2, tile.image->t() / 2);
        return texel[0] > 150 && texel[2] < 50;
    }
    // It fails until it is left alone.
    void fail(Answer answer = Answer::kUnavailable) {
        m_server.answer(answer);
        for (int i = 0; i < 3 && !m_layers->isPaused(1); ++i) {
            EXPECT_FALSE(far(kKey));
        }
        ASSERT_TRUE(m_layers->isPaused(1));
        ASSERT_EQ(m_layers->problems().size(), 1u);
        EXPECT_EQ(m_layers->problems()[0].rfind("layer far: ", 0), 0u) << m_layers->problems()[0];
        EXPECT_FALSE(isKept(kKey));
    }
    void comeBack() {
        m_server.answer(Answer::kBody);
        m_now += LayerStack::kPause;
    }
    // The tile is whole, and the layer no longer spoken of.
    void expectWhole(const TileKey& key) {
        const auto tile = far(key);
        ASSERT_TRUE(tile);
        EXPECT_TRUE(tile->lacking.empty());
        EXPECT_TRUE(isKept(key));
        EXPECT_EQ(m_layers->problems(), std::vector<std::string>{});
    }

    Folder m_folder;
    TileServer m_server;
    LayerStack::Time m_now{1000h};
    std::shared_ptr<LayerStack> m_layers;
    std::unique_ptr<TileComposer> m_near;
    std::unique_ptr<TileComposer> m_far;
    RasterSource::Flag m_go_on{false};
};

TEST_F(WebLayers, AfterAPauseTheLayerComes) {
    openTiles();
    const auto before = near(kKey);
    EXPECT_EQ(before->lacking, std::vector<std::size_t>{1});
    fail();
    const std::uint64_t told = m_layers->problemsRevision();
    const int requests = m_server.requests();
    m_now += LayerStack::kPause - 1ms;
    // What is made meanwhile lacks the layer, and knows it.
    for (const TileKey& key : {kKey, kBeside}) {
        const auto tile = near(key);
        ASSERT_TRUE(tile);
        EXPECT_EQ(tile->lacking, std::vector<std::size_t>{1});
        EXPECT_FALSE(isRed(*tile));
        EXPECT_FALSE(far(key));
        EXPECT_FALSE(isKept(key));
    }
    EXPECT_EQ(m_server.requests(), requests);
    EXPECT_EQ(m_layers->readableAt({1}), m_now + 1ms);
    m_server.answer(Answer::kBody);
    m_now += 1ms;
    expectWhole(kKey);
    expectWhole(kBeside);
    EXPECT_TRUE(isRed(*far(kKey)));
    EXPECT_NE(m_layers->problemsRevision(), told);
    // Whoever asks for it next has it whole.
    EXPECT_TRUE(isRed(*near(kBeside)));
}

TEST_F(WebLayers, AServerThatStaysAwayIsAskedOnceAPause) {
    openTiles();
    fail(Answer::kClose);
    const std::uint64_t told = m_layers->problemsRevision();
    for (int i = 0; i < 3; ++i) {
        m_now += LayerStack::kPause;
        const int requests = m_server.requests();
        for (const TileKey& key : {kKey, kBeside, kKey.parent()}) {
            EXPECT_FALSE(far(key));
        }
        EXPECT_LE(m_server.requests(), requests + 2);
        EXPECT_GT(m_server.requests(), requests);
    }
    EXPECT_EQ(m_layers->problems().size(), 1u);
    EXPECT_EQ(m_layers->problemsRevision(), told);
}

TEST_F(WebLayers, AHoleIsAnAnswer) {
    openTiles();
    fail();
    m_now += LayerStack::kPause;
    m_server.answer(Answer::kNotFound);
    expectWhole(kKey);
    EXPECT_FALSE(isRed(*far(kKey)));
    EXPECT_FALSE(m_layers->isPaused(1));
}

TEST_F(WebLayers, ATileThatCannotBeReadHasWhatTheOneAboveHasUntilItCan) {
    openTiles();
    m_server.answer("/t4/", Answer::kUnavailable);
    const auto tile = far(kKey);
    ASSERT_TRUE(tile);
    EXPECT_TRUE(isRed(*tile));
    EXPECT_EQ(tile->lacking, std::vector<std::size_t>{1});
    EXPECT_FALSE(isKept(kKey));
    EXPECT_FALSE(m_layers->isPaused(1));
    EXPECT_EQ(m_layers->problems().size(), 1u);
    m_server.answer("/t4/", Answer::kBody);
    expectWhole(kKey);
}

TEST_F(WebLayers, OneLayerThatIsAwayHoldsNoOtherUp) {
    openTiles();
    EarthModel model;
    model.layers = m_layers->layers();
    model.layers.push_back(model.layers[1]);
    model.layers[2].name = "away";
    model.layers[2].url = m_server.address() + "/away/{z}/{x}/{y}.png";
    m_server.answer("/away/", Answer::kUnavailable);
    m_layers = std::make_shared<LayerStack>(model, LayerStack::kPause, [this] { return m_now; });
    m_far = std::make_unique<TileComposer>(m_layers, true);
    const auto tile = far(kKey);
    ASSERT_TRUE(tile);
    EXPECT_TRUE(isRed(*tile));
    EXPECT_EQ(tile->lacking, std::vector<std::size_t>{2});
    EXPECT_FALSE(isKept(kKey));
    m_server.answer("/away/", Answer::kBody);
    m_now += LayerStack::kPause;
    expectWhole(kKey);
}

TEST_F(WebLayers, AFileThatCouldNotBeOpenedIsOpenedAfterThePause) {
    ASSERT_TRUE(makeRaster(m_folder / "a.tif", {-180, -90, 180, 90, 256, 128}));
    m_server.serve({});
    m_server.serve("/a.tif", textOf(m_folder / "a.tif"));
    for (const Answer answer : {Answer::kUnavailable, Answer::kNotFound, Answer::kClose}) {
        open("/a.tif", "gdal");
        fail(answer);
        comeBack();
        expectWhole(kKey);
        forgetAnswers(m_layers->layers()[1].url, "gdal");
    }
}

TEST_F(WebLayers, AFileThatBreaksOffIsReadAfterThePause) {
    Making making;
    making.options = "TILED=YES BLOCKXSIZE=64 BLOCKYSIZE=64";
    ASSERT_TRUE(makeRaster(m_folder / "a.tif", {-180, -90, 180, 90, 2048, 1024}, making));
    m_server.serve({});
    m_server.serve("/a.tif", textOf(m_folder / "a.tif"));
    open("/a.tif", "gdal");
    expectWhole({3, 1, 1});
    fail();
    // It may even be another one by then.
    making.options = "TILED=YES BLOCKXSIZE=128 BLOCKYSIZE=128";
    ASSERT_TRUE(makeRaster(m_folder / "b.tif", {-180, -90, 180, 90, 1024, 512}, making));
    m_server.serve("/a.tif", textOf(m_folder / "b.tif"));
    comeBack();
    expectWhole(kKey);
    const TileData& tile = *far(kKey);
    const unsigned char* texel = tile.image->data(tile.image->s() / 2, tile.image->t() / 2);
    EXPECT_NEAR(texel[0], madeColor(0, 11.25, 11.25), 4.0);
}

TEST_F(WebLayers, ADescriptionThatCouldNotBeReadIsReadAfterThePause) {
    makeTileMap(m_folder.path(), {0.0, 0.0, 1.0, 1.0, 0, 0}, 0, false);
    std::string description = textOf(m_folder / "tilemapresource.xml");
    m_server.serve("/tilemapresource.xml", description);
    for (const Answer answer : {Answer::kUnavailable, Answer::kNotFound}) {
        open("/tilemapresource.xml", "tms");
        fail(answer);
        comeBack();
        expectWhole(kKey);
    }
}

// What a file cannot give does not come back by itself.
TEST_F(WebLayers, AFileOnTheDiskIsSpokenOfForGood) {
    EarthModel model;
    model.layers.resize(1);
    model.layers[0].name = "near";
    model.layers[0].driver = "gdal";
    model.layers[0].url = makePlain(m_folder, "blue", 0, 0, 200);
    LayerStack layers(model, LayerStack::kPause, [this] { return m_now; });
    for (int i = 0; i < 9; ++i) {
        layers.failedToRead(0, "spoilt");
    }
    layers.wasRead(0);
    EXPECT_FALSE(layers.isPaused(0));
    EXPECT_EQ(layers.problems().size(), 1u);
    layers.failedToOpen(0, "gone");
    m_now += 10 * LayerStack::kPause;
    EXPECT_TRUE(layers.isPaused(0));
    EXPECT_EQ(layers.problems().size(), 1u);
}

}  // namespace
}  // namespace globe
