// Receive callbacks of the three telemetry ports, to be handed to the transport library's open operations.
#pragma once

#include <cstddef>
#include <cstdint>

// What may wait for the window. Beyond it reports are dropped until the window has caught up; replies to the
// settings dialog (1007) have the second bound to themselves, and keep their order.
constexpr int kMostWaitingReports = 1000;
constexpr std::size_t kMostWaitingReplies = 10000;

// Each takes `length` bytes, any part of a stream, on the port's receive thread, and posts what it finds to
// eventReceiver() as QMyEvents with payloads from std::malloc. The state of each is its own, static, touched
// by its port's thread alone, and is kept when the port closes: a port opened again goes on with the bytes
// held. `context` takes no part. None of them blocks.
void onControlLinkData(const std::uint8_t* data, std::int32_t length, std::int32_t context);  // 1004, 1007
// Once a frame with a wrong length byte is met, nothing further is decoded from that port until it is closed.
void onInsLinkData(const std::uint8_t* data, std::int32_t length, std::int32_t context);    // 1008
void onInterfaceData(const std::uint8_t* data, std::int32_t length, std::int32_t context);  // 1010
