#include "tavrik/worker_group.h"

#include <algorithm>
#include <system_error>

namespace tavrik {

WorkerGroup::~WorkerGroup() {
    for (std::thread& thread : m_threads) {
        thread.detach();
    }
}

bool WorkerGroup::start(std::function<void()> body) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const std::lock_guard<std::mutex> stateLock(m_state->mutex);
    try {
        m_threads.emplace_back([state = m_state, body = std::move(body)]() mutable {
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
    ++m_state->running;
    return true;
}

bool WorkerGroup::finish(Clock::time_point deadline) {
    std::vector<std::thread> threads;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        threads.swap(m_threads);
    }
    const auto self = std::this_thread::get_id();
    const bool from_inside =
        std::any_of(threads.begin(), threads.end(), [&](const std::thread& t) { return t.get_id() == self; });
    bool all_ended = false;
    if (!from_inside) {
        std::unique_lock<std::mutex> lock(m_state->mutex);
        all_ended = m_state->changed.wait_until(lock, deadline, [this] { return m_state->running == 0; });
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
