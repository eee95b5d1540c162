// Rules of opening a stream: the history of addresses, what of it is offered, and the pacing of a cached
// stream. Texts are UTF-8.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace sorvane {

// The order of the stream types in the connection dialog.
enum StreamType : int { kStreamRtsp = 0, kStreamUdpRaw = 1, kStreamUdp422 = 2, kStreamUdpTs = 3 };

// An address that was opened: a known one changes places with the first entry (an exchange, not a move to the
// front), an unknown one is inserted before all.
void noteOpenedAddress(std::vector<std::string>& history, const std::string& address);
// Whether an address of the history is offered with a stream type: those with "rtsp" or "http" in them for
// RTSP alone.
bool offeredWith(int stream_type, const std::string& address);
// The part of a URL from its first "192" up to its last ":", that one left out; empty if either is missing or
// in the wrong order. An address of another range therefore gives nothing.
std::string hostPart(const std::string& url);
// The address field of the second channel for a stream type.
std::string secondAddress(int stream_type, const std::string& stored);

// Presentation rate of a cached stream, pictures per second.
struct PacingRule {
    float modify = 1.0F;  // step of one tick
    int min_fps = 35;
    int cache_max = 20;  // pictures that may wait without the rate rising
};
// was_empty: the cache was empty at the tick; left: pictures still waiting after the tick took its one.
float nextShowFps(float show_fps, bool was_empty, std::size_t left, const PacingRule& rule);
// Timer period in ms, truncated; 1000 for a rate that has none, and never below 1.
int framePeriodMs(float show_fps);

}  // namespace sorvane
