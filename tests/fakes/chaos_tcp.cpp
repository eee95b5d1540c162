#include <algorithm>
#include <array>
#include <asio/buffer.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>
#include <asio/write.hpp>
#include <functional>
#include <list>
#include <vector>

#include "tests/fakes/chaos_pace.h"
#include "tests/fakes/chaos_proxy.h"
#include "tests/fakes/chaos_thread.h"

namespace chaos {
namespace {

using asio::ip::tcp;

tcp::endpoint loopback(std::uint16_t port) { return {asio::ip::address_v4::loopback(), port}; }

// What all connections of a direction have in common.
struct Lane {
    explicit Lane(std::uint64_t seed) : dice(seed), chunk_dice(seed + 1) {}
    Dice dice;        // for bytes
    Dice chunk_dice;  // apart, since how many chunks there are is up to the system
    Pace pace;
    Faults faults;
    Counts counts;
};

struct Gate {
    bool stalled = false;
    std::vector<std::function<void()>> parked;  // what goes on when the stall is over
};

// A client's socket and the target's.
struct Pair {
    explicit Pair(asio::io_context& io) : client(io), target(io) {}
    tcp::socket client;
    tcp::socket target;

    void close() {
        asio::error_code unimportant;
        client.close(unimportant);
        target.close(unimportant);
    }
    void reset() {
        asio::error_code unimportant;
        const asio::socket_base::linger resetOnClose(true, 0);
        client.set_option(resetOnClose, unimportant);
        target.set_option(resetOnClose, unimportant);
        close();
    }
};

// Carries one direction of one connection; lives in its own handlers.
class Pump : public std::enable_shared_from_this<Pump> {
public:
    Pump(std::shared_ptr<Pair> pair, tcp::socket& from, tcp::socket& to, Lane& lane, Gate& gate)
        : m_pair(std::move(pair)),
          m_from(from),
          m_to(to),
          m_lane(lane),
          m_gate(gate),
          m_timer(from.get_executor()) {}

    void read() {
        if (m_gate.stalled) {
            m_gate.parked.push_back([self = shared_from_this()] { self->read(); });
            return;
        }
        m_from.async_read_some(asio::buffer(m_buffer),
                               [self = shared_from_this()](const asio::error_code& error, std::size_t size) {
                                   if (error) {
                                       self->m_pair->close();
                                       return;
                                   }
                                   self->damage(size);
                                   self->m_begin = 0;
                                   self->m_end = size;
                                   self->waitAndWrite();
                               });
    }

private:
    void damage(std::size_t size) {
        m_lane.counts.arrived += size;
        for (std::size_t i = 0; i < size; ++i) {
            if (!m_lane.dice.happens(m_lane.faults.corruption)) {
                continue;
            }
            ++m_lane.counts.corrupted;
            m_buffer[i] ^= static_cast<std::uint8_t>(1u << m_lane.dice.below(8));
        }
    }

    void waitAndWrite() {
        if (m_lane.faults.delay.count() == 0) {
            write();
            return;
        }
        m_timer.expires_after(m_lane.faults.delay);
        m_timer.async_wait([self = shared_from_this()](const asio::error_code&) { self->write(); });
    }

    void write() {
        if (m_gate.stalled) {
            m_gate.parked.push_back([self = shared_from_this()] { self->write(); });
            return;
        }
        if (m_lane.pace.free() > Pace::Clock::now()) {
            m_timer.expires_at(m_lane.pace.free());
            m_timer.async_wait([self = shared_from_this()](const asio::error_code&) { self->write(); });
            return;
        }
        std::size_t size = m_end - m_begin;
        if (const std::size_t until = m_lane.pace.bytesUntilPause()) {
            size = std::min(size, until);
        }
        if (m_lane.faults.largest_chunk > 0) {
            size = std::min(size, 1 + m_lane.chunk_dice.below(m_lane.faults.largest_chunk));
        }
        m_lane.pace.pass(size, m_lane.faults.rate);
        m_lane.counts.pauses = m_lane.pace.begun;
        asio::async_write(m_to, asio::buffer(m_buffer.data() + m_begin, size),
                          [self = shared_from_this()](const asio::error_code& error, std::size_t written) {
                              if (error) {
                                  self->m_pair->close();
                                  return;
                              }
                              self->m_begin += written;
                              if (self->m_begin < self->m_end) {
                                  self->write();
                              } else {
                                  self->read();
                              }
                          });
    }

