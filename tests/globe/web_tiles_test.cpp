// Pyramids of tiles behind a server that answers, refuses, breaks off or hangs.
#include <cpl_conv.h>
#include <cpl_error.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <thread>
#include <vector>

#include "globe/initialize.h"
#include "globe/raster_source.h"
#include "tests/globe/made_data.h"
#include "tests/globe/tile_server.h"

namespace globe {
namespace {

using namespace globe_test;

constexpr int kPosts = 257;
// In one tile of zoom 4, and over the four tiles of zoom 1.
constexpr GeoExtent kPlace{1.0, 1.0, 20.0, 20.0};
constexpr GeoExtent kWide{-100.0, -60.0, 100.0, 60.0};

class WebTiles : public ::testing::Test {
protected:
    static void SetUpTestSuite() { initialize(); }
    void SetUp() override {
        CPLPushErrorHandler(CPLQuietErrorHandler);
        m_server.serve(plainPicture(200, 100, 50));
    }
    void TearDown() override { CPLPopErrorHandler(); }

    std::unique_ptr<RasterSource> open(const std::string& address) {
        std::string error;
        std::unique_ptr<RasterSource> source =
            openRaster(address + "/{z}/{x}/{y}.png", "xyz", RasterUse::kColors, &error);
        EXPECT_TRUE(source) << error;
        return source;
    }
    ReadResult read(RasterSource& source, const GeoExtent& extent = kPlace) {
        m_rgba.assign(kPosts * kPosts * 4, 1);
        CPLErrorReset();
        return source.readColors({extent, kPosts, kPosts}, m_rgba.data(), m_cancelled);
    }
    int filled() const {
        int count = 0;
        for (std::size_t i = 3; i < m_rgba.size(); i += 4) {
            count += m_rgba[i] != 0 ? 1 : 0;
        }
        return count;
    }

