// What ports take from the system and give back.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/resource.h>
#include <unistd.h>

#include <asio/write.hpp>
#include <filesystem>
#include <fstream>

#include "oskel/oskel.h"
#include "tests/oskel/peers.h"

namespace {

using namespace peers;
namespace fs = std::filesystem;

std::ptrdiff_t entries(const char* folder) {
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

std::ptrdiff_t openDescriptors() { return entries("/proc/self/fd"); }

// Threads of this process whose name begins so.
int threadsNamed(const std::string& prefix) {
    int count = 0;
    std::error_code gone_meanwhile;
    for (const auto& task : fs::directory_iterator("/proc/self/task")) {
        std::string name;
        std::getline(std::ifstream(task.path() / "comm"), name);
        count += name.compare(0, prefix.size(), prefix) == 0;
    }
    return count;
}

// One of each kind, opened, used and closed.
void cycle(TcpPeer& listener, UdpPeer& peer, const char* terminal) {
    Inbox inbox;
    const int datagram = oskel::dialDatagram("127.0.0.1", peer.port(), "127.0.0.1", 0, inbox.callback());
    const int stream = oskel::dialStream("127.0.0.1", listener.port(), inbox.callback());
    const int serial = oskel::dialSerial(terminal, 115200, inbox.callback());
    ASSERT_GE(datagram, 1);
    ASSERT_GE(stream, 1);
    ASSERT_GE(serial, 1);
    listener.accept();
    for (const int handle : {datagram, stream, serial}) {
        ASSERT_EQ(push("x", handle), 1);
    }
    for (const int handle : {datagram, stream, serial}) {
        ASSERT_EQ(oskel::hang_up(handle), 0);
    }
    listener.socket().close();
}

class Resources : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(::openpty(&terminal_peer, &terminal, name, nullptr, nullptr), 0); }
    void TearDown() override {
        ::close(terminal);
        ::close(terminal_peer);
    }
    TcpPeer listener;
    UdpPeer peer;
    int terminal_peer = -1;
    int terminal = -1;
    char name[128] = {};
};

TEST_F(Resources, TwoHundredCyclesLeakNothing) {
    cycle(listener, peer, name);
    const auto descriptors = openDescriptors();
    const auto threads = entries("/proc/self/task");
    for (int i = 0; i < 200; ++i) {
        cycle(listener, peer, name);
    }
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_TRUE(waitUntil([&] { return entries("/proc/self/task") <= threads; }));
}

TEST_F(Resources, FailedOpensLeakNothing) {
    const int nobody = TcpPeer().port();
    const auto open_badly = [nobody] {
        EXPECT_EQ(oskel::dialDatagram("127.0.0.1", 9, "192.0.2.1", 0, {}), -1);
        EXPECT_EQ(oskel::dialStream("127.0.0.1", nobody, {}), 0);
        EXPECT_EQ(oskel::dialSerial("/dev/null", 9600, {}), -1);
        EXPECT_EQ(oskel::dialSerial("ptmx", 123456789, {}), -1);
    };
    open_badly();
    const auto descriptors = openDescriptors();
    const auto threads = entries("/proc/self/task");
    for (int i = 0; i < 50; ++i) {
        open_badly();
    }
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_TRUE(waitUntil([&] { return entries("/proc/self/task") <= threads; }));
}

TEST_F(Resources, OneThreadAPort) {
    ASSERT_TRUE(waitUntil([] { return threadsNamed("oskel-") == 0; }));
    const int datagram = oskel::dialDatagram("", 0, "127.0.0.1", 0, {});
    const int stream = oskel::dialStream("127.0.0.1", listener.port(), {});
    const int serial = oskel::dialSerial(name, 9600, {});
    EXPECT_TRUE(waitUntil([] {
        return threadsNamed("oskel-udp") == 1 && threadsNamed("oskel-tcp") == 1 &&
               threadsNamed("oskel-serial") == 1;
    }));
    for (const int handle : {datagram, stream, serial}) {
        oskel::hang_up(handle);
    }
    EXPECT_TRUE(waitUntil([] { return threadsNamed("oskel-") == 0; }));
}

// A port whose far end is gone has no thread left that could spin.
TEST_F(Resources, AnEndedPortHasNoThread) {
    ASSERT_TRUE(waitUntil([] { return threadsNamed("oskel-") == 0; }));
    const auto descriptors = openDescriptors();
    const int stream = oskel::dialStream("127.0.0.1", listener.port(), {});
    const int serial = oskel::dialSerial(name, 9600, {});
    ASSERT_GE(stream, 1);
    ASSERT_GE(serial, 1);
    listener.accept();
    listener.socket().close();
    ::close(terminal_peer);
    EXPECT_TRUE(waitUntil([&] { return push("x", stream) == -1 && push("x", serial) == -1; }));
    EXPECT_TRUE(waitUntil([] { return threadsNamed("oskel-") == 0; }));
    EXPECT_EQ(oskel::hang_up(stream), 0);
    EXPECT_EQ(oskel::hang_up(serial), 0);
    terminal_peer = -1;
    EXPECT_EQ(openDescriptors(), descriptors - 1);
}

TEST_F(Resources, ProgramsStartedMeanwhileGetNoPort) {
    const auto inherited = [] {
        int count = 0;
        for (int fd = 3; fd < 1024; ++fd) {
            const int flags = ::fcntl(fd, F_GETFD);
            count += flags >= 0 && (flags & FD_CLOEXEC) == 0;
        }
        return count;
    };
    const int before = inherited();
    const int datagram = oskel::dialDatagram("", 0, "127.0.0.1", 0, {});
    const int stream = oskel::dialStream("127.0.0.1", listener.port(), {});
    const int serial = oskel::dialSerial(name, 9600, {});
    EXPECT_EQ(inherited(), before);
    for (const int handle : {datagram, stream, serial}) {
        EXPECT_EQ(oskel::hang_up(handle), 0);
    }
}

#ifndef SORVANE_SANITIZED
// A sanitizer's check of types opens a pipe, and finds every object invalid when it gets none.
TEST_F(Resources, ASystemWithoutDescriptorsFailsTheOpen) {
    rlimit usual{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &usual), 0);
    // Every number of descriptors to spare that is not enough, then one that is.
    const auto first_free = static_cast<rlim_t>(::fcntl(0, F_DUPFD, 0));
    ::close(static_cast<int>(first_free));
    rlimit tight = usual;
    int opened = 0;
    for (rlim_t spare = 0; spare < 8 && opened == 0; ++spare) {
        tight.rlim_cur = first_free + spare;
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &tight), 0);
        const int datagram = oskel::dialDatagram("", 0, "127.0.0.1", 0, {});
        const int stream = oskel::dialStream("127.0.0.1", listener.port(), {});
        const int serial = oskel::dialSerial(name, 9600, {});
        if (spare < 3) {
            EXPECT_EQ(datagram, -1);
            EXPECT_EQ(stream, 0);
            EXPECT_EQ(serial, -1);
        }
        for (const int handle : {datagram, stream, serial}) {
            opened += oskel::hang_up(handle) == 0;
        }
    }
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &usual), 0);
    EXPECT_GT(opened, 0);
}
#endif

}  // namespace
