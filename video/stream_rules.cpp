#include "video/stream_rules.h"

#include <algorithm>
#include <cstdint>

#include "base/numbers.h"

namespace sorvane {

void noteOpenedAddress(std::vector<std::string>& history, const std::string& address) {
    const auto found = std::find(history.begin(), history.end(), address);
    if (found == history.end()) {
        history.insert(history.begin(), address);
    } else {
        std::iter_swap(history.begin(), found);
    }
}

bool offeredWith(int stream_type, const std::string& address) {
    const bool is_url =
        address.find("rtsp") != std::string::npos || address.find("http") != std::string::npos;
    return is_url == (stream_type == kStreamRtsp);
}

std::string hostPart(const std::string& url) {
    const std::size_t begin = url.find("192");
    const std::size_t end = url.rfind(':');
    if (begin == std::string::npos || end == std::string::npos || end < begin) {
        return {};
    }
    return url.substr(begin, end - begin);
}

std::string secondAddress(int stream_type, const std::string& stored) {
    return stream_type == kStreamRtsp ? stored : hostPart(stored);
}

float nextShowFps(float show_fps, bool was_empty, std::size_t left, const PacingRule& rule) {
    if (was_empty) {
        show_fps = std::max(show_fps - rule.modify, static_cast<float>(rule.min_fps));
    }
    if (rule.cache_max < 0 || left > static_cast<std::size_t>(rule.cache_max)) {
        show_fps += rule.modify;
    }
    return show_fps;
}

int framePeriodMs(float show_fps) {
    constexpr int kNoRatePeriodMs = 1000;
    if (!(show_fps > 0.0F)) {
        return kNoRatePeriodMs;
    }
    const int period = truncateToI32(static_cast<double>(1000.0F / show_fps));
    return period == INT32_MIN ? kNoRatePeriodMs : std::max(period, 1);
}

}  // namespace sorvane
