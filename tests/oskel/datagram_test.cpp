#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <asio/ip/multicast.hpp>
#include <atomic>
#include <set>

#include "oskel/oskel.h"
#include "tests/fakes/chaos_proxy.h"
#include "tests/oskel/peers.h"

namespace {

using namespace peers;
using oskel::SendTrouble;
using testing::ElementsAre;

// Before every other test of this program, whatever their order.
class FirstHandle : public testing::Environment {
    void SetUp() override {
        const int handle = oskel::dialDatagram("", 0, "", 0, {});
        EXPECT_EQ(handle, 1);
        EXPECT_EQ(oskel::hang_up(handle), 0);
    }
};
const auto* const first_handle = testing::AddGlobalTestEnvironment(new FirstHandle);

std::vector<std::string> loopbacks() {
    std::vector<std::string> found{"127.0.0.1"};
    asio::io_context io;
    asio::ip::udp::socket probe(io, asio::ip::udp::v4());
    asio::ip::udp::socket probeV6(io);
    asio::error_code error;
    probeV6.open(asio::ip::udp::v6(), error);
    if (!error) {
        probeV6.bind({asio::ip::address_v6::loopback(), 0}, error);
    }
    if (!error) {
        found.push_back("::1");
    }
    return found;
}

class Loopback : public testing::TestWithParam<std::string> {};
INSTANTIATE_TEST_SUITE_P(Datagram, Loopback, testing::ValuesIn(loopbacks()));

TEST_P(Loopback, SendsAndReceives) {
    const char* ip = GetParam().c_str();
    UdpPeer peer(ip);
    const int local = freeUdpPort(ip);
    Inbox inbox;
    const int handle = oskel::dialDatagram(ip, peer.port(), ip, local, inbox.callback());
    ASSERT_GE(handle, 1);
    EXPECT_EQ(push("command", handle), 7);
    EXPECT_EQ(peer.receive(), bytes("command"));
    EXPECT_EQ(peer.sender().port(), local);
    peer.send(bytes("report"), ip, local);
    EXPECT_EQ(inbox.waitFor(6), bytes("report"));
    EXPECT_TRUE(inbox.contextsAreZero());
    EXPECT_EQ(oskel::hang_up(handle), 0);
}

TEST(Datagram, EachDatagramIsARunOfItsOwn) {
    UdpPeer peer;
    const int local = freeUdpPort();
    Inbox inbox;
    const int handle = oskel::dialDatagram("127.0.0.1", peer.port(), "", local, inbox.callback());
    ASSERT_GE(handle, 1);
    peer.send(bytes("one"), "127.0.0.1", local);
    peer.send({}, "127.0.0.1", local);
    peer.send(bytes("two"), "127.0.0.1", local);
    const auto largest = countingBytes(60000);
    peer.send(largest, "127.0.0.1", local);
    inbox.waitFor(6 + largest.size());
    EXPECT_THAT(inbox.runs(), ElementsAre(bytes("one"), bytes("two"), largest));
    oskel::hang_up(handle);
}

#ifndef _WIN32
// Wine, on which the Windows build is tested, has a single loopback address: there every stranger is the
// remote.
TEST(Datagram, TakesFromTheRemoteAddressAloneButFromAnyOfItsPorts) {
    UdpPeer remote;
    UdpPeer same_address;
    UdpPeer stranger("127.0.0.2");
    const int local = freeUdpPort();
    Inbox inbox;
    const int handle = oskel::dialDatagram("127.0.0.1", remote.port(), "127.0.0.1", local, inbox.callback());
    ASSERT_GE(handle, 1);
    stranger.send(bytes("strange"), "127.0.0.1", local);
    same_address.send(bytes("other port"), "127.0.0.1", local);
    stranger.send(bytes("strange"), "127.0.0.1", local);
    remote.send(bytes("remote"), "127.0.0.1", local);
    inbox.waitFor(16);
    EXPECT_THAT(inbox.runs(), ElementsAre(bytes("other port"), bytes("remote")));
    oskel::hang_up(handle);
}

#endif

TEST(Datagram, WithoutARemoteItOnlyReceivesFromAnybody) {
    UdpPeer one;
    UdpPeer two("127.0.0.2");
    const int local = freeUdpPort();
    Inbox inbox;
    const int handle = oskel::dialDatagram("", 0, "", local, inbox.callback());
    ASSERT_GE(handle, 1);
    one.send(bytes("one"), "127.0.0.1", local);
    inbox.waitFor(3);
    two.send(bytes("two"), "127.0.0.1", local);
    inbox.waitFor(6);
    EXPECT_THAT(inbox.runs(), ElementsAre(bytes("one"), bytes("two")));
    EXPECT_EQ(push("nobody listens", handle), 0);
    oskel::hang_up(handle);
}

TEST(Datagram, RemotePortZeroTakesFromAnybody) {
    UdpPeer stranger("127.0.0.2");
    const int local = freeUdpPort();
    Inbox inbox;
    const int handle = oskel::dialDatagram("127.0.0.1", 0, "", local, inbox.callback());
    ASSERT_GE(handle, 1);
    stranger.send(bytes("strange"), "127.0.0.1", local);
    EXPECT_EQ(inbox.waitFor(7), bytes("strange"));
    EXPECT_EQ(push("nobody listens", handle), 0);
    oskel::hang_up(handle);
}

TEST(Datagram, JoinsAGroup) {
    const std::string group = "239.255.77.77";
    const int port = freeUdpPort();
    Inbox inbox;
    const int handle = oskel::dialDatagram(group.c_str(), port, "127.0.0.1", port, inbox.callback());
    ASSERT_GE(handle, 1);
    UdpPeer sender("127.0.0.1");
    sender.socket().set_option(asio::ip::multicast::outbound_interface(asio::ip::address_v4::loopback()));
    sender.send(bytes("to all"), group, port);
    EXPECT_EQ(inbox.waitFor(6), bytes("to all"));
    // What the port sends goes to the group, so it comes back as well.
    EXPECT_EQ(push("from here", handle), 9);
    EXPECT_EQ(inbox.waitFor(15), bytes("to allfrom here"));
    oskel::hang_up(handle);
}

TEST(Datagram, ReceptionSurvivesARefusal) {
    const int nobody = freeUdpPort();
    const int local = freeUdpPort();
    Inbox inbox;
    const int handle = oskel::dialDatagram("127.0.0.1", nobody, "127.0.0.1", local, inbox.callback());
    ASSERT_GE(handle, 1);
    for (int i = 0; i < 50; ++i) {
        push("knock", handle);
    }
    UdpPeer late("127.0.0.1", nobody);
    late.send(bytes("here now"), "127.0.0.1", local);
    EXPECT_EQ(inbox.waitFor(8), bytes("here now"));
    EXPECT_EQ(push("good", handle), 4);
    EXPECT_EQ(late.receive(), bytes("good"));
    oskel::hang_up(handle);
}

TEST(Datagram, WhatTheSystemDoesNotTakeIsDropped) {
    UdpPeer peer;
    const int handle = oskel::dialDatagram("127.0.0.1", peer.port(), "127.0.0.1", 0, {});
    ASSERT_GE(handle, 1);
    const Bytes tooLong(70000);
    EXPECT_EQ(oskel::push_bytes(tooLong.data(), static_cast<int>(tooLong.size()), handle), 0);
    EXPECT_EQ(push("fits", handle), 4);
    EXPECT_EQ(peer.receive(), bytes("fits"));
    oskel::hang_up(handle);
}

TEST(Datagram, LocalPortIsTakenOnceAndFreeAfterTheClose) {
    const int local = freeUdpPort();
    const int first = oskel::dialDatagram("", 0, "127.0.0.1", local, {});
    ASSERT_GE(first, 1);
    EXPECT_EQ(oskel::dialDatagram("", 0, "127.0.0.1", local, {}), -1);
    EXPECT_EQ(oskel::hang_up(first), 0);
    const int again = oskel::dialDatagram("", 0, "127.0.0.1", local, {});
    EXPECT_GT(again, first);
    oskel::hang_up(again);
}

TEST(Datagram, CallbackMayPush) {
    UdpPeer peer;
    const int local = freeUdpPort();
    std::atomic<int> handle{0};
    Signal known;
    handle = oskel::dialDatagram("127.0.0.1", peer.port(), "127.0.0.1", local,
                                 [&](const std::uint8_t* data, std::int32_t length, std::int32_t) {
                                     known.wait();
                                     oskel::push_bytes(data, length, handle);
                                 });
    ASSERT_GE(handle, 1);
    known.set();
    peer.send(bytes("echo"), "127.0.0.1", local);
    EXPECT_EQ(peer.receive(), bytes("echo"));
    oskel::hang_up(handle);
}

TEST(Datagram, LossAndRepetitionOnTheWayShowAsTheyAre) {
    UdpPeer pod;
    chaos::UdpProxy network(0, static_cast<std::uint16_t>(pod.port()), 21);
    chaos::Faults bad;
    bad.loss = 0.3;
    bad.duplication = 0.2;
    network.setFaults({}, bad);
    const int local = freeUdpPort();
    network.setClient(static_cast<std::uint16_t>(local));
    Inbox inbox;
    const int handle = oskel::dialDatagram("127.0.0.1", network.port(), "127.0.0.1", local, inbox.callback());
    ASSERT_GE(handle, 1);
    for (int i = 0; i < 100; ++i) {
        pod.send({static_cast<std::uint8_t>(i)}, "127.0.0.1", network.targetSide());
    }
    ASSERT_TRUE(waitUntil([&] { return network.toClient().arrived == 100; }));
    const auto counts = network.toClient();
    const std::size_t expected = 100 - counts.lost + counts.duplicated;
    const auto all = inbox.waitFor(expected);
    EXPECT_EQ(all.size(), expected);
    EXPECT_TRUE(std::is_sorted(all.begin(), all.end()));
    const std::set<std::uint8_t> distinct(all.begin(), all.end());
    EXPECT_EQ(distinct.size(), 100 - counts.lost);
    EXPECT_GT(counts.lost, 0u);
    EXPECT_GT(counts.duplicated, 0u);
    oskel::hang_up(handle);
}

#ifndef _WIN32
// Wine, on which the Windows build is tested, tells nothing of a refusal.
TEST(Datagram, ARefusalIsATroubleThatStandsAndCostsNoDatagram) {
    const int nobody = freeUdpPort();
    const int handle = oskel::dialDatagram("127.0.0.1", nobody, "127.0.0.1", 0, {});
    ASSERT_GE(handle, 1);
    EXPECT_EQ(oskel::send_trouble(handle), SendTrouble::kNone);
    EXPECT_EQ(oskel::line_busy_ms(handle), 0);
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(3);
    bool all_taken = true;
    bool stands = true;
    EXPECT_TRUE(waitUntil([&] {
        all_taken = all_taken && push("knock", handle) == 5;
        stands = stands && oskel::send_trouble(handle) == SendTrouble::kRefused;
        return !all_taken || !stands || std::chrono::steady_clock::now() > until;
    }));
    EXPECT_TRUE(all_taken);
    EXPECT_TRUE(stands);
    UdpPeer late("127.0.0.1", nobody);
    EXPECT_EQ(push("the first", handle), 9);
    EXPECT_EQ(late.receive(), bytes("the first"));
    EXPECT_TRUE(waitUntil([&] {
        push("good", handle);
        return oskel::send_trouble(handle) == SendTrouble::kNone;
    }));
    oskel::hang_up(handle);
    EXPECT_EQ(oskel::send_trouble(handle), SendTrouble::kNone);
}

TEST(Datagram, RefusalsOfARowOfDatagramsCostNone) {
    const int nobody = freeUdpPort();
    const int handle = oskel::dialDatagram("127.0.0.1", nobody, "127.0.0.1", 0, {});
    ASSERT_GE(handle, 1);
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(push("knock", handle), 5) << i;
    }
    oskel::hang_up(handle);
}

