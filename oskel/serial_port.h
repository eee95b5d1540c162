// A serial line.
#pragma once

#include <asio/serial_port.hpp>
#include <string>

#include "oskel/byte_stream_port.h"
#include "oskel/line_pace.h"

namespace oskel {

class SerialPort final : public ByteStreamPort<asio::serial_port> {
public:
    explicit SerialPort(ReceiveCallback on_bytes);

    // `device` as system::serialDevice() gives it.
    bool open(const std::string& device, unsigned int baud);

private:
    std::size_t writeNow(const std::uint8_t* data, std::size_t size) override;
    std::size_t unsent() override;
    Duration untilNext(Clock::time_point now) override;
    int busyMs(std::size_t waiting, Clock::time_point now) override;
    void onBegun(std::size_t size, Clock::time_point now) override;
    void onWoken(Clock::time_point now) override;
    bool lingers() override;
    void closeDevice() override;

    LinePace m_pace;
};

}  // namespace oskel
