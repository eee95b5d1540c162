// A serial line.
#pragma once

#include <asio/serial_port.hpp>
#include <string>

#include "oskel/byte_stream_port.h"

namespace oskel {

class SerialPort final : public ByteStreamPort<asio::serial_port> {
public:
    explicit SerialPort(ReceiveCallback on_bytes);

    // `device` as system::serialDevice() gives it.
    bool open(const std::string& device, unsigned int baud);

private:
    std::size_t writeNow(const std::uint8_t* data, std::size_t size) override;
    void closeDevice() override;
    std::size_t lingering() override;
};

}  // namespace oskel
