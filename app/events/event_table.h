// The closed list of custom events; enum, dispatch and the freeing of undelivered payloads follow from it.
#pragma once

// Payload kinds:
//   Sent   synchronous, an object of the caller's stack; `sender` is the button, no data
//   Plain  posted, an event without fields
//   Block  posted; data is a block from std::malloc, freed by the receiver with std::free
//   FrameParcel  posted; data is such an object, deleted by the receiver
// The handler is a member of the main window that takes the QMyEvent; passOn: there is none, and the event
// goes on to the toolkit's base class unchanged.
//   name, number, payload, handler
#define SORVANE_EVENTS(X)                                                                              \
    X(EVT_CMD_BTN_DOWN, 1000, Sent, onCommandButtonDown)                                               \
    X(EVT_CMD_BTN_UP, 1001, Sent, onCommandButtonUp)                                                   \
    X(EVT_REPLAY_START, 1002, Plain, onReplayStart)                                                    \
    X(EVT_REPLAY_END, 1003, Plain, onReplayEnd)                                                        \
    X(EVT_TELEMETRY, 1004, Block, onTelemetry)     /* 60-byte TelemetryRecord */                       \
    X(EVT_TELEMETRY_ALT, 1005, Block, onTelemetry) /* nothing raises it */                             \
    X(EVT_PLAY_FAIL, 1006, Plain, passOn)          /* nobody handles it */                             \
    X(EVT_LINK_FRAME, 1007, Block, onLinkFrame)    /* reply body of `size` bytes, 16-bit code first */ \
    X(EVT_INS_FRAME, 1008, Block, onInsFrame)      /* 53-byte body of an InsFrame */                   \
    X(EVT_VIDEO_FRAME, 1009, FrameParcel, onVideoFrame)                                                \
    X(EVT_NAV_BLOCK, 1010, Block, onNavBlock) /* 30-byte NavBlock */

enum MyEventType : int {
#define SORVANE_EVENT_ENUM(name, number, payload, handler) name = number,
    SORVANE_EVENTS(SORVANE_EVENT_ENUM)
#undef SORVANE_EVENT_ENUM
};
