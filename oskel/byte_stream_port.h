// A port on a device that carries bytes in order: a TCP stream or a serial line.
#pragma once

#include <asio/buffer.hpp>
#include <asio/steady_timer.hpp>
#include <chrono>
#include <cstddef>
#include <vector>

#include "oskel/port.h"
#include "oskel/run_queue.h"

namespace oskel {

// Device: an Asio stream, with a writeNow(device, data, size) beside it that never blocks.
//
// What the system has been given is out of reach. So it gets one run after the other, each as late as the
// line allows, and a run that goes ahead of others overtakes all that wait here.
template <typename Device>
class ByteStreamPort : public Port {
public:
    static constexpr std::size_t kQueueLimit = 65536;   // bytes, those of the run under way included
    static constexpr std::size_t kRoomForAhead = 4096;  // beyond it, for runs that go ahead
    static constexpr int kAskAgainMs = 5;               // where nothing tells when the line is free
    static constexpr std::chrono::seconds kLongestWait{1};

protected:
    using Clock = std::chrono::steady_clock;
    using Duration = std::chrono::nanoseconds;

    ByteStreamPort(const char* name, ReceiveCallback on_bytes)
        : Port(name, std::move(on_bytes)), m_device(m_io), m_wake(m_io) {}

    // All with the mutex:

    // What the device takes at once, on the caller's thread, so that sending does not depend on a callback
    // that takes its time.
    virtual std::size_t writeNow(const std::uint8_t* data, std::size_t size) = 0;
    // What the system has taken and not yet delivered, in bytes, as far as it says.
    virtual std::size_t unsent() = 0;
    // Until the next run may be handed over; 0: now.
    virtual Duration untilNext(Clock::time_point now) = 0;
    // As line_busy_ms(), with `waiting` bytes that have not been handed over.
    virtual int busyMs(std::size_t waiting, Clock::time_point now) = 0;
    // A run of this size is being handed over.
    virtual void onBegun(std::size_t, Clock::time_point) {}
    // A time that untilNext() gave has passed and runs still wait.
    virtual void onWoken(Clock::time_point) {}

    void armReceive() override {
        m_device.async_read_some(
            asio::buffer(m_received),
            [this](const asio::error_code& error, std::size_t size) { onReceived(error, size); });
    }

    int send(const std::uint8_t* data, std::size_t size, bool ahead) override {
        if (queued() + size > kQueueLimit + (ahead ? kRoomForAhead : 0)) {
            return 0;
        }
        m_waiting.add(data, size, ahead, Clock::now());
        pump();
        return static_cast<int>(size);
    }

    int busyMs() override {
        // The port's own thread may be held by its callback.
        pump();
        return busyMs(queued(), Clock::now());
    }

    SendTrouble trouble() override {
        if (ended()) {
            return SendTrouble::kGone;
        }
        const auto now = Clock::now();
        const bool nothing_left = notice(now);
        const bool late = !m_waiting.empty() && now - m_waiting.oldest() > kLongestWait;
        const bool stands_still = !nothing_left && now - m_movedAt > kLongestWait;
        return late || stands_still ? SendTrouble::kStuck : SendTrouble::kNone;
    }

    bool lingers() override { return queued() > 0 || unsent() > 0; }

    void closeDevice() override {
        asio::error_code unimportant;
        m_wake.cancel();
        m_device.close(unimportant);
        m_waiting.clear();
    }

    std::size_t queued() const { return m_begun.size() - m_written + m_waiting.bytes(); }

    Device m_device;

private:
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

    // Hands over what may go now and sees to it that the rest follows.
    void pump() {
        while (!m_isWriting) {
            if (m_written == m_begun.size() && !beginNext()) {
                return;
            }
            wrote(writeNow(m_begun.data() + m_written, m_begun.size() - m_written));
            if (m_written < m_begun.size()) {
                writeRest();
            }
        }
    }

    bool beginNext() {
        if (m_waiting.empty()) {
            return false;
        }
        const auto now = Clock::now();
        const Duration wait = untilNext(now);
        if (wait > Duration::zero()) {
            wakeIn(wait);
            return false;
        }
        notice(now);
        m_begun = m_waiting.take();
        m_written = 0;
        onBegun(m_begun.size(), now);
        return true;
    }

    void wakeIn(Duration wait) {
        if (m_isWaking) {
            return;
        }
        m_isWaking = true;
        m_wake.expires_after(wait);
        m_wake.async_wait([this](const asio::error_code&) {
            std::lock_guard lock(m_mutex);
            m_isWaking = false;
            if (!ended()) {
                onWoken(Clock::now());
                pump();
            }
        });
    }

    void writeRest() {
        m_isWriting = true;
        m_device.async_write_some(
            asio::buffer(m_begun.data() + m_written, m_begun.size() - m_written),
            [this](const asio::error_code& error, std::size_t size) { onWritten(error, size); });
    }

    void onWritten(const asio::error_code& error, std::size_t size) {
        std::lock_guard lock(m_mutex);
        m_isWriting = false;
        if (ended()) {
            return;
        }
        if (error) {
            end();
            return;
        }
        wrote(size);
        pump();
    }

    void wrote(std::size_t size) {
        m_written += size;
        m_handedOver += size;
    }

    // Sees whether the line moves; true if nothing is left of what was begun.
    bool notice(Clock::time_point now) {
        const std::size_t count = unsent();
        const std::uint64_t gone = m_handedOver - count;
        const bool nothing_left = count == 0 && m_written == m_begun.size();
        if (nothing_left || gone != m_gone) {
            m_movedAt = now;
        }
        m_gone = gone;
        return nothing_left;
    }

    RunQueue m_waiting;
    std::vector<std::uint8_t> m_begun;  // must stay where it is while m_isWriting
    std::size_t m_written = 0;          // of m_begun
    bool m_isWriting = false;           // the device owes onWritten()
    asio::steady_timer m_wake;
    bool m_isWaking = false;
    std::uint64_t m_handedOver = 0;  // bytes since the open, and of these m_gone had left the system when
    std::uint64_t m_gone = 0;        // it was last looked at; m_movedAt: when that was seen to change
    Clock::time_point m_movedAt{};
};

}  // namespace oskel
