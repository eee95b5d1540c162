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
constexpr int receive_buffer_bytes = 1 << 20;
constexpr std::chrono::milliseconds pause_after_error{20};

// What an earlier datagram of ours or a single one of theirs can cause; the next receive is as good as any.
bool concerns_one_datagram(const asio::error_code& error) {
    return error == asio::error::connection_refused || error == asio::error::connection_reset ||
           error == asio::error::message_size || error == asio::error::host_unreachable;
}

}  // namespace

DatagramPort::DatagramPort(const DatagramRoute& route, ReceiveCallback on_bytes)
    : Port("oskel-udp", std::move(on_bytes)), route_(route), socket_(io_) {}

bool DatagramPort::open() {
    asio::error_code error;
    socket_.open(route_.local.protocol(), error);
    if (error) return false;
    system::keep_from_children(socket_);
    asio::error_code unimportant;
    if (route_.local.address().is_v6()) socket_.set_option(asio::ip::v6_only(true), unimportant);
    socket_.set_option(asio::socket_base::receive_buffer_size(receive_buffer_bytes), unimportant);
    socket_.set_option(asio::socket_base::broadcast(true), unimportant);
    if (!bind()) return false;
    if (route_.remote.address().is_multicast() && !join_group()) return false;
    socket_.non_blocking(true, error);
    return !error;
}

bool DatagramPort::bind() {
    asio::error_code error;
    auto local = route_.local;
    if (route_.remote.address().is_multicast()) {
        // Several receivers of a group may share a machine. Bound to an interface's address, the socket would
        // not be given what is sent to the group.
        socket_.set_option(asio::socket_base::reuse_address(true), error);
        if (error) return false;
        local = asio::ip::udp::endpoint(local.protocol(), local.port());
    }
    socket_.bind(local, error);
    return !error;
}

bool DatagramPort::join_group() {
    asio::error_code error;
    asio::error_code unimportant;
    const auto group = route_.remote.address();
    const auto local = route_.local.address();
    system::take_joined_groups_only(socket_);
    if (group.is_v4()) {
        if (!local.is_unspecified()) socket_.set_option(multicast::outbound_interface(local.to_v4()), error);
        if (error) return false;
        socket_.set_option(multicast::join_group(group.to_v4(), local.to_v4()), error);
    } else {
        // IPv6 tells an interface by its number, which an address carries as its zone.
        auto zone = local.to_v6().scope_id();
        if (zone == 0) zone = group.to_v6().scope_id();
        if (zone != 0)
            socket_.set_option(multicast::outbound_interface(static_cast<unsigned int>(zone)), unimportant);
        socket_.set_option(multicast::join_group(group.to_v6(), zone), error);
    }
    return !error;
}

bool DatagramPort::takes_from_anybody() const {
    const auto& address = route_.remote.address();
    const bool broadcast = address.is_v4() && address.to_v4() == asio::ip::address_v4::broadcast();
    return route_.remote.port() == 0 || address.is_multicast() || address.is_unspecified() || broadcast;
}

void DatagramPort::arm_receive() {
    socket_.async_receive_from(
        asio::buffer(received_), sender_,
        [this](const asio::error_code& error, std::size_t size) { on_received(error, size); });
}

void DatagramPort::on_received(const asio::error_code& error, std::size_t size) {
    if (!error && size > 0 && (takes_from_anybody() || sender_.address() == route_.remote.address()))
        deliver(size);
    // An interface that is gone fails every receive at once until it is back; that must not burn the
    // processor.
    if (error && error != asio::error::operation_aborted && !concerns_one_datagram(error))
        std::this_thread::sleep_for(pause_after_error);
    std::lock_guard lock(mutex_);
    if (!ended()) arm_receive();
}

int DatagramPort::send(const std::uint8_t* data, std::size_t size) {
    if (route_.remote.port() == 0) return 0;
    asio::error_code error;
    socket_.send_to(asio::buffer(data, size), route_.remote, 0, error);
    return error ? 0 : static_cast<int>(size);
}

void DatagramPort::close_device() {
    asio::error_code unimportant;
    socket_.close(unimportant);
}

}  // namespace oskel
