#include <algorithm>
#include <array>
#include <asio/buffer.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>
#include <asio/write.hpp>
#include <functional>
#include <list>
#include <vector>

#include "tests/fakes/chaos_proxy.h"
#include "tests/fakes/chaos_thread.h"

namespace chaos {
namespace {

using asio::ip::tcp;

tcp::endpoint loopback(std::uint16_t port) {
    return {asio::ip::address_v4::loopback(), port};
}

// What all connections of a direction have in common.
struct Lane {
    explicit Lane(std::uint64_t seed) : dice(seed), chunk_dice(seed + 1) {}
    Dice dice;        // for bytes
    Dice chunk_dice;  // apart, since how many chunks there are is up to the system
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
        const asio::socket_base::linger reset_on_close(true, 0);
        client.set_option(reset_on_close, unimportant);
        target.set_option(reset_on_close, unimportant);
        close();
    }
};

// Carries one direction of one connection; lives in its own handlers.
class Pump : public std::enable_shared_from_this<Pump> {
public:
    Pump(std::shared_ptr<Pair> pair, tcp::socket& from, tcp::socket& to, Lane& lane, Gate& gate)
        : pair_(std::move(pair)),
          from_(from),
          to_(to),
          lane_(lane),
          gate_(gate),
          timer_(from.get_executor()) {}

    void read() {
        if (gate_.stalled) {
            gate_.parked.push_back([self = shared_from_this()] { self->read(); });
            return;
        }
        from_.async_read_some(asio::buffer(buffer_),
                              [self = shared_from_this()](const asio::error_code& error, std::size_t size) {
                                  if (error) {
                                      self->pair_->close();
                                      return;
                                  }
                                  self->damage(size);
                                  self->begin_ = 0;
                                  self->end_ = size;
                                  self->wait_and_write();
                              });
    }

private:
    void damage(std::size_t size) {
        lane_.counts.arrived += size;
        for (std::size_t i = 0; i < size; ++i) {
            if (!lane_.dice.happens(lane_.faults.corruption)) continue;
            ++lane_.counts.corrupted;
            buffer_[i] ^= static_cast<std::uint8_t>(1u << lane_.dice.below(8));
        }
    }

    void wait_and_write() {
        if (lane_.faults.delay.count() == 0) {
            write();
            return;
        }
        timer_.expires_after(lane_.faults.delay);
        timer_.async_wait([self = shared_from_this()](const asio::error_code&) { self->write(); });
    }

    void write() {
        if (gate_.stalled) {
            gate_.parked.push_back([self = shared_from_this()] { self->write(); });
            return;
        }
        std::size_t size = end_ - begin_;
        if (lane_.faults.largest_chunk > 0)
            size = std::min(size, 1 + lane_.chunk_dice.below(lane_.faults.largest_chunk));
        asio::async_write(to_, asio::buffer(buffer_.data() + begin_, size),
                          [self = shared_from_this()](const asio::error_code& error, std::size_t written) {
                              if (error) {
                                  self->pair_->close();
                                  return;
                              }
                              self->begin_ += written;
                              if (self->begin_ < self->end_)
                                  self->write();
                              else
                                  self->read();
                          });
    }

    std::shared_ptr<Pair> pair_;
    tcp::socket& from_;
    tcp::socket& to_;
    Lane& lane_;
    Gate& gate_;
    asio::steady_timer timer_;
    std::array<std::uint8_t, 4096> buffer_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
};

}  // namespace

struct TcpProxy::Impl {
    Impl(std::uint16_t listen_port, std::uint16_t target_port, std::uint64_t seed)
        : target(loopback(target_port)),
          to_target(seed),
          to_client(~seed),
          acceptor(loop.io, loopback(listen_port)) {
        accept();
        loop.start();
    }
    ~Impl() { loop.stop(); }

    void accept() {
        auto pair = std::make_shared<Pair>(loop.io);
        acceptor.async_accept(pair->client, [this, pair](const asio::error_code& error) {
            if (error == asio::error::operation_aborted) return;
            if (!error) connect(pair);
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
            std::make_shared<Pump>(pair, pair->client, pair->target, to_target, gate)->read();
            std::make_shared<Pump>(pair, pair->target, pair->client, to_client, gate)->read();
        });
    }

    void set_stalled(bool stalled) {
        gate.stalled = stalled;
        if (stalled) return;
        std::vector<std::function<void()>> parked;
        parked.swap(gate.parked);
        for (const auto& go_on : parked)
            go_on();
    }

    void cut() {
        for (const auto& known : pairs) {
            if (const auto pair = known.lock()) pair->reset();
        }
        // What waits for the end of a stall would keep the dead connections.
        gate.parked.clear();
    }

    tcp::endpoint target;
    Lane to_target;
    Lane to_client;
    Loop loop;
    Gate gate;
    std::list<std::weak_ptr<Pair>> pairs;
    tcp::acceptor acceptor;
};

TcpProxy::TcpProxy(std::uint16_t listen_port, std::uint16_t target_port, std::uint64_t seed)
    : impl_(std::make_unique<Impl>(listen_port, target_port, seed)) {}

TcpProxy::~TcpProxy() = default;

std::uint16_t TcpProxy::port() const {
    return impl_->acceptor.local_endpoint().port();
}

void TcpProxy::set_faults(const Faults& to_target, const Faults& to_client) {
    impl_->loop.run([&] {
        impl_->to_target.faults = to_target;
        impl_->to_client.faults = to_client;
    });
}

void TcpProxy::stall(bool stalled) {
    impl_->loop.run([&] { impl_->set_stalled(stalled); });
}

void TcpProxy::cut() {
    impl_->loop.run([&] { impl_->cut(); });
}

Counts TcpProxy::to_target() const {
    Counts counts;
    impl_->loop.run([&] { counts = impl_->to_target.counts; });
    return counts;
}

Counts TcpProxy::to_client() const {
    Counts counts;
    impl_->loop.run([&] { counts = impl_->to_client.counts; });
    return counts;
}

}  // namespace chaos
