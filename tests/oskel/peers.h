// The far ends of ports under test, and what collects their bytes.
#pragma once

#include <asio/buffer.hpp>
#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/ip/udp.hpp>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

#include "oskel/oskel.h"

namespace peers {

using Bytes = std::vector<std::uint8_t>;

// For whatever has to happen; never waited out when all is well.
constexpr std::chrono::seconds deadline{10};
// Five times the second in which a port must be closed.
constexpr std::chrono::seconds close_deadline{5};

inline Bytes bytes(const std::string& text) { return {text.begin(), text.end()}; }

inline Bytes countingBytes(std::size_t size) {
    Bytes run(size);
    std::iota(run.begin(), run.end(), std::uint8_t{0});
    return run;
}

inline int push(const std::string& text, int handle) {
    return oskel::push_bytes(text.data(), static_cast<int>(text.size()), handle);
}

// Collects what a port's callback is given. The callback shares the content, so one that is left behind is
// safe.
class Inbox {
public:
    oskel::ReceiveCallback callback() {
        return [content = m_content](const std::uint8_t* data, std::int32_t length, std::int32_t context) {
            std::lock_guard lock(content->mutex);
            content->runs.emplace_back(data, data + length);
            content->all.insert(content->all.end(), data, data + length);
            content->contextsAreZero = content->contextsAreZero && context == 0;
            content->changed.notify_all();
        };
    }

    // Waits for a number of bytes and returns what is there then.
    Bytes waitFor(std::size_t size) {
        std::unique_lock lock(m_content->mutex);
        m_content->changed.wait_for(lock, deadline, [&] { return m_content->all.size() >= size; });
        return m_content->all;
    }
    std::vector<Bytes> runs() {
        std::lock_guard lock(m_content->mutex);
        return m_content->runs;
    }
    bool contextsAreZero() {
        std::lock_guard lock(m_content->mutex);
        return m_content->contextsAreZero;
    }

private:
    struct Content {
        std::mutex mutex;
        std::condition_variable changed;
        std::vector<Bytes> runs;
        Bytes all;
        bool contextsAreZero = true;
    };
    std::shared_ptr<Content> m_content = std::make_shared<Content>();
};

// Something that happens once, on any thread.
class Signal {
public:
    void set() {
        std::lock_guard lock(m_mutex);
        m_isSet = true;
        m_changed.notify_all();
    }
    bool wait(std::chrono::seconds limit = deadline) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, limit, [this] { return m_isSet; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isSet = false;
};

template <typename Condition>
bool waitUntil(Condition condition) {
    const auto until = std::chrono::steady_clock::now() + deadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > until) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// A UDP socket of the test.
class UdpPeer {
public:
    explicit UdpPeer(const char* ip = "127.0.0.1", int port = 0)
        : m_socket(m_io, {asio::ip::make_address(ip), static_cast<std::uint16_t>(port)}) {}

    int port() const { return m_socket.local_endpoint().port(); }
    asio::ip::udp::socket& socket() { return m_socket; }
    const asio::ip::udp::endpoint& sender() const { return m_sender; }

    void send(const Bytes& data, const std::string& ip, int port) {
        asio::error_code a_full_buffer_loses;
        m_socket.send_to(asio::buffer(data), {asio::ip::make_address(ip), static_cast<std::uint16_t>(port)},
                         0, a_full_buffer_loses);
    }

    // The next datagram; empty after the deadline.
    Bytes receive() {
        Bytes data(65536);
        std::size_t size = 0;
        m_socket.async_receive_from(
            asio::buffer(data), m_sender,
            [&](const asio::error_code& error, std::size_t n) { size = error ? 0 : n; });
        m_io.restart();
        m_io.run_for(deadline);
        if (!m_io.stopped()) {
            m_socket.cancel();
            m_io.run();
        }
        data.resize(size);
        return data;
    }

private:
    asio::io_context m_io;
    asio::ip::udp::socket m_socket;
    asio::ip::udp::endpoint m_sender;
};

// A port number that was free a moment ago.
inline int freeUdpPort(const char* ip = "127.0.0.1") { return UdpPeer(ip).port(); }

// A TCP listener of the test with the one connection it takes.
class TcpPeer {
public:
    explicit TcpPeer(const char* ip = "127.0.0.1")
        : m_acceptor(m_io, {asio::ip::make_address(ip), 0}), m_socket(m_io) {}

    int port() const { return m_acceptor.local_endpoint().port(); }
    // The connection is in the system's queue as soon as the port's dial has returned.
    void accept() { m_acceptor.accept(m_socket); }
    asio::ip::tcp::socket& socket() { return m_socket; }

    // Reads until `size` bytes are there, the stream ends or the deadline passes.
    Bytes receive(std::size_t size) {
        Bytes all;
        Bytes chunk(65536);
        const auto until = std::chrono::steady_clock::now() + deadline;
        bool open = true;
        while (open && all.size() < size && std::chrono::steady_clock::now() < until) {
            std::size_t came = 0;
            m_socket.async_read_some(asio::buffer(chunk), [&](const asio::error_code& error, std::size_t n) {
                open = !error;
                came = n;
            });
            m_io.restart();
            m_io.run_until(until);
            if (!m_io.stopped()) {
                m_socket.cancel();
                m_io.run();
            }
            all.insert(all.end(), chunk.begin(), chunk.begin() + static_cast<std::ptrdiff_t>(came));
        }
        return all;
    }

private:
    asio::io_context m_io;
    asio::ip::tcp::acceptor m_acceptor;
    asio::ip::tcp::socket m_socket;
};

}  // namespace peers