    TileServer m_server;
    std::vector<std::uint8_t> m_rgba;
    RasterSource::Flag m_cancelled{false};
};

TEST_F(WebTiles, ArePaintedOverOneConnection) {
    {
        const auto source = open(m_server.address());
        ASSERT_EQ(read(*source), ReadResult::kRead);
        EXPECT_EQ(filled(), kPosts * kPosts);
        EXPECT_EQ(m_rgba[0], 200);
        EXPECT_EQ(m_rgba[1], 100);
        EXPECT_EQ(m_rgba[2], 50);
        const int requests = m_server.requests();
        EXPECT_EQ(read(*source), ReadResult::kRead);
        EXPECT_EQ(m_server.requests(), requests) << "what is kept is not asked for again";
        ASSERT_EQ(read(*source, kWide), ReadResult::kRead);
        EXPECT_EQ(m_server.requests(), requests + 4);
        EXPECT_EQ(m_server.clients(), 1);
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (m_server.clients() > 0 && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_EQ(m_server.clients(), 0);
}

TEST_F(WebTiles, WhereTheServerHasNothingThereIsNothing) {
    for (const Answer answer : {Answer::kNotFound, Answer::kNoContent}) {
        m_server.answer(answer);
        const auto source = open(m_server.address());
        EXPECT_EQ(read(*source), ReadResult::kRead);
        EXPECT_EQ(filled(), 0);
        std::vector<float> heights(33 * 33, 0.0f);
        EXPECT_EQ(source->readHeights({kWide, 33, 33}, heights.data(), m_cancelled), ReadResult::kRead);
        for (const float height : heights) {
            ASSERT_TRUE(std::isnan(height));
        }
        const int requests = m_server.requests();
        // This is an answer to be kept.
        m_server.answer(Answer::kBody);
        EXPECT_EQ(read(*source), ReadResult::kNothing);
        EXPECT_EQ(m_server.requests(), requests);
    }
}

TEST_F(WebTiles, WhatIsNoAnswerFailsAtOnceAndIsAskedForAgain) {
    for (const Answer answer : {Answer::kUnavailable, Answer::kForbidden, Answer::kClose}) {
        const auto source = open(m_server.address());
        m_server.answer(answer);
        const int requests = m_server.requests();
        EXPECT_EQ(read(*source, kWide), ReadResult::kFailed);
        EXPECT_NE(std::string(CPLGetLastErrorMsg()), "");
        // A connection that breaks off may be tried once more by the library that holds it.
        EXPECT_LE(m_server.requests(), requests + 2);
        m_server.answer(Answer::kBody);
        EXPECT_EQ(read(*source, kWide), ReadResult::kRead);
        EXPECT_EQ(filled(), kPosts * kPosts);
    }
}

TEST_F(WebTiles, APictureThatIsNoneFails) {
    m_server.serve("<html>Please sign in</html>");
    const auto source = open(m_server.address());
    EXPECT_EQ(read(*source), ReadResult::kFailed);
    EXPECT_NE(std::string(CPLGetLastErrorMsg()).find("no picture"), std::string::npos);
    m_server.serve(plainPicture(1, 2, 3));
    EXPECT_EQ(read(*source), ReadResult::kRead);
}

TEST_F(WebTiles, ARefusedConnectionFails) {
    std::string address;
    {
        const TileServer gone;
        address = gone.address();
    }
    EXPECT_EQ(read(*open(address)), ReadResult::kFailed);
}

TEST_F(WebTiles, AServerThatHangsIsGivenUp) {
    CPLSetThreadLocalConfigOption("GDAL_HTTP_TIMEOUT", "1");
    m_server.answer(Answer::kHang);
    const auto source = open(m_server.address());
    EXPECT_EQ(read(*source, kWide), ReadResult::kFailed);
    EXPECT_EQ(m_server.requests(), 1);
    CPLSetThreadLocalConfigOption("GDAL_HTTP_TIMEOUT", nullptr);
}

TEST_F(WebTiles, CancelledNoFurtherTileIsAskedFor) {
    m_server.onRequest([this](const std::string&) { m_cancelled = true; });
    const auto source = open(m_server.address());
    EXPECT_EQ(read(*source, kWide), ReadResult::kFailed);
    EXPECT_EQ(m_server.requests(), 1);
    m_server.onRequest({});
    m_cancelled = false;
    EXPECT_EQ(read(*source, kWide), ReadResult::kRead);
    EXPECT_GT(m_server.requests(), 2);
}

TEST_F(WebTiles, NobodyIsAskedForATileThatCannotBe) {
    std::vector<std::string> strays;
    m_server.onRequest([&strays](const std::string& path) {
        int zoom = 0;
        int x = 0;
        int y = 0;
        if (std::sscanf(path.c_str(), "/%d/%d/%d.png", &zoom, &x, &y) != 3 || x < 0 || y < 0 ||
            x >= 1 << zoom || y >= 1 << zoom) {
            strays.push_back(path);
        }
    });
    const auto source = open(m_server.address());
    for (const GeoExtent& corner :
         {GeoExtent{150.0, 60.0, 180.0, 90.0}, GeoExtent{-180.0, -90.0, -150.0, -60.0}}) {
        EXPECT_EQ(read(*source, corner), ReadResult::kRead);
        EXPECT_GT(filled(), kPosts * 200);
    }
    m_server.onRequest({});
    EXPECT_EQ(strays, std::vector<std::string>{});
}

TEST_F(WebTiles, InFoldersAMissingTileIsAHoleAndABrokenOneFails) {
    const Folder folder;
    std::filesystem::create_directories(folder / "4/8");
    EXPECT_EQ(read(*open(folder.path())), ReadResult::kNothing);
    folder.write("4/8/7.png", "");
    EXPECT_EQ(read(*open(folder.path())), ReadResult::kNothing);
    // GDAL opens it as a square data set without a picture in it.
    const char* const kCatalogue =
        "<TileMapService version=\"1.0.0\"><TileMaps><TileMap href=\"http://127.0.0.1:9/1\"/>"
        "<TileMap href=\"http://127.0.0.1:9/2\"/></TileMaps></TileMapService>";
    for (const char* text : {"rubbish", kCatalogue}) {
        folder.write("4/8/7.png", text);
        EXPECT_EQ(read(*open(folder.path())), ReadResult::kFailed) << text;
        EXPECT_NE(std::string(CPLGetLastErrorMsg()).find("no picture"), std::string::npos);
    }
    folder.write("4/8/7.png", plainPicture(1, 2, 3));
    EXPECT_EQ(read(*open(folder.path())), ReadResult::kRead);
}

}  // namespace
}  // namespace globe
