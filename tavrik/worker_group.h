// The threads of one stream: started together, ended within a deadline, and left behind safely if one hangs.
#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "tavrik/callback_gate.h"

namespace tavrik {

// A body keeps its owner alive (captures a shared pointer), so that a thread left behind finds everything in
// place.
class WorkerGroup {
public:
    WorkerGroup() : m_state(std::make_shared<State>()) {}
    ~WorkerGroup();
    WorkerGroup(const WorkerGroup&) = delete;
    WorkerGroup& operator=(const WorkerGroup&) = delete;

    // False if the system gives no thread.
    bool start(std::function<void()> body);
    // Waits for all threads to end. At the deadline, or when called from one of them, leaves the rest behind:
    // false.
    bool finish(Clock::time_point deadline);

private:
    struct State {
        std::mutex mutex;
        std::condition_variable changed;
        int running = 0;
    };
    std::mutex m_mutex;
    std::vector<std::thread> m_threads;
    std::shared_ptr<State> m_state;
};

}  // namespace tavrik
