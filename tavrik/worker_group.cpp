#include "tavrik/worker_group.h"

#include <algorithm>
#include <system_error>

namespace tavrik {

WorkerGroup::~WorkerGroup() {
    for (std::thread& thread : threads_)
        thread.detach();
}

bool WorkerGroup::start(std::function<void()> body) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const std::lock_guard<std::mutex> state_lock(state_->mutex);
    try {
        threads_.emplace_back([state = state_, body = std::move(body)]() mutable {
            body();
            // Destroys the owner if this was its last user; only `state` is touched after.
            body = nullptr;
            const std::lock_guard<std::mutex> done(state->mutex);
            --state->running;
            state->changed.notify_all();
        });
    } catch (const std::system_error&) {
        return false;
    }
    ++state_->running;
    return true;
}

bool WorkerGroup::finish(Clock::time_point deadline) {
    std::vector<std::thread> threads;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        threads.swap(threads_);
    }
    const auto self = std::this_thread::get_id();
    const bool from_inside =
        std::any_of(threads.begin(), threads.end(), [&](const std::thread& t) { return t.get_id() == self; });
    bool all_ended = false;
    if (!from_inside) {
        std::unique_lock<std::mutex> lock(state_->mutex);
        all_ended = state_->changed.wait_until(lock, deadline, [this] { return state_->running == 0; });
    }
    for (std::thread& thread : threads) {
        if (all_ended) {
            thread.join();
        } else {
            thread.detach();
        }
    }
    return all_ended;
}

}  // namespace tavrik
