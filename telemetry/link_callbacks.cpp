#include "telemetry/link_callbacks.h"

#include <QCoreApplication>
#include <cstdlib>
#include <cstring>

#include "app/korvath.h"
#include "link/nav_block.h"
#include "telemetry/control_link_reassembler.h"
#include "telemetry/ins_reassembler.h"
#include "telemetry/interface_reassembler.h"

namespace {

// `bytes` is copied; `size` is the event's size field, 0 where the type implies it.
void post(int type, const std::uint8_t* bytes, std::size_t count, std::int32_t size) {
    Korvath* window = instance();
    if (window == nullptr) return;
    // A reply without a payload still has a block, as its handler frees one.
    void* payload = std::malloc(count > 0 ? count : 1);
    if (payload == nullptr) return;
    std::memcpy(payload, bytes, count);
    QCoreApplication::postEvent(window, new QMyEvent(type, nullptr, payload, size));
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
    if (stuck) return;
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
