#include "tavrik/rtsp_options.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace tavrik {
namespace {

constexpr int kMaxReorderMs = 5000;
constexpr int kMinBufferBytes = 4 << 10;
constexpr int kMaxBufferBytes = 256 << 20;
constexpr int kMaxPort = 65535;

std::optional<std::int64_t> number(const std::string& text) {
    std::int64_t value = 0;
    const char* const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stopped != end || value < 0) {
        return std::nullopt;
    }
    return value;
}

// Whether `word` is one of those joined by '+'.
bool names(const std::string& text, const std::string& word) {
    return ("+" + text + "+").find("+" + word + "+") != std::string::npos;
}

void takeTransports(RtspOptions& out, const std::string& text) {
    std::vector<RtspTransport> named;
    const std::pair<const char*, RtspTransport> known[] = {{"udp", RtspTransport::kUdp},
                                                           {"tcp", RtspTransport::kTcp},
                                                           {"udp_multicast", RtspTransport::kMulticast},
                                                           {"http", RtspTransport::kHttp}};
    for (const auto& [word, transport] : known) {
        if (names(text, word)) {
            named.push_back(transport);
        }
    }
    if (!named.empty()) {
        out.transports = std::move(named);
    }
}

void takeNumber(RtspOptions& out, const std::string& key, std::int64_t value) {
    if (key == "max_delay") {
        out.reorder_ms = static_cast<int>(std::min<std::int64_t>(value / 1000, kMaxReorderMs));
    } else if (key == "reorder_queue_size" && value == 0) {
        out.reorder_ms = 0;
    } else if (key == "timeout" || key == "stimeout") {
        out.silence_ms = value == 0 ? 0 : std::max<std::int64_t>(value / 1000, 1);
    } else if (key == "buffer_size") {
        out.buffer_bytes =
            static_cast<int>(std::clamp<std::int64_t>(value, kMinBufferBytes, kMaxBufferBytes));
    } else if (key == "min_port") {
        out.port_min = static_cast<int>(std::min<std::int64_t>(value, kMaxPort));
    } else if (key == "max_port") {
        out.port_max = static_cast<int>(std::min<std::int64_t>(value, kMaxPort));
    }
}

}  // namespace

RtspOptions rtspOptions(const std::vector<std::pair<std::string, std::string>>& given) {
    RtspOptions out;
    bool prefers_tcp = false;
    for (const auto& [key, value] : given) {
        if (key == "rtsp_transport") {
            takeTransports(out, value);
        } else if (key == "rtsp_flags") {
            prefers_tcp = names(value, "prefer_tcp");
        } else if (key == "allowed_media_types") {
            out.video = names(value, "video");
            out.audio = names(value, "audio");
        } else if (key == "user_agent" || key == "user-agent") {
            out.user_agent = value;
        } else if (const auto parsed = number(value)) {
            takeNumber(out, key, *parsed);
        }
    }
    if (prefers_tcp) {
        std::stable_partition(out.transports.begin(), out.transports.end(),
                              [](RtspTransport transport) { return transport == RtspTransport::kTcp; });
    }
    return out;
}

}  // namespace tavrik
