// A pseudo terminal, which stands in for a serial line.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <string>

#include "tests/oskel/peers.h"

namespace peers {

// Both ends of a pseudo terminal: the peer's, and the name under which the port opens the other.
class Terminal {
public:
    Terminal() {
        int other = -1;
        char path[128] = {};
        EXPECT_EQ(::openpty(&m_peer, &other, path, nullptr, nullptr), 0);
        m_name = path;
        // Before the port opens its end nothing may be echoed, as on a real line.
        termios raw{};
        ::tcgetattr(other, &raw);
        ::cfmakeraw(&raw);
        ::tcsetattr(other, TCSANOW, &raw);
        ::close(other);
    }
    ~Terminal() { unplug(); }

    const char* name() const { return m_name.c_str(); }
    int peer() const { return m_peer; }
    void unplug() {
        if (m_peer >= 0) {
            ::close(m_peer);
        }
        m_peer = -1;
    }
    void write(const Bytes& data) {
        std::size_t done = 0;
        while (done < data.size()) {
            const auto count = ::write(m_peer, data.data() + done, data.size() - done);
            ASSERT_GT(count, 0);
            done += static_cast<std::size_t>(count);
        }
    }
    Bytes read(std::size_t size) {
        Bytes all;
        const auto until = std::chrono::steady_clock::now() + deadline;
        while (all.size() < size && std::chrono::steady_clock::now() < until) {
            pollfd ready{m_peer, POLLIN, 0};
            if (::poll(&ready, 1, 100) <= 0 || (ready.revents & POLLIN) == 0) {
                continue;
            }
            std::uint8_t chunk[4096];
            const auto count = ::read(m_peer, chunk, sizeof chunk);
            if (count > 0) {
                all.insert(all.end(), chunk, chunk + count);
            }
        }
        return all;
    }
    termios settings() const {
        termios now{};
        const int fd = ::open(name(), O_RDWR | O_NOCTTY | O_NONBLOCK);
        EXPECT_GE(fd, 0);
        EXPECT_EQ(::tcgetattr(fd, &now), 0);
        ::close(fd);
        return now;
    }

private:
    int m_peer = -1;
    std::string m_name;
};

}  // namespace peers
