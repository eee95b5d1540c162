#include "oskel/datagram_port.h"

#include <asio/buffer.hpp>
#include <asio/ip/multicast.hpp>
#include <asio/ip/v6_only.hpp>
#include <chrono>
#include <thread>

#include "oskel/system.h"

namespace oskel {
namespace {

namespace multicast = asio::ip::multicast;

// A block video source sends bursts; the system cuts this to its own limit.
constexpr int kReceiveBufferBytes = 1 << 20;
constexpr std::chrono::milliseconds kPauseAfterError{20};
constexpr int kAttempts = 4;

// What an earlier datagram of ours or a single one of theirs can cause; the next receive is as good as any.
bool concernsOneDatagram(const asio::error_code& error) {
    return error == asio::error::connection_refused || error == asio::error::connection_reset ||
           error == asio::error::message_size || error == asio::error::host_unreachable ||
           error == asio::error::network_unreachable || error == asio::error::network_reset;
}

// What a single send or receive was told.
SendTrouble troubleOf(const asio::error_code& error) {
    if (error == asio::error::connection_refused || error == asio::error::connection_reset) {
        return SendTrouble::kRefused;
    }
    if (error == asio::error::would_block || error == asio::error::no_buffer_space) {
        return SendTrouble::kStuck;
    }
    // The last: the address that the socket is bound to is no longer one of this machine.
    const bool no_way = error == asio::error::host_unreachable || error == asio::error::network_unreachable ||
                        error == asio::error::network_down || error == asio::error::network_reset ||
                        error == asio::error::invalid_argument;
    return no_way ? SendTrouble::kUnreachable : SendTrouble::kOther;
}

}  // namespace

DatagramPort::DatagramPort(const DatagramRoute& route, ReceiveCallback on_bytes)
    : Port("oskel-udp", std::move(on_bytes)), m_route(route), m_socket(m_io) {}

bool DatagramPort::open() {
    asio::error_code error;
    m_socket.open(m_route.local.protocol(), error);
    if (error) {
        return false;
    }
    system::keepFromChildren(m_socket);
    system::reportFailures(m_socket);
    asio::error_code unimportant;
    if (m_route.local.address().is_v6()) {
        m_socket.set_option(asio::ip::v6_only(true), unimportant);
    }
    m_socket.set_option(asio::socket_base::receive_buffer_size(kReceiveBufferBytes), unimportant);
    m_socket.set_option(asio::socket_base::broadcast(true), unimportant);
    if (!bind()) {
        return false;
    }
    if (m_route.remote.address().is_multicast() && !joinGroup()) {
        return false;
    }
    m_socket.non_blocking(true, error);
    return !error;
}

bool DatagramPort::bind() {
    asio::error_code error;
    auto local = m_route.local;
    if (m_route.remote.address().is_multicast()) {
        // Several receivers of a group may share a machine. Bound to an interface's address, the socket would
        // not be given what is sent to the group.
        m_socket.set_option(asio::socket_base::reuse_address(true), error);
        if (error) {
            return false;
        }
        local = asio::ip::udp::endpoint(local.protocol(), local.port());
    }
    m_socket.bind(local, error);
    return !error;
}

bool DatagramPort::joinGroup() {
    asio::error_code error;
    asio::error_code unimportant;
    const auto group = m_route.remote.address();
    const auto local = m_route.local.address();
    system::takeJoinedGroupsOnly(m_socket);
    if (group.is_v4() && local.is_unspecified()) {
        // Any is the interface that the system prefers and this machine itself.
        const auto self = asio::ip::address_v4::loopback();
        m_socket.set_option(multicast::join_group(group.to_v4()), error);
        const bool alone = static_cast<bool>(error);
        m_socket.set_option(multicast::join_group(group.to_v4(), self), error);
        if (!alone) {
            return true;
        }
        m_socket.set_option(multicast::outbound_interface(self), unimportant);
    } else if (group.is_v4()) {
        m_socket.set_option(multicast::outbound_interface(local.to_v4()), error);
        if (error) {
            return false;
        }
        m_socket.set_option(multicast::join_group(group.to_v4(), local.to_v4()), error);
    } else {
        // IPv6 tells an interface by its number, which an address carries as its zone.
        auto zone = local.to_v6().scope_id();
        if (zone == 0) {
            zone = group.to_v6().scope_id();
        }
        if (zone != 0) {
            m_socket.set_option(multicast::outbound_interface(static_cast<unsigned int>(zone)), unimportant);
        }
        m_socket.set_option(multicast::join_group(group.to_v6(), zone), error);
    }
    return !error;
}

bool DatagramPort::takesFromAnybody() const {
    const auto& address = m_route.remote.address();
    const bool broadcast = address.is_v4() && address.to_v4() == asio::ip::address_v4::broadcast();
    return m_route.remote.port() == 0 || address.is_multicast() || address.is_unspecified() || broadcast;
}

void DatagramPort::armReceive() {
    m_socket.async_receive_from(
        asio::buffer(m_received), m_sender,
        [this](const asio::error_code& error, std::size_t size) { onReceived(error, size); });
}

void DatagramPort::onReceived(const asio::error_code& error, std::size_t size) {
    const bool is_from_peer = !error && m_sender.address() == m_route.remote.address();
    if (!error && size > 0 && (is_from_peer || takesFromAnybody())) {
        deliver(size);
    }
    std::unique_lock lock(m_mutex);
    if (is_from_peer) {
        m_health.worked(Clock::now());
    }
    if (error && !ended()) {
        const bool concerns_one = takeReports() || concernsOneDatagram(error);
        // What the system reported in another way, or not at all.
        if (error == asio::error::connection_reset || error == asio::error::network_reset) {
            m_health.failed(troubleOf(error));
        }
        // An interface that is gone fails every receive at once until it is back; that must not burn the
        // processor.
        if (!concerns_one) {
            lock.unlock();
            std::this_thread::sleep_for(kPauseAfterError);
            lock.lock();
        }
    }
    if (!ended()) {
        armReceive();
    }
}

// With the mutex: what has become of earlier datagrams; true if anything was reported.
bool DatagramPort::takeReports() {
    bool any = false;
    while (const auto report = system::takeReport(m_socket)) {
        any = true;
        // From now on the system cuts what is too large for the way.
        if (report != asio::error::message_size) {
            const bool refused = report == asio::error::connection_refused;
            m_health.failed(refused ? SendTrouble::kRefused : SendTrouble::kUnreachable);
        }
    }
    return any;
}

int DatagramPort::send(const std::uint8_t* data, std::size_t size, bool) {
    if (m_route.remote.port() == 0) {
        return 0;
    }
    asio::error_code error;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        m_socket.send_to(asio::buffer(data, size), m_route.remote, 0, error);
        if (!error) {
            m_health.worked(Clock::now());
            return static_cast<int>(size);
        }
        // What happened to an earlier datagram is told instead of sending this one.
        if (!takeReports() && attempt > 0) {
            break;
        }
    }
    m_health.failed(troubleOf(error));
    return 0;
}

SendTrouble DatagramPort::trouble() {
    if (!ended()) {
        takeReports();
    }
    return m_health.at(Clock::now(), !ended() && system::unsent(m_socket) > 0);
}

void DatagramPort::closeDevice() {
    asio::error_code unimportant;
    m_socket.close(unimportant);
}

}  // namespace oskel
