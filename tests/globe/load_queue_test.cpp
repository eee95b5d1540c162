#include "globe/load_queue.h"

#include <gtest/gtest.h>

#include <future>
#include <map>
#include <stdexcept>
#include <string>

namespace globe {
namespace {

using namespace std::chrono_literals;
using Queue = LoadQueue<int, std::string>;

constexpr auto kDeadline = 60s;

bool waitFor(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + kDeadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

// Holds jobs until the test lets them go.
class Gate {
public:
    void open() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_open = true;
        m_changed.notify_all();
    }
    void pass() {
        std::unique_lock<std::mutex> lock(m_mutex);
        ++m_waiting;
        m_changed.wait(lock, [this] { return m_open; });
    }
    bool somebodyWaits() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_waiting > 0;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_open = false;
    int m_waiting = 0;
};

// One thread whose first job stands at the gate while the others are asked for.
struct Held {
    std::shared_ptr<Gate> gate = std::make_shared<Gate>();
    std::shared_ptr<std::vector<int>> order = std::make_shared<std::vector<int>>();
    Queue queue{1, [gate = gate, order = order]() -> Queue::Job {
                    return [gate, order](const int& key, const Queue::Flag& cancelled) {
                        if (key == 0) {
                            gate->pass();
                        }
                        if (!cancelled) {
                            order->push_back(key);
                        }
                        return std::to_string(key);
                    };
                }};
    Held() {
        queue.beginRound();
        queue.request(0, 0.0);
        queue.endRound();
        EXPECT_TRUE(waitFor([this] { return gate->somebodyWaits(); }));
    }
    std::vector<int> finish() {
        gate->open();
        std::vector<int> keys;
        EXPECT_TRUE(waitFor([&] {
            for (auto& [key, result] : queue.take(100)) {
                EXPECT_EQ(result, std::to_string(key));
                keys.push_back(key);
            }
            return queue.pending() == 0;
        }));
        return keys;
    }
};

TEST(LoadQueue, TheGreatestNeedGoesFirstOfEqualOnesTheNewest) {
    Held held;
    held.queue.beginRound();
    held.queue.request(0, 0.0);
    held.queue.request(1, 5.0);
    held.queue.request(2, 9.0);
    held.queue.request(3, 5.0);
    held.queue.request(4, 1.0);
    held.queue.endRound();
    EXPECT_EQ(held.finish(), (std::vector<int>{0, 2, 3, 1, 4}));
}

TEST(LoadQueue, TheNeedOfTheLastRoundCounts) {
    Held held;
    for (const bool last : {false, true}) {
        held.queue.beginRound();
        held.queue.request(0, 0.0);
        held.queue.request(1, last ? 1.0 : 9.0);
        held.queue.request(2, 5.0);
        held.queue.endRound();
    }
    EXPECT_EQ(held.finish(), (std::vector<int>{0, 2, 1}));
}

TEST(LoadQueue, WhatIsNotAskedForAgainIsDropped) {
    Held held;
    held.queue.beginRound();
    held.queue.request(0, 0.0);
    held.queue.request(1, 1.0);
    held.queue.request(2, 1.0);
    held.queue.endRound();
    held.queue.beginRound();
    held.queue.request(0, 0.0);
    held.queue.request(2, 1.0);
    held.queue.endRound();
    EXPECT_EQ(held.finish(), (std::vector<int>{0, 2}));
}

TEST(LoadQueue, WhatRunsUnwantedGivesNothing) {
    Held held;
    held.queue.beginRound();
    held.queue.request(1, 1.0);
    held.queue.endRound();
    EXPECT_EQ(held.finish(), (std::vector<int>{1}));
    EXPECT_EQ(*held.order, (std::vector<int>{1}));
}

TEST(LoadQueue, WantedAgainAfterItWasCancelledRunsOnceMore) {
    Held held;
    held.queue.beginRound();
    held.queue.endRound();
    held.queue.beginRound();
    held.queue.request(0, 1.0);
    held.queue.endRound();
    EXPECT_EQ(held.finish(), (std::vector<int>{0}));
    EXPECT_EQ(*held.order, (std::vector<int>{0}));
}

TEST(LoadQueue, EachThreadHasAJobOfItsOwnAndEveryResultComesOnce) {
    std::atomic<int> made{0};
    std::atomic<int> rung{0};
    Queue queue(
        3,
        [&]() -> Queue::Job {
            ++made;
            return [](const int& key, const Queue::Flag&) { return std::to_string(key); };
        },
        [&] { ++rung; });
    std::map<int, int> seen;
    constexpr int kKeys = 300;
    EXPECT_TRUE(waitFor([&] {
        queue.beginRound();
        for (int key = 0; key < kKeys; ++key) {
            if (seen.count(key) == 0) {
                queue.request(key, key % 7);
            }
        }
        queue.endRound();
        for (auto& [key, result] : queue.take(10)) {
            EXPECT_EQ(result, std::to_string(key));
            ++seen[key];
        }
        return seen.size() == kKeys;
    }));
    EXPECT_TRUE(waitFor([&] { return made == 3; }));
    EXPECT_GE(rung, kKeys);
    for (const auto& [key, times] : seen) {
        EXPECT_EQ(times, 1) << key;
    }
}

TEST(LoadQueue, AJobThatThrowsHasAnEmptyResult) {
    Queue queue(1, []() -> Queue::Job {
        return [](const int&, const Queue::Flag&) -> std::string { throw std::runtime_error("no"); };
    });
    queue.beginRound();
    queue.request(7, 1.0);
    queue.endRound();
    Queue::Done done;
    ASSERT_TRUE(waitFor([&] { return !(done = queue.take(1)).empty(); }));
    EXPECT_EQ(done[0], (std::pair<int, std::string>(7, "")));
}

TEST(LoadQueue, RingsAtTheTimeThatWasSetLastAndOnce) {
    const auto echo = []() -> Queue::Job {
        return [](const int& key, const Queue::Flag&) { return std::to_string(key); };
    };
    std::atomic<int> rung{0};
    Queue queue(1, echo, [&] { ++rung; });
    const auto start = std::chrono::steady_clock::now();
    queue.ringAt(start + 1h);
    queue.ringAt(start + 50ms);
    ASSERT_TRUE(waitFor([&] { return rung > 0; }));
    EXPECT_GE(std::chrono::steady_clock::now(), start + 50ms);
    // Work is done while a time is set.
    queue.ringAt(std::chrono::steady_clock::now() + 1h);
    queue.beginRound();
    queue.request(4, 1.0);
    queue.endRound();
    ASSERT_TRUE(waitFor([&] { return queue.hasResults(); }));
    EXPECT_EQ(rung, 2);
    EXPECT_TRUE(queue.stop(kDeadline));
}

TEST(LoadQueue, StopTellsWhatRunsAndWaitsForIt) {
    std::promise<void> running;
    bool told = false;
    Queue queue(1, [&]() -> Queue::Job {
        return [&](const int&, const Queue::Flag& cancelled) {
            running.set_value();
            told = waitFor([&] { return cancelled.load(); });
            return std::string();
        };
    });
    queue.beginRound();
    queue.request(1, 1.0);
    queue.endRound();
    running.get_future().wait();
    EXPECT_TRUE(queue.stop(kDeadline));
    EXPECT_TRUE(told);
    EXPECT_TRUE(queue.take(1).empty());
    queue.request(2, 1.0);
    EXPECT_TRUE(queue.stop(0ms));
}

TEST(LoadQueue, WhatDoesNotComeBackIsLeftToItself) {
    const auto gate = std::make_shared<Gate>();
    const auto ended = std::make_shared<std::promise<void>>();
    std::future<void> end = ended->get_future();
    std::atomic<int> rung{0};
    {
        Queue queue(
            1,
            [gate, ended]() -> Queue::Job {
                // Told when the thread lets go of what its job owns.
                const std::shared_ptr<void> owned(nullptr, [ended](void*) { ended->set_value(); });
                return [gate, owned](const int&, const Queue::Flag&) {
                    gate->pass();
                    return std::string("late");
                };
            },
            [&rung] { ++rung; });
        queue.beginRound();
        queue.request(1, 1.0);
        queue.endRound();
        ASSERT_TRUE(waitFor([&] { return gate->somebodyWaits(); }));
        EXPECT_FALSE(queue.stop(5ms));
    }
    gate->open();
    ASSERT_EQ(end.wait_for(kDeadline), std::future_status::ready);
    EXPECT_EQ(rung, 0);
}

}  // namespace
}  // namespace globe
