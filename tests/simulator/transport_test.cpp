#include "simulator/stream/transport.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>

namespace podsim {
namespace {

using Clock = std::chrono::steady_clock;
using Bytes = std::vector<std::uint8_t>;

sockaddr_in endpointOf(const Transport& transport) {
    sockaddr_in endpoint{};
    EXPECT_TRUE(parseEndpoint(transport.address(), endpoint));
    return endpoint;
}

int clientOf(const sockaddr_in& to, int type) {
    const int fd = socket(AF_INET, type, 0);
    EXPECT_EQ(connect(fd, reinterpret_cast<const sockaddr*>(&to), sizeof to), 0);
    return fd;
}

// Lets the transport work until `done` or five seconds have passed.
template <typename Done>
bool pump(Transport& transport, Bytes& received, Done done) {
    const auto deadline = Clock::now() + std::chrono::seconds(5);
    while (!done()) {
        if (Clock::now() > deadline) {
            return false;
        }
        std::vector<pollfd> fds;
        transport.appendPollFds(fds);
        if (poll(fds.data(), fds.size(), 10) <= 0) {
            continue;
        }
        for (const pollfd& fd : fds) {
            if (fd.revents == 0) {
                continue;
            }
            transport.onReady(fd, [&](const std::uint8_t* data, std::size_t n) {
                received.insert(received.end(), data, data + n);
            });
        }
    }
    return true;
}

Bytes readSome(int fd) {
    pollfd ready{fd, POLLIN, 0};
    Bytes buffer(65536);
    if (poll(&ready, 1, 5000) != 1) {
        return {};
    }
    const ssize_t n = read(fd, buffer.data(), buffer.size());
    buffer.resize(n > 0 ? static_cast<std::size_t>(n) : 0);
    return buffer;
}

const Bytes kHello = {1, 2, 3};
const Bytes kAnswer = {9, 8, 7, 6};

TEST(Endpoint, Texts) {
    sockaddr_in e{};
    EXPECT_TRUE(parseEndpoint("127.0.0.1:8000", e));
    EXPECT_EQ(endpointText(e), "127.0.0.1:8000");
    for (const char* bad :
         {"", "127.0.0.1", ":8000", "127.0.0.1:", "127.0.0.1:0", "127.0.0.1:65536", "host:80",
          "127.0.0.1:80x", "127.0.0.1:-1", "1.2.3:80", "127.0.0.1:999999999999"}) {
        EXPECT_FALSE(parseEndpoint(bad, e)) << bad;
    }
}

TEST(Udp, AnswersWhoeverSentLast) {
    std::string error;
    auto pod = makeUdpTransport("127.0.0.1", 0, "", error);
    ASSERT_TRUE(pod) << error;
    pod->send(kAnswer.data(), kAnswer.size());  // nobody there yet: dropped
    const int first = clientOf(endpointOf(*pod), SOCK_DGRAM);
    const int second = clientOf(endpointOf(*pod), SOCK_DGRAM);
    for (const int client : {first, second, first}) {
        Bytes received;
        ASSERT_EQ(send(client, kHello.data(), kHello.size(), 0), 3);
        ASSERT_TRUE(pump(*pod, received, [&] { return received.size() >= 3; }));
        EXPECT_EQ(received, kHello);
        pod->send(kAnswer.data(), kAnswer.size());
        EXPECT_EQ(readSome(client), kAnswer);
    }
    close(first);
    close(second);
}

TEST(Udp, FixedPeerHearsWithoutAsking) {
    std::string error;
    auto listener = makeUdpTransport("127.0.0.1", 0, "", error);
    ASSERT_TRUE(listener) << error;
    auto pod = makeUdpTransport("127.0.0.1", 0, listener->address(), error);
    ASSERT_TRUE(pod) << error;
    pod->send(kAnswer.data(), kAnswer.size());
    Bytes received;
    ASSERT_TRUE(pump(*listener, received, [&] { return received.size() >= 4; }));
    EXPECT_EQ(received, kAnswer);
}

TEST(Udp, UntilSomebodyIsHeardTheFirstPeersAre) {
    std::string error;
    auto one = makeUdpTransport("127.0.0.1", 0, "", error);
    auto two = makeUdpTransport("127.0.0.1", 0, "", error);
    ASSERT_TRUE(one && two) << error;
    auto pod = makeUdpTransport("127.0.0.1", 0, "", error, {endpointOf(*one), endpointOf(*two)});
    ASSERT_TRUE(pod) << error;
    pod->send(kAnswer.data(), kAnswer.size());
    for (Transport* listener : {one.get(), two.get()}) {
        Bytes received;
        ASSERT_TRUE(pump(*listener, received, [&] { return received.size() >= 4; }));
        EXPECT_EQ(received, kAnswer);
    }
    const int client = clientOf(endpointOf(*pod), SOCK_DGRAM);
    Bytes received;
    ASSERT_EQ(send(client, kHello.data(), kHello.size(), 0), 3);
    ASSERT_TRUE(pump(*pod, received, [&] { return received.size() >= 3; }));
    pod->send(kAnswer.data(), kAnswer.size());
    EXPECT_EQ(readSome(client), kAnswer);
    // What was sent to them would lie there by now.
    for (Transport* listener : {one.get(), two.get()}) {
        std::vector<pollfd> fds;
        listener->appendPollFds(fds);
        EXPECT_EQ(poll(fds.data(), fds.size(), 0), 0);
    }
    close(client);
}

// A station that binds any of them is reached from the loopback address.
TEST(Udp, ThePortOfThisMachineIsReachedAtEachOfItsAddresses) {
    const std::vector<sockaddr_in> own = portOfThisMachine(12001);
    std::string texts;
    for (const sockaddr_in& endpoint : own) {
        texts += endpointText(endpoint) + "\n";
    }
    EXPECT_NE(texts.find("127.0.0.1:12001\n"), std::string::npos) << texts;
    EXPECT_NE(texts.find("127.0.1.1:12001\n"), std::string::npos) << texts;
    for (sockaddr_in endpoint : own) {
        std::string error;
        endpoint.sin_port = 0;
        const std::string text = endpointText(endpoint);
        auto station = makeUdpTransport(text.substr(0, text.find(':')), 0, "", error);
        ASSERT_TRUE(station) << error;
        auto pod = makeUdpTransport("127.0.0.1", 0, "", error, {endpointOf(*station)});
        ASSERT_TRUE(pod) << error;
        pod->send(kAnswer.data(), kAnswer.size());
        Bytes received;
        EXPECT_TRUE(pump(*station, received, [&] { return received.size() >= 4; })) << text;
    }
}

TEST(Udp, NobodyAtThePeerIsNoTrouble) {
    std::string error;
    auto gone = makeUdpTransport("127.0.0.1", 0, "", error);
    ASSERT_TRUE(gone);
    const std::string address = gone->address();
    gone.reset();
    auto pod = makeUdpTransport("127.0.0.1", 0, address, error);
    ASSERT_TRUE(pod);
    for (int i = 0; i < 100; ++i) {
        pod->send(kAnswer.data(), kAnswer.size());
    }
    // The socket still receives.
    const int client = clientOf(endpointOf(*pod), SOCK_DGRAM);
    Bytes received;
    ASSERT_EQ(send(client, kHello.data(), kHello.size(), 0), 3);
    EXPECT_TRUE(pump(*pod, received, [&] { return received.size() >= 3; }));
    close(client);
}

TEST(Ports, InUseOrWrongIsAClearError) {
    std::string error;
    auto udp = makeUdpTransport("127.0.0.1", 0, "", error);
    auto tcp = makeTcpTransport("127.0.0.1", 0, error);
    ASSERT_TRUE(udp && tcp);
    EXPECT_FALSE(makeUdpTransport("127.0.0.1", ntohs(endpointOf(*udp).sin_port), "", error));
    EXPECT_NE(error.find("in use"), std::string::npos) << error;
    EXPECT_FALSE(makeTcpTransport("127.0.0.1", ntohs(endpointOf(*tcp).sin_port), error));
    EXPECT_NE(error.find("in use"), std::string::npos) << error;
    EXPECT_FALSE(makeUdpTransport("nowhere", 0, "", error));
    EXPECT_FALSE(makeUdpTransport("127.0.0.1", 0, "nobody", error));
    EXPECT_NE(error.find("nobody"), std::string::npos) << error;
}

TEST(Tcp, NewConnectionTakesThePlaceOfTheOld) {
    std::string error;
    auto pod = makeTcpTransport("127.0.0.1", 0, error);
    ASSERT_TRUE(pod) << error;
    Bytes received;
    const int first = clientOf(endpointOf(*pod), SOCK_STREAM);
    ASSERT_EQ(send(first, kHello.data(), kHello.size(), 0), 3);
    ASSERT_TRUE(pump(*pod, received, [&] { return received.size() >= 3; }));
    pod->send(kAnswer.data(), kAnswer.size());
    EXPECT_EQ(readSome(first), kAnswer);

    const int second = clientOf(endpointOf(*pod), SOCK_STREAM);
    ASSERT_EQ(send(second, kHello.data(), kHello.size(), 0), 3);
    ASSERT_TRUE(pump(*pod, received, [&] { return received.size() >= 6; }));
    pod->send(kAnswer.data(), kAnswer.size());
    EXPECT_EQ(readSome(second), kAnswer);
    EXPECT_TRUE(readSome(first).empty());  // its end
    pod->hangUp();
    EXPECT_TRUE(readSome(second).empty());
    close(first);
    close(second);
}

TEST(Tcp, StationThatStopsReadingHoldsNobody) {
    std::string error;
    auto pod = makeTcpTransport("127.0.0.1", 0, error);
    ASSERT_TRUE(pod) << error;
    const int client = clientOf(endpointOf(*pod), SOCK_STREAM);
    Bytes received;
    ASSERT_EQ(send(client, kHello.data(), kHello.size(), 0), 3);
    ASSERT_TRUE(pump(*pod, received, [&] { return received.size() >= 3; }));
    // Far more than sockets and queue hold, in whole frames of 64 bytes of one value.
    for (int i = 0; i < 400000; ++i) {
        const Bytes frame(64, static_cast<std::uint8_t>(i));
        pod->send(frame.data(), frame.size());
    }
    // What does arrive is whole frames.
    std::size_t total = 0;
    Bytes all;
    const auto deadline = Clock::now() + std::chrono::seconds(20);
    fcntl(client, F_SETFL, O_NONBLOCK);
    for (int quiet = 0; quiet < 20 && Clock::now() < deadline;) {
        Bytes none;
        bool once = false;
        pump(*pod, none, [&] { return std::exchange(once, true); });
        Bytes buffer(65536);
        const ssize_t n = read(client, buffer.data(), buffer.size());
        quiet = n > 0 ? 0 : quiet + 1;
        if (n > 0) {
            all.insert(all.end(), buffer.begin(), buffer.begin() + n);
        }
    }
    total = all.size();
    EXPECT_GT(total, 65536u);
    EXPECT_LT(total, 400000u * 64u);
    EXPECT_EQ(total % 64, 0u);
    for (std::size_t at = 0; at < total; at += 64) {
        ASSERT_EQ(all[at], all[at + 63]);
    }
    close(client);
}

std::string linkPath(const char* name) { return testing::TempDir() + name + std::to_string(getpid()); }

TEST(Pty, CarriesEveryByteValueBothWays) {
    std::string error;
    const std::string link = linkPath("pod-pty-");
    auto pod = makePtyTransport(link, error);
    ASSERT_TRUE(pod) << error;
    const int station = open(link.c_str(), O_RDWR | O_NOCTTY);
    ASSERT_GE(station, 0);
    Bytes all(256);
    for (std::size_t i = 0; i < 256; ++i) {
        all[i] = static_cast<std::uint8_t>(i);
    }
    ASSERT_EQ(write(station, all.data(), all.size()), 256);
    Bytes received;
    ASSERT_TRUE(pump(*pod, received, [&] { return received.size() >= 256; }));
    EXPECT_EQ(received, all);
    pod->send(all.data(), all.size());
    Bytes back;
    while (back.size() < 256) {
        const Bytes some = readSome(station);
        if (some.empty()) {
            break;
        }
        back.insert(back.end(), some.begin(), some.end());
    }
    EXPECT_EQ(back, all);
    close(station);
    // The station may come and go.
    const int again = open(link.c_str(), O_RDWR | O_NOCTTY);
    ASSERT_EQ(write(again, kHello.data(), kHello.size()), 3);
    received.clear();
    EXPECT_TRUE(pump(*pod, received, [&] { return received.size() >= 3; }));
    close(again);
    pod.reset();
    struct stat info {};
    EXPECT_NE(lstat(link.c_str(), &info), 0) << "the link stays behind";
}

TEST(Pty, OldReportsDoNotPileUp) {
    std::string error;
    const std::string link = linkPath("pod-pile-");
    auto pod = makePtyTransport(link, error);
    ASSERT_TRUE(pod) << error;
    // Opened, as the system does it to hold the line, and never read until the end.
    const int station = open(link.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    ASSERT_GE(station, 0);
    const auto unread = [&] {
        int n = 0;
        ioctl(station, FIONREAD, &n);
        return n;
    };
    const auto deadline = Clock::now() + std::chrono::seconds(20);
    int highest = 0;
    for (int i = 0; i < 200; ++i) {
        const Bytes frame(64, static_cast<std::uint8_t>(i));
        const int before = unread();
        pod->send(frame.data(), frame.size());
        // The system hands the bytes on when it likes; reports are much further apart than that.
        while (unread() == before && Clock::now() < deadline) {
            poll(nullptr, 0, 1);
        }
        highest = std::max(highest, unread());
    }
    EXPECT_LE(highest, 2048 + 64);
    EXPECT_GT(highest, 1024) << "what is recent is kept";
    Bytes all(65536);
    const ssize_t n = read(station, all.data(), all.size());
    ASSERT_GE(n, 64);
    EXPECT_EQ(all[static_cast<std::size_t>(n) - 1], 199) << "the newest is there";
    close(station);
}

TEST(Pty, LinkReplacesALinkAndNothingElse) {
    std::string error;
    const std::string link = linkPath("pod-link-");
    ASSERT_EQ(symlink("/nonexistent", link.c_str()), 0);
    EXPECT_TRUE(makePtyTransport(link, error)) << error;
    std::ofstream(link) << "precious";
    EXPECT_FALSE(makePtyTransport(link, error));
    EXPECT_NE(error.find(link), std::string::npos);
    std::string content;
    std::ifstream(link) >> content;
    EXPECT_EQ(content, "precious");
    unlink(link.c_str());
}

}  // namespace
}  // namespace podsim
