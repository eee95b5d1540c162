// How ports end, whatever their peers and callbacks do.
#include <gtest/gtest.h>

#include <asio/write.hpp>
#include <atomic>
#include <functional>
#include <thread>

#include "oskel/oskel.h"
#include "tests/oskel/peers.h"

namespace {

using namespace peers;

// A port under test and a peer that can write to it.
struct Line {
    virtual ~Line() = default;
    virtual int dial(oskel::ReceiveCallback on_bytes) = 0;
    virtual void write(const Bytes& data) = 0;
};

struct DatagramLine : Line {
    int dial(oskel::ReceiveCallback on_bytes) override {
        return oskel::dialDatagram("127.0.0.1", peer.port(), "127.0.0.1", local, std::move(on_bytes));
    }
    void write(const Bytes& data) override { peer.send(data, "127.0.0.1", local); }
    UdpPeer peer;
    int local = freeUdpPort();
};

struct StreamLine : Line {
    int dial(oskel::ReceiveCallback on_bytes) override {
        const int handle = oskel::dialStream("127.0.0.1", listener.port(), std::move(on_bytes));
        if (handle >= 1) {
            asio::error_code unimportant;
            listener.socket().close(unimportant);
            listener.accept();
            listener.socket().non_blocking(true);
        }
        return handle;
    }
    void write(const Bytes& data) override {
        asio::error_code closed_or_full;
        listener.socket().write_some(asio::buffer(data), closed_or_full);
    }
    TcpPeer listener;
};

class HangUp : public testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        if (GetParam()) {
            line = std::make_unique<StreamLine>();
        } else {
            line = std::make_unique<DatagramLine>();
        }
    }

    static void expectClosesInTime(int handle) {
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_EQ(oskel::hang_up(handle), 0);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, close_deadline);
    }

    std::unique_ptr<Line> line;
};
INSTANTIATE_TEST_SUITE_P(Ports, HangUp, testing::Bool(),
                         [](const auto& info) { return std::string(info.param ? "Stream" : "Datagram"); });

TEST_P(HangUp, OfASilentPort) {
    const int handle = line->dial({});
    ASSERT_GE(handle, 1);
    expectClosesInTime(handle);
    EXPECT_EQ(push("late", handle), -1);
    EXPECT_EQ(oskel::hang_up(handle), -1);
}

TEST_P(HangUp, LeavesAStuckCallbackBehind) {
    struct Shared {
        Signal entered;
        Signal release;
        std::atomic<int> calls{0};
    };
    auto shared = std::make_shared<Shared>();
    std::weak_ptr<Shared> kept_by_callback = shared;
    const int handle = line->dial([shared](const std::uint8_t* data, std::int32_t length, std::int32_t) {
        ++shared->calls;
        shared->entered.set();
        shared->release.wait(std::chrono::seconds(60));
        // The buffer is still there.
        EXPECT_EQ(Bytes(data, data + length), bytes("first"));
    });
    ASSERT_GE(handle, 1);
    line->write(bytes("first"));
    ASSERT_TRUE(shared->entered.wait());
    line->write(bytes("second"));
    expectClosesInTime(handle);
    EXPECT_EQ(push("late", handle), -1);

    // What the port held is free already.
    Inbox inbox;
    const int again = line->dial(inbox.callback());
    ASSERT_GE(again, 1);
    line->write(bytes("to the new one"));
    EXPECT_EQ(inbox.waitFor(14), bytes("to the new one"));
    oskel::hang_up(again);

    shared->release.set();
    // Let go, the thread ends without another call and frees what it used.
    EXPECT_TRUE(waitUntil([&] { return shared.use_count() == 1; }));
    EXPECT_EQ(shared->calls, 1);
    shared.reset();
    EXPECT_TRUE(kept_by_callback.expired());
}

TEST_P(HangUp, WaitsForACallbackThatReturns) {
    Signal entered;
    std::atomic<bool> returned{false};
    const int handle = line->dial([&](const std::uint8_t*, std::int32_t, std::int32_t) {
        entered.set();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        returned = true;
    });
    ASSERT_GE(handle, 1);
    line->write(bytes("x"));
    ASSERT_TRUE(entered.wait());
    expectClosesInTime(handle);
    EXPECT_TRUE(returned);
}

