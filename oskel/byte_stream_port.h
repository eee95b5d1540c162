// A port on a device that carries bytes in order: a TCP stream or a serial line.
#pragma once

#include <asio/buffer.hpp>
#include <cstddef>
#include <vector>

#include "oskel/port.h"

namespace oskel {

// Device: an Asio stream, with a writeNow(device, data, size) beside it that never blocks.
template <typename Device>
class ByteStreamPort : public Port {
public:
    static constexpr std::size_t kQueueLimit = 65536;  // bytes, those in flight included

protected:
    ByteStreamPort(const char* name, ReceiveCallback on_bytes)
        : Port(name, std::move(on_bytes)), m_device(m_io) {}

    // What the device takes at once, on the caller's thread, so that sending does not depend on a callback
    // that takes its time.
    virtual std::size_t writeNow(const std::uint8_t* data, std::size_t size) = 0;

    void armReceive() override {
        m_device.async_read_some(
            asio::buffer(m_received),
            [this](const asio::error_code& error, std::size_t size) { onReceived(error, size); });
    }

    int send(const std::uint8_t* data, std::size_t size) override {
        if (size > kQueueLimit - queued()) {
            return 0;
        }
        const std::size_t taken = queued() == 0 ? writeNow(data, size) : 0;
        m_waiting.insert(m_waiting.end(), data + taken, data + size);
        if (m_inFlight.empty()) {
            writeNext();
        }
        return static_cast<int>(size);
    }

    void closeDevice() override {
        asio::error_code unimportant;
        m_device.close(unimportant);
        m_waiting.clear();
    }

    Device m_device;

private:
    std::size_t queued() const { return m_inFlight.size() - m_written + m_waiting.size(); }

    void onReceived(const asio::error_code& error, std::size_t size) {
        if (size > 0) {
            deliver(size);
        }
        std::lock_guard lock(m_mutex);
        if (ended()) {
            return;
        }
        // End of file, a reset, an unplugged device: nothing will come any more and nobody is told.
        if (error) {
            end();
        } else {
            armReceive();
        }
    }

    void writeNext() {
        if (m_waiting.empty()) {
            return;
        }
        m_inFlight.swap(m_waiting);
        m_written = 0;
        writeRest();
    }

    void writeRest() {
        m_device.async_write_some(
            asio::buffer(m_inFlight.data() + m_written, m_inFlight.size() - m_written),
            [this](const asio::error_code& error, std::size_t size) { onWritten(error, size); });
    }

    void onWritten(const asio::error_code& error, std::size_t size) {
        std::lock_guard lock(m_mutex);
        if (ended()) {
            return;
        }
        if (error) {
            end();
            return;
        }
        m_written += size;
        if (m_written < m_inFlight.size()) {
            writeRest();
            return;
        }
        m_inFlight.clear();
        m_written = 0;
        writeNext();
    }

    std::vector<std::uint8_t> m_inFlight;  // must stay where it is until onWritten()
    std::size_t m_written = 0;             // of m_inFlight
    std::vector<std::uint8_t> m_waiting;
};

}  // namespace oskel
