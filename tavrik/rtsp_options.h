// What an operator's "key=value" options mean to an RTSP session.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace tavrik {

enum class RtspTransport { kUdp, kTcp, kMulticast, kHttp };

struct RtspOptions {
    // Tried one after the other while the server refuses them.
    std::vector<RtspTransport> transports{RtspTransport::kTcp, RtspTransport::kUdp};
    int reorder_ms = 20;              // over UDP: how long a gap waits for a packet that comes late
    std::int64_t silence_ms = 0;      // the session ends after so long without a packet; 0: never
    int buffer_bytes = 8 << 20;       // of the system, over UDP
    int port_min = 0, port_max = 0;   // local ports over UDP; 0: any
    bool video = true, audio = true;  // which tracks may be asked for
    std::string user_agent;           // empty: the library's own
};

// Keys are those of FFmpeg's RTSP, with its units: rtsp_transport (udp, tcp, udp_multicast, http; several
// joined by '+'), rtsp_flags=prefer_tcp, max_delay (microseconds), reorder_queue_size (0: no wait), timeout
// and stimeout (microseconds), buffer_size (bytes), min_port, max_port, allowed_media_types (video, audio;
// joined by '+'), user_agent. The last of a key counts; other keys and values without a meaning change
// nothing.
RtspOptions rtspOptions(const std::vector<std::pair<std::string, std::string>>& given);

}  // namespace tavrik
