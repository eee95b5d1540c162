#include "telemetry/link_callbacks.h"

#include <QCoreApplication>
#include <QTimer>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>

#include "app/events/event_receiver.h"
#include "app/events/my_event.h"
#include "link/nav_block.h"
#include "telemetry/control_link_reassembler.h"
#include "telemetry/ins_reassembler.h"
#include "telemetry/interface_reassembler.h"

namespace {

struct FreeBlock {
    void operator()(void* block) const { std::free(block); }
};
using Block = std::unique_ptr<void, FreeBlock>;

// A payload without bytes still has a block, as its handler frees one. Null without memory.
Block copied(const std::uint8_t* bytes, std::size_t count) {
    Block block(std::malloc(count > 0 ? count : 1));
    if (block != nullptr && count > 0) {
        std::memcpy(block.get(), bytes, count);
    }
    return block;
}

// The reports that wait for the GUI thread. A line that brings more than the window can show must not keep
// that thread in one long round of events, without timers and input: beyond the limit reports are dropped
// until the round has ended, which takes a moment without new ones. At telemetry rates the limit is seconds
// away.
class Backlog {
public:
    bool admit() {
        if (m_full && (m_waiting > 0 || now() - m_last_left < kPause)) {
            return false;
        }
        m_full = m_waiting >= kMostWaitingReports;
        if (m_full) {
            return false;
        }
        ++m_waiting;
        return true;
    }
    void leave() {
        m_last_left = now();
        --m_waiting;
    }

private:
    using Clock = std::chrono::steady_clock;
    static Clock::rep now() { return Clock::now().time_since_epoch().count(); }
    static constexpr Clock::rep kPause = Clock::duration(std::chrono::milliseconds(2)).count();

    std::atomic<int> m_waiting{0};
    std::atomic<bool> m_full{false};
    std::atomic<Clock::rep> m_last_left{0};
};
Backlog g_backlog;

// Leaves the count when it has been handled or dropped.
class CountedEvent : public QMyEvent {
public:
    using QMyEvent::QMyEvent;
    ~CountedEvent() override { g_backlog.leave(); }
};

void postReport(int type, const std::uint8_t* bytes, std::size_t count) {
    QObject* receiver = eventReceiver();
    if (receiver == nullptr) {
        return;
    }
    Block payload = copied(bytes, count);
    if (payload != nullptr && g_backlog.admit()) {
        QCoreApplication::postEvent(receiver, new CountedEvent(type, nullptr, payload.release(), 0));
    }
}

// The replies. Each answers a question, and the next report does not make up for a lost one: reports in the
// way do not count against them, and many may wait. The GUI thread gets them in rounds with a pause between,
// in which timers and input have their turn; only what is in the present round has been posted.
class ReplyQueue {
public:
    void take(const std::uint8_t* payload, std::int32_t size) {
        Block block = copied(payload, static_cast<std::size_t>(size));
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (block == nullptr) {
            return;
        }
        if (m_room > 0) {
            post({std::move(block), size});
        } else if (m_waiting.size() < kMostWaitingReplies - kRound) {
            m_waiting.push_back({std::move(block), size});
        }
    }

private:
    struct Reply {
        Block payload;
        std::int32_t size;
    };
    static constexpr std::size_t kRound = 250;
    static constexpr int kPauseMs = 1;

    // With the lock held, which keeps the order between the port's thread and the next round.
    void post(Reply reply) {
        QObject* receiver = eventReceiver();
        if (receiver == nullptr) {
            return;
        }
        QCoreApplication::postEvent(
            receiver, new QMyEvent(EVT_LINK_FRAME, nullptr, reply.payload.release(), reply.size));
        if (--m_room == 0) {
            // Comes after the round's last reply, also while one of them holds a box open.
            QMetaObject::invokeMethod(
                qApp, [this] { QTimer::singleShot(kPauseMs, qApp, [this] { nextRound(); }); },
                Qt::QueuedConnection);
        }
    }
    void nextRound() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_room = kRound;
        while (m_room > 0 && !m_waiting.empty()) {
            Reply reply = std::move(m_waiting.front());
            m_waiting.pop_front();
            post(std::move(reply));
        }
    }

    std::mutex m_mutex;
    std::deque<Reply> m_waiting;  // empty while there is room
    std::size_t m_room = kRound;
};

// Never destroyed: a port's thread may still run when the process ends.
ReplyQueue& replies() {
    static auto* const queue = new ReplyQueue;
    return *queue;
}

struct ControlLinkSink {
    void telemetry(const std::uint8_t* record) {
        postReport(EVT_TELEMETRY, record, sorvane::kTelemetryRecordSize);
    }
    void linkFrame(const std::uint8_t* payload, std::int32_t size) { replies().take(payload, size); }
};

}  // namespace

void onControlLinkData(const std::uint8_t* data, std::int32_t length, std::int32_t) {
    static sorvane::ControlLinkReassembler reassembler;
    reassembler.feed(data, length, ControlLinkSink());
}

void onInsLinkData(const std::uint8_t* data, std::int32_t length, std::int32_t) {
    static sorvane::InsReassembler reassembler;
    // A stuck scan holds its thread: every port has a receive thread of its own, so the mark ends with the
    // port, and a port opened again starts without it. Letting the bytes go costs no core and keeps the port
    // easy to close, which a callback that does not return would not.
    thread_local bool stuck = false;
    if (stuck) {
        return;
    }
    const sorvane::InsFeed result = reassembler.feed(data, length, [](const std::uint8_t* payload) {
        postReport(EVT_INS_FRAME, payload, sorvane::InsReassembler::kPayloadSize);
    });
    stuck = result == sorvane::InsFeed::kStuck;
}

void onInterfaceData(const std::uint8_t* data, std::int32_t length, std::int32_t) {
    static sorvane::InterfaceReassembler reassembler;
    reassembler.feed(data, length, [](const std::uint8_t* block) {
        postReport(EVT_NAV_BLOCK, block, sorvane::kNavBlockSize);
    });
}
