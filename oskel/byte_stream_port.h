// A port on a device that carries bytes in order: a TCP stream or a serial line.
#pragma once

#include <asio/buffer.hpp>
#include <cstddef>
#include <vector>

#include "oskel/port.h"

namespace oskel {

// Device: an Asio stream, with a write_now(device, data, size) beside it that never blocks.
template <typename Device>
class ByteStreamPort : public Port {
public:
    static constexpr std::size_t queue_limit = 65536;  // bytes, those in flight included

protected:
    ByteStreamPort(const char* name, ReceiveCallback on_bytes)
        : Port(name, std::move(on_bytes)), device_(io_) {}

    // What the device takes at once, on the caller's thread, so that sending does not depend on a callback
    // that takes its time.
    virtual std::size_t write_now(const std::uint8_t* data, std::size_t size) = 0;

    void arm_receive() override {
        device_.async_read_some(
            asio::buffer(received_),
            [this](const asio::error_code& error, std::size_t size) { on_received(error, size); });
    }

    int send(const std::uint8_t* data, std::size_t size) override {
        if (size > queue_limit - queued()) return 0;
        const std::size_t taken = queued() == 0 ? write_now(data, size) : 0;
        waiting_.insert(waiting_.end(), data + taken, data + size);
        if (in_flight_.empty()) write_next();
        return static_cast<int>(size);
    }

    void close_device() override {
        asio::error_code unimportant;
        device_.close(unimportant);
        waiting_.clear();
    }

    Device device_;

private:
    std::size_t queued() const { return in_flight_.size() - written_ + waiting_.size(); }

    void on_received(const asio::error_code& error, std::size_t size) {
        if (size > 0) deliver(size);
        std::lock_guard lock(mutex_);
        if (ended()) return;
        // End of file, a reset, an unplugged device: nothing will come any more and nobody is told.
        if (error)
            end();
        else
            arm_receive();
    }

    void write_next() {
        if (waiting_.empty()) return;
        in_flight_.swap(waiting_);
        written_ = 0;
        write_rest();
    }

    void write_rest() {
        device_.async_write_some(
            asio::buffer(in_flight_.data() + written_, in_flight_.size() - written_),
            [this](const asio::error_code& error, std::size_t size) { on_written(error, size); });
    }

    void on_written(const asio::error_code& error, std::size_t size) {
        std::lock_guard lock(mutex_);
        if (ended()) return;
        if (error) {
            end();
            return;
        }
        written_ += size;
        if (written_ < in_flight_.size()) {
            write_rest();
            return;
        }
        in_flight_.clear();
        written_ = 0;
        write_next();
    }

    std::vector<std::uint8_t> in_flight_;  // must stay where it is until on_written()
    std::size_t written_ = 0;              // of in_flight_
    std::vector<std::uint8_t> waiting_;
};

}  // namespace oskel
