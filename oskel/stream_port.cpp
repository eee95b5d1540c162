#include "oskel/stream_port.h"

#include <chrono>

#include "oskel/system.h"

namespace oskel {
namespace {

// The caller is promised 2 s in all.
constexpr std::chrono::milliseconds longest_connect{1800};
constexpr std::chrono::milliseconds longest_cancel{100};

}  // namespace

StreamPort::StreamPort(ReceiveCallback on_bytes) : ByteStreamPort("oskel-tcp", std::move(on_bytes)) {}

bool StreamPort::connect(const asio::ip::tcp::endpoint& remote) {
    asio::error_code error;
    asio::error_code unimportant;
    device_.open(remote.protocol(), error);
    if (error) return false;
    system::keep_from_children(device_);
    device_.set_option(asio::ip::tcp::no_delay(true), unimportant);
    device_.set_option(asio::socket_base::keep_alive(true), unimportant);

    asio::error_code result = asio::error::timed_out;
    device_.async_connect(remote, [&result](const asio::error_code& connected) { result = connected; });
    io_.run_for(longest_connect);
    if (result) {
        device_.close(unimportant);
        // The handler refers to `result`, so its cancellation has to come back before this function does.
        io_.restart();
        io_.run_for(longest_cancel);
        return false;
    }
    io_.restart();
    // Dialling a free port of one's own machine can connect the socket to itself.
    if (device_.local_endpoint(error) == remote || error) return false;
    device_.non_blocking(true, error);
    return !error;
}

std::size_t StreamPort::write_now(const std::uint8_t* data, std::size_t size) {
    // An error shows up again, and is dealt with, where the rest is written.
    asio::error_code error;
    const std::size_t taken = device_.write_some(asio::buffer(data, size), error);
    return error ? 0 : taken;
}

}  // namespace oskel
