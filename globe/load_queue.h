// Work for threads in the background, asked for anew each time round by the one who needs it.
#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

namespace globe {

// One client thread asks and takes; jobs run on threads of the queue. The greatest need goes first, of equal
// ones the newest. What the client does not ask for again in its next round is dropped if it waits, and told
// so through the job's flag if it runs. A job that throws has the result of a default-constructed Result.
template <typename Key, typename Result, typename Hash = std::hash<Key>>
class LoadQueue {
public:
    using Flag = std::atomic<bool>;
    using Job = std::function<Result(const Key&, const Flag& cancelled)>;
    using Done = std::vector<std::pair<Key, Result>>;

    // `make_job` runs once on each thread, so that a job can own what belongs to one thread. `on_result` runs
    // on those threads whenever a result is ready to be taken, never after stop().
    LoadQueue(int threads, std::function<Job()> make_job, std::function<void()> on_result = {})
        : m_shared(std::make_shared<Shared>()) {
        m_shared->make_job = std::move(make_job);
        m_shared->on_result = std::move(on_result);
        m_shared->alive = threads;
        for (int i = 0; i < threads; ++i) {
            m_threads.emplace_back([shared = m_shared] { work(*shared); });
        }
    }
    LoadQueue(const LoadQueue&) = delete;
    LoadQueue& operator=(const LoadQueue&) = delete;
    ~LoadQueue() { stop(std::chrono::milliseconds(500)); }

    void beginRound() {
        const std::lock_guard<std::mutex> lock(m_shared->mutex);
        ++m_shared->round;
    }

    // Does nothing but renew the need where the key runs or waits to be taken already.
    void request(const Key& key, double need) {
        const std::lock_guard<std::mutex> lock(m_shared->mutex);
        if (m_shared->stopping) {
            return;
        }
        Entry& entry = m_shared->entries[key];
        entry.need = need;
        entry.round = m_shared->round;
        if (entry.state == State::kNew) {
            entry.state = State::kWaiting;
            entry.serial = ++m_shared->serial;
            m_shared->wake.notify_one();
        }
    }

    void endRound() {
        const std::lock_guard<std::mutex> lock(m_shared->mutex);
        auto& entries = m_shared->entries;
        for (auto at = entries.begin(); at != entries.end();) {
            Entry& entry = at->second;
            const bool unwanted = entry.round != m_shared->round;
            if (unwanted && entry.state == State::kRunning) {
                // For good, even if it is wanted again at once: nobody knows whether the job has noticed.
                *entry.cancelled = true;
            }
            at = unwanted && entry.state == State::kWaiting ? entries.erase(at) : std::next(at);
        }
    }

    // At most so many results, the oldest first. A cancelled job's result is not among them.
    Done take(std::size_t most) {
        const std::lock_guard<std::mutex> lock(m_shared->mutex);
        Done taken;
        while (!m_shared->done.empty() && taken.size() < most) {
            m_shared->entries.erase(m_shared->done.front().first);
            taken.push_back(std::move(m_shared->done.front()));
            m_shared->done.pop_front();
        }
        return taken;
    }

    bool hasResults() const {
        const std::lock_guard<std::mutex> lock(m_shared->mutex);
        return !m_shared->done.empty();
    }

    // What waits, runs, or is ready to be taken.
    std::size_t pending() const {
        const std::lock_guard<std::mutex> lock(m_shared->mutex);
        return m_shared->entries.size();
    }

    // `on_result` runs once more at that time, or somewhat later if all threads are at work; in place of what
    // was set before. Time::max() for never.
    using Time = std::chrono::steady_clock::time_point;
    void ringAt(Time at) {
        const std::lock_guard<std::mutex> lock(m_shared->mutex);
        if (m_shared->ring_at != at) {
            m_shared->ring_at = at;
            m_shared->wake.notify_all();
        }
    }

