// Custom events: the only way from the threads of the transport and stream libraries to the main window.
#pragma once

#include <QEvent>
#include <QObject>
#include <cstdint>

// The closed list of custom events. Payloads of posted events are blocks from std::malloc, freed by the
// receiver with std::free; the frame parcel (1009) is a FrameParcel object. Where a size is implied by the
// type it is 0.
//   name, number, payload
#define SORVANE_EVENTS(X)                                                                        \
    X(EVT_CMD_BTN_DOWN, 1000)  /* sent: sender = the button */                                   \
    X(EVT_CMD_BTN_UP, 1001)    /* sent: sender = the button */                                   \
    X(EVT_REPLAY_START, 1002)  /* posted, plain */                                               \
    X(EVT_REPLAY_END, 1003)    /* posted, plain */                                               \
    X(EVT_TELEMETRY, 1004)     /* posted: 60-byte TelemetryRecord */                             \
    X(EVT_TELEMETRY_ALT, 1005) /* handled as 1004; nothing raises it */                          \
    X(EVT_PLAY_FAIL, 1006)     /* posted, plain; no handler */                                   \
    X(EVT_LINK_FRAME, 1007)    /* posted: reply frame body of `size` bytes, 16-bit code first */ \
    X(EVT_INS_FRAME, 1008)     /* posted: 53-byte body of an InsFrame */                         \
    X(EVT_VIDEO_FRAME, 1009)   /* posted: FrameParcel */                                         \
    X(EVT_NAV_BLOCK, 1010)     /* posted: 30-byte NavBlock */

enum MyEventType : int {
#define SORVANE_EVENT_ENUM(name, number) name = number,
    SORVANE_EVENTS(SORVANE_EVENT_ENUM)
#undef SORVANE_EVENT_ENUM
};

class QMyEvent : public QEvent {
public:
    QMyEvent(int type, QObject* sender, void* data, std::int32_t size)
        : QEvent(static_cast<QEvent::Type>(type)), sender(sender), data(data), size(size) {}

    QObject* sender;    // the widget that raised the event; null from worker threads
    void* data;         // payload, owned by the receiver
    std::int32_t size;  // payload length in bytes
};

// An event without data: replay start and end, play failure.
class QMyPlainEvent : public QEvent {
public:
    explicit QMyPlainEvent(int type) : QEvent(static_cast<QEvent::Type>(type)) {}
};
