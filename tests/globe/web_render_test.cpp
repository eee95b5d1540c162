// A map with a layer behind a server that goes and comes back, drawn on demand.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "globe/initialize.h"
#include "globe/layer_stack.h"
#include "globe/map_node.h"
#include "tests/globe/made_data.h"
#include "tests/globe/offscreen.h"
#include "tests/globe/tile_server.h"

namespace globe {
namespace {

using namespace globe_test;
using namespace std::chrono_literals;

constexpr int kWidth = 240;
constexpr int kHeight = 180;

class WebRender : public ::testing::Test {
protected:
    static void SetUpTestSuite() { initialize(); }
    void TearDown() override {
        m_window.show(nullptr);
        m_map = nullptr;
    }

    void open(std::chrono::milliseconds pause, LayerStack::Clock clock = std::chrono::steady_clock::now) {
        ASSERT_TRUE(m_window.works());
        m_server->serve(plainPicture(200, 0, 0));
        EarthModel model;
        model.layers.resize(1);
        model.layers[0].name = "world";
        model.layers[0].driver = "gdal";
        model.layers[0].url = makePlain(m_folder, "sea", 20, 30, 100);
        for (const char* path : m_paths) {
            model.layers.emplace_back();
            model.layers.back().name = std::string("far") + path;
            model.layers.back().driver = "xyz";
            model.layers.back().url = m_server->address() + path + "/{z}/{x}/{y}.png";
            model.layers.back().max_level = 8;
        }
        m_layers = std::make_shared<LayerStack>(model, pause, std::move(clock));
        m_map = new MapNode(new Map(m_layers));
        m_map->getOrCreateStateSet()->setMode(GL_LIGHTING,
                                              osg::StateAttribute::OFF | osg::StateAttribute::OVERRIDE);
        m_window.show(m_map);
        m_window.look({20, 30, 0, -90, 1e6});
        m_window.viewer().realize();
        m_window.frame();
    }
    // Frames as they are asked for, until `done` or for a minute.
    bool drawUntil(const std::function<bool()>& done) {
        const auto end = std::chrono::steady_clock::now() + 60s;
        while (!done() && std::chrono::steady_clock::now() < end) {
            step();
        }
        return done();
    }
    // Until nobody has asked for a frame for a while.
    bool drawUntilCalm() {
        constexpr int kCalm = 30;
        int calm = 0;
        drawUntil([&] {
            calm = m_drawn || m_map->isLoading() ? 0 : calm + 1;
            return calm > kCalm;
        });
        return calm > kCalm;
    }
    // The whole window shows ground.
    bool isAllRed() const {
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                const Pixel pixel = m_window.at(x, y);
                if (pixel.r < 150 || pixel.b > 50) {
                    return false;
                }
            }
        }
        return true;
    }
    // Tiles in the cache, and those among them that lack the layer.
    std::pair<int, int> kept() {
        std::pair<int, int> count;
        for (int level = 0; level <= 8; ++level) {
            for (std::uint32_t x = 0; x < 2u << level; ++x) {
                for (std::uint32_t y = 0; y < 1u << level; ++y) {
                    const auto tile = m_layers->cache().get({level, x, y});
                    count.first += tile ? 1 : 0;
                    count.second += tile && !tile->lacking.empty() ? 1 : 0;
                }
            }
        }
        return count;
    }

    std::vector<const char*> m_paths = {""};  // a layer each
    Folder m_folder;
    std::unique_ptr<TileServer> m_server = std::make_unique<TileServer>();
    std::shared_ptr<LayerStack> m_layers;
    Offscreen m_window{kWidth, kHeight, true};
    osg::ref_ptr<MapNode> m_map;

private:
    void step() {
        m_drawn = m_map && m_window.viewer().checkNeedToDoFrame();
        if (m_drawn) {
            m_window.frame();
        } else {
            std::this_thread::sleep_for(10ms);
        }
    }
    bool m_drawn = true;
};

TEST_F(WebRender, WhatIsInViewComesByItselfOnceTheServerIsBack) {
    m_server->answer(Answer::kUnavailable);
    open(300ms);
    ASSERT_TRUE(drawUntil([this] { return m_server->requests() >= 5; }));
    EXPECT_FALSE(m_layers->problems().empty());
    EXPECT_EQ(kept(), std::make_pair(0, 0));
    m_server->answer(Answer::kBody);
    EXPECT_TRUE(drawUntil([this] { return isAllRed(); }));
    EXPECT_TRUE(drawUntilCalm());
    EXPECT_TRUE(isAllRed());
    EXPECT_TRUE(m_map->problems().empty());
    EXPECT_GT(kept().first, 4);
    EXPECT_EQ(kept().second, 0);
}

TEST_F(WebRender, WhatOneServerGaveStaysWhenTheOtherComesBackAlone) {
    m_paths = {"/below", "/above"};
    m_server->serve("/below", plainPicture(0, 200, 0));
    m_server->answer("/below", Answer::kUnavailable);
    open(300ms);
    ASSERT_TRUE(drawUntil([this] { return isAllRed(); }));
    std::atomic<int> from_below{0};
    m_server->onRequest([&](const std::string& path) { from_below += path.find("/below") == 0 ? 1 : 0; });
    m_server->answer("/above", Answer::kUnavailable);
    m_server->answer("/below", Answer::kBody);
    ASSERT_TRUE(drawUntil([&] { return from_below >= 40 || !isAllRed(); }));
    EXPECT_TRUE(isAllRed());
    m_server->onRequest({});
    m_server->answer("/above", Answer::kBody);
    EXPECT_TRUE(drawUntilCalm());
    EXPECT_TRUE(isAllRed());
    EXPECT_TRUE(m_map->problems().empty());
    EXPECT_EQ(kept().second, 0);
}

TEST_F(WebRender, WhileTheServerIsDownNothingSpins) {
    const LayerStack::Time now = std::chrono::steady_clock::now();
    m_server->answer(Answer::kUnavailable);
    open(LayerStack::kPause, [now] { return now; });
    EXPECT_TRUE(drawUntilCalm());
    EXPECT_FALSE(m_map->isLoading());
    EXPECT_FALSE(m_map->problems().empty());
    EXPECT_LE(m_server->requests(), 12);
}

TEST_F(WebRender, AServerThatHangsDoesNotHoldTheEnd) {
    m_server->answer(Answer::kHang);
    open(LayerStack::kPause);
    ASSERT_TRUE(drawUntil([this] { return m_server->hanging() > 0; }));
    m_window.show(nullptr);
    m_map = nullptr;
    // The request, which waits for ten seconds, is still under way.
    EXPECT_GT(m_server->hanging(), 0);
    // Its thread lets go of all it holds as soon as it comes back.
    m_server.reset();
    EXPECT_TRUE(drawUntil([this] { return m_layers.use_count() == 1; }));
}

}  // namespace
}  // namespace globe
