#include <array>
#include <asio/buffer.hpp>
#include <asio/ip/udp.hpp>
#include <asio/steady_timer.hpp>
#include <deque>
#include <functional>
#include <optional>
#include <vector>

#include "tests/fakes/chaos_pace.h"
#include "tests/fakes/chaos_proxy.h"
#include "tests/fakes/chaos_thread.h"

namespace chaos {
namespace {

using asio::ip::udp;
using Datagram = std::vector<std::uint8_t>;

constexpr std::chrono::milliseconds longest_hold{50};

udp::endpoint loopback(std::uint16_t port) { return {asio::ip::address_v4::loopback(), port}; }

// What happens to datagrams on their way in one direction.
class Lane {
public:
    Lane(asio::io_context& io, std::uint64_t seed, std::function<void(const Datagram&)> out)
        : m_io(io), m_dice(seed), m_out(std::move(out)), m_release(io), m_next(io) {}

    void take(Datagram datagram) {
        ++counts.arrived;
        const Fate fate = m_dice.next(faults, datagram.size());
        if (stalled || fate.lost) {
            ++counts.lost;
            return;
        }
        if (fate.flipped_bit >= 0) {
            ++counts.corrupted;
            datagram[static_cast<std::size_t>(fate.flipped_bit) / 8] ^=
                static_cast<std::uint8_t>(1u << (fate.flipped_bit % 8));
        }
        if (fate.held_back && !m_held) {
            hold(std::move(datagram));
            return;
        }
        pass(datagram);
        if (fate.duplicated) {
            ++counts.duplicated;
            pass(datagram);
        }
        if (m_held) {
            ++counts.reordered;
        }
        releaseHeld();
    }

    void setPauses(std::vector<Pause> pauses) { m_pace.setPauses(std::move(pauses)); }

    Faults faults;
    Counts counts;
    bool stalled = false;

private:
    void hold(Datagram datagram) {
        m_held = std::move(datagram);
        m_release.expires_after(longest_hold);
        m_release.async_wait([this](const asio::error_code& error) {
            if (!error) {
                releaseHeld();
            }
        });
    }

    void releaseHeld() {
        if (!m_held) {
            return;
        }
        m_release.cancel();
        pass(*m_held);
        m_held.reset();
    }

    void pass(const Datagram& datagram) {
        if (faults.delay.count() == 0) {
            queue(datagram);
            return;
        }
        auto timer = std::make_shared<asio::steady_timer>(m_io, faults.delay);
        timer->async_wait([this, timer, datagram](const asio::error_code& error) {
            if (!error) {
                queue(datagram);
            }
        });
    }

    void queue(const Datagram& datagram) {
        counts.waiting += datagram.size();
        m_waiting.push_back(datagram);
        if (m_waiting.size() == 1) {
            release();
        }
    }

    // Sends what waits, in order, as pace and pauses allow.
    void release() {
        while (!m_waiting.empty()) {
            if (m_pace.free() > Pace::Clock::now()) {
                m_next.expires_at(m_pace.free());
                m_next.async_wait([this](const asio::error_code& error) {
                    if (!error) {
                        release();
                    }
                });
                return;
            }
            const std::size_t size = m_waiting.front().size();
            m_out(m_waiting.front());
            m_pace.pass(size, faults.rate);
            counts.pauses = m_pace.begun;
            counts.waiting -= size;
            m_waiting.pop_front();
        }
    }

    asio::io_context& m_io;
    Dice m_dice;
    std::function<void(const Datagram&)> m_out;
    asio::steady_timer m_release;
    std::optional<Datagram> m_held;
    Pace m_pace;
    asio::steady_timer m_next;
    std::deque<Datagram> m_waiting;
};

}  // namespace

struct UdpProxy::Impl {
    Impl(std::uint16_t listen_port, std::uint16_t target_port, std::uint64_t seed)
        : target(loopback(target_port)),
          front(loop.io, loopback(listen_port)),
          back(loop.io, loopback(0)),
          toTarget(loop.io, seed, [this](const Datagram& data) { send(back, target, data); }),
          toClient(loop.io, ~seed, [this](const Datagram& data) { send(front, client, data); }) {
        for (auto* socket : {&front, &back}) {
            socket->set_option(asio::socket_base::receive_buffer_size(4 << 20));
        }
        listenFront();
        listenBack();
        loop.start();
    }
    ~Impl() { loop.stop(); }

    static void send(udp::socket& socket, const udp::endpoint& to, const Datagram& data) {
        asio::error_code lost_like_any_other;
        if (to.port() != 0) {
            socket.send_to(asio::buffer(data), to, 0, lost_like_any_other);
        }
    }

    void listenFront() {
        front.async_receive_from(asio::buffer(front_buffer), front_sender,
                                 [this](const asio::error_code& error, std::size_t size) {
                                     if (error == asio::error::operation_aborted) {
                                         return;
                                     }
                                     if (!error) {
                                         client = front_sender;
                                         toTarget.take({front_buffer.begin(), front_buffer.begin() + size});
                                     }
                                     listenFront();
                                 });
    }

    void listenBack() {
        back.async_receive_from(asio::buffer(back_buffer), back_sender,
                                [this](const asio::error_code& error, std::size_t size) {
                                    if (error == asio::error::operation_aborted) {
                                        return;
                                    }
                                    if (!error) {
                                        toClient.take({back_buffer.begin(), back_buffer.begin() + size});
                                    }
                                    listenBack();
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
    Lane toTarget;
    Lane toClient;
};

UdpProxy::UdpProxy(std::uint16_t listen_port, std::uint16_t target_port, std::uint64_t seed)
    : m_impl(std::make_unique<Impl>(listen_port, target_port, seed)) {}

UdpProxy::~UdpProxy() = default;

std::uint16_t UdpProxy::port() const { return m_impl->front.local_endpoint().port(); }

std::uint16_t UdpProxy::targetSide() const { return m_impl->back.local_endpoint().port(); }

void UdpProxy::setClient(std::uint16_t client_port) {
    m_impl->loop.run([&] { m_impl->client = loopback(client_port); });
}

void UdpProxy::setFaults(const Faults& toTarget, const Faults& toClient) {
    m_impl->loop.run([&] {
        m_impl->toTarget.faults = toTarget;
        m_impl->toClient.faults = toClient;
    });
}

void UdpProxy::setPauses(std::vector<Pause> toTarget, std::vector<Pause> toClient) {
    m_impl->loop.run([&] {
        m_impl->toTarget.setPauses(std::move(toTarget));
        m_impl->toClient.setPauses(std::move(toClient));
    });
}

void UdpProxy::stall(bool stalled) {
    m_impl->loop.run([&] { m_impl->toTarget.stalled = m_impl->toClient.stalled = stalled; });
}

Counts UdpProxy::toTarget() const {
    Counts counts;
    m_impl->loop.run([&] { counts = m_impl->toTarget.counts; });
    return counts;
}

Counts UdpProxy::toClient() const {
    Counts counts;
    m_impl->loop.run([&] { counts = m_impl->toClient.counts; });
    return counts;
}

}  // namespace chaos
