// What the tests of the built program share: sockets of a station, reports, the event log.
#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "tests/simulator/hex.h"
#include "tests/simulator/podsim_process.h"

namespace podsim {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Bytes = std::vector<std::uint8_t>;

// Centre the servo: a variable frame.
inline const Bytes kCentre = bytesOf("FB 2C AA 02 71 00 73");
// Servo rate to the right, 2000, fixed frame without a position.
inline const Bytes kRight = bytesOf(
    "FB 2C 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
    "00 00 00 "
    "70 D0 07 00 00 A7 F0");

inline int udpSocket() {
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&local), sizeof local), 0);
    return fd;
}

inline int portOf(int fd) {
    sockaddr_in local{};
    socklen_t size = sizeof local;
    getsockname(fd, reinterpret_cast<sockaddr*>(&local), &size);
    return ntohs(local.sin_port);
}

inline void connectTo(int fd, int port) {
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    to.sin_port = htons(static_cast<std::uint16_t>(port));
    ASSERT_EQ(connect(fd, reinterpret_cast<const sockaddr*>(&to), sizeof to), 0);
}

// One read of at most 64 KiB; empty when nothing comes in time.
inline Bytes readOnce(int fd, std::chrono::milliseconds patience) {
    pollfd ready{fd, POLLIN, 0};
    if (poll(&ready, 1, static_cast<int>(patience.count())) != 1) {
        return {};
    }
    Bytes buffer(65536);
    const ssize_t n = read(fd, buffer.data(), buffer.size());
    buffer.resize(n > 0 ? static_cast<std::size_t>(n) : 0);
    return buffer;
}

inline bool isReport(const Bytes& f) {
    if (f.size() != 64 || f[0] != 0xFC || f[1] != 0x2C || f[63] != 0xF0) {
        return false;
    }
    std::uint8_t x = 0;
    for (std::size_t i = 2; i < 62; ++i) {
        x = static_cast<std::uint8_t>(x ^ f[i]);
    }
    return x == f[62];
}

// Reads datagrams until one is a report that fulfils the condition.
template <typename Condition>
bool waitReport(int fd, Condition condition, std::chrono::seconds patience = 20s) {
    const auto deadline = Clock::now() + patience;
    while (Clock::now() < deadline) {
        const Bytes f = readOnce(fd, 1000ms);
        if (isReport(f) && condition(f.data() + 2)) {
            return true;
        }
    }
    return false;
}

struct Pod : PodsimProcess {
    explicit Pod(std::vector<std::string> arguments) : PodsimProcess(std::move(arguments)) {}
    // A socket that talks to the pod's UDP line.
    int talk() {
        const int fd = udpSocket();
        connectTo(fd, port("udp"));
        EXPECT_EQ(send(fd, kCentre.data(), kCentre.size(), 0), static_cast<ssize_t>(kCentre.size()));
        return fd;
    }
};

inline std::string tempPath(const char* name) { return testing::TempDir() + name + std::to_string(getpid()); }

inline std::vector<std::string> linesOf(const std::string& path) {
    std::ifstream file(path);
    std::vector<std::string> all;
    for (std::string line; std::getline(file, line);) {
        all.push_back(line);
    }
    return all;
}

inline bool contains(const std::vector<std::string>& lines, const std::string& text) {
    return std::any_of(lines.begin(), lines.end(),
                       [&](const std::string& line) { return line.find(text) != std::string::npos; });
}

}  // namespace podsim
