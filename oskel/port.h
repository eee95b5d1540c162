// What all ports share: the receive thread, the gate before the callback and the bounded close.
#pragma once

#include <array>
#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "oskel/oskel.h"

namespace oskel {

// One mutex orders everything that touches the device: arming a receive, sending, closing. It is never held
// while the callback runs nor across anything that can block, so that every other thread gets it at once.
//
// The thread shares ownership of the port: one that is stuck in its callback can be left behind, and what it
// uses lives until it returns. Handlers hold a plain `this`, valid since they run on that thread only.
class Port : public std::enable_shared_from_this<Port> {
public:
    virtual ~Port() = default;
    Port(const Port&) = delete;
    Port& operator=(const Port&) = delete;

    // Launches the receive thread; false if the system has none to give. Called once, on an open device.
    bool start();
    // As push_bytes(), with arguments that are known to be good.
    int push(const std::uint8_t* data, std::size_t size);
    // As oskel::mark_ahead(), line_busy_ms() and send_trouble().
    void markAhead();
    int lineBusyMs();
    SendTrouble sendTrouble();
    // As oskel::hang_up(); called once, on a started port.
    void hang_up();

protected:
    // `name` is a literal of at most 15 characters.
    Port(const char* name, ReceiveCallback on_bytes) : m_onBytes(std::move(on_bytes)), m_name(name) {}

    // On the port's thread, without the mutex: hands bytes on, unless the port is closing.
    void deliver(std::size_t size);
    // Closes the device and takes no more work; the thread then ends by itself. With the mutex.
    void end();
    bool ended() const { return m_ended; }

    // All with the mutex:
    virtual void armReceive() = 0;
    virtual int send(const std::uint8_t* data, std::size_t size, bool ahead) = 0;
    virtual void closeDevice() = 0;
    // On an open device:
    virtual int busyMs() { return 0; }
    // Something is on its way out that is worth waiting for before an orderly close.
    virtual bool lingers() { return false; }
    // Also on a closed one:
    virtual SendTrouble trouble() = 0;

    std::mutex m_mutex;
    // Ahead of m_io: a system that reads in the background may write here until m_io is gone.
    std::array<std::uint8_t, 65536> m_received;
    asio::io_context m_io{1};

private:
    void run();
    void linger(std::chrono::steady_clock::time_point deadline);
    bool takeMark();

    ReceiveCallback m_onBytes;
    const char* const m_name;
    std::thread m_thread;
    std::condition_variable m_finished;
    asio::steady_timer m_lingering{m_io};
    std::vector<std::thread::id> m_markers;  // whose next run goes ahead
    bool m_closing = false;                  // hang_up() has been called
    bool m_ended = false;                    // the device is closed
    bool m_threadIsOver = false;
};

}  // namespace oskel
