#include "oskel/port.h"

#include <asio/post.hpp>
#include <chrono>
#include <system_error>

#include "oskel/system.h"

namespace oskel {
namespace {

// Together well below the second that a close may take.
constexpr std::chrono::milliseconds longest_linger{250};
constexpr std::chrono::milliseconds longest_wait_for_thread{600};

}  // namespace

bool Port::start() {
    {
        std::lock_guard lock(mutex_);
        arm_receive();
    }
    try {
        thread_ = std::thread([self = shared_from_this()] { self->run(); });
    } catch (const std::system_error&) {
        std::lock_guard lock(mutex_);
        end();
        return false;
    }
    return true;
}

void Port::run() {
    system::name_this_thread(name_);
    // Returns when nothing is pending, that is once the device is closed and its last operation has come
    // back.
    io_.run();
    std::lock_guard lock(mutex_);
    thread_is_over_ = true;
    finished_.notify_all();
}

void Port::deliver(std::size_t size) {
    {
        std::lock_guard lock(mutex_);
        if (closing_) return;
    }
    if (on_bytes_) on_bytes_(received_.data(), static_cast<std::int32_t>(size), 0);
}

int Port::push(const std::uint8_t* data, std::size_t size) {
    std::lock_guard lock(mutex_);
    return ended_ || closing_ ? -1 : send(data, size);
}

void Port::end() {
    if (ended_) return;
    ended_ = true;
    close_device();
}

void Port::linger_and_end() {
    const auto deadline = std::chrono::steady_clock::now() + longest_linger;
    std::unique_lock lock(mutex_);
    while (!ended_ && lingering() > 0 && std::chrono::steady_clock::now() < deadline) {
        lock.unlock();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        lock.lock();
    }
    end();
}

void Port::hang_up() {
    std::unique_lock lock(mutex_);
    closing_ = true;
    if (std::this_thread::get_id() == thread_.get_id()) {
        end();
        thread_.detach();
        return;
    }
    asio::post(io_, [this] { linger_and_end(); });
    if (finished_.wait_for(lock, longest_wait_for_thread, [this] { return thread_is_over_; })) {
        lock.unlock();
        thread_.join();
        return;
    }
    // The callback holds the thread. The address and the device must be free for the next open all the same.
    end();
    thread_.detach();
}

}  // namespace oskel
