#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

#include "receiver.h"
#include "rtsp_server.h"
#include "tavrik/host_lookup.h"

namespace tavrik::test {
namespace {

using namespace std::chrono_literals;

// Closing is promised within 1 s; the machine of a test may be five times as slow.
constexpr auto kCloseDeadline = 5s;

template <class Action>
void expectWithinDeadline(Action action) {
    const auto start = std::chrono::steady_clock::now();
    action();
    EXPECT_LT(std::chrono::steady_clock::now() - start, kCloseDeadline);
}

int openRtsp(const std::string& url, Receiver& receiver, const char* options = "") {
    return feedOpen(url.c_str(), 0, receiver.onFrame(), receiver.onAudio(), "", true, options,
                    receiver.onSei(), 1);
}

template <class Condition>
bool waitUntil(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMs);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

TEST(Close, IsQuickWhenTheServerNeverAnswersDescribe) {
    RtspServer::Settings settings;
    settings.manner = RtspServer::Manner::kSilentAtDescribe;
    RtspServer server(settings);
    Receiver receiver;
    int handle = 0;
    expectWithinDeadline([&] { handle = openRtsp(server.url(), receiver); });
    ASSERT_GT(handle, 0);
    ASSERT_TRUE(waitUntil([&] { return server.describeSeen(); }));
    expectWithinDeadline([&] { feedClose(handle); });
}

TEST(Close, IsQuickWhenTheServerIsSilentOrAbsent) {
    RtspServer::Settings settings;
    settings.manner = RtspServer::Manner::kSilentAtAll;
    RtspServer server(settings);
    // A port that nobody listens on, and an address that swallows everything.
    for (const std::string& url :
         {server.url(), std::string("rtsp://127.0.0.1:1/x"), std::string("rtsp://[::1]:1/x")}) {
        Receiver receiver;
        const int handle = openRtsp(url, receiver);
        ASSERT_GT(handle, 0) << url;
        expectWithinDeadline([&] { feedClose(handle); });
    }
}

TEST(Close, IsQuickOnASilentUdpPort) {
    Receiver receiver;
    const int handle = feedOpen("", freeUdpPort(), receiver.onFrame(), nullptr, "", false, "", nullptr, 1);
    ASSERT_GT(handle, 0);
    expectWithinDeadline([&] { feedClose(handle); });
}

TEST(Close, IsQuickWhenTheServerDiesOrStallsMidStream) {
    for (const bool dies : {true, false}) {
        RtspServer server({});
        TestEncoder encoder(EncoderSettings{});
        Receiver receiver;
        const int handle = openRtsp(server.url(), receiver);
        ASSERT_TRUE(server.waitForPlay(kPatienceMs));
        ASSERT_TRUE(stream(
            [&](int n) { server.sendPicture(encoder.encode(n), static_cast<std::uint32_t>(n) * 3600); },
            [&] { return receiver.numbers().size() >= 5; }));
        if (dies) {
            server.kill();
        }
        expectWithinDeadline([&] { feedClose(handle); });
    }
}

TEST(Close, IsQuickDuringALookUp) {
    Receiver receiver;
    const int handle = openRtsp("rtsp://no-such-host.invalid/x", receiver);
    ASSERT_GT(handle, 0);
    expectWithinDeadline([&] { feedClose(handle); });
    expectWithinDeadline(
        [] { EXPECT_TRUE(lookUpHost("no-such-host.invalid", 20000, [] { return true; }).empty()); });
    EXPECT_FALSE(lookUpHost("localhost", 20000, [] { return false; }).empty());
}

TEST(Close, OfHandlesThatAreNotOpenIsNothing) {
    for (const int handle : {0, -1, 123456789}) {
        feedClose(handle);
    }
    feedHold(0);
    feedResume(123456789);
}

TEST(Close, ReleasesTheNameOfALiveServer) {
    // A name in the address is looked up and replaced.
    RtspServer server({});
    TestEncoder encoder(EncoderSettings{});
    Receiver receiver;
    std::string url = server.url();
    url.replace(url.find("127.0.0.1"), 9, "localhost");
    const int handle = openRtsp(url, receiver);
    ASSERT_GT(handle, 0);
    EXPECT_TRUE(
        stream([&](int n) { server.sendPicture(encoder.encode(n), static_cast<std::uint32_t>(n) * 3600); },
               [&] { return receiver.numbers().size() >= 3; }));
    feedClose(handle);
}

// After each close the callback's target is gone: a late call would be seen, and by the sanitizers too.
TEST(Close, LetsNoCallbackComeAfterIt) {
    const int port = freeUdpPort();
    TestEncoder encoder(EncoderSettings{Codec::kH264, kWidth, kHeight, 1, 1});
    std::vector<Bytes> units;
    for (int n = 0; n < 50; ++n) {
        units.push_back(withSei(Codec::kH264, encoder.encode(n), seiNal(Codec::kH264, {1, 2, 3})));
    }
    std::atomic<bool> done{false};
    std::thread camera([&] {
        UdpSender sender(port);
        for (std::size_t n = 0; !done; ++n) {
            sender.send(units[n % units.size()], 1400);
            std::this_thread::sleep_for(200us);
        }
    });
    int with_pictures = 0;
    for (int round = 0; round < 60; ++round) {
        struct Target {
            std::atomic<bool> alive{true};
            std::atomic<int> calls{0};
        };
        auto target = std::make_unique<Target>();
        std::atomic<int> late{0};
        Target* const raw = target.get();
        const auto hit = [raw, &late] {
            if (!raw->alive) {
                ++late;
            }
            ++raw->calls;
        };
        const int handle = feedOpen(
            "", port, [hit](AVFrame*, float, int) { hit(); }, nullptr, "", false, "",
            [hit](void*, int, int) { hit(); }, 1);
        ASSERT_GT(handle, 0);
        const int wanted = round % 7;
        ASSERT_TRUE(waitUntil([&] { return raw->calls >= wanted; }));
        feedClose(handle);
        raw->alive = false;
        with_pictures += raw->calls > 0 ? 1 : 0;
        target.reset();
        EXPECT_EQ(late, 0);
    }
    done = true;
    camera.join();
    EXPECT_GT(with_pictures, 40);
}

TEST(Close, WaitsForACallbackThatIsUnderWay) {
    const int port = freeUdpPort();
    std::atomic<bool> inside{false}, left{false};
    std::promise<void> let_go;
    std::shared_future<void> gate = let_go.get_future().share();
    const int handle = feedOpen(
        "", port,
        [&](AVFrame*, float, int) {
            inside = true;
            gate.wait_for(std::chrono::milliseconds(kPatienceMs));
            left = true;
        },
        nullptr, "", false, "", nullptr, 1);
    TestEncoder encoder(EncoderSettings{});
    UdpSender sender(port);
    ASSERT_TRUE(stream([&](int n) { sender.send(encoder.encode(n), 1400); }, [&] { return inside.load(); }));
    std::future<void> closing = std::async(std::launch::async, [handle] { feedClose(handle); });
    EXPECT_EQ(closing.wait_for(100ms), std::future_status::timeout) << "it waits";
    EXPECT_FALSE(left);
    let_go.set_value();
    ASSERT_EQ(closing.wait_for(std::chrono::milliseconds(kPatienceMs)), std::future_status::ready);
    EXPECT_TRUE(left);
}

TEST(Close, LeavesACallbackBehindThatDoesNotReturn) {
    struct Shared {
        std::atomic<bool> inside{false}, left{false};
        std::atomic<int> calls{0};
        std::promise<void> let_go;
        std::shared_future<void> gate{let_go.get_future().share()};
    };
    const auto shared = std::make_shared<Shared>();
    const int port = freeUdpPort();
    const int handle = feedOpen(
        "", port,
        [shared](AVFrame*, float, int) {
            ++shared->calls;
            shared->inside = true;
            shared->gate.wait();
            shared->left = true;
        },
        nullptr, "", false, "", nullptr, 1);
    TestEncoder encoder(EncoderSettings{});
    UdpSender sender(port);
    ASSERT_TRUE(
        stream([&](int n) { sender.send(encoder.encode(n), 1400); }, [&] { return shared->inside.load(); }));
    const auto start = std::chrono::steady_clock::now();
    feedClose(handle);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 15s);
    shared->let_go.set_value();
    ASSERT_TRUE(waitUntil([&] { return shared->left.load(); }));
    EXPECT_EQ(shared->calls, 1);
}

TEST(Close, FromInsideACallbackDoesNotHang) {
    const int port = freeUdpPort();
    std::atomic<int> handle{0};
    std::atomic<bool> closed{false};
    std::atomic<int> after{0};
    handle = feedOpen(
        "", port,
        [&](AVFrame*, float, int) {
            if (closed) {
                ++after;
            }
            feedClose(handle);
            closed = true;
        },
        nullptr, "", false, "", nullptr, 1);
    TestEncoder encoder(EncoderSettings{});
    UdpSender sender(port);
    EXPECT_TRUE(stream([&](int n) { sender.send(encoder.encode(n), 1400); }, [&] { return closed.load(); }));
    EXPECT_EQ(after, 0);
    // The port is free again once the threads have ended.
    Receiver receiver;
    const int again = feedOpen("", port, receiver.onFrame(), nullptr, "", false, "", nullptr, 1);
    EXPECT_TRUE(stream([&](int n) { sender.send(encoder.encode(n), 1400); },
                       [&] { return receiver.numbers().size() >= 3; }));
    feedClose(again);
}

TEST(Close, WaitsForSoundThatBlocksWhileThePictureGoesOn) {
    RtspServer::Settings settings;
    settings.audio = true;
    RtspServer server(settings);
    TestEncoder encoder(EncoderSettings{});
    Receiver receiver;
    std::atomic<bool> blocked{false};
    std::atomic<bool> go{false};
    const int handle = feedOpen(
        server.url().c_str(), 0, receiver.onFrame(),
        [&](unsigned char*, int, int, int) {
            blocked = true;
            waitUntil([&] { return go.load(); });
        },
        "", true, "", nullptr, 1);
    ASSERT_TRUE(server.waitForPlay(kPatienceMs));
    // The picture goes on while the sound stands.
    EXPECT_TRUE(stream(
        [&](int n) {
            server.sendPicture(encoder.encode(n), static_cast<std::uint32_t>(n) * 3600);
            server.sendSound(Bytes(160, 0xFF), static_cast<std::uint32_t>(n) * 160);
        },
        [&] { return blocked && receiver.numbers().size() >= 10; }));
    std::future<void> closing = std::async(std::launch::async, [handle] { feedClose(handle); });
    EXPECT_EQ(closing.wait_for(100ms), std::future_status::timeout) << "it waits";
    go = true;
    ASSERT_EQ(closing.wait_for(std::chrono::milliseconds(kPatienceMs)), std::future_status::ready);
}

}  // namespace
}  // namespace tavrik::test
