#include "tests/fakes/chaos_proxy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <asio/buffer.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/ip/udp.hpp>
#include <asio/read.hpp>
#include <asio/write.hpp>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

namespace {

using asio::ip::tcp;
using asio::ip::udp;
using namespace std::chrono_literals;

constexpr auto deadline = 10s;

udp::endpoint loopback(std::uint16_t port) { return {asio::ip::address_v4::loopback(), port}; }

// A UDP socket on loopback whose receive gives up after the deadline, or earlier where silence is expected.
struct Peer {
    Peer() : socket(io, loopback(0)) { socket.set_option(asio::socket_base::receive_buffer_size(1 << 20)); }

    std::uint16_t port() const { return socket.local_endpoint().port(); }
    void send(std::uint16_t to, const std::string& text) { socket.send_to(asio::buffer(text), loopback(to)); }
    std::string receive() {
        std::string text(65536, '\0');
        std::size_t size = 0;
        socket.async_receive_from(
            asio::buffer(text), sender,
            [&](const asio::error_code& error, std::size_t n) { size = error ? 0 : n; });
        io.restart();
        io.run_for(deadline);
        if (!io.stopped()) {
            socket.cancel();
            io.run();
        }
        text.resize(size);
        return text;
    }

    asio::io_context io;
    udp::socket socket;
    udp::endpoint sender;
};

TEST(Dice, SameSeedSameFates) {
    const chaos::Faults faults{0.2, 0.3, 0.1, 0.4, 0ms, 0};
    chaos::Dice one(7);
    chaos::Dice two(7);
    chaos::Dice other(8);
    int differing = 0;
    for (int i = 0; i < 1000; ++i) {
        const auto a = one.next(faults, 64);
        const auto b = two.next(faults, 64);
        const auto c = other.next(faults, 64);
        ASSERT_EQ(a.lost, b.lost);
        ASSERT_EQ(a.duplicated, b.duplicated);
        ASSERT_EQ(a.held_back, b.held_back);
        ASSERT_EQ(a.flipped_bit, b.flipped_bit);
        ASSERT_LT(a.flipped_bit, 64 * 8);
        differing += a.lost != c.lost;
    }
    EXPECT_GT(differing, 100);
}

TEST(Dice, RatesAreAsAsked) {
    chaos::Dice dice(1);
    chaos::Faults faults;
    faults.loss = 0.25;
    int lost = 0;
    for (int i = 0; i < 20000; ++i) {
        const auto fate = dice.next(faults, 10);
        lost += fate.lost;
        ASSERT_FALSE(fate.duplicated || fate.held_back || fate.flipped_bit >= 0);
    }
    EXPECT_NEAR(lost, 5000, 300);
}

TEST(Dice, AFaultMoreLeavesTheOthersInPlace) {
    chaos::Faults loss;
    loss.loss = 0.3;
    chaos::Faults both = loss;
    both.corruption = 0.5;
    chaos::Dice one(3);
    chaos::Dice two(3);
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(one.next(loss, 20).lost, two.next(both, 20).lost);
    }
}

TEST(UdpProxy, CarriesBothWaysUnharmed) {
    Peer client;
    Peer target;
    chaos::UdpProxy proxy(0, target.port(), 1);
    client.send(proxy.port(), "up");
    EXPECT_EQ(target.receive(), "up");
    EXPECT_EQ(target.sender.port(), proxy.targetSide());
    target.send(proxy.targetSide(), "down");
    EXPECT_EQ(client.receive(), "down");
}

TEST(UdpProxy, TargetMaySpeakFirst) {
    Peer client;
    Peer target;
    chaos::UdpProxy proxy(0, target.port(), 1);
    proxy.setClient(client.port());
    target.send(proxy.targetSide(), "report");
    EXPECT_EQ(client.receive(), "report");
}

// The same seed loses and repeats the same datagrams; a good one at the end tells that all have come.
std::vector<std::string> throughFaults(std::uint64_t seed, const chaos::Faults& faults,
                                       chaos::Counts& counts) {
    Peer client;
    Peer target;
    chaos::UdpProxy proxy(0, target.port(), seed);
    proxy.setFaults(faults, {});
    for (int i = 0; i < 200; ++i) {
        client.send(proxy.port(), "datagram " + std::to_string(i));
    }
    const auto until = std::chrono::steady_clock::now() + deadline;
    while (proxy.toTarget().arrived < 200 && std::chrono::steady_clock::now() < until) {
        std::this_thread::yield();
    }
    counts = proxy.toTarget();
    proxy.setFaults({}, {});
    client.send(proxy.port(), "end");
    client.send(proxy.port(), "end");
    // Between the two comes one that was held back at last.
    std::vector<std::string> came;
    for (int ends = 0; ends < 2;) {
        const auto text = target.receive();
        if (text.empty() || text == "end") {
            ++ends;
        } else {
            came.push_back(text);
        }
    }
    return came;
}

