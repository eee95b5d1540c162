#include "telemetry/link_callbacks.h"

#include <QCoreApplication>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>

#include "app/events/event_receiver.h"
#include "app/events/my_event.h"
#include "link/nav_block.h"
#include "telemetry/control_link_reassembler.h"
#include "telemetry/ins_reassembler.h"
#include "telemetry/interface_reassembler.h"

namespace {

// What waits for the GUI thread. A line that brings more than the window can show must not keep that thread
// in one long round of events, without timers and input: beyond the limit frames are dropped until the round
// has ended, which takes a moment without new ones. At telemetry rates the limit is seconds away.
class Backlog {
public:
    bool admit() {
        if (m_full && (m_waiting > 0 || now() - m_last_left < kPause)) {
            return false;
        }
        m_full = m_waiting >= kMostWaiting;
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
    static constexpr int kMostWaiting = 1000;
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

// `bytes` is copied; `size` is the event's size field, 0 where the type implies it.
void post(int type, const std::uint8_t* bytes, std::size_t count, std::int32_t size) {
    QObject* receiver = eventReceiver();
    if (receiver == nullptr) {
        return;
    }
    // A reply without a payload still has a block, as its handler frees one.
    void* payload = std::malloc(count > 0 ? count : 1);
    if (payload == nullptr) {
        return;
    }
    if (!g_backlog.admit()) {
        std::free(payload);
        return;
    }
    std::memcpy(payload, bytes, count);
    QCoreApplication::postEvent(receiver, new CountedEvent(type, nullptr, payload, size));
}

struct ControlLinkSink {
    void telemetry(const std::uint8_t* record) {
        post(EVT_TELEMETRY, record, sorvane::kTelemetryRecordSize, 0);
    }
    void linkFrame(const std::uint8_t* payload, std::int32_t size) {
        post(EVT_LINK_FRAME, payload, static_cast<std::size_t>(size), size);
    }
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
        post(EVT_INS_FRAME, payload, sorvane::InsReassembler::kPayloadSize, 0);
    });
    stuck = result == sorvane::InsFeed::kStuck;
}

void onInterfaceData(const std::uint8_t* data, std::int32_t length, std::int32_t) {
    static sorvane::InterfaceReassembler reassembler;
    reassembler.feed(data, length, [](const std::uint8_t* block) {
        post(EVT_NAV_BLOCK, block, sorvane::kNavBlockSize, 0);
    });
}
