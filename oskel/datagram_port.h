// A UDP port.
#pragma once

#include <asio/ip/udp.hpp>
#include <memory>

#include "oskel/port.h"

namespace oskel {

// What dialDatagram() is asked for, checked.
struct DatagramRoute {
    asio::ip::udp::endpoint local;
    asio::ip::udp::endpoint remote;  // port 0: there is nobody to send to
};

class DatagramPort final : public Port {
public:
    DatagramPort(const DatagramRoute& route, ReceiveCallback on_bytes);

    bool open();

private:
    void arm_receive() override;
    int send(const std::uint8_t* data, std::size_t size) override;
    void close_device() override;

    void on_received(const asio::error_code& error, std::size_t size);
    bool takes_from_anybody() const;
    bool bind();
    bool join_group();

    const DatagramRoute route_;
    // With the receive buffer, since the system may fill it until the operation has come back.
    asio::ip::udp::endpoint sender_;
    asio::ip::udp::socket socket_;
};

}  // namespace oskel
