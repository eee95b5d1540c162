#include "tavrik/pull_source.h"

#include <algorithm>
#include <vector>

namespace tavrik {
namespace {
constexpr int kCapacity = 64 << 10;
constexpr int kAskAgainMs = 1;  // it is added to every picture's delay
}  // namespace

void PullSource::run(SourceSink& sink) {
    std::vector<std::uint8_t> buffer(kCapacity);
    while (!sink.stopped()) {
        const int got = std::min(m_read(buffer.data(), kCapacity), kCapacity);
        if (got > 0) {
            sink.onBytes(buffer.data(), static_cast<std::size_t>(got));
        } else {
            sink.pause(kAskAgainMs);
        }
    }
}

}  // namespace tavrik
