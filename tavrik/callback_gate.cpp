#include "tavrik/callback_gate.h"

#include <algorithm>

namespace tavrik {

bool CallbackGate::enter() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (closed_) return false;
    inside_.push_back(std::this_thread::get_id());
    return true;
}

void CallbackGate::leave() {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto self = std::find(inside_.begin(), inside_.end(), std::this_thread::get_id());
    if (self != inside_.end()) inside_.erase(self);
    changed_.notify_all();
}

void CallbackGate::close() {
    const std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
}

bool CallbackGate::waitIdle(Clock::time_point deadline) {
    std::unique_lock<std::mutex> lock(mutex_);
    const auto self = std::this_thread::get_id();
    return changed_.wait_until(lock, deadline, [&] {
        return std::all_of(inside_.begin(), inside_.end(), [&](std::thread::id id) { return id == self; });
    });
}

bool CallbackGate::insideCall() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return std::find(inside_.begin(), inside_.end(), std::this_thread::get_id()) != inside_.end();
}

}  // namespace tavrik
