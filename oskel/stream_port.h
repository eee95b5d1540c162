// A TCP stream.
#pragma once

#include <asio/ip/tcp.hpp>

#include "oskel/byte_stream_port.h"

namespace oskel {

class StreamPort final : public ByteStreamPort<asio::ip::tcp::socket> {
public:
    explicit StreamPort(ReceiveCallback on_bytes);

    // Blocks for less than 2 s.
    bool connect(const asio::ip::tcp::endpoint& remote);

private:
    std::size_t writeNow(const std::uint8_t* data, std::size_t size) override;
    std::size_t unsent() override;
    Duration untilNext(Clock::time_point now) override;
    int busyMs(std::size_t waiting, Clock::time_point now) override;
    void closeDevice() override;
};

}  // namespace oskel
