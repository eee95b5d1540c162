// The thread of a proxy, on which all of its work is done.
#pragma once

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/post.hpp>
#include <future>
#include <thread>

namespace chaos {

class Loop {
public:
    Loop() : m_work(io.get_executor()) {}
    ~Loop() { stop(); }

    void start() {
        m_thread = std::thread([this] { io.run(); });
    }

    // Before anything that handlers use goes away.
    void stop() {
        io.stop();
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }

    // Runs `work` on the thread and waits for it.
    template <typename Work>
    void run(Work work) {
        std::promise<void> done;
        asio::post(io, [&] {
            work();
            done.set_value();
        });
        done.get_future().wait();
    }

    asio::io_context io;

private:
    asio::executor_work_guard<asio::io_context::executor_type> m_work;
    std::thread m_thread;
};

}  // namespace chaos
