#include "oskel/serial_port.h"

#include "oskel/system.h"

namespace oskel {

SerialPort::SerialPort(ReceiveCallback on_bytes) : ByteStreamPort("oskel-serial", std::move(on_bytes)) {}

bool SerialPort::open(const std::string& device, unsigned int baud) {
    using Base = asio::serial_port_base;
    asio::error_code error;
    device_.open(device, error);
    if (error) return false;
    system::keep_from_children(device_);
    const auto set = [&](const auto& option) {
        device_.set_option(option, error);
        return !error;
    };
    return set(Base::baud_rate(baud)) && set(Base::character_size(8)) &&
           set(Base::parity(Base::parity::none)) && set(Base::stop_bits(Base::stop_bits::one)) &&
           set(Base::flow_control(Base::flow_control::none));
}

std::size_t SerialPort::write_now(const std::uint8_t* data, std::size_t size) {
    return system::write_now(device_, data, size);
}

std::size_t SerialPort::lingering() {
    return system::unsent(device_);
}

void SerialPort::close_device() {
    // A system may otherwise hold the close until a slow line has swallowed everything, half a minute at
    // worst.
    system::discard(device_);
    ByteStreamPort::close_device();
}

}  // namespace oskel
