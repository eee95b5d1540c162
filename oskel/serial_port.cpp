#include "oskel/serial_port.h"

#include <algorithm>

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
    m_pace = LinePace(baud);
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

std::size_t SerialPort::unsent() { return system::unsent(m_device); }

SerialPort::Duration SerialPort::untilNext(Clock::time_point now) { return m_pace.untilNext(unsent(), now); }

int SerialPort::busyMs(std::size_t waiting, Clock::time_point now) {
    const Duration left = m_pace.left(unsent(), now);
    if (waiting == 0 && left <= m_pace.timeOf(1)) {
        return 0;
    }
    // A device that takes nothing does not tell for how long.
    const bool is_held = waiting > 0 && left == Duration::zero();
    const auto ms = std::chrono::ceil<std::chrono::milliseconds>(left + m_pace.timeOf(waiting)).count();
    return static_cast<int>(std::max<std::int64_t>(ms, is_held ? kAskAgainMs : 1));
}

void SerialPort::onBegun(std::size_t size, Clock::time_point now) { m_pace.handedOver(size, now); }

void SerialPort::onWoken(Clock::time_point now) {
    m_pace.woke(m_pace.left(unsent(), now) == Duration::zero());
}

bool SerialPort::lingers() {
    return ByteStreamPort::lingers() || m_pace.left(0, Clock::now()) > Duration::zero();
}

void SerialPort::closeDevice() {
    // A system may otherwise hold the close until a slow line has swallowed everything, half a minute at
    // worst.
    if (ByteStreamPort::lingers()) {
        system::discard(m_device);
    }
    ByteStreamPort::closeDevice();
}

}  // namespace oskel
