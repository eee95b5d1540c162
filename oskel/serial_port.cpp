#include "oskel/serial_port.h"

#include "oskel/system.h"

namespace oskel {

SerialPort::SerialPort(ReceiveCallback on_bytes) : ByteStreamPort("oskel-serial", std::move(on_bytes)) {}

bool SerialPort::open(const std::string& device, unsigned int baud) {
    using Base = asio::serial_port_base;
    asio::error_code error;
    m_device.open(device, error);
    if (error) {
        return false;
    }
    system::keepFromChildren(m_device);
    const auto set = [&](const auto& option) {
        m_device.set_option(option, error);
        return !error;
    };
    return set(Base::baud_rate(baud)) && set(Base::character_size(8)) &&
           set(Base::parity(Base::parity::none)) && set(Base::stop_bits(Base::stop_bits::one)) &&
           set(Base::flow_control(Base::flow_control::none));
}

std::size_t SerialPort::writeNow(const std::uint8_t* data, std::size_t size) {
    return system::writeNow(m_device, data, size);
}

std::size_t SerialPort::lingering() { return system::unsent(m_device); }

void SerialPort::closeDevice() {
    // A system may otherwise hold the close until a slow line has swallowed everything, half a minute at
    // worst.
    system::discard(m_device);
    ByteStreamPort::closeDevice();
}

}  // namespace oskel