    // Ends the threads; running jobs see their flag. Those that have not come back after `limit` are left to
    // themselves: they keep what they need alive and touch nothing else. True if all have ended.
    bool stop(std::chrono::milliseconds limit) {
        bool ended = true;
        {
            std::unique_lock<std::mutex> lock(m_shared->mutex);
            m_shared->stopping = true;
            m_shared->on_result = {};
            for (auto& [key, entry] : m_shared->entries) {
                if (entry.cancelled) {
                    *entry.cancelled = true;
                }
            }
            m_shared->wake.notify_all();
            // Those that were left to themselves before are not waited for again.
            const auto patience = m_threads.empty() ? std::chrono::milliseconds(0) : limit;
            ended = m_shared->ended.wait_for(lock, patience, [this] { return m_shared->alive == 0; });
        }
        for (std::thread& thread : m_threads) {
            if (ended) {
                thread.join();
            } else {
                thread.detach();
            }
        }
        m_threads.clear();
        return ended;
    }

private:
    enum class State { kNew, kWaiting, kRunning, kDone };
    struct Entry {
        State state = State::kNew;
        double need = 0.0;
        std::uint64_t round = 0;
        std::uint64_t serial = 0;
        std::shared_ptr<Flag> cancelled;  // while it runs
    };
    using Entries = std::unordered_map<Key, Entry, Hash>;

    struct Shared {
        std::mutex mutex;
        std::condition_variable wake;
        std::condition_variable ended;
        std::function<Job()> make_job;
        std::function<void()> on_result;
        Entries entries;
        std::deque<std::pair<Key, Result>> done;
        std::uint64_t round = 0;
        std::uint64_t serial = 0;
        Time ring_at = Time::max();
        int alive = 0;
        bool stopping = false;
    };

    static typename Entries::iterator mostNeeded(Entries& entries) {
        auto best = entries.end();
        for (auto at = entries.begin(); at != entries.end(); ++at) {
            const Entry& entry = at->second;
            if (entry.state == State::kWaiting &&
                (best == entries.end() || entry.need > best->second.need ||
                 (entry.need == best->second.need && entry.serial > best->second.serial))) {
                best = at;
            }
        }
        return best;
    }

    static Result run(const Job& job, const Key& key, const Flag& cancelled) {
        try {
            return job(key, cancelled);
        } catch (...) {
            return Result();
        }
    }

    static void finish(Shared& shared, const Key& key, Result result) {
        const auto found = shared.entries.find(key);
        Entry& entry = found->second;
        if (*entry.cancelled || shared.stopping) {
            // Asked for again since the flag was set: once more, from the start.
            const bool again = entry.round == shared.round && !shared.stopping;
            entry.state = State::kWaiting;
            entry.cancelled.reset();
            if (!again) {
                shared.entries.erase(found);
            }
            return;
        }
        entry.state = State::kDone;
        entry.cancelled.reset();
        shared.done.emplace_back(key, std::move(result));
        if (shared.on_result) {
            shared.on_result();
        }
    }

    // Until there may be something to do. Rings if it is time.
    static void rest(Shared& shared, std::unique_lock<std::mutex>& lock) {
        const Time ring_at = shared.ring_at;
        if (ring_at == Time::max()) {
            shared.wake.wait(lock);
            return;
        }
        if (std::chrono::steady_clock::now() < ring_at) {
            shared.wake.wait_until(lock, ring_at);
            return;
        }
        shared.ring_at = Time::max();
        if (shared.on_result) {
            shared.on_result();
        }
    }

    static void work(Shared& shared) {
        {
            Job job;
            try {
                job = shared.make_job();
            } catch (...) {
                job = [](const Key&, const Flag&) { return Result(); };
            }
            std::unique_lock<std::mutex> lock(shared.mutex);
            while (!shared.stopping) {
                const auto next = mostNeeded(shared.entries);
                if (next == shared.entries.end()) {
                    rest(shared, lock);
                    continue;
                }
                const Key key = next->first;
                const auto cancelled = std::make_shared<Flag>(false);
                next->second.state = State::kRunning;
                next->second.cancelled = cancelled;
                lock.unlock();
                Result result = run(job, key, *cancelled);
                lock.lock();
                finish(shared, key, std::move(result));
            }
            lock.unlock();
            // The job, with what it owns, goes before the thread counts as ended.
        }
        const std::lock_guard<std::mutex> lock(shared.mutex);
        --shared.alive;
        shared.ended.notify_all();
    }

    std::shared_ptr<Shared> m_shared;
    std::vector<std::thread> m_threads;
};

}  // namespace globe
