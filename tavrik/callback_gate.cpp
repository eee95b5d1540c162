#include "tavrik/callback_gate.h"

#include <algorithm>

namespace tavrik {

bool CallbackGate::enter() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_closed) {
        return false;
    }
    m_inside.push_back(std::this_thread::get_id());
    return true;
}

void CallbackGate::leave() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto self = std::find(m_inside.begin(), m_inside.end(), std::this_thread::get_id());
    if (self != m_inside.end()) {
        m_inside.erase(self);
    }
    m_changed.notify_all();
}

void CallbackGate::close() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_closed = true;
}

bool CallbackGate::waitIdle(Clock::time_point deadline) {
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto self = std::this_thread::get_id();
    return m_changed.wait_until(lock, deadline, [&] {
        return std::all_of(m_inside.begin(), m_inside.end(), [&](std::thread::id id) { return id == self; });
    });
}

bool CallbackGate::insideCall() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return std::find(m_inside.begin(), m_inside.end(), std::this_thread::get_id()) != m_inside.end();
}

}  // namespace tavrik
