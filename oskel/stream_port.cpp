#include "oskel/stream_port.h"

#include <chrono>

#include "oskel/system.h"

namespace oskel {
namespace {

// The caller is promised 2 s in all.
constexpr std::chrono::milliseconds kLongestConnect{1800};
constexpr std::chrono::milliseconds kLongestCancel{100};

}  // namespace

StreamPort::StreamPort(ReceiveCallback on_bytes) : ByteStreamPort("oskel-tcp", std::move(on_bytes)) {}

bool StreamPort::connect(const asio::ip::tcp::endpoint& remote) {
    asio::error_code error;
    asio::error_code unimportant;
    m_device.open(remote.protocol(), error);
    if (error) {
        return false;
    }
    system::keepFromChildren(m_device);
    m_device.set_option(asio::ip::tcp::no_delay(true), unimportant);
    m_device.set_option(asio::socket_base::keep_alive(true), unimportant);

    asio::error_code result = asio::error::timed_out;
    m_device.async_connect(remote, [&result](const asio::error_code& connected) { result = connected; });
    m_io.run_for(kLongestConnect);
    if (result) {
        m_device.close(unimportant);
        // The handler refers to `result`, so its cancellation has to come back before this function does.
        m_io.restart();
        m_io.run_for(kLongestCancel);
        return false;
    }
    m_io.restart();
    // Dialling a free port of one's own machine can connect the socket to itself.
    if (m_device.local_endpoint(error) == remote || error) {
        return false;
    }
    m_device.non_blocking(true, error);
    return !error;
}

std::size_t StreamPort::writeNow(const std::uint8_t* data, std::size_t size) {
    // An error shows up again, and is dealt with, where the rest is written.
    asio::error_code error;
    const std::size_t taken = m_device.write_some(asio::buffer(data, size), error);
    return error ? 0 : taken;
}

std::size_t StreamPort::unsent() { return system::unacknowledged(m_device); }

StreamPort::Duration StreamPort::untilNext(Clock::time_point) {
    // How fast the peer takes bytes is not known.
    return system::unsent(m_device) > 0 ? std::chrono::milliseconds(kAskAgainMs) : Duration::zero();
}

int StreamPort::busyMs(std::size_t waiting, Clock::time_point) {
    return waiting > 0 || system::unsent(m_device) > 0 ? kAskAgainMs : 0;
}

void StreamPort::closeDevice() {
    asio::error_code unimportant;
    m_device.shutdown(asio::socket_base::shutdown_send, unimportant);
    ByteStreamPort::closeDevice();
}

}  // namespace oskel