TEST(Datagram, BytesFromThePeerEndItsTrouble) {
    const int nobody = freeUdpPort();
    const int local = freeUdpPort();
    const int handle = oskel::dialDatagram("127.0.0.1", nobody, "127.0.0.1", local, {});
    ASSERT_GE(handle, 1);
    push("knock", handle);
    ASSERT_TRUE(waitUntil([&] { return oskel::send_trouble(handle) == SendTrouble::kRefused; }));
    UdpPeer late("127.0.0.1", nobody);
    EXPECT_TRUE(waitUntil([&] {
        late.send(bytes("here"), "127.0.0.1", local);
        return oskel::send_trouble(handle) == SendTrouble::kNone;
    }));
    oskel::hang_up(handle);
}
#endif

TEST(Datagram, ATooLongDatagramIsATrouble) {
    UdpPeer peer;
    const int handle = oskel::dialDatagram("127.0.0.1", peer.port(), "127.0.0.1", 0, {});
    ASSERT_GE(handle, 1);
    const Bytes tooLong(70000);
    EXPECT_EQ(oskel::push_bytes(tooLong.data(), static_cast<int>(tooLong.size()), handle), 0);
    EXPECT_EQ(oskel::send_trouble(handle), SendTrouble::kOther);
    oskel::hang_up(handle);
}

}  // namespace
