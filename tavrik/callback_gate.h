// Every callback of a stream goes through its gate, so that none begins once the stream is closed.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace tavrik {

using Clock = std::chrono::steady_clock;

// Any thread.
class CallbackGate {
public:
    // Runs `callback` unless the gate is closed; false if it was.
    template <class Callback>
    bool call(Callback&& callback) {
        if (!enter()) {
            return false;
        }
        callback();
        leave();
        return true;
    }

    // No call begins after this has returned.
    void close();
    // Waits for the calls that are under way, except one that this very thread is in. False at the deadline.
    bool waitIdle(Clock::time_point deadline);
    bool insideCall();

private:
    bool enter();
    void leave();

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::thread::id> m_inside;
    bool m_closed = false;
};

}  // namespace tavrik
