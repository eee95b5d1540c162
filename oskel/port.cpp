#include "oskel/port.h"

#include <asio/post.hpp>
#include <chrono>
#include <system_error>

#include "oskel/system.h"

namespace oskel {
namespace {

// Together well below the second that a close may take.
constexpr std::chrono::milliseconds kLongestLinger{250};
constexpr std::chrono::milliseconds kLongestWaitForThread{600};

}  // namespace

bool Port::start() {
    {
        std::lock_guard lock(m_mutex);
        armReceive();
    }
    try {
        m_thread = std::thread([self = shared_from_this()] { self->run(); });
    } catch (const std::system_error&) {
        std::lock_guard lock(m_mutex);
        end();
        return false;
    }
    return true;
}

void Port::run() {
    system::nameThisThread(m_name);
    // Returns when nothing is pending, that is once the device is closed and its last operation has come
    // back.
    m_io.run();
    std::lock_guard lock(m_mutex);
    m_threadIsOver = true;
    m_finished.notify_all();
}

void Port::deliver(std::size_t size) {
    {
        std::lock_guard lock(m_mutex);
        if (m_closing) {
            return;
        }
    }
    if (m_onBytes) {
        m_onBytes(m_received.data(), static_cast<std::int32_t>(size), 0);
    }
}

int Port::push(const std::uint8_t* data, std::size_t size) {
    std::lock_guard lock(m_mutex);
    return m_ended || m_closing ? -1 : send(data, size);
}

void Port::end() {
    if (m_ended) {
        return;
    }
    m_ended = true;
    closeDevice();
}

void Port::lingerAndEnd() {
    const auto deadline = std::chrono::steady_clock::now() + kLongestLinger;
    std::unique_lock lock(m_mutex);
    while (!m_ended && lingering() > 0 && std::chrono::steady_clock::now() < deadline) {
        lock.unlock();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        lock.lock();
    }
    end();
}

void Port::hang_up() {
    std::unique_lock lock(m_mutex);
    m_closing = true;
    if (std::this_thread::get_id() == m_thread.get_id()) {
        end();
        m_thread.detach();
        return;
    }
    asio::post(m_io, [this] { lingerAndEnd(); });
    if (m_finished.wait_for(lock, kLongestWaitForThread, [this] { return m_threadIsOver; })) {
        lock.unlock();
        m_thread.join();
        return;
    }
    // The callback holds the thread. The address and the device must be free for the next open all the same.
    end();
    m_thread.detach();
}

}  // namespace oskel
