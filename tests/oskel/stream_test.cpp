#include <gtest/gtest.h>

#include <algorithm>
#include <asio/write.hpp>
#include <csignal>
#include <thread>

#include "oskel/oskel.h"
#include "tests/fakes/chaos_proxy.h"
#include "tests/oskel/peers.h"

namespace {

using namespace peers;
using oskel::SendTrouble;

constexpr std::size_t kQueueLimit = 65536;

TEST(Stream, CarriesEveryByteBothWays) {
    TcpPeer peer;
    Inbox inbox;
    const int handle = oskel::dialStream("127.0.0.1", peer.port(), inbox.callback());
    ASSERT_GE(handle, 1);
    peer.accept();
    const auto run = countingBytes(5000);
    EXPECT_EQ(oskel::push_bytes(run.data(), 5000, handle), 5000);
    EXPECT_EQ(peer.receive(run.size()), run);
    asio::write(peer.socket(), asio::buffer(run));
    EXPECT_EQ(inbox.waitFor(run.size()), run);
    EXPECT_TRUE(inbox.contextsAreZero());
    EXPECT_EQ(oskel::hang_up(handle), 0);
    EXPECT_TRUE(peer.receive(1).empty());
}

TEST(Stream, CarriesBytesThroughANetworkThatCutsThemUp) {
    TcpPeer peer;
    chaos::TcpProxy network(0, static_cast<std::uint16_t>(peer.port()), 4);
    chaos::Faults small;
    small.largest_chunk = 9;
    network.setFaults(small, small);
    Inbox inbox;
    const int handle = oskel::dialStream("127.0.0.1", network.port(), inbox.callback());
    ASSERT_GE(handle, 1);
    peer.accept();
    const auto run = countingBytes(3000);
    oskel::push_bytes(run.data(), 3000, handle);
    EXPECT_EQ(peer.receive(run.size()), run);
    asio::write(peer.socket(), asio::buffer(run));
    EXPECT_EQ(inbox.waitFor(run.size()), run);
    oskel::hang_up(handle);
}

TEST(Stream, RefusedConnectFails) {
    const int nobody = TcpPeer().port();
    EXPECT_EQ(oskel::dialStream("127.0.0.1", nobody, {}), 0);
}

// A listener whose queue is full does not answer further connects on most systems; the others refuse.
TEST(Stream, AnAddressThatDoesNotAnswerHoldsTheCallerForABoundedTime) {
    asio::io_context io;
    asio::ip::tcp::acceptor deaf(io);
    deaf.open(asio::ip::tcp::v4());
    deaf.bind({asio::ip::address_v4::loopback(), 0});
    deaf.listen(0);
    std::vector<asio::ip::tcp::socket> fillers;
    for (int i = 0; i < 8; ++i) {
        fillers.emplace_back(io);
        fillers.back().async_connect(deaf.local_endpoint(), [](const asio::error_code&) {});
    }
    io.run_for(std::chrono::milliseconds(300));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(oskel::dialStream("127.0.0.1", deaf.local_endpoint().port(), {}), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
}

// Takes until the port refuses a run for want of room; returns all that was taken.
Bytes pushUntilFull(int handle) {
    Bytes taken;
    const auto until = std::chrono::steady_clock::now() + deadline;
    while (std::chrono::steady_clock::now() < until) {
        Bytes run = countingBytes(16000);
        run[0] = static_cast<std::uint8_t>(taken.size() / run.size());
        if (oskel::push_bytes(run.data(), static_cast<int>(run.size()), handle) == 0) {
            return taken;
        }
        taken.insert(taken.end(), run.begin(), run.end());
    }
    ADD_FAILURE() << "the port took " << taken.size() << " bytes that nobody reads";
    return taken;
}

TEST(Stream, QueueIsLimitedAndWholeRunsAreDropped) {
    TcpPeer peer;
    const int handle = oskel::dialStream("127.0.0.1", peer.port(), {});
    ASSERT_GE(handle, 1);
    peer.accept();
    const Bytes longerThanTheQueue(kQueueLimit + 1);
    EXPECT_EQ(oskel::push_bytes(longerThanTheQueue.data(), kQueueLimit + 1, handle), 0);
    const Bytes taken = pushUntilFull(handle);
    EXPECT_EQ(peer.receive(taken.size()), taken);
    EXPECT_TRUE(waitUntil([&] { return push("room again", handle) == 10; }));
    EXPECT_EQ(peer.receive(10), bytes("room again"));
    oskel::hang_up(handle);
}

TEST(Stream, RunsQueuedAtTheCloseGoOut) {
    TcpPeer peer;
    const int handle = oskel::dialStream("127.0.0.1", peer.port(), {});
    ASSERT_GE(handle, 1);
    peer.accept();
    const Bytes taken = pushUntilFull(handle);
    Bytes came;
    std::thread reader([&] { came = peer.receive(taken.size() + 1); });
    EXPECT_EQ(oskel::hang_up(handle), 0);
    reader.join();
    EXPECT_EQ(came, taken) << "all of it, then the end";
}

TEST(Stream, APeerThatReadsNothingDelaysTheCloseForABoundedTime) {
    TcpPeer peer;
    const int handle = oskel::dialStream("127.0.0.1", peer.port(), {});
    ASSERT_GE(handle, 1);
    peer.accept();
    pushUntilFull(handle);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(oskel::hang_up(handle), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, close_deadline);
}

#ifndef _WIN32
// Only this system counts what has not been sent.
TEST(Stream, MarkedRunsOvertakeWhatWaits) {
    TcpPeer peer;
    const int handle = oskel::dialStream("127.0.0.1", peer.port(), {});
    ASSERT_GE(handle, 1);
    peer.accept();
    const Bytes taken = pushUntilFull(handle);
    ASSERT_TRUE(waitUntil([=] { return oskel::send_trouble(handle) == SendTrouble::kStuck; }));
    const std::size_t at_the_peer = peer.socket().available();
    oskel::mark_ahead(handle);
    ASSERT_EQ(push("STOP", handle), 4);
    const Bytes came = peer.receive(taken.size() + 4);
    ASSERT_EQ(came.size(), taken.size() + 4);
    const Bytes word = bytes("STOP");
    const auto at = std::search(came.begin(), came.end(), word.begin(), word.end()) - came.begin();
    EXPECT_LE(static_cast<std::size_t>(at), at_the_peer + 16000) << "the system held one run at most";
    EXPECT_LT(static_cast<std::size_t>(at), taken.size());
    EXPECT_EQ(at % 16000, 0) << "no run is cut";
    Bytes others(came.begin(), came.begin() + at);
    others.insert(others.end(), came.begin() + at + 4, came.end());
    EXPECT_EQ(others, taken);
    oskel::hang_up(handle);
}

TEST(Stream, APeerThatReadsNothingIsATroubleUntilItReads) {
    TcpPeer peer;
    const int handle = oskel::dialStream("127.0.0.1", peer.port(), {});
    ASSERT_GE(handle, 1);
    peer.accept();
    EXPECT_EQ(oskel::send_trouble(handle), SendTrouble::kNone);
    EXPECT_EQ(oskel::line_busy_ms(handle), 0);
    const Bytes taken = pushUntilFull(handle);
    EXPECT_EQ(oskel::line_busy_ms(handle), 5);
    EXPECT_TRUE(waitUntil([=] { return oskel::send_trouble(handle) == SendTrouble::kStuck; }));
    EXPECT_EQ(peer.receive(taken.size()), taken);
    EXPECT_TRUE(waitUntil([=] {
        return oskel::send_trouble(handle) == SendTrouble::kNone && oskel::line_busy_ms(handle) == 0;
    }));
    oskel::hang_up(handle);
}
#endif

TEST(Stream, RunsPushedWhileTheCallbackIsBusyGoOut) {
    TcpPeer peer;
    auto go_on = std::make_shared<Signal>();
    auto busy = std::make_shared<Signal>();
    const int handle =
        oskel::dialStream("127.0.0.1", peer.port(), [=](const std::uint8_t*, std::int32_t, std::int32_t) {
            busy->set();
            go_on->wait();
        });
    ASSERT_GE(handle, 1);
    peer.accept();
    asio::write(peer.socket(), asio::buffer("x", 1));
    ASSERT_TRUE(busy->wait());
    for (const char* run : {"one", "two", "three"}) {
        push(run, handle);
    }
    EXPECT_EQ(peer.receive(11), bytes("onetwothree"));
    go_on->set();
    oskel::hang_up(handle);
}

TEST(Stream, APeerThatClosesEndsThePortQuietly) {
    TcpPeer peer;
    Inbox inbox;
    const int handle = oskel::dialStream("127.0.0.1", peer.port(), inbox.callback());
    ASSERT_GE(handle, 1);
    peer.accept();
    asio::write(peer.socket(), asio::buffer("last words", 10));
    peer.socket().close();
    EXPECT_EQ(inbox.waitFor(10), bytes("last words"));
    EXPECT_TRUE(waitUntil([&] { return push("anybody?", handle) == -1; }));
    EXPECT_EQ(oskel::send_trouble(handle), SendTrouble::kGone);
    EXPECT_EQ(oskel::hang_up(handle), 0);
    EXPECT_EQ(oskel::send_trouble(handle), SendTrouble::kNone);
    EXPECT_EQ(oskel::hang_up(handle), -1);
}

TEST(Stream, APeerThatResetsEndsThePortQuietly) {
#ifndef _WIN32
    std::signal(SIGPIPE, SIG_DFL);
#endif
    TcpPeer peer;
    const int handle = oskel::dialStream("127.0.0.1", peer.port(), {});
    ASSERT_GE(handle, 1);
    peer.accept();
    peer.socket().set_option(asio::socket_base::linger(true, 0));
    peer.socket().close();
    EXPECT_TRUE(waitUntil([&] { return push("anybody?", handle) == -1; }));
    EXPECT_EQ(oskel::send_trouble(handle), SendTrouble::kGone);
    EXPECT_EQ(oskel::hang_up(handle), 0);
}

TEST(Stream, SeveralThreadsMayPush) {
    TcpPeer peer;
    const int handle = oskel::dialStream("127.0.0.1", peer.port(), {});
    ASSERT_GE(handle, 1);
    peer.accept();
    std::vector<std::thread> threads;
    for (char letter = 'a'; letter < 'e'; ++letter) {
        threads.emplace_back([=] {
            const std::string run(8, letter);
            for (int i = 0; i < 500; ++i) {
                push(run, handle);
            }
        });
    }
    const auto all = peer.receive(4 * 500 * 8);
    for (auto& thread : threads) {
        thread.join();
    }
    ASSERT_EQ(all.size(), 4u * 500u * 8u);
    // Runs are never mixed up.
    for (std::size_t i = 0; i < all.size(); i += 8) {
        ASSERT_TRUE(std::equal(all.begin() + i, all.begin() + i + 7, all.begin() + i + 1)) << i;
    }
    oskel::hang_up(handle);
}

TEST(Stream, TheSamePeerCanBeDialledAgain) {
    TcpPeer peer;
    int last = 0;
    for (int i = 0; i < 5; ++i) {
        const int handle = oskel::dialStream("127.0.0.1", peer.port(), {});
        ASSERT_GT(handle, last);
        last = handle;
        peer.accept();
        push("hello", handle);
        EXPECT_EQ(peer.receive(5), bytes("hello"));
        EXPECT_EQ(oskel::hang_up(handle), 0);
        peer.socket().close();
    }
}

}  // namespace