TEST_P(HangUp, WorksFromWithinTheCallback) {
    struct Shared {
        Signal handle_is_known;
        Signal done;
        std::atomic<int> handle{0};
        std::atomic<int> result{99};
        std::atomic<int> push_result{99};
        std::atomic<int> calls{0};
    };
    auto shared = std::make_shared<Shared>();
    shared->handle = line->dial([shared](const std::uint8_t*, std::int32_t, std::int32_t) {
        ++shared->calls;
        shared->handle_is_known.wait();
        shared->result = oskel::hang_up(shared->handle);
        shared->push_result = push("late", shared->handle);
        shared->done.set();
    });
    ASSERT_GE(shared->handle, 1);
    shared->handle_is_known.set();
    line->write(bytes("close"));
    line->write(bytes("again"));
    ASSERT_TRUE(shared->done.wait());
    EXPECT_EQ(shared->result, 0);
    EXPECT_EQ(shared->push_result, -1);
    EXPECT_EQ(oskel::hang_up(shared->handle), -1);
    EXPECT_TRUE(waitUntil([&] { return shared.use_count() == 1; }));
    EXPECT_EQ(shared->calls, 1);
    const int again = line->dial({});
    EXPECT_GE(again, 1);
    oskel::hang_up(again);
}

// A peer that writes as fast as it can, for as long as this lives.
class Flood {
public:
    explicit Flood(Line& line) : m_line(line), m_thread([this] { run(); }) {}
    ~Flood() {
        m_stop = true;
        m_thread.join();
    }

    // No write goes on while `work` runs, for the line is not made for two threads.
    template <typename Work>
    void pauseFor(Work work) {
        m_pause = true;  // a mutex alone need not ever let this thread in
        std::lock_guard lock(m_mutex);
        work();
        m_pause = false;
    }

private:
    void run() {
        const Bytes run(500, 0x5A);
        while (!m_stop) {
            if (m_pause) {
                std::this_thread::yield();
                continue;
            }
            std::lock_guard lock(m_mutex);
            m_line.write(run);
        }
    }

    Line& m_line;
    std::atomic<bool> m_stop{false};
    std::atomic<bool> m_pause{false};
    std::mutex m_mutex;
    std::thread m_thread;
};

TEST_P(HangUp, UnderAFloodInTime) {
    Inbox inbox;
    const int handle = line->dial(inbox.callback());
    ASSERT_GE(handle, 1);
    Flood flood(*line);
    EXPECT_GE(inbox.waitFor(100000).size(), 100000u);
    expectClosesInTime(handle);
}

TEST_P(HangUp, NoCallbackStartsAfterIt) {
    std::atomic<bool> violated{false};
    Flood flood(*line);
    for (int round = 0; round < 100; ++round) {
        struct Shared {
            Signal called;
            std::atomic<bool> closed{false};
        };
        auto shared = std::make_shared<Shared>();
        int handle = 0;
        flood.pauseFor([&] {
            handle = line->dial([shared, &violated](const std::uint8_t*, std::int32_t, std::int32_t) {
                if (shared->closed) {
                    violated = true;
                }
                shared->called.set();
            });
        });
        ASSERT_GE(handle, 1);
        ASSERT_TRUE(shared->called.wait());
        ASSERT_EQ(oskel::hang_up(handle), 0);
        shared->closed = true;
    }
    EXPECT_FALSE(violated);
}

TEST_P(HangUp, OnlyOneOfSeveralCallersCloses) {
    for (int round = 0; round < 20; ++round) {
        const int handle = line->dial({});
        ASSERT_GE(handle, 1);
        std::atomic<int> closed{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&] {
                push("x", handle);
                if (oskel::hang_up(handle) == 0) {
                    ++closed;
                }
            });
        }
        for (auto& thread : threads) {
            thread.join();
        }
        ASSERT_EQ(closed, 1);
    }
}

TEST(HangUpBoth, PortsWhoseCallbacksCloseEachOther) {
    struct Shared {
        Signal both_have_begun;
        std::atomic<int> handle[2] = {{0}, {0}};
        Signal begun[2];
        Signal done[2];
    };
    auto shared = std::make_shared<Shared>();
    DatagramLine lines[2];
    for (int i = 0; i < 2; ++i) {
        shared->handle[i] = lines[i].dial([shared, i](const std::uint8_t*, std::int32_t, std::int32_t) {
            shared->begun[i].set();
            shared->both_have_begun.wait();
            oskel::hang_up(shared->handle[1 - i]);
            shared->done[i].set();
        });
        ASSERT_GE(shared->handle[i], 1);
    }
    lines[0].write(bytes("x"));
    lines[1].write(bytes("x"));
    ASSERT_TRUE(shared->begun[0].wait());
    ASSERT_TRUE(shared->begun[1].wait());
    shared->both_have_begun.set();
    EXPECT_TRUE(shared->done[0].wait());
    EXPECT_TRUE(shared->done[1].wait());
    oskel::hang_up(shared->handle[0]);
    oskel::hang_up(shared->handle[1]);
    EXPECT_TRUE(waitUntil([&] { return shared.use_count() == 1; }));
}

}  // namespace
