// A UDP port.
#pragma once

#include <asio/ip/udp.hpp>
#include <memory>

#include "oskel/datagram_health.h"
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
    using Clock = std::chrono::steady_clock;

    void armReceive() override;
    int send(const std::uint8_t* data, std::size_t size, bool ahead) override;
    void closeDevice() override;
    SendTrouble trouble() override;

    void onReceived(const asio::error_code& error, std::size_t size);
    bool takesFromAnybody() const;
    bool takeReports();
    bool bind();
    bool joinGroup();

    const DatagramRoute m_route;
    // With the receive buffer, since the system may fill it until the operation has come back.
    asio::ip::udp::endpoint m_sender;
    asio::ip::udp::socket m_socket;
    DatagramHealth m_health;
};

}  // namespace oskel
