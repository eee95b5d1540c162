// A serial line.
#pragma once

#include <asio/serial_port.hpp>
#include <string>

#include "oskel/byte_stream_port.h"

namespace oskel {

class SerialPort final : public ByteStreamPort<asio::serial_port> {
public:
    explicit SerialPort(ReceiveCallback on_bytes);

    // `device` as system::serial_device() gives it.
    bool open(const std::string& device, unsigned int baud);

private:
    std::size_t write_now(const std::uint8_t* data, std::size_t size) override;
    void close_device() override;
    std::size_t lingering() override;
};

}  // namespace oskel
