#include <array>
#include <asio/buffer.hpp>
#include <asio/ip/udp.hpp>
#include <asio/steady_timer.hpp>
#include <functional>
#include <optional>
#include <vector>

#include "tests/fakes/chaos_proxy.h"
#include "tests/fakes/chaos_thread.h"

namespace chaos {
namespace {

using asio::ip::udp;
using Datagram = std::vector<std::uint8_t>;

constexpr std::chrono::milliseconds longest_hold{50};

udp::endpoint loopback(std::uint16_t port) {
    return {asio::ip::address_v4::loopback(), port};
}

// What happens to datagrams on their way in one direction.
class Lane {
public:
    Lane(asio::io_context& io, std::uint64_t seed, std::function<void(const Datagram&)> out)
        : io_(io), dice_(seed), out_(std::move(out)), release_(io) {}

    void take(Datagram datagram) {
        ++counts.arrived;
        const Fate fate = dice_.next(faults, datagram.size());
        if (stalled || fate.lost) {
            ++counts.lost;
            return;
        }
        if (fate.flipped_bit >= 0) {
            ++counts.corrupted;
            datagram[static_cast<std::size_t>(fate.flipped_bit) / 8] ^=
                static_cast<std::uint8_t>(1u << (fate.flipped_bit % 8));
        }
        if (fate.held_back && !held_) {
            hold(std::move(datagram));
            return;
        }
        pass(datagram);
        if (fate.duplicated) {
            ++counts.duplicated;
            pass(datagram);
        }
        if (held_) ++counts.reordered;
        release_held();
    }

    Faults faults;
    Counts counts;
    bool stalled = false;

private:
    void hold(Datagram datagram) {
        held_ = std::move(datagram);
        release_.expires_after(longest_hold);
        release_.async_wait([this](const asio::error_code& error) {
            if (!error) release_held();
        });
    }

    void release_held() {
        if (!held_) return;
        release_.cancel();
        pass(*held_);
        held_.reset();
    }

    void pass(const Datagram& datagram) {
        if (faults.delay.count() == 0) {
            out_(datagram);
            return;
        }
        auto timer = std::make_shared<asio::steady_timer>(io_, faults.delay);
        timer->async_wait([this, timer, datagram](const asio::error_code& error) {
            if (!error) out_(datagram);
        });
    }

    asio::io_context& io_;
    Dice dice_;
    std::function<void(const Datagram&)> out_;
    asio::steady_timer release_;
    std::optional<Datagram> held_;
};

}  // namespace

struct UdpProxy::Impl {
    Impl(std::uint16_t listen_port, std::uint16_t target_port, std::uint64_t seed)
        : target(loopback(target_port)),
          front(loop.io, loopback(listen_port)),
          back(loop.io, loopback(0)),
          to_target(loop.io, seed, [this](const Datagram& data) { send(back, target, data); }),
          to_client(loop.io, ~seed, [this](const Datagram& data) { send(front, client, data); }) {
        for (auto* socket : {&front, &back})
            socket->set_option(asio::socket_base::receive_buffer_size(1 << 20));
        listen_front();
        listen_back();
        loop.start();
    }
    ~Impl() { loop.stop(); }

    static void send(udp::socket& socket, const udp::endpoint& to, const Datagram& data) {
        asio::error_code lost_like_any_other;
        if (to.port() != 0) socket.send_to(asio::buffer(data), to, 0, lost_like_any_other);
    }

    void listen_front() {
        front.async_receive_from(asio::buffer(front_buffer), front_sender,
                                 [this](const asio::error_code& error, std::size_t size) {
                                     if (error == asio::error::operation_aborted) return;
                                     if (!error) {
                                         client = front_sender;
                                         to_target.take({front_buffer.begin(), front_buffer.begin() + size});
                                     }
                                     listen_front();
                                 });
    }

    void listen_back() {
        back.async_receive_from(asio::buffer(back_buffer), back_sender,
                                [this](const asio::error_code& error, std::size_t size) {
                                    if (error == asio::error::operation_aborted) return;
                                    if (!error)
                                        to_client.take({back_buffer.begin(), back_buffer.begin() + size});
                                    listen_back();
                                });
    }

    std::array<std::uint8_t, 65536> front_buffer;
    std::array<std::uint8_t, 65536> back_buffer;
    udp::endpoint front_sender;
    udp::endpoint back_sender;
    udp::endpoint target;
    udp::endpoint client;
    Loop loop;
    udp::socket front;
    udp::socket back;
    Lane to_target;
    Lane to_client;
};

UdpProxy::UdpProxy(std::uint16_t listen_port, std::uint16_t target_port, std::uint64_t seed)
    : impl_(std::make_unique<Impl>(listen_port, target_port, seed)) {}

UdpProxy::~UdpProxy() = default;

std::uint16_t UdpProxy::port() const {
    return impl_->front.local_endpoint().port();
}

std::uint16_t UdpProxy::target_side() const {
    return impl_->back.local_endpoint().port();
}

void UdpProxy::set_client(std::uint16_t client_port) {
    impl_->loop.run([&] { impl_->client = loopback(client_port); });
}

void UdpProxy::set_faults(const Faults& to_target, const Faults& to_client) {
    impl_->loop.run([&] {
        impl_->to_target.faults = to_target;
        impl_->to_client.faults = to_client;
    });
}

void UdpProxy::stall(bool stalled) {
    impl_->loop.run([&] { impl_->to_target.stalled = impl_->to_client.stalled = stalled; });
}

Counts UdpProxy::to_target() const {
    Counts counts;
    impl_->loop.run([&] { counts = impl_->to_target.counts; });
    return counts;
}

Counts UdpProxy::to_client() const {
    Counts counts;
    impl_->loop.run([&] { counts = impl_->to_client.counts; });
    return counts;
}

}  // namespace chaos