TEST(UdpProxy, LosesAndRepeatsBySeed) {
    chaos::Faults faults;
    faults.loss = 0.2;
    faults.duplication = 0.2;
    chaos::Counts counts;
    chaos::Counts again;
    const auto first = throughFaults(11, faults, counts);
    EXPECT_EQ(first, throughFaults(11, faults, again));
    EXPECT_GT(counts.lost, 10u);
    EXPECT_GT(counts.duplicated, 10u);
    EXPECT_EQ(first.size(), 200 - counts.lost + counts.duplicated);
    EXPECT_NE(first, throughFaults(12, faults, again));
}

TEST(UdpProxy, ReordersWithoutLoss) {
    chaos::Faults faults;
    faults.reordering = 0.3;
    chaos::Counts counts;
    auto came = throughFaults(5, faults, counts);
    EXPECT_GT(counts.reordered, 10u);
    std::vector<std::string> sent;
    for (int i = 0; i < 200; ++i) {
        sent.push_back("datagram " + std::to_string(i));
    }
    EXPECT_NE(came, sent);
    std::sort(came.begin(), came.end());
    std::sort(sent.begin(), sent.end());
    EXPECT_EQ(came, sent);
}

TEST(UdpProxy, FlipsOneBit) {
    Peer client;
    Peer target;
    chaos::UdpProxy proxy(0, target.port(), 2);
    chaos::Faults faults;
    faults.corruption = 1;
    proxy.setFaults(faults, {});
    const std::string sent = "0123456789";
    client.send(proxy.port(), sent);
    const auto came = target.receive();
    ASSERT_EQ(came.size(), sent.size());
    int bits = 0;
    for (std::size_t i = 0; i < sent.size(); ++i) {
        for (unsigned difference = static_cast<unsigned char>(sent[i] ^ came[i]); difference != 0;
             difference >>= 1) {
            bits += difference & 1;
        }
    }
    EXPECT_EQ(bits, 1);
}

TEST(UdpProxy, AStallLosesAndEnds) {
    Peer client;
    Peer target;
    chaos::UdpProxy proxy(0, target.port(), 2);
    proxy.stall(true);
    client.send(proxy.port(), "lost");
    const auto until = std::chrono::steady_clock::now() + deadline;
    while (proxy.toTarget().lost == 0 && std::chrono::steady_clock::now() < until) {
        std::this_thread::yield();
    }
    EXPECT_EQ(proxy.toTarget().lost, 1u);
    proxy.stall(false);
    client.send(proxy.port(), "heard");
    EXPECT_EQ(target.receive(), "heard");
}

TEST(UdpProxy, DelayedDatagramsArrive) {
    Peer client;
    Peer target;
    chaos::UdpProxy proxy(0, target.port(), 2);
    chaos::Faults faults;
    faults.delay = 20ms;
    proxy.setFaults(faults, faults);
    client.send(proxy.port(), "late");
    EXPECT_EQ(target.receive(), "late");
}

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

TEST(UdpProxy, ARateHoldsBackAndLosesNothing) {
    Peer client;
    Peer target;
    chaos::UdpProxy proxy(0, target.port(), 2);
    chaos::Faults faults;
    faults.rate = 100000;
    proxy.setFaults(faults, {});
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 40; ++i) {
        client.send(proxy.port(), std::string(1000, static_cast<char>('0' + i)));
    }
    for (int i = 0; i < 40; ++i) {
        EXPECT_EQ(target.receive(), std::string(1000, static_cast<char>('0' + i)));
    }
    EXPECT_GE(secondsSince(start), 0.38) << "38 datagrams' time and a little";
    EXPECT_EQ(proxy.toTarget().lost, 0u);
    EXPECT_EQ(proxy.toTarget().waiting, 0u);
}

TEST(UdpProxy, APauseBeginsBehindItsDatagramAndKeepsTheRest) {
    Peer client;
    Peer target;
    chaos::UdpProxy proxy(0, target.port(), 2);
    proxy.setPauses({{15, 600ms}, {20, 300ms}}, {});
    const auto start = std::chrono::steady_clock::now();
    for (const char* text : {"0123456789", "abcdefghij", "ABCDEFGHIJ", "last"}) {
        client.send(proxy.port(), text);
    }
    EXPECT_EQ(target.receive(), "0123456789");
    EXPECT_EQ(target.receive(), "abcdefghij");
    EXPECT_EQ(proxy.toTarget().pauses, 1u);
    EXPECT_EQ(target.receive(), "ABCDEFGHIJ");
    EXPECT_GE(secondsSince(start), 0.6);
    EXPECT_EQ(target.receive(), "last");
    EXPECT_EQ(proxy.toTarget().pauses, 1u) << "34 bytes have passed, the second begins behind the 35th";
    client.send(proxy.port(), "more");
    EXPECT_EQ(target.receive(), "more");
    EXPECT_EQ(proxy.toTarget().pauses, 2u);
}