    std::shared_ptr<Pair> m_pair;
    tcp::socket& m_from;
    tcp::socket& m_to;
    Lane& m_lane;
    Gate& m_gate;
    asio::steady_timer m_timer;
    std::array<std::uint8_t, 4096> m_buffer;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
};

}  // namespace

struct TcpProxy::Impl {
    Impl(std::uint16_t listen_port, std::uint16_t target_port, std::uint64_t seed)
        : target(loopback(target_port)),
          toTarget(seed),
          toClient(~seed),
          acceptor(loop.io, loopback(listen_port)) {
        accept();
        loop.start();
    }
    ~Impl() { loop.stop(); }

    void accept() {
        auto pair = std::make_shared<Pair>(loop.io);
        acceptor.async_accept(pair->client, [this, pair](const asio::error_code& error) {
            if (error == asio::error::operation_aborted) {
                return;
            }
            if (!error) {
                connect(pair);
            }
            accept();
        });
    }

    void connect(const std::shared_ptr<Pair>& pair) {
        pairs.remove_if([](const std::weak_ptr<Pair>& known) { return known.expired(); });
        pairs.push_back(pair);
        pair->target.async_connect(target, [this, pair](const asio::error_code& error) {
            if (error) {
                pair->close();
                return;
            }
            asio::error_code unimportant;
            pair->client.set_option(tcp::no_delay(true), unimportant);
            pair->target.set_option(tcp::no_delay(true), unimportant);
            std::make_shared<Pump>(pair, pair->client, pair->target, toTarget, gate)->read();
            std::make_shared<Pump>(pair, pair->target, pair->client, toClient, gate)->read();
        });
    }

    void setStalled(bool stalled) {
        gate.stalled = stalled;
        if (stalled) {
            return;
        }
        std::vector<std::function<void()>> parked;
        parked.swap(gate.parked);
        for (const auto& go_on : parked) {
            go_on();
        }
    }

    void cut() {
        for (const auto& known : pairs) {
            if (const auto pair = known.lock()) {
                pair->reset();
            }
        }
        // What waits for the end of a stall would keep the dead connections.
        gate.parked.clear();
    }

    tcp::endpoint target;
    Lane toTarget;
    Lane toClient;
    Loop loop;
    Gate gate;
    std::list<std::weak_ptr<Pair>> pairs;
    tcp::acceptor acceptor;
};

TcpProxy::TcpProxy(std::uint16_t listen_port, std::uint16_t target_port, std::uint64_t seed)
    : m_impl(std::make_unique<Impl>(listen_port, target_port, seed)) {}

TcpProxy::~TcpProxy() = default;

std::uint16_t TcpProxy::port() const { return m_impl->acceptor.local_endpoint().port(); }

void TcpProxy::setFaults(const Faults& toTarget, const Faults& toClient) {
    m_impl->loop.run([&] {
        m_impl->toTarget.faults = toTarget;
        m_impl->toClient.faults = toClient;
    });
}

void TcpProxy::setPauses(std::vector<Pause> toTarget, std::vector<Pause> toClient) {
    m_impl->loop.run([&] {
        m_impl->toTarget.pace.setPauses(std::move(toTarget));
        m_impl->toClient.pace.setPauses(std::move(toClient));
    });
}

void TcpProxy::stall(bool stalled) {
    m_impl->loop.run([&] { m_impl->setStalled(stalled); });
}

void TcpProxy::cut() {
    m_impl->loop.run([&] { m_impl->cut(); });
}

Counts TcpProxy::toTarget() const {
    Counts counts;
    m_impl->loop.run([&] { counts = m_impl->toTarget.counts; });
    return counts;
}

Counts TcpProxy::toClient() const {
    Counts counts;
    m_impl->loop.run([&] { counts = m_impl->toClient.counts; });
    return counts;
}

}  // namespace chaos
