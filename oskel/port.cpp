#include "oskel/port.h"

#include <algorithm>
#include <asio/post.hpp>
#include <chrono>
#include <system_error>

#include "oskel/system.h"

namespace oskel {
namespace {

// Below the second that a close may take; the latter from the same beginning.
constexpr std::chrono::milliseconds kLongestLinger{850};
constexpr std::chrono::milliseconds kLongestWaitForThread{930};
constexpr std::chrono::milliseconds kLookAgain{5};

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
    const bool ahead = takeMark();
    return m_ended || m_closing ? -1 : send(data, size, ahead);
}

void Port::markAhead() {
    std::lock_guard lock(m_mutex);
    const auto self = std::this_thread::get_id();
    if (std::find(m_markers.begin(), m_markers.end(), self) == m_markers.end()) {
        m_markers.push_back(self);
    }
}

bool Port::takeMark() {
    const auto mark = std::find(m_markers.begin(), m_markers.end(), std::this_thread::get_id());
    if (mark == m_markers.end()) {
        return false;
    }
    m_markers.erase(mark);
    return true;
}

int Port::lineBusyMs() {
    std::lock_guard lock(m_mutex);
    return m_ended ? 0 : busyMs();
}

SendTrouble Port::sendTrouble() {
    std::lock_guard lock(m_mutex);
    return trouble();
}

void Port::end() {
    if (m_ended) {
        return;
    }
    m_ended = true;
    m_lingering.cancel();
    closeDevice();
}

// By a timer, since the thread that would wait is the one that sends.
void Port::linger(std::chrono::steady_clock::time_point deadline) {
    std::lock_guard lock(m_mutex);
    if (m_ended) {
        return;
    }
    if (!lingers() || std::chrono::steady_clock::now() >= deadline) {
        end();
        return;
    }
    m_lingering.expires_after(kLookAgain);
    m_lingering.async_wait([this, deadline](const asio::error_code&) { linger(deadline); });
}

void Port::hang_up() {
    std::unique_lock lock(m_mutex);
    m_closing = true;
    if (std::this_thread::get_id() == m_thread.get_id()) {
        end();
        m_thread.detach();
        return;
    }
    const auto deadline = std::chrono::steady_clock::now() + kLongestLinger;
    asio::post(m_io, [this, deadline] { linger(deadline); });
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