struct TcpPair {
    explicit TcpPair(std::uint64_t seed)
        : acceptor(io, {asio::ip::address_v4::loopback(), 0}),
          proxy(0, acceptor.local_endpoint().port(), seed),
          client(io),
          target(io) {
        client.connect({asio::ip::address_v4::loopback(), proxy.port()});
        acceptor.accept(target);
    }
    asio::io_context io;
    tcp::acceptor acceptor;
    chaos::TcpProxy proxy;
    tcp::socket client;
    tcp::socket target;
};

std::vector<std::uint8_t> countingBytes(std::size_t size) {
    std::vector<std::uint8_t> bytes(size);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
    return bytes;
}

TEST(TcpProxy, CarriesBothWaysInSmallChunks) {
    TcpPair pair(1);
    chaos::Faults faults;
    faults.largest_chunk = 7;
    pair.proxy.setFaults(faults, faults);
    const auto sent = countingBytes(5000);
    std::vector<std::uint8_t> came(sent.size());
    asio::write(pair.client, asio::buffer(sent));
    asio::read(pair.target, asio::buffer(came));
    EXPECT_EQ(came, sent);
    std::fill(came.begin(), came.end(), std::uint8_t{0});
    asio::write(pair.target, asio::buffer(sent));
    asio::read(pair.client, asio::buffer(came));
    EXPECT_EQ(came, sent);
    EXPECT_EQ(pair.proxy.toClient().arrived, sent.size());
}

TEST(TcpProxy, DamagesTheSameBytesBySeed) {
    const auto sent = countingBytes(5000);
    const auto through = [&] {
        TcpPair pair(9);
        chaos::Faults faults;
        faults.corruption = 0.01;
        pair.proxy.setFaults(faults, {});
        std::vector<std::uint8_t> came(sent.size());
        asio::write(pair.client, asio::buffer(sent));
        asio::read(pair.target, asio::buffer(came));
        return came;
    };
    const auto first = through();
    EXPECT_NE(first, sent);
    EXPECT_EQ(first, through());
}

TEST(TcpProxy, AStallHoldsBytesBack) {
    TcpPair pair(1);
    pair.proxy.stall(true);
    const auto sent = countingBytes(100);
    std::vector<std::uint8_t> came(sent.size());
    asio::write(pair.client, asio::buffer(sent));
    pair.proxy.stall(false);
    asio::read(pair.target, asio::buffer(came));
    EXPECT_EQ(came, sent);
}

TEST(TcpProxy, PausesBeginAtTheirByte) {
    TcpPair pair(1);
    pair.proxy.setPauses({{10, 700ms}, {20, 300ms}}, {});
    const auto sent = countingBytes(5000);
    std::vector<std::uint8_t> came(sent.size());
    const auto start = std::chrono::steady_clock::now();
    asio::write(pair.client, asio::buffer(sent));
    ASSERT_EQ(pair.target.read_some(asio::buffer(came)), 10u);
    EXPECT_EQ(pair.proxy.toTarget().pauses, 1u);
    ASSERT_EQ(pair.target.read_some(asio::buffer(came.data() + 10, came.size() - 10)), 20u);
    EXPECT_GE(secondsSince(start), 0.7);
    asio::read(pair.target, asio::buffer(came.data() + 30, came.size() - 30));
    EXPECT_GE(secondsSince(start), 1.0);
    EXPECT_EQ(pair.proxy.toTarget().pauses, 2u);
    EXPECT_EQ(came, sent);
}

TEST(TcpProxy, ARateHoldsBack) {
    TcpPair pair(1);
    chaos::Faults faults;
    faults.rate = 50000;
    faults.largest_chunk = 1000;
    pair.proxy.setFaults(faults, {});
    const auto sent = countingBytes(20000);
    std::vector<std::uint8_t> came(sent.size());
    const auto start = std::chrono::steady_clock::now();
    asio::write(pair.client, asio::buffer(sent));
    asio::read(pair.target, asio::buffer(came));
    EXPECT_GE(secondsSince(start), 0.36) << "all but the last piece's time, and a little";
    EXPECT_EQ(came, sent);
}

TEST(TcpProxy, CutResetsTheConnectionAndTakesNewOnes) {
    TcpPair pair(1);
    const auto sent = countingBytes(10);
    std::vector<std::uint8_t> came(sent.size());
    asio::write(pair.client, asio::buffer(sent));
    asio::read(pair.target, asio::buffer(came));
    pair.proxy.cut();
    asio::error_code error;
    pair.client.read_some(asio::buffer(came), error);
    EXPECT_TRUE(error);
    tcp::socket again(pair.io);
    again.connect({asio::ip::address_v4::loopback(), pair.proxy.port()}, error);
    EXPECT_FALSE(error);
}

}  // namespace
